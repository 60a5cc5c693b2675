// Items: text, tags, comments and whole elements, cut off the front one by one.
//
// Nothing is ever wrong: what opens no tag is text, and what is not closed
// ends at the end or is taken without its closing part. Each search that
// fails has looked at all of the rest, so the item remembers that there is
// nothing to be found, and the walk stays linear. Names of tags are found
// through a hash without collisions, which the compiler makes from the rows.
// Entry: GetNextHtmlItem. Tested by html_item_test.cc.

#include "content/html_item.h"

constexpr THTMLTAGINFO TagInfos[htUnknown + 1] = {
#define QM_TAG(member, name, code, flags) {name, code, flags},
#include "content/html_tags.inc"
#undef QM_TAG
    {"", "NO", 0}};

namespace {

// ---- Flags that are kept

// Bit of a closing tag that is absent: by the type of its element.
constexpr uint32_t kNoCommentEnd = hifAbsent;
constexpr uint32_t kNoGreater = hifAbsent << 1;
constexpr uint32_t NoElementEnd(uint32_t type) {
  return hifAbsent << type;
}
static_assert(hitComment >= 2, "the bits of elements stand behind the others");

constexpr uint32_t kKeptFlags = hifAllowLeadingSpace | ~(hifAbsent - 1);

// ---- Classes of bytes inside a tag

enum : unsigned char {
  kBlank = 1,     // TAB LF CR space
  kNameEnd = 2,   // ends the name of a tag
  kTagBreak = 4,  // may end a tag or open a quote
  kTagStart = 8,  // behind "<" of a tag
  kBeforeQuote = 16
};

struct BYTECLASSES {
  unsigned char of[256];
};

constexpr void Mark(BYTECLASSES& classes, const char* bytes,
                    unsigned char mask) {
  for (; *bytes; bytes++)
    classes.of[static_cast<unsigned char>(*bytes)] |= mask;
}

constexpr BYTECLASSES MakeClasses() {
  BYTECLASSES classes = {};
  Mark(classes, "\t\n\r ", kBlank | kNameEnd | kBeforeQuote);
  Mark(classes, "=", kBeforeQuote);
  Mark(classes, "/!?", kTagStart);
  Mark(classes, "ABCDEFGHIJKLMNOPQRSTUVWXYZ", kTagStart);
  Mark(classes, "abcdefghijklmnopqrstuvwxyz", kTagStart);
  Mark(classes, ">/\xA0", kNameEnd);
  Mark(classes, "<>\"'", kTagBreak);
  return classes;
}

constexpr BYTECLASSES kClasses = MakeClasses();

bool IsOf(unsigned char byte, unsigned char mask) {
  return (kClasses.of[byte] & mask) != 0;
}

// ---- Names of tags

constexpr uint32_t kMaxTagName = 11;
constexpr uint32_t kSlotBits = 10;

// A factor that gives each row a slot of its own.
constexpr uint32_t kSlotFactor = 0x9FF3078F;

// Of three letters of a name, in small letters, and its length.
constexpr uint32_t TagSlot(uint32_t first, uint32_t second, uint32_t last,
                           uint32_t length) {
  return ((first | second << 8 | last << 16 | length << 24) * kSlotFactor) >>
         (32 - kSlotBits);
}

struct TAGSLOTS {
  unsigned char row[1 << kSlotBits];
  unsigned char length[htUnknown + 1];
  bool collision;
};

constexpr unsigned char Small(char letter) {
  return static_cast<unsigned char>(
      letter >= 'A' && letter <= 'Z' ? letter + ('a' - 'A') : letter);
}

constexpr TAGSLOTS MakeTagSlots() {
  TAGSLOTS slots = {};
  for (unsigned char& row : slots.row) row = htUnknown;
  for (uint32_t row = 0; row < htUnknown; row++) {
    // Families are known before the rows are asked.
    if (row == htOColon || row == htXDash || row == htCf) continue;
    const char* const name = TagInfos[row].name;
    uint32_t length = 0;
    while (name[length]) length++;
    const uint32_t slot = TagSlot(Small(name[0]), Small(name[1]),
                                  Small(name[length - 1]), length);
    if (slots.row[slot] != htUnknown || length > kMaxTagName)
      slots.collision = true;
    slots.row[slot] = static_cast<unsigned char>(row);
    slots.length[row] = static_cast<unsigned char>(length);
  }
  return slots;
}

constexpr TAGSLOTS kTagSlots = MakeTagSlots();
static_assert(htUnknown < 256, "a row fits in a byte");
static_assert(!kTagSlots.collision, "try another factor");

THTMLTAG FindTag(TBLOCK name) {
  if (name.empty() || name.length > kMaxTagName) return htUnknown;
  const unsigned char* const fold = TBLOCK::LowerConvTable;
  const uint32_t n = name.length;
  const uint32_t slot =
      TagSlot(fold[name[0]], n > 1 ? fold[name[1]] : 0, fold[name[n - 1]], n);
  const THTMLTAG row = kTagSlots.row[slot];
  if (kTagSlots.length[row] != n) return htUnknown;
  const char* const known = TagInfos[row].name;
  for (uint32_t i = 0; i < n; i++)
    if (fold[name[i]] != Small(known[i])) return htUnknown;
  return row;
}

// `rest` is what follows "<" or "</".
THTMLTAG ReadTagName(TBLOCK rest) {
  uint32_t n = 0;
  bool colon = false;
  while (n < rest.length && !IsOf(rest[n], kNameEnd)) {
    if (rest[n] == ':') colon = true;
    n++;
  }
  const TBLOCK name = rest.head(n);
  if (n >= 2) {
    const unsigned char first = TBLOCK::LowerConvTable[name[0]];
    const unsigned char second = TBLOCK::LowerConvTable[name[1]];
    if (first == 'c' && second == 'f') return htCf;
    if (first == 'x' && second == '-') return htXDash;
  }
  return colon ? static_cast<THTMLTAG>(htOColon) : FindTag(name);
}

// ---- Parts of tags

// Bytes of a comment through its "-->", which may take the dashes that open
// it; 0 when it has none.
uint32_t CommentLength(TBLOCK text) {
  uint32_t i = 4;
  for (;;) {
    const int32_t at = text.findByte('>', i);
    if (at < 0) return 0;
    i = static_cast<uint32_t>(at) + 1;
    if (text[i - 2] == '-' && text[i - 3] == '-') return i;
  }
}

// Bytes of an element through the ">" of its closing tag, which is looked for
// from `start`; 0 when there is none.
uint32_t ElementLength(TBLOCK text, uint32_t start, TBLOCK name) {
  uint32_t i = start;
  for (;;) {
    const int32_t at = text.findByte('<', i);
    if (at < 0) return 0;
    i = static_cast<uint32_t>(at) + 1;
    if (i >= text.length || text[i] != '/') continue;
    i++;
    if (!text.from(i).begins(name)) continue;
    i += name.length;
    if (i >= text.length || (text[i] != '>' && !IsOf(text[i], kBlank)))
      continue;
    return static_cast<uint32_t>(text.findByte('>', i) + 1);
  }
}

uint32_t TypeOfOpenTag(THTMLTAG tag) {
  switch (tag) {
    case htTITLE:
      return hitTitle;
    case htSTYLE:
      return hitStyle;
    case htSCRIPT:
      return hitScript;
    case htTEXTAREA:
      return hitTextArea;
    case htCOMMENT:
      return hitComment;
    case htXML:
      return hitXml;
    default:
      return hitOpenTag;
  }
}

// This list and the flags of the rows differ on purpose.
bool BreaksLine(THTMLTAG tag) {
  switch (tag) {
    case htBR:
    case htP:
    case htDIV:
    case htTR:
    case htTABLE:
    case htLI:
    case htCENTER:
    case htBLOCKQUOTE:
    case htHR:
    case htH1:
    case htH2:
    case htH3:
    case htH4:
    case htH5:
    case htH6:
    case htUL:
    case htOL:
    case htDL:
    case htDT:
    case htTH:
    case htPLAINTEXT:
    case htFRAMESET:
    case htISINDEX:
      return true;
    default:
      return false;
  }
}

void Take(TBLOCK& cursor, uint32_t n, THITEM& item) {
  item.block = cursor.head(n);
  cursor.skip(n);
}

// "<!": a comment or what looks like one. Open to the end it is text, so that
// it can't swallow the message.
void ParseDeclaration(TBLOCK& cursor, THITEM& item) {
  uint32_t n = 0;
  if (cursor.length > 4 && cursor[2] == '-' && cursor[3] == '-' &&
      !(item.flags & kNoCommentEnd)) {
    n = CommentLength(cursor);
    if (n == 0) item.flags |= kNoCommentEnd;
  }
  if (n == 0 && !(item.flags & kNoGreater)) {
    n = static_cast<uint32_t>(cursor.findByte('>') + 1);
    if (n == 0) item.flags |= kNoGreater;
  }
  if (n == 0) {
    ParseTextItem(cursor, item);
    return;
  }
  item.type = hitComment;
  Take(cursor, n, item);
}

// Makes the item of an open tag one of the whole element. Without a closing
// tag it has the type of the element, but only its open tag, so that what
// follows is not hidden.
void TakeElement(TBLOCK& cursor, THITEM& item) {
  if (item.flags & NoElementEnd(item.type)) return;
  const uint32_t open = item.block.length;
  const TBLOCK text(item.block.pointer, open + cursor.length);
  const uint32_t n = ElementLength(text, open, TBLOCK(TagInfos[item.tag].name));
  if (n == 0) {
    item.flags |= NoElementEnd(item.type);
    return;
  }
  cursor.skip(n - open);
  item.block = text.head(n);
}

}  // namespace

