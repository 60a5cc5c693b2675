// Where the black words stop.

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
