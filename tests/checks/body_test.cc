#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

std::unique_ptr<TQMMSG> Message(const std::string& sections) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, sections));
  return m;
}

std::string Cause(const TQMMSG& m) {
  return Str(m.ledger.cause.view());
}

}  // namespace

TEST(BodyTest, MetaValues) {
  const struct {
    const char* sections;
    const char* cause;
  } rows[] = {
      {"[#Meta]\n<5>generator=Pad*\n<6>Author=*x\n<7>Robots=none\n",
       "generator:Pad* (5)"},
      {"[#Meta]\n<5>GENERATOR= pad 2.1 \n<6>Keywords=\n<7>Generator=\n",
       "GENERATOR:pad 2.1 (5);Keywords: (6)"},
      {"[#Meta]\n<5>Other=*\n<6>Generator\n<7>Title=*x*\n", ""},
      {"[!Meta]\n<5>Generator=\\d\\.\\d$\n<6>Generator=^pad\n<7>Title=x\n",
       "Generator:\\d\\.\\d$ (5);Title:x (7)"},
  };
  for (const auto& row : rows) {
    HeapText generator(" Pad 2.1"), title("a=x");
    auto m = Message(row.sections);
    m->htmlContext.metaValues[hmGenerator] = generator.view();
    m->htmlContext.metaValues[hmTitle] =
        row.sections[1] == '!' ? title.view() : TBLOCK();
    m->checkHtmlMeta("Meta", 0);
    EXPECT_EQ(row.cause, Cause(*m));
  }
  auto m = Message(rows[0].sections);
  HeapText generator("Pad");
  m->htmlContext.metaValues[hmGenerator] = generator.view();
  m->checkHtmlMeta("Meta", 1);
  EXPECT_EQ(" (5)", Cause(*m));
}

// What was cut off may have had the closing tags.
TEST(BodyTest, TagsOfAPageThatWasCutOff) {
  auto m = Message("");
  m->htmlContext.flags = hcfBodyOpened | hcfHtmlClosed;
  m->truncated = 1;
  m->checkHtml();
  EXPECT_EQ(0, m->ledger.score);
  m->truncated = 0;
  m->checkHtml();
  EXPECT_EQ(40, m->ledger.score);
}

// A rule without points leaves alone what spoke for the message.
TEST(BodyTest, EmbedSpamTakesWhitePointsAway) {
  const struct {
    const char* sections;
    int32_t score, white;
  } rows[] = {
      {"[^EmbedFilterRegex]\n<140>(From!=.)\n", 170, 0},
      {"[^EmbedFilterRegex]\n<0>(From!=.)\n", -220, -250},
      {"[^EmbedFilterRegex]\n<0>(From!=.)\n"
       "[^EmbedSpamRegex]\n<0>(From!=.)\n",
       -220, -250},
      {"[^EmbedFilterRegex]\n<0>(From!=.)\n"
       "[^EmbedSpamRegex]\n<9>(From!=.)\n",
       39, 0},
      {"[^EmbedSpamRegex]\n<140>(From!=.)\n", -220, -250},
  };
  for (const auto& row : rows) {
    auto m = Message(row.sections);
    m->ledger.whiteScoring = 1;
    m->addToSpamScore(-250, "white", 1);
    m->ledger.whiteScoring = 0;
    m->addToSpamScore(30, "black", 1);
    m->checkEmbedSpam();
    EXPECT_EQ(row.score, m->ledger.score) << row.sections;
    EXPECT_EQ(row.white, m->ledger.whiteScore) << row.sections;
    EXPECT_EQ(0u, Cause(*m).find("white (-250);black (30)"));
  }
}

TEST(BodyTest, BadStrings) {
  const auto bad = [](int n) {  // three bad triples each
    std::string words;
    while (n-- > 0) words += "xqzkv ";
    return words;
  };
  const struct {
    std::string words;
    uint32_t size;  // of the whole mail; 0: no matter
    int32_t points;
  } rows[] = {
      {bad(3) + "xqzk", 0, 0},      {bad(4), 0, 120},
      {"xqzkvw " + bad(2), 0, 100}, {bad(3) + "xqzk.vwjb xqzkv@qxzvkwjq", 0, 0},
      {bad(4) + "xcards", 0, 0},    {"Cards " + bad(4), 0, 0},
      {bad(4) + "x.cards", 0, 120}, {bad(17), 0, 500},
      {bad(4), 9999, 120},          {bad(4), 10000, 0},
  };
  for (const auto& row : rows) {
    std::string mail =
        "Content-Type: text/html\n\n<a href=\"http://www.example.org/\"><img "
        "src=\"http://www.example.org/a.gif\"></a>\n" +
        row.words;
    if (row.size)
      mail += "<!" + std::string(row.size - mail.size() - 3, '-') + ">";
    auto m = Message("[#Other]\nx\n");
    HeapText text(mail);
    m->loadFromBlock(text.view(), "", 0);
    m->parse(0);
    m->parseWords();
    m->checkMsgByNature();
    EXPECT_EQ(row.points, m->ledger.score) << row.words << row.size;
  }
}

// An attached file explains a picture without text.
TEST(BodyTest, PictureBesideAnAttachedFile) {
  auto m = Message("");
  m->htmlContext.imgCount = m->htmlContext.imgInLinkCount = 1;
  m->attachScored = 1;
  m->checkImg();
  EXPECT_EQ(0, m->ledger.score);
  m->attachScored = 0;
  m->checkImg();
  EXPECT_EQ(50, m->ledger.score);
}
