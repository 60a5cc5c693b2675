// The order of a scan and every early exit. This is a program of its own: it
// defines the checks that the driver calls, each writing its name to a trace
// and doing what the test asked for, so that the library's own are not linked.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

struct Script {
  std::string trace;
  // What a call does beside leaving its name; keyed by that name.
  std::map<std::string, std::function<void(TQMMSG*)>> effects;
  // What a call answers; 0 when not named.
  std::map<std::string, int> answers;

  int call(TQMMSG* message, const std::string& name) {
    trace += (trace.empty() ? "" : " ") + name;
    auto effect = effects.find(name);
    if (effect != effects.end()) effect->second(message);
    auto answer = answers.find(name);
    return answer == answers.end() ? 0 : answer->second;
  }
};

Script* script;

std::function<void(TQMMSG*)> Points(int n) {
  return [n](TQMMSG* m) { m->addToSpamScore(n, "p", 1); };
}

std::function<void(TQMMSG*)> State(int state) {
  return [state](TQMMSG* m) { m->ledger.state = state; };
}

}  // namespace

#define CALLED(type, name, parameters, trace) \
  type TQMMSG::name parameters {              \
    return type(script->call(this, trace));   \
  }
#define SETUPS const QMGLOBALSETUP*, const QMUSERSETUP*
// clang-format off
CALLED(void, checkHeaderFilter, (), "hdr")
CALLED(int, checkFilter, (int n, SETUPS, int), "f" + std::to_string(n))
CALLED(void, checkBlack, (SETUPS), "black")
CALLED(int, checkRuleSection, (const char* name, int), name)
CALLED(int, testRuleSection, (const char* name), name)
CALLED(int, matchRuleSection, (const char* name, STR&), name)
CALLED(void, checkEmails, (int white), "emails" + std::to_string(white) +
                                       (ledger.whiteScoring ? "w" : ""))
CALLED(int, checkVirus, (SETUPS), "virus")
CALLED(bool, checkNotification, (SETUPS), "notif")
CALLED(void, checkTld, (), "tld")
CALLED(int, listFilter, (TBLOCK list), "list:" + Str(list))
CALLED(void, checkWhite, (), "white")
CALLED(void, checkBlackWords, (), "words")
CALLED(void, checkResit, (), ledger.whiteScoring ? "resitw" : "resit")
CALLED(int, checkSuspect, (SETUPS), "suspect")
CALLED(int, checkCommercial, (SETUPS), "commercial")
int TQMMSG::checkRuleLine(const TQKLINE*, TBLOCK&, int) { return 0; }
// clang-format on

namespace {

const char kMail[] = "From: a@b.example\r\nSubject: s\r\n\r\nbody\r\n";
const char kSpamBranch[] =
    "No-Spam EverWhiteRegex =SpamRegexBeforeWhite emails1w f33 tld white "
    "black words resitw";
const std::string kStart = "hdr f43 virus list:G list:U notif ";
const std::string kFull = kStart + kSpamBranch + " suspect commercial";

std::string Cause(const TQMMSG& m) {
  return Str(m.ledger.cause.view());
}

class DriverTest : public ::testing::Test {
 protected:
  DriverTest() : message(nullptr, nullptr, nullptr, 0, 0) { script = &s; }

  int check(const char* user = nullptr, int noBailout = 0, int skipEmails = 0) {
    return message.check(nullptr, nullptr, TBLOCK("G"), TBLOCK("U"), noBailout,
                         skipEmails, user, 0);
  }
  void load(const char* text) { message.loadFromBlock(TBLOCK(text), "", 0); }

