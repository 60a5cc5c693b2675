// Forged and listed sender addresses. Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkFrom() {}

void TQMMSG::checkEmails(int /*white*/) {}

void TQMMSG::checkSenderAddr(TMAILBOX&) {}

int TQMMSG::_mbFilter(TBLOCK, const TMAILBOX&, int, const char*) {
  return 0;
}

int TQMMSG::_fromFilter(TBLOCK, int) {
  return 0;
}

int TQMMSG::_ccFilter(TBLOCK, int) {
  return 0;
}

void TQMMSG::_checkValidSender(int&, int&, int&, int&) {}
