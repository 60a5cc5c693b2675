// Tables that grow while sections come in, each an array of the image's own
// records, so that writing the image is one copy a table. Strings are stored
// once: wordTable knows where. Entries: AddSection, AddKwFile, WriteToStream.
// Tested by kw_obj_test.cc.

#include "rules/kw_obj.h"

#include <string.h>

#include "base/heap_sort.h"
#include "base/md5.h"
#include "base/score.h"
#include "rules/keyword_compare.h"

namespace {

const uint32_t kTableStep = 65536;
// The whole image must stay below what a block can hold.
const uint32_t kMaxTableBytes = 0x10000000;
// Bytes of strings that one image may bring, with those that are shared.
const uint64_t kMaxCopiedBytes = 0x10000000;

const char kClaimed[] = "sections or lines claim more than the image holds";

struct TOPTION {
  char letter;
  uint16_t bits;
};
const TOPTION kOptions[] = {
    {'=', moPermut | moNear | moDouble | moBroken},
    {'-', moMissing},
    {'%', moPermut},
    {'&', moDouble},
    {'+', moUseless},
    {'/', moSplit},
    {'^', moFinalUseless},
    {'~', moNear},
};

struct TPREFIX {
  char letter;
  uint16_t type;
  uint16_t flags;
};
const TPREFIX kPrefixes[] = {
    {'#', stString, 0},     {'$', stString, sfHashed}, {'%', stLiteral, 0},
    {'^', stRule, 0},       {':', stNamedRegex, 0},    {'!', stRegex, 0},
    {'*', stMd5, sfHashed}, {'@', stSortedMd5, 0},     {'&', stSectionList, 0},
};

void Digest(TBLOCK content, unsigned char digest[kSectionNameBytes]) {
  MD5 md5;
  md5.add(content);
  memcpy(digest, md5.get(), kSectionNameBytes);
}

// Length of what stands before the first unescaped byte at which `stops`
// holds; a backslash makes the next byte an ordinary one.
uint32_t PieceLength(TBLOCK content, bool (*stops)(unsigned char)) {
  uint32_t i = 0;
  while (i < content.length && !stops(content[i]))
    i += content[i] == '\\' && i + 1 < content.length ? 2 : 1;
  return i;
}

// What ends a group: the joiners, and what no keyword may hold.
bool EndsWord(unsigned char c) {
  return c == ' ' || c == '\t';
}

bool EndsGroup(unsigned char c) {
  return c == '+' || c == '>' || c == ',' ||
         (!TBLOCK::Is(c, bitKeyword) && !EndsWord(c));
}

bool EndsAlternative(unsigned char c) {
  return c == '|';
}

}  // namespace

uint8_t GetPatchDicoAction(TBLOCK& line) {
  static const struct {
    const char* prefix;
    uint8_t action;
  } kActions[] = {{"++", paAppend},
                  {"--", paRemoveToo},
                  {"+", paInsert},
                  {"-", paRemove},
                  {"=", paFind}};
  line.trim();
  for (const auto& row : kActions) {
    if (!line.begins(TBLOCK(row.prefix), TBLOCK::NoConvTable)) continue;
    line.skip(static_cast<uint32_t>(strlen(row.prefix)));
    line.trim();
    return row.action;
  }
  return paNone;
}

void GetSectionType(TBLOCK& name, uint16_t& type, uint16_t& flags) {
  type = stPattern;
  flags = 0;
  if (name.empty()) return;
  for (const TPREFIX& row : kPrefixes)
    if (name[0] == static_cast<unsigned char>(row.letter)) {
      type = row.type;
      flags = row.flags;
      name.skip(1);
      return;
    }
}

unsigned char GetLineKey(TBLOCK word) {
  if (word.empty()) return 0;
  const bool escaped = word[0] == '\\' && word.length > 1;
  const unsigned char key = KeyTable[word[escaped ? 1 : 0]];
  // What may stand for any word cannot be found by its first byte.
  const bool special = key == '*' || key == '~' || (key >= '?' && key <= '@');
  return special ? 0 : key;
}

