// The dispatch: which number runs what, the two orders, the bailout, and the
// sections that spare a message a filter. A program of its own: it stands in
// for all checks and for the rules, each leaving its name in a trace.

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>

#include "rules/kw_obj.h"
#include "scan/tqmmsg.h"

namespace {

std::string trace;
std::map<std::string, int> points;  // that a call adds
std::set<std::string> fulfilled;    // rule sections that match

int Call(TQMMSG* m, const std::string& name) {
  trace += (trace.empty() ? "" : " ") + name;
  if (points.count(name)) m->addToSpamScore(points[name], "p", 1);
  return 0;
}

std::string With(const std::string& name, int argument) {
  return name + "(" + std::to_string(argument) + ")";
}

// The filter's section that this is.
std::string NameOf(const TQMDICO& dico, const TQKSECTION* section) {
  for (const std::string filter : _FilterNames)
    for (const char* prefix : {"No-", "Only-"})
      if (dico.findSection((prefix + filter).c_str()) == section)
        return prefix + filter;
  return "unknown";
}

}  // namespace

#define VOID(name)      \
  void TQMMSG::name() { \
    Call(this, #name);  \
  }
#define INT(name)             \
  int TQMMSG::name() {        \
    return Call(this, #name); \
  }
#define SETUPS(type, name)                                      \
  type TQMMSG::name(const QMGLOBALSETUP*, const QMUSERSETUP*) { \
    return Call(this, #name);                                   \
  }
// clang-format off
VOID(checkAntiBayes) VOID(checkTextPlain) VOID(checkHtml) VOID(checkImg)
VOID(checkMsgStructure) VOID(checkHtmlContext) VOID(checkEmbedSpam)
VOID(checkMsgByNature) VOID(checkJavascript) VOID(checkBoundary)
INT(checkForgedMailer) INT(checkDuplicateLetter) VOID(checkSubject)
VOID(checkSpamHdr) VOID(checkHeader) VOID(checkTo) INT(checkFall)
INT(checkMailSpring) VOID(checkSubst) VOID(checkBlackLinks)
VOID(checkSpamDomains) VOID(checkTld) VOID(checkHiddenUrl)
VOID(checkLinkText) VOID(checkPhone) VOID(checkUnsub) INT(checkIdFromMTA)
VOID(checkMessageId) INT(checkThreadIndex) VOID(checkPartsCid)
VOID(checkPhishing) VOID(checkReceived) VOID(checkFrom)
VOID(checkBlackAndWhite) VOID(checkWhiteRecip) VOID(checkWhite)
VOID(checkBlackWords) VOID(checkTipsWords) VOID(checkRandom) VOID(checkResit)
SETUPS(int, checkVirus) SETUPS(int, checkSuspect)
SETUPS(int, checkCommercial) SETUPS(bool, checkNotification)
void TQMMSG::checkEmails(int) {}
int TQMMSG::listFilter(TBLOCK) { return 0; }
int TQMMSG::matchRuleSection(const char*, STR&) { return 0; }
int TQMMSG::checkRuleLine(const TQKLINE*, TBLOCK&, int) { return 0; }
// clang-format on
void TQMMSG::checkDates(const QMUSERSETUP* setup) {
  Call(this, With("checkDates", setup ? setup->value1 : 0));
}
int TQMMSG::checkWordGroups(const char* section) {
  return Call(this, section);
}
int TQMMSG::checkRuleSection(const char* section, int stop) {
  return Call(this, With(section, stop));
}
int TQMMSG::checkRegexCountSection(const char* section, STRVECT* details) {
  return Call(this, With(section, details != nullptr));
}
int TQMMSG::testRuleSection(const char* section) {
  Call(this, std::string("?") + section);
  return fulfilled.count(section) != 0;
}
int TQMMSG::testRuleSection(const TQKSECTION* section) {
  return testRuleSection(NameOf(dico, section).c_str());
}

namespace {

class FiltersTest : public ::testing::Test {
 protected:
  FiltersTest() : m(nullptr, nullptr, nullptr, 0, 0), setup() {
    trace = "";
    points.clear();
    fulfilled.clear();
  }
  // A dictionary of rule sections; what their rules say is told by `fulfilled`.
  void load(const std::string& names) {
    TKwObj image;
    std::istringstream list(names);
    for (std::string name; list >> name;) {
      TBLOCKVECT lines(TBLOCK("n:(Id=x)"), 1);
      ASSERT_TRUE(image.AddSection(TBLOCK(("^" + name).c_str()), &lines, 0));
    }
    BLOCK* block = new BLOCK(0, BLOCK::_DEFALLOCSIZE);
    ASSERT_TRUE(image.WriteToStream(block));
    ASSERT_TRUE(m.dico.loadKeywordsFromBlock(block));
  }
  std::string run(int filter) {
    trace = "";
    m.checkFilter(filter, nullptr, &setup, 0);
    return trace;
  }

  TQMMSG m;
  QMUSERSETUP setup;
};

TEST_F(FiltersTest, NumbersNamesActions) {
  // Name and action, in the order of numbers.
  const char kFilters[] =
      "Dates checkDates(7) From checkFrom To checkTo Subject checkSubject "
      "Received checkReceived Header checkHeader MessageId checkMessageId "
      "Boundary checkBoundary Subst checkSubst MsgStructure checkMsgStructure "
      "UserInText - Random checkRandom ThreadIndex checkThreadIndex NonLatin - "
      "DuplicateLetter checkDuplicateLetter UselessChars - HtmlContext "
      "checkHtmlContext Html checkHtml LinkText checkLinkText BlackLinks "
      "checkBlackLinks HiddenUrl checkHiddenUrl Img checkImg Alt "
      "checkEmbedSpam MsgByNature checkMsgByNature Scam ScamGroups Phishing "
      "checkPhishing Javascript checkJavascript TipsWords checkTipsWords "
      "BodyEmails - textplain checkTextPlain Wordgroups BlackWordGroups "
      "BlackWords - AntiBayes checkAntiBayes Tld checkTld Regex "
      "=SpamRegex(0),=SpamRegexNoPurge(0),=UceRegex(0),RegexCount(0) Summer "
      "checkSpamDomains Unsub checkUnsub ForgedMailer checkForgedMailer Cid "
      "checkPartsCid Phone checkPhone MailSpring checkMailSpring Fall "
      "checkFall BlackAndWhite checkBlackAndWhite Hdr checkSpamHdr "
      "HeaderRegex =HeaderRegex(0)";
  setup.value1 = 7;
  std::istringstream list(kFilters);
  std::string name, action;
  for (int filter = 1; list >> name >> action; filter++) {
    if (action == "-") action = "";
    for (char& c : action)
      if (c == ',') c = ' ';
    load("No-Other");
    EXPECT_EQ(action, run(filter)) << name;
    load("No-" + name);
    fulfilled = {"No-" + name};
    EXPECT_EQ("?No-" + name, run(filter));
  }
  EXPECT_EQ("HeaderRegex", name);
  EXPECT_EQ("", run(0));
  EXPECT_EQ("", run(46));
}

TEST_F(FiltersTest, SectionsThatSpare) {
  const struct {
    const char* sections;
    std::set<std::string> fulfilled;
    const char* trace;
  } rows[] = {
      {"No-Fall", {}, "?No-Fall checkFall"},
      {"no-fALL", {"No-Fall"}, "?No-Fall"},
      {"Only-Fall", {}, "?Only-Fall"},
      {"Only-Fall", {"Only-Fall"}, "?Only-Fall checkFall"},
      {"No-Fall Only-Fall", {"Only-Fall"}, "?No-Fall ?Only-Fall checkFall"},
      {"No-Fall Only-Fall", {"No-Fall", "Only-Fall"}, "?No-Fall"},
      {"No-Fall Only-Fall", {}, "?No-Fall ?Only-Fall"},
      {"No-Tld Only-Falls Only", {"No-Tld"}, "checkFall"}};
  points["checkFall"] = 30;
  for (const auto& row : rows) {
    load(row.sections);
    fulfilled = row.fulfilled;
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
      "checkMailSpring checkMsgByNature checkBlackLinks checkLinkText checkFrom"
      " =SpamRegex(P) =SpamRegexNoPurge(P) =UceRegex(P) RegexCount(0)"
      " checkEmbedSpam checkPhishing checkSubst checkTipsWords ScamGroups "
      "BlackWordGroups";
  const struct {
    int score, noBailout;
    std::string trace;
  } rows[] = {{0, 0, head + tail},
              {299, 0, head + tail},
              {300, 0, head},
              {5000, 1, head + tail}};
  load("No-Other");
  for (const auto& row : rows) {
    trace = "";
    m.ledger.reset();
    m.noBailout = row.noBailout;
    points["checkFall"] = row.score;
    m.checkBlack(nullptr, nullptr);
    std::string wanted = row.trace;
    for (size_t at; (at = wanted.find("(P)")) != std::string::npos;)
      wanted[at + 1] = row.noBailout ? '0' : '1';
    EXPECT_EQ(wanted, trace) << row.score;
  }
}

TEST_F(FiltersTest, HeaderFiltersOnce) {
  const std::string head =
      "?No-Spam checkWhiteRecip checkSpamHdr checkReceived";
  const struct {
    const char* scoring;
    int noBailout;
    std::string trace;
  } rows[] = {{"", 0, head + " checkMessageId =HeaderRegex(1)"},
              {"", 1, head + " checkMessageId =HeaderRegex(0)"},
              {"checkReceived", 0, head},
              {"checkReceived", 1, head + " checkMessageId =HeaderRegex(0)"},
              {"checkWhiteRecip", 0, "?No-Spam checkWhiteRecip"},
              {"No-Spam", 0, "?No-Spam"}};
  load("No-Other");
  for (const auto& row : rows) {
    points = {{row.scoring, 300}};
    fulfilled = {row.scoring};
    ASSERT_TRUE(
        m.loadFromBlock(TBLOCK("From: a@b.example\r\n\r\nx\r\n"), nullptr, 0));
    m.noBailout = row.noBailout;
    trace = "";
    m.checkHeaderFilter();
    EXPECT_EQ(row.trace, trace) << row.scoring;
    m.checkHeaderFilter();
    EXPECT_EQ(row.trace, trace);
  }
}

}  // namespace
