// The tables, derived once more in another way than their generator does it:
// from what the characters look like, and by rules.

#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "base/tblock.h"

namespace {

// The plain letter that an accented one of the upper half shows.
const char kGlyphs[] =
    "..........S...Z."
    "..........s...zY"
    "................"
    "................"
    "AAAAAA.CEEEEIIII"
    ".NOOOOO..UUUUY.."
    "aaaaaa.ceeeeiiii"
    ".nooooo..uuuuy.y";

unsigned char Plain(int c) {
  const char glyph = c < 0x80 ? '.' : kGlyphs[c - 0x80];
  return static_cast<unsigned char>(glyph == '.' ? c : glyph);
}

int Upper(int c) {
  return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c;
}

int Lower(int c) {
  return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
}

// What stands behind byte c in a text of pairs "from, to"; `otherwise` if none.
int Paired(const std::string& pairs, int c, int otherwise) {
  for (size_t i = 0; i + 1 < pairs.size(); i += 2)
    if (static_cast<unsigned char>(pairs[i]) == c)
      return static_cast<unsigned char>(pairs[i + 1]);
  return otherwise;
}

int ToUpper(int c) {
  return Paired("\x9C\x8C\xE6\xC6\xF0\xD0", c, Upper(Plain(c)));
}

int ToLower(int c) {
  return Paired(
      "|I\xC1\xC1\xC6"
      "e\xE6"
      "e\xD7x\xD8"
      "0\xF8"
      "0\xF0o",
      c, Lower(Plain(c)));
}

int ToAscii(int c) {
  const int other = Plain(c) < 0x80 ? Plain(c) : '?';
  return Paired(
      "\xA0 \x93\"\x94\"\x89%\x91'\x92'\x82,\x96-\x97-\xAD-\xA6|\x98~"
      "\xC6"
      "E\xE6"
      "e\xD0"
      "D\xF0o\x8CO\x9Co\xD8O\xF8o",
      c, other);
}

int ToAlpha(int c) {
  if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') return ' ';
  return Paired("\xA8\"\xAB\"\xBB\"\x91'\x92'\x96-\x97-\x88^", c, c);
}

// The letters that both tables of spammers' substitutes lose accents of.
int SpamPlain(int c) {
  if (c < 0xC0 || c == 0xC1 || c == 0xFF) return c;
  return Paired(
      "\xC6"
      "e\xE6"
      "e",
      c, Lower(Plain(c)));
}

TEST(CharTablesTest, Conversions) {
  for (int c = 0; c < 256; c++) {
    SCOPED_TRACE(c);
    EXPECT_EQ(c, TBLOCK::NoConvTable[c]);
    const bool moves = (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE);
    EXPECT_EQ(c == '|' ? 'y' : moves ? c + 0x20 : c, TBLOCK::UpperToLower[c]);
    EXPECT_EQ(ToUpper(c), TBLOCK::UpperConvTable[c]);
    EXPECT_EQ(ToLower(c), TBLOCK::LowerConvTable[c]);
    EXPECT_EQ(ToAscii(c), TBLOCK::AsciiConvTable[c]);
    EXPECT_EQ(Paired("\xA1i\xAAs", c, Lower(ToAscii(c))),
              TBLOCK::AsciiLowerTable[c]);
    EXPECT_EQ(ToAlpha(c), TBLOCK::AlphaConvTable[c]);
    EXPECT_EQ(Paired("i!s$g6a@l|e\x80", Lower(c), SpamPlain(c)),
              TBLOCK::SpamSubstTable1[c]);
    EXPECT_EQ(Paired("o0i1l1e3a4s5b6", Lower(c), SpamPlain(c)),
              TBLOCK::SpamSubstTable2[c]);
  }
}

TEST(CharTablesTest, Digits) {
  const std::string hex = "0123456789abcdef";
  EXPECT_STREQ(
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
      TBLOCK::szBase64CodeTable);
  for (int i = 0; i < 256; i++) {
    SCOPED_TRACE(i);
    const unsigned char c = static_cast<unsigned char>(i);
    const size_t digit = hex.find(static_cast<char>(Lower(c)));
    EXPECT_EQ(digit == std::string::npos ? 0 : digit, TBLOCK::HexValue(c));
    EXPECT_EQ(digit == std::string::npos ? 0xFF : digit, TBLOCK::DigitValue(c));
    const void* at = memchr(TBLOCK::szBase64CodeTable, c & 0x7F, 64);
    const size_t value =
        at ? static_cast<const char*>(at) - TBLOCK::szBase64CodeTable : 0xFF;
    EXPECT_EQ(value, TBLOCK::Base64Value(c));
  }
}

TEST(CharTablesTest, CheatAccents) {
  for (int c = 0; c < 256; c++) {
    const bool set = c < 0xA0
                         ? Plain(c) != c
                         : c >= 0xC1 && c <= 0xDF && (c < 0xC7 || c > 0xCA);
    EXPECT_EQ(set ? csCheatAccent : 0, TBLOCK::CharStateTable[c]) << c;
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
