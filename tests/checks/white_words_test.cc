// Where the black words stop, and what is left of a trial for suspect mail.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

std::unique_ptr<TQMMSG> Message(const char* sections, const char* mail) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, sections));
  m->loadFromBlock(TBLOCK(mail), "", 1);
  m->parseWords();
  return m;
}

}  // namespace

TEST(WhiteWordsTest, BlackWordsUntilTheBailout) {
  const struct {
    int32_t bailout, start, noBailout, score;
  } rows[] = {{100, 100, 0, 100}, {100, 99, 0, 169},   {200, 130, 0, 200},
              {200, 129, 0, 259}, {200, 20, 0, 200},   {200, 19, 0, 249},
              {100, 500, 1, 730}, {300, -900, 0, -670}};
  for (const auto& row : rows) {
    auto m = Message("[BlackWords]\n<50>pills\n[BlackSubjectWords]\n<60>pills",
                     "From: Pills <a@b.example>\nSubject: pills\n\npills\n");
    m->setProfileInfo(row.bailout, "");
    m->noBailout = row.noBailout;
    m->ledger.score = row.start;
    m->checkBlackWords();
    EXPECT_EQ(row.score, m->ledger.score) << row.bailout << " " << row.start;
  }
}

TEST(WhiteWordsTest, SuspectStartsFromACleanLedger) {
  const struct {
    const char* sections;
    uint32_t global, own;
    int32_t state, score;
    const char* cause;
  } rows[] = {
      {"[SuspectEmail-Words]\n<&90>pills", 0x40, 0x40, 5, 180,
       "pills in subject2x (180)"},
      {"[SuspectEmail-Words]\n<90>pills", 0x40, 0x20, 0, 9, "before (9)"},
      {"[SuspectEmail-Words]\n<90>pills", 0x20, 0x40, 0, 9, "before (9)"},
      {"[^SuspectEmail-Regex]\n<1>a:(Subject=.)", 0x40, 0x40, 5, 1, "^a (1)"},
      {"[^SuspectEmail-Regex]\n<-1>a:(Subject=.)", 0x40, 0x40, 0, 9,
       "before (9)"},
      {"[^No-SuspectEmail]\n<0>(Subject=.)\n[SuspectEmail-Words]\n<90>pills",
       0x40, 0x40, 3, 9, "before (9)"}};
  for (const auto& row : rows) {
    auto m = Message(row.sections, "Subject: pills pills\n\nx\n");
    m->ledger.whiteScoring = 1;
    m->addToSpamScore(9, "before", 1);
    m->ledger.state = row.state == 3 ? 3 : 0;
    const QMGLOBALSETUP global = {8, row.global};
    const QMUSERSETUP own = {20, -100, 200, 0, row.own};
    const bool ran = row.global & row.own;
    EXPECT_EQ(ran ? row.state : 0, m->checkSuspect(&global, &own));
    EXPECT_EQ(row.state, m->ledger.state);
    EXPECT_EQ(row.score, m->ledger.score);
    EXPECT_EQ(row.cause, Str(m->ledger.cause.view()));
    EXPECT_EQ(row.state == 5 ? 0 : 9, m->ledger.whiteScore);
  }
}
