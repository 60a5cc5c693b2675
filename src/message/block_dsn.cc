// Delivery status.

#include "message/block_dsn.h"

void BLOCKDSN::clear() {
  state = action = status = 0;
  content = reportingMta = arrivalDate = finalRecipient = actionField =
      statusField = diagnosticCode = recipient = TBLOCK();
}
