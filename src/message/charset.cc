// Character sets.

#include "message/charset.h"

void TCharset::clear() {
  name.clear();
  index = family = 0;
  for (uint32_t& count : zoneCounts) count = 0;
  markCount = 0;
}
