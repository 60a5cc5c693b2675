#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/keyword_compare.h"
#include "rules/source_util.h"

namespace {

// The words of a text, cut at blanks.
struct Words {
  explicit Words(const std::string& line) : text(line), list(0) {
    TBLOCK::GetBlockWordList(text.view(), list, bitWhiteSpace);
  }
  const HeapText text;
  TBLOCKVECT list;
};

struct Row {
  const char* pattern;  // a line of source
  const char* text;
  int32_t matches;  // of the line, by findKeywords
};

// Runs one line over one text by findKeywords; how often it matched.
int32_t Matches(const Row& row, int onlyWithTips, int32_t maxWords) {
  TQMDICO dico(nullptr, nullptr);
  if (!LoadSource(dico, std::string("[words]\n") + row.pattern)) return -1;
  Words words(row.text);
  HeapText address("john@x.org");
  int32_t hits = -1;
  const TQKSECTION* section = dico.findSection("Words");
  const int32_t sum = dico.findKeywords(section, words.list, address.view(),
                                        onlyWithTips, maxWords, hits);
  const int32_t count =
      dico.countsOf(dico.image().sectionLine(section, 0)).matchCount;
  EXPECT_EQ(count * 100, sum);
  EXPECT_EQ(count ? 1 : 0, hits);
  // What is kept of a list goes with forgetWords, ahead of other words in it;
  // until then it serves searches with other limits.
  TBLOCKVECT list(0);
  for (int32_t i = 0; i < words.list.count(); i++) list.add(TBLOCK("?"), 0, 0);
  const auto search = [&](int tips, int32_t limit) {
    return dico.findKeywords(section, list, address.view(), tips, limit, hits);
  };
  dico.keepWords(list);
  search(0, 0);
  dico.forgetWords();
  for (int32_t i = 0; i < list.count(); i++) list.set(words.list.get(i), i);
  EXPECT_EQ(sum, search(onlyWithTips, maxWords));
  dico.keepWords(list);
  search(0, 1);
  EXPECT_EQ(sum, search(onlyWithTips, maxWords));
  return count;
}

const char kFar[] = "a 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 b";

TEST(KeywordSearchTest, Lines) {
  const std::string near = std::string(kFar).replace(2, 2, "");
  const Row rows[] = {
      {"buy", "x Buy x", 1},
      {"buy", "buy buy buy", 1},
      {"<&100>buy", "buy buy buy buy buy", 3},
      {"buy", "", 0},
      // Phrases, alternatives, optional words.
      {"buy now", "buy it now", 0},
      {"buy now", "x buy buy now", 1},
      {"buy it? now", "buy now", 1},
      {"buy it? now", "buy it now", 1},
      {"buy it?", "buy", 1},
      {"it?", "x", 0},
      {"it?", "it", 1},
      {"it\\?", "it?", 1},
      {"sell|buy now", "sell buy", 1},
      {"* now", "now", 0},
      {"* now", "x now", 1},
      // The first alternative gives the key.
      {"viagra|cialis", "cialis", 0},
      {"viagra|cialis", "vx cialis", 1},
      // "+" looks to the end, "," anywhere, ">" at 20 words.
      {"a+b", "a x x b", 1},
      {"a+b", "b a", 0},
      {"a,b", "b a", 1},
      {"a,a", "a x", 1},
      {"a,b", "a", 0},
      {"a>b", kFar, 0},
      {"a>b", near.c_str(), 1},
      {"a+b", kFar, 1},
      {"a+b>c", "a b x c", 1},
      {"a>b+c", "a b a b a c", 1},
      {"a+b+c", "a c b", 0},
      // A later place of the first group gets its chance.
      {"a>b", "a 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 a b", 1},
      {"a b? c?+b", "a b c a b", 1},
      // Disguised keys.
      {"(~)viagra", "v1agra", 1},
      {"(~)sex|x", "$exx", 0},
      {"(~)south", "5outh", 1},
      {"(~)ale", "4le", 0},  // of three bytes: not under other keys
      {"(~)alex", "@lex", 1},
      {"(~)late", "|ate", 1},
      {"#mg", "10mg", 1},
      {"#", "O100", 1},
      {"(!)*via*", "x-v1agra", 1},
      // Words with a meaning of their own.
      {"@", "to JOHN@x.org", 1},
      {"dear ?", "dear John", 1},
      {"dear ?", "dear Jack", 0},
      {"@@", "x a@b.de", 1},
      // A word spread over blocks.
      {"(/)viagra now", "via gra now", 1},
      {"(/)viagra now", "via - gra now", 1},
      {"buy *-free&", "buy sugar-free", 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.pattern) + " / " + row.text);
    EXPECT_EQ(row.matches, Matches(row, 0, 0));
  }
}

TEST(KeywordSearchTest, OtherSearches) {
  TQMDICO dico(nullptr, nullptr);
  ASSERT_TRUE(LoadSource(dico,
                         "[#bones]\nvgr\ncls*\n[#broken]\ncheap pills\n..\n"
                         "[domain]\npill&|meds|md"));
  const TQKLINE* line = nullptr;
  const char* const bones[][2] = {
      {"vgr", "1"},  {"ViaGra", "1"}, {"vgrx", ""},    {"vg", ""},
      {"aeiou", ""}, {"clsxyz", "1"}, {"cialis", "1"}, {"x cl", ""}};
  for (const auto& row : bones) {
    Words words(row[0]);
    EXPECT_EQ(row[1][0] != 0,
              dico.checkConsonantSection("bones", words.list, line))
        << row[0];
  }
  struct BrokenRow {
    const char* text;
    int32_t maxLines, hits;
  };
  const BrokenRow broken[] = {{"c.h-e a\np\n p/i l l s!", 0, 1},
                              {"Re: tr: CHEAPPILLS\r\ncheap_pills", 0, 2},
                              {"Re: cheappills\ncheap_pills", 1, 1},
                              {"the cheap pills", 0, 0},
                              {"cheap pill", 0, 0},
                              {"...\n\n", 0, 0}};
  for (const BrokenRow& row : broken) {
    HeapText text(row.text);
    EXPECT_EQ(row.hits, dico.brokenSearch(text.view(), "broken", row.maxLines))
        << row.text;
  }
  const char* const domains[][2] = {
      {"buy-pills.com", "1"}, {"meds", "1"}, {"x-y.meds.com", ""}, {"-.x", ""},
      {"--meds-", "1"},       {"", ""},      {"md-md.com", ""}};
  for (const auto& row : domains) {
    dico.clearMatchCount("domain");  // a line counts once
    HeapText domain(row[0]);
    line = nullptr;
    EXPECT_EQ(row[1][0] != 0,
              dico.CheckDomainWords("domain", domain.view(), line))
        << row[0];
    EXPECT_EQ(row[1][0] != 0, line != nullptr) << row[0];
  }
}

// 60,000 words that keep every line busy.
TEST(KeywordSearchTest, LongTexts) {
  TQMDICO dico(nullptr, nullptr);
  std::string source = "[words]\n";
  for (const std::string line :
       {"a+b+c", "a>b+c", "a a a+c", "a b?>a,c", "a>a>a>a>c"})
    source += "(!)" + line + "\n(!)<&1>" + line + "\n";
  ASSERT_TRUE(LoadSource(dico, source));
  std::string text;
  for (int i = 0; i < 20000; i++) text += "a a b ";
  Words words(text);
  int32_t hits = 0;
  for (int tips = 0; tips < 2; tips++)
    EXPECT_EQ(0, dico.findKeywords(dico.findSection("words"), words.list,
                                   TBLOCK(), tips, 0, hits));
}

}  // namespace
