#include "base/vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

std::string Text(TBLOCK view) {
  return std::string(reinterpret_cast<const char*>(view.pointer), view.length);
}

std::string Join(const TBLOCKVECT& v) {
  std::string out;
  for (int32_t i = 0; i < v.count(); i++)
    out += (i ? "|" : "") + Text(v.get(i));
  return out;
}

std::string Join(const STRVECT& v) {
  std::string out;
  for (int32_t i = 0; i < v.count(); i++)
    out += std::string(i ? "|" : "") + v.text(i);
  return out;
}

TEST(StrvectTest, EditingAndLimits) {
  STRVECT v(0, 1);
  EXPECT_EQ(1, v.add("b"));
  EXPECT_EQ(1, v.ins("a", 0));
  EXPECT_EQ(1, v.ins("c", 2));
  EXPECT_EQ(0, v.ins("x", 4));
  EXPECT_EQ(0, v.ins("x", -1));
  EXPECT_EQ(0, v.add(nullptr));
  EXPECT_EQ("a|b|c", Join(v));
  EXPECT_EQ(nullptr, v.text(3));
  EXPECT_EQ(nullptr, v.at(-1));
  EXPECT_EQ(0, v.del(3));
  EXPECT_EQ(1, v.del(1));
  EXPECT_EQ("a|c", Join(v));
  v.clear();
  EXPECT_EQ(0, v.count());
}

TEST(StrvectTest, SortedInsertionDropsDoubles) {
  STRVECT v(0, 64);
  for (const char* text : {"m", "A", "z", "a", "M", "\xE9", "b", ""})
    v.insSorted(text);
  // As signed chars the upper half comes first, even ahead of the end.
  EXPECT_EQ("\xE9||A|b|m|z", Join(v));
}

TEST(TblockvectTest, AddTrimsAndLimits) {
  TBLOCKVECT v(2);
  EXPECT_EQ(1, v.add(TBLOCK(" a\t"), 0, 1));
  EXPECT_EQ(1, v.add(TBLOCK(" b"), 0, 0));
  EXPECT_EQ(0, v.add(TBLOCK("  "), 0, 1));
  EXPECT_EQ(1, v.add(TBLOCK("  "), 1, 1));
  EXPECT_EQ(1, v.add(TBLOCK("  "), 0, 0));
  EXPECT_EQ("a| b||  ", Join(v));
  v.setMaxCount(2);
  EXPECT_EQ("a| b", Join(v));
  EXPECT_EQ(0, v.add(TBLOCK("c"), 0, 0));
  EXPECT_EQ(0, v.ins(TBLOCK("c"), 7));
  v.setMaxCount(0);
  EXPECT_EQ(1, v.add(TBLOCK("c"), 0, 0));
  EXPECT_TRUE(v.get(3).empty());
  EXPECT_TRUE(v.get(-1).empty());
}

TEST(TblockvectTest, InsSetDel) {
  TBLOCKVECT v(0);
  EXPECT_EQ(1, v.ins(TBLOCK(" b "), 7));  // appends, and so trims
  EXPECT_EQ(1, v.ins(TBLOCK(" a "), 0));
  EXPECT_EQ(0, v.ins(TBLOCK("x"), -1));
  EXPECT_EQ(" a |b", Join(v));
  EXPECT_EQ(1, v.set(TBLOCK("c"), 1));
  EXPECT_EQ(0, v.set(TBLOCK("x"), 2));
  EXPECT_EQ(0, v.del(2));
  EXPECT_EQ(0, v.del(-1));
  EXPECT_EQ(1, v.del(0));
  EXPECT_EQ(1, v.ins(TBLOCK(" d "), v.count()));
  EXPECT_EQ("c|d", Join(v));
  EXPECT_EQ('/', v.separatorView[0]);
}

TEST(TblockvectTest, Lines) {
  struct Row {
    std::string text;
    const char* plain;
    const char* trimmed;
  };
  const Row rows[] = {
      {"a\r\n\r\nb\r", "a|b\r", "a|b"},
      {"a\n\rb", "a|b", "a|b"},
      {"a\rb\n c ", "a\rb| c ", "a\rb|c"},
      {"\n\n", "", ""},
      {"a\n\r\nb", "a|b", "a|b"},
      {"", "", ""},
      {" \n", " ", ""},
      {"a\r\r\nb", "a\r|b", "a|b"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.plain, Join(TBLOCKVECT(TBLOCK(row.text.c_str()), 0)));
    EXPECT_EQ(row.trimmed, Join(TBLOCKVECT(TBLOCK(row.text.c_str()), 1)));
  }
}

