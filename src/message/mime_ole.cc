// Clocks, addresses and counters in identifiers. Each decoder first asks for
// the outer form by a pattern, which also settles the alphabet of most parts,
// then cuts the text at its marks and holds the clock against the message's
// date. Entry points: the three parse functions. Tested by mime_ole_test.cc.

#include "message/mime_ole.h"

#include "base/block.h"
#include "base/byte_order.h"
#include "regex/regex.h"
#include "regex/regex_pool.h"

namespace {

const int64_t kDaySeconds = 86400;
// A clock this far from the message's date is judged by its day.
const int64_t kClockSlack = 7 * kDaySeconds;
// Days that a clock may name: from 1990 on, and until that long from today.
const int32_t kFirstDay = 7305;
const int64_t kFutureDays = 1000;
// Digits of one half of a clock, and of an address.
const uint32_t kHalfDigits = 8;
// Shorter identifiers have the form by chance and are read no further.
const uint32_t kMinIdBytes = 16;
// What the programs' clocks are rounded to, in 100-nanosecond units.
const uint64_t kClockUnit = 50;
const int64_t kUnitsPerSecond = 10000000;

// A Thread-Index is a clock and a GUID, and five bytes for each answer.
const uint32_t kThreadHead = 22;
const uint32_t kThreadStep = 5;
// Byte that holds a GUID's variant, and its range.
const uint32_t kVariantAt = 14;
const unsigned char kVariantLow = 0x80, kVariantHigh = 0xBF;
const int32_t kYear2000 = 946684800;
const int64_t kThreadFuture = 12 * kDaySeconds;
const int64_t kHour = 3600;

int32_t Clamp32(int64_t value) {
  if (value > INT32_MAX) return INT32_MAX;
  return value < INT32_MIN ? INT32_MIN : static_cast<int32_t>(value);
}

bool IsHex(TBLOCK digits) {
  digits.trimLeft(bitHexa);
  return digits.empty();
}

// Whether a clock names a day out of range. One that is near the message's
// date is right whatever the day.
bool IsBadDate(const FILETIME& clock, int32_t seconds, int32_t utc,
               int64_t now) {
  if (TimeDistance(seconds, utc) <= kClockSlack) return false;
  const int32_t days = win2posix_days(&clock);
  return days < kFirstDay || days > now / kDaySeconds + kFutureDays;
}

}  // namespace

void StripAngleBrackets(TBLOCK& value) {
  value.trim();
  if (value.length < 2 || value[0] != '<' || value[value.length - 1] != '>')
    return;
  value = TBLOCK(value.pointer + 1, value.length - 2);
  value.trim();
}

uint32_t HexNumber(TBLOCK digits) {
  uint32_t number = 0;
  for (uint32_t i = 0; i < digits.length; i++)
    number = number << 4 | TBLOCK::HexValue(digits[i]);
  return number;
}

TMIMEOLEID::TMIMEOLEID(REGEXPOOL* poolToUse) : pool(poolToUse) {
  clear();
}

void TMIMEOLEID::clear() {
  isOle = 0;
  errors = 0;
  id.clear();
  time = 0;
  fileTimeLow = 0;
  fileTimeHigh = 0;
  ip.clear();
  sequence = -1;
}

void TMIMEOLEID::parse(TBLOCK text, const BLOCKDATE* date, int64_t now) {
  clear();
  StripAngleBrackets(text);
  id = text;
  if (!BlockMatchRegex(id, REGEXPOOL::_MimeOleIdRegexNotHexa, pool)) return;
  isOle = 1;
  TBLOCK rest = TBLOCK::BlockBeforeChar(text, '@', 0, 0);
  if (rest.length < kMinIdBytes) return;
  if (!BlockMatchRegex(id, REGEXPOOL::_MimeOleIdRegex, pool)) {
    errors |= moNotHexa;
    return;
  }
  // From here on all but the part behind the second dollar is hexadecimal.
  const TBLOCK one = TBLOCK::BlockBeforeChar(rest, '$', 0, 0);
  const TBLOCK two = TBLOCK::BlockBeforeChar(rest, '$', 0, 0);
  if (one.length < kHalfDigits) {
    errors |= moMalformed;
    return;
  }
  const uint32_t counter = one.length - kHalfDigits;
  if (counter > 0)
    sequence = static_cast<int32_t>(HexNumber(one.head(counter)));
  if (two.length != kHalfDigits) return;
  fileTimeHigh = HexNumber(one.from(counter));
  fileTimeLow = HexNumber(two);
  const FILETIME clock = fileTime();
  if (clock.units() % kClockUnit != 0) errors |= moNotRounded;
  time = win2posix_time(&clock);
  if (IsBadDate(clock, time, date->utc, now)) errors |= moBadDate;
  // The address has its last byte first.
  if (rest.length != kHalfDigits) {
    errors |= moMalformed;
    return;
  }
  ip.setValue(__builtin_bswap32(HexNumber(rest)));
  if (ip.invalid) errors |= moBadAddress;
}

