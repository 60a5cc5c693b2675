#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "rules/image_util.h"
#include "rules/pattern_image_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kMail[] =
    "From: x@a.example\r\nX-A: one\r\nX-B: two\r\nSubject: hello\r\n\r\n"
    "Look at ab-1234-56-, ok1 ok2\r\n";

// A message whose field "Param" has the elements apple, banana, cherry.
class RuleSectionsTest : public testing::Test {
 protected:
  RuleSectionsTest() : message(nullptr, nullptr, nullptr, 0, 0) { load(kMail); }

  void load(const char* mail) {
    message.setParams("apple\nbanana\ncherry");
    ASSERT_TRUE(message.loadFromBlock(TBLOCK(mail), nullptr, 1));
    message.parseBody();
    message.ledger.reset();
  }
  // Makes the image the message's dictionary, with its rules parsed ahead.
  void useImage() {
    ASSERT_TRUE(image.load(message.dico));
    message.dico.prepareRules();
  }
  // What was written since the last call.
  std::string cause() {
    const std::string entries = Str(message.ledger.cause.view());
    message.ledger.reset();
    return entries;
  }

  TQMMSG message;
  PatternImage image;
};

// The values of the leaves with how many of how many elements counted; where
// levels ended otherwise than at their end, the reason and what was left.
class TraceText : public RULETRACE {
 public:
  void leafTested(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                  const TBLOCKVECT& matched, int32_t) override {
    text += Str(leaf.value) + std::to_string(matched.count()) + "/" +
            std::to_string(elements.count()) + " ";
  }
  void ended(TBLOCK rest, int32_t, TRULEEND reason) override {
    static const char* const kNames[] = {
        "", "and:", "or:", "part:", "close:", "deep:", "leaf:"};
    if (reason != reUsedUp) text += kNames[reason] + Str(rest) + " ";
  }
  std::string text;
};

