// Links that carry the recipient's address.

#include "scan/tqmmsg.h"

bool TQMMSG::checkTracking() {
  return false;
}

bool TQMMSG::checkUrlTracking(const TBLOCKURL& /*url*/) {
  return false;
}
