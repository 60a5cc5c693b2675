#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/tblock.h"

namespace {

TEST(BlockCompareTest, CompareWithoutChars) {
  const struct {
    const char *a, *b, *chars;
    int equal;
  } rows[] = {{"v.i.a", "via", "", 1},  {"VIA", "via", "", 1},
              {"via", "VIA", "", 0},    {"vxia", "via", "x", 1},
              {"via", "vxia", "x", 1},  {"via!", "via", "", 1},
              {"viag", "via", "", 0},   {"via", "viag", "", 0},
              {"", "via", "", 0},       {"...", "12", "", 1},
              {"vi\xE0", "via", "", 0}, {"vi\xE0", "vi", "", 1}};
  for (const auto& row : rows) {
    const HeapText a(row.a), b(row.b), chars(row.chars);
    EXPECT_EQ(row.equal, TBLOCK::BlockCompareWithoutChars(a.view(), b.view(),
                                                          chars.view()))
        << row.a << " and " << row.b;
  }
}

// Every position that agrees is tried on its own.
int ModelContain(TBLOCK text, TBLOCK word, TBLOCK chars) {
  if (text.empty()) return 0;
  while (!word.empty() &&
         (!TBLOCK::Is(word[0], bitAlpha) || chars.findByte(word[0]) >= 0))
    word.skip(1);
  if (word.empty()) return 1;
  for (; !text.empty(); text.skip(1))
    if ((text[0] == word[0] || TBLOCK::LowerConvTable[text[0]] == word[0]) &&
        TBLOCK::BlockBeginWithoutChars(text, word, chars))
      return 1;
  return 0;
}

TEST(BlockCompareTest, ContainWithoutCharsAgainstModel) {
  const char* const words[] = {"ab", "aab", "aba", ".a-b", "ba.b", "Ab", "x"};
  const char* const sets[] = {".", "\xE0", "b", "", "A."};
  std::string bytes;
  int hits = 0;
  for (uint32_t length = 0; length <= 5; length++)
    for (uint32_t i = 0; NthText(i, length, "abA.\xE0", bytes); i++) {
      const HeapText text(bytes);
      for (const char* word : words)
        for (const char* set : sets) {
          const int found = TBLOCK::BlockContainWithoutChars(
              text.view(), TBLOCK(word), TBLOCK(set));
          ASSERT_EQ(ModelContain(text.view(), TBLOCK(word), TBLOCK(set)), found)
              << bytes << ": " << word << " without " << set;
          hits += found;
        }
    }
  EXPECT_GT(hits, 1000);
}

// Tries from many places that all run over one long stretch of filler.
TEST(BlockCompareTest, ContainWithoutCharsSharesTheStretchesSkipped) {
  const std::string filler(100000, '\xE0');
  const HeapText text(filler + "b" + filler + "b");
  EXPECT_EQ(0, TBLOCK::BlockContainWithoutChars(text.view(), TBLOCK("abc"),
                                                TBLOCK("\xE0")));
}

}  // namespace
