// Reads the image of the rule dictionary in place. The header is read once,
// and each table cut to what lies inside the block; records are then handed
// out by index, and what they point at is tested at each use. setupKeywords
// turns an image of the other byte order into one of this machine.
// Tested by keyword_image_test.cc.

#include "rules/keyword_image.h"

#include <string.h>

#include "base/md5.h"

namespace {

// Records of a table that lie inside `size` bytes. A table that begins in the
// header or at an odd place is none: its records could not be read in place.
uint32_t RecordsInside(uint32_t count, uint32_t offset, uint32_t size,
                       uint32_t record) {
  if (offset < kKeywordHeaderBytes || offset % 4 != 0 || offset >= size)
    return 0;
  const uint32_t room = (size - offset) / record;
  return count < room ? count : room;
}

uint32_t Swapped(uint32_t n) {
  return (n >> 24) | ((n >> 8) & 0xFF00) | ((n & 0xFF00) << 8) | (n << 24);
}

// Reverses n words; the text may stand anywhere.
void SwapWords(unsigned char* bytes, uint32_t n) {
  for (uint32_t i = 0; i < n; i++, bytes += 4) {
    uint32_t word;
    memcpy(&word, bytes, 4);
    word = Swapped(word);
    memcpy(bytes, &word, 4);
  }
}

void SwapHalf(unsigned char* bytes) {
  const unsigned char first = bytes[0];
  bytes[0] = bytes[1];
  bytes[1] = first;
}

// In each record `words` words and then `halves` 16-bit numbers; what follows
// are bytes, which stay.
void SwapTable(unsigned char* table, uint32_t count, uint32_t record,
               uint32_t words, uint32_t halves) {
  for (uint32_t i = 0; i < count; i++, table += record) {
    SwapWords(table, words);
    for (uint32_t h = 0; h < halves; h++) SwapHalf(table + words * 4 + h * 2);
  }
}

void SwapImage(TBLOCK image) {
  SwapWords(image.pointer + 4, kKeywordHeaderBytes / 4 - 1);
  TQKFILE file;
  memcpy(&file, image.pointer, sizeof file);
  const uint32_t size =
      file.totalSize < image.length ? file.totalSize : image.length;
  const struct {
    uint32_t count, offset, record, words, halves;
  } tables[] = {{file.sectionCount, file.sectionOffset, 20, 4, 2},
                {file.lineCount, file.lineOffset, 20, 4, 1},
                {file.andCount, file.andOffset, 12, 2, 0},
                {file.orCount, file.orOffset, 8, 2, 0},
                {file.wordCount, file.wordOffset, 8, 2, 0}};
  for (const auto& t : tables) {
    const uint32_t count = RecordsInside(t.count, t.offset, size, t.record);
    if (count)
      SwapTable(image.pointer + t.offset, count, t.record, t.words, t.halves);
  }
}

uint32_t HeaderSize(TBLOCK image) {
  uint32_t size;
  memcpy(&size, image.pointer + 4, 4);
  return size;
}

bool IsAligned(TBLOCK image) {
  return reinterpret_cast<uintptr_t>(image.pointer) % 4 == 0;
}

// The bytes from `offset` on, all or none.
TBLOCK Slice(TBLOCK pool, uint32_t offset, uint32_t length) {
  if (uint64_t{offset} + length > pool.length) return TBLOCK();
  return TBLOCK(pool.pointer + offset, length);
}

}  // namespace

void GetNameDigest(TBLOCK name, unsigned char digest[kSectionNameBytes]) {
  MD5 md5;
  unsigned char lower[256];
  while (!name.empty()) {
    const uint32_t n = name.length < sizeof lower ? name.length : sizeof lower;
    for (uint32_t i = 0; i < n; i++) lower[i] = TBLOCK::LowerConvTable[name[i]];
    md5.add(lower, n);
    name.skip(n);
  }
  memcpy(digest, md5.get(), kSectionNameBytes);
}

bool _IsIntelCPU() {
  const uint32_t number = 0x04030201;
  return memcmp(&number, "\1\2\3\4", 4) == 0;
}

bool IsKeywordImage(TBLOCK image) {
  return image.length >= kKeywordHeaderBytes && image.begins("QMKW");
}

