#include "base/vectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "base/heap_text.h"

namespace {

TEST(TblockvectTest, AddTrimsAndLimits) {
  TBLOCKVECT v(2);
  EXPECT_EQ(1, v.add(TBLOCK(" a\t"), 0, 1));
  EXPECT_EQ(1, v.add(TBLOCK(" b"), 0, 0));
  EXPECT_EQ(0, v.add(TBLOCK("  "), 0, 1));
  EXPECT_EQ(1, v.add(TBLOCK("  "), 1, 1));
  EXPECT_EQ(1, v.add(TBLOCK("  "), 0, 0));
  EXPECT_EQ("a| b||  |", Join(v));
  v.setMaxCount(2);
  EXPECT_EQ("a| b|", Join(v));
  EXPECT_EQ(0, v.add(TBLOCK("c"), 0, 0));
  EXPECT_EQ(0, v.ins(TBLOCK("c"), 7));
  v.setMaxCount(0);
  EXPECT_EQ(0, v.count());
  EXPECT_EQ(1, v.add(TBLOCK("c"), 0, 0));
  EXPECT_TRUE(v.get(1).empty());
  EXPECT_TRUE(v.get(-1).empty());
}

TEST(TblockvectTest, Lines) {
  const char* const rows[][3] = {{"a\r\n\r\nb\r", "a|b\r|", "a|b|"},
                                 {"a\n\rb", "a|b|", "a|b|"},
                                 {"a\rb\n c ", "a\rb| c |", "a\rb|c|"},
                                 {" \n", " |", ""},
                                 {"a\r\r\nb", "a\r|b|", "a|b|"}};
  for (const auto& row : rows) {
    EXPECT_EQ(row[1], Join(TBLOCKVECT(TBLOCK(row[0]), 0)));
    EXPECT_EQ(row[2], Join(TBLOCKVECT(TBLOCK(row[0]), 1)));
  }
  TBLOCKVECT v(0);
  v.fillFromBigBlock(TBLOCK(",a, b ,,\tc\n"), ',', 1);
  EXPECT_EQ("a|b|c|", Join(v));
  v.fillFromBigBlock(TBLOCK(" , b"), ',', 0);
  EXPECT_EQ("b|", Join(v));  // adding trims in any case
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
        v.set(view, static_cast<int32_t>(at));
        model[at] = word;
        break;
      default:
        const bool there =
            std::any_of(model.begin(), model.end(), [&](const std::string& m) {
              return view.equals(TBLOCK(m.c_str()));
            });
        ASSERT_EQ(!there, v.addUnique(view, 0, 1));
        if (!there) model.push_back(word);
    }
    ASSERT_EQ(static_cast<int32_t>(model.size()), v.count());
  }
  for (size_t i = 0; i < model.size(); i++)
    ASSERT_EQ(model[i], Str(v.get(static_cast<int32_t>(i))));
  // Empty values count like any other, when they are allowed.
  EXPECT_EQ(0, v.addUnique(TBLOCK(" "), 0, 1));
  EXPECT_EQ(1, v.addUnique(TBLOCK(" "), 1, 1));
  EXPECT_EQ(0, v.addUnique(TBLOCK(""), 1, 1));
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
      model.push_back(random() % 4 ? random() % 20 : extremes[random() % 3]);
      v.add(model.back());
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
}

}  // namespace
