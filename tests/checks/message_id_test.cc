#include "checks/message_id.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kDate = 1204538400;  // 2008-03-03 10:00:00 UTC

using Texts = std::initializer_list<const char*>;

// Each text on its own, first those that the test is to be true for.
void ExpectTest(bool (*test)(TBLOCK), Texts yes, Texts no) {
  for (const char* text : yes) EXPECT_TRUE(test(HeapText(text).view())) << text;
  for (const char* text : no) EXPECT_FALSE(test(HeapText(text).view())) << text;
}

TEST(MessageIdTest, TextsThatFit) {
  ExpectTest(
      [](TBLOCK line) { return IsRelayHost(line, TBLOCK("mx.example.org")); },
      {"from a by MX.example.org.", "by mx.example.org; x",
       "from a [1]by ;( mx.example.org)", "from a (b)by mx.example.org"},
      {"from a by mail.mx.example.org", "from a by mx.example.or",
       "from a\tby mx.example.org", "from baby by mx.example.org", "from a by",
       "from a by ", ""});
  ExpectTest(
      [](TBLOCK id) { return EndsInAddress(id, TBLOCK("ann@example.org")); },
      {"x9Ann@Example.org", "annann@example.org",
       "xann@example.organn@example.org"},
      {"ann@example.org", "x-ann@example.org", "xann@example.org.",
       "xbnn@example.org", "ann@example.organn@example.org",
       "xbnn@ann@example.org", "x@ann@example.org", ""});
  EXPECT_FALSE(EndsInAddress(TBLOCK("xann"), TBLOCK("ann")));
  ExpectTest(
      [](TBLOCK line) { return ComesFromHost(line, TBLOCK("abc1"), '>'); },
      {"From ABC1>", "from abc1> (x)"},
      {"from abc1 ", "from abc1", "from abc>1", "from xyz1>", "by abc1>"});
  ExpectTest(HasDigitBehindW, {"aw3", "W0"}, {"aw", "wxw3", "3", ""});
}

FILETIME ClockOf(int64_t milliseconds) {
  const uint64_t units =
      static_cast<uint64_t>(milliseconds + int64_t{11644473600} * 1000) * 10000;
  return {static_cast<uint32_t>(units), static_cast<uint32_t>(units >> 32)};
}

TEST(MessageIdTest, TwinClocks) {
  const int64_t kMinute = 60000, kStart = int64_t{kDate} * 1000;
  const FILETIME clock = ClockOf(kStart);
  for (int64_t off : {0, 30, -90, 720 * 60})
    EXPECT_TRUE(AreClocksTwins(clock, ClockOf(kStart + off * kMinute))) << off;
  for (int64_t off : {1, 60000, 29 * 60000, 30 * 60000 + 1000})
    EXPECT_FALSE(AreClocksTwins(clock, ClockOf(kStart + off))) << off;
}

TEST(MessageIdTest, WholeHours) {
  const struct {
    int32_t a, b;
    bool off;
  } rows[] = {{kDate, kDate, false},
              {kDate, kDate + 61, false},
              {kDate, kDate + 3598, false},
              {kDate, kDate + 3599, true},
              {kDate, kDate - 3600, true},
              {kDate + 7201, kDate, true},
              {kDate, kDate + 3602, false},
              {INT32_MIN, INT32_MAX, false},
              {INT32_MIN, INT32_MAX - 1695, true}};
  for (const auto& row : rows)
    EXPECT_EQ(row.off, IsWholeHoursOff(row.a, row.b)) << row.a << " " << row.b;
}

TEST(MessageIdTest, SquirrelStamp) {
  const Case<int64_t> rows[] = {
      {"a.b.123.Squirrel@h", 123},
      {"123x4.squirrel@h", 123},
      {"1.-5.squirrel@h", -5},
      {"1.+5.squirrel@h", 5},
      {"1.--5.squirrel@h", 0},
      {".squirrel@h", 0},
      {"1..squirrel@h", 0},
      {"x.squirrel.1@h", INT64_MIN},
      {"1.99999999999999999999999999.squirrel@h", 1000000000000000000},
      {"1.2.squirrel@3.squirrel@h", 2}};
  for (const auto& row : rows) {
    int64_t stamp = INT64_MIN;
    const HeapText id(row.text);
    EXPECT_EQ(row.want != INT64_MIN, ReadSquirrelStamp(id.view(), stamp));
    EXPECT_EQ(row.want, stamp) << row.text;
  }
}

std::unique_ptr<TQMMSG> Load(const std::string& header) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  const std::string text = header + "\n\nhello\n";
  m->loadFromBlock(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), "",
                   1);
  return m;
}

TEST(MessageIdTest, ThreadIndexIsChecked) {
  const std::string kBase = "Thread-Index: x\n";
  const struct {
    const char *fields, *body;
    int score;
  } rows[] = {{"X-MimeOLE: Produced V6", "a", 200},
              {"X-MimeOLE: Produced 16545", "a", 0},
              {"Subject: x", "a", 0},
              {"X-MimeOLE: V6\nUser-Agent: microsoft-entourage/1", "a", 0},
              {"X-MimeOLE: V6", "", 0},
              {"X-MimeOLE: V6", "-----original message-----", 0}};
  for (const auto& row : rows) {
    const std::unique_ptr<TQMMSG> m = Load(kBase + row.fields);
    m->firstLine = row.body;
    EXPECT_EQ(row.score != 0, m->checkThreadIndex()) << row.fields;
    EXPECT_EQ(row.score, m->ledger.score);
  }
}

}  // namespace
