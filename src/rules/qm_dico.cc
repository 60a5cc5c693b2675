// The dictionary reader: loading, the indexes, the counters, and lines as text.
// HSTUFF is built once over an image; a TQMDICO for each scan borrows it and
// owns counters alone.
//
// Images are trusted to make sense but not to be whole, so that each cost that
// follows figures of the image has a bound that no sound image gets near: one
// whose sections all claim all lines would else be indexed for hours.
//
// Tested by qm_dico_test.cc.

#include "rules/qm_dico.h"

#include <new>

#include "base/md5.h"
#include "base/score.h"
#include "data/ready_kwo.h"
#include "regex/regex_pool.h"
#include "rules/pattern_book.h"
#include "rules/rule_book.h"
#include "rules/word_filter.h"

namespace {

// Sections of lines "field=pattern".
const char* const kFieldSections[] = {"AttachHeader", "HamHeaderField",
                                      "SpamHeaderField"};
const int32_t kFieldNameCapacity = 128;
// Bytes of keys in all indexes: lines may share their text, but not without
// end.
const uint64_t kMaxIndexedBytes = 1 << 28;
// Bytes of one printed line.
const int32_t kMaxLineText = 1 << 20;
// Lines of one getSectionScore, against lists of sections that name each other.
const uint32_t kMaxSummedLines = 200000;

// Appends the words of a pattern line, see TQMDICO::getLineText.
class LINEPRINTER {
 public:
  LINEPRINTER(const KWIMAGE& imageToRead, STR& out)
      : image(imageToRead),
        text(out),
        // In a sound image no record belongs to two lines.
        steps(uint64_t{image.andCount} + image.orCount + image.wordCount) {}

  void addLine(const TQKLINE* line) {
    for (uint32_t i = 0; i < line->length; i++) {
      const TQKAND* group = image.andRecord(At(line->text, i));
      if (!group || !step()) return;
      addGroup(group);
      if (i + 1 < line->length) text += group->joiner;
    }
  }

 private:
  const KWIMAGE& image;
  STR& text;
  uint64_t steps;

  // An index that passes the end of 32 bits is none.
  static uint32_t At(uint32_t first, uint32_t i) {
    return i > UINT32_MAX - first ? UINT32_MAX : first + i;
  }

  bool step() { return steps > 0 && steps-- > 0 && text.len() < kMaxLineText; }

  void addGroup(const TQKAND* group) {
    for (uint32_t i = 0; i < group->count; i++) {
      const TQKOR* phrase = image.orRecord(At(group->first, i));
      if (!phrase || !step()) return;
      if (i > 0) text += '|';
      for (uint32_t w = 0; w < phrase->count; w++) {
        const uint32_t at = At(phrase->first, w);
        if (!image.wordRecord(at) || !step()) break;
        if (w > 0) text += ' ';
        text += image.word(at).head(kMaxLineText);
      }
    }
  }
};

// Sums one section's lines, and those of the sections that it lists.
class SECTIONSUM {
 public:
  SECTIONSUM(TQMDICO& dicoToRead, uint32_t factorForTips)
      : dico(dicoToRead),
        factor(factorForTips < UINT16_MAX ? factorForTips : UINT16_MAX),
        left(kMaxSummedLines) {}

  // Recurses, kMaxSectionDepth deep.
  int32_t sum(const TQKSECTION* section, int32_t depth) {
    if (!section || depth >= kMaxSectionDepth) return 0;
    const KWIMAGE& image = dico.image();
    const uint32_t n = image.lineCountOf(section);
    int64_t total = 0;
    for (uint32_t i = 0; i < n && left > 0; i++) {
      left--;
      const TQKLINE* line = image.sectionLine(section, i);
      if (section->type == stSectionList)
        total += sum(dico.findSection(image.lineBlock(line)), depth + 1);
      else
        total += ofLine(line);
    }
    return ClampScore(total);
  }

 private:
  TQMDICO& dico;
  uint32_t factor;
  uint32_t left;

  int32_t ofLine(const TQKLINE* line) {
    const TLINECOUNTS& counts = dico.seenCounts(line);
    const int64_t times = counts.tipCount ? factor : 1;
    return ClampScore(int64_t{counts.matchCount} * line->score * times);
  }
};

}  // namespace

