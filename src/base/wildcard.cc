// List patterns. Tested by wildcard_test.cc.

#include "base/wildcard.h"

bool MatchWildcard(TBLOCK pattern, TBLOCK value, WildcardMiddle middle) {
  const int32_t star = pattern.findByte('*');
  if (star < 0) return pattern.equals(value);
  const uint32_t at = static_cast<uint32_t>(star);
  const bool starsOnly =
      pattern.length == 1 || (pattern.length == 2 && pattern[1] == '*');
  if (at == 0 && starsOnly) return true;
  const bool lastIsStar = pattern[pattern.length - 1] == '*';
  if (at == 0) {
    TBLOCK text = pattern.from(1);
    if (!lastIsStar) return value.ends(text);
    text.length--;
    return value.find(text) >= 0;
  }
  const TBLOCK front = pattern.head(at);
  if (at == pattern.length - 1) return value.begins(front);
  const TBLOCK back = pattern.from(at + 1);
  switch (middle) {
    case wmLiteral:
      // A star at the very end still has its meaning.
      return lastIsStar ? value.begins(pattern.head(pattern.length - 1))
                        : pattern.equals(value);
    case wmPrefix:
      return value.begins(front);
    case wmOverlap:
      return value.begins(front) && value.ends(back);
    case wmDisjoint:
      return value.length >= front.length + back.length &&
             value.begins(front) && value.ends(back);
  }
  return false;
}

bool FitsListPattern(TBLOCK pattern, TBLOCK value) {
  pattern.trim();
  if (value.empty()) return pattern.length == 1 && pattern[0] == '*';
  if (!pattern.empty() && pattern[0] == '*' &&
      pattern[pattern.length - 1] == '*')
    value.cut(kMaxListedValue);
  return MatchWildcard(pattern, value, wmLiteral);
}
