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
// from a to z, and kOtherBit for a first byte that is none, or an "O", which
// begins numbers; all bits stand for any byte.
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
const uint32_t kOtherBit = 1u << 26;
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

// How a word may hold the letters of a pattern.
enum TLITERALKIND : uint16_t {
  lkWhole = 1,   // it is them
  lkPlural = 2,  // the same, maybe with the ending of a plural
  lkHead = 4,    // it begins with them
  lkInside = 8,  // they are somewhere in it
  lkTail = 16,   // it ends in them, a plural aside; told of short patterns only
};

// Letters that a word must hold for a pattern to match it without options, as
// PlainByte makes them.
struct TLITERAL {
  uint16_t kind;  // 0: nothing is known
  uint16_t length;
  unsigned char bytes[24];
};
TLITERAL PatternLiteral(TBLOCK pattern);
const uint32_t kMaxInside = 4;  // bytes of lkInside; the first ones
const uint32_t kMinInside = 3;  // others are lkTail, or are not known

// What a comparison without options takes the byte for; 0: it may pass it over.
unsigned char PlainByte(unsigned char c);
// The kinds of which the word may hold a literal that ends with byte i.
uint32_t LiteralKindsAt(TBLOCK word, uint32_t i);

#endif  // RULES_KEYWORD_COMPARE_H_
