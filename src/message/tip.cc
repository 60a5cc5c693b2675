// IPv4 addresses. Tested by tip_test.cc.

#include "message/tip.h"

void TIP::clear() {
  text = "";
  hex = "";
  invalid = 0;
  reserved = 0;
  addressClass = 0;
  network = 0;
  host = 0;
  isPrivate = 0;
}

void TIP::setValue(uint32_t) {}
void TIP::setBlock(TBLOCK) {}
void TIP::setStr(const char*) {}
void TIP::_getStr(STR&, uint32_t) {}
