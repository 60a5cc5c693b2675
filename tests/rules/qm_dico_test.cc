// Loading, names, counters, lines as text.

#include "rules/qm_dico.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <memory>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "rules/image_util.h"

namespace {

TEST(QmDicoTest, FilesReplaceAndFailuresEmpty) {
  TQMDICO dico(nullptr, nullptr);
  EXPECT_NE(nullptr, dico.stuff);
  const std::string path = testing::TempDir() + "qm_dico_test.kwo";
  const std::unique_ptr<BLOCK> other(BlockOf(
      InOtherOrder(MakeImage({{"Param", stString, 0, {"x", "VERSION= 3 "}}}))));
  ASSERT_TRUE(other->saveTo(path.c_str(), 0));
  EXPECT_EQ(1, dico.loadKeywordsFromFile(path.c_str()));
  remove(path.c_str());
  EXPECT_EQ("3", Str(dico.version()));
  STR warning;
  EXPECT_EQ(1, dico.anyWarning(warning));
  EXPECT_EQ(
      "Slowdown warning: had to convert file " + path + " (Sparc-to-Intel)",
      warning.c_str());
  // A reader that shares the indexes has the same dictionary.
  TQMDICO borrower(nullptr, dico.stuff);
  EXPECT_NE(nullptr, borrower.findSection("PARAM"));
  EXPECT_EQ(0, dico.loadKeywordsFromFile("/nonexistent"));
  EXPECT_EQ(nullptr, dico.findSection("param"));
  EXPECT_EQ(0u, dico.version().length);
}

TEST(QmDicoTest, Names) {
  const std::string longest(2047, 'N'), tooLong(2048, 'N');
  TQMDICO dico(nullptr, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(
      BlockOf(MakeImage({{"ab", stString, 0, {"first"}},
                         {"AB", stString, sfHashed, {"second", "third"}},
                         {longest, stString, 0, {}},
                         {tooLong, stString, 0, {}}}))));
  const TQKLINE* line = nullptr;
  // The first of two is found by name, the one with an index by its lines.
  EXPECT_EQ(1u, dico.findSection("Ab")->count);
  EXPECT_EQ(1, dico.hashedFind("aB", TBLOCK("THIRD"), line));
  const HeapText name(longest);
  EXPECT_NE(nullptr, dico.findSection(name.view()));
  EXPECT_EQ(nullptr, dico.findSection(tooLong.c_str()));
  EXPECT_EQ(nullptr, dico.findSection(""));
  EXPECT_EQ(nullptr, dico.findSection(static_cast<const char*>(nullptr)));
}

TEST(QmDicoTest, ScoresOfWhatWasCounted) {
  TQMDICO dico(nullptr, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(BlockOf(
      MakeImage({{"a", stString, 0, {"<&3>x", "<-10>y"}},
                 {"big", stString, 0, {"<2000000000>x"}},
                 {"all", stSectionList, 0, {"A", "none", "a"}},
                 {"loop", stSectionList, 0, {"loop", "a"}},
                 {"storm", stSectionList, 0, {"storm", "storm", "storm"}}}))));
  const KWIMAGE& image = dico.image();
  dico.countsOf(image.line(0)).matchCount = 3;
  dico.countsOf(image.line(1)).matchCount = 1;
  EXPECT_EQ(-1, dico.sectionScore("a"));
  dico.countsOf(image.line(0)).tipCount = 1;
  EXPECT_EQ(-1, dico.sectionScore("a"));
  EXPECT_EQ(9 * 2 - 10, dico.getSectionScore("a", 2));
  EXPECT_EQ((9 * 2 - 10) * 2, dico.getSectionScore("all", 2));
  // 16 levels, of which the last one's names are not followed.
  EXPECT_EQ((9 * 2 - 10) * 15, dico.getSectionScore("loop", 2));
  EXPECT_EQ(0, dico.getSectionScore("storm", 2));
  TLINECOUNTS& counts = dico.countsOf(image.line(2));
  counts.matchCount = counts.tipCount = 65535;
  EXPECT_EQ(1000000000, dico.sectionScore("big"));
  EXPECT_EQ(1000000000, dico.getSectionScore("big", 0xFFFFFFFF));
  dico.clearMatchCount("BIG");
  EXPECT_EQ(0, counts.matchCount);
  EXPECT_EQ(65535, counts.tipCount);
  EXPECT_EQ(3, dico.countsOf(image.line(0)).matchCount);
  EXPECT_EQ(1, dico.lineIndex("a", image.line(1)));
  EXPECT_EQ(-1, dico.lineIndex("big", image.line(1)));
  EXPECT_EQ(-1, dico.lineIndex("a", image.line(2)));
}

uint32_t First(const TQKSECTION* section) {
  return section ? section->first : UINT32_MAX;
}

// What prepareRules keeps of names is what a search finds, of any list.
TEST(QmDicoTest, KeptNamesAnswerAsOthers) {
  const std::string longest(2047, 'N');
  std::string image = MakeImage(
      {{"ScamGroups", stString, 0, {"+Gold", "", "+", longest, "Gone"}},
       {"gold", stSectionList, 0, {"+bar", "gold"}},
       {"Gold-Words", stSectionList, 0, {"Gold-Words", "More"}},
       {"Gold\\bar-Regex", stRule, 0, {}},
       {"No-More", stRule, 0, {}},
       {"More", stPattern, 0, {"a"}},
       {longest, stString, 0, {"+"}}});
  const char* const names[] = {
      "Gold",         "GOLD",       "Gold-Group",          "No-Gold-Words",
      "Gold-Words",   "Gone-Regex", "Gold\\bar-Regex",     "Gold\\bar",
      "More",         "No-More",    "No-Gold\\gold-Regex", "ScamGroups",
      "No-ScamGroups"};
  for (const uint32_t lines : {WordAt(image, hwLines), 5u, 0u}) {
    SetWord(image, hwLines, lines);
    TQMDICO plain(nullptr, nullptr), kept(nullptr, nullptr);
    if (!plain.loadKeywordsFromBlock(BlockOf(image))) continue;
    ASSERT_TRUE(kept.loadKeywordsFromBlock(BlockOf(image)));
    REGEXPOOL pool;
    kept.pool = &pool;
    kept.prepareRules();
    void* found = nullptr;
    if (lines > 5) {
      EXPECT_GE(kept.stuff->named.find(TBLOCK("Gone-Regex"), found), 0);
      EXPECT_GE(kept.stuff->named.find(TBLOCK("Gold\\bar-Regex"), found), 0);
      EXPECT_GE(kept.stuff->named.find(TBLOCK("No-More"), found), 0);
      EXPECT_NE(nullptr, found);
    }
    for (const char* name : names) {
      const TQKSECTION* a = plain.findSection(name);
      const TQKSECTION* b = kept.findSection(name);
      EXPECT_EQ(First(a), First(b)) << name;
      if (a && b) {
        EXPECT_EQ(First(plain.stuff->findException(a, name)),
                  First(kept.stuff->findException(b, name)))
            << name;
      }
      TGROUPSECTIONS c, d;
      plain.stuff->findGroup(name, c);
      kept.stuff->findGroup(name, d);
      for (int i = 0; i < gsCount; i++)
        EXPECT_EQ(First(c.of[i]), First(d.of[i])) << name << " " << i;
    }
    if (lines <= 5) continue;
    EXPECT_GE(kept.stuff->groups.find(TBLOCK("Gold\\bar"), found), 0);
    EXPECT_GT(kept.stuff->exceptions.length, 0u);
  }
}

TEST(QmDicoTest, PatternsOfSectionsAreCompiledOnce) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(
      BlockOf(MakeImage({{"r", stRegex, 0, {"a+", "(", "a+"}},
                         {"n", stNamedRegex, 0, {"x: b:c ", "d+"}},
                         {"AttachHeader", stRegex, 0, {"f=g=+", "h"}},
                         {"s", stString, 0, {"e+"}}}))));
  dico.precompileRegexesIntoPool();
  EXPECT_EQ(3, pool.count);
  EXPECT_NE(nullptr, pool.findRegex(TBLOCK("g=+")));
  EXPECT_NE(nullptr, pool.findRegex(TBLOCK("b:c")));
}

}  // namespace
