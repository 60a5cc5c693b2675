// BLOCKRECEIVED: one relay line, cut into its clauses. A plain record; nothing
// makes one yet.

#ifndef MESSAGE_BLOCK_RECEIVED_H_
#define MESSAGE_BLOCK_RECEIVED_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"

// Views into the field's value, which must outlive the record.
struct BLOCKRECEIVED {
  STR adn;      // template: what is left when hosts, addresses, numbers
                // and dates have become words for what they are
  TBLOCK text;  // the whole value
  TBLOCK from;  // what follows each of these words
  TBLOCK by;
  TBLOCK via;  // "via" or "through"
  TBLOCK with;
  TBLOCK id;
  TBLOCK forAddress;           // without angle brackets
  TBLOCK date;                 // behind the last ";"
  TBLOCK fromIp;               // first IPv4 address of `from`
  int32_t hasLeadingText = 0;  // 1: it does not begin with one of the words
};

#endif  // MESSAGE_BLOCK_RECEIVED_H_
