// The coherence of the Received chain with what claims to have written it.
// Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkReceived() {}

int TQMMSG::checkForgedReceivedLabo(const BLOCKRECEIVED*,
                                    const BLOCKRECEIVED*) {
  return 0;
}

bool TQMMSG::checkForgedReceived(const BLOCKRECEIVED*, STR&) {
  return false;
}

int TQMMSG::checkSmtpSrv(const BLOCKRECEIVED*) {
  return 0;
}

int TQMMSG::checkHotmail() {
  return 0;
}

int TQMMSG::checkWebMail() {
  return 0;
}
