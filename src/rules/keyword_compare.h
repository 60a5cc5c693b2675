// One word of a message against one word of a pattern line, seen through the
// disguises that the options allow. Tested by keyword_compare_test.cc.

#ifndef RULES_KEYWORD_COMPARE_H_
#define RULES_KEYWORD_COMPARE_H_

#include <stdint.h>

#include "base/tblock.h"
#include "base/vectors.h"
#include "rules/keyword_image.h"

// Bytes that may stand between the letters of a word in disguise.
const uint32_t kBetweenLetters =
    bitWordBreak | bitWhiteSpace | bitNonBreaking | bitUseless;

// 0 for no match, else moFound and the bits of the tricks that were used
// (mo..., keyword_image.h). `options` are the tricks that are allowed, by the
// same bits. With prefixOnly the word may go on behind the pattern. blocks and
// blockIndex serve moSplit: the words of the text and the index of this one,
// which moves on; null when there are none.
uint32_t BlockCompareKeyword(TBLOCK word, TBLOCK pattern, uint32_t options,
                             int prefixOnly, const TBLOCKVECT* blocks,
                             int32_t* blockIndex);

// The same for a pattern word with stars, the way lines are matched:
//   "*x"  the word ends in x        "x*"   it begins with x
//   "*x*" it holds x                "x*y"  both ends, side by side
//   "*"   any word
// A star behind a backslash is a byte like any other. `work` goes down by the
// bytes that were walked; below 0 no further place of the word is tried.
uint32_t BlockCompareWildcard(TBLOCK word, TBLOCK pattern, uint32_t options,
                              const TBLOCKVECT* blocks, int32_t* blockIndex,
                              int64_t& work);
// A pattern word with more bytes matches nothing.
const uint32_t kMaxPatternBytes = 4096;

// The class of a pattern line's first byte, and of a word's: capital, plain
// letter; digits are "#". 0 for a word of signs alone.
extern const unsigned char KeyTable[256];
unsigned char GetWordKey(TBLOCK word);

// A cheap test ahead of BlockCompareWildcard: sets of letters, a bit for each
// from a to z; all bits stand for any byte.
struct TWORDSHAPE {
  uint32_t first;    // what the first byte may stand for
  uint32_t ahead;    // the byte behind it
  uint32_t letters;  // all bytes
};
struct TPATTERNSHAPE {
  uint32_t first, second;  // with which it may begin
  uint32_t letters;        // that it needs; a word may lack one under moMissing
  uint32_t strict;         // those of them that can't be the missing one
};
TWORDSHAPE WordShape(TBLOCK word);
TPATTERNSHAPE PatternShape(TBLOCK pattern);
const uint32_t kAllLetters = (1u << 26) - 1;
// Of a pattern that nothing is known of.
TPATTERNSHAPE AnyShape();
// Bytes of a pattern that its shape tells of.
const uint32_t kMaxShapeBytes = 64;

// False when the word can't match under these options.
inline bool MayMatch(const TWORDSHAPE& word, const TPATTERNSHAPE& pattern,
                     uint32_t options) {
  const uint32_t lacks =
      options & moSplit ? 0 : pattern.letters & ~word.letters;
  if (options & moMissing ? (lacks & (lacks - 1)) | (lacks & pattern.strict)
                          : lacks)
    return false;
  return (word.first & pattern.first) ||
         ((options & moUseless) && (word.ahead & pattern.first)) ||
         ((options & (moPermut | moMissing)) && (word.first & pattern.second));
}

#endif  // RULES_KEYWORD_COMPARE_H_
