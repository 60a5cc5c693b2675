#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

class SectionScoresTest : public testing::Test {
 protected:
  SectionScoresTest() : message(nullptr, nullptr, nullptr, 0, 0), words(0) {}

  void load(const std::string& source, const std::string& line) {
    ASSERT_TRUE(LoadSource(message.dico, source));
    text.reset(new HeapText(line));
    TBLOCK::GetBlockWordList(text->view(), words, bitWhiteSpace);
  }
  // What was written since the last call.
  std::string cause() {
    const std::string entries = Str(message.ledger.cause.view());
    message.ledger.reset();
    return entries;
  }

  TQMMSG message;
  std::unique_ptr<HeapText> text;
  TBLOCKVECT words;
};

TEST_F(SectionScoresTest, DeltaSuffixAndFactor) {
  load("[words]\n<10>bad thing\n<-10>good\n<&50>often|x\n<0>nil\n<9>absent",
       "a bad thing good often often often often nil");
  struct Row {
    int delta;
    const char* suffix;
    int points;
    const char* cause;
  };
  const Row rows[] = {
      {0, " in subject", 150,
       "bad thing in subject (10);good in subject (-10);"
       "often|x in subject3x (150)"},
      // Either sign of delta makes a line stronger, one of score 0 too.
      {-20, "", 230, "bad thing (30);good (-30);often|x3x (210);nil (20)"},
      {20, "=%s #", 230,
       "bad thing # (30);good # (-30);often|x #3x (210);nil # (20)"},
      {0, "=%s%s", 150, "bad thing%s (10);good%s (-10);often|x%s3x (150)"},
      {0, "% img", 150,
       "bad thing img (10);good img (-10);often|x img3x (150)"},
      {0, ": 100%Sure", 150,
       "bad thing: 100%Sure (10);good: 100%Sure (-10);"
       "often|x: 100%Sure3x (150)"},
      {0, "a %s b", 150,
       "a bad thing b (10);a good b (-10);a often|x b3x (150)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.suffix);
    EXPECT_EQ(row.points, message.checkKeywordBlockList(
                              "Words", words, row.delta, 0, row.suffix));
    EXPECT_EQ(row.cause, cause());
  }
  EXPECT_EQ(4, message.findKeywords("words", words, 0, 0));
  EXPECT_EQ(1, message.findKeywords("words", words, 3, 0));
  EXPECT_EQ(0, message.findKeywords("words", words, 0, 1));
  EXPECT_EQ(0, message.findKeywords("none", words, 0, 0));
  EXPECT_EQ(0, message.addSectionScore("none", 5, ""));
  EXPECT_EQ("", cause());
}

TEST_F(SectionScoresTest, ListsOfSections) {
  std::string knot = "[&knot]\n";
  for (int i = 0; i < 50; i++) knot += "knot\n";
  load("[one]\n<-10>good\n[two]\n<70000>bad\n[&list]\nOne\ntwo\nnone\none\n" +
           knot + "[&deep]\ndeep\none",
       "good bad");
  EXPECT_EQ(69980, message.checkKeywordBlockList("list", words, 0, 0, ""));
  EXPECT_EQ("good (-10);bad (70000);good (-10)", cause());
  // Its lines count the points of their sections, whatever the sign.
  const TQKSECTION* list = message.dico.findSection("list");
  const uint16_t counts[] = {10, 65535, 0, 10};
  for (uint32_t i = 0; i < 4; i++)
    EXPECT_EQ(counts[i],
              message.dico.countsOf(message.dico.image().sectionLine(list, i))
                  .matchCount);
  EXPECT_EQ(3, message.findKeywords("list", words, 0, 0));
  // A section that lists itself ends at depth 16; 50 times over, at a number.
  EXPECT_EQ(-150, message.checkKeywordBlockList("deep", words, 0, 0, ""));
  EXPECT_EQ(0, message.checkKeywordBlockList("knot", words, 0, 0, ""));
}

TEST_F(SectionScoresTest, Blocks) {
  load("[#text]\n<&5>*pill*\n<7>label|*\n<100>*none*\n<9>*s", "");
  HeapText block("cheap pills");
  EXPECT_EQ(1, message.checkKeywordBlock("text", block.view(), "in %s, %s"));
  EXPECT_EQ("in *pill*, %s (5)", cause());
  // Each line once, also one that counts every match.
  EXPECT_EQ(1, message.checkAllKeywordBlock("text", block.view(), "%s #"));
  EXPECT_EQ("*pill* # (5);label # (7);*s # (9)", cause());
  EXPECT_EQ(1, message.checkAllKeywordBlock("text", block.view(), "fixed"));
  EXPECT_EQ("fixed (5);fixed (7);fixed (9)", cause());
  HeapText other("x");
  EXPECT_EQ(0, message.checkAllKeywordBlock("none", other.view(), "%s"));
  EXPECT_EQ("", cause());
}

TEST_F(SectionScoresTest, Profiles) {
  struct Row {
    const char* zone;
    const char* country;
  };
  const Row rows[] = {{"UTC0", ""},   {"ABC3:59:59", ""},
                      {"ABC4", "US"}, {"ABC5DEF", "US"},
                      {"ABC8", "US"}, {"ABC8:00:01", ""}};
  const char* before = getenv("TZ");
  const std::string saved = before ? before : "";
  message.fixedTime = 1795246200;
  message.setProfileInfo(0, " one, two ,,three ");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.zone);
    setenv("TZ", row.zone, 1);
    tzset();
    message.buildProfils();
    message.setProfileInfo(0, " one, two ,,three ");
    EXPECT_EQ(row.country + std::string("|one|two||three|07:Sat|"),
              Join(message.profiles));
  }
  before ? setenv("TZ", saved.c_str(), 1) : unsetenv("TZ");
  tzset();
}

}  // namespace
