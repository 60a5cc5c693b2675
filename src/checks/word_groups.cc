// Word groups of the dictionary, and the commercial classes. Nothing is
// checked yet.

#include "scan/tqmmsg.h"

bool TQMMSG::checkWordGroup(const char* /*name*/, int32_t& /*total*/,
                            STR* /*description*/) {
  return false;
}

int TQMMSG::checkWordGroups(const char* /*section*/) {
  return 0;
}

void TQMMSG::checkResit() {}

int TQMMSG::checkCommercial(const QMGLOBALSETUP* /*globalSetup*/,
                            const QMUSERSETUP* /*userSetup*/) {
  return 0;
}

bool TQMMSG::checkNewsletter() {
  return false;
}
