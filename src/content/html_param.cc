// Attributes of a tag, by name and one by one, and URLs with their disguise
// taken off. Attributes are read as browsers of the sloppy kind do.
// Entries: GetTagParamValue, GetNextTagParam, DecodeUrl. Tested by
// html_item_test.cc.

#include "content/html_item.h"

namespace {

bool IsBlank(unsigned char byte) {
  return TBLOCK::Is(byte, bitWhiteSpace);
}
bool IsQuote(unsigned char byte) {
  return byte == '"' || byte == '\'';
}

// ---- By name

// Offset of a name, in which "~" stands for any byte; -1 when it is absent.
int32_t FindName(TBLOCK text, const char* name, uint32_t size) {
  const unsigned char* const fold = TBLOCK::LowerConvTable;
  if (size == 0 || text.length < size) return -1;
  const unsigned char* const letters =
      reinterpret_cast<const unsigned char*>(name);
  const unsigned char first = fold[letters[0]];
  const unsigned char* const last = text.pointer + text.length - size;
  for (const unsigned char* p = text.pointer; p <= last; p++) {
    if (fold[*p] != first && first != '~') continue;
    uint32_t i = 1;
    while (i < size && (fold[p[i]] == fold[letters[i]] || letters[i] == '~'))
      i++;
    if (i == size) return static_cast<int32_t>(p - text.pointer);
  }
  return -1;
}

// The value of an attribute, from behind its name and white space.
TBLOCK ReadValue(TBLOCK text) {
  if (!text.empty() && text[0] == '=') text.skip(1);
  text.trimLeft();
  uint32_t n = 0;
  if (!text.empty() && IsQuote(text[0])) {
    const int32_t close = text.findByte(text[0], 1);
    if (close >= 0) text.cut(static_cast<uint32_t>(close));
    text.skip(1);
  } else {
    while (n < text.length && !IsBlank(text[n]) && !IsQuote(text[n]) &&
           text[n] != '>')
      n++;
    text.cut(n);
  }
  text.trim();
  return text;
}

// ---- URLs

// What an ordinary reader would write plainly.
bool IsPlain(unsigned char byte) {
  return TBLOCK::Is(byte, bitAlpha | bitDigit);
}

bool EndsUrl(unsigned char byte) {
  return byte < 0x20 && !IsBlank(byte);
}

// Whether the byte stands for itself at any place.
bool IsOrdinary(unsigned char byte) {
  return byte >= 0x20 && byte != '%' && byte != '&' && byte != '\\';
}

// One walk over a URL; the output never passes the input.
struct URLCLEANER {
  TBLOCK in;           // what is left of the input
  unsigned char* out;  // where the next byte goes
  unsigned char last;  // what was written last, if anything
  uint32_t disguised;
  bool query;  // a "?" was written
  bool file;   // of the form "file:..."

  void write(unsigned char byte) {
    if (byte == '?') query = true;
    last = byte;
    *out++ = byte;
  }
  void writeDecoded(unsigned char byte) {
    if (IsPlain(byte)) disguised++;
    write(byte);
  }
  void percent();
  void backslash();
  void step();
};

void URLCLEANER::percent() {
  if (in.length > 2 && TBLOCK::Is(in[1], bitHexa) &&
      TBLOCK::Is(in[2], bitHexa)) {
    const uint32_t value =
        TBLOCK::HexValue(in[1]) * 16u + TBLOCK::HexValue(in[2]);
    if (value != 0) {
      in.skip(3);
      writeDecoded(static_cast<unsigned char>(value));
      return;
    }
  }
  in.skip(1);
  write('%');
}

// Beside a slash it is one. Elsewhere it takes a place that is not written to,
// so that whatever stands there stays: deliberate.
void URLCLEANER::backslash() {
  in.skip(1);
  if (last == '/' || (!in.empty() && in[0] == '/')) {
    if (!file) disguised++;
    write('/');
  } else {
    out++;
  }
}

void URLCLEANER::step() {
  const unsigned char byte = in[0];
  if (byte == '%') {
    percent();
  } else if (byte == '\\') {
    backslash();
  } else if (byte == '&' && !query) {
    writeDecoded(DecodeEntity(in, nullptr));
  } else {
    in.skip(1);
    if (byte == ' ' || !IsBlank(byte)) write(byte);
  }
}

}  // namespace

int GetTagParamValue(TBLOCK tag, const char* name, TBLOCK& value) {
  value.clear();
  if (tag.empty() || !name) return 0;
  const uint32_t size = static_cast<uint32_t>(strlen(name));
  TBLOCK text = tag;
  for (;;) {
    const int32_t at = FindName(text, name, size);
    // So close to the start there is no room for an attribute before it.
    if (at < 2) return 0;
    const unsigned char before = text[static_cast<uint32_t>(at) - 1];
    text.skip(static_cast<uint32_t>(at) + size);
    if (!IsBlank(before) && !IsQuote(before)) continue;
    TBLOCK rest = text;
    rest.trimLeft();
    if (rest.empty()) return 0;
    if (rest[0] == '=' || rest[0] == '"' || rest.begins("http")) {
      value = ReadValue(rest);
      return 1;
    }
  }
}

int GetFirstTagParam(TBLOCK& cursor, TBLOCK& name, TBLOCK& value) {
  cursor.trimLeft();
  cursor.skip(cursor.lengthUntil(bitWhiteSpace));
  return GetNextTagParam(cursor, name, value);
}

int GetNextTagParam(TBLOCK& cursor, TBLOCK& name, TBLOCK& value) {
  name.clear();
  value.clear();
  cursor.trimLeft(bitHtmlParam);  // white space too
  if (cursor.empty()) return 0;
  name = cursor.head(cursor.lengthUntil(bitHtmlParam));
  cursor.skip(name.length);
  cursor.trimLeft();
  if (cursor.empty() || cursor[0] != '=') return 0;
  cursor.skip(1);
  cursor.trimLeft();
  if (cursor.empty()) return 0;
  uint32_t n = 0;
  if (IsQuote(cursor[0])) {
    const int32_t close = cursor.findByte(cursor[0], 1);
    cursor.skip(1);
    n = close < 0 ? cursor.length : static_cast<uint32_t>(close) - 1;
  } else {
    while (n < cursor.length && !IsBlank(cursor[n]) && cursor[n] != '>') n++;
  }
  value = cursor.head(n);
  value.trim();
  cursor.skip(n + 1);
  return 1;
}

TBLOCK DecodeUrl(TBLOCK& url, int32_t& hidden) {
  url.trim();
  uint32_t n = 0;
  while (n < url.length && IsOrdinary(url[n])) n++;
  if (n == url.length) return url;
  // These ask for the URL as it came.
  const bool trusted =
      url.find("ingdirect") >= 0 || url.find("ticketmaster") >= 0;
  URLCLEANER cleaner = {url, url.pointer, 0, 0, false, url.begins("file:")};
  while (!cleaner.in.empty() && !EndsUrl(cleaner.in[0])) cleaner.step();
  const uint32_t length = static_cast<uint32_t>(cleaner.out - url.pointer);
  memset(cleaner.out, ' ', url.length - length);
  const TBLOCK result = url.head(length);
  if (cleaner.disguised > 0 && !trusted && result.findByte('@') < 0) hidden++;
  return result;
}
