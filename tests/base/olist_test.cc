#include "base/olist.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Items are pointers to these.
const char kItems[] = "abcdefgh";

std::string Dump(const OLIST& list) {
  std::string out;
  OITER walk(&list);
  while (const void* item = walk.next()) out += *static_cast<const char*>(item);
  return out;
}

int Append(OLIST& list, char c) {
  return list.insert(&kItems[c - 'a'], 1);
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

// Appending still finds the end, whatever was removed last.
TEST(OlistTest, InsertRemoveAndPurge) {
  OLIST few;
  EXPECT_EQ(-1, few.remove(&kItems[0]));
  EXPECT_EQ(0, Append(few, 'b'));
  EXPECT_EQ(0, few.insert(&kItems[0], 0));
  EXPECT_EQ(2, Append(few, 'a'));
  EXPECT_EQ(0, few.remove(&kItems[0]));  // the first of the two
  EXPECT_EQ(1, few.remove(&kItems[0]));
  EXPECT_EQ(1, Append(few, 'd'));
  EXPECT_EQ("bd", Dump(few));
  EXPECT_EQ(0, few.remove(&kItems[1]) + few.remove(&kItems[3]));
  EXPECT_EQ(0, Append(few, 'e'));
  EXPECT_EQ("e", Dump(few));
  const char* const rows[][4] = {{"abcd", "abcd", "a0b0c0d0", ""},
                                 {"abcd", "a", "a0b0c1d2", "bcd"},
                                 {"abcd", "bcd", "a0b1c1d1", "a"},
                                 {"abcd", "", "a0b1c2d3", "abcd"},
                                 {"abcd", "ad", "a0b0c1d2", "bc"},
                                 {"abca", "a", "a0b0c1a2", "bc"},
                                 {"", "a", "", ""}};
  for (const auto& row : rows) {
    OLIST list;
    for (const char* c = row[0]; *c; c++) Append(list, *c);
    Remover guru(row[1]);
    const int before = list.len();
    EXPECT_EQ(before, list.purge(&guru) + list.len());
    EXPECT_EQ(row[2], guru.asked);
    EXPECT_EQ(static_cast<int>(strlen(row[3])), Append(list, 'h'));
    EXPECT_EQ(std::string(row[3]) + "h", Dump(list));
  }
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
  std::string places;
  for (char c : std::string("dcabe"))
    places += std::to_string(list.insert(&kItems[c - 'a'], &guru));
  EXPECT_EQ("00024", places);
  EXPECT_EQ(0, list.insert(&kItems[7], nullptr));
  static_cast<OLIST&>(list).insert(&kItems[6], 1);
  EXPECT_EQ("hacbdeg", Dump(list));
}

}  // namespace