int ReadScore(TBLOCK& line, int32_t& score, uint16_t& flags) {
  uint32_t i = 1;
  if (line.length < 3 || line[0] != '<') return 0;
  const bool multi = line[i] == '&';
  if (multi) i++;
  const bool minus = i < line.length && line[i] == '-';
  if (minus || (i < line.length && line[i] == '+')) i++;
  const uint32_t digits = i;
  int32_t value = 0;
  for (; i < line.length && TBLOCK::Is(line[i], bitDigit); i++) {
    value = value > kMaxScore / 10 ? kMaxScore : value * 10 + (line[i] - '0');
    if (value > kMaxScore) value = kMaxScore;
  }
  if (i == digits || i == line.length || line[i] != '>') return 0;
  score = minus ? -value : value;
  if (multi) flags = static_cast<uint16_t>(flags | KWLINEFLAGMULTI);
  line.skip(i + 1);
  line.trim();
  return 1;
}

int ReadOptions(TBLOCK& line, uint16_t& flags) {
  if (line.empty() || line[0] != '(') return 0;
  uint32_t bits = 0, i = 1;
  for (; i < line.length && line[i] != ')'; i++) {
    if (line[i] == '!') {
      bits = moTips;  // whatever stood in front
      continue;
    }
    uint32_t added = 0;
    for (const TOPTION& row : kOptions)
      if (line[i] == static_cast<unsigned char>(row.letter)) added = row.bits;
    if (added == 0) return 0;
    bits |= added;
  }
  if (i >= line.length) return 0;
  flags = static_cast<uint16_t>(flags | bits);
  line.skip(i + 1);
  line.trim();
  return 1;
}

TKwObj::TKwObj()
    : sections(0, kTableStep),
      lines(0, kTableStep),
      ands(0, kTableStep),
      ors(0, kTableStep),
      words(0, kTableStep),
      text(0, kTableStep),
      wordTable(0, hashExact),
      sectionTable(0, hashExact),
      patching(0),
      error(nullptr),
      errorLine(-1),
      errorOffset(0),
      errorSection(-1),
      linesLeft(0),
      recordsLeft(0),
      bytesLeft(0),
      workLeft(0) {
  wordTable.setRecSize(sizeof(uint32_t));
}

void TKwObj::Clean() {
  sections.empty();
  lines.empty();
  ands.empty();
  ors.empty();
  words.empty();
  text.empty();
  wordTable.clear();
  wordTable.setRecSize(sizeof(uint32_t));
  sectionTable.clear();
  patching = 0;
  error = nullptr;
  errorLine = -1;
  errorOffset = 0;
  errorSection = -1;
}

uint32_t TKwObj::sectionCount() const {
  return sections.length / static_cast<uint32_t>(sizeof(TQKSECTION));
}

uint32_t TKwObj::lineCount() const {
  return lines.length / static_cast<uint32_t>(sizeof(TQKLINE));
}

int TKwObj::fail(const char* what, int32_t line, uint32_t offset) {
  if (error) return 0;
  error = what;
  errorLine = line;
  errorOffset = offset;
  return 0;
}

int TKwObj::addRecord(BLOCK& table, const void* record, uint32_t n) {
  if (table.length > kMaxTableBytes - n || !table.add(record, n))
    return fail("out of memory", -1, 0);
  return 1;
}

TQKSECTION* TKwObj::lastSection() {
  return reinterpret_cast<TQKSECTION*>(sections.data) + (sectionCount() - 1);
}

TQKLINE* TKwObj::lineAt(uint32_t i) {
  return reinterpret_cast<TQKLINE*>(lines.data) + i;
}

// Offset of the string in the pool, where equal strings share one place. An
// empty string has any place.
uint32_t TKwObj::AddBlock(TBLOCK content) {
  if (content.empty()) return 0;
  void* record = nullptr;
  uint32_t offset = text.length;
  if (wordTable.find(content, record) >= 0) {
    memcpy(&offset, record, sizeof offset);
    return offset;
  }
  if (content.length > kMaxTableBytes ||
      text.length > kMaxTableBytes - content.length) {
    fail("the text of the dictionary is too large", -1, 0);
    return 0;
  }
  wordTable.insertData(content, record);
  if (!record || !text.add(content)) {
    fail("out of memory", -1, 0);
    return 0;
  }
  memcpy(record, &offset, sizeof offset);
  return offset;
}

