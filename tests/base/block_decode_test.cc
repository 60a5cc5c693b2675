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
  // One character that does not belong is forgiven in each line.
  // The top bit of a byte is not looked at.
  const struct {
    const char *text, *kept;
    bool whole;
  } rows[] = {{"QUJD\r\nREVG\n", "QUJD\r\nREVG\n", true},
              {"QU!D\nR!VG", "QU!D\nR!VG", true},
              {"Q!!D\nREVG", "", false},
              {"QUJD\nR!V!\nQUJD\n", "QUJD\n", false},
              {"QUJD\nREVG\nthe end.", "QUJD\nREVG\n", false},
              {"QUJDQ!JDQUJ", "QUJDQ!JDQUJ", true},
              {"QUJD!UJDQUJ!", "", false},
              {"QUJD=Q!==UJD", "QUJD=Q!==UJD", true},
              {"QU J D", "", false},
              {"\xD1\xD5JD", "\xD1\xD5JD", true},
              {"", "", false}};
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
  // A group that is not complete gives a byte a character after the first.
  // Only the good lines at the start are decoded; the rest follows.
  const struct {
    const char* text;
    int raw;
    const char* result;
  } rows[] = {{"QU\r\nJD RE!VG", 1, "ABCDEF"},
              {"QUJDRE", 1, "ABCD"},
              {"QUJDREV", 1, "ABCDE"},
              {"Q=U=J=D=", 1, "ABC"},
              {"\xD1UJD", 1, "ABC"},
              {"=!", 1, ""},
              {"", 1, ""},
              {"QUJD\nthe end.\nQUJD", 0, "ABCthe end.\nQUJD"},
              {"QUJD\n\n", 0, "ABC"}};
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

TEST(BlockDecodeTest, Base64LineBreaksNeedRoomOfTheirOwn) {
  const std::string line(76, 'A');
  const struct {
    uint32_t bytes, room, result;
  } rows[] = {{57, 76, 0}, {57, 77, 0},   {57, 78, 78},    {56, 76, 75},
              {58, 80, 0}, {114, 155, 0}, {114, 156, 156}, {58, 81, 80}};
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

TEST(BlockDecodeTest, UuAndQuotedPrintable) {
  const std::string begin = "begin 644 x\r\n";
  const std::string rows[][2] = {
      {begin + "#86)C\r\n`\r\nend\r\n", "abc"},
      {"text\r\n" + begin + "#86)C\r\nend", "abc"},
      {"no file at all\r\n", "no file at all\r\n"},
      // A line that claims 45 bytes and holds one character.
      {begin + "M\r\nM8\r\nM86\r\n", "a"}};
  for (const auto& row : rows) {
    const HeapText text(row[0]);
    TBLOCK block = text.view();
    TBLOCK::DecodeUU(block);
    EXPECT_EQ(row[1], Str(block)) << row[0];
  }
  // Line ends too close to the end cannot be told from a literal.
  const char* const quoted[][2] = {{"a=3Db=e9", "a=b\xE9"},
                                   {"a=", "a="},
                                   {"a=3z", "a=3z"},
                                   {"a=z3", "a=z3"},
                                   {"a==3D", "a=="},
                                   {"a=\r\nb", "ab"},
                                   {"a=\n\rb", "ab"},
                                   {"a=\nb", "ab"},
                                   {"a=\n\nb", "a\nb"},
                                   {"a=\r\rb", "a=\r\rb"},
                                   {"a=\n", "a=\n"},
                                   {"a=\r\n", "a"},
                                   {"a=\n\r", "a"},
                                   {"a= \r\nb", "a= \r\nb"},
                                   {"=\xB3\xB3", "=\xB3\xB3"},
                                   {"=3=44", "=3D"},
                                   {"", ""}};
  for (const auto& row : quoted) {
    const HeapText text(row[0]);
    TBLOCK block = text.view();
    TBLOCK::DecodeQuotedPrintable(block);
    EXPECT_EQ(row[1], Str(block)) << row[0];
  }
}

}  // namespace
