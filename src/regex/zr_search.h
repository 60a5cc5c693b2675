// What the matcher works out of a compiled record once, so that it need not
// again for every subject: the byte set of every node.
//
// Only zr_regcomp_len (zr_search_build as its last act), zr_regfree
// (zr_search_free) and the matcher include this.

#ifndef REGEX_ZR_SEARCH_H_
#define REGEX_ZR_SEARCH_H_

#include "regex/zr_regex.h"

// A set of bytes: byte c is in when bit c % 32 of bits[c / 32] is set.
struct zr_set {
  uint32_t bits[8];
};

// What may stand in one place of a subject. Without a set (ZR_NONE) the bytes
// for which (byte | loose) == value: loose 0 is one byte, 0x20 a letter of
// either case.
struct zr_place {
  uint32_t set;  // index into zr_search::sets, or ZR_NONE
  uint8_t loose;
  uint8_t value;
};

// Derived from one of the two node lists.
struct zr_plan {
  // What each one-byte node matches once: places[0] under case mask 0xFF,
  // places[1] under 0xDF. Null for a mask that is never in force. Owned.
  zr_place* places[2];
  uint32_t slotCount;  // capture slots that its groups use
};

struct zr_search {
  zr_plan full;  // of zr_regex::nodes
  zr_plan fast;  // of zr_regex::fastNodes
  zr_set* sets;  // owned
  uint32_t setCount;
  uint32_t setCapacity;
};

// Fills preg->search from the finished lists: ZR_OK, or ZR_NOMEMORY.
int zr_search_build(zr_regex* preg);

// Null is accepted.
void zr_search_free(zr_search* search);

inline bool zr_set_has(const zr_set& set, uint32_t byte) {
  return (set.bits[byte >> 5] >> (byte & 31)) & 1;
}

#endif  // REGEX_ZR_SEARCH_H_