uint32_t TKwObj::AddMd5Digest(const unsigned char* digest) {
  const uint32_t offset = text.length;
  addRecord(text, digest, kSectionNameBytes);
  return offset;
}

// Null on failure. Patches may repeat a name, and may be there beside the
// section that they patch.
TQKSECTION* TKwObj::beginSection(const unsigned char* digest, uint16_t type,
                                 uint16_t flags) {
  if ((flags & sfPatch) && flags != sfPatch) {
    fail("the section has flags beside that of a patch", -1, 0);
    return nullptr;
  }
  if (flags != sfPatch &&
      sectionTable.insert(TBLOCK(digest, kSectionNameBytes)) < 0) {
    fail("the section is there already", -1, 0);
    return nullptr;
  }
  TQKSECTION section;
  section.nameOffset = AddMd5Digest(digest);
  section.nameLength = kSectionNameBytes;
  section.first = type == stSortedMd5 ? text.length : lineCount();
  section.count = 0;
  section.flags = flags;
  section.type = type;
  if (error || !addRecord(sections, &section, sizeof section)) return nullptr;
  return lastSection();
}

int TKwObj::AddSection(TBLOCK name, TBLOCKVECT* content, int isPatch) {
  if (error) return 0;
  if (!content || content->count() == 0) return 1;
  uint16_t sourceType, flags;
  GetSectionType(name, sourceType, flags);
  uint16_t type = sourceType;
  if (isPatch) {
    flags = sfPatch;
    // A patch needs an action for each digest, so it has line records.
    if (type == stSortedMd5) type = stMd5;
  }
  unsigned char digest[kSectionNameBytes];
  GetNameDigest(name, digest);
  if (!beginSection(digest, type, flags)) return 0;
  patching = isPatch;
  for (int32_t i = 0; i < content->count(); i++) {
    if (!AddLine(content->get(i), sourceType, i)) {
      if (error && errorLine < 0) errorLine = i;
      return 0;
    }
    lastSection()->count++;
  }
  patching = 0;
  if (type == stSortedMd5) sortDigests();
  return 1;
}

// Sorts the digests of the last section, with which the pool ends.
void TKwObj::sortDigests() {
  unsigned char scratch[kSectionNameBytes];
  const TQKSECTION* section = lastSection();
  if (section->count == 0) return;
  HeapSortInline(text.data + section->first, section->count, kSectionNameBytes,
                 md5cmp, scratch);
}

int TKwObj::AddLine(TBLOCK line, uint16_t type, int32_t number) {
  const TBLOCK whole = line;
  const uint8_t action = patching ? GetPatchDicoAction(line) : uint8_t{paNone};
  line.trim();
  int done;
  if (type == stPattern)
    done = AddPatternLine(line, action);
  else if (type == stLiteral)
    done = AddLitteralLine(line, action, whole);
  else if (type == stMd5)
    done = AddMd5Line(line, action, true);
  else if (type == stSortedMd5)
    done = patching ? AddMd5Line(line, action, false) : AddSortedMd5Line(line);
  else
    done = AddStringLine(line, action);
  return done && !error ? 1 : fail("unreadable line", number, 0);
}

int TKwObj::addTextLine(TBLOCK content, TQKLINE& line) {
  line.text = AddBlock(content);
  line.length = content.length;
  line.flags = static_cast<uint16_t>(line.flags | KWLINEFLAGSTRING);
  line.number = lineCount();
  return addRecord(lines, &line, sizeof line);
}

int TKwObj::AddStringLine(TBLOCK content, uint8_t action) {
  TQKLINE line = {};
  line.action = action;
  ReadScore(content, line.score, line.flags);
  return addTextLine(content, line);
}

