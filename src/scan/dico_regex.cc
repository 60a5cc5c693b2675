// A section's lines as patterns, with the place of the match. There is no
// dictionary to walk yet, and an absent section is no match.

#include "scan/tqmmsg.h"

bool TQMMSG::_dicoRegexAndOffset(TBLOCK /*block*/, int32_t& count,
                                 int32_t& offset, const char* /*section*/) {
  count = 0;
  offset = -1;
  return false;
}
