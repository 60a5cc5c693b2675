#include <gtest/gtest.h>
#include <time.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

// 2007-05-20 03:04:05 UTC.
const int32_t kThen = 1179630245;
const char kThenText[] = "Sun, 20 May 2007 03:04:05 +0000";

std::string Written(int64_t time) {
  const time_t t = time;
  struct tm parts;
  gmtime_r(&t, &parts);
  char text[64];
  strftime(text, sizeof text, "%d %b %Y %H:%M:%S +0000", &parts);
  return text;
}

class CheckReceivedTest : public ::testing::Test {
 protected:
  CheckReceivedTest() : m(nullptr, nullptr, nullptr, 0, 0) {}
  // The verdict, and the server that the line claims to be of.
  std::string judge(const std::string& value) {
    const HeapText text(value);
    const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
    STR cause("before");
    const bool forged = m.checkForgedReceived(&line, cause);
    return (forged ? "forged " : "fine ") + std::string(cause.c_str());
  }
  std::string judge(const std::string& clauses, const std::string& date) {
    return judge(clauses + "; " + date);
  }
  int labo(const std::string& older, const std::string& newer) {
    const HeapText a(older), b(newer);
    RECEIVEDWARE ware(nullptr);
    BLOCKRECEIVED first(a.view(), &ware, nullptr);
    const BLOCKRECEIVED second(b.view(), &ware, nullptr);
    ware.getReceivedAdn(first.text, first.adn, 0);
    return m.checkForgedReceivedLabo(&first, &second);
  }
  TQMMSG m;
};

TEST_F(CheckReceivedTest, SendmailIdentifiers) {
  const struct {
    const char* by;
    const char* id;
    const char* verdict;
  } rows[] = {
      {"(8.8.8/8.8.8)", "DAA12345", "fine Sendmail"},
      {"(8.9.3/8.9.3)", "DAB1", "fine Sendmail"},
      {"(9.9.3/8.9.3)", "DAC12345", "forged Sendmail"},
      {"(8.9.3/8.9.3)", "DAA", "forged Sendmail"},
      {"(8.9.3/8.9.3)", "aAA12345", "forged Sendmail"},
      // With a blank ahead of its comment no identifier fits to the end.
      {"(8.9.3/8.9.3)", "DAA12345 (x)", "forged Sendmail"},
      {"(8.9.3/8.9.3)", "DAA12345(x)", "fine Sendmail"},
      // Ways out.
      {"(8.9.3/8.9.3)", "1HpbOM-0000aB-Cd", "fine Sendmail"},
      {"(nsafe-8.9.3) (8.9.3/8.9.3)", "x", "fine Sendmail"},
      {"(Switch-3.1.7) (8.13.7)", "x", "fine Sendmail"},
      {"(8.12.10/untd-8)", "x", "fine Sendmail"},
      // Year, month, day, hour, minute, second.
      {"(8.11.6/8.11.6)", "l4K345x", "fine Sendmail"},
      {"(8.14.6/8.14.6)", "l4K345x", "fine Sendmail"},
      {"(8.13.6/8.13.6)", "l4K345x", "forged Sendmail"},
      {"(8.13.6/8.13.6)", "l4K345xx012345", "fine Sendmail"},
      {"(8.13.6/8.13.6)", "l4K345xy012345", "forged Sendmail"},
      {"(8.12.6/8.12.6)", "l4K345xy012345", "fine Sendmail"},
      {"(8.12.6/8.12.6)", "l4K34y", "forged Sendmail"},
      {"(8.12.6/8.12.6)", "lCK345", "forged Sendmail"},
      {"(8.12.6/8.12.6)", "l40345", "forged Sendmail"},
      {"(8.12.6/8.12.6)", "l4KO45", "forged Sendmail"},
      {"(8.12.6/8.12.6)", "04K345", "forged Sendmail"},
      // Up to 35 days off, in either direction.
      {"(8.12.6/8.12.6)", "l5O345", "fine Sendmail"},
      {"(8.12.6/8.12.6)", "l5O346", "forged Sendmail"},
      {"(8.12.6/8.12.6)", "l3F345", "fine Sendmail"},
      {"(8.12.6/8.12.6)", "l3F344", "forged Sendmail"},
      // Without a version only identifiers of two lengths are its own.
      {"", "l4K345xx012345", "fine Sendmail"},
      {"", "l4K345x12345", "fine Sendmail"},
      {"", "k4K345x12345", "forged Sendmail"},
      {"", "i4K345x12345", "fine "},
      {"", "r4K345x12345", "fine "},
      {"", "l4K345x1234", "fine "},
      // Versions that are none of its.
      {"(8.7.1/8.7.1)", "x", "fine "},
      {"(8.15.2/8.15.2)", "x", "fine "},
      {"(7.12.6)", "x", "fine "},
      {"8.12.6", "x", "fine "}};
  for (const auto& row : rows) {
    const std::string clauses = "by a " + std::string(row.by) + " id " + row.id;
    EXPECT_EQ(row.verdict, judge(clauses, kThenText)) << clauses;
  }
  // The last minute and second, and a leap day.
  EXPECT_EQ("fine Sendmail",
            judge("by a (8.12.6) id i1TNxx", Written(1078099199 + 3024000)));
  EXPECT_EQ("forged Sendmail",
            judge("by a (8.12.6) id i1TNxx", Written(1078099199 + 3024001)));
}

