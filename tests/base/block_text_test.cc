#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/tblock.h"

namespace {

std::string Lines(const std::string& text) {
  const HeapText copy(text);
  TBLOCK rest = copy.view();
  std::string out;
  while (!rest.empty()) out += Str(TBLOCK::BlockNextLine(rest)) + "|";
  EXPECT_EQ(0u, rest.length);
  return out;
}

TEST(BlockTextTest, NextLine) {
  const struct {
    const char *text, *lines;
  } rows[] = {{"a\rb\nc", "a\rb|c|"},     {"a\r\nb\r\n", "a|b|"},
              {"a\n\nb", "a||b|"},        {"a\n\rb", "a|\rb|"},
              {"a\r\r\nb\r", "a\r|b\r|"}, {"\n", "|"},
              {"\r\n\r\n", "||"}};
  for (const auto& row : rows) EXPECT_EQ(row.lines, Lines(row.text));
}

TEST(BlockTextTest, Token) {
  const struct {
    const char *text, *key, *value;  // null: no token, the view unchanged
    int quoted;
  } rows[] = {{" Charset = \" utf-8 \" ", "charset", "utf-8", 1},
              {"charset:utf-8", "charset", nullptr, 0},
              {"charset  ", "charset", nullptr, 0},
              {"charsets=1", "charset", nullptr, 0},
              {"charset= \r\n", "charset", "", 0},
              {"charset=\"", "charset", "\"", 0},
              {"charset='a\"", "charset", "'a\"", 0},
              {"charset=' \"a\" '", "charset", "a", 1},
              {"charset=\"a\" b", "charset", "\"a\" b", 0},
              {"=a=b", "", "a=b", 0},
              {"", "a", nullptr, 0},
              {"a=1", nullptr, nullptr, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    TBLOCK block = text.view();
    int quoted = 7;
    EXPECT_EQ(row.value != nullptr,
              TBLOCK::BlockToken(block, row.key, '=', quoted));
    EXPECT_EQ(row.value ? row.value : row.text, Str(block));
    EXPECT_EQ(row.quoted, quoted);
    EXPECT_TRUE(row.value || text.view().pointer == block.pointer);
  }
}

TEST(BlockTextTest, Unquote) {
  const struct {
    const char *text, *result;
    int found;
  } rows[] = {{"\" a \"", "a", 1},   {"'\"a\"'", "a", 1}, {" '' ", "", 1},
              {" \" ", "\"", 0},     {"\"\"\"", "\"", 1}, {"\"a'", "\"a'", 0},
              {"' \"a' ", "\"a", 1}, {" ab\t", "ab", 0},  {" ", "", 0},
              {"\"a\\\"", "a\\", 1}, {"", "", 0},         {"'", "'", 0}};
  for (const auto& row : rows)
    for (const int trimInside : {0, 1}) {
      const HeapText text(row.text);
      TBLOCK block = text.view();
      EXPECT_EQ(row.found, TBLOCK::BlockUnquote(block, trimInside));
      EXPECT_EQ(row.result, Str(block)) << row.text;
    }
}

TEST(BlockTextTest, PrefixInItsTwoModes) {
  const struct {
    const char *text, *prefix;
    bool folded, exact;
  } rows[] = {{"ABC", "ab", true, false},     {"ab", "abc", false, false},
              {"abc", "", true, false},       {"", "a", false, false},
              {"abc", nullptr, false, false}, {"\xC9", "e", true, false},
              {"|", "I", false, false},       {"|", "|", true, true}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    EXPECT_EQ(row.folded,
              TBLOCK::IsBlockPrefixedByStr(text.view(), row.prefix, 0))
        << row.text;
    EXPECT_EQ(row.exact,
              TBLOCK::IsBlockPrefixedByStr(text.view(), row.prefix, 1))
        << row.text;
  }
}

TEST(BlockTextTest, BeforeChar) {
  const struct {
    const char* text;
    int trim, keep;
    const char *before, *rest;
  } rows[] = {{"a;b;c", 0, 0, "a", "b;c"},     {"a;b;c", 0, 1, "a", ";b;c"},
              {" a ; b ", 0, 0, " a ", " b "}, {" a ; b ", 1, 0, "a", "b"},
              {"a;", 0, 0, "a", ""},           {"a;", 0, 1, "a", ";"},
              {";a", 0, 1, "", ";a"},          {"abc", 0, 0, "abc", ""},
              {" abc ", 1, 1, "abc", ""},      {"", 1, 0, "", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    TBLOCK rest = text.view();
    EXPECT_EQ(row.before,
              Str(TBLOCK::BlockBeforeChar(rest, ';', row.trim, row.keep)));
    EXPECT_EQ(row.rest, Str(rest));
    EXPECT_EQ(!*row.rest, rest.pointer == nullptr);
  }
}

TEST(BlockTextTest, BeforeSetOfChars) {
  // A NUL is in every set.
  const struct {
    std::string text;
    const char* set;
    int trim;
    int found;
    const char *before, *rest;
  } rows[] = {{"ab,c;d", ";,", 0, 1, "ab", ",c;d"},
              {" a , b", ",", 1, 1, "a", ", b"},
              {" ab ", ",", 1, 0, "ab", ""},
              {"ab", nullptr, 0, 0, "ab", ""},
              {std::string("a\0", 2), "", 0, 1, "a", nullptr}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const HeapText text(row.text);
    TBLOCK rest = text.view();
    TBLOCK before(TBLOCK("junk"));
    EXPECT_EQ(row.found,
              TBLOCK::BlockBeforeSetOfChars(rest, before, row.set, row.trim));
    EXPECT_EQ(row.before, Str(before));
    EXPECT_EQ(row.rest ? row.rest : std::string(1, '\0'), Str(rest));
  }
}

// The three trims by a set, each as the result and the text left.
TEST(BlockTextTest, TrimBySet) {
  const struct {
    std::string text;
    const char* set;
    std::string expected[3];
  } rows[] = {
      {"--a--", "-", {"1a--", "1--a", "1a--"}},
      {"a-.", ".-", {"0a-.", "1a", "1a"}},
      {"---", "-", {"1", "1", "1"}},
      {"", "-", {"0", "0", "0"}},
      {std::string("a\0", 2), "-", {std::string("0a\0", 3), "1a", "1a"}}};
  using Trim = int (*)(TBLOCK&, const char*);
  const Trim trims[] = {TBLOCK::BlockLeftTrimChars, TBLOCK::BlockRightTrimChars,
                        TBLOCK::BlockTrimChars};
  for (const auto& row : rows)
    for (int i = 0; i < 3; i++) {
      const HeapText text(row.text);
      TBLOCK block = text.view();
      const std::string result = std::to_string(trims[i](block, row.set));
      EXPECT_EQ(row.expected[i], result + Str(block)) << row.text << " " << i;
    }
}

TEST(BlockTextTest, ClearSpace) {
  const struct {
    const char *text, *spaces, *joined;
  } rows[] = {{" \t a \t b", "a b", "a b"},
              {"a\r\nb", "a b", "ab"},
              {"a \r\n b", "a b", "a b"},
              {"\r\na\r\n", "a ", "a"},
              {"a \n", "a ", "a "},
              {"\n \n", "", ""},
              {"a\v\fb\xA0 c", "a\v\fb\xA0 c", "a\v\fb\xA0 c"},
              {"", "", ""}};
  for (const auto& row : rows)
    for (const int lineBreaksAreSpace : {0, 1}) {
      const HeapText text(row.text);
      const TBLOCK result =
          TBLOCK::BlockClearSpace(text.view(), lineBreaksAreSpace);
      EXPECT_EQ(lineBreaksAreSpace ? row.spaces : row.joined, Str(result))
          << row.text;
      EXPECT_EQ(text.view().pointer, result.pointer);
    }
}

}  // namespace
