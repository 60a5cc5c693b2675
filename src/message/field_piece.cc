// Tested by header_fields_test.cc and block_part_test.cc.

#include "message/field_piece.h"

TBLOCK NextFieldPiece(TBLOCK& rest) {
  if (rest.empty()) return TBLOCK();
  unsigned char quote = 0;
  uint32_t n = 0;
  for (; n < rest.length; n++) {
    const unsigned char byte = rest[n];
    if (quote) {
      if (byte == quote) quote = 0;
    } else if (byte == '"' || byte == '\'') {
      quote = byte;
    } else if (byte == ';') {
      break;
    }
  }
  TBLOCK piece = rest.head(n);
  piece.trim();
  rest.skip(n + 1);
  return piece;
}