TEST_F(CheckReceivedTest, TimeIsTheLinesElseTheMessages) {
  const std::string clauses = "by a (8.12.6) id l4K345";
  EXPECT_EQ("forged Sendmail", judge(clauses));
  m.messageDate.utc = kThen;
  EXPECT_EQ("fine Sendmail", judge(clauses));
  EXPECT_EQ("forged Sendmail", judge(clauses, "1 Jan 2004 10:00:00"));
  EXPECT_EQ("forged Sendmail", judge(clauses, "nonsense"));
  m.messageDate.utc = -1;
  EXPECT_EQ("forged Sendmail", judge(clauses));
  // A line without an identifier, and none at all.
  EXPECT_EQ("fine ", judge("by a (8.12.6) id ; x"));
  STR cause("before");
  EXPECT_FALSE(m.checkForgedReceived(nullptr, cause));
  EXPECT_TRUE(cause.empty());
}

TEST_F(CheckReceivedTest, EximIdentifiers) {
  const struct {
    const char* with;
    const char* id;
    const char* date;
    const char* verdict;
  } rows[] = {
      // The time is 1HpbiH in base 62; three digits count, in either case.
      {"esmtp (Exim 4.63)", "1HpbiH-0000aB-Cd", kThenText, "fine Exim"},
      {"esmtp (EXIM 4.63)", "1hP", kThenText, "fine Exim"},
      {"esmtp (Exim 4.63)", "1Hp(x)", kThenText, "fine Exim"},
      {"esmtp (Exim 4.63)", "1Ho", kThenText, "forged Exim"},
      {"esmtp (Exim 4.63)", "1Hq", kThenText, "forged Exim"},
      {"esmtp (Exim 4.63)", "1H", kThenText, "forged Exim"},
      {"esmtp", "1HpbiH-0000aB-Cd-x", kThenText, "fine Exim"},
      {"esmtp", "1HobiH-0000aB-Cd", kThenText, "forged Exim"},
      {"esmtp", "1HobiH-0000aB-C", kThenText, "fine "},
      // When three digits change.
      {"(Exim)", "1Hp", "18 May 2007 10:47:52", "fine Exim"},
      {"(Exim)", "1Hp", "18 May 2007 10:47:51", "forged Exim"},
      {"(Exim)", "1Hp", "21 May 2007 04:59:59", "fine Exim"},
      {"(Exim)", "1Hp", "21 May 2007 05:00:00", "forged Exim"},
      // No time leaves no digits, with which nothing begins.
      {"(Exim)", "1HpbiH-0000aB-Cd", "nonsense", "forged Exim"},
      {"(Exim)", "1HpbiH-0000aB-Cd", "3 Jan 1970 10:00:00", "forged Exim"},
      {"(Exim)", "1HpbiH-0000aB-Cd", "1 Jan 1960 10:00:00", "forged Exim"},
      // Ways out.
      {"(Gmexim) (Exim)", "x", kThenText, "fine "},
      {"(Exim)", "1alnuq-0007HV-00", kThenText, "fine "},
      {"(Exim)", "1AlnuQ-0007hv-00x", kThenText, "forged Exim"}};
  for (const auto& row : rows) {
    const std::string clauses =
        "by a with " + std::string(row.with) + " id " + row.id;
    EXPECT_EQ(row.verdict, judge(clauses, row.date)) << clauses << row.date;
  }
}

