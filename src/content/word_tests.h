// Judgements on words: prices, letters that are stretched, doubled or drawn
// with signs.

#ifndef CONTENT_WORD_TESTS_H_
#define CONTENT_WORD_TESTS_H_

#include <stdint.h>

#include "base/tblock.h"
#include "base/vectors.h"

// Words that are prices: "$" and digits.
int32_t PriceCount(const TBLOCKVECT& words);
// Vowels that a word repeats for nothing; 0 for a mail address. With `fix` the
// word loses them: WRITES. The second sums over a vector, in which no two words
// may overlap then.
int32_t BlockUselessVowelCount(TBLOCK& word, int fix);
int32_t BlocklistUselessVowelCount(TBLOCKVECT& words, int fix);
// Length of all runs of n or more equal small letters, if what is left of the
// word has a usual length; else 0.
int32_t CheckMultiLowers(TBLOCK word, int32_t n);
// Words for which that is not 0.
int32_t MultiLowersWordCount(const TBLOCKVECT& words, int32_t n);
// Words among the first `max`, 0 for all, with a run of n or more equal
// letters.
int32_t SameLetterCount(const TBLOCKVECT& words, int32_t n, int32_t max);
// 1 for a text in which letters are drawn with signs.
int CheckForgedChars(TBLOCK text);

#endif  // CONTENT_WORD_TESTS_H_