// ==== HSTUFF

HSTUFF::HSTUFF(BLOCK* ownedImage)
    : lineTables(0, hashExact),
      fieldNames(kFieldNameCapacity, hashAsciiLower),
      named(0, hashExact),
      namedText(0, BLOCK::_DEFALLOCSIZE),
      groups(0, hashExact),
      groupSections(0, BLOCK::_DEFALLOCSIZE),
      exceptions(0, 0),
      rules(nullptr),
      patternBook(nullptr),
      wordFilter(nullptr),
      ownImage(ownedImage),
      image(ownedImage ? ownedImage->view()
                       : TBLOCK(ReadyKWO, getReadyKWOLen())),
      patterns(image) {
  indexSections();
  indexNames();
  filterSections.find(*this);
  indexFieldNames();
  readVersion();
  version.len();
}

HSTUFF::~HSTUFF() {
  delete rules;
  delete patternBook;
  delete wordFilter;
  for (int32_t i = lineTables.first(); i >= 0; lineTables.next(i))
    delete reinterpret_cast<HASHTAB*>(lineTables.getData(i));
  delete ownImage;
}

void HSTUFF::indexSections() {
  uint64_t lines = image.lineCount;
  uint64_t bytes = kMaxIndexedBytes;
  sections.maxProbes = kHostileProbes;
  for (uint32_t i = 0; i < image.sectionCount; i++) {
    const TQKSECTION* section = image.section(i);
    const TBLOCK name = image.sectionName(section);
    if (name.length != kSectionNameBytes) continue;
    // Of two sections with one name the first is found.
    sections.insert(name, const_cast<TQKSECTION*>(section));
    if ((section->flags & sfHashed) && lineTables.findKey(name) < 0)
      indexLines(section, lines, bytes);
  }
}

void HSTUFF::indexLines(const TQKSECTION* section, uint64_t& linesLeft,
                        uint64_t& bytesLeft) {
  const uint32_t n = image.lineCountOf(section);
  if (n > linesLeft) return;
  linesLeft -= n;
  HASHTAB* table = new (std::nothrow)
      HASHTAB(static_cast<int32_t>(n),
              section->type == stMd5 ? hashExact : hashAsciiLower);
  if (!table) return;
  table->maxProbes = kHostileProbes;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = image.sectionLine(section, i);
    const TBLOCK key = image.lineBlock(line);
    if (key.length > bytesLeft) break;
    bytesLeft -= key.length;
    table->insert(key, const_cast<TQKLINE*>(line));
  }
  if (lineTables.insert(image.sectionName(section), table) < 0) delete table;
}

void HSTUFF::indexFieldNames() {
  TBLOCK rest(_REGEXFIELDNAMES);
  for (intptr_t number = 1; !rest.empty(); number++)
    fieldNames.insert(TBLOCK::BlockBeforeChar(rest, ',', 0, 0),
                      reinterpret_cast<void*>(number));
}

void HSTUFF::readVersion() {
  const TBLOCK kKey("version=");
  const TQKSECTION* section = findSection(TBLOCK("param"));
  const uint32_t n = image.lineCountOf(section);
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK line = image.lineBlock(image.sectionLine(section, i));
    if (!line.begins(kKey)) continue;
    line.skip(kKey.length);
    line.trim();
    version = line;
    return;
  }
}

// ==== Loading

TQMDICO::TQMDICO(REGEXPOOL* poolToUse, HSTUFF* stuffToShare)
    : stuff(stuffToShare),
      sharedStuff(stuffToShare != nullptr),
      pool(poolToUse),
      swapped(0),
      counters(nullptr),
      countedParts(nullptr),
      uncounted(),
      keptWords(),
      keptCount(0) {
  if (!sharedStuff) stuff = new (std::nothrow) HSTUFF;
  makeCounters();
}

TQMDICO::~TQMDICO() {
  release();
}

void TQMDICO::release() {
  forgetWords();
  if (!sharedStuff) delete stuff;
  stuff = nullptr;
  sharedStuff = 0;
  delete[] counters;
  delete[] countedParts;
  counters = nullptr;
  countedParts = nullptr;
  swapped = 0;
  fileName = "";
}