int TKwObj::AddMd5Line(TBLOCK content, uint8_t action, bool scored) {
  TQKLINE line = {};
  line.action = action;
  if (scored) ReadScore(content, line.score, line.flags);
  unsigned char digest[kSectionNameBytes];
  Digest(content, digest);
  return addTextLine(TBLOCK(digest, kSectionNameBytes), line);
}

int TKwObj::AddSortedMd5Line(TBLOCK content) {
  unsigned char digest[kSectionNameBytes];
  Digest(content, digest);
  AddMd5Digest(digest);
  return 1;
}

// One item of a line of bytes: the rest moves behind it, `out` gets its bytes.
// False when it is none.
static bool ReadLiteral(TBLOCK& rest, BLOCK& out) {
  const unsigned char c = rest[0];
  uint32_t n = 1, value = 0;
  if (c == '"' || c == '\'') {
    const int32_t end = rest.findByte(c, 1);
    if (end < 0) return false;
    const uint32_t inside = static_cast<uint32_t>(end) - 1;
    if (inside > 0 && !out.add(rest.pointer + 1, inside)) return false;
    rest.skip(inside + 2);
    return true;
  }
  if (c == '$') {
    for (; n < 3 && n < rest.length && TBLOCK::Is(rest[n], bitHexa); n++)
      value = value * 16 + TBLOCK::HexValue(rest[n]);
    if (n == 1) return false;
  } else if (TBLOCK::Is(c, bitDigit)) {
    for (n = 0; n < rest.length && TBLOCK::Is(rest[n], bitDigit); n++) {
      value = value * 10 + (rest[n] - '0');
      if (value > 255) return false;
    }
  } else {
    return c == '#' || c == ',' ? rest.skip(1), true : false;
  }
  const unsigned char byte = static_cast<unsigned char>(value);
  rest.skip(n);
  return out.add(&byte, 1) != 0;
}

int TKwObj::AddLitteralLine(TBLOCK content, uint8_t action, TBLOCK whole) {
  TQKLINE line = {};
  line.action = action;
  ReadScore(content, line.score, line.flags);
  BLOCK bytes(0, 256);
  while (!content.empty())
    if (!ReadLiteral(content, bytes)) {
      fail("neither a quoted text nor a byte", -1,
           static_cast<uint32_t>(content.pointer - whole.pointer));
      return 0;
    }
  return addTextLine(bytes.view(), line);
}

int TKwObj::AddPatternLine(TBLOCK content, uint8_t action) {
  TQKLINE line = {};
  line.action = action;
  line.score = 100;
  ReadOptions(content, line.flags);
  ReadScore(content, line.score, line.flags);
  if (!AddGroups(content, line)) return 0;
  line.number = lineCount();
  return addRecord(lines, &line, sizeof line);
}

// A group is told apart from the next by the operator between them, which is
// stored with the first of the two. Of several in a row the last one counts.
int TKwObj::AddGroups(TBLOCK pattern, TQKLINE& line) {
  line.text = ands.length / static_cast<uint32_t>(sizeof(TQKAND));
  bool emptyFirst = false;
  for (uint32_t groups = 0; !pattern.empty(); groups++) {
    TBLOCK group = pattern.head(PieceLength(pattern, EndsGroup));
    pattern.skip(group.length);
    const uint32_t before = line.length;
    if (AddAnd(group)) line.length++;
    if (error) return 0;
    if (groups == 0 && line.length == before) emptyFirst = true;
    if (pattern.empty()) break;
    const unsigned char stop = pattern[0];
    pattern.skip(1);
    if (line.length == 0) continue;
    TQKAND* last = reinterpret_cast<TQKAND*>(ands.data + ands.length) - 1;
    last->joiner = stop == '>' || stop == ',' ? static_cast<char>(stop) : '+';
  }
  if (line.length == 0) return fail("the line has no word", -1, 0);
  reinterpret_cast<TQKAND*>(ands.data + ands.length)[-1].joiner = '+';
  if (!emptyFirst) SetLineKey(line);
  return 1;
}

