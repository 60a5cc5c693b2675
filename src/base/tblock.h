// TBLOCK: a view of bytes that somebody else owns, and the system's text
// primitives as its static members.
//
// A TBLOCK is a length and a pointer, passed by value. It owns nothing: the
// bytes must outlive it, which for message text means until the end of the
// scan. They are not NUL-terminated and may hold NUL. A null pointer or a
// length of 0 is an empty view, and every operation takes either as "nothing
// there". A function that takes a TBLOCK& advances or shortens the view; one
// that writes into the text under the view says so.
//
// Text is compared by mapping both sides through a conversion table, nearly
// always LowerConvTable. Fold each side exactly once: the table is not
// idempotent ("|" becomes "I", and "I" becomes "i").
//
// Bodies: here and in tblock.cc (view members), tables in char_tables.cc
// (generated), and the Block... operations in block_text.cc, block_decode.cc,
// block_header.cc and block_compare.cc.

#ifndef BASE_TBLOCK_H_
#define BASE_TBLOCK_H_

#include <stdint.h>
#include <string.h>

class BLOCK;
class TBLOCKVECT;

// Character classes: one bit each in TBLOCK::BitChars. A byte is "in" a mask
// when any bit of the mask is set for it, so that classes may be joined by |.
// The sets are listed in src/data/char_classes.txt.
enum : uint32_t {
  bitUpper = 1u << 0,         // A-Z
  bitLower = 1u << 1,         // a-z
  bitUpperAccent = 1u << 2,   // capitals of the upper half
  bitLowerAccent = 1u << 3,   // small letters of the upper half
  bitDigit = 1u << 4,         // 0-9
  bitHexa = 1u << 5,          // 0-9 A-F a-f
  bitWhiteSpace = 1u << 6,    // TAB LF CR space: what trimming removes
  bitWhite = 1u << 7,         // 09-0D, space, no-break space
  bitWhiteChar = 1u << 8,     // everything that shows as nothing
  bitDot = 1u << 9,           // .
  bitComma = 1u << 10,        // ,
  bitColon = 1u << 11,        // :
  bitDash = 1u << 12,         // - and the typographic dashes
  bitArobas = 1u << 13,       // @
  bitEquals = 1u << 14,       // =
  bitQuote = 1u << 15,        // quotation marks of all kinds
  bitSign = 1u << 16,         // + -
  bitCurrency = 1u << 17,     // currency signs
  bitNumSep = 1u << 18,       // , .
  bitDomain = 1u << 19,       // bytes of a host name
  bitEmail = 1u << 20,        // bytes of an e-mail address
  bitUrlAllowed = 1u << 21,   // bytes of a URL beyond letters and digits
  bitUrl = 1u << 22,          // bytes of a URL
  bitIpNumber = 1u << 23,     // 0-9 . :
  bitHtmlParam = 1u << 24,    // what ends a name inside an HTML tag
  bitKeyword = 1u << 25,      // all but the joiners of a keyword line
  bitWordBreak = 1u << 26,    // punctuation that ends a word
  bitWordSep = 1u << 27,      // word separators: bitWordBreak and 00-20
  bitNonBreaking = 1u << 28,  // 7F A0 AD
  bitUseless = 1u << 29,      // filler that spammers put inside words
  bitConsonant = 1u << 30,    // ASCII consonants; "y" counts as a vowel
  bitAntiBayes = 1u << 31,    // letters, ' and -

  bitHost = bitDomain,
  bitAlpha = bitUpper | bitLower,
  bitAccent = bitUpperAccent | bitLowerAccent,
  bitLetter = bitAlpha | bitAccent,
  bitUpperA = bitUpper | bitUpperAccent,
  bitLowerA = bitLower | bitLowerAccent
};

// Classes of the second table, TBLOCK::ExtBitChars. Never mixed with the
// masks above.
enum : uint32_t {
  extBitEntity = 1u << 0,  // # and letters: bytes of an HTML entity's name
  extBitBase64 = 1u << 1   // the base64 alphabet and "="
};

// Flags of TBLOCK::CharStateTable.
enum : uint16_t {
  csCheatAccent = 1  // accented letter used to disguise a plain word
};

class TBLOCK {
 public:
  uint32_t length;
  unsigned char* pointer;

