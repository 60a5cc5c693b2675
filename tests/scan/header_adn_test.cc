#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

class HeaderAdnTest : public ::testing::Test {
 protected:
  HeaderAdnTest() : m(nullptr, nullptr, nullptr, 0, 0) {
    loaded = LoadSource(m.dico,
                        "[:HdrFieldNames]\n"
                        "A1:(?i)^return-path$\nC2:(?i)^cc$\nu:(?i)^status$\n"
                        "D:(?i)^date$\nF:(?i)^from$\nR:(?i)^received$\n"
                        "S:(?i)^subject$\nT:(?i)^to$\nI:(?i)^message-id$\n"
                        "xy:(?i)^x-\nq:^$\nM:^MIME-\nm:^Mime-\n"
                        "[:HdrAdnContentType]\nt:^t\n[:HdrAdnEncoding]\n7:^7\n"
                        "[:HdrAdnId]\nd:^d\n[:HdrAdnBound]\nl:^l\n"
                        "[:HdrAdnMailer]\nM:^M\n[:HdrAdnUserAgent]\nU:^U\n");
  }
  std::string signature(const std::string& header) {
    m.loadFromBlock(HeapText(header + "\n").view(), "", 0);
    m.parseHeader();
    return m.hdrAdn.c_str();
  }
  bool loaded;
  TQMMSG m;
};

TEST_F(HeaderAdnTest, LettersOfFields) {
  ASSERT_TRUE(loaded);
  const char* const rows[][2] = {
      {"", ""},
      {"From: a\nTo: b\nX-1: c\nUnknown: d\nSUBJECT: e\nDate: f\n", "FTxSD"},
      {"Return-Path: a\nCc: b\nStatus: c\nFrom: d\nCc: e\n", "F"},
      // Of a relay: what stands above a relay line, but for what the sender's
      // program wrote.
      {"X-1: a\nTo: b\nReceived: c\nX-2: d\nFrom: e\n", "xF"},
      {"X-1: a\nFrom: b\nReceived: c\nX-2: d\nReceived: e\n", "xFx"},
      {"X-1: a\nSubject: b\nReceived: c\n", "xS"},
      {"X-1: a\nDate: b\nReceived: c\n", "xD"},
      {"To: Undisclosed-Recipients:;\nTo: a\n", "T"},
      {"X-Spam: a\nX-SPAM-Status: b\nX-Spa: c\n", "x"},
      // A subject that is written again is the same one.
      {"Subject: a\nSubject:  \"a\" \nSubject: A\nSubject: b\n", "SSS"},
      {"Subject : a\nSubject : a\nSubject: b\n", "SS"},
      {"Subject:\nSubject: \"\"\nSubject: a\n", "SS"},
      {"From : a\n: b\nTo\nTo: c\n", "FqT"},
      // In a message the first way to spell a name counts.
      {"MIME-Version: a\nMime-Version: b\n", "MM"},
      {"Mime-Version: a\nMIME-Version: b\n", "mm"},
  };
  // And once more with the letters of usual names looked up ahead.
  for (int prepared = 0; prepared < 2; prepared++) {
    if (prepared) m.dico.prepareRules();
    for (const auto& row : rows)
      EXPECT_EQ(row[1], signature(row[0]).substr(0, m.hdrAdn.len() - 7))
          << row[0];
  }
}

TEST_F(HeaderAdnTest, Limits) {
  std::string many;
  for (int i = 0; i < 255; i++) many += "X-1: a\n";
  EXPECT_EQ(std::string(254, 'x') + "F",
            signature(many.substr(7) + "From: a\n" + many).substr(0, 255));
  EXPECT_EQ(std::string(255, 'x') + "@000000", signature(many + "From: a\n"));
  // A relay line still counts behind the last letter.
  EXPECT_EQ("@000000", signature(many + "X-1: a\nReceived: b\n"));
  many.clear();
  for (int i = 0; i < 999; i++) many += "No: a\n";
  EXPECT_EQ("F@000000", signature(many + "From: a\nTo: b\n"));
}

