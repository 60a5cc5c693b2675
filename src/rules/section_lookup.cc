// One text against the lines of a section, by the section's type. Lines that
// have counted in this scan are passed over, unless they count each match, so
// that a caller who asks again gets the next line. Tested by
// section_lookup_test.cc.

#include "base/score.h"
#include "base/wildcard.h"
#include "regex/regex.h"
#include "rules/pattern_book.h"
#include "rules/qm_dico.h"

namespace {

// Bytes of a text with macros, and matches of one line: what would pass them
// stays unreplaced. Each match may cost a search of all that is left.
const uint32_t kMaxMacroText = 1 << 20;
const int32_t kMaxMacroMatches = 4096;

// The test of string lines.
bool MatchesString(TBLOCK pattern, TBLOCK text) {
  pattern.trim();
  text.trim();
  return MatchWildcard(pattern, text, wmOverlap);
}

// The text of a string line. False for a pattern line, and for one whose text
// lies outside of a damaged image: read as empty it would fit an empty text.
bool TakeStringLine(const KWIMAGE& image, const TQKLINE* line, TBLOCK& text) {
  if (!(line->flags & KWLINEFLAGSTRING)) return false;
  text = image.lineBlock(line);
  return !text.empty() || line->length == 0;
}

// Appends a text with each match of the pattern put into its macro. What is
// left behind a match is a subject of its own: "^" holds there. An empty match
// has nothing to replace; the search goes on a byte further.
void ReplaceMatches(TBLOCK text, REGEX& pattern, TBLOCK macro, BLOCK& out) {
  for (int32_t i = 0;
       i < kMaxMacroMatches && !text.empty() &&
       uint64_t{out.length} + macro.length + text.length < kMaxMacroText;
       i++) {
    int32_t start, end;
    if (pattern.matchWithDetails(text) == 0) break;
    pattern.getDetail(0, start, end);
    const bool isEmpty = start == end;
    if (isEmpty) end = ++start;
    out.add(text.head(static_cast<uint32_t>(start)));
    if (!isEmpty) out.add(macro);
    text.skip(static_cast<uint32_t>(end));
  }
  out.add(text);
}

}  // namespace

bool TQMDICO::isSpent(const TQKLINE* line) const {
  return !(line->flags & KWLINEFLAGMULTI) && seenCounts(line).matchCount != 0;
}

void TQMDICO::countHit(const TQKLINE* line) {
  CountUp(countsOf(line).matchCount);
}

int TQMDICO::searchString(const TQKSECTION* section, TBLOCK text,
                          const TQKLINE*& line) {
  const uint32_t n = image().lineCountOf(section);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* candidate = image().sectionLine(section, i);
    TBLOCK pattern;
    if (!TakeStringLine(image(), candidate, pattern) ||
        !MatchesString(pattern, text))
      continue;
    line = candidate;
    return 1;
  }
  return 0;
}

// Only here a line may begin with a label or a comment that ends with "|".
int TQMDICO::compareString(const TQKSECTION* section, TBLOCK text,
                           const TQKLINE*& line, int clear) {
  if (clear) clearSectionMatchCount(section);
  const uint32_t n = image().lineCountOf(section);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* candidate = image().sectionLine(section, i);
    TBLOCK pattern;
    if (isSpent(candidate) || !TakeStringLine(image(), candidate, pattern))
      continue;
    const int32_t bar = pattern.findByte('|');
    if (bar >= 0) pattern.skip(static_cast<uint32_t>(bar) + 1);
    if (!MatchesString(pattern, text)) continue;
    countHit(candidate);
    line = candidate;
    return 1;
  }
  return 0;
}

int TQMDICO::comparePattern(const TQKSECTION* section, TBLOCK text,
                            const TQKLINE*& line, int clear) {
  if (clear) clearSectionMatchCount(section);
  const uint32_t n = image().lineCountOf(section);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* candidate = image().sectionLine(section, i);
    if (isSpent(candidate)) continue;
    if (!matchBlockLine(candidate, text)) continue;
    countHit(candidate);
    line = candidate;
    return 1;
  }
  return 0;
}

const PATTERNBOOK* TQMDICO::patternBook() const {
  return stuff ? stuff->patternBook : nullptr;
}

const RULEPATTERN* TQMDICO::preparedPattern(const TQKLINE* line,
                                            uint32_t sectionType) const {
  const PATTERNBOOK* const book = patternBook();
  return book ? book->find(image().lineNumber(line), sectionType) : nullptr;
}

int TQMDICO::compareRegex(const TQKSECTION* section, TBLOCK text,
                          const TQKLINE*& line, int clear) {
  if (clear) clearSectionMatchCount(section);
  const uint32_t n = image().lineCountOf(section);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* candidate = image().sectionLine(section, i);
    if (isSpent(candidate)) continue;
    const RULEPATTERN* const ready = preparedPattern(candidate, stRegex);
    if (!(ready ? ready->match(text)
                : BlockMatchRegex(text, lineBlock(candidate), pool, nullptr)))
      continue;
    countHit(candidate);
    line = candidate;
    return 1;
  }
  return 0;
}

