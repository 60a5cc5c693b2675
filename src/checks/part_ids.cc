// Content-IDs that the claimed mail program did not write: its clock, address
// and host don't go with those in Message-ID and boundary. Entry:
// TQMMSG::checkPartsCid. Tested by part_ids_test.cc and
// tests/mail/notification.eml.

#include <time.h>

#include "message/part_iter.h"
#include "regex/regex.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

const uint64_t kUnitsPerSecond = 10000000;
// A forger counts the clock on by a few of these.
const uint32_t kForgedStep = 100000;
const uint32_t kMaxForgedSteps = 9;

// What is wrong with an identifier; the numbers end up in the cause.
enum : int {
  fcNone = 0,
  fcErrors = 2,
  fcSameClock = 3,
  fcOtherAddress = 4,
  fcAddressChanged = 5,
  fcCountedClock = 6,
  fcZoneInClock = 7,
  fcMozilla = 9,
  fcOtherHost = 11
};

// The clock of the Message-ID was written again, or counted on.
int CompareClocks(const FILETIME& message, const FILETIME& part) {
  if (IdenticalToTheMillisecond(&message, &part)) return fcSameClock;
  const uint32_t ahead = message.low - part.low;
  if (message.high == part.high && ahead % kForgedStep == 0 &&
      ahead / kForgedStep <= kMaxForgedSteps)
    return fcCountedClock;
  return fcNone;
}

// Whether both clocks show the same time of the same day in zones that differ
// by what the Date says. The month is not looked at.
bool DifferByZone(const FILETIME& bound, const FILETIME& part, int32_t zone) {
  if (ModHoursAsMilliSeconds(&bound) != ModHoursAsMilliSeconds(&part))
    return false;
  const time_t times[] = {win2posix_time(&bound), win2posix_time(&part)};
  struct tm a, b;
  if (!gmtime_r(&times[0], &a) || !gmtime_r(&times[1], &b)) return false;
  return a.tm_hour - zone / 100 != b.tm_hour && a.tm_sec == b.tm_sec &&
         a.tm_min == b.tm_min && a.tm_mday == b.tm_mday &&
         a.tm_year == b.tm_year;
}

// Whether the hosts behind the "@" differ, or one has none.
bool DifferInHost(TBLOCK a, TBLOCK b) {
  const int32_t atA = a.findByte('@'), atB = b.findByte('@');
  return atA < 0 || atB < 0 ||
         !a.from(static_cast<uint32_t>(atA) + 1)
              .equals(b.from(static_cast<uint32_t>(atB) + 1));
}

}  // namespace

int TQMMSG::checkCid(TBLOCK contentId, uint32_t& seen) {
  TMIMEOLEID id(pool);
  id.parse(contentId, &headerDate, presentTime());
  const int fault = id.isOle ? checkOleCid(id, seen) : fcNone;
  if (fault != fcNone) return fault;
  if (BlockMatchRegex(contentId, REGEXPOOL::_CID_MOZILLA_1, pool) &&
      !BlockMatchRegex(contentId, REGEXPOOL::_CID_MOZILLA_2, pool))
    return fcMozilla;
  return !contentId.empty() && contentId.equals(messageId) ? fcOtherHost
                                                           : fcNone;
}

// The identifiers of one program against each other.
int TQMMSG::checkOleCid(const TMIMEOLEID& id, uint32_t& seen) {
  if (id.errors != 0) return fcErrors;
  const FILETIME clock = id.fileTime();
  if (mimeOleId.isOle) {
    const int fault = CompareClocks(mimeOleId.fileTime(), clock);
    if (fault != fcNone) return fault;
    const uint32_t address = id.ip.getValue();
    if (!id.ip.isPrivate) {
      TBLOCK program;
      readHeaderField("X-MimeOLE", program, 1);
      if (mimeOleId.ip.getValue() != address &&
          program.find("MimeOLE V6.00.") < 0)
        return fcOtherAddress;
      if (seen == 0)
        seen = address;
      else if (seen != address)
        return fcAddressChanged;
    }
  }
  if (!mimeOleBound.isOle) return fcNone;
  const FILETIME bound = mimeOleBound.fileTime();
  if (DifferByZone(bound, clock, headerDate.zone)) return fcZoneInClock;
  if (mimeOleId.isOle &&
      bound.units() % kUnitsPerSecond == clock.units() % kUnitsPerSecond &&
      DifferInHost(messageId, id.id))
    return fcOtherHost;
  return fcNone;
}

// Reads: the parts' Content-IDs. Scores: 300 "Forged cid" and the number of the
// first fault. What was seen of an address is forgotten with each part, on
// purpose, so that a change of it is never found.
void TQMMSG::checkPartsCid() {
  int fault = fcNone;
  PARTITER walk(message.parts);
  while (fault == fcNone) {
    const BLOCKPART* part = walk.next();
    if (!part) break;
    TBLOCK contentId = part->contentId;
    StripAngleBrackets(contentId);
    uint32_t seen = 0;
    if (!contentId.empty()) fault = checkCid(contentId, seen);
  }
  checkCond(fault != fcNone, 300, "Forged cid", fault);
}
