// Character sets: names, single code points, UTF-8, and what the bytes of a
// projected text say of its script. Blocks of text are in charset_decode.cc.
// Tested by charset_test.cc.

#include "message/charset.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "data/charset_tables.h"

// Two parallel tables. koi8-r is read as koi8-u, see AltToUcTable.
// clang-format off

const char* const TCharset::CharsetNames[] = {
    "utf-8", "utf-7",
    "windows-1252", "windows-1250", "windows-1251",
    "windows-1253", "windows-1254", "windows-1255",
    "windows-1256", "windows-1257", "windows-1258",
    "iso-8859-1", "iso-8859-2", "iso-8859-3", "iso-8859-4",
    "iso-8859-5", "iso-8859-6", "iso-8859-7", "iso-8859-8",
    "iso-8859-9", "iso-8859-10", "iso-8859-11", "iso-8859-12",
    "iso-8859-13", "iso-8859-14", "iso-8859-15", "iso-8859-16",
    "us-ascii", "koi8-r", "koi8-u",
    "iso-2022-jp",
    "big5", "gb2312", "euc-jp", "euc-kr", "euc-cn",
    "",
};

namespace {

// A row of CharsetInfos.
constexpr uint32_t Info(TCHARFAMILY family, uint32_t index) {
  return static_cast<uint32_t>(family) << 16 | index;
}

}  // namespace

const uint32_t TCharset::CharsetInfos[] = {
    Info(cfUnicode, 0), Info(cfUnicode, 1),
    Info(cfWindows, 0), Info(cfWindows, 1), Info(cfWindows, 2),
    Info(cfWindows, 3), Info(cfWindows, 4), Info(cfWindows, 5),
    Info(cfWindows, 6), Info(cfWindows, 7), Info(cfWindows, 8),
    Info(cfIso, 1), Info(cfIso, 2), Info(cfIso, 3), Info(cfIso, 4),
    Info(cfIso, 5), Info(cfIso, 6), Info(cfIso, 7), Info(cfIso, 8),
    Info(cfIso, 9), Info(cfIso, 10), Info(cfIso, 11), Info(cfIso, 12),
    Info(cfIso, 13), Info(cfIso, 14), Info(cfIso, 15), Info(cfIso, 16),
    Info(cfSingle, 0), Info(cfSingle, 1), Info(cfSingle, 1),
    Info(cfEscape, 0),
    Info(cfDoubleByte, 0), Info(cfDoubleByte, 1), Info(cfDoubleByte, 2),
    Info(cfDoubleByte, 3), Info(cfDoubleByte, 4),
    0,
};

// clang-format on

static_assert(sizeof TCharset::CharsetNames / sizeof(const char*) ==
                  sizeof TCharset::CharsetInfos / sizeof(uint32_t),
              "a name without its info");

// One digit a byte: the zone.
const unsigned char TCharset::Cp1252Zones[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x00
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // 0x10
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  // 0x20
    3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 2, 2, 2, 2, 2, 2,  // 0x30
    2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // 0x40
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2,  // 0x50
    2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // 0x60
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 0,  // 0x70
    2, 5, 2, 2, 2, 2, 2, 2, 2, 2, 4, 2, 1, 6, 4, 9,  // 0x80
    7, 2, 2, 2, 2, 2, 2, 2, 2, 2, 4, 2, 1, 8, 4, 4,  // 0x90
    0, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  // 0xA0
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2,  // 0xB0
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // 0xC0
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // 0xD0
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // 0xE0
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,  // 0xF0
};

namespace {

// Blocks of Unicode that have a mark of their own, in order. Two things are
// so on purpose: what lies between Latin and Greek counts as Greek, Romanian
// letters with a comma among it; and Arabic has no row, since text in no
// script that is known scores by itself.
struct UNICODEBLOCK {
  uint16_t first, last;
  unsigned char mark;
  TCHARZONE folded;  // zone that counts a letter folded all the same
};

const TCHARZONE kNotCounted = czCount;

const UNICODEBLOCK UnicodeBlocks[] = {
    // Latin Extended-B from its middle, IPA Extensions, Spacing Modifier
    // Letters, Combining Diacritical Marks, Greek and Coptic
    {0x0200, 0x03FF, CHUNK_GREEK, czGreek},
    {0x0400, 0x04FF, CHUNK_CYRILLIC, czCyrillic},  // Cyrillic
    {0x0500, 0x052F, CHUNK_CYRILLIC, czCyrillic},  // Cyrillic Supplement
    {0x1F00, 0x1FFF, CHUNK_GREEK, czGreek},        // Greek Extended
    {0x3040, 0x309F, CHUNK_ASIAN, kNotCounted},    // Hiragana
    {0x30A0, 0x30FF, CHUNK_ASIAN, kNotCounted},    // Katakana
    {0x3400, 0x4DBF, CHUNK_ASIAN, kNotCounted},    // CJK Extension A
    {0x4E00, 0x9FFF, CHUNK_ASIAN, kNotCounted},    // CJK Unified Ideographs
    {0xAC00, 0xD7AF, CHUNK_ASIAN, kNotCounted},    // Hangul Syllables
    {0xFF00, 0xFFEF, CHUNK_ASIAN, kNotCounted},    // Half- and Fullwidth Forms
};

// The block of a code point; null when it has no mark of its own.
const UNICODEBLOCK* FindBlock(uint32_t codePoint) {
  for (const UNICODEBLOCK& block : UnicodeBlocks)
    if (codePoint <= block.last)
      return codePoint >= block.first ? &block : nullptr;
  return nullptr;
}

}  // namespace

