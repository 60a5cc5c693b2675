// What the dictionary knows of links, domains and phone numbers.

#include "scan/tqmmsg.h"

void TQMMSG::checkSpamDomains() {}

void TQMMSG::checkWhiteLinks() {}

void TQMMSG::checkWhiteDomains() {}

void TQMMSG::checkWhiteImgUrl() {}

int TQMMSG::checkBlackImgUrl() {
  return 0;
}

void TQMMSG::checkTld() {}

int32_t TQMMSG::checkTldList(const TBLOCKVECT& /*suffixes*/, int32_t& count) {
  count = 0;
  return 0;
}

void TQMMSG::checkHiddenUrl() {}

void TQMMSG::checkLinkText() {}

void TQMMSG::checkAlt() {}

void TQMMSG::checkPhone() {}

void TQMMSG::checkUnsub() {}
