// Outbreak mail, by how it packages itself. Nothing is checked yet.

#include "scan/tqmmsg.h"

int TQMMSG::checkVirus(const QMGLOBALSETUP* /*globalSetup*/,
                       const QMUSERSETUP* /*userSetup*/) {
  return 0;
}
