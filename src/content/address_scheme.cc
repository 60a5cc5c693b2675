// Local parts made of name words. Each word is measured once against the
// stem, in linear time; the pairs then only compare numbers. Entry points:
// SchemeOfWords, FitWord, FindText. Tested by mailbox_test.cc.

#include "content/address_scheme.h"

namespace {

// Below this a stem that two words make up in part proves nothing.
const uint32_t kMinFit = 4;
// Initials: the second name's first and last letter follow the first's.
const uint32_t kInitials = 3;

unsigned char Fold(TBLOCK text, uint32_t i) {
  return TBLOCK::LowerConvTable[text[i]];
}

// How many bytes end the text and begin the word. `border` tells how much of a
// match survives a mismatch, so that "aaaa" costs no more than any other text.
// REQUIRES: a word that is not empty, nor shorter than the text.
uint32_t Overlap(TBLOCK text, TBLOCK word) {
  uint16_t border[kMaxNameBytes];
  border[0] = 0;
  uint32_t n = 0;
  for (uint32_t i = 1; i < word.length; i++) {
    while (n > 0 && Fold(word, i) != Fold(word, n)) n = border[n - 1];
    if (Fold(word, i) == Fold(word, n)) n++;
    border[i] = static_cast<uint16_t>(n);
  }
  n = 0;
  for (uint32_t i = 0; i < text.length; i++) {
    while (n > 0 && Fold(text, i) != Fold(word, n)) n = border[n - 1];
    if (Fold(text, i) == Fold(word, n)) n++;
  }
  return n;
}

// Two words, in the order in which they stand in the name.
int32_t SchemeOfPair(TBLOCK stem, TBLOCK first, const WORDFIT& a, TBLOCK second,
                     const WORDFIT& b) {
  const uint32_t length = stem.length;
  const uint32_t u = a.prefix + b.suffix;
  const uint32_t v = b.prefix + a.suffix;
  if (u <= length && length <= u + 1 && u >= kMinFit) return 1;
  if (v <= length && length <= v + 1 && v >= kMinFit) return 2;
  if (b.prefix >= kMinFit && b.prefix == second.length) return 3;
  if (b.prefix > kMinFit) return 4;
  if (b.suffix >= kMinFit && b.suffix == second.length) return 5;
  const bool isShort = length <= kMinFit;
  if (isShort && a.prefix && b.suffix && u == length) return 6;
  if (isShort && b.prefix && a.suffix && v == length) return 7;
  if (length == kInitials && second.length > 2 &&
      Fold(stem, 0) == Fold(first, 0) && Fold(stem, 1) == Fold(second, 0) &&
      Fold(stem, 2) == Fold(second, second.length - 1))
    return 8;
  return 0;
}

}  // namespace

TBLOCK LocalPart(TBLOCK email) {
  const int32_t at = email.findByte('@');
  return at < 0 ? email : email.head(static_cast<uint32_t>(at));
}

TBLOCK AddressStem(TBLOCK email) {
  TBLOCK stem = LocalPart(email);
  stem.trimRight(bitDot | bitDigit | bitDash);
  return stem;
}

int32_t FindText(TBLOCK text, TBLOCK part) {
  return part.empty() ? -1 : text.find(part);
}

NAMEWORDS::NAMEWORDS(TBLOCK name) : TBLOCKVECT(kMaxNameWords) {
  setMaxCount(kMaxNameWords);
  TBLOCK::GetBlockWordList(name.head(kMaxNameBytes), *this,
                           bitWordSep | bitDash);
}

NAMEWORDS::~NAMEWORDS() {}

WORDFIT FitWord(TBLOCK stem, TBLOCK word) {
  WORDFIT fit = {0, 0};
  if (stem.empty() || word.empty()) return fit;
  while (fit.prefix < stem.length && fit.prefix < word.length &&
         Fold(stem, fit.prefix) == Fold(word, fit.prefix))
    fit.prefix++;
  // Only the bytes that the word can reach.
  if (stem.length > word.length) stem.skip(stem.length - word.length);
  fit.suffix = Overlap(stem, word);
  return fit;
}

int32_t SchemeOfWords(TBLOCK stem, const TBLOCKVECT& words) {
  WORDFIT fits[kMaxNameWords];
  const int32_t n =
      words.count() < kMaxNameWords ? words.count() : kMaxNameWords;
  if (stem.empty() || n < 2) return 0;
  for (int32_t i = 0; i < n; i++) fits[i] = FitWord(stem, words.get(i));
  for (int32_t i = 0; i < n; i++) {
    for (int32_t k = i + 1; k < n; k++) {
      const int32_t scheme =
          SchemeOfPair(stem, words.get(i), fits[i], words.get(k), fits[k]);
      if (scheme) return scheme;
    }
  }
  return 0;
}
