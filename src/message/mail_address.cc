// Mail addresses. Laxer than the standards where mail is, and strict only in
// what the bytes are. Entry point: IsMailAddress. Tested by
// content/mailbox_test.cc.

#include "message/mail_address.h"

namespace {

// Offset of the first "@" outside quotes, or -1. A run opened by one kind of
// quote ends at the same kind.
int32_t FindAtSign(TBLOCK text) {
  unsigned char open = 0;
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char c = text[i];
    if (open) {
      if (c == open) open = 0;
    } else if (c == '"' || c == '\'') {
      open = c;
    } else if (c == '@') {
      return static_cast<int32_t>(i);
    }
  }
  return -1;
}

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
  const int32_t at = FindAtSign(text);
  if (at < 0) return false;
  const TBLOCK host = text.from(static_cast<uint32_t>(at) + 1);
  return host.findByte('.') >= 0 && host.allIn(bitDomain) &&
         IsLocalPart(text.head(static_cast<uint32_t>(at)));
}