TEST_F(CheckReceivedTest, NetscapeIdentifiers) {
  const struct {
    const char* version;
    const char* id;
    const char* verdict;
  } rows[] = {{"3.0", "12", "fine Netscape"},
              {"3.62", "1234", "fine Netscape"},
              {"3.62", "AAA12EF", "fine Netscape"},
              {"3.62", "AAA12EG", "forged Netscape"},
              {"3.5", "1", "forged Netscape"},
              {"3.5", "12345", "forged Netscape"},
              // The time, of which thousands of seconds count.
              {"4.15", "JIBKITAB.C0D", "fine Netscape"},
              {"4.15", "JIBKC000.ABC", "fine Netscape"},
              {"4.15", "JIBKBZ00.ABC", "forged Netscape"},
              {"4.0", "JIBL3R00.ABC", "fine Netscape"},
              {"4.1", "JIBL3S00.ABC", "forged Netscape"},
              {"4.05", "JIBL3S00.ABCD", "fine Netscape"},
              {"4.0B2", "x", "fine Netscape"},
              // Versions that never were, and what is no version.
              {"4.16", "JIBKIT00.ABC", "forged Netscape"},
              {"4.0b3", "x", "forged Netscape"},
              {"4", "JIBL3S00.ABC", "fine Netscape"},
              {"", "x", "fine Netscape"},
              {"  4.1 Patch 2", "JIBL3S00.ABC", "forged Netscape"},
              {"4.1) (x", "JIBL3S00.ABC", "forged Netscape"}};
  for (const auto& row : rows) {
    const std::string clauses = "by a (netscape messaging server " +
                                std::string(row.version) + ") id " + row.id;
    EXPECT_EQ(row.verdict, judge(clauses, kThenText)) << clauses;
  }
  EXPECT_EQ("fine ", judge("by a (Netscape Messaging Server) id x", kThenText));
  EXPECT_EQ("forged Netscape",
            judge("by a (Netscape Messaging Server 4.1) id JIBKIT00.ABC",
                  "nonsense"));
}

TEST_F(CheckReceivedTest, SunJavaIdentifiers) {
  const char* const rows[][2] = {
      {"0JIB12345KIT6789", "fine Sun Java"},
      {"<0JIB12345KIT6789@a.example> (x)", "fine Sun Java"},
      {"( (0JIB12345KIT6789) x)", "fine Sun Java"},
      {"<>", "forged Sun Java"},
      {"()", "forged Sun Java"},
      {"0JIB12345KIT678", "forged Sun Java"},
      {"0JIB12345KIT67890", "forged Sun Java"},
      {"0JIB12345KIT678a", "forged Sun Java"},
      {"0JIB12345KIT6789-a", "fine Sun Java"},
      // A day off in either direction.
      {"0JID12345F6T6789", "fine Sun Java"},
      {"0JID12345F6U6789", "forged Sun Java"},
      {"0JI912345PUT6789", "fine Sun Java"},
      {"0JI912345PUS6789", "forged Sun Java"}};
  for (const auto& row : rows)
    EXPECT_EQ(row[1], judge("by a (Sun Java System Messaging Server 6.2) id " +
                                std::string(row[0]),
                            kThenText))
        << row[0];
  EXPECT_EQ("fine ", judge("by a (Sun Java System Messaging Server 7.0) id x",
                           kThenText));
}

