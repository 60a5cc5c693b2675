#include "message/mime_ole.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include "base/heap_text.h"

namespace {

// 2008-03-03 10:00:00 UTC; "now" is an hour later.
const int64_t kDate = 1204538400;
const int64_t kNow = kDate + 3600;
const int64_t kDay = 86400;

uint64_t UnitsOf(int64_t seconds) {
  return static_cast<uint64_t>((seconds + 11644473600) * 10000000);
}

std::string Hex(uint64_t units, const char* between) {
  char text[32];
  snprintf(text, sizeof text, "%08x%s%08x", static_cast<uint32_t>(units >> 32),
           between, static_cast<uint32_t>(units));
  return text;
}

BLOCKDATE DateOf(int64_t utc, int32_t zoneSeconds = 0, int32_t error = 0) {
  BLOCKDATE date;
  date.utc = static_cast<int32_t>(utc);
  date.local = date.utc + zoneSeconds;
  date.zoneSeconds = zoneSeconds;
  date.error = error;
  return date;
}

// "errors sequence clock address", or "-"; the clock in seconds from kDate.
std::string ReadId(const std::string& text, int64_t utc = kDate) {
  const HeapText copy(text);
  const BLOCKDATE date = DateOf(utc);
  TMIMEOLEID id(nullptr);
  id.parse(TBLOCK("1f01c87d15$e8b83801$01000001@of-which-nothing-is-left"),
           &date, kNow);
  id.parse(copy.view(), &date, kNow);
  if (!id.isOle) return "-";
  const std::string clock =
      id.time ? std::to_string(id.time - kDate) : std::string("none");
  return std::to_string(id.errors) + " " + std::to_string(id.sequence) + " " +
         clock + " " + id.ip.text.c_str();
}

std::string Id(uint64_t units) {
  return "<000f" + Hex(units, "$") + "$0200a8c0@host>";
}

TEST(MimeOleTest, Identifiers) {
  const std::string clock = Hex(UnitsOf(kDate), "$");
  const uint64_t units = UnitsOf(kDate);
  const struct {
    std::string text;
    const char* result;
  } rows[] = {{" < 000f" + clock + "$0200a8c0@host > ", "0 15 0 192.168.0.2"},
              {clock + "$0100007f@", "0 -1 0 127.0.0.1"},
              {"f00000001" + clock + "$0200a8c0@a", "0 1 0 192.168.0.2"},
              {"ffffffff" + clock + "$0200a8c0@a", "0 -1 0 192.168.0.2"},
              {clock + "$0200a8c0", "-"},
              {"0F" + clock + "$0200a8c0@a", "-"},
              {"a$b$c@d", "0 -1 none "},
              {"12345678$1234$x@d", "0 -1 none "},
              {"12345678$12345$x@d", "8 -1 none "},
              {"1234567$1234567$@d", "-"},
              {"1234567$12345678$0@d", "1 -1 none "},
              {"1f12345678$1234567$0200a8c0@d", "0 31 none "},
              {"1f12345678$123456789$0200a8c0@d", "0 31 none "},
              {clock + "$0200a8c@d", "1 -1 0 "},
              {clock + "$0200a8c00@d", "1 -1 0 "},
              {clock + "$0200a8g0@d", "8 -1 none "},
              {clock + "$00000000@d", "4 -1 0 "},
              {clock + "$010000e0@d", "4 -1 0 224.0.0.1"},
              {Id(units + 49), "16 15 0 192.168.0.2"},
              {Id(units + 50), "0 15 0 192.168.0.2"},
              {Id((uint64_t{1} << 32) - 46), "2 15 -1204538401 192.168.0.2"},
              {"", "-"}};
  for (const auto& row : rows) EXPECT_EQ(row.result, ReadId(row.text));
}

// A clock may name days from 1990 to 1000 days ahead, and any day that is
// within a week of the date.
TEST(MimeOleTest, DaysOfClocks) {
  const int64_t kFirst = 7305 * kDay;
  const int64_t kLast = (kNow / kDay + 1000) * kDay;
  const struct {
    int64_t clock, date;
    bool bad;
  } rows[] = {{kFirst, kDate, false},
              {kFirst - kDay, kDate, true},
              {kFirst - kDay, kFirst + 6 * kDay, false},
              {kFirst - kDay, kFirst + 6 * kDay + 1, true},
              {kFirst - kDay, kFirst - 8 * kDay, false},
              {kFirst - kDay, kFirst - 8 * kDay - 1, true},
              {kLast, kDate, false},
              {kLast + kDay, kDate, true},
              {kLast + kDay, kLast - 6 * kDay, false},
              {kLast + kDay, -1, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.clock) + " " + std::to_string(row.date));
    EXPECT_EQ(row.bad ? '2' : '0', ReadId(Id(UnitsOf(row.clock)), row.date)[0]);
    const BLOCKDATE date = DateOf(row.date);
    TMIMEOLEBOUND bound(nullptr);
    const HeapText text("_NextPart_000_" + Hex(UnitsOf(row.clock), "."));
    bound.parse(text.view(), &date, 0, kNow);
    EXPECT_EQ(row.bad, bound.error);
  }
  // A clock that no 32 bits hold reads as the -1 of a date that nobody could
  // read, and is an error of a boundary all the same.
  const BLOCKDATE unread = DateOf(-1, 0, 1);
  TMIMEOLEBOUND bound(nullptr);
  bound.parse(TBLOCK("_NextPart_000_ffffffff.ffffffff"), &unread, 0, kNow);
  EXPECT_EQ(1, bound.error);
}

