// Character sets: every text is brought to one byte a character, in code page
// 1252, before anything else looks at it. A character that the page lacks
// becomes one of five marks, by its script; one that looks like a Latin letter
// becomes that letter. TCharset carries a set's name and counts what was seen.
//
// A TCharset is a small value, copied freely. `name` must point into the
// message or a block that lives as long as the scan.
//
// Nothing here fails: an unknown name means no conversion, and a broken
// sequence passes byte by byte. No conversion makes a text longer, so all of
// them work in place.
//
// Bodies: charset.cc (names, single code points, zones), charset_decode.cc
// (blocks of text, transfer decoding, encoded words). Tables:
// data/charset_tables.h.

#ifndef MESSAGE_CHARSET_H_
#define MESSAGE_CHARSET_H_

#include <stdint.h>

#include "base/block.h"
#include "base/str.h"
#include "base/tblock.h"

// Marks, at codes that page 1252 leaves free. They live from charset decoding
// to TCharset::zoneUpdate, which counts them and writes CHUNK_CHAR.
enum : unsigned char {
  CHUNK_CHAR = '?',
  UNKNOWNCHAR = 0x7F,  // code point FFFF: undefined in its code page
  CHUNK_CYRILLIC = 0x81,
  CHUNK_GREEK = 0x8D,
  CHUNK = 0x8F,        // any other character outside the page
  CHUNK_ASIAN = 0x90,  // CJK, Hangul
  CHUNK_ARABIC = 0x9D
};

// What a byte of a projected text tells of its script: Cp1252Zones.
enum TCHARZONE : int32_t {
  czControl = 0,
  czLetter = 1,
  czSign = 2,
  czDigit = 3,
  czRareLetter = 4,  // letters that the page has for Eastern Europe
  czCyrillic = 5,
  czGreek = 6,
  czAsian = 7,
  czArabic = 8,
  czOther = 9,
  czCount = 10
};

enum TCHARFAMILY : uint16_t {
  cfNone = 0,  // unknown name: no conversion
  cfWindows = 1,
  cfIso = 2,
  cfUnicode = 3,
  cfSingle = 4,  // us-ascii, koi8
  cfEscape = 5,  // iso-2022
  cfDoubleByte = 6
};

class TCharset {
 public:
  TBLOCK name;      // as the message gives it; empty when it gives none
  uint16_t index;   // row in the tables of the family
  uint16_t family;  // TCHARFAMILY
  uint32_t zoneCounts[czCount];
  uint32_t markCount;  // marks that zoneUpdate replaced

  TCharset() { clear(); }
  void clear();
  // An empty name leaves everything as it was; an unknown one is kept, with
  // family cfNone.
  void setName(TBLOCK text);

  // UcToCp1252, and where the page has no such character the mark of its
  // script. Folded Greek and Cyrillic letters count in their zone.
  unsigned char ucToCp1252(uint32_t codePoint);
  // Converts `src` into dest.pointer and sets dest.length, which is never more
  // than src.length; dest may be src. False, with dest untouched, when the
  // text stays as it is for want of a name that is known; a text without any
  // name is converted all the same when it has ISO-2022 escapes.
  // REQUIRES: room for src.length bytes at dest.pointer. WRITES.
  bool blockToCp1252(TBLOCK src, TBLOCK& dest);
  // Counts each byte in its zone and overwrites marks. WRITES.
  void zoneUpdate(TBLOCK text);
  void addZoneCounts(const TCharset& other);
  // Whether there is enough of a zone to speak of.
  bool checkZone(TCHARZONE zone) const;

  // Rows of names and, parallel, family << 16 | index; an empty name ends
  // them.
  static const char* const CharsetNames[];
  static const uint32_t CharsetInfos[];
  static const unsigned char Cp1252Zones[256];

 private:
  void wcpToCp1252(TBLOCK src, TBLOCK& dest);
  void isoToCp1252(TBLOCK src, TBLOCK& dest);
  void altToCp1252(TBLOCK src, TBLOCK& dest);
  void blockUtfToCp1252(TBLOCK src, TBLOCK& dest);
  void blockUtf8ToCp1252(TBLOCK src, TBLOCK& dest);
  void blockUtf7ToCp1252(TBLOCK src, TBLOCK& dest);
  void block2022ToCp1252(TBLOCK src, TBLOCK& dest);
  void blockDbcsToCp1252(TBLOCK src, TBLOCK& dest);
};

// Family << 16 | index of a name, compared without regard to case; 0 when it
// is unknown.
uint32_t GetCharsetInfo(TBLOCK name);

// Code point to byte: CHUNK when the page has nothing like it, UNKNOWNCHAR for
// FFFF.
unsigned char UcToCp1252(uint32_t codePoint);
// Appends 1 to 6 bytes of UTF-8. NUL adds nothing, since a STR cannot hold it.
void UcToUtf8(uint32_t codePoint, STR& out);
// Byte to code point, by row of the family's tables; FFFF when the page leaves
// it undefined, the byte itself when there is no such row.
uint32_t WcpToUc(unsigned char byte, uint32_t index);
uint32_t IsoToUc(unsigned char byte, uint32_t index);
uint32_t AltToUc(unsigned char byte, uint32_t index);
// Appends the UTF-8 of a byte, of a text, in a Windows code page.
void WcpToUtf8(unsigned char byte, uint32_t index, STR& out);
void BlockWcpToUtf8(TBLOCK text, uint32_t index, STR& out);

// Bytes of the UTF-8 sequence at the start, 2 to 6; 1 when there is none.
uint32_t GetUtf8SeqLen(TBLOCK text);
// Whether the text holds a sequence of two or more bytes.
bool BlockContainsUtf8(TBLOCK text);
// Bytes at the start that are ASCII.
uint32_t AsciiLength(TBLOCK text);
// The first character: the bytes it takes, 1 to 6, and its code point; 0 at
// the end of the text.
uint32_t Utf8ToUc(TBLOCK text, uint32_t& codePoint);

// If `rest` is at a known ISO-2022 escape: its row, with `rest` behind it;
// else -1.
int32_t getIso2022Esc(TBLOCK& rest);
bool isBlockIso2022(TBLOCK text);

// Undoes a transfer encoding ("q", "quoted-printable", "b", "base64", any
// other is none), then the character set, then counts zones. `dest` gets the
// result, in the bytes of `src`. `checkedBase64` not 0 says that the text is
// known to be base64 throughout; else only the stretch that is gets decoded.
// `charset` may be null: transfer decoding alone. WRITES to src.
void DecodeCharset(TBLOCK src, TBLOCK& dest, TCharset* charset, TBLOCK encoding,
                   int checkedBase64);

// A header value with its encoded words decoded, appended to `out`, which is
// emptied first. `charset` is cleared, and afterwards has the name of the last
// word and the counts of all. Text outside encoded words is neither converted
// nor counted; a word that does not close is copied as it stands. `text` is
// not written to.
void DecodeInlineCharset(TBLOCK text, TCharset* charset, BLOCK& out);

#endif  // MESSAGE_CHARSET_H_
