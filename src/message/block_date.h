// BLOCKDATE: a date as mail programs write it, read in English and French;
// DecodeDateBlock: a date read against a format; and the helpers for Windows
// FILETIME values, 100-nanosecond units since 1601.
//
// All arithmetic is in 64 bits and all results are seconds since 1970, cut to
// what a signed 32-bit number holds. No clock and no time zone of the machine
// is read, except by now2posix_days.

#ifndef MESSAGE_BLOCK_DATE_H_
#define MESSAGE_BLOCK_DATE_H_

#include <stdint.h>

#include "base/tblock.h"

// A plain record, copied by value. The text must outlive it. A cleared record
// has `utc` 0, one whose text gave no day -1.
struct BLOCKDATE {
  TBLOCK text;
  int32_t utc;
  int32_t local;        // as the sender's clock showed, zone not applied
  int32_t zone;         // hhmm with sign, as written: -500. A zone that was
                        // given by name is in whole hours: -5, on purpose
  int32_t zoneSeconds;  // from `zone` as if it were hhmm, also for a name:
                        // "EST" gives -300; 0 when the text gave no day
  int32_t weekDay;      // 1 Sunday to 7 Saturday; 0 when not named
  int32_t error;        // 1: something in the text could not be read

  BLOCKDATE() { clear(); }
  void clear();
  // Reads a date. REQUIRES: a text that is not empty; an absent date is a
  // cleared record.
  void parseFrom(TBLOCK dateText);
};

// Reads the start of `text` by a format: "yyyy", "yy" (2000 to 2099), "mm"
// month, "dd" day, "hh" hour, "nn" minute, "ss" second, each exactly as many
// digits as it has letters; other bytes stand for themselves. True with the
// time in UTC; false, with `time` unchanged, when the text does not fit or a
// number is out of range.
bool DecodeDateBlock(const char* format, TBLOCK text, int32_t& time);

// Those of the functions below that do not name null REQUIRE that pointers are
// not.
struct FILETIME {
  uint32_t low;
  uint32_t high;

  uint64_t units() const { return uint64_t{high} << 32 | low; }
};

// How far two times are apart, in whatever units.
inline int64_t TimeDistance(int64_t a, int64_t b) {
  return a < b ? b - a : a - b;
}

// Seconds since 1970; -1 for null and for what does not fit 32 bits.
int32_t win2posix_time(const FILETIME* time);
// The reverse; false only for null.
bool posix2win_time(int32_t time, FILETIME* out);
// Days since 1970, from the high half alone: right to about seven minutes.
int32_t win2posix_days(const FILETIME* time);
// Today, by the system's clock.
int32_t now2posix_days();
// Stores win2posix_days; 1 unless `from` is above 0 and later than these days,
// or `to` is above 0 and earlier.
int FileTimeToDays(const FILETIME* time, int32_t& days, int32_t from,
                   int32_t to);
// Milliseconds since the last full hour.
uint32_t ModHoursAsMilliSeconds(const FILETIME* time);
bool IdenticalToTheMillisecond(const FILETIME* a, const FILETIME* b);
// Writes year and month in UTC as six digits and a NUL: 7 bytes.
void tt2YYYYMM(const int32_t* time, char* out);

#endif  // MESSAGE_BLOCK_DATE_H_
