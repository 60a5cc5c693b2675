// What counts as a mail address, for mailboxes, relay lines and the words of
// their templates.

#ifndef MESSAGE_MAIL_ADDRESS_H_
#define MESSAGE_MAIL_ADDRESS_H_

#include <stdint.h>

#include "base/tblock.h"

// Offset of the first "@" outside quotes, or -1. A run opened by one kind of
// quote ends at the same kind. An apostrophe opens one too, on purpose, so
// that o'neil@example.org without a closing one is no address.
int32_t FindAtSign(TBLOCK text);
// A local part, "@" and a domain with a dot. The local part may be empty, and
// may hold anything between double quotes.
bool IsMailAddress(TBLOCK text);

#endif  // MESSAGE_MAIL_ADDRESS_H_
