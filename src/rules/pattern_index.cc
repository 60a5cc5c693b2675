// Prepares the pattern lines of a dictionary: a shape for each phrase, and a
// counting sort by key for each section. Shapes are necessary conditions only,
// so that what could not be looked at reads as "any word". Entry point:
// PATTERNINDEX. Tested by keyword_search_test.cc, which holds the search by it
// against one without.

#include "rules/pattern_index.h"

#include <new>

#include "rules/qm_dico.h"

namespace {

// Sections that are prepared; a damaged image may claim any number.
const uint32_t kMaxOrderedSections = 4096;

// Bytes of patterns that are looked at; those of a damaged image may all be one
// endless word.
const uint64_t kMaxShapedBytes = 1 << 26;

TPATTERNSHAPE PhraseShape(const KWIMAGE& image, const TQKOR* phrase,
                          uint64_t& bytesLeft) {
  TBLOCK pattern = image.word(phrase->first);
  if (pattern.length > kMaxPatternBytes || pattern.length > bytesLeft)
    return AnyShape();
  bytesLeft -= pattern.length;
  // Without an optional word any other may come first.
  int verdict = 0;
  if (TakeOptional(pattern) ||
      TQMDICO::MatchSpecial(TBLOCK(), pattern, TBLOCK(), verdict))
    return AnyShape();
  return PatternShape(pattern);
}

}  // namespace

bool TakeOptional(TBLOCK& pattern) {
  if (pattern.length < 2 || pattern.length > kMaxPatternBytes) return false;
  if (pattern[pattern.length - 1] != '?') return false;
  uint32_t slashes = 0;
  while (slashes + 1 < pattern.length &&
         pattern[pattern.length - 2 - slashes] == '\\')
    slashes++;
  if (slashes & 1) return false;
  pattern.cut(pattern.length - 1);
  return true;
}

TLINEORDER::TLINEORDER() : places(nullptr), runs(nullptr), runCount(0) {}

TLINEORDER::~TLINEORDER() {
  drop();
}

void TLINEORDER::drop() {
  delete[] places;
  delete[] runs;
  places = nullptr;
  runs = nullptr;
  runCount = 0;
}

bool TLINEORDER::build(const KWIMAGE& image, const TQKSECTION* section) {
  drop();
  const uint32_t n = image.lineCountOf(section);
  uint32_t next[256] = {};
  uint32_t keys = 0;
  for (uint32_t l = 0; l < n; l++)
    keys += next[image.line(section->first + l)->key]++ == 0;
  places = new (std::nothrow) uint32_t[n];
  runs = new (std::nothrow) TKEYRUN[keys];
  if (!places || !runs) {
    drop();
    return false;
  }
  uint32_t end = 0;
  for (uint32_t key = 0; key < 256; key++) {
    const uint32_t lines = next[key];
    next[key] = end;
    end += lines;
    if (lines) runs[runCount++] = {end, static_cast<unsigned char>(key)};
  }
  for (uint32_t l = 0; l < n; l++)
    places[next[image.line(section->first + l)->key]++] = l;
  return true;
}

PATTERNINDEX::PATTERNINDEX(const KWIMAGE& image)
    : shapes(new (std::nothrow) TPATTERNSHAPE[image.orCount]),
      first(image.section(0)),
      orders(nullptr),
      orderCount(0) {
  uint64_t bytesLeft = kMaxShapedBytes;
  for (uint32_t i = 0; shapes && i < image.orCount; i++)
    shapes[i] = PhraseShape(image, image.orRecord(i), bytesLeft);
  orderSections(image);
}

PATTERNINDEX::~PATTERNINDEX() {
  delete[] shapes;
  delete[] orders;
}

void PATTERNINDEX::orderSections(const KWIMAGE& image) {
  const uint32_t n = image.sectionCount < kMaxOrderedSections
                         ? image.sectionCount
                         : kMaxOrderedSections;
  orders = new (std::nothrow) TLINEORDER[n];
  if (!orders) return;
  orderCount = n;
  uint32_t linesLeft = image.lineCount;
  for (uint32_t i = 0; i < n; i++) {
    const TQKSECTION* section = image.section(i);
    const uint32_t lines = image.lineCountOf(section);
    if (section->type != stPattern || lines > linesLeft) continue;
    linesLeft -= lines;
    orders[i].build(image, section);
  }
}

const TLINEORDER* PATTERNINDEX::find(const TQKSECTION* section) const {
  const uintptr_t from = reinterpret_cast<uintptr_t>(first);
  const uintptr_t at = reinterpret_cast<uintptr_t>(section);
  if (at < from || (at - from) / sizeof(TQKSECTION) >= orderCount)
    return nullptr;
  const TLINEORDER& order = orders[section - first];
  return order.places ? &order : nullptr;
}
