// The letter-pair encoding of what a scan returns: two letters for each byte,
// so that a cause is not in plain sight in a mail header. doc/letter-pairs.md
// has the grammar and an example.

#ifndef API_LETTER_PAIRS_H_
#define API_LETTER_PAIRS_H_

#include <stdint.h>

#include "base/tblock.h"

// Writes the encoded text and a NUL into `out`, at most size - 1 letters; a
// text that is longer is cut, possibly between the letters of a pair.
// REQUIRES: size above 0.
void EncodeLetterPairs(TBLOCK text, char* out, int32_t size);

#endif  // API_LETTER_PAIRS_H_
