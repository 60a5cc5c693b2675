// Quoted mail at the end of a text. Mail programs announce it by a line of
// dashes and some words, so that each run of dashes is a place to look at; the
// words are the dictionary's. Entry: TQMMSG::removeAnswers. Tested by
// answers_seam_test.cc.

#include "scan/tqmmsg.h"

namespace {

// Runs of dashes of one text that are looked at. Each costs a search of all
// that stands behind it.
const int32_t kMaxDashRuns = 200;
// After more than so many runs, two that have nothing but a CR LF between them
// are lines of a table or an ornament. The search is then given up.
const int32_t kRulerRuns = 6;
const uint32_t kRulerGap = 2;

// Walks the runs of dashes of a text, at most one on a line.
class DASHWALK {
 public:
  int32_t runs;     // runs seen so far
  uint32_t at;      // where the present one begins
  uint32_t gap;     // bytes between the one before it and this
  TBLOCK announce;  // what follows the dashes and white space behind them

  // Looks for runs that are at least as long as `mark`.
  DASHWALK(TBLOCK searched, const char* markText)
      : runs(0),
        at(0),
        gap(0),
        text(searched),
        mark(markText),
        dashesEnd(0),
        resume(0) {}
  // Moves to the next one; false when there is none.
  bool next();

 private:
  TBLOCK text;
  TBLOCK mark;
  uint32_t dashesEnd;  // of the present run
  uint32_t resume;     // where the search goes on: the next line
};

bool DASHWALK::next() {
  if (runs == kMaxDashRuns) return false;
  const int32_t found = text.find(mark, resume, TBLOCK::NoConvTable);
  if (found < 0) return false;
  runs++;
  at = static_cast<uint32_t>(found);
  gap = at - dashesEnd;
  dashesEnd = at;
  while (dashesEnd < text.length && text[dashesEnd] == '-') dashesEnd++;
  announce = text.from(dashesEnd);
  announce.trimLeft();
  const int32_t lineEnd = text.findByte('\n', dashesEnd);
  resume = lineEnd < 0 ? text.length : static_cast<uint32_t>(lineEnd) + 1;
  return true;
}

}  // namespace

// The count goes on from what it was, and stays when the search is given up.
int TQMMSG::removeAnswers(TBLOCK& answered, int32_t& count) {
  int32_t score = 0;
  int32_t offset = -1;
  bool found = false;
  uint32_t begin = 0;
  DASHWALK walk(answered, "----");
  while (walk.next()) {
    if (_dicoRegexAndOffset(walk.announce, score, offset, "BodyAnswers")) {
      count = ClampScore(int64_t{count} + score);
      if (!found) begin = walk.at;
      found = true;
    }
    if (walk.runs > kRulerRuns && walk.gap == kRulerGap) return 0;
  }
  int shortened = 0;
  if (found && count > 0) {
    answered.cut(begin);
    shortened = 1;
  }
  DASHWALK useless(answered, "---");
  while (useless.next()) {
    if (_dicoRegexAndOffset(useless.announce, score, offset, "BodyUseless")) {
      answered.cut(useless.at);
      return 1;
    }
  }
  if (_dicoRegexAndOffset(answered, score, offset, "BodyComment") &&
      offset >= 0) {
    answered.cut(static_cast<uint32_t>(offset));
    return 1;
  }
  return shortened;
}
