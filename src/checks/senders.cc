// Forged and listed sender addresses. Nothing is checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkFrom() {}

void TQMMSG::checkEmails(int /*white*/) {}
