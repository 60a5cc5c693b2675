// Counts of bytes and words in a text.

#ifndef BASE_COUNT_H_
#define BASE_COUNT_H_

#include <stdint.h>

#include "base/tblock.h"

inline int32_t CountOf(TBLOCK text, uint32_t mask) {
  int32_t count = 0;
  for (uint32_t i = 0; i < text.length; i++) count += TBLOCK::Is(text[i], mask);
  return count;
}

inline int32_t CountByte(TBLOCK text, unsigned char byte) {
  int32_t count = 0;
  for (uint32_t i = 0; i < text.length; i++) count += text[i] == byte;
  return count;
}

// Runs of bytes that separate no words.
inline int32_t CountWords(TBLOCK text) {
  int32_t count = 0;
  bool inWord = false;
  for (uint32_t i = 0; i < text.length; i++) {
    const bool separates = TBLOCK::Is(text[i], bitWordSep);
    count += !separates && !inWord;
    inWord = !separates;
  }
  return count;
}

#endif  // BASE_COUNT_H_