// Adds the group unless it has no word: 1 when it was added.
int TKwObj::AddAnd(TBLOCK group) {
  TQKAND record = {};
  record.first = ors.length / static_cast<uint32_t>(sizeof(TQKOR));
  record.joiner = '+';
  while (!group.empty()) {
    const TBLOCK alternative = group.head(PieceLength(group, EndsAlternative));
    group.skip(alternative.length);
    if (!group.empty()) group.skip(1);
    if (!AddOr(alternative, record.count)) return 0;
  }
  return record.count > 0 && addRecord(ands, &record, sizeof record);
}

int TKwObj::AddOr(TBLOCK alternative, uint32_t& added) {
  TQKOR record = {};
  record.first = words.length / static_cast<uint32_t>(sizeof(TQKWORD));
  while (!alternative.empty()) {
    const TBLOCK word = alternative.head(PieceLength(alternative, EndsWord));
    alternative.skip(word.length);
    if (!alternative.empty()) alternative.skip(1);
    if (word.empty()) continue;
    if (!AddSpace(word)) return 0;
    record.count++;
  }
  if (record.count == 0) return 1;
  added++;
  return addRecord(ors, &record, sizeof record);
}

int TKwObj::AddSpace(TBLOCK word) {
  TQKWORD record;
  record.offset = AddBlock(word);
  record.length = word.length;
  return !error && addRecord(words, &record, sizeof record);
}

// REQUIRES: the line has a word.
void TKwObj::SetLineKey(TQKLINE& line) {
  const TQKAND& group = reinterpret_cast<TQKAND*>(ands.data)[line.text];
  const TQKOR& phrase = reinterpret_cast<TQKOR*>(ors.data)[group.first];
  const TQKWORD& word = reinterpret_cast<TQKWORD*>(words.data)[phrase.first];
  line.key = GetLineKey(TBLOCK(text.data + word.offset, word.length));
}

// ---- Images

// In a sound image no record belongs to two owners, and strings are shared by
// lines that are alike: what is beyond that would be copied at a cost that the
// image's size does not bound.
void TKwObj::startCopy(const KWIMAGE& image) {
  linesLeft = image.lineCount;
  recordsLeft = uint64_t{image.andCount} + image.orCount + image.wordCount;
  bytesLeft = kMaxCopiedBytes;
}

bool TKwObj::takeRecords(uint64_t n) {
  if (n > recordsLeft) return fail(kClaimed, -1, 0) != 0;
  recordsLeft -= n;
  return true;
}

int TKwObj::AddKwFile(const KWIMAGE& image) {
  startCopy(image);
  for (uint32_t i = 0; i < image.sectionCount; i++) {
    if (AddKwSection(image, image.section(i))) continue;
    errorSection = static_cast<int32_t>(i);
    return 0;
  }
  return 1;
}

int TKwObj::AddKwSection(const KWIMAGE& image, const TQKSECTION* section) {
  const TBLOCK name = image.sectionName(section);
  if (name.length != kSectionNameBytes)
    return fail("a section has no name", -1, 0);
  if (!beginSection(name.pointer, section->type, section->flags)) return 0;
  if (section->type == stSortedMd5) {
    const TBLOCK block = image.digests(section);
    lastSection()->count = block.length / kSectionNameBytes;
    if (block.empty()) return 1;
    if (block.length > bytesLeft) return fail(kClaimed, -1, 0);
    bytesLeft -= block.length;
    return addRecord(text, block.pointer, block.length);
  }
  const uint32_t count = image.lineCountOf(section);
  if (count > linesLeft) return fail(kClaimed, -1, 0);
  linesLeft -= count;
  for (uint32_t i = 0; i < count; i++) {
    if (AddKwLine(image, section, image.sectionLine(section, i), -1)) continue;
    if (errorLine < 0) errorLine = static_cast<int32_t>(i);
    return 0;
  }
  return 1;
}

