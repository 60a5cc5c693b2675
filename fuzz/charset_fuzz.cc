// Bodies in every character set and transfer encoding. The first byte names
// the set, the second one the encoding; the rest is the text, in a buffer of
// exactly its size. What is converted in place has to be the same as what is
// converted into a buffer of its own.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "fuzz_util.h"
#include "message/charset.h"

static uint64_t Sum(const TCharset& charset) {
  uint64_t sum = 0;
  for (uint32_t count : charset.zoneCounts) sum += count;
  return sum;
}

// Converts in both ways; `text` ends up in code page 1252, with its marks.
static TCharset Convert(const char* name, TBLOCK& text) {
  TCharset charset;
  charset.setName(TBLOCK(name));
  TCharset apart = charset;
  const std::unique_ptr<unsigned char[]> room(new unsigned char[text.length]);
  TBLOCK dest(room.get(), text.length);
  const uint32_t before = text.length;
  const bool done = apart.blockToCp1252(text, dest);
  Check(charset.blockToCp1252(text, text) == done);
  Check(text.length <= before);
  if (done)
    Check(text.length == dest.length &&
          (text.empty() || !memcmp(text.pointer, room.get(), text.length)));
  Check(
      !memcmp(charset.zoneCounts, apart.zoneCounts, sizeof charset.zoneCounts));
  return charset;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const char* const kEncodings[] = {
      "q", "quoted-printable", "b", "base64", "8bit", ""};
  if (size < 2) return 0;
  const HeapText copy(bytes + 2, size - 2);
  const TBLOCK whole = copy.view();
  TBLOCK text = whole;
  // Row 36 is the empty name, 37 an unknown one.
  const uint32_t row = bytes[0] % 38;
  const char* name = row < 37 ? TCharset::CharsetNames[row] : "x-none";
  const TBLOCK encoding(kEncodings[bytes[1] % 6]);
  DecodeCharset(text, text, nullptr, encoding, bytes[1] >> 7);
  Check(text.length <= whole.length &&
        (text.empty() || text.pointer == whole.pointer));

  TCharset charset = Convert(name, text);
  const uint64_t folded = Sum(charset);
  Check(folded <= text.length);
  charset.zoneUpdate(text);
  Check(Sum(charset) == folded + text.length);
  // No mark is left.
  const uint32_t marks = charset.markCount;
  charset.zoneUpdate(text);
  Check(charset.markCount == marks);
  for (int32_t zone = 0; zone < czCount; zone++)
    charset.checkZone(static_cast<TCHARZONE>(zone));
  return 0;
}
