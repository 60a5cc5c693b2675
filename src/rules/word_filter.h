// Tells which pattern lines of a dictionary can match in a list of words, by
// one pass over the words. A dictionary has thousands of lines, and a text has
// the words of a few dozen of them; the others need not be tried.
//
// Read-only once built; any number of threads may share it.

#ifndef RULES_WORD_FILTER_H_
#define RULES_WORD_FILTER_H_

#include <stdint.h>

#include "base/vectors.h"
#include "rules/keyword_image.h"

// A set of lines or of terms: member i in bit i % 32 of word i / 32.
typedef uint32_t TBITSET;
inline bool HasBit(const TBITSET* set, uint32_t i) {
  return (set[i / 32] >> (i % 32)) & 1;
}
inline void SetBit(TBITSET* set, uint32_t i) {
  set[i / 32] |= uint32_t{1} << (i % 32);
}
// The first member from `from` on; `end` when there is none below that.
uint32_t NextBit(const TBITSET* set, uint32_t from, uint32_t end);
inline uint32_t BitsetWords(uint32_t members) {
  return members / 32 + 1;
}

class WORDFILTER {
 public:
  explicit WORDFILTER(const KWIMAGE& image);
  ~WORDFILTER();
  WORDFILTER(const WORDFILTER&) = delete;
  WORDFILTER& operator=(const WORDFILTER&) = delete;

  // The set of those lines of the image's pattern sections that may match
  // somewhere in the words, all others not; release it with delete[]. Null
  // when memory is short, now or when this was built.
  TBITSET* linesFor(const TBLOCKVECT& words) const;

 private:
  class BUILDER;

  // Of terms with one key there are several, by kind.
  struct TTERM {
    uint32_t key;     // of its letters
    uint16_t number;  // 0: a free slot
    uint16_t kind;    // lk...
  };

  // Of each byte what it is compared as; 0 for those that are passed over.
  unsigned char plain[256];
  bool mayEndAhead[256];  // whether a term may end ahead of it
  bool endsTail[256];     // whether a term of lkTail ends with it
  uint32_t lineCount;     // of the image
  uint32_t termCount;
  TTERM* table;  // owned; open addressing, 1 << tableBits slots
  uint32_t tableBits;
  // Owned; the first bits of the keys in the table: of lkInside, of others.
  TBITSET* insideKeys;
  TBITSET* keys;
  uint16_t* needs;    // owned; terms that lines need, with marks, by line
  uint32_t* needsOf;  // owned; of each line the first one, and their end
  uint32_t* under;    // owned; the lines that stand under the terms, by term
  uint32_t* underOf;  // owned; of each term the first one, and their end
  TBITSET* always;    // owned; the lines that stand under none
  bool ready;

  uint32_t slotOf(uint32_t key) const { return key >> (32 - tableBits); }
  void findTerms(TBLOCK word, TBITSET* present) const;
  void addTerms(uint32_t key, uint32_t kinds, TBITSET* present) const;
  bool mayMatch(uint32_t line, const TBITSET* present) const;
};

#endif  // RULES_WORD_FILTER_H_