// Without its counters a dictionary would find a line for ever: it becomes an
// empty one.
int TQMDICO::makeCounters() {
  const uint32_t n = image().lineCount;
  if (n == 0) return stuff != nullptr;
  counters = new (std::nothrow) TLINECOUNTS[n];
  countedParts =
      new (std::nothrow) TBITSET[BitsetWords((n - 1) / kLinesOfPart)]();
  if (!counters || !countedParts) release();
  return counters != nullptr;
}

TBLOCK TQMDICO::version() const {
  return stuff ? stuff->version.view() : TBLOCK();
}

const KWIMAGE& TQMDICO::image() const {
  return stuff ? stuff->image : noImage;
}

int TQMDICO::loadKeywordsFromFile(const char* path) {
  BLOCK* block = new (std::nothrow) BLOCK(0, BLOCK::_DEFALLOCSIZE);
  if (block) block->loadFrom(path, 0, 0);
  const int loaded = loadKeywordsFromBlock(block);
  fileName = path;
  return loaded;
}

int TQMDICO::loadKeywordsFromBlock(BLOCK* block) {
  release();
  if (!block) return 0;
  int32_t converted = 0;
  if (!IsKeywordImage(block->view()) ||
      !setupKeywords(block->view(), converted)) {
    delete block;
    return 0;
  }
  stuff = new (std::nothrow) HSTUFF(block);
  if (!stuff) {
    delete block;
    return 0;
  }
  if (!makeCounters()) return 0;
  swapped = converted;
  return 1;
}

int TQMDICO::anyWarning(STR& text) const {
  if (!swapped) return 0;
  text = "Slowdown warning: had to convert file ";
  text += fileName;
  text += _IsIntelCPU() ? " (Sparc-to-Intel)" : " (Intel-to-Sparc)";
  return 1;
}

// Of their lines only what stands behind the "=" is a pattern.
bool TQMDICO::isOfFields(const TQKSECTION* section) const {
  for (const char* name : kFieldSections)
    if (section == findSection(name)) return true;
  return false;
}

void TQMDICO::precompileRegexesIntoPool() {
  if (!pool) return;
  uint64_t left = image().lineCount;
  for (uint32_t s = 0; s < image().sectionCount; s++) {
    const TQKSECTION* section = image().section(s);
    if (section->type != stRegex && section->type != stNamedRegex &&
        section->type != stRule)
      continue;
    const uint32_t n = image().lineCountOf(section);
    for (uint32_t i = 0; i < n && left > 0; i++, left--) {
      TBLOCK pattern = lineBlock(image().sectionLine(section, i));
      TBLOCK name;
      if (section->type == stRegex && isOfFields(section))
        TBLOCK::BlockBeforeChar(pattern, '=', 0, 0);
      if (section->type == stRule)
        _CheckRule(pattern, name, pool);
      else if (section->type == stRegex || CutNamed(pattern, name, pattern))
        _AddRegexMixInStaticPool(pattern, pool);
    }
  }
}

void TQMDICO::prepareRules() {
  // What is shared may be in use.
  if (!stuff || sharedStuff || stuff->rules) return;
  stuff->rules = new (std::nothrow) RULEBOOK(*this);
  stuff->patternBook = new (std::nothrow) PATTERNBOOK(*this);
  stuff->fieldLetters.prepare(*this);
  stuff->wordFilter = new (std::nothrow) WORDFILTER(image());
  stuff->prepareNames();
}

const TQMRULE* TQMDICO::preparedRule(const TQKLINE* line) const {
  if (!line || !stuff || !stuff->rules) return nullptr;
  return stuff->rules->find(image().lineNumber(line));
}

int32_t TQMDICO::getRegexField(TBLOCK name) const {
  if (name.empty()) return 0;
  if (name[0] == '@') return kHeaderRuleField;
  if (stuff && stuff->fieldNames.count > 0) {
    void* number = nullptr;
    stuff->fieldNames.find(name, number);
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(number));
  }
  TBLOCK rest(_REGEXFIELDNAMES);
  for (int32_t number = 1; !rest.empty(); number++)
    if (TBLOCK::BlockBeforeChar(rest, ',', 0, 0)
            .equals(name, TBLOCK::AsciiLowerTable))
      return number;
  return 0;
}