TEST_F(RuleSectionsTest, WalkOverOneRule) {
  static const struct {
    const char* rule;
    int count;  // with `multi`
    const char *name, *trace;
  } rows[] = {{"", 0, "", ""},
              {"name:", 0, "name", ""},
              {" n : Param=an", 1, "n", "an1/3 "},
              {"Param=a", 2, "", "a2/3 "},
              {"Param[1]=a", 1, "", "a1/3 "},
              {"Subject=hello", 1, "", "hello1/1 "},
              {"Nonsense<>x", 1, "", "x0/0 "},
              {"Nonsense=x", 0, "", "x0/0 "},
              // Each part's value takes the place of the one before.
              {"(Param=a)&(Subject=h)", 1, "", "a2/3 h1/1 "},
              {"(Subject=h)+(Param=a)", 2, "", "h1/1 a2/3 "},
              {"(Subject=h)(Param=a)", 1, "", "h1/1 or:Param=a "},
              {"(Subject=x)(Param=a)", 2, "", "x0/1 a2/3 "},
              // The first part that need not be looked at ends it all.
              {"(Subject=x)&(Param=b)|(Param=c)", 0, "", "x0/1 and:Param=b "},
              {"(Subject=h)|(Param=b)&(Param=x)", 1, "", "h1/1 or:Param=b "},
              {"(Param=c)+((Subject=x)|(Param=a))", 2, "", "c1/3 x0/1 a2/3 "},
              {"(a:Subject=h)&(b:Param=b)", 1, "", "h1/1 b1/3 "},
              {"r:(a:Subject=h)", 1, "r", "h1/1 "},
              // "&" goes on with what the leaf before it matched, "+" does not.
              {"(Param=a)&(Param=b)", 1, "", "a2/3 b1/2 "},
              {"(Param=a)&(Param=ch)", 0, "", "a2/3 ch0/2 "},
              {"(Param=a)+(Param=ch)", 1, "", "a2/3 ch1/3 "},
              {"(Param=a)&(Param=b)+(Param=ch)", 1, "", "a2/3 b1/2 ch1/3 "},
              {"(Param=a)&(Param=n)&(Param=n)", 1, "", "a2/3 n1/2 n1/1 "},
              {"(Param=a)&(Param[2]=ch)", 1, "", "a2/3 ch1/3 "},
              {"(Param<>b)&(Param=a)", 1, "", "b2/3 a1/2 "},
              {"(Param=a)&((Param=ch))", 1, "", "a2/3 ch1/3 "},
              {"(Param=a)&(Subject=h)&(Param=ch)", 1, "", "a2/3 h1/1 ch1/3 "},
              {"(Param=a)&(Nonsense<>x)&(Zilch<>y)", 1, "", "a2/3 x0/0 y0/0 "},
              {"(Param=x)|(Param=a)&(Param=b)", 1, "", "x0/3 a2/3 b1/2 "},
              {"(@X-A=one)&(@X-B=two)", 1, "", "one1/1 two1/1 "},
              {"(@X-A=one)&(Nonsense=one)", 0, "", "one1/1 one0/0 "},
              // What cannot be read: the value so far.
              {"(Param=a)&", 2, "", "a2/3 part:& "},
              {"(Param=a)|(", 2, "", "a2/3 close:|( "},
              {"(Param=a)+(Param=b", 2, "", "a2/3 close:+(Param=b "},
              {"(Param=a)+(Param)", 0, "", "a2/3 leaf:Param "},
              {"(Param=a)Param", 2, "", "a2/3 leaf:Param "},
              {"(Param=a)Param=b", 1, "", "a2/3 b1/3 "},
              {"((Param=a)&)+(Param=b)", 1, "", "a2/3 part:& b1/3 "},
              {"()", 0, "", ""},
              {"(x:)", 0, "", ""},
              {"Param", 0, "", "leaf:Param "},
              {"Param#=a", 0, "", "leaf:Param#=a "},
              {"(Param=()", 0, "", "close:(Param=() "},
              {"(Param=[)|(Param=a)", 2, "", "[0/3 a2/3 "}};
  TraceText trace;
  message.ruleTrace = &trace;
  image.section("rules", stRule);
  for (const auto& row : rows) image.text(row.rule, 0, 1);
  ASSERT_TRUE(image.load(message.dico));
  REGEXPOOL pool;
  enum { kAlone, kPooled, kPrepared, kModes };
  for (int mode = kAlone; mode < kModes; mode++) {
    if (mode == kPooled) {
      message.dico.pool = &pool;
      message.dico.precompileRegexesIntoPool();
    }
    if (mode == kPrepared) message.dico.prepareRules();
    uint32_t i = 0;
    for (const auto& row : rows) {
      SCOPED_TRACE(std::to_string(mode) + " " + row.rule);
      const TQKLINE* line = message.dico.image().line(i++);
      EXPECT_EQ(mode == kPrepared, message.dico.preparedRule(line) != nullptr);
      for (int multi = 0; multi < 2; multi++) {
        trace.text.clear();
        TBLOCK name("left over");
        EXPECT_EQ(multi ? row.count : row.count > 0,
                  message.checkRuleLine(line, name, multi));
        EXPECT_EQ(row.name, Str(name));
        EXPECT_EQ(row.trace, trace.text);
      }
    }
  }
}

TEST_F(RuleSectionsTest, EveryMatchingLineScores) {
  image.section("=s", stRule)
      .text("twice:Param=a", KWLINEFLAGMULTI, 7)
      .text("once:Param=a", 0, 5)
      .text("Subject=hello", 0, 3)
      .text("miss:Param=x", 0, 90)
      .text("many:Param=.", KWLINEFLAGMULTI, 1000000000)
      .text("less:Param=.", KWLINEFLAGMULTI, -1000000000);
  image.section("none", stRule).text("Param=x", 0, 5);
  useImage();
  EXPECT_EQ(1, message.checkRuleSection("=S", 0));
  EXPECT_EQ(0, message.ledger.score);
  EXPECT_EQ(
      "^twice (14);^once (5);^ (3);^many (1000000000);^less (-1000000000)",
      cause());
  EXPECT_EQ(0, message.checkRuleSection("none", 0));
  EXPECT_EQ(0, message.checkRuleSection("s", 0));
  EXPECT_EQ("", cause());
  // Clamped at the end only.
  EXPECT_EQ(22, message.getRuleSectionScore(TBLOCK("=s"), nullptr));
  STRVECT details(0, 64);
  EXPECT_EQ(1000000000,
            message.getPositiveSectionScore(TBLOCK("=s"), &details));
  ASSERT_EQ(4, details.count());
  EXPECT_STREQ("2xtwice:Param=a", details.text(0));
  EXPECT_STREQ("3xmany:Param=.", details.text(3));
}

