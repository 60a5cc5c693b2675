// Where the black words stop, and which points are white.

#include <gtest/gtest.h>

#include "rules/source_util.h"
#include "scan/tqmmsg.h"

TEST(WhiteWordsTest, BlackWordsUntilTheBailout) {
  const struct {
    int32_t bailout, start, noBailout, score;
  } rows[] = {{100, 100, 0, 100}, {100, 99, 0, 169}, {200, 130, 0, 200},
              {200, 129, 0, 259}, {200, 20, 0, 200}, {200, 19, 0, 249},
              {100, 500, 1, 730}};
  for (const auto& row : rows) {
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    ASSERT_TRUE(LoadSource(
        m.dico, "[BlackWords]\n<50>pills\n[BlackSubjectWords]\n<60>pills"));
    const char kMail[] = "From: Pills <a@b.example>\nSubject: pills\n\npills\n";
    m.loadFromBlock(TBLOCK(kMail), "", 1);
    m.parseWords();
    m.setProfileInfo(row.bailout, "");
    m.noBailout = row.noBailout;
    m.ledger.score = row.start;
    m.checkBlackWords();
    EXPECT_EQ(row.score, m.ledger.score) << row.bailout << " " << row.start;
  }
}

TEST(WhiteWordsTest, WhitePointsAreKeptApart) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico, "[^=WhiteRegex]\n<7>a:(Subject=.)"));
  m.loadFromBlock(TBLOCK("From: a@b.example\nSubject: s\n\nx\n"), "", 1);
  m.listFilter(TBLOCK("+a@*\n-a@*\n"));
  m.checkWhite();
  m.addToSpamScore(1, "black", 1);
  EXPECT_EQ(-4993, m.ledger.whiteScore);
  EXPECT_EQ(5001, m.ledger.blackScore);
}
