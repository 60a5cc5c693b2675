// Judgements on words: each walks a word once. Entries: the functions of
// word_tests.h. Tested by word_tests_test.cc.

#include "content/word_tests.h"

#include <string.h>

#include "content/words.h"

namespace {

// Words in which small letters are counted, and what is left of one without
// those that are doubled.
const uint32_t kLongestDoubled = 30;
const uint32_t kShortestRest = 2;
const uint32_t kLongestRest = 7;
const uint32_t kHexaTail = 8;  // digits that end a word made by a program

// Letters drawn with signs; one that another begins with stands behind it.
const char* const kDrawn[] = {"/\\/", "|\\|", "\\/", "|_|",
                              "|-|",  "|<",   "|>",  "()"};
const int32_t kMinDrawn = 2;

unsigned char Small(unsigned char c) {
  return TBLOCK::LowerConvTable[c];
}

// Length of the run of one letter in any case that the text begins with.
uint32_t SameRun(TBLOCK text) {
  uint32_t n = 1;
  while (n < text.length && Small(text[n]) == Small(text[0])) n++;
  return n;
}

bool IsVowel(unsigned char c) {
  return TBLOCK::Is(c, bitLetter) && memchr("aeiouy", Small(c), 6);
}

bool IsMail(TBLOCK word) {
  TBLOCK mail;
  return CheckWordMail(word, mail) && word.empty();
}

}  // namespace

int32_t PriceCount(const TBLOCKVECT& words) {
  int32_t found = 0;
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    found += word.length > 1 && word[0] == '$' && word.from(1).allIn(bitDigit);
  }
  return found;
}

int32_t BlockUselessVowelCount(TBLOCK& word, int fix) {
  if (word.empty() || IsMail(word)) return 0;
  uint32_t useless = 0, out = 0, n;
  for (uint32_t i = 0; i < word.length; i += n) {
    n = IsVowel(word[i]) ? SameRun(word.from(i)) : 1;
    uint32_t kept = n;
    if (n > 2) {
      useless += n - 2;
      kept = 1;
    }
    if (fix && out < i) memmove(word.pointer + out, word.pointer + i, kept);
    out += kept;
  }
  if (fix) word.cut(out);
  return static_cast<int32_t>(useless);
}

int32_t BlocklistUselessVowelCount(TBLOCKVECT& words, int fix) {
  int32_t useless = 0;
  for (int32_t i = 0; i < words.count(); i++) {
    TBLOCK word = words.get(i);
    const int32_t found = BlockUselessVowelCount(word, fix);
    useless += found;
    if (found && fix) words.set(word, i);
  }
  return useless;
}

// A run that ends the word is what people write for a long sound; "www" and
// "xxx" mean something.
int32_t CheckMultiLowers(TBLOCK word, int32_t n) {
  if (word.empty() || word.length > kLongestDoubled) return 0;
  uint32_t doubled = 0, run;
  for (uint32_t i = 0; i < word.length; i += run) {
    const unsigned char c = word[i];
    run = 1;
    if (!TBLOCK::Is(c, bitLower) || c == 'w' || c == 'x') continue;
    while (i + run < word.length && word[i + run] == c) run++;
    if (static_cast<int32_t>(run) >= n && i + run < word.length) doubled += run;
  }
  const uint32_t rest = word.length - doubled;
  return rest >= kShortestRest && rest <= kLongestRest
             ? static_cast<int32_t>(doubled)
             : 0;
}

int32_t MultiLowersWordCount(const TBLOCKVECT& words, int32_t n) {
  int32_t found = 0;
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    if (CheckMultiLowers(word, n) == 0) continue;
    found += word.length < kHexaTail ||
             !word.from(word.length - kHexaTail).allIn(bitHexa);
  }
  return found;
}

int32_t SameLetterCount(const TBLOCKVECT& words, int32_t n, int32_t max) {
  int32_t found = 0;
  const int32_t count = words.count();
  for (int32_t i = 0; i < count && (max <= 0 || i < max); i++) {
    const TBLOCK word = words.get(i);
    uint32_t at = 0, run;
    for (; at < word.length; at += run) {
      run = SameRun(word.from(at));
      if (TBLOCK::Is(word[at], bitLetter) && static_cast<int32_t>(run) >= n)
        break;
    }
    found += at < word.length;
  }
  return found;
}

namespace {

bool IsLetterAt(TBLOCK text, uint32_t i) {
  return i < text.length && TBLOCK::Is(text[i], bitLetter);
}

// Length of the drawn letter there; 0 without one.
uint32_t DrawnLength(TBLOCK text) {
  for (const char* drawn : kDrawn)
    if (text.begins(TBLOCK(drawn), TBLOCK::NoConvTable))
      return static_cast<uint32_t>(strlen(drawn));
  return 0;
}

}  // namespace

int CheckForgedChars(TBLOCK text) {
  int32_t found = 0;
  if (text.empty()) return 0;
  for (uint32_t i = 0; i < text.length && found < kMinDrawn; i++) {
    const uint32_t n = DrawnLength(text.from(i));
    if (n == 0) continue;
    found += (i > 0 && IsLetterAt(text, i - 1)) || IsLetterAt(text, i + n);
    i += n - 1;
  }
  return found >= kMinDrawn;
}
