// Entities, and the clean-up of text that holds them. The text is rewritten
// where it stands: what an entity or a run of blanks becomes is never longer.
// Entries: DecodeEntity, DecodeText. Tested by html_item_test.cc.

#include "content/html_item.h"
#include "message/charset.h"

namespace {

// ---- The names

struct ENTITY {
  const char* name;
  unsigned char length;
  unsigned char byte;
};

constexpr ENTITY Entities[] = {
#define QM_ENTITY(name, byte) {name, sizeof(name) - 1, byte},
#include "content/html_entities.inc"
#undef QM_ENTITY
};

constexpr uint32_t kEntities = sizeof Entities / sizeof Entities[0];

// Rows stand together by their first letter.
struct ENTITYINDEX {
  unsigned char first[128];
  unsigned char count[128];
};

constexpr ENTITYINDEX MakeEntityIndex() {
  ENTITYINDEX index = {};
  for (uint32_t row = 0; row < kEntities; row++) {
    const unsigned char letter =
        static_cast<unsigned char>(*Entities[row].name);
    if (index.count[letter] == 0)
      index.first[letter] = static_cast<unsigned char>(row);
    index.count[letter]++;
  }
  return index;
}

constexpr ENTITYINDEX kEntityIndex = MakeEntityIndex();
static_assert(kEntities < 256, "a row fits in a byte");

// The first name that the text begins with, or null. REQUIRES: at least three
// bytes, the first a letter.
const ENTITY* FindEntity(TBLOCK text) {
  const unsigned char letter = text[0];
  const ENTITY* row = Entities + kEntityIndex.first[letter];
  const ENTITY* const end = row + kEntityIndex.count[letter];
  for (; row < end; row++) {
    if (static_cast<unsigned char>(row->name[1]) == text[1] &&
        row->length <= text.length &&
        memcmp(row->name, text.pointer, row->length) == 0)
      return row;
  }
  return nullptr;
}

// ---- Numbers

// Behind the last code point there is nothing to tell apart.
constexpr uint32_t kMaxCodePoint = 0x110000;

// Reads the number behind "&#" with its ";" if it has one. Returns the bytes
// taken, counted from the "&".
uint32_t ReadNumber(TBLOCK text, uint32_t& value) {
  uint32_t i = 2;
  const bool hexa = text[i] == 'x' || text[i] == 'X';
  if (hexa) i++;
  value = 0;
  for (; i < text.length; i++) {
    const unsigned char byte = text[i];
    uint32_t digit = 0;
    if (TBLOCK::Is(byte, bitDigit))
      digit = byte - '0';
    else if (hexa && TBLOCK::Is(byte, bitHexa))
      digit = (byte | 0x20) - 'a';  // "A" counts as 0: deliberate
    else
      break;
    value = value * (hexa ? 16 : 10) + digit;
    if (value > kMaxCodePoint) value = kMaxCodePoint;
  }
  return i < text.length && text[i] == ';' ? i + 1 : i;
}

// ---- Text

enum : unsigned char { kPlain, kDrop, kSpace, kLineEnd, kAmpersand };

struct TEXTCLASSES {
  unsigned char of[256];
};

constexpr TEXTCLASSES MakeTextClasses() {
  TEXTCLASSES classes = {};
  for (uint32_t byte = 0; byte < 0x20; byte++) classes.of[byte] = kDrop;
  classes.of[0x09] = classes.of[0x20] = classes.of[0xA0] = kSpace;
  classes.of[0x0A] = classes.of[0x0D] = kLineEnd;
  classes.of[0x26] = kAmpersand;
  return classes;
}

constexpr TEXTCLASSES kTextClasses = MakeTextClasses();

enum BLANKS {
  kKeepAll,
  kCollapse,   // one may stand at the start
  kDropFirst,  // none may
};

// Cleans the text, and returns the bytes that are left of it. Behind them
// there are spaces.
uint32_t CleanText(TBLOCK text, TCharset* charset, BLANKS blanks) {
  unsigned char* const start = text.pointer;
  const unsigned char* const end = start + text.length;
  const unsigned char* in = start;
  unsigned char* out = start;
  while (in < end) {
    const unsigned char byte = *in++;
    unsigned char kind = kTextClasses.of[byte];
    if (kind == kPlain) {
      *out++ = byte;
      continue;
    }
    if (kind == kLineEnd && blanks != kKeepAll) kind = kSpace;
    if (kind == kLineEnd) {
      *out++ = byte;
    } else if (kind == kSpace) {
      if (blanks == kKeepAll ||
          (out == start ? blanks == kCollapse : out[-1] != ' '))
        *out++ = ' ';
    } else if (kind == kAmpersand) {
      TBLOCK rest(in - 1, static_cast<uint32_t>(end - in) + 1);
      *out++ = DecodeEntity(rest, charset);
      in = rest.pointer;
    }
  }
  memset(out, ' ', static_cast<size_t>(end - out));
  return static_cast<uint32_t>(out - start);
}

// hifWhite and hifWhiteSpace, as far as they hold.
uint32_t WhiteFlags(TBLOCK text) {
  if (text.empty()) return 0;
  uint32_t n = 0;
  while (n < text.length && TBLOCK::Is(text[n], bitWhiteSpace)) n++;
  if (n == text.length) return hifWhite | hifWhiteSpace;
  while (n < text.length && TBLOCK::Is(text[n], bitWhiteChar | bitWhiteSpace))
    n++;
  if (n < text.length) return 0;
  return hifWhite;
}

}  // namespace

unsigned char DecodeEntity(TBLOCK& cursor, TCharset* charset) {
  const TBLOCK text = cursor;
  cursor.skip(1);
  if (cursor.length < 3 || !(TBLOCK::ExtBitChars[text[1]] & extBitEntity))
    return '&';
  if (text[1] != '#') {
    const ENTITY* const entity = FindEntity(cursor);
    if (!entity) return '&';
    cursor.skip(entity->length);
    if (!cursor.empty() && cursor[0] == ';') cursor.skip(1);
    return entity->byte;
  }
  uint32_t value = 0;
  const uint32_t n = ReadNumber(text, value);
  if (value == 0) return '&';
  cursor = text.from(n);
  return charset ? charset->ucToCp1252(value) : UcToCp1252(value);
}

void DecodeText(THITEM& item, TCharset* charset, int keepLines) {
  if (item.type != hitText) return;
  if (!item.block.empty())
    item.block.cut(
        CleanText(item.block, charset, keepLines ? kKeepAll : kCollapse));
  item.flags &= ~(hifWhite | hifWhiteSpace);
  item.flags |= WhiteFlags(item.block);
}

TBLOCK DecodeBlockEntities(TBLOCK text, TCharset* charset) {
  if (text.empty()) return text;
  return text.head(CleanText(text, charset, kDropFirst));
}