// "error sequence clock zoned", or "-"; zoned by its distance from the clock,
// in seconds by both readings.
std::string ReadBound(const std::string& text, int32_t zone) {
  const HeapText copy(text);
  const BLOCKDATE date = DateOf(kDate);
  TMIMEOLEBOUND bound(nullptr);
  bound.parse(TBLOCK("_NextPart_000_0001_01C87D15.00000000"), &date, 60, kNow);
  bound.parse(copy.view(), &date, zone, kNow);
  if (!bound.isOle) return "-";
  const uint64_t clock = uint64_t{bound.fileTimeHigh} << 32 | bound.fileTimeLow;
  const uint64_t zoned =
      uint64_t{bound.zonedFileTimeHigh} << 32 | bound.zonedFileTimeLow;
  return std::to_string(bound.error) + " " + std::to_string(bound.sequence) +
         " " + (bound.time ? std::to_string(bound.time - kDate) : "none") +
         " " + std::to_string(bound.zonedTime - bound.time) + " " +
         std::to_string(static_cast<int64_t>(zoned - clock) / 10000000);
}

TEST(MimeOleTest, Boundaries) {
  const std::string clock = Hex(UnitsOf(kDate), ".");
  const struct {
    std::string text;
    int32_t zone;
    const char* result;
  } rows[] = {
      {"----=_NextPart_000_00aF_" + clock, 0, "0 175 0 0 0"},
      {"_NextPart_000_0013_" + clock, 3600, "0 19 0 -3600 -3600"},
      {"_NextPart_0B0_" + clock, -18000, "0 176 0 18000 18000"},
      {"_nextpart_000_0013_" + clock, 0, "-"},
      {"_NextPart_00_0013_" + clock, 0, "-"},
      {"_NextPart_000_0013_" + clock + "0", 0, "-"},
      {"_NextPart_000_001G_" + clock, 60, "1 -1 none 0 0"},
      {"_NextPart_000_0013_0123456g.01234567", 60, "1 19 none 0 0"},
      {"_NextPart_000_0013_01234567.0123456g", 60, "1 19 none 0 0"},
      {"_NextPart_000_0013_ffffffff.ffffffff", 60, "1 19 -1204538401 -60 -60"},
      {"a@_NextPart_000_0013_" + clock, 0, "1 -1 none 0 0"},
      {"x_b_" + clock + "@_NextPart_000_0013_" + clock, 0, "0 11 0 0 0"},
      {"", 0, "-"}};
  for (const auto& row : rows)
    EXPECT_EQ(row.result, ReadBound(row.text, row.zone)) << row.text;
}

// The text of an index: the clock, a GUID with that byte, and some more.
std::string Index(int64_t seconds, size_t extra, unsigned char variant) {
  std::string bytes;
  for (int shift = 56; shift >= 0; shift -= 8)
    bytes += static_cast<char>(UnitsOf(seconds) >> shift);
  bytes.resize(14 + 8 + extra, 'x');
  if (bytes.size() > 14) bytes[14] = static_cast<char>(variant);
  std::string text((bytes.size() + 2) / 3 * 4, 0);
  TBLOCK::BlockBase64(TBLOCK(bytes.data(), static_cast<uint32_t>(bytes.size())),
                      TBLOCK(text.data(), static_cast<uint32_t>(text.size())),
                      0, nullptr, '=');
  while (text.back() == 0) text.pop_back();
  return text;
}

TEST(MimeOleTest, ThreadIndexes) {
  const size_t kShort = static_cast<size_t>(-1);
  const int64_t k2000 = 946684800, kLate = 12 * kDay;
  const struct {
    int64_t clock;
    size_t extra;
    unsigned char variant;
    BLOCKDATE date;
    int32_t error;
  } rows[] = {{kDate, 0, 0x80, DateOf(kDate), 0},
              {kDate, 5, 0xBF, DateOf(kDate, 3600), 0},
              {kDate, 5, 0x7F, DateOf(kDate), 1},
              {kDate, 5, 0xC0, DateOf(kDate), 1},
              {kDate, kShort, 0x80, DateOf(kDate), 1},
              {kDate, 4, 0x80, DateOf(kDate), 1},
              {k2000, 0, 0x80, DateOf(kDate), 0},
              {k2000 - 1, 0, 0x80, DateOf(kDate), 1},
              {kDate + kLate, 0, 0x80, DateOf(kDate), 0},
              {kDate + kLate + 1, 0, 0x80, DateOf(kDate), 1},
              {kDate, 0, 0x80, BLOCKDATE(), 1},
              {kDate + 3600, 0, 0x80, DateOf(kDate, 3600), 1},
              {kDate - 3600, 0, 0x80, DateOf(kDate, -3600), 1},
              {kNow + 3600, 0, 0x80, DateOf(-1, 0, 1), 0},
              {kNow + 3601, 0, 0x80, DateOf(-1, 0, 1), 1},
              {kDate + 3600, 0, 0x80, DateOf(kDate, 3600, 1), 0},
              {k2000 - 1, 0, 0x80, DateOf(-1, 0, 1), 1},
              {int64_t{1} << 31, 0, 0x80, DateOf(-1, 0, 1), 1}};
  for (const auto& row : rows) {
    const HeapText text(Index(row.clock, row.extra, row.variant));
    SCOPED_TRACE(text.str() + " at " + std::to_string(row.date.utc));
    TTHREADINDEX index;
    index.parse(text.view(), row.date, kNow);
    EXPECT_TRUE(index.present);
    EXPECT_EQ(row.error, index.error);
    EXPECT_TRUE(row.error || row.clock == index.time);
    // A fold leaves a blank.
    const HeapText folded(text.str().insert(7, " ").insert(20, " "));
    index.parse(folded.view(), row.date, kNow);
    EXPECT_EQ(row.error, index.error);
    index.parse(TBLOCK(), row.date, kNow);
    EXPECT_FALSE(index.present || index.error || index.time);
  }
}

}  // namespace
