#include "base/tblock.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"

namespace {

std::string Folded(std::string text, const unsigned char* table) {
  for (char& c : text)
    c = static_cast<char>(table[static_cast<unsigned char>(c)]);
  return text;
}

// All texts of up to 5 letters against all of up to 3. The letters hold both
// steps of "|" -> "I" -> "i", so that folding a side twice would show.
TEST(TblockTest, ComparisonsAgreeWithFoldedStrings) {
  const unsigned char* const tables[] = {TBLOCK::NoConvTable,
                                         TBLOCK::LowerConvTable};
  std::string text;
  std::string part;
  for (const unsigned char* table : tables)
    for (uint32_t i = 0; i < 6 * 243; i++) {
      const uint32_t n = i / 243;
      if (!NthText(i % 243, n, "|Ii", text)) continue;
      const HeapText t(text);
      const std::string ft = Folded(text, table);
      for (uint32_t k = 0; k < 4 * 27; k++) {
        const uint32_t m = k / 27;
        if (!NthText(k % 27, m, "|Ii", part)) continue;
        const HeapText p(part);
        const std::string fp = Folded(part, table);
        ASSERT_EQ(ft == fp, t.view().equals(p.view(), table));
        ASSERT_EQ(ft.compare(0, m, fp) == 0, t.view().begins(p.view(), table));
        ASSERT_EQ(n >= m && ft.compare(n - m, m, fp) == 0,
                  t.view().ends(p.view(), table));
        for (uint32_t start = 0; start <= n + 1; start++)
          ASSERT_EQ(static_cast<int32_t>(ft.find(fp, start)),
                    t.view().find(p.view(), start, table))
              << text << " " << part << " " << start;
      }
    }
}

// Every byte is found in every place, and only where it agrees: long texts are
// searched in steps.
TEST(TblockTest, SearchForEachByteInEachPlace) {
  for (const unsigned char filler : {' ', '\xE9'})
    for (int wanted = 0; wanted < 256; wanted++) {
      const char byte = static_cast<char>(wanted);
      const unsigned char folded = TBLOCK::LowerConvTable[wanted];
      if (folded == TBLOCK::LowerConvTable[filler]) continue;
      const HeapText pattern(&byte, 1);
      for (int other = 0; other < 256; other++) {
        std::string text(35, static_cast<char>(filler));
        const size_t at = static_cast<size_t>(other) % 35;
        text[at] = static_cast<char>(other);
        const bool same = TBLOCK::LowerConvTable[other] == folded;
        ASSERT_EQ(same ? static_cast<int32_t>(at) : -1,
                  HeapText(text).view().find(pattern.view()))
            << wanted << " " << other;
      }
    }
}

// Patterns that nearly match everywhere, so that the search changes its way.
TEST(TblockTest, SearchOfWhatNearlyMatches) {
  const char* const units[] = {"a", "aB", "aab", "Abaab"};
  for (const char* unit : units)
    for (size_t size = 200; size < 220; size++) {
      std::string text, part;
      while (text.size() < 1500) text += unit;
      part = text.substr(0, size) + "bb" + unit;
      text += "bb" + text;
      const std::string folded = Folded(text, TBLOCK::LowerConvTable);
      const HeapText t(text), p(part), absent(part + "?");
      EXPECT_EQ(static_cast<int32_t>(text.find(part)),
                t.view().find(p.view(), 0, TBLOCK::NoConvTable));
      EXPECT_EQ(static_cast<int32_t>(
                    folded.find(Folded(part, TBLOCK::LowerConvTable))),
                t.view().find(p.view()));
      EXPECT_EQ(-1, t.view().find(absent.view()));
    }
}

TEST(TblockTest, NullViewIsNothingWhateverItsLength) {
  TBLOCK null(nullptr, 7);
  EXPECT_TRUE(null.equals(TBLOCK("")));
  EXPECT_TRUE(TBLOCK("x").begins(null));
  EXPECT_TRUE(TBLOCK("x").ends(null));
  EXPECT_FALSE(null.begins("x"));
  EXPECT_EQ(0, null.find(""));
  EXPECT_EQ(-1, null.find("", 1));
  EXPECT_EQ(-1, null.findByte('x'));
  EXPECT_EQ(nullptr, null.end());
  null.trim();
  null.convert(TBLOCK::LowerConvTable);
  null.skip(3);
  EXPECT_EQ(nullptr, null.pointer);
}

}  // namespace