TEST_F(CheckReceivedTest, GmailIdentifiers) {
  const struct {
    const char* id;
    const char* date;
    const char* verdict;
  } rows[] = {
      {"a1b2c3d4e5.12.1179630245000", kThenText, "fine Gmail"},
      {"a1b2c3d4e5.1179630245999", kThenText, "fine Gmail"},
      {"a1b2c3d4e5.12.2007.05.20.03.04.05", kThenText, "fine Gmail"},
      {"a1b2c3d4.12.2007.05.20.03.04.05", kThenText, "fine "},
      {"a1b2c3d4e5.1.2004.05.20.03.04.05", kThenText, "fine "},
      // Half a day off in either direction.
      {"a1b2c3d4e5.2007.05.20.15.04.05", kThenText, "fine Gmail"},
      {"a1b2c3d4e5.2007.05.20.15.04.06", kThenText, "forged Gmail"},
      {"a1b2c3d4e5.2007.05.19.15.04.05", kThenText, "fine Gmail"},
      {"a1b2c3d4e5.2007.05.19.15.04.04", kThenText, "forged Gmail"},
      {"a1b2c3d4e5.1179673445000", kThenText, "fine Gmail"},
      {"a1b2c3d4e5.1179673446000", kThenText, "forged Gmail"},
      {"a1b2c3d4e5.9999999999999", kThenText, "forged Gmail"},
      // Numbers that are out of range, and some that are let pass.
      {"a1b2c3d4e5.2006.13.20.03.04.05", "20 Jan 2007 03:04:05", "fine Gmail"},
      {"a1b2c3d4e5.2007.00.20.03.04.05", "20 Dec 2006 03:04:05", "fine Gmail"},
      {"a1b2c3d4e5.2007.05.00.03.04.05", "30 Apr 2007 03:04:05", "fine Gmail"},
      {"a1b2c3d4e5.2006.14.20.03.04.05", "20 Feb 2007 03:04:05",
       "forged Gmail"},
      {"a1b2c3d4e5.2007.05.32.03.04.05", "1 Jun 2007 03:04:05", "forged Gmail"},
      {"a1b2c3d4e5.2007.05.20.24.04.05", "21 May 2007 00:04:05",
       "forged Gmail"},
      {"a1b2c3d4e5.2007.05.20.03.60.05", kThenText, "forged Gmail"},
      {"a1b2c3d4e5.2007.05.20.03.04.60", kThenText, "forged Gmail"},
      // An impossible time and none are the same time.
      {"a1b2c3d4e5.2007.05.20.03.04.60", "nonsense", "fine Gmail"}};
  for (const auto& row : rows)
    EXPECT_EQ(row.verdict, judge("by a id " + std::string(row.id), row.date))
        << row.id;
  // The name takes the place of one that came before it.
  EXPECT_EQ("forged Gmail", judge("by a (Netscape Messaging Server x) id "
                                  "a1b2c3d4e5.9999999999999",
                                  kThenText));
  EXPECT_EQ("fine EximNetscape",
            judge("by a (Netscape Messaging Server 4.0b2) with (Exim) id 1Hp",
                  kThenText));
}

TEST_F(CheckReceivedTest, ForgedPairs) {
  const std::string tail = "; Sun, 20 May 2007 03:04:05 +0000";
  const std::string forged = "from [192.0.2.1] by a.example.org" + tail;
  const struct {
    std::string older, newer;
    int verdict;
  } rows[] = {
      {forged, "from x ([192.0.2.1]) by b", 1},
      {forged, "from x ([192.0.2.2]) by b", 0},
      {forged, "from x by b", 0},
      {"from x by a.example.org" + tail, "from 192.0.2.1 by b", 0},
      {"from [127.0.0.1] by a.example.org" + tail, "from 127.0.0.1 by b", 0},
      {"from [192.168.0.1] by a.example.org" + tail, "from 192.168.0.1", 0},
      {"FROM 192.0.2.1 by x WITH Smtp" + tail, "from 192.0.2.1", 1},
      {"from [192.0.2.1] by a.example.org" + tail + " x.org", "from 192.0.2.1",
       0},
      {"from [192.0.2.1] by a.example.org (x)" + tail, "from 192.0.2.1", 0}};
  for (const auto& row : rows)
    EXPECT_EQ(row.verdict, labo(row.older, row.newer)) << row.older;
  const HeapText text(forged);
  const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
  EXPECT_EQ(0, m.checkForgedReceivedLabo(&line, nullptr));
  EXPECT_EQ(0, m.checkForgedReceivedLabo(nullptr, &line));
}

