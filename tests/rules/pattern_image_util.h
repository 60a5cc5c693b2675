// A dictionary image of a few sections, built record by record, so that tests
// of the reader don't lean on the compiler.

#ifndef TESTS_RULES_PATTERN_IMAGE_UTIL_H_
#define TESTS_RULES_PATTERN_IMAGE_UTIL_H_

#include <string>
#include <vector>

#include "rules/keyword_image.h"
#include "rules/qm_dico.h"

class PatternImage {
 public:
  // Starts a section; the name is in lower case.
  PatternImage& section(const std::string& name, uint16_t type);
  // A line of the last section. Patterns as in source: groups cut at + > and
  // comma, alternatives at |, words at blanks; a backslash is kept.
  PatternImage& pattern(const std::string& text, uint32_t flags, int32_t score);
  PatternImage& text(const std::string& line, uint32_t flags, int32_t score);
  // Makes it the dictionary of `dico`; false when that fails.
  bool load(TQMDICO& dico) const;

 private:
  uint32_t pool(const std::string& bytes);
  void addLine(TQKLINE line);

  std::vector<TQKSECTION> sections_;
  std::vector<TQKLINE> lines_;
  std::vector<TQKAND> ands_;
  std::vector<TQKOR> ors_;
  std::vector<TQKWORD> words_;
  std::string pool_;
};

#endif  // TESTS_RULES_PATTERN_IMAGE_UTIL_H_
