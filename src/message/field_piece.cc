// Tested by header_fields_test.cc, block_part_test.cc and mailbox_test.cc.

#include "message/field_piece.h"

bool TakeFieldName(TBLOCK& line, TBLOCK name) {
  if (line.length <= name.length || line[name.length] != ':' ||
      !line.begins(name))
    return false;
  line.skip(name.length + 1);
  return true;
}

uint32_t FindOutsideQuotes(TBLOCK text, unsigned char byte) {
  unsigned char quote = 0;
  uint32_t n = 0;
  for (; n < text.length; n++) {
    const unsigned char c = text[n];
    if (quote) {
      if (c == quote) quote = 0;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == byte) {
      break;
    }
  }
  return n;
}

TBLOCK NextPiece(TBLOCK& rest, unsigned char separator) {
  TBLOCK piece = rest.head(FindOutsideQuotes(rest, separator));
  rest.skip(piece.length + 1);
  piece.trim();
  return piece;
}
