// The search by prepared lines against one without.

#include "rules/pattern_index.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/image_util.h"
#include "rules/source_util.h"

namespace {

const char kWordBytes[] = "vviaagrrAVGIR1|!@.-'$s~8O0#*+lt3\xA0\xE9";
const char kPatternBytes[] = "vviaaggrrslt#~\\&*.-\xE9I";

std::string RandomPattern(Numbers& numbers) {
  std::string pattern;
  for (uint32_t n = 1 + numbers.Below(7); n; n--)
    pattern += kPatternBytes[numbers.Below(numbers.Below(3) ? 11 : 21)];
  return pattern;
}

// The pattern in disguise, or anything.
std::string RandomWord(Numbers& numbers, const std::string& pattern) {
  std::string word;
  const uint32_t all = sizeof kWordBytes - 1;
  for (const char c : numbers.Below(3) ? pattern : RandomPattern(numbers)) {
    if (strchr("\\*&", c) || numbers.Below(12) == 0) continue;
    if (numbers.Below(12) == 0) word += kWordBytes[numbers.Below(all)];
    word += numbers.Below(12) ? c : kWordBytes[numbers.Below(all)];
    if (numbers.Below(10) == 0) word += c;
  }
  if (numbers.Below(3) == 0) word += kWordBytes[numbers.Below(all)];
  return word;
}

uint32_t RandomOptions(Numbers& numbers) {
  const uint32_t kind = numbers.Below(4);
  if (kind < 2) return kind * moTips;
  return numbers.Below(0x10000) & KWLINEFLAGMATCH;
}

TEST(PatternIndexTest, NoMatchIsRefused) {
  Numbers numbers(3);
  int found = 0, refused = 0;
  for (int i = 0; i < 200000; i++) {
    std::string pattern = RandomPattern(numbers);
    if (numbers.Below(6) == 0) pattern = "*" + pattern;
    if (numbers.Below(6) == 0)
      pattern += "*" + (numbers.Below(2) ? RandomPattern(numbers) : "");
    const HeapText line(pattern), word(RandomWord(numbers, pattern));
    const uint32_t options = RandomOptions(numbers);
    int64_t work = 10000;
    const bool match = BlockCompareWildcard(word.view(), line.view(), options,
                                            nullptr, nullptr, work) != 0;
    const bool may =
        MayMatch(WordShape(word.view()), PatternShape(line.view()), options);
    ASSERT_TRUE(may || !match)
        << word.str() << " / " << pattern << " " << options;
    found += match;
    refused += !may;
  }
  EXPECT_GT(found, 40000);
  EXPECT_GT(refused, 40000);
}

// A line as in source: words, phrases, alternatives and groups.
std::string RandomLine(Numbers& numbers) {
  static const char* const kOptions[] = {"",     "(!)",  "(=)", "(/)",
                                         "(-+)", "(%&)", "(^)", "(!)"};
  static const char* const kJoiners[] = {"+", ">", ",", "|", "|", " "};
  std::string line = numbers.Below(2) ? "" : kOptions[numbers.Below(8)];
  line += numbers.Below(3) ? "<7>" : "<&7>";
  line += RandomPattern(numbers);
  for (uint32_t n = numbers.Below(4); n; n--) {
    line += kJoiners[numbers.Below(6)];
    if (numbers.Below(5) == 0) line += "*";
    line += RandomPattern(numbers);
    if (numbers.Below(5) == 0) line += "?";
  }
  return line;
}

bool HasKey(TBLOCK word, unsigned char key) {
  if (!key || GetWordKey(word) == key) return true;
  if (word.length <= 3) return false;
  static const char kAlike[] =
      "0O1I1L3E4A5S6B6G@A$S|L\xC7"
      "EO#lI";
  for (const char* pair = kAlike; *pair; pair += 2)
    if (word[0] == static_cast<unsigned char>(pair[0]) && key == pair[1])
      return true;
  return false;
}

std::string CountsOf(TQMDICO& dico, const TQKSECTION* section) {
  std::string counts;
  for (uint32_t l = 0; l < dico.image().lineCountOf(section); l++) {
    const TLINECOUNTS& of = dico.countsOf(dico.image().sectionLine(section, l));
    counts += std::to_string(l) + ":" + std::to_string(of.matchCount) + "," +
              std::to_string(of.tipCount) + " ";
  }
  return counts;
}

// What findKeywords says, by one line and one word after the other.
int32_t SlowSearch(TQMDICO& dico, const TQKSECTION* section,
                   const TBLOCKVECT& words, int onlyWithTips) {
  dico.clearSectionMatchCount(section);
  int32_t sum = 0;
  for (uint32_t l = 0; l < dico.image().lineCountOf(section); l++) {
    const TQKLINE* line = dico.image().sectionLine(section, l);
    for (int32_t i = 0; i < words.count(); i++)
      if (HasKey(words.get(i), line->key) &&
          dico.matchLine(line, words, i, TBLOCK("aria@x.org"), onlyWithTips))
        sum += line->score;
  }
  return sum;
}

TEST(PatternIndexTest, SearchIsThatOfOneLineAtATime) {
  Numbers numbers(11);
  int32_t found = 0;
  for (int round = 0; round < 60; round++) {
    std::string source = "[words]\n", text;
    for (int i = 0; i < 60; i++) source += RandomLine(numbers) + "\n";
    // Up to three parts of the sets of words.
    for (uint32_t n = numbers.Below(150); n; n--)
      text += RandomWord(numbers, RandomPattern(numbers)) + " ";
    TQMDICO dico(nullptr, nullptr);
    ASSERT_TRUE(LoadSource(dico, source));
    const HeapText heap(text);
    TBLOCKVECT words(0);
    TBLOCK::GetBlockWordList(heap.view(), words, bitWhiteSpace);
    const TQKSECTION* section = dico.findSection("words");
    const int tips = round % 4 == 0;
    int32_t hits = 0;
    const int32_t sum =
        dico.findKeywords(section, words, TBLOCK("aria@x.org"), tips, 0, hits);
    const std::string counts = CountsOf(dico, section);
    // Once more, by those lines that the filter lets pass.
    dico.clearSectionTipCount(section);
    dico.prepareRules();
    int32_t filteredHits = 0;
    ASSERT_EQ(sum, dico.findKeywords(section, words, TBLOCK("aria@x.org"), tips,
                                     0, filteredHits));
    ASSERT_EQ(hits, filteredHits);
    ASSERT_EQ(CountsOf(dico, section), counts) << source << text;
    dico.clearSectionTipCount(section);
    ASSERT_EQ(SlowSearch(dico, section, words, tips), sum);
    ASSERT_EQ(CountsOf(dico, section), counts) << source << text;
    found += hits;
  }
  EXPECT_GT(found, 250);
}

}  // namespace