int TQMDICO::compareNamedRegex(const TQKSECTION* section, TBLOCK text,
                               const TQKLINE*& line) {
  const uint32_t n = image().lineCountOf(section);
  const PATTERNBOOK* const book = patternBook();
  const TWORTHTRYING worth =
      book ? book->worthTrying(section, text) : TWORTHTRYING{};
  for (uint32_t i = worth.next(0, n); i < n; i = worth.next(i + 1, n)) {
    const TQKLINE* candidate = image().sectionLine(section, i);
    const RULEPATTERN* const ready = preparedPattern(candidate, stNamedRegex);
    TBLOCK name, pattern;
    if (ready ? !ready->match(text)
              : !CutNamed(lineBlock(candidate), name, pattern) ||
                    !BlockMatchRegex(text, pattern, pool, nullptr))
      continue;
    line = candidate;
    return 1;
  }
  return 0;
}

// The three by name do not ask for the type: lines that are not of the kind
// match nothing.
int TQMDICO::matchRegex(const char* section, TBLOCK text,
                        const TQKLINE*& line) {
  return compareRegex(findSection(section), text, line, 0);
}

int TQMDICO::matchBlock(const char* section, TBLOCK text,
                        const TQKLINE*& line) {
  return comparePattern(findSection(section), text, line, 0);
}

int TQMDICO::scanBlock(const char* section, TBLOCK text, const TQKLINE*& line,
                       int clear) {
  return scanLines(findSection(section), 0, text, line, clear);
}

int TQMDICO::scanLines(const TQKSECTION* section, uint32_t first, TBLOCK text,
                       const TQKLINE*& line, int clear) {
  const uint32_t n = image().lineCountOf(section);
  if (first >= n) return 0;
  TQKSECTION rest = *section;
  rest.first += first;
  rest.count = n - first;
  switch (rest.type) {
    case stPattern:
      return comparePattern(&rest, text, line, clear);
    case stString:
      return compareString(&rest, text, line, clear);
    case stRegex:
      return compareRegex(&rest, text, line, clear);
    default:
      return 0;
  }
}

// `clear` lets each line count again, on purpose without setting it to 0.
int32_t TQMDICO::scanString(const char* section, TBLOCK text, int clear) {
  const TQKSECTION* found = findSection(section);
  if (!found || found->type != stString) return 0;
  const uint32_t n = image().lineCountOf(found);
  int64_t sum = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = image().sectionLine(found, i);
    if (!clear && isSpent(line)) continue;
    TBLOCK pattern;
    if (!TakeStringLine(image(), line, pattern) ||
        !MatchesString(pattern, text))
      continue;
    countHit(line);
    sum += line->score;
  }
  return ClampScore(sum);
}

int TQMDICO::matchFirstNamedLine(const char* section, TBLOCK text,
                                 TBLOCK& name) {
  const TQKLINE* line = nullptr;
  TBLOCK pattern;
  if (!compareNamedRegex(findSection(section), text, line)) return 0;
  CutNamed(lineBlock(line), name, pattern);
  return 1;
}

int TQMDICO::matchFirstNamedRegex(const char* section, TBLOCK text,
                                  TBLOCK& name) {
  return matchFirstNamedLine(section, text, name);
}

TBLOCK TQMDICO::stringValue(const char* section, const char* name) const {
  const TQKSECTION* found = findSection(section);
  const uint32_t n = image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK line = lineBlock(image().sectionLine(found, i));
    if (TBLOCK::BlockToken(line, name, '=')) return line;
  }
  return TBLOCK();
}

void TQMDICO::sectionToBlockList(const char* section, TBLOCKVECT& list) const {
  const TQKSECTION* found = findSection(section);
  const uint32_t n = image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++)
    list.add(lineBlock(image().sectionLine(found, i)), 1, 0);
}

// Each line works on what the lines before it made, also on their macros.
void TQMDICO::replaceRegexMacro(const char* section, TBLOCK text, STR& out,
                                const char* open, const char* close) {
  if (text.empty()) {
    out = "";
    return;
  }
  BLOCK done(text.length, BLOCK::_DEFALLOCSIZE);
  BLOCK next(text.length, BLOCK::_DEFALLOCSIZE);
  done.add(text);
  const TQKSECTION* found = findSection(section);
  const uint32_t n = image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* const line = image().sectionLine(found, i);
    TBLOCK name, value;
    if (!CutNamed(lineBlock(line), name, value) || value.empty()) continue;
    const RULEPATTERN* const ready = preparedPattern(line, stNamedRegex);
    if (ready && ready->isPlain() && !ready->match(done.view())) continue;
    name.trim();
    STR macro(static_cast<int32_t>(strlen(open) + name.length + strlen(close)));
    macro += open;
    macro += name;
    macro += close;
    next.empty();
    REGEX pattern(value, pool);
    ReplaceMatches(done.view(), pattern, macro.view(), next);
    done.empty();
    done.add(next.view());
  }
  out = done.view();
}