uint32_t GetCharsetInfo(TBLOCK name) {
  if (name.empty()) return 0;
  uint32_t row = 0;
  while (*TCharset::CharsetNames[row] &&
         !name.equals(TCharset::CharsetNames[row]))
    row++;
  return TCharset::CharsetInfos[row];
}

void TCharset::clear() {
  name.clear();
  index = 0;
  family = cfNone;
  for (uint32_t& count : zoneCounts) count = 0;
  markCount = 0;
}

void TCharset::setName(TBLOCK text) {
  if (text.empty()) return;
  name = text;
  const uint32_t info = GetCharsetInfo(text);
  index = static_cast<uint16_t>(info);
  family = static_cast<uint16_t>(info >> 16);
}

// ---- Single characters

unsigned char UcToCp1252(uint32_t codePoint) {
  if (codePoint < 0x100)
    return static_cast<unsigned char>(UnicodeMap1252[codePoint][1]);
  if (codePoint == kUndefinedCode) return UNKNOWNCHAR;
  uint32_t low = 0x100;
  uint32_t high = kUnicodeMapRows;
  while (low < high) {
    const uint32_t middle = (low + high) / 2;
    if (UnicodeMap1252[middle][0] < codePoint)
      low = middle + 1;
    else
      high = middle;
  }
  if (low == kUnicodeMapRows || UnicodeMap1252[low][0] != codePoint)
    return CHUNK;
  return static_cast<unsigned char>(UnicodeMap1252[low][1]);
}

unsigned char TCharset::ucToCp1252(uint32_t codePoint) {
  const unsigned char byte = UcToCp1252(codePoint);
  const UNICODEBLOCK* block = FindBlock(codePoint);
  if (!block) return byte;
  if (byte == CHUNK) return block->mark;
  // A folded letter reads as Latin, and leaves a trace of what it was.
  // A sign that has its place in the page says nothing about the script.
  if (block->folded != kNotCounted && TBLOCK::Is(byte, bitLetter))
    zoneCounts[block->folded]++;
  return byte;
}

uint32_t WcpToUc(unsigned char byte, uint32_t index) {
  if (byte < 0x80 || index >= kWindowsPages) return byte;
  return WcpToUcTable[index][byte - 0x80];
}

uint32_t IsoToUc(unsigned char byte, uint32_t index) {
  if (byte < 0xA0 || index < 1 || index > kIsoPages) return byte;
  return IsoToUcTable[index - 1][byte - 0xA0];
}

uint32_t AltToUc(unsigned char byte, uint32_t index) {
  if (byte < 0x80 || index >= kOtherPages) return byte;
  return AltToUcTable[index][byte - 0x80];
}

// ---- UTF-8, in the old form of up to six bytes for 31 bits. Forms longer
// than they need be are taken as well.

void UcToUtf8(uint32_t codePoint, STR& out) {
  codePoint &= 0x7FFFFFFF;
  if (codePoint < 0x80) {
    if (codePoint) out += static_cast<char>(codePoint);
    return;
  }
  // n bytes hold 5n + 1 bits.
  uint32_t n = 2;
  while (n < 6 && codePoint >> (5 * n + 1)) n++;
  char bytes[6];
  for (uint32_t i = n - 1; i > 0; i--) {
    bytes[i] = static_cast<char>(0x80 | (codePoint & 0x3F));
    codePoint >>= 6;
  }
  bytes[0] = static_cast<char>((0xFF00u >> n & 0xFF) | codePoint);
  out.add(bytes, static_cast<int32_t>(n));
}

void WcpToUtf8(unsigned char byte, uint32_t index, STR& out) {
  UcToUtf8(WcpToUc(byte, index), out);
}

void BlockWcpToUtf8(TBLOCK text, uint32_t index, STR& out) {
  for (; !text.empty(); text.skip(1)) WcpToUtf8(text[0], index, out);
}

uint32_t GetUtf8SeqLen(TBLOCK text) {
  if (text.empty() || text[0] < 0xC0 || text[0] >= 0xFE) return 1;
  uint32_t n = 2;
  while (text[0] & 0x80 >> n) n++;
  if (n > text.length) return 1;
  for (uint32_t i = 1; i < n; i++)
    if ((text[i] & 0xC0) != 0x80) return 1;
  return n;
}

