// RULEBOOK: the rules of one dictionary, parsed once and shared by scans, which
// only read it. Patterns, sections and texts are borrowed: of the pool and the
// image that the dictionary had when this was built.

#ifndef RULES_RULE_BOOK_H_
#define RULES_RULE_BOOK_H_

#include <stdint.h>

#include "base/block.h"
#include "rules/rule_expression.h"

class RULEBOOK {
 public:
  // Parses all lines of sections of the type stRule. Without memory the book
  // is empty.
  explicit RULEBOOK(const TQMDICO& dico);
  ~RULEBOOK();
  RULEBOOK(const RULEBOOK&) = delete;
  RULEBOOK& operator=(const RULEBOOK&) = delete;

  // The rule of a line, by its index in the line table; null for a line that
  // is none or was left out.
  const TQMRULE* find(uint32_t lineNumber) const;

  uint32_t ruleCount;
  uint32_t leafCount;
  uint32_t questionCount;  // TQMEXPR::question is below this

 private:
  bool parseSection(const TQMDICO& dico, uint32_t section, uint64_t& bytesLeft);
  bool addRule(TBLOCK text, uint32_t lineNumber);
  bool prepareLeaves(const TQMDICO& dico);
  void numberQuestions();
  void noteNeeded();
  void noteNeededOf(const TRULEPART* part, const TRULEPART* end);
  void noteNarrowing(const TQMRULE& rule);
  void drop();

  // All owned.
  uint32_t* ruleOfLine;  // index + 1 in `rules`, by line number; 0: none
  uint32_t lineCount;
  BLOCK rules;      // TQMRULE
  BLOCK parts;      // TRULEPART, of all rules
  TQMEXPR* leaves;  // of all rules
  BLOCK needed;     // questions, of all rules
};

#endif  // RULES_RULE_BOOK_H_
