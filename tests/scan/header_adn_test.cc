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

}  // namespace
