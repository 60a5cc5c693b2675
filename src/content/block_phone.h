// BLOCKPHONE: a phone number that a text shows. A plain record; nothing makes
// one yet.

#ifndef CONTENT_BLOCK_PHONE_H_
#define CONTENT_BLOCK_PHONE_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"

struct BLOCKPHONE {
  TBLOCK text;             // as it stands
  int32_t hasLetters = 0;  // 1: a letter was read as a digit
  STR digits;
};

#endif  // CONTENT_BLOCK_PHONE_H_
