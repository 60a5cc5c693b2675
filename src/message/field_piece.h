// Header values in which quotes hide what would part them, as in
// `text/plain; name="a;b"` and `"Doe, John" <jd@example.org>`.

#ifndef MESSAGE_FIELD_PIECE_H_
#define MESSAGE_FIELD_PIECE_H_

#include "base/tblock.h"

// Offset of the first such byte outside quotes, or the length of the text. A
// quote, of either kind, ends only at the same character, or with the text.
uint32_t FindOutsideQuotes(TBLOCK text, unsigned char byte);

// Cuts `rest` at the first separator outside quotes: returns what stands before
// it, trimmed, and moves `rest` behind it; at the end `rest` is empty.
TBLOCK NextPiece(TBLOCK& rest, unsigned char separator);

#endif  // MESSAGE_FIELD_PIECE_H_