  TBLOCK() : length(0), pointer(nullptr) {}
  // Views n bytes. The const is dropped because one view type serves readers
  // and the operations that edit text in place; only the latter write.
  TBLOCK(const void* bytes, uint32_t n)
      : length(n),
        pointer(static_cast<unsigned char*>(const_cast<void*>(bytes))) {}
  // Views a NUL-terminated text without its NUL; null gives the empty view.
  explicit TBLOCK(const char* text)
      : TBLOCK(text, text ? static_cast<uint32_t>(strlen(text)) : 0) {}

  bool empty() const { return pointer == nullptr || length == 0; }
  void clear() { *this = TBLOCK(); }
  // REQUIRES: i < length and a pointer.
  unsigned char operator[](uint32_t i) const { return pointer[i]; }
  // One past the last byte; null for a null view.
  unsigned char* end() const { return pointer ? pointer + length : nullptr; }

  // Drops the first n bytes, or all of them. A view that is used up keeps its
  // pointer at the end of the text.
  void skip(uint32_t n) {
    if (n > length) n = length;
    if (pointer) pointer += n;
    length -= n;
  }
  // Keeps the first n bytes, or all of them.
  void cut(uint32_t n) {
    if (n < length) length = n;
  }
  // The bytes from `offset` on; empty past the end.
  TBLOCK from(uint32_t offset) const {
    TBLOCK rest = *this;
    rest.skip(offset);
    return rest;
  }
  // The first n bytes, or all of them.
  TBLOCK head(uint32_t n) const {
    TBLOCK front = *this;
    front.cut(n);
    return front;
  }

  // Comparisons. Both sides go through `table`; a byte for byte comparison
  // takes NoConvTable. Two empty views are equal, and every view begins with,
  // ends with and (at `start`, when start <= length) holds the empty one.
  bool equals(TBLOCK other, const unsigned char* table = LowerConvTable) const;
  bool begins(TBLOCK prefix,
              const unsigned char* table = LowerConvTable) const {
    if (prefix.empty()) return true;
    return !empty() && length >= prefix.length &&
           table[pointer[0]] == table[prefix.pointer[0]] &&
           head(prefix.length).equals(prefix, table);
  }
  bool ends(TBLOCK suffix, const unsigned char* table = LowerConvTable) const;
  // Offset of the first occurrence at or behind `start`, or -1.
  int32_t find(TBLOCK text, uint32_t start = 0,
               const unsigned char* table = LowerConvTable) const;
  // The same for one byte, compared as it is.
  int32_t findByte(unsigned char byte, uint32_t start = 0) const {
    if (empty() || start >= length) return -1;
    const void* at = memchr(pointer + start, byte, length - start);
    return at ? static_cast<int32_t>(static_cast<const unsigned char*>(at) -
                                     pointer)
              : -1;
  }
  // Offset of the last occurrence of the byte, or -1.
  int32_t findLastByte(unsigned char byte) const;

  // Most comparisons fail at the first byte, ahead of counting the text's.
  bool equals(const char* text) const {
    return !differsAtOnce(text) && equals(TBLOCK(text));
  }
  bool begins(const char* text) const {
    return !differsAtOnce(text) && begins(TBLOCK(text));
  }
  bool ends(const char* text) const { return ends(TBLOCK(text)); }
  int32_t find(const char* text, uint32_t start = 0) const {
    return find(TBLOCK(text), start);
  }

