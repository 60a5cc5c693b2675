// PATTERNBOOK: the patterns of one dictionary's lines, looked up once and
// shared by scans, which only read them. Patterns are borrowed of the pool,
// texts of the image that the dictionary had when this was built.

#ifndef RULES_PATTERN_BOOK_H_
#define RULES_PATTERN_BOOK_H_

#include <stdint.h>

#include "regex/regex.h"

class TQMDICO;

// Cuts "name:pattern"; false when there is no ":".
bool CutNamed(TBLOCK line, TBLOCK& name, TBLOCK& pattern);

class PATTERNBOOK {
 public:
  // Takes the lines of sections of the types stRegex and stNamedRegex. Without
  // memory the book is empty.
  explicit PATTERNBOOK(const TQMDICO& dico);
  ~PATTERNBOOK();
  PATTERNBOOK(const PATTERNBOOK&) = delete;
  PATTERNBOOK& operator=(const PATTERNBOOK&) = delete;

  // The pattern of a line, by its index in the line table, in a section of
  // that type; null for a line that is none of it.
  const RULEPATTERN* find(uint32_t lineNumber, uint32_t sectionType) const;

 private:
  struct TENTRY {
    uint32_t pattern;      // index + 1; 0: none
    uint32_t sectionType;  // lines of damaged images may be in several
  };

  void noteSection(const TQMDICO& dico, uint32_t section);

  // Owned.
  TENTRY* entries;  // by line number
  uint32_t lineCount;
  RULEPATTERN* patterns;
  uint32_t patternCount;
};

#endif  // RULES_PATTERN_BOOK_H_
