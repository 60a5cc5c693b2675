// Phone numbers that a text shows.

#ifndef CONTENT_PHONE_H_
#define CONTENT_PHONE_H_

#include <stdint.h>

#include "base/olist.h"
#include "base/str.h"
#include "base/tblock.h"

// The last argument of BlockParsePhones that callers give.
const uint32_t PO_DEFAULTOPTIONS = 0;
// Numbers that a list takes.
const int32_t kMaxPhones = 256;

struct BLOCKPHONE {
  TBLOCK text;             // as it stands
  int32_t hasLetters = 0;  // 1: a letter was read as a digit
  STR digits;

  void clear();
  // Takes the digits of a text; false if it has none or memory is short.
  bool read(TBLOCK found);
};

// Adds the numbers of a text at the head of the list, of BLOCKPHONE, each once
// by its digits. The caller owns the records. There are no options yet.
void BlockParsePhones(TBLOCK text, OLIST& phones, uint32_t options);
// Adds one, unless it is there or the list is full.
void AddPhone(TBLOCK text, OLIST& phones);

#endif  // CONTENT_PHONE_H_
