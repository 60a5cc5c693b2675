// Phone numbers. Each record must lie in one line of the text and hold what its
// digits say; a line ahead must change nothing.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "content/phone.h"

static void Check(bool holds) {
  if (!holds) __builtin_trap();
}

struct PHONES : OLIST {
  ~PHONES() override {
    while (first) {
      const BLOCKPHONE* phone = static_cast<const BLOCKPHONE*>(first->item);
      remove(phone);
      delete phone;
    }
  }
};

static void CheckRecord(const BLOCKPHONE& phone, TBLOCK text) {
  Check(phone.text.pointer >= text.pointer && phone.text.end() <= text.end());
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
  const uint32_t n = static_cast<uint32_t>(size);
  const std::unique_ptr<unsigned char[]> copy(new unsigned char[n]);
  if (n) memcpy(copy.get(), bytes, n);
  const TBLOCK text(copy.get(), n);
  PHONES phones;
  BlockParsePhones(text, phones, PO_DEFAULTOPTIONS);
  Check(phones.len() <= kMaxPhones);
  OITER walk(&phones);
  while (const void* item = walk.next())
    CheckRecord(*static_cast<const BLOCKPHONE*>(item), text);

  const std::unique_ptr<unsigned char[]> longer(new unsigned char[n + 2]);
  memcpy(longer.get(), "1\n", 2);
  if (n) memcpy(longer.get() + 2, bytes, n);
  PHONES others;
  BlockParsePhones(TBLOCK(longer.get(), n + 2), others, PO_DEFAULTOPTIONS);
  Check(others.len() == phones.len());
  OITER left(&phones), right(&others);
  while (const void* item = left.next()) {
    const TBLOCK digits = static_cast<const BLOCKPHONE*>(item)->digits.view();
    const void* other = right.next();
    Check(digits.equals(static_cast<const BLOCKPHONE*>(other)->digits.view()));
  }
  return 0;
}
