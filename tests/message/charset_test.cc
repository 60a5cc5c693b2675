#include "message/charset.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/md5.h"
#include "data/charset_tables.h"
#include "dump/dump.h"

namespace {

// What blockToCp1252 makes of a text, in its own bytes, and the dump of what
// was seen after zoneUpdate. A text that gets no conversion has "=" in front.
struct Converted {
  std::string text, zones;
};

Converted Convert(const char* name, const std::string& text) {
  const HeapText bytes(text);
  TCharset charset;
  charset.setName(TBLOCK(name));
  TBLOCK dest = bytes.view();
  const bool done = charset.blockToCp1252(dest, dest);
  const std::string out = EscapeBytes(dest);
  charset.zoneUpdate(dest);
  return {(done ? "" : "=") + out, DumpZones(charset)};
}

TEST(Charset, NamesAreFoundWhole) {
  for (uint32_t row = 0; row < 36; row++) {
    STR name(TCharset::CharsetNames[row]);
    name.toUpper();
    EXPECT_EQ(GetCharsetInfo(name.view()), TCharset::CharsetInfos[row]);
    name += "x";
    EXPECT_EQ(GetCharsetInfo(name.view()), 0u);
  }
  EXPECT_STREQ(TCharset::CharsetNames[36], "");
}

TEST(Charset, EveryRowOfTheMapIsFoundAndNothingElse) {
  uint32_t row = 0;
  for (uint32_t code = 0; code < 0x20000; code++) {
    const bool listed = row < kUnicodeMapRows && UnicodeMap1252[row][0] == code;
    const uint32_t want = listed           ? UnicodeMap1252[row][1]
                          : code == 0xFFFF ? +UNKNOWNCHAR
                                           : +CHUNK;
    ASSERT_EQ(UcToCp1252(code), want) << std::hex << code;
    row += listed;
    const bool quote = code == 0x91 || code == 0x92 || code == 0x93 ||
                       code == 0x94 || code == 0xAB || code == 0xBB;
    ASSERT_EQ(code < 0x100 && want != code, quote) << code;
  }
  EXPECT_EQ(row, kUnicodeMapRows);
}

TEST(Charset, TextBecomesOneByteACharacter) {
  const struct {
    const char* name;
    std::string text;
    const char *want, *zones;
  } kRows[] = {
      // Folded letters leave a trace in their zone.
      {"utf-8", "\xD0\x9F\xD1\x80\xD0\xB8 \xD0\x81", "\\x81p\\x81 E",
       "3/0 letter=2 sign=1 cyrillic=4 marks=2"},
      {"utf-8", "\xCE\x91\xCE\xBB\xC8\x99\xE1\xBC\x88", "A\\x8DsA",
       "3/0 letter=3 greek=4 marks=1"},
      {"utf-8", "\xE4\xB8\xAD\xEA\xB0\x80\xEF\xBC\xA1\xE3\x81\x82",
       "\\x90\\x90\\x90\\x90", "3/0 asian=4 marks=4"},
      {"utf-8", "\xD8\xA7\xE3\x80\x80\xF0\x9F\x98\x80\xED\xA0\x80",
       "\\x8F\\x8F\\x8F\\x8F", "3/0 other=4 marks=4"},
      {"utf-8", "\xC4\x80\xC4\x85\xC5\x82\xE1\xBA\xBF\xE2\x89\xA0\xE2\x84\xAB",
       "\\xC3\\xC3le\\x8F\\xC5", "3/0 letter=5 other=1 marks=1"},
      {"utf-8", "\xE2\x80\x9C\xC2\xAB\xC2\x93\xE2\x82\xAC\xEF\xBF\xBF",
       "\"\"\"\\x80\\x7F", "3/0 control=1 sign=4"},
      {"utf-8", "\xC7\xBF\xC8\x80\xCF\xBF\xD0\x80\xD4\xAF\xD4\xB0",
       "\\xF8A\\x8DE\\x81\\x8F",
       "3/0 letter=3 cyrillic=2 greek=2 other=1 marks=3"},
      // Broken sequences pass, and so does what has no sequence at all.
      {"utf-8", "caf\xE9 \x93\xFE\xFF", "caf\\xE9 \\x93\\xFE\\xFF",
       "3/0 letter=6 sign=2"},
      {"utf-8", "\xC3\xA9\x93\xC9\xE9\xC3", "\\xE9\\x93\\xC9\\xE9\\xC3",
       "3/0 letter=4 sign=1"},
      {"utf-8", "\xFD\xBF\xBF\xBF\xBF\xBF\xFC\x80\x80\x80\x81\xA9", "\\x8Fi",
       "3/0 letter=1 other=1 marks=1"},
      {"utf-7", "1+-2+AOk-3+AOkEKgDp\r+", "1+2\\xE93\\xE9\\x81\\xE9\\x0D+",
       "3/1 control=1 letter=3 sign=2 digit=3 cyrillic=1 marks=1"},
      {"windows-1250", "\xE8\x93\x81", "c\"\\x7F",
       "1/1 control=1 letter=1 sign=1"},
      {"iso-8859-12", "\xE9\xAB\x93", "\\xE9\"\"", "2/12 letter=1 sign=2"},
      {"iso-8859-16", "\xA4\xAA", "\\x80S", "2/16 letter=1 sign=1 greek=1"},
      {"us-ascii", "a\xAB\xE9\x90", "a\"\\xE9\\x90",
       "4/0 letter=2 sign=1 asian=1 marks=1"},
      {"koi8-r", "\xC1\xC2\xA4", "a\\x81\\x81",
       "4/1 letter=1 cyrillic=3 marks=2"},
      {"iso-2022-jp", "a\x1B$B12\x1B$(D3\x1B(Jb\x1B%c\xE9",
       "a\\x90\\x90b\\x1B%c\\xE9",
       "5/0 control=1 letter=4 sign=1 asian=2 marks=2"},
      {"iso-2022-jp", "\x1B(B\x1B$A1\n2\x1B", "\\x90\\x90",
       "5/0 asian=2 marks=2"},
      {"", "\x1B\x1B$(C12", "\\x1B\\x90", "0/0 control=1 asian=1 marks=1"},
      {"gbk", "\x1B$B12", "=\\x1B$B12",
       "0/0 control=1 letter=1 sign=1 digit=2"}};
  for (const auto& row : kRows) {
    const Converted got = Convert(row.name, row.text);
    EXPECT_EQ(got.text, row.want) << row.name;
    EXPECT_EQ(got.zones.substr(got.zones.find(' ') + 1), row.zones) << row.want;
  }
}

TEST(Charset, ZonesOfBytesAreThoseThatWereChecked) {
  MD5 md5;
  md5.add(TBLOCK(TCharset::Cp1252Zones, 256));
  EXPECT_EQ(0x1A9A0FFFu, *reinterpret_cast<const uint32_t*>(md5.get()));
}

TEST(Charset, AZoneCountsFromALimitOn) {
  const struct {
    TCHARZONE zone;
    uint32_t letters, least;  // the smallest count that is enough
  } kRows[] = {{czControl, 99, 1},   {czSign, 99, 1},       {czDigit, 99, 1},
               {czRareLetter, 9, 2}, {czRareLetter, 10, 3}, {czCyrillic, 0, 2},
               {czGreek, 3, 3},      {czAsian, 4, 4},       {czArabic, 4, 4},
               {czOther, 0, 11},     {czOther, 99, 11},     {czOther, 100, 12}};
  for (const auto& row : kRows) {
    TCharset charset;
    charset.zoneCounts[czLetter] = row.letters;
    charset.zoneCounts[row.zone] = row.least - 1;
    EXPECT_FALSE(charset.checkZone(row.zone)) << row.zone;
    TCharset one;
    one.zoneCounts[row.zone] = 1;
    charset.addZoneCounts(one);
    EXPECT_TRUE(charset.checkZone(row.zone)) << row.zone;
  }
  // Letters against all that is foreign, Greek aside; sums do not wrap.
  TCharset charset;
  charset.zoneCounts[czCyrillic] = charset.zoneCounts[czAsian] = 0x60000000;
  charset.zoneCounts[czLetter] = 0xFFFFFFFF;
  EXPECT_FALSE(charset.checkZone(czLetter));
  for (uint32_t letters : {6, 7}) {
    for (TCHARZONE zone : {czCyrillic, czAsian, czArabic, czGreek})
      charset.zoneCounts[zone] = 1;
    charset.zoneCounts[czLetter] = letters;
    EXPECT_EQ(charset.checkZone(czLetter), letters == 7);
  }
}

TEST(Charset, Utf8HoldsThirtyOneBits) {
  for (uint32_t bits = 0; bits < 31; bits++) {
    for (uint32_t code : {1u << bits, (2u << bits) - 1}) {
      STR text;
      UcToUtf8(code, text);
      const HeapText bytes(text.text);
      const TBLOCK view = bytes.view();
      const uint32_t n = bits < 7 ? 1 : (bits + 4) / 5;
      uint32_t back = 0;
      EXPECT_EQ(Utf8ToUc(view, back), n) << code;
      EXPECT_EQ(back, code);
      EXPECT_EQ(BlockContainsUtf8(view), n > 1);
      const HeapText cut(Str(view.head(n - 1)));
      EXPECT_EQ(GetUtf8SeqLen(cut.view()), 1u);
    }
  }
}

TEST(Charset, EncodedWords) {
  const struct {
    const char *text, *want, *zones;
  } kRows[] = {
      {"a =?ISO-8859-15?Q?=A4_=3D=3d=_?= b", "a \\x80 ===  b",
       "ISO-8859-15 2/15 sign=6"},
      {"=?utf-8?b?w6nDqQ==?= =?utf-8*en?q?_=C3=A9?=", "\\xE9\\xE9  \\xC3\\xA9",
       "utf-8*en 0/0 letter=3 sign=2"},
      {"=?koi8-r?quoted-printable?_=C1?=", "_a",
       "koi8-r 4/1 letter=1 sign=1 cyrillic=1"},
      {"=?utf-8?x?\xC3\xA9_=41?=\xC3\xA9", "\\xE9_=41\\xC3\\xA9",
       "utf-8 3/0 letter=1 sign=2 digit=2"},
      {"=?utf-8?b?w6*nDqQ-=?=", "w6*nDqQ-=",
       "utf-8 3/0 letter=5 sign=3 digit=1"},
      {"=?utf-8?q?\?==?big5?q?=A4=40?==?utf-8?q?=", "?=?utf-8?q?=",
       "big5 6/0 asian=1 marks=1"},
      // A folded letter leaves a trace of its script, a small tilde does not.
      {"=?utf-8?q?=CE=91=CB=9C?=", "A\\x98",
       "utf-8 3/0 letter=1 sign=1 greek=1"},
      {"=?koi8-u?q?\?==??q?=C2?=", "?", "koi8-u 4/1 cyrillic=1 marks=1"},
      {"=?utf-8?q", "=?utf-8?q", "- 0/0"},
      {"", "", "- 0/0"}};
  BLOCK out(0, 16);
  for (const auto& row : kRows) {
    const HeapText bytes(row.text);
    TCharset charset;
    charset.zoneCounts[czOther] = 7;
    DecodeInlineCharset(bytes.view(), &charset, out);
    EXPECT_EQ(EscapeBytes(out.view()), row.want) << row.text;
    EXPECT_EQ(DumpZones(charset), row.zones) << row.text;
    EXPECT_EQ(bytes.str(), row.text);
    DecodeInlineCharset(bytes.view(), nullptr, out);
  }
}

}  // namespace
