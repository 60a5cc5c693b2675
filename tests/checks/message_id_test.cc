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

// 47CBCC20 is kDate.
TEST(MessageIdTest, Stamps) {
  const int32_t kDay = 86400;
  const char* const kShape = "hhhhhhhh.ddddddd@a";
  const struct {
    const char *id, *adn, *mailer, *agent;
    int32_t utc;
    bool reply, forged;
  } rows[] = {
      {"47CBCC20.1", kShape, "mozilla 4", "", kDate + kDay, false, false},
      {"47CBCC20.1", kShape, "Mozilla 4", "", kDate + kDay + 1, true, true},
      {"47cbcc20.1", kShape, "Mozilla", "", kDate - kDay - 1, false, true},
      {"47CBCC20.1", "hhhhhhh.", "Mozilla", "", 1, false, false},
      {"47CBCC20.1", kShape, "a Mozilla", "", 1, false, false},
      {"47CBCC20.1", kShape, "", "Thunderbird 2", 1, false, true},
      {"47CBCC20.1", kShape, "", "mozilla", 1, true, false},
      {"47CBCC20.1", kShape, "", "Mozilla", 0, false, false},
      {"47CBCC20.1", kShape, "Mozilla", "", 0, false, true},
      {"47CBCC20.1", "hdhdhdhd.hdhdhdh@", "", "", 1, true, true},
      {"47CBCC20.1", "hdhdhdhd.hdhdhdh@", "", "", kDate, false, false},
      {"FFFFFFFF.1", kShape, "Mozilla", "", -1, false, true},
      {"47xBCCy0", kShape, "Mozilla", "", 0x470BCC00, false, false},
      {"15180", kShape, "Mozilla", "", 0, false, false},
      {"15181", kShape, "Mozilla", "", 0, false, true}};
  for (const auto& row : rows)
    EXPECT_EQ(row.forged,
              IsStampForged(HeapText(row.id).view(), HeapText(row.adn).view(),
                            TBLOCK(row.mailer), TBLOCK(row.agent), row.utc,
                            row.reply, nullptr))
        << row.id << " " << row.adn << " " << row.mailer << row.agent << " "
        << row.utc;
}

TEST(MessageIdTest, SquirrelStamp) {
  const struct {
    const char* id;
    int64_t stamp;
  } rows[] = {{"a.b.123.Squirrel@h", 123},
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
    const HeapText id(row.id);
    EXPECT_EQ(row.stamp != INT64_MIN, ReadSquirrelStamp(id.view(), stamp));
    EXPECT_EQ(row.stamp, stamp) << row.id;
  }
}

// The address with a key of 01: a is 62. In base64, twice.
TEST(MessageIdTest, HiddenAddresses) {
  const struct {
    const char *id, *email;
    bool hexa, base64;
  } rows[] = {{"01626F6F4179@h", "ann@x", true, false},
              {"01626F6F4179$FF@h", "ANN@X", true, false},
              {"01626F6F417900A@h", "ann@x", true, false},
              {"FF606D6D3F77@h", "ann@x", true, false},
              {"01626F6F417@h", "ann@x", false, false},
              {"01626F6F4178@h", "ann@x", false, false},
              {"01626f6F4179@h", "ann@x", false, false},
              {"01626F6F4179G@h", "ann@x", false, false},
              {"004040404040@h", "@@@@@", false, false},
              {"004040404040A@h", "@@@@@", true, false},
              {"01626F6F41@h", "ann@", false, false},
              {"WVc1dVFIZz0=@h", "ann@x", false, true},
              {"WVc1dVFIaG9aV3hzYnc9PQ==@h", "Ann@X", false, true},
              {"WVc1dVFIZz0@h", "ann@x", false, false},
              {"WVc1dVFIZz1=@h", "bnn@x", false, false},
              {"AAEAEAEAEAEA@h", "@@@@@", false, false},
              {"WVc1dVFBPT0=@h", "ann@", false, false}};
  for (const auto& row : rows) {
    const HeapText id(row.id), email(row.email);
    EXPECT_EQ(row.hexa, HidesAddressInHexa(id.view(), email.view())) << row.id;
    EXPECT_EQ(row.base64, HidesAddressInBase64(id.view(), email.view()))
        << row.id;
  }
}

std::unique_ptr<TQMMSG> Load(const std::string& header) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  const std::string text = header + "\n\nhello\n";
  m->loadFromBlock(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), "",
                   1);
  return m;
}

TEST(MessageIdTest, IdFromRelay) {
  const std::string far(2000, 'a');
  const struct {
    std::string header;
    int result;
    std::string id;
  } rows[] = {
      {"Subject: x", 1, ""},
      {"Message-ID: <>", 1, ""},
      {"Message-ID: <a@b.c> (Added by postmaster@x)", 1, "a@b.c"},
      {"Message-ID: 1$2$3@a (added by x)", 0, "1$2$3@a (added by x)"},
      {"Received: from a by b with c id 1ABC; x\nMessage-ID: <x1abcd@b>", 1,
       "x1abcd@b"},
      {"Received: from a by b with c; x\nMessage-ID: <a@b>", 0, "a@b"},
      {"Received: from a by b with c id 1ABC; x\nMessage-ID: <" + far +
           "1abc@b>",
       0, far + "1abc@b"},
      {"From: x@b.c\nReceived: from a\n by b.c\nMessage-ID: <a@B.C>", 0,
       "a@B.C"},
      {"Reply-To: x@b.c\nReceived: by b.c\nMessage-ID: <a@b.c>", 0, "a@b.c"},
      {"From: x@y.b.c\nReceived: from a\n by b.c\nMessage-ID: <a@b.c>", 1,
       "a@b.c"},
      {"Received: by bc\nMessage-ID: <a@bc>", 0, "a@bc"},
      {"Received: by a.b\nMessage-ID: <a.b>", 0, "a.b"}};
  for (const auto& row : rows) {
    const std::unique_ptr<TQMMSG> m = Load(row.header);
    EXPECT_EQ(row.result, m->idFromMta) << row.header;
    EXPECT_EQ(row.id, Str(m->messageId));
  }
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
