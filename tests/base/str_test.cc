#include "base/str.h"

#include <gtest/gtest.h>
#include <limits.h>

#include "base/heap_text.h"

namespace {

// "text|capacity|length" as they stand, without counting.
std::string Raw(const STR& s) {
  return std::string(s.c_str()) + "|" + std::to_string(s.capacity) + "|" +
         std::to_string(s.length);
}

// Of empty strings, which share a text that nobody may write to.
TEST(StrTest, OperationsOnNothing) {
  STR s, other;
  s.noFrontSpace();
  s.noTrailSpace();
  s.toUpper();
  s.reverse();
  s.add("", 0);
  s.addLeft("", 0);
  s += other;
  s += TBLOCK();
  other = s;
  EXPECT_EQ("|1|0", Raw(other));
  other.renew(0);
  other = "";
  EXPECT_EQ("|1|0", Raw(other));
  s += 'a';
  other += "bc";
  EXPECT_STREQ("a", s.c_str());
  EXPECT_STREQ("bc", other.c_str());
  EXPECT_STREQ("", STR().c_str());
  STRTOKEN empty("", ",");
  EXPECT_EQ(nullptr, empty.next());
}

// Every piece of the own text, appended and put in front, with and without
// room for it.
TEST(StrTest, SourceInsideTheOwnText) {
  const std::string base = "abcd";
  for (int32_t room : {4, 20}) {
    for (int32_t at = 0; at <= 4; at++) {
      for (int32_t n = 0; n <= 4 - at; n++) {
        const std::string piece =
            base.substr(static_cast<size_t>(at), static_cast<size_t>(n));
        STR back(room);
        back.add("abcd", 4);
        STR front(back);
        back.add(back.text + at, n);
        front.addLeft(front.text + at, n);
        EXPECT_EQ(base + piece, back.c_str()) << room << at << n;
        EXPECT_EQ(piece + base, front.c_str()) << room << at << n;
      }
    }
  }
}

// Of a failed allocation, or of a sum that is no length.
TEST(StrTest, NullTextReadsAsEmpty) {
  STR s("ab");
  s.add("x", -1);
  s.add(nullptr, 5);
  EXPECT_EQ("ab|3|2", Raw(s));
  s.add("x", INT32_MAX);
  ASSERT_EQ(nullptr, s.text);
  EXPECT_EQ("|0|0", Raw(s));
  s.noFrontSpace();
  s.noTrailSpace();
  s.toUpper();
  s.toLower();
  s.reverse();
  EXPECT_EQ(nullptr, s.text);
  EXPECT_TRUE(s.empty() && s.view().empty() && s.streq("") && s < "a");
  EXPECT_EQ(-1, s.hasin("a", 0, 1) + s.hasin("", 0, 0) + s.hasin('\0', 0, 0));
  EXPECT_EQ("|1|0", Raw(STR(s)));
  STR other("x");
  other += s;
  other = s;
  EXPECT_TRUE(other.empty());
  s.addLeft("a", 1);
  EXPECT_TRUE(s.streq("A"));
}

TEST(StrTest, Comparisons) {
  // `order` is that of CompareNoCase; `less` that of operator<.
  const struct {
    const char *a, *b;
    int order;
    bool less;
  } rows[] = {{"", "", 0, true},          {"", "a", -1, true},
              {"a", "", 1, false},        {"abc", "ABC", 0, true},
              {"ab", "ABC", -1, true},    {"abc", "AB", 1, false},
              {"b", "A", 1, false},       {"A", "b", -1, true},
              {"_", "a", 1, false},       {"[", "a", 1, false},
              {"\xE9", "a", -1, true},    {"a", "\xE9", 1, false},
              {"\xE9", "\xC9", 1, false}, {"a\xE9", "a", -1, false},
              {"\xFF", "\x80", 1, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.a) + " " + row.b);
    const int order = CompareNoCase(row.a, row.b);
    EXPECT_EQ(row.order, (order > 0) - (order < 0));
    EXPECT_EQ(row.less, STR(row.a) < row.b);
    EXPECT_EQ(row.order == 0, STR(row.a).streq(row.b) != 0);
  }
}

TEST(StrTokenTest, Tokens) {
  const struct {
    const char *text, *separator, *tokens;
    int32_t count;
  } rows[] = {{"a,,b", ",", "a||b|", 3},     {",,a", ",", "|a|", 2},
              {"a,,", ",", "a||", 2},        {",", ",", "", 0},
              {nullptr, ",", "", 0},         {"abc", nullptr, "abc|", 1},
              {"a--b-c", "--", "a|b-c|", 2}, {"aXbxc", "x", "aXb|c|", 2},
              {"--", "---", "--|", 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text ? row.text : "null");
    STRTOKEN walk(row.text, row.separator);
    EXPECT_EQ(row.count, walk.count);
    for (int pass = 0; pass < 2; pass++, walk.init()) {
      std::string tokens;
      while (const char* token = walk.next())
        tokens += token + std::string("|");
      EXPECT_EQ(row.tokens, tokens);
    }
  }
}

}  // namespace
