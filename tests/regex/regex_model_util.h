// A slow, obvious matcher: the oracle that the engine's walk and searches are
// compared with. It takes the compiler's list as a tree and tries all ways by
// plain recursion; of the engine it shares the record alone, neither code nor
// tables nor what is derived for a search. That the list is right is shown by
// zr_regcomp_test.cc.

#ifndef TESTS_REGEX_REGEX_MODEL_UTIL_H_
#define TESTS_REGEX_REGEX_MODEL_UTIL_H_

#include <stdint.h>

#include <bitset>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "regex/zr_regex.h"

namespace regex_model {

// Answers besides the engine's own codes: the budget ran out.
const int kNoAnswer = -1;

struct Element;

struct Alternative {
  std::vector<Element> elements;
  // Looks for its first element with a scan.
  bool skip = false;
};

typedef std::vector<Alternative> Tree;

struct Element {
  // What is not named by an opcode of its own: ZR_STRING, for one byte or more;
  // ZR_CLASS, for all that is one byte of a set; ZR_CASEON for both switches.
  uint32_t kind = ZR_STRING;
  std::string text;      // ZR_STRING, folded
  std::bitset<256> set;  // ZR_CLASS: the subject's bytes, folded
  uint8_t mask = 0xFF;   // a case switch: the new one; ZR_EOS: that in force
  uint32_t tail = 0;     // ZR_EOS: elements ahead that a check may look at
  uint32_t slot = 0;     // a group or a back reference
  Tree alternatives;     // ZR_OPEN, ZR_LITOPEN
  uint32_t min = 1, max = 1;
  bool lazy = false;
};

struct Pattern {
  explicit Pattern(const zr_regex& compiled);

  const zr_regex& regex;
  Tree full, reduced;
  uint32_t slots;               // the match itself and all groups
  std::vector<bool> capturing;  // of each slot
};

struct Answer {
  int code = kNoAnswer;
  // With captures and a match: those of the slots that capture.
  std::vector<std::pair<int32_t, int32_t>> pairs;
};

enum class Wanted {
  kNothing,   // yes or no
  kFullList,  // yes or no, from the list that has all groups
  kCaptures
};

// Spends at most `budget` steps: no answer where the pattern goes round.
Answer Match(const Pattern& pattern, std::string_view subject, Wanted wanted,
             uint64_t budget);

// Byte c as it is compared under a mask of 0xFF or 0xDF.
uint8_t Fold(uint8_t c, uint8_t mask);

}  // namespace regex_model

#endif  // TESTS_REGEX_REGEX_MODEL_UTIL_H_
