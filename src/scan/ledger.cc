// The score ledger and the members of TQMMSG that write to it: addToSpamScore
// and checkCond, the only way in for points. Tested by ledger_test.cc.

#include "scan/ledger.h"

#include <stdio.h>
#include <stdlib.h>

#include "rules/rule_expression.h"
#include "scan/tqmmsg.h"

namespace {

// Points this strong count at most kStrongRepeats times.
const int32_t kStrongPoints = 50;
const uint16_t kStrongRepeats = 4;

const uint32_t kCauseStep = 4096;

}  // namespace

LEDGER::LEDGER()
    : score(0),
      state(ssClean),
      cause(0, kCauseStep),
      scoreDetails(0, kCauseStep),
      scoreLine(),
      whiteScoring(0),
      whiteScore(0),
      blackScore(0) {}

void LEDGER::reset() {
  score = 0;
  state = ssClean;
  cause.empty();
  scoreDetails.empty();
  scoreLine[0] = 0;
  whiteScoring = 0;
  whiteScore = 0;
  blackScore = 0;
}

void LEDGER::assign(const LEDGER& other) {
  if (this == &other) return;
  score = other.score;
  state = other.state;
  cause.empty();
  cause.add(other.cause.view());
  scoreDetails.empty();
  scoreDetails.add(other.scoreDetails.view());
  whiteScoring = other.whiteScoring;
  whiteScore = other.whiteScore;
  blackScore = other.blackScore;
  snprintf(scoreLine, sizeof scoreLine, "%.4d;%.4d;%.4d", score, whiteScore,
           blackScore);
}

int32_t LEDGER::add(int32_t points, const char* label, uint16_t factor) {
  if (points == 0) return 0;
  const bool strong = points >= kStrongPoints || points <= -kStrongPoints;
  if (strong && factor > kStrongRepeats) factor = kStrongRepeats;
  const int32_t total = ClampScore(static_cast<int64_t>(points) * factor);
  score = ClampScore(static_cast<int64_t>(score) + total);
  appendEntry(label, factor, total);
  if (state == ssClean && score > kSpamThreshold) state = ssSpam;
  int32_t& part = whiteScoring ? whiteScore : blackScore;
  part = ClampScore(static_cast<int64_t>(part) + total);
  return total;
}

// The entry goes in whole or, past the limit or without memory, not at all.
void LEDGER::appendEntry(const char* label, uint16_t factor, int32_t total) {
  const uint32_t before = cause.length;
  if (before >= kMaxCauseBytes) return;
  char repeats[16] = "";
  if (factor > 1) snprintf(repeats, sizeof repeats, "%ux", unsigned(factor));
  char points[24];
  snprintf(points, sizeof points, " (%d)", total);
  const bool whole = (before == 0 || cause.add(";")) &&
                     (!*label || cause.add(label)) &&
                     (!repeats[0] || cause.add(repeats)) && cause.add(points);
  if (!whole) cause.length = before;
}

int TQMMSG::addToSpamScore(int score, const char* label,
                           unsigned short factor) {
  return ledger.add(score, label, factor);
}

int TQMMSG::checkCond(int condition, int score, const char* label) {
  if (!condition) return 0;
  ledger.add(score, label, 1);
  return condition;
}

int TQMMSG::checkCond(int condition, int score, const char* label, int number) {
  if (!condition) return 0;
  STR entry(label);
  entry += static_cast<int32_t>(number);
  ledger.add(score, entry.c_str(), 1);
  return 1;
}

int TQMMSG::checkCond(int condition, int score, const char* label,
                      const char* detail) {
  if (!condition) return 0;
  STR entry(label);
  entry += ' ';
  entry += detail;
  ledger.add(score, entry.c_str(), 1);
  return 1;
}

int TQMMSG::checkCond(int condition, int score, const char* label, int number,
                      const char* label2, TBLOCK detail) {
  if (!condition) return 0;
  STR entry(label);
  entry += static_cast<int32_t>(number);
  entry += label2;
  entry += detail;
  ledger.add(score, entry.c_str(), 1);
  return 1;
}

int TQMMSG::randomScore(int score) {
  if (score < 120) return score;
  const int spread = (score - 100) / 20;
  return ClampScore(static_cast<int64_t>(score) + rand() % (2 * spread) -
                    spread);
}

int TQMMSG::parseRuleName(TBLOCK& text, TBLOCK& name) {
  return ParseRuleName(text, name);
}

TBLOCK TQMMSG::parseRuleName(TBLOCK& text) {
  TBLOCK name;
  parseRuleName(text, name);
  return name;
}
