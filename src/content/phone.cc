// Phone numbers. Tested by phone_test.cc.

#include "content/phone.h"

void BLOCKPHONE::clear() {
  text.clear();
  hasLetters = 0;
  digits = "";
}

void BlockParsePhones(TBLOCK, OLIST&, uint32_t) {}

void AddPhone(TBLOCK, OLIST&) {}