// ==== Sections and lines

const TQKSECTION* TQMDICO::findSection(const char* name) const {
  return findSection(TBLOCK(name));
}

const TQKSECTION* TQMDICO::findSection(TBLOCK name) const {
  return stuff ? stuff->findSection(name) : nullptr;
}

TBLOCK TQMDICO::lineBlock(const TQKLINE* line) const {
  return image().lineBlock(line);
}

void TQMDICO::getLineText(const TQKLINE* line, STR& text, int withScore) const {
  text = "";
  if (!line) return;
  if (withScore) {
    text += line->flags & KWLINEFLAGMULTI ? "<&" : "<";
    text += line->score;
    text += '>';
  }
  if (line->flags & KWLINEFLAGSTRING)
    text += lineBlock(line);
  else
    LINEPRINTER(image(), text).addLine(line);
}

// ==== Counters

TLINECOUNTS& TQMDICO::countsOf(const TQKLINE* line) {
  const uint32_t n = line && counters ? image().lineNumber(line) : UINT32_MAX;
  const uint32_t end = image().lineCount;
  if (n >= end) {
    uncounted = TLINECOUNTS();
    return uncounted;
  }
  if (!isCountedPart(n)) {
    const uint32_t part = n / kLinesOfPart, first = part * kLinesOfPart;
    SetBit(countedParts, part);
    for (uint32_t i = first; i < end && i < first + kLinesOfPart; i++)
      counters[i] = TLINECOUNTS();
  }
  return counters[n];
}

const TLINECOUNTS& TQMDICO::seenCounts(const TQKLINE* line) const {
  static const TLINECOUNTS kNone = {0, 0, 0, 0};
  const uint32_t n = line && counters ? image().lineNumber(line) : UINT32_MAX;
  return n < image().lineCount && isCountedPart(n) ? counters[n] : kNone;
}

uint32_t TQMDICO::nextCounted(uint32_t from, uint32_t end) const {
  while (from < end && !isCountedPart(from))
    from = from / kLinesOfPart * kLinesOfPart + kLinesOfPart;
  return from < end ? from : end;
}

void TQMDICO::clearCounts(const TQKSECTION* section,
                          uint16_t TLINECOUNTS::*count) {
  const uint32_t n = image().lineCountOf(section);
  if (n == 0) return;
  const uint32_t end = section->first + n;
  for (uint32_t i = nextCounted(section->first, end); i < end;
       i = nextCounted(i + 1, end))
    counters[i].*count = 0;
}

void TQMDICO::clearSectionMatchCount(const TQKSECTION* section) {
  clearCounts(section, &TLINECOUNTS::matchCount);
}

void TQMDICO::clearMatchCount(const char* section) {
  clearSectionMatchCount(findSection(section));
}

void TQMDICO::clearSectionTipCount(const TQKSECTION* section) {
  clearCounts(section, &TLINECOUNTS::tipCount);
}

void TQMDICO::clearTipCount(const char* section) {
  clearSectionTipCount(findSection(section));
}

void TQMDICO::clearSectionUseCount(const TQKSECTION* section) {
  clearCounts(section, &TLINECOUNTS::useCount);
}

void TQMDICO::clearUseCount(const char* section) {
  clearSectionUseCount(findSection(section));
}

int32_t TQMDICO::sectionScore(const char* section) {
  const TQKSECTION* found = findSection(section);
  const uint32_t n = image().lineCountOf(found);
  int64_t total = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = image().sectionLine(found, i);
    total += ClampScore(int64_t{seenCounts(line).matchCount} * line->score);
  }
  return ClampScore(total);
}

int32_t TQMDICO::getSectionScore(const char* section, uint32_t factor) {
  return SECTIONSUM(*this, factor).sum(findSection(section), 0);
}

int32_t TQMDICO::lineIndex(const char* section, const TQKLINE* line) const {
  const TQKSECTION* found = findSection(section);
  const uint32_t n = image().lineCountOf(found);
  if (!line || n == 0) return -1;
  const uint32_t at = image().lineNumber(line);
  if (at < found->first || at - found->first >= n) return -1;
  return static_cast<int32_t>(at - found->first);
}
