// The filters that ask the dictionary, with rules of a dictionary of their own;
// and what else of the header and of answers hangs on its sections.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

class RuleFiltersTest : public testing::Test {
 protected:
  RuleFiltersTest() : m(&pool, nullptr, nullptr, 0, 0) {}

  void load(const std::string& mail) {
    ASSERT_TRUE(LoadSource(m.dico, source));
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
  std::string source;  // of the dictionary
};

TEST_F(RuleFiltersTest, NonLatin) {
  source =
      "[#easterncharset]\n"
      "<20>Cyrillic|koi8*\n"
      "<30>plain-?\n"
      "<40>Greek|*1253\n"
      "[#asiancharset]\n"
      "<60>Chinese|big5\n";
  load("Subject: s\r\n\r\nx\r\n");
  const struct {
    const char* message;  // names of the two character sets
    const char* subject;
    TCHARZONE zone;
    int answers, highChars, allowEastern, allowAsian, forbidLatin;
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
      {"", "", czLetter, 9, 0, 1, 1, 1, "Latin text (forbidden) (200)"}};
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

TEST_F(RuleFiltersTest, RulesNameProfiles) {
  source =
      "[^profils]\n"
      "<0>shop:(Subject=buy)\n"
      "<0>never:(Subject=nope)\n"
      "<0>(Subject=b)\n"
      "<0>none:(Profil=late)\n"
      "<0>late.mail:(Url<>x)+(Profil=shop)\n";
  load("Subject: buy\r\n\r\nhttp://x.example/\r\n");
  const std::string list = Join(m.profiles);
  EXPECT_EQ("shop||late.mail|", list.substr(list.find("shop"), 16));
}

}  // namespace