  // Whether a byte is in any class of the mask.
  static bool Is(unsigned char byte, uint32_t mask) {
    return (BitChars[byte] & mask) != 0;
  }
  // Whether all bytes are in a class of the mask; an empty text's are.
  bool allIn(uint32_t mask) const {
    for (uint32_t i = 0; i < length; i++)
      if (!Is(pointer[i], mask)) return false;
    return true;
  }
  // Bytes at the start that are all in a class of the mask, or none of them.
  uint32_t lengthIn(uint32_t mask) const {
    uint32_t n = 0;
    while (n < length && Is(pointer[n], mask)) n++;
    return n;
  }
  uint32_t lengthUntil(uint32_t mask) const {
    uint32_t n = 0;
    while (n < length && !Is(pointer[n], mask)) n++;
    return n;
  }
  // Whether the table leaves every byte as it is.
  bool unchangedBy(const unsigned char* table) const {
    for (uint32_t i = 0; i < length; i++)
      if (table[pointer[i]] != pointer[i]) return false;
    return true;
  }
  // Trimming removes bytes of a class, TAB LF CR and space unless told
  // otherwise. Vertical tab, form feed, A0 and NUL are no white space.
  void trimLeft(uint32_t mask = bitWhiteSpace) {
    uint32_t n = 0;
    if (!pointer) return;
    while (n < length && Is(pointer[n], mask)) n++;
    skip(n);
  }
  void trimRight(uint32_t mask = bitWhiteSpace) {
    if (!pointer) return;
    while (length > 0 && Is(pointer[length - 1], mask)) length--;
  }
  void trim(uint32_t mask = bitWhiteSpace) {
    trimLeft(mask);
    trimRight(mask);
  }
  // Takes one enclosing pair of equal quotes off, " or '. False without one.
  bool stripQuotes() {
    if (empty() || length < 2 || (pointer[0] != '"' && pointer[0] != '\'') ||
        pointer[length - 1] != pointer[0])
      return false;
    *this = TBLOCK(pointer + 1, length - 2);
    return true;
  }
  // Replaces each byte of the text under the view by table[byte]. WRITES.
  void convert(const unsigned char* table);

  // ---- Tables. Read-only. Codes are those of Windows code page 1252. Values
  // are generated from src/data/*.txt into char_tables.cc; gaps and slips in
  // them are part of the rule data's meaning and stay as they are.

  static const unsigned char NoConvTable[256];
  static const unsigned char UpperToLower[256];
  static const unsigned char UpperConvTable[256];
  static const unsigned char LowerConvTable[256];
  static const unsigned char AsciiConvTable[256];
  static const unsigned char AsciiLowerTable[256];
  static const unsigned char AlphaConvTable[256];
  static const unsigned char SpamSubstTable1[256];
  static const unsigned char SpamSubstTable2[256];
  // Indexed by an ASCII code: use HexValue, DigitValue and Base64Value, which
  // guard the index.
  static const unsigned char Hexatable[128];
  static const unsigned char AsciiDigits[128];
  static const unsigned char Base64DecodeTable[128];
  static const char szBase64CodeTable[65];
  static const uint16_t CharStateTable[256];
  // 26 sets of 256 bits, one for each letter from a to z: byte i>>3, bit i&7.
  static const unsigned char NearTable[26][32];
  static const uint32_t BitChars[256];
  static const uint32_t ExtBitChars[256];

  // Value of a hexadecimal digit; 0 for any other byte.
  static unsigned char HexValue(unsigned char byte) {
    return byte < 0x80 ? Hexatable[byte] : 0;
  }
  // Value of a hexadecimal digit; 0xFF for any other byte.
  static unsigned char DigitValue(unsigned char byte) {
    return byte < 0x80 ? AsciiDigits[byte] : 0xFF;
  }
  // Six-bit value of a base64 character, the byte's top bit ignored; 0xFF for
  // any other, "=" included.
  static unsigned char Base64Value(unsigned char byte) {
    return Base64DecodeTable[byte & 0x7F];
  }

  // ---- Lines, tokens, quotes, pieces: block_text.cc

  // The next line of `rest`: up to LF, less one CR right before it. `rest`
  // moves behind the LF. Without an LF all of `rest` is the line, and `rest`
  // becomes empty. A CR without LF is an ordinary byte.
  static TBLOCK BlockNextLine(TBLOCK& rest);

  // The same for lines that end at CR LF, LF CR or LF, the first of which is
  // told first: "\r\n\r" is that and a lone CR. For headers and lists, where
  // BlockNextLine is for bodies.
  static TBLOCK NextMailLine(TBLOCK& rest);

  // Reads "key <sep> value". On success returns 1 and `block` becomes the
  // value, without white space around it and without the quotes that enclose
  // it; `quoted` tells whether there were any. Otherwise returns 0 with
  // `block` unchanged. White space may stand before the key and around the
  // separator; the key is compared through LowerConvTable. `quoted` starts at
  // 0 in every call. A null key gives 0.
  static int BlockToken(TBLOCK& block, const char* key, unsigned char sep);
  static int BlockToken(TBLOCK& block, const char* key, unsigned char sep,
                        int& quoted);

