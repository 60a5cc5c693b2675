// The one matcher of list patterns with "*". Callers differ in small ways,
// which are its options; they trim both sides themselves.

#ifndef BASE_WILDCARD_H_
#define BASE_WILDCARD_H_

#include "base/tblock.h"

// What a "*" that is neither first nor last means.
enum WildcardMiddle {
  wmLiteral,  // an ordinary byte
  wmPrefix,   // the text before it is a prefix, the rest is not looked at
  wmOverlap,  // prefix and suffix, which may overlap: "ab*ba" takes "aba"
  wmDisjoint  // prefix and suffix, side by side
};

// Compares through LowerConvTable. Only the first "*" and one at the very end
// have a meaning; any other is an ordinary byte.
//   ""        the empty value        "*", "**"  everything
//   "text"    that value             "*text*"   holds the text
//   "*text"   ends with it           "text*"    begins with it
// A pattern with a "*" and a text never takes an empty value.
bool MatchWildcard(TBLOCK pattern, TBLOCK value, WildcardMiddle middle);

// Bytes of a value in which a list's "*text*" is looked for: more than any
// address has. Lists have thousands of lines.
const uint32_t kMaxListedValue = 4096;

// A pattern of a host's or a client's list of senders, trimmed: with wmLiteral,
// and an empty value fits a star alone.
bool FitsListPattern(TBLOCK pattern, TBLOCK value);

#endif  // BASE_WILDCARD_H_
