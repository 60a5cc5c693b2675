#include "content/text_set.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/heap_text.h"

namespace {

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