TEST_F(RuleSectionsTest, NamesChainToSections) {
  image.section("first", stRule)
      .text("@No:Param=a", 0, 50)
      .text("@Yes:Param=a", KWLINEFLAGMULTI, 10)
      .text("@Bare:Param=a", 0, 10)
      .text("@:Param=a", 0, 10)
      .text("plain:Param=a", 0, 1);
  image.section("no", stRule).text("x:Param=x", 0, 1);
  image.section("yes", stRule)
      .text("x:Param=x", 0, 1)
      .text("@no:Param=a", KWLINEFLAGMULTI, 4)
      .text("z:Param=a", 0, 8);
  image.section("bare", stRule).text("Param=a", 0, -3);
  image.section("only", stRule).text("@No:Param=a", 0, 50);
  image.section("last", stRule).text("@bare:Param=a", 0, 50);
  useImage();
  EXPECT_EQ(1, message.checkRuleSection("first", 0));
  EXPECT_EQ("Yes--@no (24);Bare (7);^plain (1)", cause());
  EXPECT_EQ(1, message.checkRuleSection("only", 0));
  EXPECT_EQ("", cause());

  STR name;
  EXPECT_EQ(2, message.matchRuleSection("first", name));
  EXPECT_STREQ("Yes--@no", name.c_str());
  EXPECT_EQ(0, message.matchRuleSection("only", name));
  EXPECT_STREQ("", name.c_str());
  EXPECT_EQ(1, message.matchRuleSection("last", name));
  EXPECT_STREQ("bare--", name.c_str());
  EXPECT_EQ(0, message.matchRuleSection("absent", name));

  TBLOCK rule("kept");
  int32_t score = 99;
  EXPECT_EQ(0, message.testRuleSection(TBLOCK("no"), &rule, &score));
  EXPECT_EQ(0, message.testRuleSection(TBLOCK("absent"), &rule, &score));
  EXPECT_EQ("kept", Str(rule));
  EXPECT_EQ(99, score);
  EXPECT_EQ(1, message.testRuleSection(TBLOCK("yes"), &rule, &score));
  EXPECT_EQ("@no", Str(rule));
  EXPECT_EQ(4, score);
  EXPECT_EQ(1, message.testRuleSection("only"));
  EXPECT_EQ(0, message.testRuleSection("no"));
  EXPECT_EQ("", cause());
}

// A rule of a few leaves, in groups within groups.
std::string RandomRule(Numbers& numbers, int depth) {
  static const char* const kFields[] = {
      "Param", "Param", "Param[1]", "Param[0,1]", "Subject",  "@X-A",
      "@X-C",  "@All",  "Cc",       "rev(Param)", "SpamCause"};
  static const char* const kValues[] = {"=a",  "=an", "<>an", "=e",  "==a",
                                        "!=x", "=.",  "<>.",  "=^$", "=one~n"};
  static const char* const kJoiners[] = {"&", "&", "&", "+", "|", ""};
  static const char* const kCounts[] = {"", "", "", "1<", "2>", "0="};
  std::string rule;
  for (uint32_t n = 1 + numbers.Below(3); n > 0; n--) {
    const bool alone = depth == 2 || numbers.Below(3) > 0;
    if (!rule.empty()) rule += kJoiners[numbers.Below(6)];
    rule += "(";
    rule += alone ? std::string(kCounts[numbers.Below(6)]) +
                        kFields[numbers.Below(11)] + kValues[numbers.Below(10)]
                  : RandomRule(numbers, depth + 1);
    rule += numbers.Below(40) ? ")" : "";
  }
  return rule + (numbers.Below(5) ? "" : "Param=x");
}

// What is remembered from one rule to the next changes none of them.
TEST_F(RuleSectionsTest, PreparedRulesAnswerAsTheirTexts) {
  Numbers numbers(3);
  int matched = 0;
  for (int round = 0; round < 60; round++) {
    std::vector<std::string> rules;
    PatternImage rows;
    rows.section("s", stRule);
    for (int i = 0; i < 200; i++) rules.push_back(RandomRule(numbers, 0));
    for (const std::string& rule : rules) rows.text(rule.c_str(), 0, 1);
    ASSERT_TRUE(rows.load(message.dico));
    message.dico.prepareRules();
    message.dropRegexFields();
    message.ledger.reset();
    TBLOCK name;
    for (uint32_t i = 0; i < rules.size(); i++) {
      const int count =
          message.checkRule(TBLOCK(rules[i].c_str()), name, 1, '|');
      ASSERT_EQ(count,
                message.checkRuleLine(message.dico.image().line(i), name, 1))
          << rules[i];
      matched += count > 0;
      if (numbers.Below(20) == 0) message.addToSpamScore(1, "an", 1);
    }
  }
  EXPECT_GT(matched, 500);
}

}  // namespace
