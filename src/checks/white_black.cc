// The client's lists, and what counts for or against a message. Nothing is
// checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkBlackAndWhite() {}

void TQMMSG::checkWhiteRecip() {}

int TQMMSG::listFilter(TBLOCK /*list*/) {
  return ledger.score;
}

void TQMMSG::checkAnswer() {}

void TQMMSG::checkWhite() {}

void TQMMSG::checkBlackWords() {}

void TQMMSG::checkTipsWords() {}

void TQMMSG::checkRandom() {}

int TQMMSG::checkSuspect(const QMGLOBALSETUP* /*globalSetup*/,
                         const QMUSERSETUP* /*userSetup*/) {
  return 0;
}
