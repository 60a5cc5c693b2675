// The reputation and shape of links, domains and phone numbers. Nothing is
// checked yet.

#include "scan/tqmmsg.h"

void TQMMSG::checkBlackLinks() {}

void TQMMSG::checkSpamDomains() {}

void TQMMSG::checkTld() {}

void TQMMSG::checkHiddenUrl() {}

void TQMMSG::checkLinkText() {}

void TQMMSG::checkPhone() {}

void TQMMSG::checkUnsub() {}
