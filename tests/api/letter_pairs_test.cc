#include "api/letter_pairs.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

std::string Encode(const std::string& bytes, int32_t size) {
  const HeapText text(bytes), out(std::string(size, '?'));
  EncodeLetterPairs(text.view(), reinterpret_cast<char*>(out.view().pointer),
                    size);
  return out.str().c_str();
}

// 'A' is 65 = 3 * 17 + 14, 0xFF is 15 * 17; a cut may fall inside a pair.
TEST(LetterPairsTest, OrderOfTheLettersTurnsWithEachByte) {
  EXPECT_EQ("teette", Encode("AAA", 7));
  EXPECT_EQ("fqbfvb", Encode(std::string("\xFF\0\x10", 3), 7));
  for (int32_t size = 1; size <= 9; size++)
    EXPECT_EQ(std::string("teet").substr(0, size - 1), Encode("AA", size));
  EXPECT_EQ("", Encode("", 1));
}

}  // namespace
