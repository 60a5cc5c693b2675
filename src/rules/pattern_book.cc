// Finds the patterns of a dictionary's lines ahead of all scans: a scan asks
// for hundreds of them, and each would cost it a walk over its text and a
// look into the pool. Of larger sections it is known, too, which patterns can
// match a text with a given first and last byte: most are anchored.
//
// Tested by section_lookup_test.cc.

#include "rules/pattern_book.h"

#include <new>

#include "rules/qm_dico.h"

namespace {

// Lines of sections that edges are kept for.
const uint32_t kMinEdgeLines = 8;
const uint32_t kMaxEdgeLines = 256;
// Words of all of them; a damaged image may claim any number of sections.
const uint32_t kMaxEdgeWords = 1 << 16;

}  // namespace

bool CutNamed(TBLOCK line, TBLOCK& name, TBLOCK& pattern) {
  const int32_t colon = line.findByte(':');
  if (colon < 0) return false;
  name = line.head(static_cast<uint32_t>(colon));
  pattern = line.from(static_cast<uint32_t>(colon) + 1);
  pattern.trim();
  return true;
}

PATTERNBOOK::PATTERNBOOK(const TQMDICO& dico)
    : entries(nullptr),
      lineCount(dico.image().lineCount),
      patterns(nullptr),
      patternCount(0),
      edges(nullptr),
      sectionCount(0),
      firstSection(dico.image().section(0)) {
  if (lineCount > 0) entries = new (std::nothrow) TENTRY[lineCount]();
  for (uint32_t s = 0; entries && s < dico.image().sectionCount; s++)
    noteSection(dico, s);
  if (patternCount > 0) patterns = new (std::nothrow) RULEPATTERN[patternCount];
  for (uint32_t i = 0; patterns && i < lineCount; i++) {
    if (!entries[i].pattern) continue;
    TBLOCK name, pattern = dico.lineBlock(dico.image().line(i));
    if (entries[i].sectionType == stNamedRegex)
      CutNamed(pattern, name, pattern);
    patterns[entries[i].pattern - 1].set(pattern, dico.pool);
  }
  if (!patterns) return;
  edges = new (std::nothrow) TEDGES[dico.image().sectionCount]();
  if (edges) sectionCount = dico.image().sectionCount;
  uint32_t wordsLeft = kMaxEdgeWords;
  for (uint32_t s = 0; s < sectionCount; s++) noteEdges(dico, s, wordsLeft);
}

PATTERNBOOK::~PATTERNBOOK() {
  for (uint32_t i = 0; i < sectionCount; i++) delete[] edges[i].bits;
  delete[] edges;
  delete[] entries;
  delete[] patterns;
}

// Sections that share lines, which only damaged images have, end here.
void PATTERNBOOK::noteSection(const TQMDICO& dico, uint32_t section) {
  const TQKSECTION* from = dico.image().section(section);
  if (from->type != stRegex && from->type != stNamedRegex) return;
  const uint32_t n = dico.image().lineCountOf(from);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(from, i);
    TENTRY& entry = entries[dico.image().lineNumber(line)];
    if (entry.pattern) return;
    TBLOCK name, pattern;
    if (from->type == stNamedRegex &&
        !CutNamed(dico.lineBlock(line), name, pattern))
      continue;
    entry = {++patternCount, from->type};
  }
}

void PATTERNBOOK::noteEdges(const TQMDICO& dico, uint32_t section,
                            uint32_t& wordsLeft) {
  const TQKSECTION* from = dico.image().section(section);
  const uint32_t n = dico.image().lineCountOf(from);
  if (from->type != stNamedRegex || n < kMinEdgeLines || n > kMaxEdgeLines)
    return;
  const uint32_t words = (n + 31) / 32;
  const uint32_t all = 2 * 256 * words + 256;
  uint32_t* bits =
      all <= wordsLeft ? new (std::nothrow) uint32_t[all]() : nullptr;
  if (!bits) return;
  wordsLeft -= all;
  edges[section] = {bits, words};
  for (uint32_t line = 0; line < n; line++) {
    const uint32_t number =
        dico.image().lineNumber(dico.image().sectionLine(from, line));
    const RULEPATTERN* pattern = find(number, from->type);
    uint32_t bytes[8];
    if (pattern) pattern->innerBytes(bytes);
    for (uint32_t c = 0; line < 32 && c < 256; c++)
      if (!pattern || (bytes[c / 32] >> (c % 32) & 1))
        bits[2 * 256 * words + c] |= 1u << line;
    for (uint32_t last = 0; last < 2; last++) {
      if (pattern) pattern->edgeBytes(last != 0, bytes);
      for (uint32_t c = 0; c < 256; c++)
        if (!pattern || (bytes[c / 32] >> (c % 32) & 1))
          bits[(256 * last + c) * words + line / 32] |= 1u << (line % 32);
    }
  }
}

TWORTHTRYING PATTERNBOOK::worthTrying(const TQKSECTION* section,
                                      TBLOCK text) const {
  const uintptr_t at = reinterpret_cast<uintptr_t>(section);
  const uintptr_t base = reinterpret_cast<uintptr_t>(firstSection);
  const uintptr_t i = (at - base) / sizeof(TQKSECTION);
  if (text.empty() || at < base || i >= sectionCount || !edges[i].bits)
    return {nullptr, nullptr, 0};
  const uint32_t words = edges[i].words;
  const uint32_t* const holds = edges[i].bits + 2 * 256 * words;
  uint32_t holding = 0;
  for (uint32_t k = 0; k < text.length; k++) holding |= holds[text[k]];
  return {edges[i].bits + text[0] * words,
          edges[i].bits + (256 + text[text.length - 1]) * words, holding};
}

const RULEPATTERN* PATTERNBOOK::find(uint32_t lineNumber,
                                     uint32_t sectionType) const {
  if (!patterns || lineNumber >= lineCount || !entries[lineNumber].pattern ||
      entries[lineNumber].sectionType != sectionType)
    return nullptr;
  return patterns + entries[lineNumber].pattern - 1;
}
