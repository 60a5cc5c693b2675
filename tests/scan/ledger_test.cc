#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

TEST(LedgerTest, OneEntry) {
  const struct {
    int32_t points;
    const char* label;
    uint16_t factor;
    int32_t total;
    const char* cause;
    int32_t state;
  } rows[] = {{100, "x", 1, 100, "x (100)", 1},
              {99, "x", 1, 99, "x (99)", 0},
              {50, "x", 6, 200, "x4x (200)", 1},
              {49, "x", 6, 294, "x6x (294)", 1},
              {-50, "x", 6, -200, "x4x (-200)", 0},
              {-49, "x", 6, -294, "x6x (-294)", 0},
              {7, "a;b", 0, 0, "a;b (0)", 0},
              {7, "", 2, 14, "2x (14)", 0},
              {0, "x", 3, 0, "", 0},
              {1, "x", 65535, 65535, "x65535x (65535)", 1},
              // Sums stay within their bounds whatever a rule says.
              {INT32_MAX, "x", 4, kMaxScore, "x4x (1000000000)", 1},
              {INT32_MIN, "x", 9, -kMaxScore, "x4x (-1000000000)", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.cause);
    LEDGER ledger;
    EXPECT_EQ(row.total, ledger.add(row.points, row.label, row.factor));
    EXPECT_EQ(row.total, ledger.score);
    EXPECT_EQ(row.cause, Str(ledger.cause.view()));
    EXPECT_EQ(row.state, ledger.state);
  }
}

TEST(LedgerTest, TheCauseTextIsBoundedAndThePointsAreNot) {
  LEDGER ledger;
  const std::string label(1000, 'x');
  for (int i = 0; i < 2000; i++) ledger.add(1, label.c_str(), 1);
  EXPECT_EQ(2000, ledger.score);
  EXPECT_LE(ledger.cause.length, kMaxCauseBytes + 1100);
  EXPECT_GT(ledger.cause.length, kMaxCauseBytes - 2000);
  // No entry is cut in the middle.
  EXPECT_EQ("x (1)", Str(ledger.cause.view()).substr(ledger.cause.length - 5));
}

TEST(RandomScoreTest, StaysInItsSpread) {
  for (int score : {-5, 0, 119}) EXPECT_EQ(score, TQMMSG::randomScore(score));
  for (int i = 0; i < 200; i++) {
    const int moved = TQMMSG::randomScore(300);
    EXPECT_GE(moved, 290);
    EXPECT_LT(moved, 310);
    EXPECT_LE(TQMMSG::randomScore(120), 120);
  }
  EXPECT_GT(TQMMSG::randomScore(INT32_MAX), 0);
}

}  // namespace
