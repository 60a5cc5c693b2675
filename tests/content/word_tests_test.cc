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
  } rows[] = {
      {"", 0, ""},
      {"soon", 0, "soon"},
      {"soooon", 2, "son"},
      {"aaabbbEeEyyyy", 4, "abbbEy"},
      {"aaa", 1, "a"},
      {"\xE9\xE8"
       "E",
       1, "\xE9"},
      {"\xE7\xE7\xE7 $$$", 0, "\xE7\xE7\xE7 $$$"},
      {"aaab@c.org", 0, "aaab@c.org"},
      {"aaab@c", 1, "ab@c"},
  };
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

TEST(WordTestsTest, MultiLowers) {
  const struct {
    const char* word;
    int32_t n;
    int32_t sum;
  } rows[] = {
      {"", 3, 0},
      {"viaaagra", 3, 3},
      {"viaaagra", 4, 0},
      {"vvviaaaagra", 3, 7},
      {"viaaa", 3, 0},
      {"vaaavaaa", 3, 3},
      {"awwwaxxxa", 3, 0},
      {"aBBBa", 3, 0},
      {"aaAaa", 2, 2},
      // The rest is 1, 2, 7 and 8 bytes.
      {"aaab", 3, 0},
      {"aaabc", 3, 3},
      {"aaabcdefgh", 3, 3},
      {"aaabcdefghi", 3, 0},
      // 30 bytes and 31.
      {"aaaaaaaaaaaaaaaaaaaaaaaaaaaabc", 3, 28},
      {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaabc", 3, 0},
  };
  for (const auto& row : rows) {
    const HeapText word(row.word);
    EXPECT_EQ(row.sum, CheckMultiLowers(word.view(), row.n)) << row.word;
  }
  const HeapText text("plain viaaagra aaabc aaa0123abcf aaa0123abcg aaaaaf");
  TBLOCKVECT words(8);
  Split(text.view(), words);
  EXPECT_EQ(2, MultiLowersWordCount(words, 3));
}

TEST(WordTestsTest, SameLetters) {
  const HeapText text("abb aBbb a111 \xE9\xE9\xC9 ooo x");
  TBLOCKVECT words(8);
  Split(text.view(), words);
  EXPECT_EQ(3, SameLetterCount(words, 3, 0));
  EXPECT_EQ(2, SameLetterCount(words, 3, 4));
  EXPECT_EQ(1, SameLetterCount(words, 3, 3));
  EXPECT_EQ(5, SameLetterCount(words, 1, 5));
}

TEST(WordTestsTest, ForgedChars) {
  const struct {
    const char* text;
    int forged;
  } rows[] = {
      {"", 0},        {"\\/iagra", 0},   {"\\/i@gr/\\/", 1}, {"a()()", 0},
      {"a()b()", 1},  {"|_| |_|", 0},    {"|-|i|>", 1},      {"x|\\|", 0},
      {"|<a|\\|", 1}, {"f() and f(", 0}, {"f() and g()", 1},
  };
  for (const auto& row : rows) {
    const HeapText text(row.text);
    EXPECT_EQ(row.forged, CheckForgedChars(text.view())) << row.text;
  }
}

}  // namespace
