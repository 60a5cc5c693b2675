// Numbers in a text that anybody may have written, with any number of digits.

#ifndef CONTENT_DIGITS_H_
#define CONTENT_DIGITS_H_

#include <stdint.h>

#include "base/tblock.h"

// Takes the digits off the front: their number, or one of nine digits for what
// is greater, which is above all that is told apart.
inline int32_t TakeNumber(TBLOCK& text) {
  const int32_t kNoMore = 100000000;
  int32_t number = 0;
  for (; !text.empty() && TBLOCK::Is(text[0], bitDigit); text.skip(1))
    if (number < kNoMore) number = number * 10 + (text[0] - '0');
  return number;
}

#endif  // CONTENT_DIGITS_H_