uint32_t AsciiLength(TBLOCK text) {
  const uint64_t kTopBits = 0x8080808080808080u;
  const uint32_t size = text.empty() ? 0 : text.length;
  uint32_t n = 0;
  for (uint64_t bytes; size - n >= sizeof bytes; n += sizeof bytes) {
    memcpy(&bytes, text.pointer + n, sizeof bytes);
    if (bytes & kTopBits) break;
  }
  while (n < size && text[n] < 0x80) n++;
  return n;
}

bool BlockContainsUtf8(TBLOCK text) {
  for (text.skip(AsciiLength(text)); !text.empty();
       text.skip(1), text.skip(AsciiLength(text)))
    if (text[0] >= 0xC0 && GetUtf8SeqLen(text) > 1) return true;
  return false;
}

uint32_t Utf8ToUc(TBLOCK text, uint32_t& codePoint) {
  if (text.empty()) return 0;
  const uint32_t n = GetUtf8SeqLen(text);
  codePoint = n == 1 ? text[0] : text[0] & (0x7Fu >> n);
  for (uint32_t i = 1; i < n; i++)
    codePoint = codePoint << 6 | (text[i] & 0x3F);
  return n;
}

// ---- Zones

#ifdef __SSE2__
namespace {

// FF for each of sixteen bytes that lies in a range.
__m128i InRange(__m128i bytes, char first, char last) {
  const __m128i place = _mm_sub_epi8(bytes, _mm_set1_epi8(first));
  const __m128i most = _mm_set1_epi8(static_cast<char>(last - first));
  return _mm_cmpeq_epi8(_mm_min_epu8(place, most), place);
}

uint32_t SumOf(__m128i bytes) {
  const __m128i halves = _mm_sad_epu8(bytes, _mm_setzero_si128());
  return static_cast<uint32_t>(_mm_cvtsi128_si32(halves) +
                               _mm_extract_epi16(halves, 4));
}

// Counts text in ASCII from p on, sixteen bytes at a time, as far as a byte
// can count; how many bytes these are.
uint32_t CountAscii(const unsigned char* p, uint32_t size, uint32_t* counts) {
  __m128i letters = _mm_setzero_si128();
  __m128i digits = letters, controls = letters;
  uint32_t n = 0;
  for (; size - n >= 16 && n < 16 * UINT8_MAX; n += 16) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
    if (_mm_movemask_epi8(bytes)) break;
    const __m128i small = _mm_or_si128(bytes, _mm_set1_epi8(0x20));
    letters = _mm_sub_epi8(letters, InRange(small, 'a', 'z'));
    digits = _mm_sub_epi8(digits, InRange(bytes, '0', '9'));
    controls = _mm_sub_epi8(controls, InRange(bytes, 0, 0x1F));
    controls = _mm_sub_epi8(controls, InRange(bytes, 0x7F, 0x7F));
  }
  if (n == 0) return 0;
  const uint32_t sums[] = {SumOf(letters), SumOf(digits), SumOf(controls)};
  counts[czLetter] += sums[0];
  counts[czDigit] += sums[1];
  counts[czControl] += sums[2];
  counts[czSign] += n - sums[0] - sums[1] - sums[2];
  return n;
}

}  // namespace
#endif

void TCharset::zoneUpdate(TBLOCK text) {
  if (text.empty()) return;
  uint32_t counts[czCount] = {0};
  for (uint32_t i = 0; i < text.length; i++) {
#ifdef __SSE2__
    i += CountAscii(text.pointer + i, text.length - i, counts);
    if (i == text.length) break;
#endif
    const unsigned char zone = Cp1252Zones[text[i]];
    counts[zone]++;
    if (zone < czCyrillic) continue;
    text.pointer[i] = CHUNK_CHAR;
    markCount++;
  }
  for (uint32_t zone = 0; zone < czCount; zone++)
    zoneCounts[zone] += counts[zone];
}

void TCharset::addZoneCounts(const TCharset& other) {
  for (uint32_t i = 0; i < czCount; i++) zoneCounts[i] += other.zoneCounts[i];
}

bool TCharset::checkZone(TCHARZONE zone) const {
  const uint64_t letters = zoneCounts[czLetter];
  const uint64_t few = letters / 10 + 1;
  switch (zone) {
    case czLetter:
      return letters > 2 * (static_cast<uint64_t>(zoneCounts[czCyrillic]) +
                            zoneCounts[czAsian] + zoneCounts[czArabic]);
    case czRareLetter:
      return zoneCounts[zone] > few;
    case czCyrillic:
    case czGreek:
    case czAsian:
    case czArabic:
      return zoneCounts[zone] > letters / 2 + 1;
    case czOther:
      return zoneCounts[zone] > (few > 10 ? few : 10);
    default:
      return zone >= 0 && zone < czCount && zoneCounts[zone] > 0;
  }
}
