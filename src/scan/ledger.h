// LEDGER: the running score of one scan, its verdict so far and the text that
// says why. Points enter only through TQMMSG::addToSpamScore and checkCond.
//
// The cause text is a list of entries joined by ";", each "label (points)" or
// "labelNx (points)" for N repetitions. A label may hold any bytes, ";" too.

#ifndef SCAN_LEDGER_H_
#define SCAN_LEDGER_H_

#include <stdint.h>

#include "base/block.h"
#include "base/score.h"

// A total above this is spam. The setups of the host don't change it.
const int32_t kSpamThreshold = 99;
// Once the cause is this long no entry is appended; the points still count.
// Bounds what a rule that hits 100,000 times writes.
const uint32_t kMaxCauseBytes = 1024 * 1024;

// Values of LEDGER::state.
enum SpamState : int32_t {
  ssClean = 0,
  ssSpam = 1,
  ssVirus = 2,
  ssNotification = 3,
  ssSuspect = 5,
  ssCommercialP = 10,
  ssCommercialM = 11,
  ssCommercialD = 12
};

struct LEDGER {
  int32_t score;         // all points; may be negative
  int32_t state;         // SpamState
  BLOCK cause;           // entries, not NUL-terminated
  BLOCK scoreDetails;    // the version text, set at each load
  char scoreLine[48];    // "score;whiteScore;blackScore", made by assign; has
                         // room for any three clamped totals
  int32_t whiteScoring;  // 1 while a white check runs
  int32_t whiteScore;    // points added while whiteScoring was set
  int32_t blackScore;    // points added while it was clear

  LEDGER();

  // Zeroes every number and empties the texts.
  void reset();
  // Copies all of another ledger and rewrites scoreLine from the copied sums.
  void assign(const LEDGER& other);
  // Adds `points` times `factor` under a label. 0 points do nothing and leave
  // no entry; a factor of 0 leaves an entry of 0 points. A factor above 4
  // counts as 4 when the points are more than 49 either way. The label is
  // copied up to its NUL; null is not allowed. A state other than clean is
  // never changed, so negative points don't take a verdict back. Returns the
  // points that were added in all.
  int32_t add(int32_t points, const char* label, uint16_t factor);

 private:
  void appendEntry(const char* label, uint16_t factor, int32_t total);
};

#endif  // SCAN_LEDGER_H_
