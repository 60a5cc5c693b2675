// Sizes of pictures, read from the base64 text of bytes made here.

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

std::string Encode(const std::string& bytes) {
  std::string out(bytes.size() * 2 + 4, 0);
  out.resize(TBLOCK::BlockBase64(TBLOCK(bytes.data(), bytes.size()),
                                 TBLOCK(out.data(), out.size()), 0, 0, '='));
  return out;
}

// "1x2", which no picture here has, when nothing is found or changed.
std::string Size(bool jpeg, const std::string& base64) {
  const HeapText text(base64);
  uint32_t width = 1, height = 2;
  const int found = jpeg ? TBLOCK::Base64JpegSize(text.view(), width, height)
                         : TBLOCK::Base64PngSize(text.view(), width, height);
  EXPECT_EQ(found == 0, width == 1 && height == 2);
  return std::to_string(width) + "x" + std::to_string(height);
}

TEST(ImageSizeTest, ReadFromBase64) {
  const std::string size("\x02\x81\0\0\x01\xC2", 6), tail(40, 'A');
  // The marker in every place of a group of three, and broken in any place.
  for (int i = 0; i < 12; i++) {
    const std::string text = Encode(std::string(20 + i % 3, 'j') +
                                    (i / 3 % 2 ? "\xFF\xC0" : "\xFF\xC2") +
                                    '\0' + (i < 6 ? "\x11\x08" : "\x0B\x08") +
                                    size.substr(4) + size + tail);
    EXPECT_EQ("641x450", Size(true, text)) << text;
    for (size_t at = 1; at < text.size(); at++)
      EXPECT_EQ("641x450", Size(true, std::string(text).insert(at, "\r\n")));
  }
  const std::string frame = "/8AAEQgBwgKB", far(4096 - 33, 'A');
  EXPECT_EQ("641x450", Size(true, "///" + frame + tail.substr(0, 21)));
  EXPECT_EQ("1x2", Size(true, frame + tail.substr(0, 20)));
  EXPECT_EQ("641x450", Size(true, far + frame + tail));
  EXPECT_EQ("1x2", Size(true, far + "A" + frame + tail));
  EXPECT_EQ("1x2", Size(true, "/" + std::string(40, '\r')));
  EXPECT_EQ("1x2", Size(true, "/8AAEQgBwgK" + std::string(40, '=')));

  const std::string png = Encode(std::string(18, 'p') + size);
  EXPECT_EQ("641x450", Size(false, png));
  for (size_t n = 0; n < png.size(); n++)
    EXPECT_EQ("1x2", Size(false, png.substr(0, n)));
}

}  // namespace
