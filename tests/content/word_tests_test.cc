// What words look like: prices, letters stretched, doubled and drawn.

#include "content/word_tests.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"

namespace {

// The views of the words between blanks.
void Split(TBLOCK text, TBLOCKVECT& words) {
  TBLOCK::GetBlockWordList(text, words, bitWhiteSpace);
}

TEST(WordTestsTest, Prices) {
  const HeapText text(
      "$ $1 $12345 $1.5 1$ $$1 $a \x80"
      "1");
  TBLOCKVECT words(8);
  Split(text.view(), words);
  EXPECT_EQ(2, PriceCount(words));
}

TEST(WordTestsTest, UselessVowels) {
  const struct {
    const char* word;
    int32_t count;
    const char* fixed;
  } rows[] = {{"", 0, ""},
              {"soon", 0, "soon"},
              {"soooon", 2, "son"},
              {"aaabbbEeEyyyy", 4, "abbbEy"},
              {"aaa", 1, "a"},
              {"\xE9\xE8"
               "E",
               1, "\xE9"},
              {"\xE7\xE7\xE7 $$$", 0, "\xE7\xE7\xE7 $$$"},
              {"aaab@c.org", 0, "aaab@c.org"},
              {"aaab@c", 1, "ab@c"}};
  for (const auto& row : rows) {
    const HeapText text(row.word);
    TBLOCK word = text.view();
    EXPECT_EQ(row.count, BlockUselessVowelCount(word, 0)) << row.word;
    EXPECT_EQ(row.word, Str(word));
    EXPECT_EQ(row.count, BlockUselessVowelCount(word, 1));
    EXPECT_EQ(row.fixed, Str(word));
  }
  const HeapText text("soooon x waaay");
  TBLOCKVECT words(4);
  Split(text.view(), words);
  EXPECT_EQ(3, BlocklistUselessVowelCount(words, 0));
  EXPECT_EQ("soooon|x|waaay|", Join(words));
  EXPECT_EQ(3, BlocklistUselessVowelCount(words, 1));
  EXPECT_EQ("son|x|way|", Join(words));
}

TEST(WordTestsTest, ForgedChars) {
  const Case<int> rows[] = {
      {"", 0},        {"\\/iagra", 0},   {"\\/i@gr/\\/", 1}, {"a()()", 0},
      {"a()b()", 1},  {"|_| |_|", 0},    {"|-|i|>", 1},      {"x|\\|", 0},
      {"|<a|\\|", 1}, {"f() and f(", 0}, {"f() and g()", 1}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    EXPECT_EQ(row.want, CheckForgedChars(text.view())) << row.text;
  }
}

}  // namespace
