#include "rules/section_name.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"

namespace {

TEST(SectionNameTest, PiecesAndTheLongestName) {
  SECTIONNAME name;
  name.add("No-").add(HeapText(std::string("a\0b", 3)).view()).add("-Regex");
  EXPECT_STREQ("No-a-Regex", name.c_str());
  EXPECT_EQ(10u, name.view().length);
  // A "+" and a name that no section has yet.
  const std::string most(kMaxSectionName, 'x');
  name.clear();
  EXPECT_EQ(most, name.add(HeapText(most).view()).c_str());
  // One more, and whatever comes behind, leave none.
  EXPECT_STREQ("", name.add("y").c_str());
  EXPECT_STREQ("", name.add("z").c_str());
  name.clear();
  EXPECT_STREQ("z", name.add("z").add(TBLOCK()).c_str());
}

}  // namespace
