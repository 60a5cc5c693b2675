// Random strings: the tests on words, texts and URLs.

#include "content/random_string.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/heap_text.h"
#include "content/block_url.h"

namespace {

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

TEST(RandomStringTest, RareTriples) {
  // The first scores 8, the second 7, the third has 5 letters.
  CheckAll(IsRandomBlock, true, "coccyxes|12qzxqjb3");
  CheckAll(IsRandomBlock, false, "stymying|--qzxqj--|1234567|strengthening|");
  CheckAll(CheckRandomWords, true, "good, (qzxqjb)|qzxqjb");
  CheckAll(CheckRandomWords, false, "good, better; best ||qz xq jb");
}

}  // namespace
