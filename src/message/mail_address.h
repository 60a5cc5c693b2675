// What counts as a mail address, for mailboxes, relay lines and the words of
// their templates.

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

#endif  // MESSAGE_MAIL_ADDRESS_H_