TEST_F(CheckReceivedTest, SmtpService) {
  const char* const kGood = "with Microsoft SMTPSVC(5.0.2195.6713)";
  const struct {
    std::string value;
    int verdict;
  } rows[] = {{"from x by y with SMTP", 0},
              {"from x by y with Microsoft SMTPSVC", 0},
              {std::string("from x by y ") + kGood, 0},
              {"with microsoft smtpsvc(5.0.2195.6713)", 2},
              {"with Microsoft SMTPSVC(6.0.3790.1830.2)", 0},
              {"with Microsoft SMTPSVC(6.0.3790)", 2},
              {"with Microsoft SMTPSVC(", 2},
              {std::string(kGood) + " for x", 1},
              {"with Microsoft SMTPSVC() for x", 1},
              {std::string("from Unknown ([192.0.2.1]) ") + kGood, 1},
              {std::string("from unknown ") + kGood, 0}};
  for (const auto& row : rows) {
    const HeapText text(row.value);
    const BLOCKRECEIVED line(text.view(), nullptr, nullptr);
    EXPECT_EQ(row.verdict, m.checkSmtpSrv(&line)) << row.value;
  }
  EXPECT_EQ(0, m.checkSmtpSrv(nullptr));
}

// A header that the web mail service wrote, in pieces that rows replace.
struct Hotmail {
  std::string sender = "X-Sender: a@example.com\r\n";
  std::string email = "X-Originating-Email: [A@example.com]\r\n";
  std::string ip = "X-Originating-IP: [192.0.2.9]\r\n";
  std::string arrival = Arrival("86708080", "01C79A8B");
  std::string newer = "Received: From mail pickup service by x\r\n";
  std::string older =
      "Received: from 192.0.2.9 by by9.example.com with HTTP; 20 May 2007 "
      "03:04:05 GMT\r\n";
  std::string id = "Message-ID: <BAY12-F1234@example.com>\r\n";

  static std::string Arrival(const char* low, const char* high) {
    return std::string(
               "X-OriginalArrivalTime: 20 May 2007 03:04:05.0678 (UTC) "
               "FILETIME=[") +
           low + ":" + high + "]\r\n";
  }
  std::string text() const {
    return newer + older + sender + email + ip + arrival + id + "\r\nbody";
  }
};

class HotmailTest : public CheckReceivedTest {
 protected:
  int failures(const Hotmail& mail) {
    const std::string text = mail.text();
    m.fixedTime = int64_t{13653} * 86400 + 5;
    m.loadFromBlock(TBLOCK(text.data(), static_cast<uint32_t>(text.size())),
                    nullptr, 0);
    m.parseHeader();
    return m.checkHotmail();
  }
};

