#include "message/block_date.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "dump/dump.h"

namespace {

// 2008-03-03 00:00:00 UTC, a Monday.
const int64_t kMarch3 = 1204502400;

// Seconds from kMarch3 to utc and from utc to local, or "-" without a day;
// zone, day of the week.
std::string Read(const std::string& text) {
  const HeapText copy(text);
  BLOCKDATE date;
  date.parseFrom(TBLOCK("mon EST x"));  // of which nothing may be left
  date.parseFrom(copy.view());
  const bool known = date.utc != -1 || date.local != -1;
  return (known ? std::to_string(date.utc - kMarch3) + "+" +
                      std::to_string(date.local - date.utc)
                : "-") +
         " " + std::to_string(date.zone) + " " + std::to_string(date.weekDay) +
         (date.error ? " error" : "");
}

TEST(BlockDateTest, Words) {
  // Beyond 32 bits on both sides.
  // Names of zones are in hours, which are read as if they were hhmm.
  const Case<const char*> rows[] = {
      {"Mon, 3 Mar 2008 10:00:00 +0100", "32400+3600 100 2"},
      {"+0100 10:00 2008 march;mon\r\n\t3", "32400+3600 100 2"},
      {"mon 3 mar 10:00 +0100", "- 100 2 error"},
      {"3 f\xE9vrier 2008", "-2505600+0 0 0"},
      {"31 feb 2007", "-31622400+0 0 0"},
      {"08 mar 3", "-157420800+0 0 0"},
      {"3 mar 3 3", "-157852800+0 0 0 error"},
      {"080303 1:00", "3600+0 0 0"},
      {"19 jan 38 3:14:08 +0001", "942981188+59 1 0"},
      {"13 dec 1901 20:45:52", "-3351986047+0 0 0"},
      {"31 dec 99999 99999999999999999999:1", "942981247+0 0 0 error"},
      {"3 mar 8 2:30:00 pm", "52200+0 0 0"},
      {"3 mar 8 12:00 PM", "43200+0 0 0"},
      {"3 mar 8 pm 2:30", "9000+0 0 0 error"},
      {"3 mar 8 24:00", "86400+0 0 0 error"},
      {"3 mar 8 0:60", "3600+0 0 0 error"},
      {"3 mar 8 1:00 2:00", "3600+0 0 0 error"},
      {"3 mar 8 -01:30 -01:30", "10800+-5400 -130 0"},
      {"3 mar 8 +0100 -2399", "88740+-88740 -2399 0"},
      {"3 mar 8 (-est)", "300+-300 -5 0"},
      {"3 mar 8 -0500 (EST)", "18000+-18000 -500 0"},
      {"3 mar 8 EST -0500", "18000+-18000 -500 0"},
      {"3 mar 8 (Eastern daylight) time", "240+-240 -4 0"},
      {"3 mar 8 (x, a (b) 5 jun 1:00 -0100", "0+0 0 0"},
      {"3 mar 8 eastern daylight 1:00 time", "3840+-240 -4 0 error"},
      {"3 mar 8 (x)) 1:00", "3600+0 0 0"}};
  for (const auto& row : rows) EXPECT_EQ(row.want, Read(row.text)) << row.text;
  BLOCKDATE date;
  date.parseFrom(TBLOCK("Mon, 3 Mar 2008 10:00 +0100 x"));
  EXPECT_EQ("utc=1204534800 local=1204538400 zone=100/3600 weekDay=2 error=1",
            DumpDate(date));
}

TEST(BlockDateTest, Errors) {
  const char* const undated[] = {"3 ao\xFBt 2008", "(3) mar 2008", "3 2008",
                                 ",; ()",          "20081303",     "20080003",
                                 "20080300",       "20080332"};
  for (const char* text : undated) EXPECT_EQ("- 0 0 error", Read(text)) << text;
  const char* const unread[] = {
      "1:2:3:4",  "10:00:",      "1::2",      "2:30pm",
      "+2400",    "+4294967396", "- 0100",    "--100",
      "+",        "ESTX",        "-2400",     "+080304",
      "GMT time", "eastern",     "(foo) foo", "eastern  daylight"};
  for (const char* text : unread)
    EXPECT_EQ("0+0 0 0 error", Read(std::string("3 mar 8 ") + text)) << text;
}

// Month after month of the years that 32 bits hold, counted by hand.
TEST(DecodeDateBlockTest, Calendar) {
  const int kLength[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  int32_t expected = -2145916800;
  for (int month = 1902 * 12; month < 2038 * 12; month++) {
    const std::string text =
        std::to_string(month / 12 * 100 + month % 12 + 1) + "01";
    int32_t time = 0;
    EXPECT_TRUE(DecodeDateBlock("yyyymmdd", HeapText(text).view(), time));
    EXPECT_EQ(expected, time) << text;
    char shown[7];
    tt2YYYYMM(&time, shown);
    EXPECT_EQ(text, std::string(shown) + "01");
    const bool leap = month % 12 == 1 && month / 12 % 4 == 0;
    expected += (kLength[month % 12] + leap) * 86400;
  }
}

TEST(DecodeDateBlockTest, Formats) {
  const struct {
    const char *format, *text;
    int64_t time;
  } rows[] = {{"yyyymmddhhnnss", "20080303235959", kMarch3 + 86399},
              {"yyyy-mm-dd hh:nn", "2008-03-03 01:02xx", kMarch3 + 3720},
              {"yymmdd", "990303", INT32_MAX},
              {"yyyymmdd", "00000101", -INT32_MAX}};
  int32_t time = 0;
  for (const auto& row : rows) {
    EXPECT_TRUE(DecodeDateBlock(row.format, HeapText(row.text).view(), time));
    EXPECT_EQ(row.time, time) << row.text;
  }
  // One wrong digit or letter, or a text that ends too soon.
  const std::string good = "20080303T010101";
  ASSERT_TRUE(DecodeDateBlock("yyyymmddThhnnss", HeapText(good).view(), time));
  const struct {
    size_t at;
    const char* wrong;
  } bad[] = {{4, ""},   {8, "t"},  {3, " "},   {4, "00"},  {4, "13"}, {6, "00"},
             {6, "32"}, {9, "24"}, {11, "60"}, {13, "60"}, {14, ""}};
  for (const auto& row : bad) {
    std::string text = good;
    text.replace(row.at, strlen(row.wrong), row.wrong);
    if (!*row.wrong) text.resize(row.at);
    EXPECT_FALSE(
        DecodeDateBlock("yyyymmddThhnnss", HeapText(text).view(), time))
        << text;
  }
  EXPECT_EQ(kMarch3 + 3661, time);
}

TEST(FileTimeTest, Helpers) {
  FILETIME at = {0, 0};
  for (int32_t time : {0, -1, 1204502400, INT32_MIN, INT32_MAX}) {
    ASSERT_TRUE(posix2win_time(time, &at));
    EXPECT_EQ(time, win2posix_time(&at));
  }
  // The last tick of INT32_MAX, the first one behind it.
  at.low += 9999999;
  EXPECT_EQ(INT32_MAX, win2posix_time(&at));
  at.low++;
  EXPECT_EQ(-1, win2posix_time(&at));
  at = {0xFFFFFFFF, 0xFFFFFFFF};
  EXPECT_EQ(-1, win2posix_time(&at));
  EXPECT_EQ(21215624, win2posix_days(&at));
  int32_t days = 0;
  // 1990-01-01 00:00 is day 7305; half a day later is nearer to the next.
  posix2win_time(631152000 + 43200 + 600, &at);
  EXPECT_EQ(7306, win2posix_days(&at));
  posix2win_time(631152000 + 3599, &at);
  EXPECT_EQ(1, FileTimeToDays(&at, days, 7305, 7305));
  EXPECT_EQ(7305, days);
  EXPECT_EQ(0, FileTimeToDays(&at, days, 7306, 0) +
                   FileTimeToDays(&at, days, -1, 7304));
  FILETIME other = {at.low + 9999, at.high};
  EXPECT_TRUE(IdenticalToTheMillisecond(&at, &other));
  other.low++;
  EXPECT_EQ(3599001u, ModHoursAsMilliSeconds(&other));
  EXPECT_FALSE(IdenticalToTheMillisecond(&at, &other));
}

}  // namespace
