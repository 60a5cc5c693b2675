// Delivery reports and other automatic mail. Nothing is checked yet.

#include "scan/tqmmsg.h"

bool TQMMSG::checkNotification(const QMGLOBALSETUP* /*globalSetup*/,
                               const QMUSERSETUP* /*userSetup*/) {
  return false;
}

void TQMMSG::checkPartsCid() {}
