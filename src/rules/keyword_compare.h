// One word of a message against one word of a pattern line, seen through the
// disguises that the options allow. Tested by keyword_compare_test.cc.

#ifndef RULES_KEYWORD_COMPARE_H_
#define RULES_KEYWORD_COMPARE_H_

#include <stdint.h>

#include "base/tblock.h"
#include "base/vectors.h"
#include "rules/keyword_image.h"

// 0 for no match, else moFound and the bits of the tricks that were used
// (mo..., keyword_image.h). `options` are the tricks that are allowed, by the
// same bits. With prefixOnly the word may go on behind the pattern. blocks and
// blockIndex serve moSplit: the words of the text and the index of this one,
// which moves on; null when there are none.
uint32_t BlockCompareKeyword(TBLOCK word, TBLOCK pattern, uint32_t options,
                             int prefixOnly, const TBLOCKVECT* blocks,
                             int32_t* blockIndex);

// Pattern words of at most two bytes with a meaning of their own: "@", "@@"
// and "?". 1 when it was one of them, with the verdict; else 0. `context` is
// the recipient's address.
int MatchSpecial(TBLOCK word, TBLOCK pattern, TBLOCK context, int& verdict);
// Whether the word, of 3 bytes or more, is the local part of the address or a
// piece of it.
int MatchName(TBLOCK word, TBLOCK address);

// The same for a pattern word with stars, the way lines are matched:
//   "*x"  the word ends in x        "x*"   it begins with x
//   "*x*" it holds x                "x*y"  both ends, side by side
//   "*"   any word
// A star behind a backslash is a byte like any other.
uint32_t BlockCompareWildcard(TBLOCK word, TBLOCK pattern, uint32_t options,
                              const TBLOCKVECT* blocks, int32_t* blockIndex);

// The class of a pattern line's first byte, and of a word's: capital, plain
// letter; digits are "#". 0 for a word of signs alone.
extern const unsigned char KeyTable[256];
unsigned char GetWordKey(TBLOCK word);

// A cheap test ahead of the comparison: sets of letters, a bit for each from a
// to z and one of all words. Sets of patterns may be joined by |.
struct TWORDSTARTS {
  uint32_t first;  // what the first byte may stand for
  uint32_t ahead;  // the byte behind it
};
struct TPATTERNSTARTS {
  uint32_t first, second;
};
TWORDSTARTS WordStarts(TBLOCK word);
TPATTERNSTARTS PatternStarts(TBLOCK pattern);
// False when the word can't match under these options.
inline bool MayMatch(const TWORDSTARTS& word, const TPATTERNSTARTS& pattern,
                     uint32_t options) {
  return (word.first & pattern.first) ||
         ((options & moUseless) && (word.ahead & pattern.first)) ||
         ((options & (moPermut | moMissing)) && (word.first & pattern.second));
}

#endif  // RULES_KEYWORD_COMPARE_H_
