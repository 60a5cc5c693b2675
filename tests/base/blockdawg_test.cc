// Word graphs: the built-in one against its list, and images made by hand.

#include "base/blockdawg.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "base/heap_text.h"
#include "data/tld_graph.h"

namespace {

std::string Word(uint32_t word) {
  std::string out;
  for (int i = 0; i < 4; i++) out += static_cast<char>(word >> 8 * i);
  return out;
}

std::string Image(uint32_t root, uint32_t count, const std::string& edges) {
  return "gHd\1...." + Word(root) + Word(count) + Word(7) + Word(8) +
         std::string(8, 0) + edges;
}

TEST(BlockDawgTest, BuiltInGraphHoldsExactlyItsList) {
  std::set<std::string> names;
  std::ifstream file("src/data/public_suffixes.txt");
  for (std::string line; std::getline(file, line);)
    if (!line.empty() && line[0] != '#') names.insert(line);
  ASSERT_LT(3000u, names.size());

  BLOCKDAWG graph;
  ASSERT_EQ(1, graph.loadFromBlock(TBLOCK(kTldGraph, kTldGraphBytes)));
  EXPECT_EQ(kTldGraphBytes, 32 + 4 * graph.edgeCount);
  Numbers numbers(5);
  uint32_t misses = 0;
  for (const std::string& name : names) {
    std::string upper = name;
    for (char& c : upper) c = static_cast<char>(toupper(c));
    EXPECT_TRUE(graph.hasWord(name.c_str()) && graph.hasWord(upper.c_str()))
        << name;
    const size_t at = numbers.Below(static_cast<uint32_t>(name.size()));
    const char letter = "abcdefghijklmnopqrstuvwxyz.-0"[numbers.Below(29)];
    std::string near[] = {name, name.substr(0, at), name.substr(1),
                          name.substr(0, at) + letter + name.substr(at)};
    near[0][at] = letter;
    for (const std::string& text : near) {
      const HeapText word(text);
      misses += !names.count(text);
      EXPECT_EQ(static_cast<int>(names.count(text)), graph.find(word.view()))
          << text;
    }
  }
  EXPECT_LT(10000u, misses);
}

// Edges: child, ends, last, letter.
std::string Edge(uint32_t child, bool ends, bool last, char letter) {
  return Word(child | ends << 22 | last << 23 |
              static_cast<uint32_t>(static_cast<unsigned char>(letter)) << 24);
}

TEST(BlockDawgTest, ImagesMadeByHand) {
  // "AB", "ABC", "x" and, by a node that leads to itself, "xxx...".
  const std::string good = Edge(0, true, false, 'a') + Edge(2, true, true, 0) +
                           Edge(4, false, false, 'A') +
                           Edge(3, true, true, 'x') + Edge(5, true, true, 'B') +
                           Edge(0, true, true, 'c');
  const std::string cut = good.substr(0, 12), runaway(1196, '\0');
  const struct {
    std::string image;
    int loads;
    std::string found, absent;
  } rows[] = {
      {Image(1, 6, good) + "tail", 1, "ab|aBc|ABC|X|xxxxxx", "a|abcd|b|abx|xa"},
      {Image(0, 6, good), 1, "", "ab|x|a"},   // the root is no edge
      {Image(1, 5, good), 1, "ab|x", "abc"},  // a child behind the end
      {Image(1, 0, good), 1, "", "ab"},
      {Image(6, 6, good), 0, "", "ab"},
      {Image(1, 7, good), 0, "", "ab"},
      {Image(1, 0x40000006, good), 0, "", "ab"},
      {"gxd" + Image(1, 6, good).substr(3), 0, "", "ab"},
      {Image(1, 0, "").substr(0, 31), 0, "", "ab"},
      {"", 0, "", "ab"},
      // A node without a last edge ends where the edges do, or after 256.
      {Image(1, 3, cut), 1, "", "ab|x|b"},
      {Image(0, 301, Edge(1, 0, 1, 0) + runaway + Edge(0, 1, 1, 'a')), 1, "",
       "a"}};
  for (const auto& row : rows) {
    BLOCKDAWG graph, borrowed;
    graph.loadFromBlock(TBLOCK(kTldGraph, kTldGraphBytes));
    const HeapText image(row.image);
    EXPECT_EQ(row.loads, graph.loadFromBlock(image.view())) << row.image;
    EXPECT_EQ(row.loads, borrowed.useBlock(image.view()));
    const std::string all = row.found + "|" + row.absent;
    TBLOCKVECT words;
    words.fillFromBigBlock(TBLOCK(all.c_str()), '|', 0);
    for (int32_t i = 0; i < words.count(); i++) {
      const HeapText word(Str(words.get(i)));
      const int there = ("|" + row.found + "|").find("|" + word.str() + "|") !=
                        std::string::npos;
      EXPECT_EQ(there, graph.find(word.view())) << word.str();
      EXPECT_EQ(there, borrowed.find(word.view())) << word.str();
    }
    EXPECT_EQ(0, graph.hasWord("") | graph.hasWord(nullptr));
  }
}

}  // namespace
