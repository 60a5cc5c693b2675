// The dispatch: which number runs what, the two orders, the bailout, and the
// sections that spare a message a filter. A program of its own: it stands in
// for all checks and for the rules, each leaving its name in a trace.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "rules/kw_obj.h"
#include "scan/tqmmsg.h"

namespace {

std::string trace;
std::map<std::string, int> points;      // that a call adds
std::map<std::string, bool> fulfilled;  // rule sections that match

int Call(TQMMSG* m, const std::string& name) {
  trace += (trace.empty() ? "" : " ") + name;
  if (points.count(name)) m->addToSpamScore(points[name], "p", 1);
  return 0;
}

std::string Args(std::vector<int> values) {
  std::string text;
  for (int value : values)
    text += (text.empty() ? "" : ",") + std::to_string(value);
  return "(" + text + ")";
}

// The filter's section that this is.
std::string NameOf(const TQMDICO& dico, const TQKSECTION* section) {
  for (const char* filter : _FilterNames)
    for (const char* prefix : {"No-", "Only-"})
      if (dico.findSection((prefix + std::string(filter)).c_str()) == section)
        return prefix + std::string(filter);
  return "unknown";
}

}  // namespace

#define VOID_CHECK(name) \
  void TQMMSG::name() {  \
    Call(this, #name);   \
  }
#define INT_CHECK(name)       \
  int TQMMSG::name() {        \
    return Call(this, #name); \
  }
#define SETUP_CHECK(name)                                      \
  int TQMMSG::name(const QMGLOBALSETUP*, const QMUSERSETUP*) { \
    return Call(this, #name);                                  \
  }
VOID_CHECK(checkAntiBayes)
VOID_CHECK(checkTextPlain)
VOID_CHECK(checkHtml)
VOID_CHECK(checkMsgStructure)
VOID_CHECK(checkHtmlContext)
VOID_CHECK(checkImg)
VOID_CHECK(checkEmbedSpam)
VOID_CHECK(checkMsgByNature)
VOID_CHECK(checkJavascript)
VOID_CHECK(checkBoundary)
INT_CHECK(checkForgedMailer)
INT_CHECK(checkDuplicateLetter)
VOID_CHECK(checkSubject)
VOID_CHECK(checkSpamHdr)
VOID_CHECK(checkHeader)
VOID_CHECK(checkTo)
INT_CHECK(checkFall)
INT_CHECK(checkMailSpring)
VOID_CHECK(checkSubst)
VOID_CHECK(checkBlackLinks)
VOID_CHECK(checkSpamDomains)
VOID_CHECK(checkTld)
VOID_CHECK(checkHiddenUrl)
VOID_CHECK(checkLinkText)
VOID_CHECK(checkPhone)
VOID_CHECK(checkUnsub)
INT_CHECK(checkIdFromMTA)
VOID_CHECK(checkMessageId)
INT_CHECK(checkThreadIndex)
VOID_CHECK(checkPartsCid)
VOID_CHECK(checkPhishing)
VOID_CHECK(checkReceived)
VOID_CHECK(checkFrom)
VOID_CHECK(checkBlackAndWhite)
VOID_CHECK(checkWhiteRecip)
VOID_CHECK(checkWhite)
VOID_CHECK(checkBlackWords)
VOID_CHECK(checkTipsWords)
VOID_CHECK(checkRandom)
VOID_CHECK(checkResit)
SETUP_CHECK(checkVirus)
SETUP_CHECK(checkSuspect)
SETUP_CHECK(checkCommercial)
bool TQMMSG::checkNotification(const QMGLOBALSETUP*, const QMUSERSETUP*) {
  return false;
}
void TQMMSG::checkEmails(int) {}
int TQMMSG::listFilter(TBLOCK) {
  return 0;
}
void TQMMSG::checkDates(const QMUSERSETUP* setup) {
  Call(this, "checkDates" + Args({setup ? setup->value1 : 0}));
}
int TQMMSG::checkWordGroups(const char* section) {
  return Call(this, section);
}
int TQMMSG::checkRuleSection(const char* section, int stop) {
  return Call(this, section + Args({stop}));
}
int TQMMSG::checkRegexCountSection(const char* section, STRVECT* details) {
  return Call(this, section + Args({details != nullptr}));
}
int TQMMSG::testRuleSection(const char* section) {
  Call(this, std::string("?") + section);
  return fulfilled[section];
}
int TQMMSG::testRuleSection(const TQKSECTION* section) {
  return testRuleSection(NameOf(dico, section).c_str());
}
int TQMMSG::testRuleSection(TBLOCK, TBLOCK*, int32_t*) {
  return 0;
}
int TQMMSG::matchRuleSection(const char*, STR&) {
  return 0;
}
int TQMMSG::checkRule(TBLOCK, TBLOCK&, int, char) {
  return 0;
}
int TQMMSG::checkRule(const TQMRULE&, int, char) {
  return 0;
}
int TQMMSG::checkRuleLine(const TQKLINE*, TBLOCK&, int) {
  return 0;
}
int32_t TQMMSG::getRuleSectionScore(TBLOCK, STRVECT*) {
  return 0;
}
int32_t TQMMSG::getPositiveSectionScore(TBLOCK, STRVECT*) {
  return 0;
}

namespace {

// Rule sections of these names; what their rules say is told by `fulfilled`.
void LoadSections(TQMDICO& dico, const std::string& names) {
  TKwObj image;
  std::istringstream list(names);
  std::string name;
  while (list >> name) {
    TBLOCKVECT lines(TBLOCK("n:(Id=x)"), 1);
    const std::string prefixed = "^" + name;
    ASSERT_TRUE(image.AddSection(
        TBLOCK(prefixed.data(), uint32_t(prefixed.size())), &lines, 0));
  }
  BLOCK* block = new BLOCK(0, BLOCK::_DEFALLOCSIZE);
  ASSERT_TRUE(image.WriteToStream(block));
  ASSERT_TRUE(dico.loadKeywordsFromBlock(block));
}

class FiltersTest : public ::testing::Test {
 protected:
  FiltersTest() : m(nullptr, nullptr, nullptr, 0, 0), setup() {
    trace = "";
    points.clear();
    fulfilled.clear();
  }
  void load(const std::string& sections) { LoadSections(m.dico, sections); }
  std::string run(int filter) {
    trace = "";
    m.checkFilter(filter, nullptr, &setup, 0);
    return trace;
  }

  TQMMSG m;
  QMUSERSETUP setup;
};

TEST_F(FiltersTest, NumbersNamesActions) {
  const struct {
    const char* name;
    const char* trace;
  } rows[] = {
      {"Dates", "checkDates(7)"},
      {"From", "checkFrom"},
      {"To", "checkTo"},
      {"Subject", "checkSubject"},
      {"Received", "checkReceived"},
      {"Header", "checkHeader"},
      {"MessageId", "checkMessageId"},
      {"Boundary", "checkBoundary"},
      {"Subst", "checkSubst"},
      {"MsgStructure", "checkMsgStructure"},
      {"UserInText", ""},
      {"Random", "checkRandom"},
      {"ThreadIndex", "checkThreadIndex"},
      {"NonLatin", ""},
      {"DuplicateLetter", "checkDuplicateLetter"},
      {"UselessChars", ""},
      {"HtmlContext", "checkHtmlContext"},
      {"Html", "checkHtml"},
      {"LinkText", "checkLinkText"},
      {"BlackLinks", "checkBlackLinks"},
      {"HiddenUrl", "checkHiddenUrl"},
      {"Img", "checkImg"},
      {"Alt", "checkEmbedSpam"},
      {"MsgByNature", "checkMsgByNature"},
      {"Scam", "ScamGroups"},
      {"Phishing", "checkPhishing"},
      {"Javascript", "checkJavascript"},
      {"TipsWords", "checkTipsWords"},
      {"BodyEmails", ""},
      {"textplain", "checkTextPlain"},
      {"Wordgroups", "BlackWordGroups"},
      {"BlackWords", ""},
      {"AntiBayes", "checkAntiBayes"},
      {"Tld", "checkTld"},
      {"Regex",
       "=SpamRegex(0) =SpamRegexNoPurge(0) =UceRegex(0) RegexCount(0)"},
      {"Summer", "checkSpamDomains"},
      {"Unsub", "checkUnsub"},
      {"ForgedMailer", "checkForgedMailer"},
      {"Cid", "checkPartsCid"},
      {"Phone", "checkPhone"},
      {"MailSpring", "checkMailSpring"},
      {"Fall", "checkFall"},
      {"BlackAndWhite", "checkBlackAndWhite"},
      {"Hdr", "checkSpamHdr"},
      {"HeaderRegex", "=HeaderRegex(0)"},
  };
  setup.value1 = 7;
  std::string sections;
  for (const auto& row : rows) sections += std::string(" No-") + row.name;
  int filter = 0;
  for (const auto& row : rows) EXPECT_EQ(row.trace, run(++filter)) << row.name;
  EXPECT_EQ("", run(0));
  EXPECT_EQ("", run(46));
  load(sections);
  filter = 0;
  for (const auto& row : rows) {
    fulfilled[std::string("No-") + row.name] = true;
    EXPECT_EQ(std::string("?No-") + row.name, run(++filter));
  }
}

TEST_F(FiltersTest, SectionsThatSpare) {
  const struct {
    const char* sections;
    const char* fulfilled;
    const char* trace;
  } rows[] = {
      {"No-Fall", "", "?No-Fall checkFall"},
      {"no-fALL", "No-Fall", "?No-Fall"},
      {"Only-Fall", "", "?Only-Fall"},
      {"Only-Fall", "Only-Fall", "?Only-Fall checkFall"},
      {"No-Fall Only-Fall", "Only-Fall", "?No-Fall ?Only-Fall checkFall"},
      {"No-Fall Only-Fall", "No-Fall Only-Fall", "?No-Fall"},
      {"No-Fall Only-Fall", "", "?No-Fall ?Only-Fall"},
      {"No-Tld Only-Falls Only", "No-Tld", "checkFall"},
  };
  points["checkFall"] = 30;
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.sections) + ": " + row.fulfilled);
    load(row.sections);
    fulfilled.clear();
    std::istringstream names(row.fulfilled);
    std::string name;
    while (names >> name) fulfilled[name] = true;
    trace = "";
    const bool runs = TBLOCK(row.trace).ends("checkFall");
    EXPECT_EQ(runs ? -30 : 0, m.checkFilter(42, nullptr, nullptr, 0));
    EXPECT_EQ(row.trace, trace);
  }
}

TEST_F(FiltersTest, BlackOrderAndBailout) {
  const std::string head =
      "checkHeader checkSpamDomains checkDates(0) checkForgedMailer "
      "checkPartsCid checkBoundary checkTo checkSubject checkMsgStructure "
      "checkHtml checkImg checkHtmlContext checkJavascript checkPhone "
      "checkFall";
  const std::string tail =
      " checkHiddenUrl checkUnsub checkDuplicateLetter checkRandom "
      "checkMailSpring checkMsgByNature checkBlackLinks checkLinkText "
      "checkFrom ";
  const std::string end =
      " checkEmbedSpam checkPhishing checkSubst checkTipsWords ScamGroups "
      "BlackWordGroups";
  m.checkBlack(nullptr, nullptr);
  EXPECT_EQ(
      head + tail +
          "=SpamRegex(1) =SpamRegexNoPurge(1) =UceRegex(1) RegexCount(0)" + end,
      trace);
  const struct {
    int score;
    int noBailout;
    std::string trace;
  } rows[] = {
      {299, 0,
       head + tail +
           "=SpamRegex(1) =SpamRegexNoPurge(1) =UceRegex(1) RegexCount(0)" +
           end},
      {300, 0, head},
      {5000, 1,
       head + tail +
           "=SpamRegex(0) =SpamRegexNoPurge(0) =UceRegex(0) RegexCount(0)" +
           end},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.score);
    trace = "";
    m.ledger.reset();
    m.noBailout = row.noBailout;
    points["checkFall"] = row.score;
    m.checkBlack(nullptr, nullptr);
    EXPECT_EQ(row.trace, trace);
  }
}

