// Sections with an index, and sorted digests.

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/qm_dico.h"

namespace {

const unsigned char* Bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

TEST(HashedLookupTest, Keys) {
  TQMDICO dico(nullptr, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(
      BlockOf(MakeImage({{"hashed", stString, sfHashed, {"Abc", "a.net", ""}},
                         {"md5", stMd5, sfHashed, {"Abc", "b@a.net"}},
                         {"plain", stString, 0, {"abc"}},
                         {"patch", stString, sfHashed | sfPatch, {"abc"}}}))));
  const struct {
    const char *section, *key;
    int found, matched;
  } rows[] = {{"Hashed", "ABC", 1, 1}, {"hashed", "ab", 0, 0},
              {"hashed", "", 0, 0},    {"md5", "Abc", 1, 1},
              {"md5", "abc", 0, 0},    {"plain", "abc", 0, 0},
              {"patch", "abc", 1, 0},  {"none", "abc", 0, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.section << " " << row.key);
    const HeapText key(row.key);
    const TQKLINE* line = nullptr;
    EXPECT_EQ(row.found, dico.hashedFind(row.section, key.view(), line));
    EXPECT_EQ(row.found, line != nullptr);
    EXPECT_EQ(row.matched, dico.matchSection(row.section, key.view(), line));
  }
  const TQKLINE* line = nullptr;
  const HeapText digest(DigestOf("Abc")), shorter(DigestOf("Abc").substr(1));
  EXPECT_EQ(1, dico.hashedFindMD5Key("md5", digest.view(), line));
  EXPECT_EQ(0, dico.lineIndex("md5", line));
  EXPECT_EQ(0, dico.hashedFindMD5Key("md5", shorter.view(), line));
  EXPECT_EQ(0, dico.hashedFindMD5Key("hashed", TBLOCK("a.net"), line));
}

TEST(HashedLookupTest, SortedDigests) {
  for (int count = 0; count < 20; count++) {
    std::vector<std::string> lines;
    for (int i = 0; i < count; i++) lines.push_back(std::to_string(i));
    TQMDICO dico(nullptr, nullptr);
    ASSERT_TRUE(dico.loadKeywordsFromBlock(BlockOf(
        MakeImage({{"s", stSortedMd5, 0, lines}, {"t", stString, 0, lines}}))));
    uint32_t seen = 0;
    for (const std::string& line : lines) {
      int32_t at = -1;
      EXPECT_EQ(1, dico.findSortedMd5("S", Bytes(DigestOf(line)), at));
      seen |= 1u << at;
    }
    EXPECT_EQ((1u << count) - 1, seen);
    int32_t at = -1;
    EXPECT_EQ(0, dico.findSortedMd5("s", Bytes(DigestOf("x")), at));
    EXPECT_EQ(0, dico.findSortedMd5("t", Bytes(DigestOf("0")), at));
    EXPECT_EQ(-1, at);
  }
}

}  // namespace
