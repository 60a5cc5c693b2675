// Character sets: blocks of text, from the transfer encoding to code page
// 1252. The entries are DecodeCharset for bodies, DecodeInlineCharset for
// header values, and TCharset::blockToCp1252 under both.
//
// Every conversion reads a character before it writes the one byte that stands
// for it, so a text can be converted in its own bytes. Tested by
// charset_test.cc.

#include "data/charset_tables.h"
#include "message/charset.h"

namespace {

const unsigned char kEscape = 0x1B;

void CopyText(TBLOCK src, TBLOCK& dest) {
  dest.length = src.empty() ? 0 : src.length;
  if (dest.length) memmove(dest.pointer, src.pointer, dest.length);
}

// Sets the length of a text that was written up to `out`.
void EndText(TBLOCK& dest, const unsigned char* out) {
  dest.length = out ? static_cast<uint32_t>(out - dest.pointer) : 0;
}

}  // namespace

bool TCharset::blockToCp1252(TBLOCK src, TBLOCK& dest) {
  switch (family) {
    case cfWindows:
      wcpToCp1252(src, dest);
      return true;
    case cfIso:
      isoToCp1252(src, dest);
      return true;
    case cfUnicode:
      blockUtfToCp1252(src, dest);
      return true;
    case cfSingle:
      altToCp1252(src, dest);
      return true;
    case cfEscape:
      block2022ToCp1252(src, dest);
      return true;
    case cfDoubleByte:
      blockDbcsToCp1252(src, dest);
      return true;
    default:
      // Escapes speak for themselves, but only where no name does.
      if (!name.empty() || !isBlockIso2022(src)) return false;
      block2022ToCp1252(src, dest);
      return true;
  }
}

// ---- One byte a character. ASCII is itself in all of these sets and in code
// page 1252.

void TCharset::wcpToCp1252(TBLOCK src, TBLOCK& dest) {
  CopyText(src, dest);
  if (index == 0) return;
  for (uint32_t i = AsciiLength(dest); i < dest.length;
       i++, i += AsciiLength(dest.from(i)))
    dest.pointer[i] = ucToCp1252(WcpToUc(dest[i], index));
}

void TCharset::isoToCp1252(TBLOCK src, TBLOCK& dest) {
  CopyText(src, dest);
  if (index == 1) return;
  for (uint32_t i = AsciiLength(dest); i < dest.length;
       i++, i += AsciiLength(dest.from(i)))
    dest.pointer[i] = ucToCp1252(IsoToUc(dest[i], index));
}

void TCharset::altToCp1252(TBLOCK src, TBLOCK& dest) {
  CopyText(src, dest);
  for (uint32_t i = AsciiLength(dest); i < dest.length;
       i++, i += AsciiLength(dest.from(i)))
    dest.pointer[i] = ucToCp1252(AltToUc(dest[i], index));
}

// ---- Unicode

void TCharset::blockUtfToCp1252(TBLOCK src, TBLOCK& dest) {
  if (index == 0)
    blockUtf8ToCp1252(src, dest);
  else
    blockUtf7ToCp1252(src, dest);
}

void TCharset::blockUtf8ToCp1252(TBLOCK src, TBLOCK& dest) {
  // Nothing to do, as in most texts. What is code page 1252 under a wrong
  // label comes through unharmed too.
  if (!BlockContainsUtf8(src)) {
    CopyText(src, dest);
    return;
  }
  unsigned char* out = dest.pointer;
  uint32_t codePoint = 0;
  for (;;) {
    const uint32_t plain = AsciiLength(src);
    if (plain) memmove(out, src.pointer, plain);
    out += plain;
    src.skip(plain);
    const uint32_t n = Utf8ToUc(src, codePoint);
    if (n == 0) break;
    *out++ = n == 1 ? src[0] : ucToCp1252(codePoint);
    src.skip(n);
  }
  EndText(dest, out);
}

namespace {

// Reads one run of base64 behind its "+" and leaves `rest` on what ended it, or
// at the end. Bits that do not fill a code point are dropped, and a byte that
// is no base64 has none; it does not end the run, on purpose.
void DecodeUtf7Run(TCharset& charset, TBLOCK& rest, unsigned char*& out) {
  uint32_t bits = 0;
  uint32_t count = 0;
  for (; !rest.empty(); rest.skip(1)) {
    const unsigned char byte = rest[0];
    if (byte == '\r' || byte == '\n' || byte == '-') return;
    const unsigned char value = TBLOCK::Base64Value(byte);
    if (byte >= 0x80 || value >= 64) continue;
    bits = bits << 6 | value;
    count += 6;
    if (count < 16) continue;
    count -= 16;
    *out++ = charset.ucToCp1252(bits >> count & 0xFFFF);
  }
}

}  // namespace

void TCharset::blockUtf7ToCp1252(TBLOCK src, TBLOCK& dest) {
  unsigned char* out = dest.pointer;
  while (!src.empty()) {
    const unsigned char byte = src[0];
    src.skip(1);
    if (byte != '+' || src.empty()) {
      *out++ = byte;
      continue;
    }
    if (src[0] == '-')
      *out++ = '+';
    else
      DecodeUtf7Run(*this, src, out);
    // A line end is text of its own.
    if (!src.empty() && src[0] == '-') src.skip(1);
  }
  EndText(dest, out);
}

// ---- East Asian sets. Their characters are counted, not decoded.

