// Dictionary sections that score: the members of TQMMSG that look a text or
// its words up and write what was found to the ledger. A section "No-NAME" of
// rules that match keeps the word lists of NAME out. Tested by
// tests/mail/*.eml.

#include "rules/section_name.h"
#include "scan/tqmmsg.h"

namespace {

// Lines of all sections that one call may visit: lists that name each other
// would otherwise grow with each level. Many times what a whole dictionary
// holds.
const int32_t kMaxVisitedLines = 500000;
// What finding a section costs, in lines.
const int32_t kLinesOfVisit = 500;

int32_t Magnitude(int32_t score) {
  return score < 0 ? ClampScore(-int64_t{score}) : ClampScore(score);
}

// The text with `part` in place of the first "%s"; false when it has none.
bool PutIntoFormat(TBLOCK format, TBLOCK part, STR& label) {
  // Byte for byte: "100%Sure" holds none.
  const int32_t at = format.find(TBLOCK("%s"), 0, TBLOCK::NoConvTable);
  if (at < 0) return false;
  label += format.head(static_cast<uint32_t>(at));
  label += part;
  label += format.from(static_cast<uint32_t>(at) + 2);
  return true;
}

// "=%s in sender" and "%s #" are formats; " in sender" follows the text, and
// so does "% img url" without its sign.
void MakeLabel(TBLOCK text, const char* suffix, STR& label) {
  TBLOCK format(suffix);
  label = "";
  if (!format.empty() && format[0] == '=') format.skip(1);
  if (PutIntoFormat(format, text, label)) return;
  if (!format.empty() && format[0] == '%') format.skip(1);
  label += text;
  label += format;
}

void AddMatches(uint16_t& count, int32_t points) {
  const int32_t sum = count + Magnitude(points);
  count = static_cast<uint16_t>(sum < 0xFFFF ? sum : 0xFFFF);
}

}  // namespace

int TQMMSG::addSectionScore(const char* section, int delta,
                            const char* suffix) {
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  if (n == 0) return 0;
  const uint32_t end = found->first + n;
  int64_t sum = 0;
  STR lineText, label;
  for (uint32_t i = dico.nextCounted(found->first, end); i < end;
       i = dico.nextCounted(i + 1, end)) {
    const TQKLINE* line = dico.image().line(i);
    const uint16_t matches = dico.seenCounts(line).matchCount;
    if (!matches) continue;
    dico.getLineText(line, lineText, 0);
    MakeLabel(lineText.view(), suffix, label);
    // Either sign of delta makes a line stronger, on purpose.
    const int64_t extra = Magnitude(delta);
    const int64_t score =
        line->score < 0 ? line->score - extra : line->score + extra;
    sum += addToSpamScore(ClampScore(score), label.c_str(), matches);
  }
  return ClampScore(sum);
}

void TQMMSG::_manageLineScore(const TQKLINE* line, const char* format) {
  STR lineText, label;
  dico.getLineText(line, lineText, 0);
  TBLOCK part = lineText.view();
  const int32_t bar = part.findByte('|');
  if (bar >= 0) part.cut(static_cast<uint32_t>(bar));
  if (!PutIntoFormat(TBLOCK(format), part, label)) label = format;
  addToSpamScore(line->score, label.c_str(), 1);
}

int TQMMSG::checkKeywordBlock(const char* section, TBLOCK block,
                              const char* format) {
  const TQKLINE* line = nullptr;
  const int result = dico.scanBlock(section, block, line, 1);
  if (result) _manageLineScore(line, format);
  return result;
}

// Each hit is followed by a look at what is left of the section, so that a
// line that counts every match comes up once and hides none behind it.
int TQMMSG::checkAllKeywordBlock(const char* section, TBLOCK block,
                                 const char* format) {
  const TQKSECTION* found = dico.findSection(section);
  dico.clearSectionMatchCount(found);
  int first = 0;
  for (uint32_t next = 0;;) {
    const TQKLINE* line = nullptr;
    const int result = dico.scanLines(found, next, block, line, 0);
    if (!result) return first;
    if (!first) first = result;
    _manageLineScore(line, format);
    next = dico.image().lineNumber(line) - found->first + 1;
  }
}

// One walk over a section of keywords or a list of sections.
struct TQMMSG::TSECTIONWALK {
  const TBLOCKVECT& words;
  int32_t delta, mode, limit;
  bool countOnly;  // the result is the number of lines found; none scores
  const char* suffix;
  int32_t linesLeft;
};

int32_t TQMMSG::walkSection(const char* section, const TQKSECTION* found,
                            TSECTIONWALK& walk, int32_t sectionDepth) {
  if (sectionDepth > kMaxSectionDepth || walk.linesLeft < kLinesOfVisit)
    return 0;
  walk.linesLeft -= kLinesOfVisit;
  // First of all, since most dictionaries lack most sections.
  if (!found) return 0;
  if (testRuleSection(dico.stuff->findException(found, section))) return 0;
  const uint32_t n = dico.image().lineCountOf(found);
  if (n > static_cast<uint32_t>(walk.linesLeft)) return 0;
  if (found->type == stPattern) {
    walk.linesLeft -= static_cast<int32_t>(n);
    int32_t hits = 0;
    dico.findKeywords(found, walk.words, recipientBox.email, walk.mode,
                      walk.limit, hits);
    if (walk.countOnly) return hits;
    return hits ? addSectionScore(section, walk.delta, walk.suffix) : 0;
  }
  if (found->type != stSectionList) return 0;
  int64_t sum = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    if (!line) continue;
    SECTIONNAME name;
    name.add(dico.lineBlock(line));
    const int32_t result = walkSection(
        name.c_str(), dico.findSection(name.view()), walk, sectionDepth + 1);
    if (!walk.countOnly && result)
      AddMatches(dico.countsOf(line).matchCount, result);
    sum += result;
  }
  return ClampScore(sum);
}

int TQMMSG::checkKeywordBlockList(const char* section, const TBLOCKVECT& words,
                                  int delta, int mode, const char* suffix) {
  TSECTIONWALK walk = {words, delta, mode, 0, false, suffix, kMaxVisitedLines};
  return walkSection(section, dico.findSection(section), walk, 1);
}

int TQMMSG::findKeywords(const char* section, const TBLOCKVECT& words,
                         int limit, int mode) {
  uint32_t visits;
  return countKeywords(section, dico.findSection(section), words, limit, mode,
                       visits);
}

int32_t TQMMSG::countKeywords(const char* section, const TQKSECTION* found,
                              const TBLOCKVECT& words, int32_t limit,
                              int32_t mode, uint32_t& visits) {
  TSECTIONWALK walk = {words, 0, mode, limit, true, "", kMaxVisitedLines};
  const int32_t hits = walkSection(section, found, walk, 1);
  visits = static_cast<uint32_t>((kMaxVisitedLines - walk.linesLeft) /
                                 kLinesOfVisit);
  return hits;
}