void ClearHtmlItem(THITEM& item, uint32_t flags) {
  item.block.clear();
  item.flags = flags;
  item.type = hitNone;
  item.tag = htUnknown;
}

void HtmlLeftTrim(TBLOCK& cursor) {
  if (!cursor.pointer) return;
  uint32_t n = 0;
  while (n < cursor.length && cursor[n] < 0x21) n++;
  cursor.skip(n);
}

void GetFirstHtmlItem(TBLOCK& cursor, THITEM& item) {
  ClearHtmlItem(item, 0);
  GetNextHtmlItem(cursor, item);
}

void GetNextHtmlItem(TBLOCK& cursor, THITEM& item) {
  ClearHtmlItem(item, item.flags & kKeptFlags);
  if (!(item.flags & hifAllowLeadingSpace)) HtmlLeftTrim(cursor);
  if (cursor.empty()) return;
  if (cursor[0] == '<') ParseTagItem(cursor, item);
  if (item.type == hitNone) ParseTextItem(cursor, item);
}

// Through the ">", up to the next "<", or all. A quote inside a word opens
// nothing. Not for declarations.
uint32_t HtmlTagLength(TBLOCK text) {
  const unsigned char* const p = text.pointer;
  const uint32_t n = text.length;
  for (uint32_t i = 2; i < n; i++) {
    if (!IsOf(p[i], kTagBreak)) continue;
    if (p[i] == '>') return i + 1;
    if (p[i] == '<') return i;
    if (!IsOf(p[i - 1], kBeforeQuote)) continue;
    const int32_t close = text.findByte(p[i], i + 1);
    if (close < 0) return n;
    i = static_cast<uint32_t>(close);
  }
  return n;
}

