#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/tblock.h"

namespace {

TEST(BlockCompareTest, CountsAndSortsAsUnsignedBytes) {
  std::string all, mixed;
  for (int i = 0; i < 256; i++) {
    all.append(static_cast<size_t>(1 + i % 3), static_cast<char>(i));
    mixed.insert(mixed.size() / 2, static_cast<size_t>(1 + i % 3),
                 static_cast<char>(i));
  }
  const struct {
    std::string text, sorted;
    int distinct;
  } rows[] = {
      {std::string("\xFF\0b\x80\0a", 6), std::string("\0\0ab\x80\xFF", 6), 5},
      {mixed, all, 256},
      // One value many times over is no worse than any other text.
      {std::string(200000, 'b') + "a", "a" + std::string(200000, 'b'), 2}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    EXPECT_EQ(row.distinct, TBLOCK::BlockCountChars(text.view()));
    TBLOCK::BlockSort(text.view());
    EXPECT_TRUE(row.sorted == text.str()) << row.distinct;
  }
}

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

TEST(BlockCompareTest, BeginAndContainWithoutChars) {
  // A byte that is skipped and not of the set does not count.
  // Nor does one behind the word; one ahead of it does.
  // An accented letter agrees with the first letter of the word and
  // is skipped all the same, when the word is tried from there.
  const struct {
    const char *text, *word, *chars;
    int begins, contains;
  } rows[] = {{"v.i.a", "via", ".", 1, 1},     {"via", "via", ".", 0, 0},
              {"V.I.A now", "via", ".", 1, 1}, {"v-i-a", "via", ".", 0, 0},
              {"v-i.a", "via", ".", 1, 1},     {"via.", "via", ".", 0, 0},
              {".via", "via", ".", 1, 0},      {"vv.i.a", "via", ".", 0, 1},
              {"v.i.a", "VIA", ".", 0, 0},     {"v.i.a", "..", ".", 0, 1},
              {"", "via", ".", 1, 0},          {"", "", ".", 0, 0},
              {"b\xE0.ab", "ab", ".", 0, 1},   {"b\xE9.ab", "ab", ".", 0, 0}};
  for (const auto& row : rows) {
    const HeapText text(row.text), word(row.word), chars(row.chars);
    EXPECT_EQ(row.begins, TBLOCK::BlockBeginWithoutChars(
                              text.view(), word.view(), chars.view()))
        << row.text << " begins with " << row.word;
    EXPECT_EQ(row.contains, TBLOCK::BlockContainWithoutChars(
                                text.view(), word.view(), chars.view()))
        << row.text << " contains " << row.word;
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
