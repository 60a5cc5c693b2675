#include "api/letter_pairs.h"

#include <gtest/gtest.h>
#include <string.h>

#include <memory>
#include <string>

namespace {

std::string Encode(TBLOCK text, int32_t size) {
  std::unique_ptr<char[]> out(new char[static_cast<size_t>(size)]);
  EncodeLetterPairs(text, out.get(), size);
  return out.get();
}

// 'A' is 65 = 3 * 17 + 14, 0xFF is 15 * 17.
TEST(LetterPairsTest, OrderOfTheLettersTurnsWithEachByte) {
  EXPECT_EQ(
      "te"
      "et"
      "te",
      Encode(TBLOCK("AAA"), 7));
  const char bytes[] = {static_cast<char>(0xFF), 0, 16};
  EXPECT_EQ(
      "fq"
      "bf"
      "vb",
      Encode(TBLOCK(bytes, 3), 7));
}

TEST(LetterPairsTest, ACutMayFallInsideAPair) {
  const char* const cuts[] = {"", "t", "te", "tee", "teet"};
  for (int32_t size = 1; size <= 5; size++)
    EXPECT_EQ(cuts[size - 1], Encode(TBLOCK("AA"), size));
  EXPECT_EQ("teet", Encode(TBLOCK("AA"), 99));
  EXPECT_EQ("", Encode(TBLOCK(), 1));
}

// Every byte at both places comes back by the reverse rule.
TEST(LetterPairsTest, Reversible) {
  for (int b = 0; b < 256; b++) {
    const char bytes[] = {static_cast<char>(b), static_cast<char>(b)};
    const std::string pairs = Encode(TBLOCK(bytes, 2), 5);
    ASSERT_EQ(4u, pairs.size());
    EXPECT_EQ(b, (pairs[1] - 'b') * 17 + (pairs[0] - 'f'));
    EXPECT_EQ(b, (pairs[2] - 'b') * 17 + (pairs[3] - 'f'));
  }
}

}  // namespace
