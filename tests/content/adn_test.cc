// Shapes of values. The message of the tests is of 14 November 2007, 06:30, and
// the present is November 2026.

#include "content/adn.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/heap_text.h"
#include "rules/source_util.h"

namespace {

const int32_t kDate = 1195021800;
const int64_t kNow = 1795275720;

struct Clock {
  BLOCKDATE date;
  TADNCLOCK clock;
  explicit Clock(int32_t utc = kDate, int32_t error = 0) {
    date.utc = utc;
    date.error = error;
    clock = {&date, kNow};
  }
};

std::string Shape(const std::string& text, uint32_t flags,
                  const TADNCLOCK& clock = {nullptr, kNow}) {
  const HeapText run(text);
  STR adn;
  _AdnFromSubBlock(adn, run.view(), flags, clock);
  return adn.c_str();
}

// Rows of a run, its letter, and its letters when mixtures are looked into.
TEST(AdnTest, ClassesOfRuns) {
  std::istringstream rows(
      "1234 d d  200711 d d  202611 f f  2026119 f f  20261 d d "
      "DEADBEEF h h  DEA u u  A12B h h  A12 v ud  1a2b x x  a1b2 x x "
      "a1B2 s s  Abcd c c  ABcd c c  Abc a a  AbcD a a  Ab a a "
      "\xC9t\xE9s c c  \xE9t\xE9 l l  \xC9T\xC9 u u "
      // Words of the letters a to f, with or without a number behind them.
      "abcdef l l  abcdef1234 m ld  abcdef1234a x x  ABCDEF12 h h "
      "qzxqzxqzx l l  qzxQzxQzx a r  qzxqzx4zx m r "
      // Cuts, in their order.
      "12345gone m dl  1234gone m m  12345gone6 m dld  202611go202611 m fld "
      "Gone1 s cd  GOne1 s s  GOne123 s s  GOne1234 s cd  GoNe1234 s ad "
      "go1ne1234 m m  1a2b3today m xl  1a2btoday m m  112a34gone m m "
      "1A2B3today s hl  Ab333today s s  1a2b3TODAY s xu  gohome1a m lm "
      "today1a2b m lx  gone1a2b m m  today1a2B s s  TODAY1a2b s ux "
      // Three cuts, one inside of the other.
      "12345abc12today m dldl ");
  std::string run, adn, randomAdn;
  while (rows >> run >> adn >> randomAdn) {
    SCOPED_TRACE(run);
    EXPECT_EQ(adn, Shape(run, 0));
    EXPECT_EQ(randomAdn, Shape(run, adnRandom));
  }
  EXPECT_EQ("", Shape("", adnRepeat));
  EXPECT_EQ("clll", Shape("Abcd", adnRepeat));
  EXPECT_EQ("clllllddd", Shape("Random123", adnRepeat | adnRandom));
}

// Runs of each letter in a message of the date above.
TEST(AdnTest, Times) {
  const struct {
    char letter;
    const char* runs;
  } rows[] = {
      // Seconds since 1970 and 1904, within a day.
      {'t', "473A95E8 473BE767 47394469 C36197E7 C35EF4E9"},
      {'h', "473BE768 C36197E8 C35EF4E8 0473A95E8 473A95E"},
      {'x', "473a95e8"},
      // Dates within 90 days; 30 when the day stands before the month.
      {'f',
       "20080212 20070817 200708170000 20070817000000 200708170000000 "
       "20070817000000000 200708170000000000 200711 2007119999999"},
      {'g', "20071412 0712140629 0710150631000"},
      {'b', "1197613799 1192429801999 1195021800123456"},
      {'d',
       "47394468 20080213 20070816 2007081700000 2007081700000000 20071512 "
       "1197613800 1192429800999 11950218001 0712140630 0711142430 202611"},
      {'j', "jrh0z9"},
      {'m', "jrgzz9 jrhz99z"},
      {'s', "jRh0z9"}};
  const Clock dated;
  for (const auto& row : rows) {
    std::istringstream runs(row.runs);
    std::string run;
    while (runs >> run)
      EXPECT_EQ(std::string(1, row.letter), Shape(run, 0, dated.clock)) << run;
  }
  // Halves of a run are no times.
  EXPECT_EQ("dl", Shape("1195021800zone", adnRandom, dated.clock));
  // Without a date that can be read the present is the reference.
  const Clock none(0), unread(-1), wrong(kDate, 1);
  for (const Clock* bad : {&none, &unread, &wrong}) {
    EXPECT_EQ("d", Shape("1195021800", 0, bad->clock));
    EXPECT_EQ("b", Shape("1795275720", 0, bad->clock));
    EXPECT_EQ("t", Shape("6B01CBC8", 0, bad->clock));
  }
  // Times before 1970, and numbers that would not fit 32 bits.
  const Clock early(-1000);
  EXPECT_EQ("f", Shape("19691231", 0, early.clock));
  EXPECT_EQ("d", Shape("9999999999", 0, early.clock));
  EXPECT_EQ("m", Shape("000zzz", 0, early.clock));
  EXPECT_EQ("h", Shape("FFFFFFFF", 0, early.clock));
}

TEST(AdnTest, Walk) {
  const struct {
    const char *text, *keep;
    uint32_t flags;
    const char* known;  // joined by commas
    const char* adn;
  } rows[] = {
      {"", "", 0, "", ""},
      {"abc-123", "", adnRepeat, "", "lll-ddd"},
      {"<#$>", nullptr, 0, "", "<#$>"},
      {"a b\tc\r\nd\x7F\xA0\x81g", "", 0, "", "l llel\x7Fl"},
      {" a  b\n", "", adnNoSpace, "", "lle"},
      {"[1.2.3.4]", "", 0, "", "[d.d.d.d]"},
      {"[1.2.3.4] 255.255.255.255", "", adnIp, "", "[i] i"},
      {"1.2.3.256 1.2.3 1..2.3.4 1.2.3.", "", adnIp, "",
       "d.d.d.d d.d.d d..d.d.d d.d.d."},
      {"1.2.3.1234 1234.2.3.4 1.2.3.4.5 1.2.3.4a", "", adnIp, "",
       "d.d.d.d d.d.d.d i.d il"},
      {"RE: Fwd", "re,fw", adnRepeat, "", "RE: aaa"},
      {"ab xab abx xabx b", "*ab,b", 0, "", "ab xab l l b"},
      {"ab xab abx xabx", "ab*", 0, "", "ab l abx l"},
      {"ab xab abx xabx a", "*ab*", 0, "", "ab xab abx xabx l"},
      {"at x@example.com, www.example.org or Http://www.example.org/ and "
       "http://example.org",
       "", adnMail | adnUrl, "", "l @, w l w l z"},
      {"x@example.com www.a.com", "", 0, "", "l@l.l l.l.l"},
      {"Joe_mail.joes", "joe", 0, "-- joe,mail.", "0_10l"},
      {"abcd xad ad b", "", 0, "ab,abc,a,xa", "0l 3l 2l l"},
      {"abcd abd", "", 0, "abc,ab", "0l 1l"},
      {"--a", "", 0, ",--,a", "--2"},  // empty ones keep their index
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    TBLOCKVECT known(4);
    TBLOCK list(row.known);
    while (!list.empty())
      known.add(TBLOCK::BlockBeforeChar(list, ',', 0, 0), 1, 0);
    STR adn("before");
    AdnFromBlock(text.view(), adn, row.keep, row.flags, {nullptr, kNow},
                 &known);
    EXPECT_STREQ(row.adn, adn.c_str());
  }
}

TEST(AdnTest, DistancesOfTimes) {
  STR stamp;
  Tt2Adn(kDate, stamp);
  EXPECT_STREQ("20071114063000", stamp.c_str());
  Tt2Adn(-1, stamp);
  EXPECT_STREQ("", stamp.c_str());
  FILETIME time;
  ASSERT_TRUE(posix2win_time(kDate, &time));
  Ft2Adn(&time, stamp);
  EXPECT_STREQ("20071114063000", stamp.c_str());
  Ft2Adn(nullptr, stamp);
  EXPECT_STREQ("", stamp.c_str());

  // The least distance of each letter, in seconds.
  const uint32_t least[] = {0, 1, 2, 10, 30, 60, 600, 3600, 21600, 86400};
  for (int i = 0; i < 10; i++) {
    const int32_t from = static_cast<int32_t>(least[i]) - 5;
    const int32_t to =
        i < 9 ? static_cast<int32_t>(least[i + 1]) - 6 : INT32_MAX;
    for (int32_t other : {from, to}) {
      EXPECT_EQ("0123456789"[i], ttAdnChar(other, -5)) << other;
      EXPECT_EQ("0abcdefghz"[i], ttAdnChar(-5, other)) << other;
    }
  }
  const struct {
    uint64_t units;
    char later, earlier;
  } parts[] = {{99999, '0', '0'},     {100000, '>', '<'},
               {9999999, '>', '<'},   {10000000, '1', 'a'},
               {19999999, '1', 'a'},  {864000000000, '9', 'z'},
               {UINT64_MAX, '9', 'z'}};
  for (const auto& part : parts) {
    SCOPED_TRACE(part.units);
    const FILETIME zero = {0, 0};
    const FILETIME other = {static_cast<uint32_t>(part.units),
                            static_cast<uint32_t>(part.units >> 32)};
    EXPECT_EQ(part.later, ftAdnChar(other, zero));
    EXPECT_EQ(part.earlier, ftAdnChar(zero, other));
  }
}

}  // namespace