TEST(TblockvectTest, PiecesAndStrings) {
  TBLOCKVECT v(0);
  v.fillFromBigBlock(TBLOCK(",a, b ,,\tc\n"), ',', 1);
  EXPECT_EQ("a|b|c", Join(v));
  v.fillFromBigBlock(TBLOCK(" , b"), ',', 0);
  EXPECT_EQ("b", Join(v));  // adding trims in any case
  STRVECT strings(0, 16);
  strings.add(" x ");
  strings.add("");
  v.fillStringList(strings);
  EXPECT_EQ(" x ||b", Join(strings));
  v.loadFromStrings(strings);
  EXPECT_EQ("x|b", Join(v));
}

TEST(TblockvectTest, PatternCount) {
  TBLOCKVECT v(0);
  for (const char* member : {"", " aba ", "ABxBA", "b", "ab"})
    v.add(TBLOCK(member), 1, 0);
  struct Row {
    const char* pattern;
    int count;
  };
  const Row rows[] = {{"", 1},    {"*", 5},    {" ** ", 5}, {"ab*ba", 2},
                      {"a*", 3},  {"*b", 2},   {"*x*", 1},  {"ab", 1},
                      {"ab*", 3}, {" \t ", 1}, {"b*b", 1}};
  for (const Row& row : rows)
    EXPECT_EQ(row.count, v.patternStrCount(row.pattern)) << row.pattern;
}

// Against a linear walk, with enough members for the hashes and with edits in
// between that they have to survive.
TEST(TblockvectTest, AddUnique) {
  std::mt19937 random(7);
  std::vector<std::string> words;
  for (int i = 0; i < 300; i++)
    words.push_back(std::string(i % 3 ? "w" : "W") + std::to_string(i / 2));
  TBLOCKVECT v(0);
  std::vector<std::string> model;
  for (int round = 0; round < 4000; round++) {
    const std::string& word = words[random() % words.size()];
    const TBLOCK view(word.c_str());
    const uint32_t at = model.empty() ? 0 : random() % model.size();
    switch (model.empty() ? 9 : random() % 40) {
      case 0:
        v.del(static_cast<int32_t>(at));
        model.erase(model.begin() + at);
        break;
      case 1:
        v.ins(view, static_cast<int32_t>(at));
        model.insert(model.begin() + at, word);
        break;
      case 2:
        v.set(view, static_cast<int32_t>(at));
        model[at] = word;
        break;
      case 3:
        v.add(view, 0, 0);
        model.push_back(word);
        break;
      default: {
        const bool there =
            std::any_of(model.begin(), model.end(), [&](const std::string& m) {
              return TBLOCK(m.c_str()).equals(view);
            });
        ASSERT_EQ(!there, v.addUnique(view, 0, 1));
        if (!there) model.push_back(word);
      }
    }
    ASSERT_EQ(static_cast<int32_t>(model.size()), v.count());
  }
  for (size_t i = 0; i < model.size(); i++)
    ASSERT_EQ(model[i], Text(v.get(static_cast<int32_t>(i))));
  // Empty values count like any other, when they are allowed.
  EXPECT_EQ(0, v.addUnique(TBLOCK(" "), 0, 1));
  EXPECT_EQ(1, v.addUnique(TBLOCK(" "), 1, 1));
  EXPECT_EQ(0, v.addUnique(TBLOCK(""), 1, 1));
}

TEST(TblockvectTest, AddUniqueTrimsFirstAndFoldsOnce) {
  std::vector<std::string> numbers;
  for (int i = 0; i < 100; i++) numbers.push_back(std::to_string(i));
  for (const int filler : {0, 100}) {
    TBLOCKVECT v(8);
    for (int i = 0; i < filler; i++)
      v.addUnique(TBLOCK(numbers[static_cast<size_t>(i)].c_str()), 0, 0);
    EXPECT_EQ(1, v.addUnique(TBLOCK(" On\xC9 "), 0, 1));
    EXPECT_EQ(0, v.addUnique(TBLOCK("one\r\n"), 0, 1));
    EXPECT_EQ(1, v.addUnique(TBLOCK("one "), 0, 0));
    // A bar becomes "I" and stays so.
    EXPECT_EQ(1, v.addUnique(TBLOCK("|"), 0, 0));
    EXPECT_EQ(1, v.addUnique(TBLOCK("i"), 0, 0));
    EXPECT_EQ(filler + 4, v.count());
    v.setMaxCount(filler + 4);
    EXPECT_EQ(0, v.addUnique(TBLOCK("new"), 0, 0));
  }
}

