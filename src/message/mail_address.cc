// Addresses. Laxer than the standards where mail is, and strict only in what
// the bytes are. Entry points: IsMailAddress, IsDottedQuad. Tested by
// content/mailbox_test.cc, received_test.cc and content/block_url_test.cc.

#include "message/mail_address.h"

#include "base/count.h"
#include "message/field_piece.h"

namespace {

bool IsLocalPart(TBLOCK text) {
  bool quoted = false;
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char c = text[i];
    if (c == '"')
      quoted = !quoted;
    else if (!quoted && !TBLOCK::Is(c, bitEmail))
      return false;
  }
  return true;
}

}  // namespace

bool IsMailAddress(TBLOCK text) {
  if (text.empty()) return false;
  const uint32_t at = FindOutsideQuotes(text, '@');
  const TBLOCK host = text.from(at + 1);
  return host.findByte('.') >= 0 && host.allIn(bitDomain) &&
         IsLocalPart(text.head(at));
}

bool IsDottedQuad(TBLOCK text) {
  return text.allIn(bitIpNumber) && CountByte(text, '.') == 3;
}
