#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

struct Scan {
  Scan() : m(nullptr, nullptr, nullptr, 0, 0) { m.fixedTime = 1200000000; }
  void load(const std::string& sections, const std::string& mail) {
    ASSERT_TRUE(LoadSource(m.dico, sections));
    ASSERT_TRUE(m.loadFromBlock(HeapText(mail).view(), "", 1));
    m.ledger.reset();
  }
  std::string cause() {
    const std::string entries = Str(m.ledger.cause.view());
    m.ledger.reset();
    return entries;
  }
  TQMMSG m;
};

TEST(HeaderScoringTest, DatesAtTheirLimits) {
  const int32_t now = 1200000000, midnight = now / 86400 * 86400;
  const int32_t ahead = midnight + 864000, behind = now - 15552000;
  const struct {
    int32_t written, last, second;
    const char* cause;
  } rows[] = {{ahead, 0, 0, ""},
              {ahead + 1, 0, 0, "Date in future (21)"},
              {INT32_MAX, INT32_MIN, -2, "Date in future (21)"},
              {behind, now, now, ""},
              {behind - 1, now, now + 86399, "Date in past (21)"},
              {behind - 1, now, now - 86399, "Date in past (21)"},
              {behind - 1, now, now - 86400, ""},
              {behind - 1, now, now + 86400, ""},
              {behind - 1, now, -1, ""},
              {-1, now, now, ""},
              {-2, now, now, "Date in past (21)"},
              {INT32_MIN, INT32_MIN, INT32_MIN, ""}};
  for (const char* resent : {"", "Resent-Date:\r\n"}) {
    Scan s;
    s.load("", std::string(resent) + "Date: x\r\n\r\n");
    s.m.headerDate.error = 0;
    for (const auto& row : rows) {
      s.m.headerDate.utc = row.written;
      s.m.lastReceivedDate.utc = row.last;
      s.m.secondReceivedDate.utc = row.second;
      s.m.checkDates(nullptr);
      const bool past = TBLOCK(row.cause).find("past") >= 0;
      EXPECT_EQ(past && *resent ? "" : row.cause, s.cause())
          << row.written << " " << row.last << " " << row.second;
    }
  }
}

// Lines that hold in a section of strings, in one of patterns, in both, and
// in neither.
TEST(HeaderScoringTest, HeaderFieldLines) {
  const char kMail[] =
      "X-A: one two\r\nX-Empty:\r\nx-a: Three*\r\nX-Tab:\tlast\r\nX-No:sep\r\n"
      "Subject: \"q \" \r\n\r\nX-Body: b\r\n";
  const std::vector<const char*> kLines[] = {
      {"X-A=one two", "X-A=", "X-A=*t", "X-Empty=*", "X-Empty=~x", "X-A=(",
       "X-None=.*", "*=X-A", "*=b", "*=last", "*=sep", "X-A =three*"},
      {"x-a=THREE*", "X-A=three*", "X-A=t*nothing", "X-A=*hree*", "X-A=*",
       "X-Empty=", "X-Empty", "X-Body=", "*=*TWO", "*=", "*=*", "="},
      {"X-A=(?i)^three", "X-A=~two", "X-Empty=^$", "X-None=^$", "*=^$",
       "*=Three\\*", "*=e t"},
      {"X-A= *ree*", "*=one two", "X-Tab=last", "X-No=sep", "Subject=q"}};
  Scan s;
  for (int kind = 0; kind < 4; kind++) {
    for (const std::string text : kLines[kind]) {
      SCOPED_TRACE(text);
      const std::string line = "<11>" + text + "\n";
      s.load("[#S]\n" + line + line + "[!p]\n" + line + "[:n]\n" + line, kMail);
      for (const char* section : {"s", "P", "n", "none"})
        s.m.checkHeaderFields(section, nullptr);
      EXPECT_EQ(std::string(kind & 1 ? "s Header Scoring (22)" : "") +
                    (kind == 3 ? ";" : "") +
                    (kind & 2 ? "P Header Scoring (11)" : ""),
                s.cause());
    }
  }
}

TEST(HeaderScoringTest, Attachments) {
  const std::string mail =
      "Content-Type: multipart/mixed; boundary=b\r\nX-Mark: "
      "1\r\n\r\n--b\r\n\r\n"
      "text of a.txt\r\n--b\r\nContent-Type: application/zip; name=a.EXE\r\n"
      "X-Mark: 2\r\nContent-Transfer-Encoding: base64\r\n\r\nU3VzcGVjdCE=\r\n"
      "--b\r\nContent-Type: image/gif; name=b.exe\r\nX-Mark: 2\r\n\r\nG\r\n"
      "--b--\r\n";
  const std::string headers = "[#AttachHeader]\n<4>X-Mark=2\n<100>X-Mark=1\n";
  const struct {
    std::string sections;
    int result, scored;
    const char* cause;
  } rows[] = {
      {"", 0, 0, ""},
      {"[#AttachExt]\n<3>exe\n<2>txt\n", 1, 1, "exe attached (3)"},
      {"[#AttachExt]\n<&3>exe\n", 1, 1, "exe attached2x (6)"},
      {"[#AttachExt]\n<3>com\n" + headers, 1, 0, "Attach header (8)"},
      {"[#AttachExt]\n<-3>exe\n" + headers, 1, 1,
       "exe attached (-3);Attach header (8)"},
      {headers +
           "[#AttachContent]\n<9>A.exe=nope\n<8>A.exe=USPECT!\n<7>b.exe\n",
       1, 0, "Suspect Attach (8)"},
      {"[#AttachContent]\n<9>b.ex=G\n<-8>b.exe=G\n", 1, 0,
       "Suspect Attach (-8)"}};
  for (const auto& row : rows) {
    Scan s;
    s.load(row.sections, mail);
    EXPECT_EQ(row.result, s.m.checkAttach()) << row.sections;
    EXPECT_EQ(row.scored, s.m.attachScored) << row.sections;
    EXPECT_EQ(row.cause, s.cause()) << row.sections;
  }
}

}  // namespace
