// Digests: the examples of RFC 1321, and texts around the sizes at which the
// padding changes, whose digests were made by md5sum.

#include "base/md5.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

std::string Hex(const unsigned char* digest) {
  std::string out;
  for (uint32_t i = 0; i < MD5::kDigestBytes; i++)
    for (int shift : {4, 0}) out += "0123456789abcdef"[digest[i] >> shift & 15];
  return out;
}

// Byte i is 7i + n.
std::string Bytes(int n) {
  std::string out;
  for (int i = 0; i < n; i++) out += static_cast<char>(7 * i + n);
  return out;
}

TEST(Md5Test, DigestsInAnyPieces) {
  const struct {
    std::string text;
    const char* digest;
  } rows[] = {{"", "d41d8cd98f00b204e9800998ecf8427e"},
              {"abc", "900150983cd24fb0d6963f7d28e17f72"},
              {Bytes(55), "f1289732253518750e22b62a571a1748"},
              {Bytes(56), "179e3b9fa272a23e2a8b32bde1015414"},
              {Bytes(63), "dd785945d1d6b87eca0d276dbb8756fd"},
              {Bytes(64), "e3ab394ce4eb7da020a27d2e2443143c"},
              {Bytes(119), "d49720530a386a3191eac0dc840dd1bd"},
              {Bytes(120), "8a440004b569286a42c722295ce1c5a6"},
              {Bytes(1000), "c3b2968d34e038455d14c8827156e193"}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    const uint32_t n = text.view().length;
    for (uint32_t piece : {1u, 63u, 64u, 65u, 1000u}) {
      MD5 md5;
      for (uint32_t at = 0; at < n; at += piece)
        md5.add(text.view().from(at).head(piece));
      EXPECT_EQ(row.digest, Hex(md5.get())) << n << " by " << piece;
      md5.add(TBLOCK("more"));
      EXPECT_EQ(row.digest, Hex(md5.get()));
    }
  }
}

}  // namespace
