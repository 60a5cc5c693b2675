#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/tblock.h"

namespace {

// Decodes into room of exactly this size; with a room of -1 in place.
std::string Unbase64(const std::string& text, int room, int raw) {
  const HeapText source(text);
  if (room < 0) {
    TBLOCK block = source.view();
    TBLOCK::BlockUnbase64(block, block, raw);
    return Str(block);
  }
  const HeapText out(std::string(static_cast<size_t>(room), '~'));
  TBLOCK dst = out.view();
  TBLOCK::BlockUnbase64(source.view(), dst, raw);
  EXPECT_LE(dst.length, static_cast<uint32_t>(room));
  return Str(dst);
}

TEST(BlockDecodeTest, CheckBase64) {
  const struct {
    const char *text, *kept;
    bool whole;
  } rows[] = {
      {"QUJD\r\nREVG\n", "QUJD\r\nREVG\n", true},
      {"QU=D\r\n", "QU=D\r\n", true},
      {"====", "====", true},
      // One character that does not belong is forgiven in each line.
      {"QU!D\nR!VG", "QU!D\nR!VG", true},
      {"Q!!D\nREVG", "", false},
      {"QUJD\nR!V!\nQUJD\n", "QUJD\n", false},
      {"QUJD\nREVG\nthe end.", "QUJD\nREVG\n", false},
      {" QUJD \t\r\n", " QUJD \t\r\n", true},
      {"QU J D", "", false},
      {"Q\rU\rJD", "", false},
      // The top bit of a byte is not looked at.
      {"\xD1\xD5JD", "\xD1\xD5JD", true},
      {"\n\n", "\n\n", true},
      {"", "", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    TBLOCK block = text.view();
    EXPECT_EQ(row.whole, TBLOCK::CheckBlockBase64(block, 0));
    EXPECT_EQ(row.text, Str(block));
    EXPECT_EQ(*row.kept != 0, TBLOCK::CheckBlockBase64(block, 1));
    EXPECT_EQ(row.kept, Str(block));
  }
}

TEST(BlockDecodeTest, Unbase64) {
  const struct {
    const char* text;
    int raw;
    const char* result;
  } rows[] = {
      {"QUJDREVG", 1, "ABCDEF"},
      {"QU\r\nJD RE!VG", 1, "ABCDEF"},
      // A group that is not complete gives a byte a character after the first.
      {"QUJDR", 1, "ABC"},
      {"QUJDRE", 1, "ABCD"},
      {"QUJDREV", 1, "ABCDE"},
      {"Q=U=J=D=", 1, "ABC"},
      {"TQ==", 1, "M"},
      {"\xD1UJD", 1, "ABC"},
      {"=!", 1, ""},
      {"", 1, ""},
      // Only the good lines at the start are decoded; the rest follows.
      {"QUJD\nthe end.\nQUJD", 0, "ABCthe end.\nQUJD"},
      {"the end.\nQUJD", 0, "the end.\nQUJD"},
      {"QUJD\n\n", 0, "ABC"},
  };
  for (const auto& row : rows) {
    const std::string result = row.result;
    EXPECT_EQ(result, Unbase64(row.text, -1, row.raw)) << row.text;
    for (int room = 0; room <= 24; room++)
      EXPECT_EQ(result.substr(0, static_cast<size_t>(room)),
                Unbase64(row.text, room, row.raw))
          << row.text << " " << room;
  }
  TBLOCK none(nullptr, 9u);
  TBLOCK::BlockUnbase64(TBLOCK("QUJD"), none, 1);
  EXPECT_EQ(0u, none.length);
}

TEST(BlockDecodeTest, Base64) {
  const struct {
    const char *text, *result;
    uint32_t counted;
  } rows[] = {{"A", "QQ%~", 2},
              {"AB", "QUI~", 3},
              {"ABC", "QUJD", 4},
              {"ABCD", "QUJDRA%~", 6},
              {"\xFF\xFF\xFF", "////", 4}};
  for (const auto& row : rows) {
    const HeapText source(row.text);
    const HeapText out(std::string(strlen(row.result), '~'));
    EXPECT_EQ(row.counted,
              TBLOCK::BlockBase64(source.view(), out.view(), 0, nullptr, '%'));
    EXPECT_EQ(row.result, out.str());
    const TBLOCK small = out.view().head(out.view().length - 1);
    EXPECT_EQ(0u, TBLOCK::BlockBase64(source.view(), small, 0, nullptr, '%'));
  }
  EXPECT_EQ(0u, TBLOCK::BlockBase64(TBLOCK(), TBLOCK("abcd"), 0, nullptr, '='));
}

TEST(BlockDecodeTest, Base64LineBreaksNeedRoomOfTheirOwn) {
  const std::string line(76, 'A');
  const struct {
    uint32_t bytes, room, result;
  } rows[] = {
      {57, 76, 0}, {57, 77, 0},   {57, 78, 78},    {56, 76, 75},
      {58, 80, 0}, {114, 155, 0}, {114, 156, 156}, {58, 81, 80},
  };
  for (const auto& row : rows) {
    const HeapText source(std::string(row.bytes, '\0'));
    const HeapText out(std::string(row.room, '~'));
    EXPECT_EQ(row.result,
              TBLOCK::BlockBase64(source.view(), out.view(), 1, nullptr, '='))
        << row.bytes << " in " << row.room;
    if (row.result > 76) {
      EXPECT_EQ(line + "\r\n", out.str().substr(0, 78));
    }
  }
}

TEST(BlockDecodeTest, Base64RoundTrip) {
  Numbers random(9);
  for (uint32_t n = 1; n < 70; n++) {
    std::string text;
    for (uint32_t i = 0; i < n; i++)
      text += static_cast<char>(random.Below(256));
    const HeapText source(text);
    const HeapText out(std::string((n + 2) / 3 * 4, '~'));
    const uint32_t length =
        TBLOCK::BlockBase64(source.view(), out.view(), 0, nullptr, '=');
    ASSERT_EQ(text, Unbase64(out.str().substr(0, length), -1, 0));
  }
}

TEST(BlockDecodeTest, Uu) {
  const struct {
    const char *text, *result;
  } rows[] = {
      {"begin 644 x\r\n#86)C\r\n`\r\nend\r\n", "abc"},
      {"text\r\nbegin 644 x\r\n#86)C\r\nend", "abc"},
      {"begin 644 x\r\n", ""},
      {"no file at all\r\n", "no file at all\r\n"},
      {"", ""},
      // A line that claims 45 bytes and holds one character.
      {"begin 644 x\r\nM\r\nM8\r\nM86\r\n", "a"},
  };
  for (const auto& row : rows) {
    const HeapText text(row.text);
    TBLOCK block = text.view();
    TBLOCK::DecodeUU(block);
    EXPECT_EQ(row.result, Str(block)) << row.text;
  }
}

TEST(BlockDecodeTest, QuotedPrintable) {
  const struct {
    const char *text, *result;
  } rows[] = {
      {"a=3Db=e9", "a=b\xE9"},
      {"a=", "a="},
      {"a=zz", "a=zz"},
      {"a=3", "a=3"},
      {"a=3z", "a=3z"},
      {"a=z3", "a=z3"},
      {"a==3D", "a=="},
      {"a===3D", "a==="},
      {"a=\r\nb", "ab"},
      {"a=\n\rb", "ab"},
      {"a=\nb", "ab"},
      {"a=\n\nb", "a\nb"},
      {"a=\r\rb", "a=\r\rb"},
      {"a=\rb", "a=\rb"},
      // Too close to the end to be told from a literal.
      {"a=\n", "a=\n"},
      {"a=\r\n", "a"},
      {"a=\n\r", "a"},
      {"a= \r\nb", "a= \r\nb"},
      {"=\xB3\xB3", "=\xB3\xB3"},
      {"=3=44", "=3D"},
      {"", ""},
  };
  for (const auto& row : rows) {
    const HeapText text(row.text);
    TBLOCK block = text.view();
    TBLOCK::DecodeQuotedPrintable(block);
    EXPECT_EQ(row.result, Str(block)) << row.text;
  }
}

}  // namespace
