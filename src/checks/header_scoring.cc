// Subject, header fingerprint, recipients and dates. Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkSubject() {}

void TQMMSG::checkSpamHdr() {}

void TQMMSG::checkHeader() {}

void TQMMSG::checkTo() {}

void TQMMSG::checkDates(const QMUSERSETUP* /*userSetup*/) {}

int TQMMSG::checkFall() {
  return 0;
}

int TQMMSG::checkMailSpring() {
  return 0;
}

void TQMMSG::checkSubst() {}

int TQMMSG::getHeaderScore(const char*, const BLOCKPART*) {
  return 0;
}

int TQMMSG::checkHeaderFields(const char*, const BLOCKPART*) {
  return 0;
}

int TQMMSG::checkAttach() {
  return 0;
}
