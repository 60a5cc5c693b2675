// Random strings: the tables of triples, counts and the tests on them.

#include "content/random_string.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/hash_count.h"
#include "base/heap_text.h"
#include "content/block_url.h"
#include "data/letter_triples.h"

namespace {

int32_t NumberOf(const char* triple) {
  return ((triple[0] - 'a') * 26 + triple[1] - 'a') * 26 + triple[2] - 'a';
}

int32_t StepOf(int32_t triple) {
  return DibitFreq[triple / 4] / (1 << triple % 4 * 2) % 4;
}

TEST(LetterTriplesTest, BothTablesComeFromOneRanking) {
  int32_t steps[4] = {};
  for (uint32_t i = 0; i < kTripleCount; i++) {
    const int32_t step = StepOf(static_cast<int32_t>(i));
    steps[step]++;
    EXPECT_EQ(BadSeq3[i / 8] >> i % 8 & 1, step < 3) << i;
  }
  EXPECT_EQ(steps[0], 4597);
  EXPECT_EQ(steps[1], 1084);
  EXPECT_EQ(steps[2], 2043);
  EXPECT_EQ(steps[3], 9852);
  for (const char* triple : {"the", "ing", "ion", "spa"})
    EXPECT_EQ(StepOf(NumberOf(triple)), 0) << triple;
  for (const char* triple : {"htt", "www", "jpg", "smt", "mtp"})
    EXPECT_LT(StepOf(NumberOf(triple)), 3) << triple;
  for (const char* triple : {"qzx", "xqj", "bvc", "zxv", "xvb", "vbn"})
    EXPECT_EQ(StepOf(NumberOf(triple)), 3) << triple;
}

TEST(LetterTriplesTest, LettersOfBytes) {
  // From C0 on, "." for what is no letter.
  const std::string upper =
      "aaaaaaeceeeeiiiidnooooo.ouuuuy.saaaaaaeceeeeiiiidnooooo.ouuuuy.y";
  for (int c = 0; c < 256; c++) {
    char letter = '.';
    if (c >= 0xC0) letter = upper[static_cast<size_t>(c) - 0xC0];
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'))
      letter = static_cast<char>(c | 0x20);
    EXPECT_EQ(ConvTable[c], letter == '.' ? 0 : letter - 'a' + 1) << c;
  }
}

// Each window of three bytes on its own, where the code skips ahead.
TEST(RandomStringTest, CountsAllTriplesOfLetters) {
  std::string text;
  for (uint32_t length = 0; length <= 7; length++) {
    for (uint32_t i = 0; NthText(i, length, "eqZ-", text); i++) {
      int32_t bad = 0, sum = 0;
      const bool varied =
          (text.find('e') != text.npos) + (text.find('q') != text.npos) +
              (text.find('Z') != text.npos) + (text.find('-') != text.npos) >
          2;
      for (size_t at = 0; varied && at + 2 < text.size(); at++) {
        std::string triple = text.substr(at, 3);
        if (triple.find('-') != triple.npos) continue;
        for (char& c : triple) c = static_cast<char>(c | 0x20);
        bad += StepOf(NumberOf(triple.c_str())) == 3;
        sum += StepOf(NumberOf(triple.c_str()));
      }
      const HeapText copy(text);
      ASSERT_EQ(BadSeqCount(copy.view()), bad) << text;
      ASSERT_EQ(DibitWordScore(copy.view()), sum) << text;
    }
  }
}

TEST(RandomStringTest, DistinctBadTriples) {
  HASHCOUNT counts(0, hashAsciiLower);
  EXPECT_EQ(HashSeqCount(HeapText("the-qzx-QZX").view(), counts, BadSeq3), 1);
  EXPECT_EQ(HashSeqCount(HeapText("xqjbvc").view(), counts, BadSeq3), 5);
  // Nothing new: still what the table has.
  EXPECT_EQ(HashSeqCount(HeapText("qzx").view(), counts, BadSeq3), 5);
  EXPECT_EQ(HashSeqCount(TBLOCK(), counts, BadSeq3), 5);
}

TEST(RandomStringTest, Edges) {
  const struct {
    std::string text;
    int digits, cases, edges;
  } rows[] = {
      {"", 0, 0, 0},
      {"a1b2c3d4e5", 5, 0, 4},
      {"aB-c.D", 0, 3, 0},
      {"1-a", 1, 0, 1},  // other bytes leave the state alone
      {"a1B", 1, 0, 1},  // a digit parts cases
      {"\xE9" + std::string("A"), 0, 0, 0},
      {std::string(70000, '1') + "a", 65535, 0, 1},
  };
  for (const auto& row : rows) {
    uint16_t digits = 7, cases = 7, edges = 7;
    EdgeCount(HeapText(row.text).view(), digits, cases, edges);
    EXPECT_EQ(digits, row.digits) << row.text.substr(0, 20);
    EXPECT_EQ(cases, row.cases) << row.text.substr(0, 20);
    EXPECT_EQ(edges, row.edges) << row.text.substr(0, 20);
  }
}

// Holds the answer for each of the texts, which are parted by "|".
void CheckAll(bool (*test)(TBLOCK), bool answer, const std::string& texts) {
  for (size_t at = 0, end; at <= texts.size(); at = end + 1) {
    end = std::min(texts.find('|', at), texts.size());
    const std::string text = texts.substr(at, end - at);
    EXPECT_EQ(test(HeapText(text).view()), answer) << text.substr(0, 40);
  }
}

TEST(RandomStringTest, SpamSigns) {
  CheckAll(IsSpamSign, true,
           "abcd-4|girl3|a-b-c-d-4|abcdefghij-10|----0|abcdl-5|abcd--4|"
           "abcdefghijl10");
  CheckAll(IsSpamSign, false, "|b-1|abcd-5|mail4|abcd-04|abcdefghij-11|abcdL4");
}

TEST(RandomStringTest, Strings) {
  CheckAll(IsRandomString, true,
           "qzxvbn|(\"qzxvbn\")|qzxvbn.jpeg2|qzxvbn.pdf.gz|qzxvbn.p|qzxvbn@x|"
           "1234567890123456|a1b2c3d4e5|a1b2c3dede|abcd-4|the RZNEX thing|jk9^|"
           "\\q\\zxvbn\\|" +
               std::string(100000, '7'));
  // The last: digits but for one, above what the counts hold.
  CheckAll(IsRandomString, false,
           "|b-1|invoice.pdf|qzxvbn.pdf|'qzxvbn.jpeg'|123456789012345|a1b2c3d4|"
           "a1b2cedede|strength|mailto:qzxvbn|WWW.qzxvbn|qzxvbn-SMTP|"
           "\\q\\z\\x\\vbnqzx|\\\\qzxvbn|qzxvbn/|--qzxvbn|qzxvbn@x.y|.qzxvbn@|"
           "qzxvbn\xE9|" +
               std::string(70000, '7') + "-");
}

TEST(RandomStringTest, WordsOfAText) {
  int32_t length = 100;
  const HeapText text(" the qzxvbn\r\nqzxvbn.pdf\ta1b2c3d4e5 ");
  EXPECT_EQ(RandomStringCount(text.view(), length), 2);
  EXPECT_EQ(length, 116);
}

bool IsRandomUrl(TBLOCK text) {
  TBLOCKURL url;
  url.parseUrl(text);
  return CheckRandomUrl(url);
}

TEST(RandomStringTest, Urls) {
  CheckAll(IsRandomUrl, true,
           "http://x7y8z9q.example.com/|http://qzxvbn.a.example.NET/|"
           "http://a.qzxvbn.example.biz/|http://a1x.c2x.e3x.example.info/|"
           "http://x7y8z9q.mycloudfront.net/");
  CheckAll(IsRandomUrl, false,
           "http://x7y8z9q.example.org/|https://x7y8z9q.example.com/|"
           "http://x7y8z9q.com/|http://a1b.c2d.e3f.example.info/|"
           "http://a1x.c2x.deadbeef.example.info/|"
           "http://www.x7y8z9q.example.com/|http://trkx7y8z9q.example.com/|"
           "http://x7y8z9q.cloudfront.net/");
  // Brackets, in this order; and a domain that is no part of the host.
  TBLOCKURL url;
  url.proto = upHttp;
  url.tld = TBLOCK("com");
  url.host = TBLOCK("www.a[b]c.com");
  EXPECT_TRUE(CheckRandomUrl(url));
  url.host = TBLOCK("www.a]b[c.com");
  EXPECT_FALSE(CheckRandomUrl(url));
  url.host = TBLOCK("..qzxvbn");
  url.domain = TBLOCK("example.com");
  EXPECT_TRUE(CheckRandomUrl(url));
}

TEST(RandomStringTest, HighBytes) {
  EXPECT_EQ(HighCharCount(
                HeapText("\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9").view()),
            0);  // too short
  EXPECT_EQ(HighCharCount(HeapText("           ").view()), 0);
  EXPECT_EQ(HighCharCount(HeapText("aa bb \x80\x80\x80 !!").view()), 25);
  EXPECT_EQ(
      HighCharCount(HeapText("ab \x7F\x80\xFF\xFF\xFF\xFF\xFF\xFF").view()),
      40);
}

TEST(RandomStringTest, RareTriples) {
  // The first scores 8, the second 7, the third has 5 letters.
  CheckAll(IsRandomBlock, true, "coccyxes|12qzxqjb3");
  CheckAll(IsRandomBlock, false, "stymying|--qzxqj--|1234567|strengthening|");
  CheckAll(CheckRandomWords, true, "good, (qzxqjb)|qzxqjb");
  CheckAll(CheckRandomWords, false, "good, better; best ||qz xq jb");
}

}  // namespace
