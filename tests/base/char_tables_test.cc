// The tables: digests of what was once derived by rules and compared with the
// look of the characters, and the bounds of what may be edited.

#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "base/md5.h"
#include "base/tblock.h"

namespace {

TEST(CharTablesTest, ConversionsAreThoseThatWereChecked) {
  const struct {
    const void* table;
    const char* digest;
    uint32_t bytes = 256;
  } rows[] = {{TBLOCK::NoConvTable, "226 200 101 219 "},
              {TBLOCK::UpperToLower, "87 98 51 32 "},
              {TBLOCK::UpperConvTable, "158 54 169 200 "},
              {TBLOCK::LowerConvTable, "63 106 87 117 "},
              {TBLOCK::AsciiConvTable, "117 251 205 213 "},
              {TBLOCK::AsciiLowerTable, "16 165 93 84 "},
              {TBLOCK::AlphaConvTable, "77 48 222 17 "},
              {TBLOCK::SpamSubstTable1, "206 47 65 53 "},
              {TBLOCK::SpamSubstTable2, "24 39 153 129 "},
              {TBLOCK::CharStateTable, "150 60 176 31 ", 512}};
  for (const auto& row : rows) {
    MD5 md5;
    md5.add(TBLOCK(static_cast<const char*>(row.table), row.bytes));
    std::string digest;
    for (int i = 0; i < 4; i++) digest += std::to_string(md5.get()[i]) + " ";
    EXPECT_EQ(row.digest, digest);
  }
}

bool In(unsigned char c, const char* set) {
  return c != 0 && strchr(set, c) != nullptr;
}

// What the word reader and the checks rely on, whoever edits the classes.
TEST(CharTablesTest, BoundsOfTheEditableClasses) {
  for (int i = 0; i < 256; i++) {
    SCOPED_TRACE(i);
    const unsigned char c = static_cast<unsigned char>(i);
    bool near = false;
    for (const unsigned char* row : TBLOCK::NearTable)
      near = near || (row[c >> 3] >> (c & 7) & 1) != 0;
    // Stand-ins for letters neither end a word nor are skipped inside it;
    // others stand inside words and are looked at one by one.
    const bool ends = TBLOCK::Is(c, bitWordSep);
    const bool skipped = TBLOCK::Is(c, bitUseless | bitNonBreaking);
    EXPECT_FALSE(ends && (near || In(c, "!$@|\x80-'_.~/\\")));
    EXPECT_FALSE(skipped && (near || In(c, "|\xAF")));
    EXPECT_FALSE(TBLOCK::Is(c, bitWordBreak) && !ends);
    // "v.i-a g r a" is one word.
    EXPECT_FALSE(In(c, ".- ") && !skipped &&
                 !TBLOCK::Is(c, bitWordBreak | bitWhiteSpace));
    EXPECT_FALSE(In(c, ".@") &&
                 !(TBLOCK::Is(c, bitEmail) && TBLOCK::Is(c, bitUrl)));
    // The codes without a character.
    EXPECT_FALSE(In(c, "\x81\x8D\x8F\x90\x9D") &&
                 TBLOCK::BitChars[c] != bitKeyword);
  }
}

}  // namespace
