// Clocks and stamps in boundaries and identifiers against the message's date.

#include "checks/forged_mailer.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kDay = 86400;
// 2008-01-10 20:55:02.
const int32_t kDate = 1199998502;

BLOCKDATE DateOf(int32_t local, int32_t zoneSeconds = 0) {
  BLOCKDATE date;
  date.local = local;
  date.zoneSeconds = zoneSeconds;
  return date;
}

TEST(ForgedMailerTest, OldBoundaries) {
  const int32_t today = kDate / kDay;
  const struct {
    int32_t day, dateDay;
    bool old;
  } rows[] = {{today, today, false},
              {today - 30, today, false},
              {today - 31, today, true},
              {today + 31, today, false},
              {12486, today, false},
              {12485, today, true},
              {12487, today, true},
              {11925, today, false},
              {11924, today, true},
              {11926, today, true},
              {0, 0, false}};
  for (const auto& row : rows)
    for (const int32_t second : {0, kDay - 1})
      EXPECT_EQ(row.old, IsBoundaryOld(row.day * kDay + second,
                                       DateOf(row.dateDay * kDay + second)))
          << row.day;
  EXPECT_FALSE(IsBoundaryOld(-1, DateOf(-1)));
  EXPECT_FALSE(IsBoundaryOld(INT32_MAX, DateOf(INT32_MIN)));
  EXPECT_TRUE(IsBoundaryOld(INT32_MIN, DateOf(INT32_MAX)));
}

TEST(ForgedMailerTest, FineClocks) {
  const struct {
    uint64_t clock;
    int32_t error;
    bool fine;
  } rows[] = {{0, 0, false},
              {10000, 0, false},
              {10001, 0, true},
              {10001, 1, false},
              // Only both halves together tell: 2^32 is 7,296 modulo 10,000.
              {uint64_t{1} << 32, 0, true},
              {(uint64_t{1} << 32) + 2704, 0, false}};
  for (const auto& row : rows) {
    TMIMEOLEBOUND bound(nullptr);
    bound.fileTimeLow = static_cast<uint32_t>(row.clock);
    bound.fileTimeHigh = static_cast<uint32_t>(row.clock >> 32);
    bound.error = row.error;
    EXPECT_EQ(row.fine, IsClockTooFine(bound)) << row.clock;
  }
}

TEST(ForgedMailerTest, SylpheedIds) {
  const struct {
    const char* id;
    int32_t local;
    bool forged;
  } rows[] = {{"20080110205502.a@b", kDate, false},
              {"20080110205502.a@b", kDate + 10 * kDay, false},
              {"20080110205502.a@b", kDate + 10 * kDay + 1, true},
              {"20080110205502.a@b", kDate - 10 * kDay, false},
              {"20080110205502.a@b", kDate - 10 * kDay - 1, true},
              {"20080110205502", kDate, false},
              {"20080110205560.a@b", kDate, true},
              {"20080110245502.a@b", kDate, true},
              {"abcdefghijklmn.a@b", kDate, true},
              {"2008011020550.a@b", kDate, false},
              {"200801102055022.a@b", kDate, false},
              {"20380101000000.a@b", INT32_MIN, true},
              {".a@b", kDate, false},
              {"", kDate, false}};
  for (const auto& row : rows) {
    const HeapText id(row.id);
    EXPECT_EQ(row.forged, IsSylpheedIdForged(id.view(), DateOf(row.local)))
        << row.id << " " << row.local;
  }
}

}  // namespace
