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

// What was cut off or left out may have had the closing tags.
TEST(BodyTest, TagsOfAPage) {
  const struct {
    uint32_t flags;
    int32_t truncated, answersRemoved, points;
  } rows[] = {
      {hcfHtmlOpened, 0, 0, 20},
      {hcfBodyOpened | hcfHtmlClosed, 0, 0, 40},
      {hcfHtmlOpened | hcfHtmlClosed | hcfBodyOpened | hcfBodyClosed, 0, 0, 0},
      {hcfHtmlOpened | hcfBodyOpened, 1, 0, 0},
      {hcfHtmlOpened | hcfBodyOpened, 0, 1, 0},
  };
  for (const auto& row : rows) {
    auto m = Message("");
    m->htmlContext.flags = row.flags;
    m->truncated = row.truncated;
    m->answersRemoved = row.answersRemoved;
    m->checkHtml();
    EXPECT_EQ(row.points, m->ledger.score) << row.flags;
  }
}

TEST(BodyTest, EmbedSpamTakesWhitePointsAway) {
  auto m = Message("[^EmbedFilterRegex]\n<140>(From!=.)\n");
  m->ledger.whiteScoring = 1;
  m->addToSpamScore(-250, "white", 1);
  m->ledger.whiteScoring = 0;
  m->addToSpamScore(30, "black", 1);
  m->checkEmbedSpam();
  EXPECT_EQ(170, m->ledger.score);
  EXPECT_EQ(0, m->ledger.whiteScore);
  EXPECT_EQ(170, m->ledger.blackScore);
  EXPECT_EQ("white (-250);black (30);Embed spam (140)", Cause(*m));
}

// An attached file explains a picture without text.
TEST(BodyTest, PictureBesideAnAttachedFile) {
  const struct {
    int32_t attached, linked, cid;
    const char* cause;
  } rows[] = {
      {0, 1, 0, "Clickable image only message (50)"},
      {0, 0, 0, "image only message (50)"},
      {0, 0, 1, "Embed image only message (51)"},
      {1, 1, 0, ""},
  };
  for (const auto& row : rows) {
    auto m = Message("[#ImgSize]\n<6>1x1\n");
    m->htmlContext.imgCount = 1;
    m->htmlContext.imgInLinkCount = row.linked;
    m->htmlContext.cidImgCount = row.cid;
    m->attachScored = row.attached;
    m->checkImg();
    EXPECT_EQ(row.cause, Cause(*m));
  }
}
