// The dictionary that is linked into the library: an image without sections,
// in which nothing is found. A build with compiled sources puts theirs in the
// place of this file.

#include "data/ready_kwo.h"

alignas(8) const unsigned char ReadyKWO[] = {
    'Q', 'M', 'K', 'W', 60, 0, 0, 0, 60, 0, 0, 0,  // magic, header, total
    0,   0,   0,   0,   60, 0, 0, 0,               // sections
    0,   0,   0,   0,   60, 0, 0, 0,               // lines
    0,   0,   0,   0,   60, 0, 0, 0,               // AND records
    0,   0,   0,   0,   60, 0, 0, 0,               // OR records
    0,   0,   0,   0,   60, 0, 0, 0,               // words
    0,   0,   0,   0,   60, 0, 0, 0,               // text pool
};

uint32_t getReadyKWOLen() {
  return sizeof ReadyKWO;
}
