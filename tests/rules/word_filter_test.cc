// The filter of lines against the search without it.

#include "rules/word_filter.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/source_util.h"

namespace {

struct Words {
  explicit Words(const std::string& line) : text(line), list(0) {
    TBLOCK::GetBlockWordList(text.view(), list, bitWhiteSpace);
  }
  const HeapText text;
  TBLOCKVECT list;
};

struct Row {
  const char* line;
  const char* text;
  bool may;
};

TEST(WordFilterTest, LinesOfTexts) {
  const Row rows[] = {
      {"buy", "x Buy x", true},
      {"buy", "xbuy buyx bu", false},
      {"buy", "b\xDCY", true},
      {"bue", "B\xDC\xC9", true},
      // Where a word may end.
      {"buy", "buy-x", true},
      {"buy", "buy_", true},
      {"buy", "buy'x", true},
      {"buy", "buy.", true},
      {"buy", "buy..", false},
      {"buy", "buy|", true},
      {"buy", "buys", false},
      {"buy&", "buys", true},
      {"buy&", "buy$.", true},
      {"buy&", "buyx", false},
      {"buy.", "buy.x", true},
      {"buy.&", "buy.s", true},
      // Filler, in the word and in the pattern.
      {"buy", "b.u-y", true},
      {"b-uy", "buy", true},
      {"-", "x", true},
      // Stars.
      {"buy*", "buyer", true},
      {"buy*", "xbuyer", false},
      {"*buyer", "xbuyers xbuyer", true},
      {"*buyer", "xbuy", false},
      {"*buyer*", "xbuyers", true},
      {"*uy", "xbuy", true},
      {"*uy", "xbuyx", false},
      {"*uy&", "xbuys", true},
      {"*uy*", "x", true},
      {"*", "x", true},
      {"bu*er", "buxer", true},
      {"bu*er", "bx", false},
      {"\\*bu", "*bu", true},
      // Bytes that stand for many.
      {"bu#", "bu7", true},
      {"bu#", "b7", false},
      {"*bu~er", "xbuyer", true},
      {"~uy", "x", true},
      {"#", "x", true},
      {"@", "x", true},
      {"@@ buy", "x", false},
      {"@@ buy", "x buy", true},
      {"buy?", "x", true},
      {"buy it?", "buy", true},
      {"(~)buy", "x", true},
      // Longer than what is looked at.
      {"abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvwxyz", true},
      {"abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvw", false},
      // Groups and alternatives.
      {"buy now", "buy", false},
      {"buy now|sell", "sell", true},
      {"buy now|sell", "now", false},
      {"buy|#", "x", true},
      {"buy|#+now", "x", false},
      {"buy+sell|trade now+it", "it trade buy now", true},
      {"buy+sell|trade now+it", "it trade buy", false},
      {"buy+sell|trade now+it", "buy sell", false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.line) + " / " + row.text);
    TQMDICO dico(nullptr, nullptr);
    ASSERT_TRUE(LoadSource(dico, std::string("[words]\n") + row.line));
    const WORDFILTER filter(dico.image());
    const std::unique_ptr<TBITSET[]> lines(
        filter.linesFor(Words(row.text).list));
    ASSERT_TRUE(lines);
    EXPECT_EQ(row.may, HasBit(lines.get(), 0));
  }
}

TEST(WordFilterTest, NextBit) {
  const TBITSET set[] = {1u << 31 | 1, 0, 2};
  const uint32_t rows[][3] = {{0, 96, 0},   {1, 96, 31},  {32, 96, 65},
                              {32, 65, 65}, {66, 80, 80}, {5, 5, 5},
                              {32, 40, 40}, {31, 32, 31}};
  for (const auto& row : rows)
    EXPECT_EQ(row[2], NextBit(set, row[0], row[1])) << row[0] << " " << row[1];
}

std::string AllCounts(TQMDICO& dico) {
  std::string counts;
  for (uint32_t l = 0; l < dico.image().lineCount; l++)
    counts += std::to_string(dico.countsOf(dico.image().line(l)).matchCount);
  return counts;
}

// What all sections find in the words.
std::string SearchAll(TQMDICO& dico, const TBLOCKVECT& words) {
  std::string found;
  dico.keepWords(words);
  for (uint32_t s = 0; s < dico.image().sectionCount; s++) {
    int32_t hits = 0;
    found += " " + std::to_string(dico.findKeywords(
                       dico.image().section(s), words, TBLOCK(), 0, 0, hits));
    found += AllCounts(dico);
  }
  const TQKLINE* line = nullptr;
  found += std::to_string(dico.findFirstKeyword("b", words, TBLOCK(), line));
  found += std::to_string(dico.beginByKeywords("c", words, TBLOCK(), line));
  dico.forgetWords();
  return found + AllCounts(dico);
}

// Images in which any number may be wrong: nothing is read out of place, and
// lines that share records are found as without the filter.
TEST(WordFilterTest, DamagedImages) {
  const std::string sound = CompileSource(
      "[a]\nbuy now|sell+it\n*trade|x y\n<&3>pay*\n[b]\nnow|it sell\n(!)buy\n"
      "[c]\nit+now>buy|y\nx\n[#d]\nbuy\n[e]\npay sell buy\nz now|it");
  const Words words("now buy it x y trade paying sell it z buy now pay");
  Numbers numbers(5);
  const uint32_t size = static_cast<uint32_t>(sound.size());
  int32_t differing = 0;
  TQMDICO whole(nullptr, nullptr);
  ASSERT_TRUE(whole.loadKeywordsFromBlock(BlockOf(sound)));
  const std::string all = SearchAll(whole, words.list);
  for (int round = 0; round < 300; round++) {
    std::string image = sound;
    for (uint32_t n = 1 + numbers.Below(3); n; n--) {
      const uint32_t at = hwSections + numbers.Below((size - 16) / 4) * 4;
      const uint32_t kind = numbers.Below(3);
      const uint32_t random = numbers.Below(1 << 16) << 16 | numbers.Below(99);
      SetWord(image, at,
              kind ? WordAt(image, at) + kind - 2 + numbers.Below(4) : random);
    }
    TQMDICO plain(nullptr, nullptr), prepared(nullptr, nullptr);
    plain.loadKeywordsFromBlock(BlockOf(image));
    prepared.loadKeywordsFromBlock(BlockOf(image));
    prepared.prepareRules();
    const std::string expected = SearchAll(plain, words.list);
    ASSERT_EQ(expected, SearchAll(prepared, words.list)) << round;
    differing += expected != all;
  }
  EXPECT_GT(differing, 30);
}

}  // namespace
