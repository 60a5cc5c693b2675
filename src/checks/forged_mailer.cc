// Boundaries and identifiers that the claimed mail program does not write, and
// words with letters set twice. Entry points: TQMMSG::checkBoundary,
// checkForgedMailer and checkDuplicateLetter. Tested by forged_mailer_test.cc
// and, for the causes, by tests/mail/forged_mailer.eml.

#include "checks/forged_mailer.h"

#include "content/word_tests.h"
#include "regex/regex.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kDaySeconds = 86400;
const int64_t kOldDays = 30;
// 2004-03-09 and 2002-08-26.
const int32_t kExemptDays[] = {12486, 11925};
const uint64_t kClockUnit = 10000;  // a millisecond

const uint32_t kStampBytes = 14;  // yyyymmddhhnnss
const int64_t kStampSlack = 10 * kDaySeconds;

const int32_t kDoubled = 3;  // equal letters in a row
// Fewer such words happen, more are a list or a language.
const int32_t kMinDoubledWords = 2;
const int32_t kMaxDoubledWords = 15;

}  // namespace

bool IsBoundaryOfId(TBLOCK boundary, TBLOCK id) {
  if (!boundary.begins("=_")) return false;
  boundary.skip(2);
  const TBLOCK local = TBLOCK::BlockBeforeChar(id, '@', 0, 0);
  return !boundary.empty() && boundary.equals(local);
}

bool IsBoundaryOld(int32_t time, const BLOCKDATE& date) {
  const int32_t day = time / kDaySeconds;
  for (int32_t exempt : kExemptDays)
    if (day == exempt) return false;
  return day < date.local / kDaySeconds - kOldDays;
}

bool IsZoneAddedTwice(const TMIMEOLEBOUND& bound, const BLOCKDATE& date) {
  return bound.isOle && date.zoneSeconds != 0 &&
         bound.time == int64_t{date.zoneSeconds} + date.local;
}

bool IsClockTooFine(const TMIMEOLEBOUND& bound) {
  return !bound.error && bound.fileTime().units() % kClockUnit != 0;
}

// A stamp that is a time is made of digits, so its bytes need no other test.
bool IsSylpheedIdForged(TBLOCK id, const BLOCKDATE& date) {
  const TBLOCK stamp = TBLOCK::BlockBeforeChar(id, '.', 0, 0);
  if (stamp.empty() || stamp.length != kStampBytes) return false;
  int32_t time;
  if (!DecodeDateBlock("yyyymmddhhnnss", stamp, time)) return true;
  return TimeDistance(time, date.local) > kStampSlack;
}

namespace {

// Programs that write such a boundary, and one of two fields of their own.
bool ClaimsOutlook(const TQMMSG& m) {
  return (m.mailer.begins("microsoft outlook") ||
          m.mailer.begins("microsoft-outlook") ||
          m.mailer.begins("microsoft office outlook")) &&
         (!m.mimeOle.empty() || !m.msMailPriority.empty());
}

}  // namespace

// Reads: boundary, messageId, mimeOle, msMailPriority, mailer, headerDate, the
// decoders of boundary and identifier, the cause so far. Scores: one cause for
// each condition, 50 to 300.
void TQMMSG::checkBoundary() {
  checkCond(IsBoundaryOfId(boundary, messageId), 150, "BdId");
  // Lists that have judged the sender switch the rest off.
  if (ledger.cause.view().find("@!") >= 0) return;
  const TMIMEOLEBOUND& bound = mimeOleBound;
  checkCond(!mimeOle.empty() && bound.error, 50, "Forged Boundary");
  if (bound.isOle && ClaimsOutlook(*this)) {
    if (bound.error)
      addToSpamScore(200, "Natch3 high", 1);
    else
      checkCond(mimeOleId.isOle && IsBoundaryOld(bound.time, headerDate), 100,
                "Natch3 low");
  }
  checkCond(IsZoneAddedTwice(bound, headerDate), 300, "Natch7");
  TBLOCK arrival;
  checkCond(IsClockTooFine(bound) && mailer.find("Outlook") >= 0 &&
                !readHeaderField("X-OriginalArrivalTime", arrival, 0),
            300, "bNatch9");
}

// Returns: 1 when one of its three tests scored. Scores: 300 for each.
int TQMMSG::checkForgedMailer() {
  int scored = checkCond(checkForgedAppleMail(), 300, "Fgd POM");
  scored |= checkCond(checkForgedMimeTools(), 300, "Fgd MimeTools");
  scored |= checkCond(checkMailerSylpheed(), 300, "Fgd Sylpheed");
  return scored != 0;
}

// Returns: 1 for an identifier in the shape of one program's that holds letters
// and digits where that writes a UUID made of a clock and a network card.
int TQMMSG::checkForgedAppleMail() {
  return !messageId.empty() &&
         BlockMatchRegex(messageId, REGEXPOOL::_Resembling_AppleMail, pool) &&
         !BlockMatchRegex(messageId, REGEXPOOL::_Correct_AppleMail, pool);
}

int TQMMSG::checkForgedMimeTools() {
  return 0;
}

int TQMMSG::checkMailerSylpheed() {
  return mailer.begins("Sylpheed ") &&
         IsSylpheedIdForged(messageId, headerDate);
}

// Reads: subjectWords, bodyWords; section "No-DuplicateLowers". Scores: 20 for
// each word. Returns: 1 when it did.
int TQMMSG::checkDuplicateLetter() {
  if (testRuleSection("No-DuplicateLowers")) return 0;
  const int32_t n = MultiLowersWordCount(subjectWords, kDoubled) +
                    MultiLowersWordCount(bodyWords, kDoubled);
  if (n < kMinDoubledWords || n > kMaxDoubledWords) return 0;
  STR label;
  label += n;
  label += " words with duplicate lowers";
  addToSpamScore(20 * n, label.c_str(), 1);
  return 1;
}
