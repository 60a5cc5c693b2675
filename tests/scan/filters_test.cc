// The filters that ask the dictionary, with rules of a dictionary of their own;
// and what else of the header and of answers hangs on its sections.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "rules/pattern_image_util.h"
#include "scan/tqmmsg.h"

namespace {

class RuleFiltersTest : public testing::Test {
 protected:
  RuleFiltersTest() : m(&pool, nullptr, nullptr, 0, 0) {}

  void load(const std::string& mail) {
    ASSERT_TRUE(image.load(m.dico));
    ASSERT_TRUE(m.loadFromBlock(HeapText(mail).view(), nullptr, 0));
    m.parse(0);
  }
  std::string cause() {
    const std::string entries = Str(m.ledger.cause.view());
    m.ledger.reset();
    return entries;
  }

  REGEXPOOL pool;
  TQMMSG m;
  PatternImage image;
};

TEST_F(RuleFiltersTest, AllRuleSectionsOfTheRegexFilter) {
  image.section("=spamregex", stRule)
      .text("a:(Subject=hello)", 0, 200)
      .text("b:(Subject=^hello)", 0, 200)
      .text("c:(Subject=.)", 0, 1);
  image.section("=spamregexnopurge", stRule).text("d:(Subject=nope)", 0, 9);
  image.section("=uceregex", stRule).text("(Subject=(?i)HELLO)", 0, -7);
  image.section("sum", stRule).text("(Subject=h)", 0, 3);
  image.section("regexcount", stString).text("sum=40", 0, 0);
  load("Subject: hello\r\n\r\nx\r\n");
  EXPECT_EQ(1, m.checkRegex(0));
  EXPECT_EQ("^a (200);^b (200);^c (1);^ (-7);sum (40)", cause());
  // With the purge each section ends at the bailout; the others still run.
  EXPECT_EQ(1, m.checkRegex(1));
  EXPECT_EQ("^a (200);^b (200);sum (40)", cause());
}

TEST_F(RuleFiltersTest, NothingToFind) {
  image.section("=spamregex", stRule).text("a:(Subject=nope)", 0, 200);
  image.section("regexcount", stString).text("=spamregex=40", 0, 0);
  load("Subject: hello\r\n\r\nx\r\n");
  EXPECT_EQ(0, m.checkRegex(1));
  EXPECT_EQ("", cause());
}

// A body field is empty in the header phase, so that "<>" holds there.
TEST_F(RuleFiltersTest, HeaderPhase) {
  image.section("no-received", stRule).text("(Url<>x)", 0, 0);
  image.section("=headerregex", stRule)
      .text("url:(Url=x)", 0, 50)
      .text("none:(Url<>x)", 0, 51);
  ASSERT_TRUE(image.load(m.dico));
  const HeapText mail("Subject: s\r\n\r\nhttp://x.example/\r\n");
  ASSERT_TRUE(m.loadFromBlock(mail.view(), nullptr, 0));
  m.parse(1);
  EXPECT_EQ("^none (51)", cause());
}

TEST_F(RuleFiltersTest, NonLatin) {
  image.section("easterncharset", stString)
      .text("Cyrillic|koi8*", 0, 20)
      .text("plain-?", 0, 30)
      .text("Greek|*1253", 0, 40);
  image.section("asiancharset", stString).text("Chinese|big5", 0, 60);
  load("Subject: s\r\n\r\nx\r\n");
  const struct {
    const char* message;  // names of the two character sets
    const char* subject;
    TCHARZONE zone;
    int answers;
    int highChars;
    int allowEastern, allowAsian, forbidLatin;
    const char* cause;
  } rows[] = {
      {"koi8-r", "windows-1253", czControl, 0, 0, 0, 0, 0,
       "Cyrillic charset (20)"},
      {"latin", "windows-1253", czControl, 0, 0, 0, 0, 0, "Greek charset (40)"},
      {"plain-?", "", czControl, 0, 0, 0, 1, 0, "plain-? (30)"},
      {"big5", "big5", czControl, 0, 0, 0, 0, 0, "Chinese charset (60)"},
      {"big5", "koi8-r", czControl, 0, 0, 1, 1, 0, ""},
      {"", "", czCyrillic, 0, 0, 0, 0, 0, "Cyrillic text (200)"},
      {"", "", czCyrillic, 1, 0, 0, 0, 0, ""},
      {"", "", czCyrillic, 0, 0, 1, 0, 0, ""},
      {"", "", czGreek, 0, 0, 0, 1, 0, "Greek text (200)"},
      {"", "", czAsian, 0, 0, 0, 0, 0, "Asian text (200)"},
      {"", "", czAsian, 0, 0, 0, 1, 0, ""},
      {"", "", czAsian, -1, 0, 0, 0, 0, ""},
      {"", "", czOther, 5, 0, 0, 0, 0, "Non-latin Language (300)"},
      {"", "", czOther, 0, 99, 0, 1, 0, ""},
      {"", "", czControl, 0, 29, 0, 0, 0, ""},
      {"", "", czControl, 0, 30, 0, 0, 0, "Too many extended chars (150)"},
      {"", "", czLetter, 0, 0, 0, 0, 0, ""},
      {"", "", czLetter, 9, 0, 1, 1, 1, "Latin text (forbidden) (200)"},
  };
  for (const auto& row : rows) {
    // What was seen may stand in either.
    for (int other = 0; other < 2; other++) {
      SCOPED_TRACE(row.message + std::string(row.cause));
      m.messageCharset.clear();
      m.subjectCharset.clear();
      m.messageCharset.name = TBLOCK(row.message);
      m.subjectCharset.name = TBLOCK(row.subject);
      TCharset& seen = other ? m.subjectCharset : m.messageCharset;
      if (row.zone != czControl) seen.zoneCounts[row.zone] = 1000;
      m.answerCount = row.answers;
      m.highChars = row.highChars;
      m.checkNonLatin(row.allowEastern, row.allowAsian, row.forbidLatin);
      EXPECT_EQ(row.cause, cause());
    }
  }
}

// The flags of both setups reach the filter.
TEST_F(RuleFiltersTest, SetupsAllowScripts) {
  load("Subject: s\r\n\r\nx\r\n");
  m.messageCharset.zoneCounts[czAsian] = 1000;
  QMGLOBALSETUP global = {8, 0};
  QMUSERSETUP user = {20, -100, 200, 0, 0};
  const struct {
    unsigned int global, user;
    bool scores;
  } rows[] = {{0, 0, true},
              {QM_ALLOW_ASIAN, 0, false},
              {0, QM_ALLOW_ASIAN, false},
              {QM_ALLOW_EASTERN, QM_CHECK_VIRUS, true}};
  for (const auto& row : rows) {
    global.flags = row.global;
    user.flags = row.user;
    m.checkFilter(14, &global, &user, 0);
    EXPECT_EQ(row.scores ? "Asian text (200)" : "", cause());
  }
}

TEST_F(RuleFiltersTest, RulesNameProfiles) {
  image.section("profils", stRule)
      .text("shop:(Subject=buy)", 0, 0)
      .text("never:(Subject=nope)", 0, 0)
      .text("(Subject=b)", 0, 0)
      .text("none:(Profil=late)", 0, 0)
      .text("late.mail:(Url<>x)+(Profil=shop)", 0, 0);
  load("Subject: buy\r\n\r\nhttp://x.example/\r\n");
  const std::string list = Join(m.profiles);
  EXPECT_EQ("shop||late.mail|", list.substr(list.find("shop"), 16));
}

TEST_F(RuleFiltersTest, PatternsWithTheirPlace) {
  image.section("lines", stRegex)
      .text("[faulty", 0, 1)
      .text("b+", 0, 7)
      .text("a", KWLINEFLAGMULTI, -3);
  // Any section with lines of text does.
  image.section("strings", stString).text("c$", 0, 9);
  load("\r\n");
  const struct {
    const char* section;
    const char* text;
    bool found;
    int count, offset;
  } rows[] = {
      {"Lines", "xxabb", true, 7, 3}, {"lines", "a", true, -3, 0},
      {"lines", "xx", false, 0, -1},  {"lines", "", false, 0, -1},
      {"strings", "cc", true, 9, 1},  {"none", "abc", false, 0, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    int32_t count = 5, offset = 5;
    EXPECT_EQ(row.found,
              m._dicoRegexAndOffset(text.view(), count, offset, row.section));
    EXPECT_EQ(row.count, count);
    EXPECT_EQ(row.offset, offset);
  }
}

}  // namespace
