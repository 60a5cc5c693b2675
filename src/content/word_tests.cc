// Judgements on words. Tested by word_tests_test.cc.

#include "content/word_tests.h"

int32_t PriceCount(const TBLOCKVECT&) {
  return 0;
}
int32_t BlockUselessVowelCount(TBLOCK&, int) {
  return 0;
}
int32_t BlocklistUselessVowelCount(TBLOCKVECT&, int) {
  return 0;
}
int32_t CheckMultiLowers(TBLOCK, int32_t) {
  return 0;
}
int32_t MultiLowersWordCount(const TBLOCKVECT&, int32_t) {
  return 0;
}
int32_t SameLetterCount(const TBLOCKVECT&, int32_t, int32_t) {
  return 0;
}
int CheckForgedChars(TBLOCK) {
  return 0;
}
