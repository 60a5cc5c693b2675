// Fingerprints of values, and those made of a dictionary's letters.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

TEST(FingerprintsTest, LettersAndTags) {
  const struct {
    const char *text, *types, *header, *tags;
  } rows[] = {
      {"From: a\r\n\r\ntext", "?", "@0000000", "mT"},
      {"List-Id: a\r\nContent-Type: text/html; charset=utf-8\r\n\r\nx", "T",
       "@T00000C", "mHL"},
      {"Content-Type: text/plain; charset=x-y\r\n\r\nx", "T", "@T00000?", "mT"},
      {"Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nx\r\n\r\n"
       "--b\r\nContent-Type: x/y\r\nContent-Disposition: attachment\r\n\r\n"
       "y\r\n\r\n--b--\r\n",
       "T??", "@T00?000", "mTA"}};
  // Every value but "x..." has a letter.
  HSTUFF stuff(
      BlockOf(MakeImage({{"HdrAdnCharset", stNamedRegex, 0, {"C:^[^x]"}},
                         {"HdrAdnContentType", stNamedRegex, 0, {"T2: ^[^x] "}},
                         {"HdrMailingList", stRegex, 0, {"<7>(?i)^list-"}}})));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    TQMMSG m(nullptr, &stuff, nullptr, 0, 0);
    m.loadFromBlock(TBLOCK(row.text), "", 1);
    EXPECT_STREQ(row.types, m.typeAdn.c_str());
    EXPECT_STREQ(row.header, m.hdrAdn.c_str());
    EXPECT_STREQ(row.tags, m.tags.c_str());
  }
}

// What is ahead of the suffix, the suffix, and what follows.
TEST(FingerprintsTest, OfLinks) {
  const char* const rows[][3] = {
      {"http://www.ab1.co.uk/X?y=12", "co.uk", "www.mmm.co.uk/u?l=dd"},
      {"http://a.b.uk?c/d", "uk", "l.l.uk?l/l"},
      {"http://a.b.co.uk:80/", "co.uk", "l.l.ll.ll:dd/"},
      {"www.ab.none/c", "", "www.ll.llll/l"},
      {"http://ab.none/c", "ab.none", "ab.none/l"},
      {"http://u@ab.com/", "ab.com", "l@ab.com/"},
      {"http://com/", "", "lll/"},
      {"http://10.0.0.1/c", "", "i/l"},
      {"https://a.b.uk/", "uk", ""},
      {"ftp://a.b.uk/", "uk", ""},
      {"mailto:x@a.b.uk", "uk", ""},
      {"cid:x@a.b.uk", "", ""},
      {"file://a.b.uk/", "", ""},
  };
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico, "[$TLD]\nuk\nco.uk\ncom\na.co.uk\n"));
  STR adn;
  for (const auto& row : rows) {
    const HeapText text(row[0]);
    TBLOCKURL url;
    url.parseUrl(text.view());
    EXPECT_EQ(row[1], Str(m.extractUrlTld(url))) << row[0];
    m.getAdnFromUrl(url, adn);
    EXPECT_STREQ(row[2], adn.c_str()) << row[0];
  }
}

TEST(FingerprintsTest, OfMailboxes) {
  const char* const rows[][2] = {{"Ab Cdef <x@y.z>", "a c @"},
                                 {"\"Ab, <c\" <x@y.z>", "\"a, <l\" @"},
                                 {"12, x@y.z", "d@"},
                                 {"12, x", "d"},
                                 {"<", "@"},
                                 {"", ""}};
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  STR adn;
  for (const auto& row : rows) {
    m.getMailBoxAdn(HeapText(row[0]).view(), adn);
    EXPECT_STREQ(row[1], adn.c_str()) << row[0];
  }
}

}  // namespace
