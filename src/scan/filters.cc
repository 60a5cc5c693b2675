// The filter dispatch and the filters that only walk rule sections. No filter
// is dispatched yet: checkFilter runs nothing.

#include "scan/tqmmsg.h"

int TQMMSG::checkFilter(int /*filter*/, const QMGLOBALSETUP* /*globalSetup*/,
                        const QMUSERSETUP* /*userSetup*/, int /*purge*/) {
  return 0;
}

void TQMMSG::checkHeaderFilter() {
  if (headerFiltered) return;
  headerFiltered = 1;
}

void TQMMSG::checkBlack(const QMGLOBALSETUP* /*globalSetup*/,
                        const QMUSERSETUP* /*userSetup*/) {}

int TQMMSG::checkRegex(int /*purge*/) {
  return 0;
}

void TQMMSG::checkHeaderRegex(int /*purge*/) {}

void TQMMSG::checkNonLatin(int /*allowEastern*/, int /*allowAsian*/,
                           int /*forbidLatin*/) {}

// A filter name without a check behind it: rule sections may still name it.
void TQMMSG::checkUserInText() {}
