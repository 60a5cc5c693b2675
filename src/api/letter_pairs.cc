// A byte b is q = b / 17 and r = b % 17, written as the letters 'b' + q and
// 'f' + r: in the order r, q for the first byte, then q, r, and so on in turn.
// The one entry is EncodeLetterPairs. Tested by tests/api/record_test.c.

#include "api/letter_pairs.h"

void EncodeLetterPairs(TBLOCK text, char* out, int32_t size) {
  char* const last = out + size - 1;
  for (uint32_t i = 0; i < text.length && out < last; i++) {
    const char high = static_cast<char>('b' + text[i] / 17);
    const char low = static_cast<char>('f' + text[i] % 17);
    *out++ = i % 2 == 0 ? low : high;
    if (out < last) *out++ = i % 2 == 0 ? high : low;
  }
  *out = 0;
}