  Script s;
  TQMMSG message;
};

TEST_F(DriverTest, CleanMailRunsEverythingInOrder) {
  load(kMail);
  EXPECT_EQ(0, check());
  EXPECT_EQ(kFull, s.trace);
  EXPECT_EQ(ssClean, message.ledger.state);
  EXPECT_EQ(1, message.bodyParsed);
  EXPECT_EQ(0, message.ledger.whiteScoring);
}

// Each row: which call adds points (or fixes the state), and what follows.
TEST_F(DriverTest, EarlyExits) {
  struct Row {
    const char* call;
    std::function<void(TQMMSG*)> effect;
    int noBailout;
    std::string trace;
    int score, state;
  };
  const std::string header = "hdr f43";
  const std::string lists = "hdr f43 virus list:G list:U";
  const std::string rules =
      kStart + "No-Spam EverWhiteRegex =SpamRegexBeforeWhite";
  const std::string emails = rules + " emails1w";
  const std::string noWhite = emails + " f33 tld black words";
  const std::string noResit = emails + " f33 tld white black words";
  const Row rows[] = {
      {"hdr", Points(299), 0, noWhite, 299, 1},
      {"hdr", Points(300), 0, header, 300, 1},
      {"hdr", Points(5000), 1, noResit, 5000, 1},
      {"f43", Points(1000), 0, header, 1000, 1},
      {"f43", Points(-1000), 0, header, -1000, 0},
      {"f43", Points(-999), 0, emails + " suspect commercial", -999, 0},
      {"f43", Points(-1000), 1, emails + " suspect commercial", -1000, 0},
      {"virus", State(ssVirus), 0, "hdr f43 virus", 0, 2},
      {"list:U", Points(5000), 0, lists, 5000, 1},
      {"list:G", Points(-5000), 0, lists, -5000, 0},
      {"list:G", Points(5000), 1, noResit, 5000, 1},
      {"notif", State(ssNotification), 0, lists + " notif", 0, 3},
      {"=SpamRegexBeforeWhite", Points(300), 0, rules, 300, 1},
      {"=SpamRegexBeforeWhite", Points(300), 1, noResit, 300, 1},
      {"=SpamRegexBeforeWhite", Points(99), 0, kFull, 99, 0},
      {"=SpamRegexBeforeWhite", Points(100), 0, noWhite, 100, 1},
      {"emails1w", Points(-499), 0, kFull, -499, 0},
      {"emails1w", Points(-500), 0, emails + " suspect commercial", -500, 0},
      {"black", Points(300), 0, emails + " f33 tld white black", 300, 1},
      {"black", Points(300), 1, noResit, 300, 1},
      {"black", Points(99), 0, kFull, 99, 0},
      {"black", Points(100), 0, noResit, 100, 1},
      // The second chance goes by what stood before the words.
      {"words", Points(150), 0, kStart + kSpamBranch, 150, 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.call) + " " + std::to_string(row.score) +
                 (row.noBailout ? " no bailout" : ""));
    s = Script();
    s.effects[row.call] = row.effect;
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    m.loadFromBlock(TBLOCK(kMail), "", 0);
    EXPECT_EQ(row.score, m.check(nullptr, nullptr, TBLOCK("G"), TBLOCK("U"),
                                 row.noBailout, 0, nullptr, 0));
    EXPECT_EQ(row.trace, s.trace);
    EXPECT_EQ(row.state, m.ledger.state);
    // Only an exit that the header brings about spares the body.
    EXPECT_EQ(!(row.trace == header && std::string(row.call) == "hdr"),
              m.bodyParsed != 0);
  }
}

// The spam branch's exits set the state, and the driver then goes by the
// score: 200 header points less 100 end as spam.
TEST_F(DriverTest, EverWhiteTakesPointsOffAndLeavesTheBranch) {
  s.effects["hdr"] = Points(200);
  s.answers["EverWhiteRegex"] = 1;
  load(kMail);
  EXPECT_EQ(100, check());
  EXPECT_EQ(kStart + "No-Spam EverWhiteRegex", s.trace);
  EXPECT_EQ(ssSpam, message.ledger.state);
  EXPECT_EQ(-100, message.ledger.whiteScore);
  EXPECT_EQ(200, message.ledger.blackScore);
  EXPECT_EQ("p (200);EverWhite (-100)", Cause(message));
}

TEST_F(DriverTest, SwitchesOfTheSpamBranch) {
  s.answers["No-Spam"] = 1;
  load(kMail);
  check();
  EXPECT_EQ(kStart + "No-Spam suspect commercial", s.trace);

  s = Script();
  load(kMail);
  check(nullptr, 0, 1);
  EXPECT_EQ(std::string::npos, s.trace.find("emails"));
}

// Gives the message a part; `embedded` makes it the message.txt one.
BLOCKPART* AddPart(TQMMSG* m, const char* type, const char* content,
                   bool embedded) {
  BLOCKPART* part = new BLOCKPART;
  part->type = TBLOCK(type);
  part->content = TBLOCK(content);
  m->message.parts.insert(part, 1);
  if (embedded) m->message.embeddedPart = part;
  return part;
}

