// Images in both byte orders, and wrong ones.

#include "rules/keyword_image.h"

#include <gtest/gtest.h>

#include <memory>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "rules/ask_dictionary.h"
#include "rules/image_util.h"

namespace {

const char* const kNames[] = {"param", "words", "strings",    "hashed",
                              "md5",   "named", "regex",      "sorted",
                              "lists", "rule",  "BrackenUrls"};

std::string SmallImage() {
  return MakeImage(
      {{"param", stString, 0, {"version= 01.2 "}},
       {"words", stPattern, 0, {"<5>via gra|cialis>now,x", "<&-7>a"}},
       {"strings", stString, 0, {"<2>*a*", "label|b*c"}},
       {"hashed", stString, sfHashed, {"Abc", "d"}},
       {"md5", stMd5, sfHashed, {"abc", "d"}},
       {"named", stNamedRegex, 0, {"N:^a", "M:b$"}},
       {"regex", stRegex, 0, {"<9>a+b"}},
       {"sorted", stSortedMd5, 0, {"a", "b", "c"}},
       {"lists", stSectionList, 0, {"words", "Lists"}},
       {"BrackenUrls", stString, 0, {"http://a"}}});
}

// Loads and asks; the block has no byte to spare.
int Ask(const std::string& image) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  const int loaded = dico.loadKeywordsFromBlock(BlockOf(image));
  const HeapText text("a cialis aab version=1");
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
  AskDictionary(dico, kNames, sizeof kNames / sizeof *kNames, text.view());
  return loaded;
}

TEST(KeywordImageTest, EveryTruncation) {
  const std::string image = SmallImage();
  const std::string other = InOtherOrder(image);
  for (uint32_t n = 0; n <= image.size(); n++) {
    EXPECT_EQ(n >= 60, Ask(image.substr(0, n))) << n;
    if (n % 7 == 0) Ask(other.substr(0, n));
  }
}

TEST(KeywordImageTest, FlippedBytes) {
  const std::string image = SmallImage();
  Numbers numbers(5);
  for (int i = 0; i < 1500; i++) {
    std::string bad = i % 4 ? image : InOtherOrder(image);
    for (uint32_t n = numbers.Below(4) + 1; n > 0; n--)
      bad[4 + numbers.Below(static_cast<uint32_t>(bad.size()) - 4)] ^=
          static_cast<char>(1u << numbers.Below(8));
    Ask(bad);
  }
}

TEST(KeywordImageTest, WrongHeaders) {
  const std::string image = SmallImage();
  const uint32_t size = static_cast<uint32_t>(image.size());
  const struct {
    uint32_t offset, value;
    int loads;
    uint32_t lines;                    // that can still be read
  } rows[] = {{0, 0x776B6D71, 1, 15},  // "qmkw"
              {0, 0x776B6D70, 0, 0},
              {hwHeaderSize, 0, 0, 0},
              {hwHeaderSize, 61, 0, 0},
              {hwTotalSize, size + 1, 1, 15},
              {hwTotalSize, 0xFFFFFFFF, 1, 15},
              {hwTotalSize, 59, 1, 0},
              {hwLines, 0xFFFFFFFF, 1, (size - 260) / 20},
              {hwLines, 3, 1, 3},
              {hwLines + 4, 59, 1, 0},
              {hwLines + 4, 262, 1, 0},
              {hwLines + 4, size - 20 - size % 4, 1, 1},
              {hwLines + 4, size, 1, 0},
              {hwLines + 4, 0xFFFFFFFC, 1, 0}};
  ASSERT_EQ(260u, WordAt(image, hwLines + 4));
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.offset << " " << row.value);
    std::string bad = image;
    SetWord(bad, row.offset, row.value);
    EXPECT_EQ(row.loads, Ask(bad));
    const std::unique_ptr<BLOCK> block(BlockOf(bad));
    EXPECT_EQ(row.lines, KWIMAGE(block->view()).lineCount);
    Ask(InOtherOrder(image).replace(row.offset, 4, bad, row.offset, 4));
  }
}

// Words that count or place records, set to each kind of wrong number.
TEST(KeywordImageTest, WrongRecords) {
  const std::string image = SmallImage();
  const uint32_t end = WordAt(image, hwText + 4);
  for (uint32_t at = 60; at < end; at += 4) {
    for (const uint32_t value : {0xFFFFFFFFu, 0x7FFFFFFFu, 16u}) {
      std::string bad = image;
      SetWord(bad, at, value);
      EXPECT_EQ(1, Ask(bad));
    }
  }
}

// All sections claim all lines, and all lines the whole pool.
TEST(KeywordImageTest, OverlappingRecordsCostNoMoreThanTheirBytes) {
  std::vector<IMAGESECTION> sections;
  for (int i = 0; i < 2000; i++)
    sections.push_back({"s" + std::to_string(i),
                        stString,
                        sfHashed,
                        {"line " + std::to_string(i)}});
  sections.push_back({"words", stPattern, 0, {"a|b|c>d"}});
  std::string image = MakeImage(sections);
  for (uint32_t s = 0; s < 2000; s++) {
    SetWord(image, 60 + 20 * s, 0);
    SetWord(image, 64 + 20 * s, 2001);
    const uint32_t line = WordAt(image, hwLines + 4) + 20 * s;
    SetWord(image, line, s);
    SetWord(image, line + 4, WordAt(image, hwText) - s);
  }
  EXPECT_EQ(1, Ask(image));
}

}  // namespace