void TCharset::blockDbcsToCp1252(TBLOCK src, TBLOCK& dest) {
  const unsigned char mark = index < 5 ? CHUNK_ASIAN : CHUNK;
  unsigned char* out = dest.pointer;
  while (!src.empty()) {
    const bool pair = src[0] >= 0x80;
    *out++ = pair ? mark : src[0];
    src.skip(pair ? 2 : 1);
  }
  EndText(dest, out);
}

namespace {

// The escape sequences of ISO-2022-JP, -KR and -CN. The first kSingleRows are
// for sets of one byte a character, the others for two.
const int32_t kSingleRows = 2;
const char _Iso2022Esc[21][8] = {
    "\x1B(B",  "\x1B(J",  // ASCII, JIS Roman
    "\x1B$(C", "\x1B$(D", "\x1B$)A", "\x1B$)C", "\x1B$)E", "\x1B$)G", "\x1B$*H",
    "\x1B$+I", "\x1B$+J", "\x1B$+K", "\x1B$+L", "\x1B$+M", "\x1B$(A", "\x1B$(B",
    "\x1B$(@", "\x1B$(O", "\x1B$@",  "\x1B$A",  "\x1B$B",
};

}  // namespace

int32_t getIso2022Esc(TBLOCK& rest) {
  if (rest.empty() || rest[0] != kEscape) return -1;
  for (int32_t row = 0; row < 21; row++) {
    const TBLOCK escape(_Iso2022Esc[row]);
    if (!rest.begins(escape, TBLOCK::NoConvTable)) continue;
    rest.skip(escape.length);
    return row;
  }
  return -1;
}

bool isBlockIso2022(TBLOCK text) {
  int32_t at = -1;
  while ((at = text.findByte(kEscape)) >= 0) {
    text.skip(static_cast<uint32_t>(at));
    if (getIso2022Esc(text) >= 0) return true;
    text.skip(1);
  }
  return false;
}

namespace {

// Reads text of two bytes a character up to and with the escape that ends it.
// Line ends are halves like any other byte.
void decode2022ToCp1252(TBLOCK& rest, unsigned char*& out) {
  bool half = false;  // a first byte was read
  while (!rest.empty()) {
    const int32_t row = getIso2022Esc(rest);
    if (row < 0) rest.skip(1);
    // The mark is written with the first half; an escape drops the second.
    if (row < 0 && !half) *out++ = CHUNK_ASIAN;
    half = row < 0 && !half;
    if (row >= 0 && row < kSingleRows) return;
  }
}

}  // namespace

void TCharset::block2022ToCp1252(TBLOCK src, TBLOCK& dest) {
  unsigned char* out = dest.pointer;
  while (!src.empty()) {
    const int32_t row = getIso2022Esc(src);
    if (row >= kSingleRows) {
      decode2022ToCp1252(src, out);
    } else if (row < 0) {
      *out++ = src[0];
      src.skip(1);
    }
  }
  EndText(dest, out);
}

// ---- Bodies and header values

void DecodeCharset(TBLOCK src, TBLOCK& dest, TCharset* charset, TBLOCK encoding,
                   int checkedBase64) {
  dest = src;
  if (encoding.equals("q") || encoding.equals("quoted-printable"))
    TBLOCK::DecodeQuotedPrintable(dest);
  else if (encoding.equals("b") || encoding.equals("base64"))
    TBLOCK::BlockUnbase64(src, dest, checkedBase64);
  if (!charset) return;
  charset->blockToCp1252(dest, dest);
  charset->zoneUpdate(dest);
}

namespace {

// Reads up to the next "?", which goes; false when there is none.
bool TakeField(TBLOCK& rest, TBLOCK& field) {
  const int32_t end = rest.findByte('?');
  if (end < 0) return false;
  field = rest.head(static_cast<uint32_t>(end));
  rest.skip(field.length + 1);
  return true;
}

struct EncodedWord {
  TBLOCK charset, encoding, text;
};

// Reads a word behind its "=?"; false, with `rest` as it was, when it is not
// complete.
bool TakeWord(TBLOCK& rest, EncodedWord& word) {
  TBLOCK inner = rest;
  if (!TakeField(inner, word.charset) || !TakeField(inner, word.encoding))
    return false;
  const int32_t end = inner.find(TBLOCK("?="), 0, TBLOCK::NoConvTable);
  if (end < 0) return false;
  word.text = inner.head(static_cast<uint32_t>(end));
  rest = inner.from(word.text.length + 2);
  return true;
}

// Decodes a word behind what `out` has.
void AppendWord(const EncodedWord& word, TCharset& charset, BLOCK& out) {
  charset.setName(word.charset);
  const uint32_t start = out.length;
  if (word.text.empty() || !out.add(word.text)) return;
  TBLOCK text = out.view().from(start);
  if (word.encoding.equals("q"))
    for (uint32_t i = 0; i < text.length; i++)
      if (text[i] == '_') text.pointer[i] = ' ';
  DecodeCharset(text, text, &charset, word.encoding, 0);
  out.length = start + text.length;
}

}  // namespace

void DecodeInlineCharset(TBLOCK text, TCharset* charset, BLOCK& out) {
  TCharset unused;
  if (!charset) charset = &unused;
  charset->clear();
  out.empty();
  EncodedWord word;
  while (!text.empty()) {
    const int32_t at = text.find(TBLOCK("=?"), 0, TBLOCK::NoConvTable);
    const TBLOCK plain = at < 0 ? text : text.head(static_cast<uint32_t>(at));
    TBLOCK rest = text.from(plain.length + 2);
    // Where one word finds no end, none behind it does: all is plain.
    if (at < 0 || !TakeWord(rest, word)) {
      out.add(text);
      return;
    }
    out.add(plain);
    AppendWord(word, *charset, out);
    text = rest;
  }
}