// The identifier comes from the relay, so that it tells nothing of the sender.
TEST_F(HeaderAdnTest, TailsOfRelays) {
  const std::string id = "Message-Id: <1@relay.example>\n";
  const std::string relay = "Received: from a by relay.example; b\n";
  const std::string date = "Date: a\n", subject = "Subject: a\n";
  const std::string from = relay + "From: a\n";
  const std::string rows[][2] = {
      {from + id + date + subject, "FS"},
      {from + date + id + subject, "FS"},
      {from + id + date, "FD"},
      {from + date + id, "FI"},
      {from + id + subject, "FS"},
      {from + id, "FI"},
      {from + subject + id + "X-1: a\n", "FSIx"},
      {from + subject + date, "FSD"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row[1] + "@000000", signature(row[0])) << row[0];
  // Without the relay line it is the sender's own.
  EXPECT_EQ("FIDS@00d000", signature("From: a\n" + id + date + subject));
}

TEST_F(HeaderAdnTest, SixCharacters) {
  const std::string id = "Message-Id: <";
  const std::string bound = "Content-Type: text/plain; boundary=";
  const std::string clock = "----=_NextPart_000_0001_01C3F2D0.A1B2C3D0";
  const std::string rows[][2] = {
      {"Content-Type: text/plain\n", "t00000"},
      {"Content-Type: x\nContent-Type: text/plain\n", "?00000"},
      {"Content-Transfer-Encoding: 8bit\nContent-Transfer-Encoding: 7bit\n",
       "070000"},
      {"X-Mailer: Mx\nUser-Agent: x\n", "0000M?"},
      {"X-Mailer: x\nUser-Agent: Ux\n", "0000?U"},
      // The shapes of identifiers are looked up; of those without a letter the
      // ones with a clock stand out.
      {id + "12@a.b>\n", "00d000"},
      {id + "ab@a.b>\n", "00?000"},
      {id + "000101c3f2d0$a1b2c3d0$0100a8c0@a>\n", "00!000"},
      {id + "000101c3f2d0$a1b2c3$0100a8c0@a>\n", "00=000"},
      {id + "1$2$3@a>\n", "00d000"},
      {bound + "ab\n", "t00l00"},
      {bound + "12\n", "t00?00"},
      {bound + "\"" + clock + "\"\n", "t00!00"},
      {bound + "\"----=_NextPart_000_000z_01C3F2D0.A1B2C3D0\"\n", "t00=00"},
  };
  for (const auto& row : rows)
    EXPECT_EQ("@" + row[1],
              signature("From: a\n" + row[0]).substr(m.hdrAdn.len() - 7))
        << row[0];
}

TEST_F(HeaderAdnTest, Tabs) {
  const char* const rows[][2] = {
      {"From:\ta\nTo: \tb\nX-1:\t\nNo:\tc\nSubject:\n\td\nDate :\te\n", "FD"},
      {"\tFrom: a\nTo:b\n", ""},
  };
  for (const auto& row : rows) {
    signature(row[0]);
    EXPECT_STREQ(row[1], m.tabAdn.c_str()) << row[0];
  }
}

// Rows: date field, seconds of the identifier, of the boundary and the index
// behind it, of the first and the last relay line; 0 none.
TEST_F(HeaderAdnTest, Dates) {
  const int32_t t = 1772445600;
  const struct {
    int32_t written, id, bound, thread, first, last;
    const char* adn;
  } rows[] = {
      {0, 0, 0, 0, 0, 0, "###########"},
      {t, 0, 0, 0, 0, 0, "###########"},
      {t, t - 1, 0, 0, 0, 0, "#1#########"},
      {t, -1, 0, 0, t - 1, t + 3600, "a######g###"},
      {0, t, t + 1, t + 60, 0, t - 5, "###a#ed#225"},
      {t, t - 30, t - 2, t, t + 1, t + 1, "142c0dbadba"},
  };
  STR adn;
  for (const auto& row : rows) {
    m.clearHeader();
    BLOCKDATE* const dates[] = {&m.messageDate, &m.firstReceivedDate,
                                &m.lastRecordDate};
    const int32_t seconds[] = {row.written, row.first, row.last};
    for (int i = 0; i < 3; i++) dates[i]->utc = seconds[i];
    FILETIME exact = {};
    posix2win_time(row.id, &exact);
    m.mimeOleId.isOle = row.id != 0;
    m.mimeOleId.errors = moNotRounded;  // which does not matter here
    m.mimeOleId.time = row.id;
    m.mimeOleId.fileTimeLow = exact.low;
    m.mimeOleId.fileTimeHigh = exact.high;
    posix2win_time(row.bound, &exact);
    m.mimeOleBound.isOle = row.bound != 0;
    m.mimeOleBound.time = row.bound + 7200;  // the sender's clock
    m.mimeOleBound.zonedTime = row.bound;
    m.mimeOleBound.zonedFileTimeLow = exact.low;
    m.mimeOleBound.zonedFileTimeHigh = exact.high;
    posix2win_time(row.thread, &exact);
    m.threadInfo.present = row.thread != 0;
    m.threadInfo.time = row.thread;
    m.threadInfo.fileTimeLow = exact.low;
    m.threadInfo.fileTimeHigh = exact.high;
    m.getDatesAdn(adn);
    EXPECT_STREQ(row.adn, adn.c_str()) << row.adn;
    m.messageDate.error = m.firstReceivedDate.error = m.lastRecordDate.error =
        1;
    m.mimeOleId.isOle = m.mimeOleBound.isOle = m.threadInfo.present = 0;
    m.getDatesAdn(adn);
    EXPECT_STREQ("###########", adn.c_str());
  }
}

}  // namespace
