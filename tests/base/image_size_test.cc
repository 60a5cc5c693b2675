// Sizes of pictures. Their text is made by encoding bytes, so that a marker is
// met in every place of a group of three.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"

namespace {

std::string Encode(const std::string& bytes) {
  std::string out(bytes.size() * 2 + 4, 0);
  const uint32_t n =
      TBLOCK::BlockBase64(TBLOCK(bytes.data(), bytes.size()),
                          TBLOCK(out.data(), out.size()), 0, nullptr, '=');
  return out.substr(0, n);
}

std::string Size(bool jpeg, const std::string& base64) {
  const HeapText text(base64);
  uint32_t width = 1, height = 2;
  const int found = jpeg ? TBLOCK::Base64JpegSize(text.view(), width, height)
                         : TBLOCK::Base64PngSize(text.view(), width, height);
  const std::string size = std::to_string(width) + "x" + std::to_string(height);
  // Nothing found leaves both as they were.
  return found == 1 ? size : size == "1x2" ? "none" : "changed";
}

TEST(ImageSizeTest, JpegAtEveryPlaceOfAGroup) {
  const std::string rest(40, '\0');
  for (size_t before = 20; before < 26; before++)
    for (const char* kind : {"\xC0", "\xC2"})
      for (const char* length : {"\x11", "\x0B"}) {
        const std::string frame = std::string("\xFF") + kind + '\0' + length +
                                  "\x08\x01\xC2\x02\x81" + rest;
        const std::string text = Encode(std::string(before, 'j') + frame);
        SCOPED_TRACE(text);
        EXPECT_EQ("641x450", Size(true, text));
        // A line break between any two characters hides nothing.
        for (size_t at = 1; at < text.size(); at++) {
          std::string broken = text;
          EXPECT_EQ("641x450", Size(true, broken.insert(at, "\r\n"))) << at;
        }
        for (size_t n = 0; n < text.size(); n++) Size(true, text.substr(0, n));
      }
}

TEST(ImageSizeTest, LimitsOfTheSearch) {
  const std::string frame = "/8AAEQgBwgKB";
  const std::string tail(40, 'A');
  const std::string before(4096 - 33, 'A');
  const struct {
    std::string text;
    const char* size;
  } jpegs[] = {
      {frame + tail, "641x450"},
      {"////" + frame + tail, "641x450"},
      {frame + tail.substr(0, 21), "641x450"},
      {frame + tail.substr(0, 20), "none"},
      {before + frame + tail, "641x450"},
      {before + "A" + frame + tail, "none"},
      {"/8aaEQgBwgKB" + tail, "none"},
      // Too little behind the marker that could be decoded.
      {"/8AAEQgBwgK" + std::string(40, '='), "none"},
      {"", "none"},
  };
  for (const auto& row : jpegs) EXPECT_EQ(row.size, Size(true, row.text));

  const std::string png = Encode(std::string(16, 'p') +
                                 std::string("\x01\0\x02\x81\0\0\x01\xC2", 8));
  EXPECT_EQ("641x450", Size(false, png));
  EXPECT_EQ("none", Size(false, png.substr(0, 31)));
  EXPECT_EQ("none", Size(false, png.substr(0, 31) + "="));
  EXPECT_EQ("none", Size(false, ""));
}

}  // namespace