int setupKeywords(TBLOCK image, int32_t& swapped) {
  swapped = 0;
  if (image.empty() || image.length < kKeywordHeaderBytes) return 0;
  if (HeaderSize(image) == kKeywordHeaderBytes) return 1;
  if (HeaderSize(image) != Swapped(kKeywordHeaderBytes)) return 0;
  SwapImage(image);
  swapped = 1;
  return 1;
}

KWIMAGE::KWIMAGE()
    : sectionCount(0),
      lineCount(0),
      andCount(0),
      orCount(0),
      wordCount(0),
      lines(nullptr),
      sections(nullptr),
      ands(nullptr),
      ors(nullptr),
      words(nullptr) {}

KWIMAGE::KWIMAGE(TBLOCK image) : KWIMAGE() {
  if (!IsKeywordImage(image) || !IsAligned(image) ||
      HeaderSize(image) != kKeywordHeaderBytes)
    return;
  TQKFILE file;
  memcpy(&file, image.pointer, sizeof file);
  bytes = image.head(file.totalSize);
  const uint32_t size = bytes.length;
  sectionCount = RecordsInside(file.sectionCount, file.sectionOffset, size,
                               sizeof(TQKSECTION));
  lineCount =
      RecordsInside(file.lineCount, file.lineOffset, size, sizeof(TQKLINE));
  andCount = RecordsInside(file.andCount, file.andOffset, size, sizeof(TQKAND));
  orCount = RecordsInside(file.orCount, file.orOffset, size, sizeof(TQKOR));
  wordCount =
      RecordsInside(file.wordCount, file.wordOffset, size, sizeof(TQKWORD));
  // Offsets of empty tables may point anywhere; nothing is read through them.
  const unsigned char* base = bytes.pointer;
  if (sectionCount)
    sections = reinterpret_cast<const TQKSECTION*>(base + file.sectionOffset);
  if (lineCount)
    lines = reinterpret_cast<const TQKLINE*>(base + file.lineOffset);
  if (andCount) ands = reinterpret_cast<const TQKAND*>(base + file.andOffset);
  if (orCount) ors = reinterpret_cast<const TQKOR*>(base + file.orOffset);
  if (wordCount)
    words = reinterpret_cast<const TQKWORD*>(base + file.wordOffset);
  text = bytes.from(file.textOffset).head(file.textSize);
}

const TQKSECTION* KWIMAGE::section(uint32_t i) const {
  return i < sectionCount ? sections + i : nullptr;
}

const TQKLINE* KWIMAGE::line(uint32_t i) const {
  return i < lineCount ? lines + i : nullptr;
}

const TQKAND* KWIMAGE::andRecord(uint32_t i) const {
  return i < andCount ? ands + i : nullptr;
}

const TQKOR* KWIMAGE::orRecord(uint32_t i) const {
  return i < orCount ? ors + i : nullptr;
}

const TQKWORD* KWIMAGE::wordRecord(uint32_t i) const {
  return i < wordCount ? words + i : nullptr;
}

TBLOCK KWIMAGE::sectionName(const TQKSECTION* section) const {
  return Slice(text, section->nameOffset, section->nameLength);
}

const TQKLINE* KWIMAGE::sectionLine(const TQKSECTION* section,
                                    uint32_t i) const {
  return i < lineCountOf(section) ? lines + section->first + i : nullptr;
}

uint32_t KWIMAGE::lineCountOf(const TQKSECTION* section) const {
  if (!section || section->type == stSortedMd5 || section->first >= lineCount)
    return 0;
  const uint32_t room = lineCount - section->first;
  return section->count < room ? section->count : room;
}

TBLOCK KWIMAGE::digests(const TQKSECTION* section) const {
  if (!section || section->type != stSortedMd5 || section->first >= text.length)
    return TBLOCK();
  const uint32_t room = (text.length - section->first) / kSectionNameBytes;
  const uint32_t count = section->count < room ? section->count : room;
  return TBLOCK(text.pointer + section->first, count * kSectionNameBytes);
}

TBLOCK KWIMAGE::lineBlock(const TQKLINE* line) const {
  if (!line || !(line->flags & KWLINEFLAGSTRING)) return TBLOCK();
  return Slice(text, line->text, line->length);
}

TBLOCK KWIMAGE::word(uint32_t i) const {
  const TQKWORD* record = wordRecord(i);
  return record ? Slice(text, record->offset, record->length) : TBLOCK();
}

uint32_t KWIMAGE::lineNumber(const TQKLINE* line) const {
  return static_cast<uint32_t>(line - lines);
}
