// Identifiers of the Message-ID and Thread-Index fields, and what forges them.
// Nothing is checked yet.

#include "scan/tqmmsg.h"

int TQMMSG::checkIdFromMTA() {
  return 0;
}

void TQMMSG::checkMessageId() {}

int TQMMSG::checkThreadIndex() {
  return 0;
}