int TKwObj::AddKwLine(const KWIMAGE& image, const TQKSECTION* section,
                      const TQKLINE* source, int32_t at) {
  TQKLINE line = *source;
  if (section->type != stPattern) {
    const TBLOCK content = image.lineBlock(source);
    if (content.length > bytesLeft) return fail(kClaimed, -1, 0);
    bytesLeft -= content.length;
    line.text = AddBlock(content);
    line.length = content.length;
  } else {
    line.text = ands.length / static_cast<uint32_t>(sizeof(TQKAND));
    line.length = 0;
    for (uint32_t i = 0; i < source->length; i++) {
      const TQKAND* group = image.andRecord(source->text + i);
      if (!group) break;  // a damaged image has no more
      if (!copyGroup(image, *group)) return 0;
      line.length++;
    }
  }
  TQKSECTION* target = lastSection();
  const uint32_t place =
      target->first + (at < 0 ? target->count : static_cast<uint32_t>(at));
  const uint32_t size = static_cast<uint32_t>(sizeof line);
  if (error) return 0;
  if (lines.length > kMaxTableBytes || !lines.add(place * size, &line, size))
    return fail("out of memory", -1, 0);
  target->count++;
  return 1;
}

// A group of a damaged image may claim more than there is.
int TKwObj::copyGroup(const KWIMAGE& image, const TQKAND& source) {
  TQKAND group = source;
  const uint32_t alternatives = source.count;
  group.first = ors.length / static_cast<uint32_t>(sizeof(TQKOR));
  group.count = 0;
  if (!takeRecords(1)) return 0;
  // The alternatives of a group stand side by side, so their words come first.
  for (uint32_t i = 0; i < alternatives; i++) {
    const TQKOR* phrase = image.orRecord(source.first + i);
    if (!phrase) break;
    if (!takeRecords(1)) return 0;
    TQKOR copy = {words.length / static_cast<uint32_t>(sizeof(TQKWORD)), 0};
    for (uint32_t k = 0; k < phrase->count; k++) {
      if (!image.wordRecord(phrase->first + k)) break;
      const TBLOCK word = image.word(phrase->first + k);
      if (word.length > bytesLeft) return fail(kClaimed, -1, 0);
      bytesLeft -= word.length;
      if (!takeRecords(1) || !AddSpace(word)) return 0;
      copy.count++;
    }
    if (!addRecord(ors, &copy, sizeof copy)) return 0;
    group.count++;
  }
  return addRecord(ands, &group, sizeof group);
}

int TKwObj::WriteToStream(BLOCK* out) {
  if (error || !out) return 0;
  out->empty();
  TQKFILE header;
  memcpy(header.magic, "QMKW", 4);
  header.headerSize = kKeywordHeaderBytes;
  struct {
    const BLOCK* table;
    uint32_t size;
    uint32_t* count;
    uint32_t* offset;
  } rows[] = {
      {&sections, sizeof(TQKSECTION), &header.sectionCount,
       &header.sectionOffset},
      {&lines, sizeof(TQKLINE), &header.lineCount, &header.lineOffset},
      {&ands, sizeof(TQKAND), &header.andCount, &header.andOffset},
      {&ors, sizeof(TQKOR), &header.orCount, &header.orOffset},
      {&words, sizeof(TQKWORD), &header.wordCount, &header.wordOffset},
      {&text, 1, &header.textSize, &header.textOffset},
  };
  // Lines may have moved since they came in.
  for (uint32_t i = 0; i < lineCount(); i++) lineAt(i)->number = i;
  uint64_t end = kKeywordHeaderBytes;
  for (auto& row : rows) {
    *row.count = row.table->length / row.size;
    *row.offset = static_cast<uint32_t>(end);
    end += row.table->length;
  }
  if (end > kMaxBlockBytes) return fail("the image is too large", -1, 0);
  header.totalSize = static_cast<uint32_t>(end);
  if (!out->addSpace(header.totalSize) || !out->add(&header, sizeof header))
    return fail("out of memory", -1, 0);
  for (const auto& row : rows)
    if (row.table->length > 0 && !out->add(row.table->view()))
      return fail("out of memory", -1, 0);
  return 1;
}
