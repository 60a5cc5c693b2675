#include "content/text_set.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/heap_text.h"

namespace {

// All texts of up to six letters, some of which share their first or last
// words, and numbers with a common front.
TEST(TextSetTest, FindsWhatWasAdded) {
  std::string all;
  std::vector<std::pair<uint32_t, uint32_t>> places;
  const auto put = [&](const std::string& text) {
    places.push_back({static_cast<uint32_t>(all.size()),
                      static_cast<uint32_t>(text.size())});
    all += text;
  };
  std::string text;
  for (uint32_t length = 0; length <= 6; length++)
    for (uint32_t i = 0; NthText(i, length, "ab", text); i++) put(text);
  for (int i = 0; i < 800; i++)
    put("a common front of sixteen" + std::to_string(i) + "\n");
  const HeapText bytes(all);
  const uint32_t most = static_cast<uint32_t>(places.size()) - 20;
  TEXTSET set(most);
  for (int round = 0; round < 2; round++) {
    for (size_t i = 0; i < places.size(); i++) {
      const TBLOCK view =
          bytes.view().from(places[i].first).head(places[i].second);
      const uint32_t hash = set.hashOf(view);
      EXPECT_EQ(-1, set.find(view, hash));
      EXPECT_EQ(i < most ? static_cast<int32_t>(i) : -1, set.add(view, hash));
    }
    EXPECT_EQ(static_cast<int32_t>(most), set.count());
    for (size_t i = 0; i < places.size(); i++) {
      const HeapText copy(all.substr(places[i].first, places[i].second));
      const int32_t number = i < most ? static_cast<int32_t>(i) : -1;
      EXPECT_EQ(number, set.find(copy.view(), set.hashOf(copy.view())));
    }
    set.clear();
    EXPECT_EQ(-1, set.find(bytes.view(), set.hashOf(bytes.view())));
  }
}

// Equal hashes are told apart by the text.
TEST(TextSetTest, Collisions) {
  const HeapText texts("abcabdab");
  TEXTSET set(3);
  EXPECT_EQ(0, set.add(texts.view().head(3), 7));
  EXPECT_EQ(1, set.add(texts.view().from(3).head(3), 7));
  EXPECT_EQ(2, set.add(texts.view().from(6), 7));
  EXPECT_EQ(1, set.find(TBLOCK("abd"), 7));
  EXPECT_EQ(2, set.find(TBLOCK("ab"), 7));
  EXPECT_EQ(-1, set.find(TBLOCK("abe"), 7));
}

}  // namespace