TEST_F(HotmailTest, EachTestFailsAlone) {
  const struct {
    const char* what;
    std::string Hotmail::*piece;
    std::string value;
    int failures;
  } rows[] = {
      {"as it is", nullptr, "", 1},
      {"no sender", &Hotmail::sender, "", 3},
      {"other sender", &Hotmail::sender, "X-Sender: b@example.com\r\n", 2},
      {"no sender's address", &Hotmail::email, "", 3},
      {"no brackets", &Hotmail::email, "X-Originating-Email: a@example.com\r\n",
       2},
      {"no address", &Hotmail::ip, "", 3},
      {"empty address", &Hotmail::ip, "X-Originating-IP: \r\n", 2},
      {"no arrival", &Hotmail::arrival, "", 3},
      {"bad arrival", &Hotmail::arrival, "X-OriginalArrivalTime: x\r\n", 2},
      {"too early", &Hotmail::arrival, Hotmail::Arrival("0", "0"), 2},
      {"early", &Hotmail::arrival, Hotmail::Arrival("00000000", "01B41DC5"), 2},
      {"1990", &Hotmail::arrival, Hotmail::Arrival("00000000", "01B41DC6"), 1},
      {"1000 days", &Hotmail::arrival, Hotmail::Arrival("00000000", "01CAABDA"),
       1},
      {"too late", &Hotmail::arrival, Hotmail::Arrival("00000000", "01CAABDB"),
       2},
      {"one line", &Hotmail::newer, "", 2},
      {"other line", &Hotmail::newer, "Received: from x by y\r\n", 2},
      {"no GMT", &Hotmail::older,
       "Received: from 192.0.2.9 by by9.example.com with http\r\n", 2},
      {"no source", &Hotmail::older,
       "Received: 192.0.2.9 by by9.example.com with HTTP GMT\r\n", 2},
      {"bad source", &Hotmail::older,
       "Received: from 225.0.2.9 by by9.example.com with HTTP GMT\r\n", 2},
      {"source behind", &Hotmail::older,
       "Received: by by9.example.com from 192.0.2.9 with HTTP GMT\r\n", 2},
      // A line that fits the other field's pattern: the numbers differ from
      // the identifier's, are below 1, and may differ from each other.
      {"month and digits", &Hotmail::older,
       "Received: from 192.0.2.9 by by9.example.com with HTTP GMT " +
           Hotmail::Arrival("00000000", "01C79A8B").substr(23),
       2},
      {"month and other digits", &Hotmail::older,
       "Received: from 192.0.2.9 by by9.example.com with HTTP GMT " +
           Hotmail::Arrival("10000000", "01C79A8B").substr(23),
       3},
      {"no such line", &Hotmail::older,
       "Received: from 192.0.2.9 by my9.example.com with HTTP GMT\r\n", 0}};
  for (const auto& row : rows) {
    Hotmail mail;
    if (row.piece) mail.*row.piece = row.value;
    EXPECT_EQ(row.failures, failures(mail)) << row.what;
    if (row.failures == 2 && strcmp(row.what, "month and digits") == 0) {
      mail.id = "Message-ID: <BAY0-F1@example.com>\r\n";
      EXPECT_EQ(1, failures(mail)) << "a fitting identifier";
    }
  }
}

TEST_F(HotmailTest, ThroughMailPrograms) {
  const struct {
    const char* older;
    const char* id;
    int failures;
  } rows[] = {
      {"by BAY101-DAV2.example.com with DAV;\r\n 20 May 2007 03:04:05 +0000",
       "<BAY101-DAV2ABC@example.com>", 0},
      {"by bay101-dav2.example.com with DAV; x +0000",
       "<Bay101-Dav2ABC@example.com>", 0},
      {"by BAY101-DAV2.example.com with DAV; x +0000", "<x@example.com>", 0},
      {"by BAY101-DAV2.example.com with DAV; x +0000",
       "<BAY101-DAV3ABC@example.com>", 1},
      {"by BAY101-DAV2.example.com with DAV; x +0100",
       "<BAY101-DAV2ABC@example.com>", 1},
      {"by by1.example.com with HTTP by DAV with DAV; x +0000", "<BAY@example>",
       1},
      {"by BAY101.example.com with DAV; x", "<BAY1@example.com>", 2}};
  for (const auto& row : rows) {
    Hotmail mail;
    mail.older = std::string("Received: from 192.0.2.9 ") + row.older + "\r\n";
    mail.id = std::string("Message-ID: ") + row.id + "\r\n";
    EXPECT_EQ(row.failures, failures(mail)) << row.older;
  }
}

}  // namespace
