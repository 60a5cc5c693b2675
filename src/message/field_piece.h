// Header lines and values taken apart. Quotes hide what would part a value, as
// in `text/plain; name="a;b"` and `"Doe, John" <jd@example.org>`.

#ifndef MESSAGE_FIELD_PIECE_H_
#define MESSAGE_FIELD_PIECE_H_

#include "base/tblock.h"

// Takes "name:" off a header line of that name; false, with the line as it was,
// for any other. The ":" must follow directly: "Subject :" is no subject.
bool TakeFieldName(TBLOCK& line, TBLOCK name);

// Offset of the first such byte outside quotes, or the length of the text. A
// quote, of either kind, ends only at the same character, or with the text.
uint32_t FindOutsideQuotes(TBLOCK text, unsigned char byte);

// Cuts `rest` at the first separator outside quotes: returns what stands before
// it, trimmed, and moves `rest` behind it; at the end `rest` is empty.
TBLOCK NextPiece(TBLOCK& rest, unsigned char separator);

#endif  // MESSAGE_FIELD_PIECE_H_