TMIMEOLEBOUND::TMIMEOLEBOUND(REGEXPOOL* poolToUse) : pool(poolToUse) {
  clear();
}

void TMIMEOLEBOUND::clear() {
  isOle = 0;
  error = 0;
  boundary.clear();
  zonedTime = 0;
  fileTimeLow = 0;
  fileTimeHigh = 0;
  sequence = -1;
  zonedFileTimeLow = 0;
  zonedFileTimeHigh = 0;
  zoneSeconds = 0;
  time = 0;
}

// A clock that fits no 32 bits is an error, and the rest follows from its
// reading of -1.
void TMIMEOLEBOUND::parse(TBLOCK text, const BLOCKDATE* date, int32_t zone,
                          int64_t now) {
  clear();
  // What the case of the letters is, is left to the pattern.
  if (text.find("_nextpart_") < 0 ||
      !BlockMatchRegex(text, REGEXPOOL::_MobRegex, pool))
    return;
  isOle = 1;
  boundary = text;
  TBLOCK counter = TBLOCK::BlockBeforeChar(text, '@', 0, 0);
  const uint32_t split = static_cast<uint32_t>(counter.findLastByte('_') + 1);
  TBLOCK low = counter.from(split);
  counter.cut(split > 0 ? split - 1 : 0);
  counter.skip(static_cast<uint32_t>(counter.findLastByte('_') + 1));
  error = 1;
  if (!IsHex(counter)) return;
  if (!counter.empty()) sequence = static_cast<int32_t>(HexNumber(counter));
  if (low.findByte('.') < 0) return;
  const TBLOCK high = TBLOCK::BlockBeforeChar(low, '.', 0, 0);
  if (!IsHex(high) || !IsHex(low)) return;
  fileTimeLow = HexNumber(low);
  fileTimeHigh = HexNumber(high);
  const FILETIME clock = fileTime();
  time = win2posix_time(&clock);
  error = time == -1 || IsBadDate(clock, time, date->utc, now);
  zoneSeconds = zone;
  const uint64_t zoned =
      clock.units() - static_cast<uint64_t>(zone * kUnitsPerSecond);
  zonedFileTimeLow = static_cast<uint32_t>(zoned);
  zonedFileTimeHigh = static_cast<uint32_t>(zoned >> 32);
  zonedTime = Clamp32(int64_t{time} - zone);
}

void TTHREADINDEX::clear() {
  present = 0;
  error = 0;
  text.clear();
  time = 0;
  fileTimeLow = 0;
  fileTimeHigh = 0;
}

// With a date that cannot be read the present time stands in for it.
void TTHREADINDEX::parse(TBLOCK index, const BLOCKDATE& date, int64_t now) {
  clear();
  if (index.empty()) return;
  present = 1;
  text = index;
  error = 1;
  BLOCK room(index.length, 0);
  if (!room.data) return;
  TBLOCK bytes(room.data, room.capacity);
  TBLOCK::BlockUnbase64(index, bytes, 1);
  if (bytes.length < kThreadHead ||
      (bytes.length - kThreadHead) % kThreadStep != 0)
    return;
  fileTimeHigh = Big32(bytes.pointer);
  fileTimeLow = Big32(bytes.pointer + 4);
  const FILETIME clock = fileTime();
  time = win2posix_time(&clock);
  const bool late = date.error ? time > now + kHour
                               : int64_t{time} - date.utc > kThreadFuture;
  // A program that takes the local time for UTC.
  const bool local = !date.error && date.zoneSeconds != 0 && time == date.local;
  const unsigned char variant = bytes[kVariantAt];
  error = time < kYear2000 || late || local || variant < kVariantLow ||
          variant > kVariantHigh;
}
