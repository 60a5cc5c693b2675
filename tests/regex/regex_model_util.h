// A slow, obvious model of the matcher: the oracle that the engine is compared
// with. It reads a compiled pattern's lists as trees and matches by plain
// recursion over all ways; all that the engine derives of the lists to be fast
// it leaves aside. That a pattern's text becomes the right lists is for the
// tables of zr_regcomp_test.cc.
//
//   regex_model_tree_util.cc    the lists as trees
//   regex_model_match_util.cc   subjects
//   regex_duel_util.cc          engine and model on the same pair

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

const uint32_t kUnbounded = 0xFFFFFFFFu;

// Answers besides the engine's own codes: the budget ran out.
const int kNoAnswer = -1;

struct Element;

struct Alternative {
  std::vector<Element> elements;
  // Looks for its first element with a scan.
  bool skip = false;
};

enum class Kind {
  kLiteral,   // one byte or a run
  kOneByte,   // a class, an escape, a dot
  kFault,     // a class of \b alone
  kGroup,     // alternatives
  kLitGroup,  // alternatives of one literal each, the longest first
  kEnd,       // $
  kBegin,     // ^
  kCase,      // (?i) or (?-i) behind the pattern's start
  kBackref,   // \1 to \9
};

struct Element {
  Kind kind = Kind::kLiteral;
  std::string text;      // a literal, folded
  std::bitset<256> set;  // one byte: the subject's bytes, folded
  uint8_t mask = 0xFF;   // a case switch: the new one; $: that in force
  uint32_t slot = 0;     // a group or a back reference
  std::vector<Alternative> alternatives;
  uint32_t min = 1, max = 1;
  bool lazy = false;

  bool once() const { return min == 1 && max == 1; }
  bool isGroup() const { return kind == Kind::kGroup; }
};

typedef std::vector<Alternative> Tree;

struct Pattern {
  Tree full;
  Tree reduced;
  uint32_t slots = 1;           // the match itself and all groups
  uint32_t fastSlots = 1;       // of the reduced tree
  std::vector<bool> capturing;  // of each slot
  bool hasBackref = false;
  uint8_t caseMask = 0xFF;
  uint32_t minLength = 0;
  uint32_t startKind = 0;
};

// The tree of a pattern that compiled.
Pattern ReadPattern(const zr_regex& regex);

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

// Spends at most `budget` steps. 10 when the pattern goes round for ever.
Answer Match(const Pattern& pattern, std::string_view subject, Wanted wanted,
             uint64_t budget);

// Byte c as it is compared under a mask of 0xFF or 0xDF.
uint8_t Fold(uint8_t c, uint8_t mask);

}  // namespace regex_model

#endif  // TESTS_REGEX_REGEX_MODEL_UTIL_H_
