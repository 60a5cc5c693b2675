// What counts as an address, of mail or of a host, wherever one is looked for.

#ifndef MESSAGE_MAIL_ADDRESS_H_
#define MESSAGE_MAIL_ADDRESS_H_

#include "base/tblock.h"

// A local part, "@" and a domain with a dot. The local part may be empty, and
// may hold anything between double quotes. An "@" between quotes does not
// count, and an apostrophe opens them too, on purpose, so that
// o'neil@example.org is no address.
//
// Known limit: bitEmail has no "=", so the return addresses that mailing lists
// make for each member (list+bob=example.org@lists.example.com) are no mail
// addresses here.
bool IsMailAddress(TBLOCK text);

// Three dots, digits and, on purpose, colons; what the numbers are is not
// looked at.
bool IsDottedQuad(TBLOCK text);

#endif  // MESSAGE_MAIL_ADDRESS_H_
