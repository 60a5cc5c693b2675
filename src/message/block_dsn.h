// BLOCKDSN: what the delivery-status part of a bounce says: what happened, to
// whom, why. A plain record of views into the part's text.

#ifndef MESSAGE_BLOCK_DSN_H_
#define MESSAGE_BLOCK_DSN_H_

#include <stdint.h>

#include "base/tblock.h"

struct BLOCKDSN {
  int32_t state;   // 0 no judgement, 1 no such user, 2 mailbox full or closed,
                   // 3 virus
  int32_t action;  // 1 delivered, 2 failed, 3 delayed, 4 relayed, 5 expanded;
                   // 0 none of these
  TBLOCK content;
  // Values of the fields, of the last recipient when there are several.
  TBLOCK reportingMta;
  TBLOCK arrivalDate;
  TBLOCK finalRecipient;
  TBLOCK actionField;
  TBLOCK statusField;
  TBLOCK diagnosticCode;
  TBLOCK recipient;  // finalRecipient without its "rfc822;"
  int32_t status;    // 511 for "5.1.1"; 0 when the status is no such triple

  BLOCKDSN() { clear(); }
  void clear();
  // Clears, then reads the text of the part.
  void setContent(TBLOCK text);

 private:
  void _parseAction();
  void _parseRecipient();
  void _parseStatus();
  void _parseState();
};

#endif  // MESSAGE_BLOCK_DSN_H_
