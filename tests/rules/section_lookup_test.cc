// One text against sections of each type.

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/qm_dico.h"

namespace {

// The line that a lookup found, as "section line", or "".
class SectionLookupTest : public testing::Test {
 protected:
  SectionLookupTest() : dico(nullptr, nullptr) {}
  void load(const std::vector<IMAGESECTION>& sections) {
    ASSERT_TRUE(dico.loadKeywordsFromBlock(BlockOf(MakeImage(sections))));
  }
  std::string scan(const char* section, const std::string& text, int clear) {
    const HeapText heap(text);
    const TQKLINE* line = nullptr;
    if (!dico.scanBlock(section, heap.view(), line, clear)) return "";
    STR out;
    dico.getLineText(line, out, 0);
    return out.c_str();
  }

  TQMDICO dico;
};

TEST_F(SectionLookupTest, LinesCountOnceOrEachTime) {
  load({{"s", stString, 0, {"label|a|b*", "<&1>*b", "*"}},
        {"r", stRegex, 0, {"^a", "b~c"}},
        {"p", stPattern, 0, {"abc", "a"}},
        {"n", stNamedRegex, 0, {"abc:abc"}},
        {"l", stLiteral, 0, {"\"abc\""}}});
  EXPECT_EQ("label|a|b*", scan("s", "A|B", 0));
  EXPECT_EQ("*b", scan("s", "a|b", 0));
  EXPECT_EQ("*b", scan("s", "a|b", 0));
  EXPECT_EQ("*", scan("s", "x", 0));
  EXPECT_EQ("", scan("s", "x", 0));
  EXPECT_EQ("*", scan("S", "x", 1));
  EXPECT_EQ("^a", scan("r", "ab", 0));
  EXPECT_EQ("b~c", scan("r", "ab", 0));
  EXPECT_EQ("", scan("r", "ab", 0));
  EXPECT_EQ("", scan("r", "abc", 0));
  EXPECT_EQ("abc", scan("p", "abc", 0));
  EXPECT_EQ("", scan("p", "abc", 0));
  EXPECT_EQ("abc", scan("p", "abc", 1));
  EXPECT_EQ("", scan("n", "abc", 0));
  EXPECT_EQ("", scan("l", "abc", 0));
  EXPECT_EQ("", scan("none", "abc", 0));
}

TEST_F(SectionLookupTest, SumsOfStrings) {
  load({{"s", stString, 0, {"<5>a*", "<&-2>*c", "<100>b"}},
        {"big", stString, 0, {"<900000000>*", "<900000000>*"}}});
  EXPECT_EQ(3, dico.scanString("s", TBLOCK("abc"), 0));
  EXPECT_EQ(-2, dico.scanString("s", TBLOCK("abc"), 0));
  EXPECT_EQ(3, dico.scanString("s", TBLOCK("abc"), 1));
  EXPECT_EQ(5 * 2 - 2 * 3, dico.sectionScore("s"));
  EXPECT_EQ(1000000000, dico.scanString("big", TBLOCK("abc"), 0));
  TLINECOUNTS& counts = dico.countsOf(dico.image().line(1));
  counts.matchCount = 65535;
  dico.scanString("s", TBLOCK("c"), 0);
  EXPECT_EQ(65535, counts.matchCount);
}

// A prepared section knows what texts begin and end with that its lines match:
// which of these is found first does not change.
TEST_F(SectionLookupTest, NamesOfPreparedSections) {
  const char* const ends[] = {"^", "^(?i)", "(?i)^", "",
                              "",  "$",     "[.:]$", "?$"};
  const char* const texts[] = {"a",  "[ab]",      "(aa|b|c.|)", "(?i)b",
                               ".",  "(b|c|a|x)", "\\.",        "[^a]+",
                               "c?", "a|^b",      "(a$|:)",     "a*"};
  TQMDICO plain(nullptr, nullptr);
  Numbers numbers(5);
  uint32_t found = 0;
  for (uint32_t round = 0; round < 300; round++) {
    std::vector<std::string> lines;
    for (uint32_t i = 0, n = 8 + numbers.Below(40); i < n; i++) {
      std::string pattern = ends[numbers.Below(5)];
      for (uint32_t k = 0; k < 1 + numbers.Below(3); k++)
        pattern += texts[numbers.Below(sizeof texts / sizeof *texts)];
      if (numbers.Below(2)) pattern += ends[5 + numbers.Below(3)];
      if (numbers.Below(8) == 0) pattern += numbers.Below(2) ? "~c" : "~^";
      lines.push_back((numbers.Below(9) ? "n:" : "") + pattern);
    }
    const std::string image = MakeImage({{"n", stNamedRegex, 0, lines}});
    ASSERT_TRUE(plain.loadKeywordsFromBlock(BlockOf(image)));
    ASSERT_TRUE(dico.loadKeywordsFromBlock(BlockOf(image)));
    dico.prepareRules();
    for (uint32_t i = 0; i < 60; i++) {
      std::string bytes;
      for (uint32_t k = numbers.Below(6); k > 0; k--)
        bytes += "abcABC.:x\n"[numbers.Below(10)];
      const HeapText text(bytes);
      const TQKLINE *want = nullptr, *line = nullptr;
      plain.compareNamedRegex(plain.findSection("n"), text.view(), want);
      dico.compareNamedRegex(dico.findSection("n"), text.view(), line);
      ASSERT_EQ(want ? plain.image().lineNumber(want) : ~0u,
                line ? dico.image().lineNumber(line) : ~0u)
          << "round " << round << ": " << bytes;
      if (want) found++;
    }
  }
  EXPECT_GT(found, 5000u);
}

TEST_F(SectionLookupTest, MacrosDoNotExplode) {
  load({{"m", stNamedRegex, 0, std::vector<std::string>(60, "aaa:a")}});
  STR out;
  dico.replaceRegexMacro("m", TBLOCK("a"), out, "", "");
  EXPECT_GT(out.len(), 1000);
  EXPECT_LT(out.len(), 2 << 20);
}

}  // namespace
