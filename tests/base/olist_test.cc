#include "base/olist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Items are pointers to these.
const char kItems[] = "abcdefgh";

std::string Dump(const OLIST& list) {
  std::string out;
  OITER walk(&list);
  while (const void* item = walk.next()) out += *static_cast<const char*>(item);
  return out;
}

void Fill(OLIST& list, const std::string& items) {
  for (char c : items) list.insert(&kItems[c - 'a'], 1);
}

// Removes the items that are named, and keeps what it was asked.
class Remover : public OLISTGURU {
 public:
  explicit Remover(const std::string& items) : gone(items) {}
  int yes2Remove(OLIST*, const void* item, int index) override {
    asked += *static_cast<const char*>(item) + std::to_string(index);
    return gone.find(*static_cast<const char*>(item)) != std::string::npos;
  }
  std::string gone, asked;
};

TEST(OlistTest, InsertAndRemove) {
  OLIST list;
  EXPECT_EQ(-1, list.remove(&kItems[0]));
  EXPECT_EQ(0, list.insert(&kItems[1], 1));
  EXPECT_EQ(0, list.insert(&kItems[0], 0));
  EXPECT_EQ(2, list.insert(&kItems[2], 1));
  EXPECT_EQ(3, list.insert(&kItems[0], 1));
  EXPECT_EQ("abca", Dump(list));
  EXPECT_EQ(0, list.remove(&kItems[0]));  // the first of the two
  EXPECT_EQ(2, list.remove(&kItems[0]));
  EXPECT_EQ("bc", Dump(list));
  EXPECT_EQ(2, list.len());
  // Appending still finds the end, whatever was removed last.
  EXPECT_EQ(1, list.remove(&kItems[2]));
  list.insert(&kItems[3], 1);
  EXPECT_EQ("bd", Dump(list));
  list.remove(&kItems[3]);
  list.remove(&kItems[1]);
  EXPECT_EQ(0, list.insert(&kItems[4], 1));
  EXPECT_EQ("e", Dump(list));
}

TEST(OlistTest, Purge) {
  struct Row {
    const char* items;
    const char* gone;
    const char* asked;
    const char* left;
  };
  const Row rows[] = {
      {"abcd", "abcd", "a0b0c0d0", ""}, {"abcd", "bcd", "a0b1c1d1", "a"},
      {"abcd", "", "a0b1c2d3", "abcd"}, {"abcd", "ad", "a0b0c1d2", "bc"},
      {"abca", "a", "a0b0c1a2", "bc"},  {"", "a", "", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.items) + "-" + row.gone);
    OLIST list;
    Fill(list, row.items);
    Remover guru(row.gone);
    const int before = list.len();
    const int removed = list.purge(&guru);
    EXPECT_EQ(row.asked, guru.asked);
    EXPECT_EQ(row.left, Dump(list));
    EXPECT_EQ(before - removed, list.len());
    EXPECT_EQ(static_cast<int>(std::string(row.left).size()), list.len());
    list.insert(&kItems[7], 1);
    EXPECT_EQ(std::string(row.left) + "h", Dump(list));
  }
  OLIST list;
  Fill(list, "ab");
  EXPECT_EQ(0, list.purge(nullptr));
  OLISTGURU keepsAll;
  EXPECT_EQ(0, list.purge(&keepsAll));
  EXPECT_EQ(-1, list._insert(nullptr, 1));
  EXPECT_EQ("ab", Dump(list));
}

// Letters in order; b and c tie.
class ByRank : public ORDLISTGURU {
 public:
  int goesAhead(ORDLIST*, const void* item, const void* existing) override {
    return rank(item) < rank(existing);
  }

 private:
  static int rank(const void* item) {
    const char c = *static_cast<const char*>(item);
    return c == 'c' ? 'b' : c;
  }
};

TEST(OrdlistTest, TiesGoBehind) {
  ORDLIST list;
  ByRank guru;
  std::vector<int> places;
  for (char c : std::string("dcabe"))
    places.push_back(list.insert(&kItems[c - 'a'], &guru));
  EXPECT_EQ((std::vector<int>{0, 0, 0, 2, 4}), places);
  EXPECT_EQ("acbde", Dump(list));
  EXPECT_EQ(0, list.insert(&kItems[7], nullptr));
  EXPECT_EQ("hacbde", Dump(list));
  static_cast<OLIST&>(list).insert(&kItems[6], 1);
  EXPECT_EQ("hacbdeg", Dump(list));
}

}  // namespace
