// Views: comparing and searching, which is linear whatever the texts. The
// tables are in data/char_tables.cc, the text operations in block_*.cc. Tested
// by tblock_test.cc.

#include "base/tblock.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <new>

namespace {

bool SameBytes(const unsigned char* a, const unsigned char* b, uint32_t n,
               const unsigned char* table) {
  if (n == 0) return true;
  if (table == TBLOCK::NoConvTable) return memcmp(a, b, n) == 0;
  for (uint32_t i = 0; i < n; i++)
    if (table[a[i]] != table[b[i]]) return false;
  return true;
}

// Bytes that a search may compare for each byte of the text before it is taken
// for one that somebody has made slow.
const uint32_t kMaxCompared = 16;

#ifdef __SSE2__
// The bytes that LowerConvTable maps to one byte: of ASCII two at most; of the
// upper half the table is to be asked.
struct FOLDEDBYTE {
  __m128i small, other;

  explicit FOLDEDBYTE(unsigned char byte)
      : small(_mm_set1_epi8(static_cast<char>(byte))),
        other(_mm_set1_epi8(static_cast<char>(byte >= 'a' && byte <= 'z'
                                                  ? byte - 0x20
                                              : byte == 'I' ? '|'
                                                            : byte))) {}
  // The top bit of each of the sixteen tells whether it may be one of them.
  __m128i in(const unsigned char* p) const {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return _mm_or_si128(bytes, _mm_or_si128(_mm_cmpeq_epi8(bytes, small),
                                            _mm_cmpeq_epi8(bytes, other)));
  }
};

// Moves p on to where the text, folded, may begin, or close to `last`, sixteen
// bytes at a time: true where its first two bytes do.
// REQUIRES: behind `last` there is room for the text.
bool SkipOthers(const unsigned char*& p, const unsigned char* last,
                const unsigned char* folded, uint32_t n) {
  const unsigned char* const table = TBLOCK::LowerConvTable;
  const uint32_t second = n > 1;
  const FOLDEDBYTE a(folded[0]), b(folded[second]);
  for (; last - p >= 15; p += 16) {
    const __m128i found = _mm_and_si128(a.in(p), b.in(p + second));
    for (uint32_t left = static_cast<uint32_t>(_mm_movemask_epi8(found)); left;
         left &= left - 1) {
      const unsigned char* const at = p + __builtin_ctz(left);
      if (table[*at] != folded[0] || table[at[second]] != folded[second])
        continue;
      p = at;
      return true;
    }
  }
  return false;
}
#endif

// The first place from p to last, both included, at which the text may begin.
// REQUIRES: behind `last` there is room for the text.
const unsigned char* FindFirst(const unsigned char* p,
                               const unsigned char* last, TBLOCK text,
                               const unsigned char* table) {
  const unsigned char byte = table[text[0]];
  if (p > last) return nullptr;
  if (table == TBLOCK::NoConvTable)
    return static_cast<const unsigned char*>(
        memchr(p, byte, static_cast<size_t>(last - p) + 1));
#ifdef __SSE2__
  const unsigned char folded[] = {byte, table[text[text.length > 1]]};
  if (table == TBLOCK::LowerConvTable &&
      SkipOthers(p, last, folded, text.length))
    return p;
#endif
  while (p <= last && table[*p] != byte) p++;
  return p <= last ? p : nullptr;
}

// How many bytes agree at the start, at most n.
uint32_t SameBytesAtStart(const unsigned char* a, const unsigned char* b,
                          uint32_t n, const unsigned char* table) {
  uint32_t i = 0;
  while (i < n && table[a[i]] == table[b[i]]) i++;
  return i;
}

// The search for patterns that nearly match in many places: no byte of the
// text is looked at again. A border of a text is both its start and its end;
// behind a mismatch the longest border of what has matched still matches.
// False, with nothing found out, when memory is short.
bool FindWithBorders(TBLOCK text, uint32_t start, TBLOCK pattern,
                     const unsigned char* table, int32_t& found) {
  // Of the first i + 1 bytes of the pattern, less than all of them.
  uint32_t* const borders = new (std::nothrow) uint32_t[pattern.length];
  if (!borders) return false;
  borders[0] = 0;
  uint32_t matched = 0;
  for (uint32_t i = 1; i < pattern.length; i++) {
    while (matched > 0 && table[pattern[i]] != table[pattern[matched]])
      matched = borders[matched - 1];
    matched += table[pattern[i]] == table[pattern[matched]];
    borders[i] = matched;
  }
  found = -1;
  matched = 0;
  for (uint32_t i = start; i < text.length && found < 0; i++) {
    while (matched > 0 && table[text[i]] != table[pattern[matched]])
      matched = borders[matched - 1];
    matched += table[text[i]] == table[pattern[matched]];
    if (matched == pattern.length)
      found = static_cast<int32_t>(i + 1 - pattern.length);
  }
  delete[] borders;
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
  const unsigned char* const last = pointer + size - text.length;
  uint64_t compared = 0;
  const unsigned char* p = pointer + start;
  for (; (p = FindFirst(p, last, text, table)) != nullptr; p++) {
    const uint32_t at = static_cast<uint32_t>(p - pointer);
    const uint32_t same = SameBytesAtStart(p, text.pointer, text.length, table);
    if (same == text.length) return static_cast<int32_t>(at);
    compared += same;
    int32_t found;
    if (compared > kMaxCompared * uint64_t{size} &&
        FindWithBorders(*this, at + 1, text, table, found))
      return found;
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
  uint32_t i = 0;
#ifdef __SSE2__
  // Of this one nothing is changed from the blank to 7F, which most texts are.
  if (table == AlphaConvTable)
    for (; length - i >= 16; i += 16) {
      const __m128i bytes =
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(pointer + i));
      if (_mm_movemask_epi8(_mm_cmplt_epi8(bytes, _mm_set1_epi8(' '))))
        for (uint32_t k = i; k < i + 16; k++) pointer[k] = table[pointer[k]];
    }
#endif
  for (; i < length; i++) pointer[i] = table[pointer[i]];
}
