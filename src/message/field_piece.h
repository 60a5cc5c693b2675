// The pieces of a structured header value, as in "text/plain; charset=x".

#ifndef MESSAGE_FIELD_PIECE_H_
#define MESSAGE_FIELD_PIECE_H_

#include "base/tblock.h"

// Cuts `rest` at the first ";" outside quotes: returns what stands before it,
// trimmed, and moves `rest` behind it; at the end `rest` is empty. A quote, of
// either kind, ends only at the same character, or at the end of the text.
TBLOCK NextFieldPiece(TBLOCK& rest);

#endif  // MESSAGE_FIELD_PIECE_H_
