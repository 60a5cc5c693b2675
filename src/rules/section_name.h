// SECTIONNAME: the name of a section that is put together of pieces, in place:
// searches compose hundreds of names, and none of them outlives its look-up.
//
// A NUL ends a piece. A name too long for any section becomes the empty one,
// which no section has either. Tested by section_name_test.cc.

#ifndef RULES_SECTION_NAME_H_
#define RULES_SECTION_NAME_H_

#include <stdint.h>
#include <string.h>

#include "base/tblock.h"

const uint32_t kMaxSectionName = 2048;  // bytes; from here on there is none

class SECTIONNAME {
 public:
  SECTIONNAME() : length(0), tooLong(false) { text[0] = 0; }

  void clear() {
    length = 0;
    tooLong = false;
    text[0] = 0;
  }
  SECTIONNAME& add(const char* piece) {
    addBytes(piece, strlen(piece));
    return *this;
  }
  SECTIONNAME& add(TBLOCK piece) {
    if (piece.empty()) return *this;
    const int32_t nul = piece.findByte(0);
    addBytes(piece.pointer, nul < 0 ? piece.length : static_cast<size_t>(nul));
    return *this;
  }

  const char* c_str() const { return text; }
  TBLOCK view() const { return TBLOCK(text, length); }

 private:
  // A "+" may stand ahead of the name of a group.
  static const uint32_t kRoom = kMaxSectionName + 1;

  char text[kRoom];
  uint32_t length;
  bool tooLong;  // and stays so

  void addBytes(const void* bytes, size_t n) {
    if (tooLong || n >= kRoom - length) {
      clear();
      tooLong = true;
      return;
    }
    memcpy(text + length, bytes, n);
    length += static_cast<uint32_t>(n);
    text[length] = 0;
  }
};

#endif  // RULES_SECTION_NAME_H_