TEST_F(DriverTest, EmbeddedMessageIsScannedInPlaceOfTheOuterOne) {
  s.effects["hdr"] = [](TQMMSG* m) {
    m->addToSpamScore(7, "outer", 1);
    m->addToSpamScore(-3, "outer", 1);
  };
  s.effects["words"] = Points(120);
  load(kMail);
  message.parse(0);
  AddPart(&message, "text/plain", kMail, true);
  EXPECT_EQ(120, check());
  // One spam branch, the inner one's, without header filters; and the outer
  // points are gone.
  EXPECT_EQ(kStart + kSpamBranch, s.trace);
  EXPECT_EQ("p (120)", Cause(message));
  EXPECT_EQ(0, message.ledger.whiteScore);
  EXPECT_EQ(120, message.ledger.blackScore);
  EXPECT_STREQ("0120;0000;0120", message.ledger.scoreLine);
}

TEST_F(DriverTest, WrappedMessageNeedsTheFlagOfTheEarlierFilter) {
  struct Row {
    const char *header, *type;
    bool inner;
  };
  const Row rows[] = {{"X-Spam-Flag: yes\r\n", "Message/RFC822", true},
                      {"X-Spam-Flag: no\r\n", "message/rfc822", false},
                      {"", "message/rfc822", false},
                      {"X-Spam-Flag: YES\r\n", "text/plain", false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.header);
    s = Script();
    s.effects["words"] = [](TQMMSG* m) {
      m->addToSpamScore(10, m->depth ? "inner" : "outer", 1);
    };
    load((std::string(row.header) + kMail).c_str());
    message.parse(0);
    AddPart(&message, "text/html", "", false);
    AddPart(&message, row.type, kMail, false);
    EXPECT_EQ(10, check());
    EXPECT_EQ(row.inner ? "inner (10)" : "outer (10)", Cause(message));
  }
}

TEST_F(DriverTest, NestingEndsAtItsLimit) {
  for (int depth : {6, 7}) {
    SCOPED_TRACE(depth);
    s = Script();
    int deepest = 0;
    s.effects["words"] = [&deepest](TQMMSG* m) { deepest = m->depth; };
    TQMMSG m(nullptr, nullptr, nullptr, 0, depth);
    m.loadFromBlock(TBLOCK(kMail), "", 1);
    AddPart(&m, "", kMail, true);
    EXPECT_EQ(depth == 6 ? 1 : 0, m.checkEmbeddedSpam(nullptr, nullptr, 0));
    EXPECT_EQ(depth == 6 ? 7 : 0, deepest);
  }
}

// A part that holds a notification's text.
void SetText(TQMMSG* m, const char* text) {
  m->message.textPart = AddPart(m, "text/plain", text, false);
}

TEST_F(DriverTest, SpamInNotification) {
  struct Row {
    const char *name, *text;
    int innerPoints, score, state;
    const char* cause;
  };
  const std::string copy =
      "Sorry.\n--- below this line is a COPY of the message.\n\n --\n" +
      std::string(kMail);
  const std::string both =
      "-- Original mail message --\nFrom: late@x.example\n\n"
      "-- Original message follows --\nFrom: early@x.example\n\n";
  const Row rows[] = {
      {"spam", copy.c_str(), 120, 120, 1, "inner a@b.example (120)"},
      {"clean", copy.c_str(), 99, 5, 3, "outer (5)"},
      {"no copy", "Sorry.\n", 120, 5, 3, "outer (5)"},
      {"first row wins", both.c_str(), 120, 120, 1,
       "inner early@x.example (120)"}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    s = Script();
    s.effects["notif"] = [](TQMMSG* m) {
      m->addToSpamScore(5, "outer", 1);
      m->ledger.state = ssNotification;
    };
    const int points = row.innerPoints;
    s.effects["words"] = [points](TQMMSG* m) {
      const std::string label = "inner " + Str(m->fromBox.email);
      m->addToSpamScore(points, label.c_str(), 1);
    };
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    m.loadFromBlock(TBLOCK(kMail), "", 1);
    SetText(&m, row.text);
    EXPECT_EQ(row.score,
              m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, nullptr, 0));
    EXPECT_EQ(row.state, m.ledger.state);
    EXPECT_EQ(row.cause, Cause(m));
    // The sums stay those of the notification.
    EXPECT_EQ(5, m.ledger.blackScore);
  }
}

}  // namespace
