// Boundaries and identifiers that the claimed mail program does not write.
// Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkBoundary() {}

int TQMMSG::checkForgedMailer() {
  return 0;
}

int TQMMSG::checkDuplicateLetter() {
  return 0;
}

int TQMMSG::checkForgedAppleMail() {
  return 0;
}

int TQMMSG::checkForgedMimeTools() {
  return 0;
}

int TQMMSG::checkMailerSylpheed() {
  return 0;
}
