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
  for (const unsigned char* table : tables) {
    for (uint32_t n = 0; n <= 5; n++) {
      for (uint32_t i = 0; NthText(i, n, "|Ii", text); i++) {
        const HeapText t(text);
        const std::string ft = Folded(text, table);
        for (uint32_t m = 0; m <= 3; m++) {
          for (uint32_t k = 0; NthText(k, m, "|Ii", part); k++) {
            const HeapText p(part);
            const std::string fp = Folded(part, table);
            ASSERT_EQ(ft == fp, t.view().equals(p.view(), table));
            ASSERT_EQ(ft.compare(0, m, fp) == 0,
                      t.view().begins(p.view(), table));
            ASSERT_EQ(n >= m && ft.compare(n - m, m, fp) == 0,
                      t.view().ends(p.view(), table));
            for (uint32_t start = 0; start <= n + 1; start++) {
              const size_t at = ft.find(fp, start);
              ASSERT_EQ(at == std::string::npos ? -1 : static_cast<int32_t>(at),
                        t.view().find(p.view(), start, table))
                  << text << " " << part << " " << start;
            }
          }
        }
      }
    }
  }
}

TEST(TblockTest, NullViewIsNothingWhateverItsLength) {
  TBLOCK null(nullptr, 7);
  EXPECT_TRUE(null.empty());
  EXPECT_TRUE(null.equals(TBLOCK("")));
  EXPECT_TRUE(TBLOCK("x").begins(null));
  EXPECT_TRUE(TBLOCK("x").ends(null));
  EXPECT_FALSE(null.begins("x"));
  EXPECT_FALSE(null.ends("x"));
  EXPECT_EQ(0, null.find(""));
  EXPECT_EQ(-1, null.find("", 1));
  EXPECT_EQ(-1, null.find("x"));
  EXPECT_EQ(-1, null.findByte('x'));
  EXPECT_EQ(-1, null.findLastByte('x'));
  EXPECT_EQ(nullptr, null.end());
  null.trim();
  null.convert(TBLOCK::LowerConvTable);
  null.skip(3);
  EXPECT_EQ(nullptr, null.pointer);
  EXPECT_TRUE(TBLOCK(static_cast<const char*>(nullptr)).empty());
}

TEST(TblockTest, MovesStopAtTheEnds) {
  const HeapText text("abc");
  for (uint32_t n : {0u, 1u, 2u, 3u, 4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    SCOPED_TRACE(n);
    const uint32_t kept = n < 3 ? n : 3;
    EXPECT_EQ(std::string("abc").substr(kept), Str(text.view().from(n)));
    EXPECT_EQ(std::string("abc").substr(0, kept), Str(text.view().head(n)));
    TBLOCK view = text.view();
    view.skip(n);
    EXPECT_EQ(text.view().pointer + kept, view.pointer);
    EXPECT_EQ(text.view().end(), view.end());
  }
}

TEST(TblockTest, SingleBytes) {
  const HeapText text(
      std::string("a\0b\xFF"
                  "a",
                  5));
  const struct {
    unsigned char byte;
    uint32_t start;
    int32_t first, last;
  } rows[] = {
      {'a', 0, 0, 4},   {'a', 1, 4, 4},           {'a', 5, -1, 4},
      {0, 0, 1, 1},     {0xFF, 3, 3, 3},          {0xFF, 4, -1, 3},
      {'A', 0, -1, -1}, {'a', 0xFFFFFFFF, -1, 4},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.first, text.view().findByte(row.byte, row.start));
    EXPECT_EQ(row.last, text.view().findLastByte(row.byte));
  }
}

TEST(TblockTest, TrimTakesItsClassOnly) {
  const struct {
    std::string text, left, right, both;
  } rows[] = {
      {"", "", "", ""},
      {" \t\r\n", "", "", ""},
      {" a b\t", "a b\t", " a b", "a b"},
      {"\v a", "\v a", "\v a", "\v a"},
      {"a\f", "a\f", "a\f", "a\f"},
      {"\xA0 a", "\xA0 a", "\xA0 a", "\xA0 a"},
      {std::string(" \0 ", 3), std::string("\0 ", 2), std::string(" \0", 2),
       std::string("\0", 1)},
  };
  for (const auto& row : rows) {
    const HeapText text(row.text);
    TBLOCK left = text.view();
    TBLOCK right = left;
    TBLOCK both = left;
    left.trimLeft();
    right.trimRight();
    both.trim();
    EXPECT_EQ(row.left, Str(left));
    EXPECT_EQ(row.right, Str(right));
    EXPECT_EQ(row.both, Str(both));
  }
  TBLOCK marks("..a,.");
  marks.trim(bitDot | bitComma);
  EXPECT_EQ("a", Str(marks));
}

TEST(TblockTest, ConvertFoldsOnceAndStaysInside) {
  HeapText text("x|IX\xC9y");
  text.view().from(1).head(4).convert(TBLOCK::LowerConvTable);
  EXPECT_EQ("xIixey", text.str());
}

}  // namespace
