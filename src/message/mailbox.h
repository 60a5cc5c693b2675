// TMAILBOX: one parsed mailbox of an address field. A plain record of views
// into the field's text, copied by value; the text must outlive it.

#ifndef MESSAGE_MAILBOX_H_
#define MESSAGE_MAILBOX_H_

#include "base/tblock.h"

// Bits of TMAILBOX::flags.
enum : uint32_t {
  mbAngleBrackets = 1,  // the form "name <address>"
  mbQuotedName = 2      // the name stood in quotes
};

struct TMAILBOX {
  TBLOCK text;     // the whole mailbox, trimmed
  TBLOCK email;    // the address, bare; empty when there is no valid one
  TBLOCK name;     // display name or comment, unquoted
  TBLOCK host;     // what follows the last "@" of email
  TBLOCK domain;   // registered domain of host; empty until hosts are resolved
  uint32_t flags;  // mb... bits
  int32_t scheme;  // how the address derives from the name; 0 for now
  char adn[32];    // fingerprint of the shape, NUL-terminated; empty for now

  TMAILBOX() : flags(0), scheme(0), adn() {}
};

// Never fails: a text without a valid address ends up in `name`.
TMAILBOX ParseMailBox(TBLOCK text);

#endif  // MESSAGE_MAILBOX_H_
