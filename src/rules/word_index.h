// What searches need to know of a list of words, whatever they look for: which
// words begin with or hold a letter, which have a key, and which lines of the
// dictionary can match at all. Each is found out when it is first asked for.

#ifndef RULES_WORD_INDEX_H_
#define RULES_WORD_INDEX_H_

#include <stdint.h>

#include "base/vectors.h"
#include "rules/keyword_compare.h"
#include "rules/word_filter.h"

// The sets of words, by the three masks of a word's shape: a to z in each, and
// in the first one kOtherBit.
const uint32_t kFirstSets = 0, kAheadSets = 27, kLetterSets = 53;
const uint32_t kWordSets = 79;
const int32_t kWordsInPart = 64;  // of a set

inline uint32_t LowestBit(uint32_t bits) {
  return static_cast<uint32_t>(__builtin_ctz(bits));
}

// The list and the filter outlive it; the words stay as they are.
struct TWORDINDEX {
  const TBLOCKVECT& words;
  TWORDSHAPE* shapes;       // owned; of each word
  uint64_t* sets;           // owned; kWordSets of `parts` each
  uint32_t parts;           // of one set
  uint32_t* wordsOfKey;     // owned; indexes of words, ascending for each key
  uint32_t keyOffset[257];  // of each key's first in wordsOfKey; set by build
  int64_t bytes;            // of all words, and one more for each

  // A null filter lets all lines match.
  TWORDINDEX(const TBLOCKVECT& list, const WORDFILTER* filterOfLines);
  ~TWORDINDEX();
  TWORDINDEX(const TWORDINDEX&) = delete;
  TWORDINDEX& operator=(const TWORDINDEX&) = delete;

  // The set of lines that may match; null: they all may.
  const TBITSET* lines();
  // Makes all members above; false when memory is short.
  bool build();

 private:
  const WORDFILTER* filter;
  TBITSET* mayMatch;  // owned
  bool asked, tried, built;

  bool indexShapes();
  bool indexKeys();
  void addToSets(uint32_t firstSet, uint32_t letters, uint32_t word);
};

#endif  // RULES_WORD_INDEX_H_
