// Fingerprints made of a dictionary's letters.

#include <gtest/gtest.h>

#include <string>

#include "rules/image_util.h"
#include "scan/tqmmsg.h"

namespace {

TEST(FingerprintsTest, LettersAndTags) {
  const struct {
    const char* text;
    const char* types;
    const char* charset;
    const char* tags;
  } rows[] = {
      {"From: a\r\n\r\ntext", "?", "0", "T"},
      {"List-Id: a\r\nContent-Type: text/html; charset=utf-8\r\n\r\nx", "T",
       "C", "HL"},
      {"Content-Type: text/plain; charset=x-y\r\n\r\nx", "T", "?", "T"},
      {"Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\nx\r\n\r\n"
       "--b\r\nContent-Type: x/y\r\nContent-Disposition: attachment\r\n\r\n"
       "y\r\n\r\n--b--\r\n",
       "T??", "0", "TA"},
  };
  // Every value but "x..." has a letter.
  HSTUFF stuff(BlockOf(MakeImage({
      {"HdrAdnCharset", stNamedRegex, 0, {"C:^[^x]"}},
      {"HdrAdnContentType", stNamedRegex, 0, {"T2: ^[^x] "}},
      {"HdrMailingList", stRegex, 0, {"<7>(?i)^list-"}},
  })));
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    TQMMSG m(nullptr, &stuff, nullptr, 0, 0);
    m.loadFromBlock(TBLOCK(row.text), "", 1);
    EXPECT_STREQ(row.types, m.typeAdn.c_str());
    EXPECT_STREQ(row.charset, m.hdrAdn.c_str());
    EXPECT_STREQ(row.tags, m.tags.c_str());
  }
}

}  // namespace
