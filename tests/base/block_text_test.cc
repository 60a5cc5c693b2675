#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "base/tblock.h"

namespace {

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