  // Trims white space, also when nothing else happens, then removes enclosing
  // pairs of equal quotes (" or '), all of them, with the white space inside
  // each. Returns 1 when at least one pair went. Backslashes are left alone.
  // `trimInside` makes no difference: what a pair held is trimmed either way.
  static int BlockUnquote(TBLOCK& block, int trimInside);

  // Prefix test. With `exact` 0 through LowerConvTable: an empty string is a
  // prefix of any block that is not empty. With `exact` set the bytes must be
  // equal and, on purpose, an empty string is no prefix of anything. A null
  // string and an empty block always give false.
  static bool IsBlockPrefixedByStr(TBLOCK block, const char* str, int exact);

  // The words between bytes of any class of `mask`, as views, in order.
  static void GetBlockWordList(TBLOCK block, TBLOCKVECT& words, uint32_t mask);

  // Cuts `rest` at the first `ch`: returns what stands before it and moves
  // `rest` behind it, or onto it with `keep`. Without `ch` the result is all
  // of `rest`, which becomes empty with a null pointer. With `trim` both lose
  // white space on both sides.
  static TBLOCK BlockBeforeChar(TBLOCK& rest, char ch, int trim, int keep);

  // Cuts `rest` before the first byte of `set`: `before` gets what stands
  // there, `rest` starts on that byte, and the result is 1. At the end of the
  // text the result is 0 and `rest` is empty. With `trim` `before` is trimmed
  // in both cases. A NUL in the text is a member of every set.
  static int BlockBeforeSetOfChars(TBLOCK& rest, TBLOCK& before,
                                   const char* set, int trim);

  // Drop bytes of `set` at one end; 1 when something went. A NUL in the text
  // is a member of every set. BlockTrimChars trims the right end only when
  // the left end lost nothing: a deliberate oddity that rules rely on.
  static int BlockLeftTrimChars(TBLOCK& block, const char* set);
  static int BlockRightTrimChars(TBLOCK& block, const char* set);
  static int BlockTrimChars(TBLOCK& block, const char* set);

  // Collapses each run of space, TAB, CR and LF to one space and drops it at
  // the start; one space may stay at the end. With `lineBreaksAreSpace` 0, CR
  // and LF just vanish and so join what stands around them. WRITES; returns
  // the same pointer with the new length.
  static TBLOCK BlockClearSpace(TBLOCK block, int lineBreaksAreSpace);

  // ---- Comparing text that is spaced out: block_compare.cc

  // Number of distinct byte values.
  static int BlockCountChars(TBLOCK block);
  // Sorts the bytes in ascending unsigned order. WRITES.
  static void BlockSort(TBLOCK block);

  // In these three a byte is skipped when it is no letter (bitAlpha) or when
  // it stands in `chars`. Two bytes agree when they are equal or when the
  // first one through LowerConvTable equals the second: only the text side is
  // folded, on purpose, so `b` and `word` are expected in lower case.

  // 1 when both hold the same letters; 0 when either is empty.
  static int BlockCompareWithoutChars(TBLOCK a, TBLOCK b, TBLOCK chars);
  // 1 when `text` begins with `word` and at least one byte of `chars` was
  // skipped on the way: "v.i.a" begins with "via", "via" does not. An empty
  // word gives 0; else an empty text gives 1.
  static int BlockBeginWithoutChars(TBLOCK text, TBLOCK word, TBLOCK chars);
  // 1 when `word` stands so anywhere in `text`. An empty text gives 0; else a
  // word without a letter to compare gives 1.
  static int BlockContainWithoutChars(TBLOCK text, TBLOCK word, TBLOCK chars);

  // ---- Base64, uuencode, quoted-printable: block_decode.cc

  // Whether the block is base64: no line (trimmed) holds two or more bytes
  // that are neither "=" nor base64 characters. With `fix` the block is cut to
  // what stands before the first bad line; the result is true when something
  // is left.
  static bool CheckBlockBase64(TBLOCK& block, int fix);

