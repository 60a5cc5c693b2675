// Views: moving, comparing, searching and trimming. The tables are in
// data/char_tables.cc, the text operations in block_*.cc. Tested by
// tblock_test.cc.

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

void TBLOCK::skip(uint32_t n) {
  if (n > length) n = length;
  if (pointer) pointer += n;
  length -= n;
}

TBLOCK TBLOCK::from(uint32_t offset) const {
  TBLOCK rest = *this;
  rest.skip(offset);
  return rest;
}

TBLOCK TBLOCK::head(uint32_t n) const {
  TBLOCK front = *this;
  front.cut(n);
  return front;
}

bool TBLOCK::equals(TBLOCK other, const unsigned char* table) const {
  if (empty() || other.empty()) return empty() && other.empty();
  return length == other.length &&
         SameBytes(pointer, other.pointer, length, table);
}

bool TBLOCK::begins(TBLOCK prefix, const unsigned char* table) const {
  if (prefix.empty()) return true;
  return !empty() && length >= prefix.length &&
         SameBytes(pointer, prefix.pointer, prefix.length, table);
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

int32_t TBLOCK::findByte(unsigned char byte, uint32_t start) const {
  if (empty() || start >= length) return -1;
  const void* at = memchr(pointer + start, byte, length - start);
  return at ? static_cast<int32_t>(static_cast<const unsigned char*>(at) -
                                   pointer)
            : -1;
}

int32_t TBLOCK::findLastByte(unsigned char byte) const {
  if (!pointer) return -1;
  for (uint32_t i = length; i-- > 0;)
    if (pointer[i] == byte) return static_cast<int32_t>(i);
  return -1;
}

void TBLOCK::trimLeft(uint32_t mask) {
  uint32_t n = 0;
  if (!pointer) return;
  while (n < length && Is(pointer[n], mask)) n++;
  skip(n);
}

void TBLOCK::trimRight(uint32_t mask) {
  if (!pointer) return;
  while (length > 0 && Is(pointer[length - 1], mask)) length--;
}

void TBLOCK::trim(uint32_t mask) {
  trimLeft(mask);
  trimRight(mask);
}

void TBLOCK::convert(const unsigned char* table) {
  if (!pointer) return;
  for (uint32_t i = 0; i < length; i++) pointer[i] = table[pointer[i]];
}
