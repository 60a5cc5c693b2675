// Slots worked out elsewhere, and tables held against maps of the standard
// library.

#include "base/hashtab.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "base/heap_text.h"

namespace {

// The slot of a key in a table that has no other.
int32_t SlotOf(HASHTAB& table, const std::string& key) {
  const HeapText text(key);
  const int32_t slot = table.insert(text.view(), nullptr);
  EXPECT_EQ(1, table.deleteEntry(slot));
  return slot;
}

TEST(HashTabTest, SlotsAreThoseOfExactDoubles) {
  const struct {
    const char* key;
    int32_t slots[3];  // for capacities of 32, 1024 and 100,000
  } rows[] = {
      {"a", {39, 1216, 118663}},
      {"www.example.com", {31, 955, 93223}},
      {"The quick brown fox", {35, 1102, 107528}},
      {"\xFF\xFE\x80", {12, 382, 37242}},
      {"eada2hw", {31, 959, -1}},  // the hash is the most negative number
      {"k14", {0, -1, -1}},        // 40.795, which rounds to the end
      {"k1424", {-1, 0, -1}},
      {"k842036", {-1, -1, 0}}};
  const int32_t capacities[] = {32, 1024, 100000};
  for (int i = 0; i < 3; i++) {
    HASHTAB table(capacities[i]);
    for (const auto& row : rows) {
      if (row.slots[i] < 0) continue;
      EXPECT_EQ(row.slots[i], SlotOf(table, row.key)) << row.key;
    }
  }
  // 29 of these would go elsewhere if products were not rounded to doubles.
  HASHTAB table(100000);
  uint32_t sum = 0;
  for (uint32_t i = 0; i < 10000; i++) {
    const int32_t slot = SlotOf(table, "k" + std::to_string(i));
    sum += static_cast<uint32_t>(slot) * (i + 1);
  }
  EXPECT_EQ(0x75C8E84Bu, sum);
}

TEST(HashTabTest, SizesAndRefusals) {
  const HeapText key("key"), other("other");
  HASHTAB table;
  EXPECT_EQ(0, table.insert(TBLOCK(), nullptr));
  EXPECT_EQ(0, table.slotCount);
  EXPECT_LE(0, table.insert(key.view(), nullptr));
  const int32_t sizes[][3] = {{5, 32, 41},   {33, 33, 42},  {100, 100, 126},
                              {1, 100, 126}, {0, 100, 126}, {-1, 100, 126},
                              {2, 32, 41}};
  for (const auto& row : sizes) {
    table.setCapacity(row[0]);
    EXPECT_EQ(row[1], table.capacity);
    EXPECT_EQ(row[2], table.slotCount);
    EXPECT_LE(0, table.findKey(key.view()));
  }
  for (int32_t slot : {-1, 41, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(0, table.deleteEntry(slot));
    int32_t at = slot;
    EXPECT_TRUE(table.getBlock(slot).empty() && table.nextSame(at) == -1);
  }
  table.setCapacity(INT32_MAX);
  EXPECT_EQ(0, table.slotCount + table.capacity + table.count);
  EXPECT_EQ(-1, table.findKey(key.view()));
  EXPECT_LE(0, table.insert(other.view(), nullptr));

  // A fixed table takes what it has slots for, and every search still ends.
  HASHTAB fixed(32, hashFixed);
  const std::string letters("abcdefghijklmnopqrstuvwxyz0123456789ABCDEFGHIJ");
  for (uint32_t i = 0; i < letters.size(); i++)
    EXPECT_EQ(i < 41, fixed.insert(TBLOCK(&letters[i], 1), nullptr) >= 0);
  EXPECT_EQ(-1, fixed.findKey(key.view()));
  EXPECT_EQ(1, fixed.deleteEntry(fixed.findKey(TBLOCK("g"))));
  EXPECT_EQ(-1, fixed.insert(TBLOCK("E"), nullptr));
  EXPECT_LE(0, fixed.insert(TBLOCK("J"), nullptr));
  HASHTAB same(32, hashFixed | hashDuplicates);
  while (same.insert(key.view(), nullptr) >= 0) {
  }
  int32_t walked = 0;
  for (int32_t at = same.findKey(key.view()); at >= 0; walked++)
    same.nextSame(at);
  EXPECT_EQ(41, walked);
}

// Short keys of few letters, so that they often are there already; slots are
// given back all the time.
TEST(HashTabTest, AgreesWithMaps) {
  const unsigned char* const folds[] = {
      TBLOCK::NoConvTable, TBLOCK::UpperToLower, TBLOCK::AsciiConvTable,
      TBLOCK::AsciiLowerTable};
  for (int32_t mode = 0; mode < 16; mode++) {
    HASHTAB table(mode & hashFixed ? 4000 : 0, mode);
    std::map<std::string, std::set<void*>> model;
    std::vector<std::string> texts(20000);
    int32_t count = 0;
    Numbers numbers(static_cast<uint32_t>(mode));
    for (std::string& text : texts) {
      for (uint32_t n = 1 + numbers.Below(5); n > 0; n--)
        text += "aAbB\xE9\xC9"[numbers.Below(6)];
      std::string folded = text;
      for (char& c : folded)
        c = static_cast<char>(folds[mode & 3][static_cast<unsigned char>(c)]);
      std::set<void*>& expected = model[folded];
      const TBLOCK key(text.data(), static_cast<uint32_t>(text.size()));
      if (numbers.Below(2)) {
        const bool takes = ((mode & hashDuplicates) || expected.empty()) &&
                           (!(mode & hashFixed) || count < table.slotCount);
        ASSERT_EQ(takes, table.insert(key, &text) >= 0) << mode;
        if (takes) expected.insert(&text);
        count += takes;
      } else {
        void* data = nullptr;
        const int32_t slot = table.find(key, data);
        std::set<void*> same;
        for (int32_t at = slot; at >= 0; table.nextSame(at))
          same.insert(table.getData(at));
        ASSERT_EQ(expected, same) << mode;
        count -= static_cast<int32_t>(expected.erase(data));
        ASSERT_EQ(slot >= 0, table.deleteEntry(slot));
      }
      if (numbers.Below(5000) == 0) table.compress();
    }
    int32_t walked = 0;
    for (int32_t at = table.first(); at >= 0; table.next(at)) walked++;
    ASSERT_EQ(count, walked);
    ASSERT_EQ(count, table.count);
    table.clear();
    ASSERT_EQ(-1, table.first());
  }
}

TEST(HashTabTest, LongestMatch) {
  HASHTAB table(0, hashUpperLower);
  for (const char* key : {"a", "abc", "abcde", "zzzzzzzz"})
    table.insert(TBLOCK(key), nullptr);
  const char* const rows[][2] = {{"", ""},
                                 {"x", ""},
                                 {"ab", "a"},
                                 {"aBCd", "aBC"},
                                 {"abcdefghijk", "abcde"},
                                 {"zzzzzzz", ""},
                                 {"cabc", ""}};
  for (const auto& row : rows) {
    const HeapText text(row[0]);
    EXPECT_EQ(row[1], Str(table.longestMatch(text.view())));
  }
  EXPECT_TRUE(HASHTAB().longestMatch(TBLOCK("a")).empty());
}

// Words whose home slots are close together, whatever the size of the table.
TEST(HashTabTest, BoundedProbesStopCollidingKeys) {
  HASHTAB probe(100000);
  std::vector<std::string> keys;
  std::string key;
  for (uint32_t i = 0; keys.size() < 3000; i++) {
    NthText(i, 6, "abcdefghijklmnopqrstuvwxyz", key);
    const int32_t slot = SlotOf(probe, key);
    if (slot >= 60000 && slot < 60800) keys.push_back(key);
  }
  HASHTAB table;
  table.maxProbes = kHostileProbes;
  for (const std::string& text : keys)
    table.insert(TBLOCK(text.c_str()), nullptr);
  EXPECT_GT(kHostileProbes + 20, table.count);
  EXPECT_LT(1000, table.count);
  EXPECT_GT(2000000u, table.collisions);
  int32_t found = 0;
  for (const std::string& text : keys)
    found += table.findKey(TBLOCK(text.c_str())) >= 0;
  EXPECT_EQ(table.count, found);
}

}  // namespace
