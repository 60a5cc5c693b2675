// Finds the patterns of a dictionary's lines ahead of all scans: a scan asks
// for hundreds of them, and each would cost it a walk over its text and a
// look into the pool. Tested by section_lookup_test.cc.

#include "rules/pattern_book.h"

#include <new>

#include "rules/qm_dico.h"

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
      patternCount(0) {
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
}

PATTERNBOOK::~PATTERNBOOK() {
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

const RULEPATTERN* PATTERNBOOK::find(uint32_t lineNumber,
                                     uint32_t sectionType) const {
  if (!patterns || lineNumber >= lineCount || !entries[lineNumber].pattern ||
      entries[lineNumber].sectionType != sectionType)
    return nullptr;
  return patterns + entries[lineNumber].pattern - 1;
}
