// Points: how far they may go.

#ifndef BASE_SCORE_H_
#define BASE_SCORE_H_

#include <stdint.h>

// Every score, of a rule or summed, stays within +-kMaxScore, whatever the
// rules add up to.
const int32_t kMaxScore = 1000000000;

// The sum or product, kept within +-kMaxScore.
inline int32_t ClampScore(int64_t value) {
  if (value > kMaxScore) return kMaxScore;
  if (value < -kMaxScore) return -kMaxScore;
  return static_cast<int32_t>(value);
}

#endif  // BASE_SCORE_H_
