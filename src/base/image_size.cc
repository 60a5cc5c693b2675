// Pixel sizes of JPEG and PNG pictures, read from their base64 text. A PNG has
// its size at a fixed place. A JPEG has it in its start-of-frame segment, FF C0
// or FF C2, a length of 11 or 17, a precision of 8, height and width; in base64
// these bytes give one of three texts, by where in a group of three the FF
// falls, and each comes right behind a "/". So only a few bytes are decoded.
//
// Entries: Base64JpegSize, Base64PngSize. Tested by image_size_test.cc.

#include "base/byte_order.h"
#include "base/tblock.h"

namespace {

// How much of a JPEG is searched; bounds the cost of a large picture.
const uint32_t kJpegSearched = 4096;
// Text that has to follow a "/": enough for every marker and its numbers.
const uint32_t kJpegRest = 32;

// The numbers stand `skip` characters behind the "/"; of what is decoded from
// there the first `before` bytes are not theirs.
struct JpegMarker {
  const char* text;
  uint32_t skip;
  uint32_t before;
};

const JpegMarker kJpegMarkers[] = {
    {"8AAEQg", 3, 2}, {"8AACwg", 3, 2}, {"8IAEQg", 3, 2}, {"8IACwg", 3, 2},
    {"AABEI", 5, 0},  {"AAAsI", 5, 0},  {"CABEI", 5, 0},  {"CAAsI", 5, 0},
    {"wAARCA", 4, 1}, {"wgARCA", 4, 1}, {"wAALCA", 4, 1}, {"wgALCA", 4, 1},
};

bool IsLineEnd(unsigned char c) {
  return c == '\r' || c == '\n';
}

// Whether the text, its line ends left out, begins with the marker.
bool BeginsWithMarker(TBLOCK text, const char* marker) {
  uint32_t i = 0;
  while (*marker) {
    while (i < text.length && IsLineEnd(text[i])) i++;
    if (i == text.length || text[i] != static_cast<unsigned char>(*marker))
      return false;
    i++;
    marker++;
  }
  return true;
}

// Drops n characters; line ends among them are dropped but not counted.
void SkipCharacters(TBLOCK& text, uint32_t n) {
  uint32_t i = 0;
  while (i < text.length && n > 0)
    if (!IsLineEnd(text[i++])) n--;
  text.skip(i);
}

bool ReadJpegSize(TBLOCK text, const JpegMarker& marker, uint32_t& width,
                  uint32_t& height) {
  unsigned char bytes[6];
  SkipCharacters(text, marker.skip);
  if (!TBLOCK::BlockUnbase64Bytes(text, bytes,
                                  static_cast<int>(marker.before + 4)))
    return false;
  height = Big16(bytes + marker.before);
  width = Big16(bytes + marker.before + 2);
  return true;
}

}  // namespace

int TBLOCK::Base64JpegSize(TBLOCK text, uint32_t& width, uint32_t& height) {
  TBLOCK rest = text.head(kJpegSearched);
  for (;;) {
    const int32_t slash = rest.findByte('/');
    if (slash < 0) return 0;
    rest.skip(static_cast<uint32_t>(slash) + 1);
    if (rest.length < kJpegRest) return 0;
    for (const JpegMarker& marker : kJpegMarkers)
      if (BeginsWithMarker(rest, marker.text) &&
          ReadJpegSize(rest, marker, width, height))
        return 1;
  }
}

int TBLOCK::Base64PngSize(TBLOCK text, uint32_t& width, uint32_t& height) {
  // The last letter of "IHDR", then two numbers of four bytes, of which only
  // the low halves are looked at.
  unsigned char bytes[9];
  if (text.empty() || text.length <= 31 ||
      !BlockUnbase64Bytes(text.from(20), bytes, sizeof bytes))
    return 0;
  width = Big16(bytes + 3);
  height = Big16(bytes + 7);
  return 1;
}
