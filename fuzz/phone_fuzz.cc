// Phone numbers. Each record must lie in one line of the text and hold what its
// digits say; a line ahead must change nothing.

#include <stdint.h>
#include <string.h>

#include "content/phones.h"
#include "fuzz_util.h"

static void CheckRecord(const BLOCKPHONE& phone, TBLOCK text) {
  Check(IsInside(phone.text, text));
  const TBLOCK digits = phone.digits.view();
  // A number of nine digits has lost one.
  Check(digits.length >= 7 && digits.length <= 13);
  uint32_t at = 0;
  bool letters = false;
  for (uint32_t i = 0; i < phone.text.length; i++) {
    const unsigned char c = phone.text[i];
    Check(c != '\n' && c != '\r' && c != '$' && c != '%' && c != ':');
    const bool letter = strchr("IOlo", c) && c;
    if (!letter && (c < '0' || c > '9')) continue;
    letters |= letter;
    Check(at < digits.length);
    if (!letter) Check(digits[at] == c);
    at++;
  }
  Check(at == digits.length && letters == (phone.hasLetters != 0));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  PHONES phones;
  BlockParsePhones(text, phones, PO_DEFAULTOPTIONS);
  Check(phones.len() <= kMaxPhones);
  OITER walk(&phones);
  while (const void* item = walk.next())
    CheckRecord(*static_cast<const BLOCKPHONE*>(item), text);

  const HeapText longer("1\n" + copy.str());
  PHONES others;
  BlockParsePhones(longer.view(), others, PO_DEFAULTOPTIONS);
  Check(others.len() == phones.len());
  OITER left(&phones), right(&others);
  while (const void* item = left.next()) {
    const TBLOCK digits = static_cast<const BLOCKPHONE*>(item)->digits.view();
    const void* other = right.next();
    Check(digits.equals(static_cast<const BLOCKPHONE*>(other)->digits.view()));
  }
  return 0;
}