TEST_F(FiltersTest, HeaderFiltersOnce) {
  const char kMail[] = "From: a@b.example\r\n\r\nx\r\n";
  const struct {
    const char* scoring;
    int noBailout;
    const char* trace;
  } rows[] = {
      {"", 0,
       "?No-Spam checkWhiteRecip checkSpamHdr checkReceived checkMessageId "
       "=HeaderRegex(1)"},
      {"", 1,
       "?No-Spam checkWhiteRecip checkSpamHdr checkReceived checkMessageId "
       "=HeaderRegex(0)"},
      {"checkReceived", 0,
       "?No-Spam checkWhiteRecip checkSpamHdr checkReceived"},
      {"checkReceived", 1,
       "?No-Spam checkWhiteRecip checkSpamHdr checkReceived checkMessageId "
       "=HeaderRegex(0)"},
      {"checkWhiteRecip", 0, "?No-Spam checkWhiteRecip"},
      {"No-Spam", 0, "?No-Spam"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.scoring + std::to_string(row.noBailout));
    points.clear();
    points[row.scoring] = 300;
    fulfilled["No-Spam"] = std::string(row.scoring) == "No-Spam";
    ASSERT_TRUE(m.loadFromBlock(TBLOCK(kMail), nullptr, 0));
    m.noBailout = row.noBailout;
    trace = "";
    m.checkHeaderFilter();
    EXPECT_EQ(row.trace, trace);
    m.checkHeaderFilter();
    EXPECT_EQ(row.trace, trace);
  }
}

}  // namespace
