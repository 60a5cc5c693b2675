// Views: comparing and searching. The tables are in data/char_tables.cc, the
// text operations in block_*.cc. Tested by tblock_test.cc.

#include "base/tblock.h"

namespace {

bool SameBytes(const unsigned char* a, const unsigned char* b, uint32_t n,
               const unsigned char* table) {
  if (n == 0) return true;
  if (table == TBLOCK::NoConvTable) return memcmp(a, b, n) == 0;
  for (uint32_t i = 0; i < n; i++)
    if (table[a[i]] != table[b[i]]) return false;
  return true;
}

}  // namespace

bool TBLOCK::equals(TBLOCK other, const unsigned char* table) const {
  if (empty() || other.empty()) return empty() && other.empty();
  return length == other.length &&
         SameBytes(pointer, other.pointer, length, table);
}

bool TBLOCK::ends(TBLOCK suffix, const unsigned char* table) const {
  if (suffix.empty()) return true;
  return !empty() && length >= suffix.length &&
         SameBytes(end() - suffix.length, suffix.pointer, suffix.length, table);
}

int32_t TBLOCK::find(TBLOCK text, uint32_t start,
                     const unsigned char* table) const {
  const uint32_t size = empty() ? 0 : length;
  if (start > size) return -1;
  if (text.empty()) return static_cast<int32_t>(start);
  if (text.length > size - start) return -1;
  const unsigned char first = table[text[0]];
  const unsigned char* const last = pointer + size - text.length;
  for (const unsigned char* p = pointer + start; p <= last; p++) {
    if (table == NoConvTable) {
      p = static_cast<const unsigned char*>(
          memchr(p, first, static_cast<size_t>(last - p) + 1));
      if (!p) return -1;
    } else if (table[*p] != first) {
      continue;
    }
    if (SameBytes(p + 1, text.pointer + 1, text.length - 1, table))
      return static_cast<int32_t>(p - pointer);
  }
  return -1;
}

int32_t TBLOCK::findLastByte(unsigned char byte) const {
  if (!pointer) return -1;
  for (uint32_t i = length; i-- > 0;)
    if (pointer[i] == byte) return static_cast<int32_t>(i);
  return -1;
}

void TBLOCK::convert(const unsigned char* table) {
  if (!pointer) return;
  for (uint32_t i = 0; i < length; i++) pointer[i] = table[pointer[i]];
}