// The hashes of equal members must not pile up: a walk over them for each
// would take minutes here.
TEST(TblockvectTest, AddUniqueBehindManyEqualMembers) {
  TBLOCKVECT v;
  for (int i = 0; i < 200000; i++) v.add(TBLOCK("same"), 0, 0);
  EXPECT_EQ(0, v.addUnique(TBLOCK("SAME"), 0, 0));
  EXPECT_EQ(1, v.addUnique(TBLOCK("other"), 0, 0));
  EXPECT_EQ(0, v.addUnique(TBLOCK("Other"), 0, 0));
}

TEST(TblockvectTest, ANulEndsAMemberThatBecomesAString) {
  TBLOCKVECT v(0);
  v.add(TBLOCK("x\0y", 3), 0, 0);
  v.add(TBLOCK(), 1, 0);
  STRVECT strings(0, 16);
  v.fillStringList(strings);
  EXPECT_EQ("x|", Join(strings));
}

TEST(IntvectTest, EditingAndLimits) {
  INTVECT v(0, 1);
  EXPECT_EQ(1, v.add(5));
  EXPECT_EQ(1, v.ins(3, 0));
  EXPECT_EQ(0, v.ins(9, 3));
  v.set(7, 1);
  v.set(9, 2);
  v.set(9, -1);
  EXPECT_EQ(3, v.get(0));
  EXPECT_EQ(7, v.get(1));
  EXPECT_EQ(0, v.get(2));
  EXPECT_EQ(1, v.del(0));
  EXPECT_EQ(0, v.del(1));
  EXPECT_EQ(1, v.count());
}

class Descending : public INTVECTGURU {
 public:
  int compare(int a, int b) override { return a < b ? 1 : a > b ? -1 : 0; }
};

TEST(IntvectTest, Sort) {
  std::mt19937 random(3);
  Descending descending;
  INTVECTGURU ascending;
  for (int n = 0; n < 60; n++) {
    INTVECT v(0, 64);
    std::vector<int32_t> model;
    for (int i = 0; i < n; i++) {
      const int32_t extremes[] = {INT32_MIN, INT32_MAX, 0};
      const int32_t value = random() % 4 ? static_cast<int32_t>(random() % 20)
                                         : extremes[random() % 3];
      model.push_back(value);
      v.add(value);
    }
    // A range in the middle, then all of it the other way round.
    const int lo = n / 4, hi = n - 1 - n / 5;
    v._sort(lo, hi, &ascending);
    if (lo < hi) std::sort(model.begin() + lo, model.begin() + hi + 1);
    for (int i = 0; i < n; i++) ASSERT_EQ(model[i], v.get(i)) << n;
    v._sort(-5, n + 5, &descending);
    std::sort(model.rbegin(), model.rend());
    for (int i = 0; i < n; i++) ASSERT_EQ(model[i], v.get(i)) << n;
  }
  EXPECT_EQ(INT32_MAX, ascending.compare(INT32_MAX, INT32_MIN));
  EXPECT_EQ(-3, ascending.compare(2, 5));
}

TEST(IntvectTest, SortClampsItsRange) {
  const int ranges[][3] = {{INT32_MIN, INT32_MAX, 1},
                           {INT32_MAX, INT32_MIN, 0},
                           {1, INT32_MIN, 0},
                           {2, 1, 0},
                           {3, 9, 0},
                           {0, 3, 1}};
  for (const auto& range : ranges) {
    INTVECT v(0, 16);
    for (const int32_t n : {9, 8, 7}) v.add(n);
    v._sort(range[0], range[1], nullptr);
    EXPECT_EQ(range[2] ? 7 : 9, v.get(0)) << range[0] << " to " << range[1];
  }
}

// A sort that grows with the square is told by its comparisons.
class Counting : public INTVECTGURU {
 public:
  uint32_t calls = 0;
  int compare(int a, int b) override {
    calls++;
    return INTVECTGURU::compare(a, b);
  }
};

TEST(IntvectTest, SortNeedsFewComparisonsWhateverTheData) {
  const int32_t n = 20000;
  const int32_t steps[] = {1, -1, 0};
  for (const int32_t step : steps) {
    INTVECT v(0, 4096);
    for (int32_t i = 0; i < n; i++) v.add(i * step);
    Counting guru;
    v._sort(0, n - 1, &guru);
    EXPECT_LT(guru.calls, 20000u * 2 * 15) << step;
    for (int32_t i = 1; i < n; i++) ASSERT_LE(v.get(i - 1), v.get(i)) << step;
  }
}

}  // namespace