void ParseTagItem(TBLOCK& cursor, THITEM& item) {
  if (cursor.empty() || cursor.length < 3 || !IsOf(cursor[1], kTagStart))
    return;
  if (cursor[1] == '!') {
    ParseDeclaration(cursor, item);
    return;
  }
  const bool close = cursor[1] == '/';
  Take(cursor, HtmlTagLength(cursor), item);
  item.tag = ReadTagName(item.block.from(close ? 2 : 1));
  if (close) {
    item.type = hitCloseTag;
    return;
  }
  item.type = TypeOfOpenTag(item.tag);
  if (item.type != hitOpenTag) {
    TakeElement(cursor, item);
  } else if (BreaksLine(item.tag)) {
    item.flags |= hifNewLine;
    item.flags &= ~hifAllowLeadingSpace;
  }
}

void ParseTextItem(TBLOCK& cursor, THITEM& item) {
  if (cursor.empty()) return;
  const int32_t next = cursor.findByte('<', 1);
  item.type = hitText;
  Take(cursor, next < 0 ? cursor.length : static_cast<uint32_t>(next), item);
  item.flags &= ~hifAllowLeadingSpace;
  if (item.block[item.block.length - 1] > 0x20)
    item.flags |= hifAllowLeadingSpace;
}

uint32_t HtmlItemCount(TBLOCK text, const THITEM& like) {
  const bool tags = like.type == hitOpenTag || like.type == hitCloseTag;
  uint32_t count = 0;
  THITEM item;
  GetFirstHtmlItem(text, item);
  for (; item.type != hitNone; GetNextHtmlItem(text, item)) {
    if (like.type != hitNone && item.type != like.type) continue;
    if (tags && like.tag != htUnknown && item.tag != like.tag) continue;
    count++;
  }
  return count;
}
