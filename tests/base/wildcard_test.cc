#include "base/wildcard.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

// The answers for wmLiteral, wmPrefix, wmOverlap, wmDisjoint, as 1 and 0.
TEST(WildcardTest, Rows) {
  // With both stars the last one is a byte of the suffix. Each side is folded
  // once: a bar becomes "I", which is no "i".
  const char* const rows[][3] = {
      {"", "", "1111"},         {"", "a", "0000"},
      {"abc", "ABC", "1111"},   {"abc", "abcd", "0000"},
      {"*", "", "1111"},        {"*", "a", "1111"},
      {"**", "", "1111"},       {"***", "", "0000"},
      {"***", "a*b", "1111"},   {"***", "ab", "0000"},
      {"*a*", "", "0000"},      {"*b*", "aBc", "1111"},
      {"*b*", "ac", "0000"},    {"*bc", "aBC", "1111"},
      {"*bc", "bcd", "0000"},   {"*b*c", "ab*c", "1111"},
      {"*b*c", "abxc", "0000"}, {"*a", "", "0000"},
      {"ab*", "ABc", "1111"},   {"ab*", "a", "0000"},
      {"a*c", "abc", "0111"},   {"a*c", "a*c", "1111"},
      {"a*c", "abd", "0100"},   {"a*c", "", "0000"},
      {"ab*ba", "aba", "0110"}, {"ab*ba", "abba", "0111"},
      {"a*b*", "axb*", "0111"}, {"a*b*", "axb", "0100"},
      {"a*b*", "a*bx", "1100"}, {"a**", "ax", "0100"},
      {"a**", "a*", "1111"},    {"|*", "|x", "1111"},
      {"|*", "ix", "0000"},     {"*\xC9*", "caf\xE9s", "1111"}};
  const WildcardMiddle middles[] = {wmLiteral, wmPrefix, wmOverlap, wmDisjoint};
  for (const auto& row : rows) {
    const HeapText pattern(row[0]), value(row[1]);
    std::string answers;
    for (WildcardMiddle middle : middles)
      answers +=
          MatchWildcard(pattern.view(), value.view(), middle) ? '1' : '0';
    EXPECT_EQ(row[2], answers) << row[0] << " on " << row[1];
  }
}

// Lists look for a text only where an address may have it.
TEST(WildcardTest, LongValues) {
  const HeapText value(std::string(kMaxListedValue - 1, 'a') + "bc");
  const char* const rows[][2] = {
      {" *B* ", "1"}, {"*c*", "0"}, {"*bc", "1"}, {"aa*", "1"}, {"*", "1"}};
  for (const auto& row : rows)
    EXPECT_EQ(*row[1] == '1', FitsListPattern(TBLOCK(row[0]), value.view()))
        << row[0];
}

}  // namespace
