// A section's lines as patterns, with the place of the match. Entry:
// TQMMSG::_dicoRegexAndOffset, alone in this file, since tests of quoted mail
// stand in for it. Tested by filters_test.cc.

#include "regex/regex.h"
#include "scan/tqmmsg.h"

// The section may be of any type that has lines of text. Lines that count each
// match are as good as others here, and none is counted.
bool TQMMSG::_dicoRegexAndOffset(TBLOCK block, int32_t& count, int32_t& offset,
                                 const char* section) {
  count = 0;
  offset = -1;
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    // Most fit nothing, which needs no place.
    const RULEPATTERN* const ready =
        found->type == stRegex ? dico.preparedPattern(line, stRegex) : nullptr;
    if (ready && ready->isPlain() && !ready->match(block)) continue;
    REGEX regex(dico.lineBlock(line), pool);
    if (regex.matchWithDetails(block) == 0) continue;
    int32_t end = 0;
    regex.getDetail(0, offset, end);
    count = line->score;
    return true;
  }
  return false;
}
