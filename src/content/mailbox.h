// TMAILBOX: one parsed mailbox of an address field. A plain record of views
// into the field's text, copied by value; the text must outlive it.

#ifndef CONTENT_MAILBOX_H_
#define CONTENT_MAILBOX_H_

#include <stdint.h>

#include "base/block.h"
#include "base/str.h"
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
  TBLOCK domain;   // registered domain of host
  uint32_t flags;  // mb... bits
  int32_t scheme;  // how the address derives from the name: see
                   // ParseRecipientScheme
  char adn[32];    // fingerprint of the shape, NUL-terminated

  TMAILBOX() : flags(0), scheme(0), adn() {}
};

// A vector of mailboxes by value. Reads out of range give an all-empty record,
// writes out of range are ignored.
class TMAILBOXVECT : public BLOCK {
 public:
  // Reserves room for n records.
  explicit TMAILBOXVECT(int32_t n);
  ~TMAILBOXVECT() override;

  int32_t count() const;
  TMAILBOX get(int32_t i) const;
  // 1, or 0 when memory is short.
  int add(const TMAILBOX& box);
  // Inserts ahead of record i; i at the count appends. 1, or 0.
  int ins(const TMAILBOX& box, int32_t i);
  int set(const TMAILBOX& box, int32_t i);
  int del(int32_t i);
  // Index of the first record with the same bytes, or -1.
  int32_t pos(const TMAILBOX& box) const;
  void clear();
};

// Never fails: a text without a valid address ends up in `name`.
TMAILBOX ParseMailBox(TBLOCK text);
// Appends the mailboxes of a list; returns how many it found.
int32_t ParseEmailAddresses(TBLOCK text, TMAILBOXVECT& boxes);
// The same; stores the `adn` of each record of the vector, joined by commas,
// and returns the count of records in the vector.
int32_t ParseEmailAddressesWithAdn(TBLOCK text, TMAILBOXVECT& boxes, STR& adn);

// How the local part was put together from words of the display name: 1 to 8,
// or 0 when it was not.
int32_t ParseRecipientScheme(const TMAILBOX& box);
// Fills `adn` from the other fields.
void SetMailboxAdn(TMAILBOX& box);
// 1 for a list that looks as if it was cut out of a sorted address list.
int CheckSortedRecips(const TMAILBOXVECT& boxes, const TMAILBOX& user);

#endif  // CONTENT_MAILBOX_H_