  // Decodes into dst.pointer; dst.length arrives as the capacity and ends as
  // the number of bytes written. Bytes that are not base64 are skipped.
  // Without `raw` only the stretch that CheckBlockBase64 accepts is decoded,
  // and the text behind it is moved behind the decoded bytes. A last group
  // that is not complete still yields a byte for each character after its
  // first. dst may be src: the output never passes the input.
  static void BlockUnbase64(TBLOCK src, TBLOCK& dst, int raw);

  // Decodes exactly n bytes from the start of `src`; 1 when all were made.
  static int BlockUnbase64Bytes(TBLOCK src, unsigned char* out, int n);

  // Encodes; returns the number of bytes written. Needs (n + 2) / 3 * 4 bytes
  // of room, and that of the line breaks; returns 0 when `src` is empty or
  // the room too small. `alphabet` is 64 characters and a pad character, 65
  // in all, else szBase64CodeTable is taken. With `lineBreak` CR LF follows
  // every 76th character. The end is uneven on purpose: a rest of 2 bytes
  // gives 3 characters and no pad; a rest of 1 gives 2 characters and one
  // `pad` behind them that the result does not count.
  static uint32_t BlockBase64(TBLOCK src, TBLOCK dst, int lineBreak,
                              const char* alphabet, char pad);

  // Replaces the text by its uudecoded form and shortens the view; leaves it
  // alone when it holds no uuencoded file. WRITES.
  static void DecodeUU(TBLOCK& block);

  // Decodes quoted-printable in place and shortens the view. Soft breaks
  // vanish ("=" with CR LF, LF CR, LF or LF CR); "=" with anything but two
  // hexadecimal digits is a literal. WRITES.
  static void DecodeQuotedPrintable(TBLOCK& block);

  // ---- Pixel sizes of pictures, from their base64 text: image_size.cc. 1
  // with the size, or 0 with both numbers unchanged. Of a JPEG at most the
  // first 4096 bytes are searched; of a PNG the low 16 bits of each number are
  // read.

  static int Base64JpegSize(TBLOCK text, uint32_t& width, uint32_t& height);
  static int Base64PngSize(TBLOCK text, uint32_t& width, uint32_t& height);

  // ---- Header fields and MIME pieces: block_header.cc

  // Splits a header into `fields` (emptied first; folds stay inside a field).
  // Returns the offset at which the body begins, the whole length when there
  // is no blank line. With `blankFolds` a fold after a two-byte line end is
  // overwritten by three spaces: WRITES. A fold after a single LF stays as it
  // is.
  static int HeaderToBlocks(TBLOCK& block, TBLOCKVECT& fields, int blankFolds);

  // Splits a header into `fields` (emptied first), with repair: a CR inside a
  // line becomes a space, and with `unfold` a continuation line is joined to
  // its field in the text itself. WRITES. A line that cannot belong to a
  // header ("--...", "This is a multipart...") ends it: `anomaly` goes up by
  // 1 and the body begins there. Returns the offset of the body. `anomaly` is
  // only added to; the caller sets it to 0.
  static int BlockParseHeader(TBLOCK block, TBLOCKVECT& fields, int unfold,
                              int& anomaly);

  // Start of the first line that opens with "--" and the boundary (compared
  // through LowerConvTable) and then ends or goes on with TAB, LF, CR, space,
  // "-" or NUL; null when there is none.
  static unsigned char* BlockFindBoundary(TBLOCK block, TBLOCK boundary);

  // The next piece up to a boundary line, which is consumed. Returns
  //   0   nothing left
  //  -1   no boundary: `part` is all of `rest`, and `rest` becomes empty
  //   1   boundary found; `part` ended in CR LF CR LF
  //   2   boundary found; `part` did not
  // In the cases 1 and 2 `part` loses its trailing white space.
  static int BlockFindNextPart(TBLOCK& rest, TBLOCK& part, TBLOCK boundary);

  // All pieces behind the first boundary; the whole block when there is none.
  static void BlockFindParts(TBLOCK block, TBLOCK boundary, TBLOCKVECT& parts);

 private:
  // Whether both hold a byte and their first ones differ.
  bool differsAtOnce(const char* text) const {
    return !empty() && text && *text &&
           LowerConvTable[pointer[0]] !=
               LowerConvTable[static_cast<unsigned char>(*text)];
  }
};

#endif  // BASE_TBLOCK_H_
