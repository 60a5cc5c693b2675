// Fingerprints made of a dictionary's letters, with a dictionary of this test.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

// The letter of a value is its first one, but for "x...".
int TQMDICO::matchFirstNamedRegex(const char* section, TBLOCK value,
                                  TBLOCK& name) {
  if (value.empty() || value.begins("x")) return 0;
  static char letters[3];
  letters[0] = TBLOCK(section).equals("HdrAdnCharset") ? 'C' : 'T';
  letters[1] = static_cast<char>(value[0]);
  name = TBLOCK(letters, 2);
  return 1;
}

int TQMDICO::matchRegex(const char* section, TBLOCK line,
                        const TQKLINE*& match) {
  static const TQKLINE found = {};
  match = &found;
  return TBLOCK(section).equals("HdrMailingList") && line.begins("list-");
}

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
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    m.loadFromBlock(TBLOCK(row.text), "", 1);
    EXPECT_STREQ(row.types, m.typeAdn.c_str());
    EXPECT_STREQ(row.charset, m.hdrAdn.c_str());
    EXPECT_STREQ(row.tags, m.tags.c_str());
  }
}

}  // namespace
