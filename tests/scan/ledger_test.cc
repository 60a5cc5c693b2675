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

TEST(CheckCondTest, LabelsOfTheFourForms) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  const char bytes[] = {'a', ';', static_cast<char>(0xE9)};
  EXPECT_EQ(7, m.checkCond(7, 1, "one"));
  EXPECT_EQ(1, m.checkCond(7, 2, "two", -12));
  EXPECT_EQ(1, m.checkCond(7, 3, "three", "detail"));
  EXPECT_EQ(1, m.checkCond(7, 4, "four", 44, "and ", TBLOCK(bytes, 3)));
  EXPECT_EQ(1, m.checkCond(7, 5, "five", 55, "", TBLOCK()));
  EXPECT_EQ(
      "one (1);two-12 (2);three detail (3);four44and a;\xE9 (4);five55 (5)",
      Str(m.ledger.cause.view()));
  m.ledger.reset();
  EXPECT_EQ(0, m.checkCond(0, 1, "x"));
  EXPECT_EQ(0, m.checkCond(0, 1, "x", 1));
  EXPECT_EQ(0, m.checkCond(0, 1, "x", "y"));
  EXPECT_EQ(0, m.checkCond(0, 1, "x", 1, "y", TBLOCK("z")));
  EXPECT_EQ(0, m.ledger.score);
  EXPECT_EQ(0u, m.ledger.cause.length);
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
