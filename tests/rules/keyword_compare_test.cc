#include "rules/keyword_compare.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/keyword_image.h"
#include "rules/qm_dico.h"

namespace {

const uint32_t kFound = moFound;

struct Row {
  const char *words, *pattern;
  uint32_t options;
  uint32_t tricks;  // with kFound; 0: no match
};

template <size_t n>
void CheckRows(const Row (&rows)[n]) {
  for (const Row& row : rows)
    for (const std::string& text : Split(row.words, ' ')) {
      const HeapText word(text), pattern(row.pattern);
      EXPECT_EQ(row.tricks,
                BlockCompareKeyword(word.view(), pattern.view(), row.options, 0,
                                    nullptr, nullptr))
          << text << " / " << row.pattern;
    }
}

TEST(KeywordCompareTest, WithoutOptions) {
  const Row rows[] = {
      {"viagra VIaGra", "viagra", 0, kFound},
      {"viagr viagrax v1agra", "viagra", 0, 0},
      {"", "viagra", 0, 0},
      {"viagra", "", 0, 0},
      // Filler costs nothing and needs no option; of two kinds one is silent.
      {"v.i-a_g*r'a via\xAFgra", "viagra", 0, kFound | moBroken},
      {"via\xA0gra", "viagra", 0, kFound},
      // What may stand behind the pattern.
      {"viagra-free viagra_x viagra's viagra. viagra|", "viagra", 0, kFound},
      {"viagra.. viagra.x", "viagra", 0, 0},
      // Accents fold, and are reported only when asked for.
      {"v\xECgra v\xCDgra", "vigra", 0, kFound},
      // "~" is any byte, and a backslash takes a meaning away.
      {"a%b", "a~b", 0, kFound},
      {"a%b", "a\\~b", 0, 0},
      {"a~b", "a\\~b", 0, kFound},
      {"a5b", "a\\#b", 0, 0},
      {"r&", "r\\&", 0, kFound},
      {"rs", "r\\&", 0, 0},
      {"ab", "ab\\", 0, 0}};
  CheckRows(rows);
}

TEST(KeywordCompareTest, Numbers) {
  const Row rows[] = {{"100 -1,000.50 #", "#", 0, kFound},
                      {"10mg", "#mg", 0, kFound},
                      {"1O0 OOO", "#", 0, kFound | moNear},
                      {"+ o1 .5", "#", 0, 0},
                      // The letter's trick leaves one more.
                      {"1Ovi4gg", "#viag", moTips, kFound | moNear | moDouble}};
  CheckRows(rows);
}

TEST(KeywordCompareTest, EachTrickAlone) {
  const Row rows[] = {
      {"v1agra v1@gra v|agra", "viagra", moNear, kFound | moNear},
      {"V1AGRA", "VIAGRA", moNear, kFound | moNear},
      {"caf3", "caf\xE9", moNear, kFound | moNear},
      {"v2agra vviagra", "viagra", moNear, 0},
      {"vaigra viagar vaigar", "viagra", moPermut, kFound | moPermut},
      {"agivra", "viagra", moPermut, 0},
      {"viiagra vIiIagra viagraaa", "viagra", moDouble, kFound | moDouble},
      {"viagraab", "viagra", moDouble, 0},
      {"vixagra xviagra", "viagra", moUseless, kFound | moUseless},
      {"vixxagra vixagxra vxagra", "viagra", moUseless, 0},
      {"viara iagra", "viagra", moMissing, kFound | moMissing},
      {"viagr vira", "viagra", moMissing, 0},
      {"viagrax", "viagra", moFinalUseless, kFound | moFinalUseless},
      {"viagras viagra1 viagraxy", "viagra", moFinalUseless, 0},
      {"v\xCDgra", "vigra", moCheatAccent, kFound | moCheatAccent},
      {"v\xEDgra", "vigra", moCheatAccent, kFound},
      {"vIAGRA", "viagra", moBroken, kFound},
      // A plural needs no option but its mark.
      {"pills pill$ pill's pill", "pill&", 0, kFound},
      {"PILLS", "pill&&", 0, kFound},
      {"pillss", "pill&", 0, 0},
      {"s", "&", 0, 0}};
  CheckRows(rows);
}

TEST(KeywordCompareTest, TricksTogether) {
  const Row rows[] = {
      {"v11aagra", "viagra", moTips, kFound | moNear | moDouble},
      // A third kind ends it, also at the last letter.
      {"v1aagxra vi@gggar", "viagra", moTips, 0},
      // What the tricks switch off: near swaps, doubled letters missing ones.
      {"v1agar v1ara vviara vixara viar@ viarax viaraa vaixgra vaig@@",
       "viagra", moTips, 0},
      {"v|agar", "viagra", moTips, kFound | moNear | moPermut},
      {"v|ara", "viagra", moTips, kFound | moNear | moMissing},
      // Filler is free on top of two tricks; so is an ending.
      {"v.1.a.a.g.r.a", "viagra", moTips,
       kFound | moNear | moDouble | moBroken},
      {"v1aagrax", "viagra", moTips,
       kFound | moNear | moDouble | moFinalUseless},
      // An odd letter among capitals is free under any of the options.
      {"VIA1xxG", "viag", moTips, 0},
      {"VIAxGGR4", "viagra", moTips, 0},
      {"VIXAxGRA VIAQGxRA", "viagra", moTips, kFound | moUseless},
      {"VIAGxRA", "viagra", moNear, kFound | moUseless},
      {"VIAGxRA", "viagra", moPlural, 0},
      {"VAxGA", "vaga", moNear, 0},
      // A small letter between capitals, in a word of the pattern's length.
      {"Vx1AG", "viag", moUseless | moNear, kFound | moUseless | moNear},
      {"vx1AG", "viag", moUseless | moNear, 0}};
  CheckRows(rows);
}

TEST(KeywordCompareTest, AWordMayGoOnInTheNextBlock) {
  HeapText text("via-gr:a!viagra");
  TBLOCKVECT words(0);
  for (int start : {0, 4, 7}) {
    const uint32_t length = start == 0 ? 3 : start == 4 ? 2 : 1;
    words.add(text.view().from(static_cast<uint32_t>(start)).head(length), 0,
              0);
  }
  HeapText pattern("viagra&");
  int32_t index = 0;
  EXPECT_EQ(kFound, BlockCompareKeyword(words.get(0), pattern.view(), moSplit,
                                        0, &words, &index));
  EXPECT_EQ(2, index);
  // Not without the option, not past the last block, and a failure leaves the
  // index alone.
  index = 0;
  EXPECT_EQ(0u, BlockCompareKeyword(words.get(0), pattern.view(), moTips, 0,
                                    &words, &index));
  HeapText longer("viagrab");
  EXPECT_EQ(0u, BlockCompareKeyword(words.get(0), longer.view(), moSplit, 0,
                                    &words, &index));
  EXPECT_EQ(0, index);
}

uint32_t CompareWildcard(const std::string& wordText,
                         const std::string& patternText, uint32_t options,
                         int64_t& work) {
  HeapText word(wordText), pattern(patternText);
  return BlockCompareWildcard(word.view(), pattern.view(), options, nullptr,
                              nullptr, work);
}

TEST(KeywordCompareTest, Wildcards) {
  const Row rows[] = {
      {"superviagra viagra", "*viagra", 0, kFound},
      {"superviagrax", "*viagra", 0, 0},
      {"superv1aagra", "*viagra", moTips, kFound | moNear | moDouble},
      {"viagraland", "viagra*", 0, kFound},
      {"xviagraland", "viagra*", 0, 0},
      {"xviagraland", "*viagra*", 0, kFound},
      {"xviagrland", "*viagra*", 0, 0},
      {"viagra*", "viagra\\*", 0, kFound},
      {"viagrax", "viagra\\*", 0, 0},
      {"superpill super-duper-pill", "super*pill", 0, kFound},
      {"abba", "ab*ba", 0, kFound},
      {"aba", "ab*ba", 0, 0},
      {"anything", "*", 0, kFound},
      {"", "*", 0, 0},
      {"whatever", "**", 0, kFound},
      // The mark of a plural is no byte.
      {"superpill superpills", "super*pill&", 0, kFound},
      {"superpil", "super*pill&", 0, 0},
      {"sugar-free sugar-frees", "*-free&", 0, kFound},
      {"pill", "*pill&", 0, kFound},
      {"apillb", "*pill&*", 0, kFound},
      {"a&b", "*\\&*", 0, kFound},
      {"pill", "*&", 0, 0},
      // A pattern may begin with filler, and with any byte.
      {"a+xy", "*\\+x*", 0, kFound},
      {"a++x", "*\\+x", 0, kFound},
      {"-x", "*~x*", 0, kFound},
      {"a-xs", "*-x&", 0, kFound},
      {"a..x", "*.x", 0, kFound},
      // Runs of letters: only the last places are tried, and those of a
      // pattern that is a run itself.
      {"vvvvviagra", "*viagra*", moTips, kFound | moDouble},
      {"v.v.viagra", "*viagra*", moTips, kFound | moDouble | moBroken},
      {"vvviagra", "*viagra", 0, kFound},
      {"VvVvviagra", "*viagra", moDouble, kFound},
      {"aaaaab", "*aaab*", moTips, kFound | moDouble},
      {"aaaaa.ab", "*aa.ab*", moTips, kFound},
      {"ttttt", "*tit*", moTips, kFound | moNear},
      {"1111legal", "*illegal", moTips, kFound | moNear},
      {"IIIi", "*ll*", moTips, kFound | moNear},
      // A trick at the first byte of what is slid over.
      {"xivagra", "*viagra*", moPermut, kFound | moPermut},
      {"xiagra", "*viagra*", moMissing, kFound | moMissing},
      {"xviagra", "*viagra*", moUseless, kFound | moUseless},
      {"xVIAGRA", "*viagra*", moNear, kFound | moUseless},
      // A letter missing on either side of a star.
      {"viaraxxxxmod", "viagra*mold", moMissing, kFound | moMissing}};
  for (const Row& row : rows)
    for (const std::string& word : Split(row.words, ' ')) {
      SCOPED_TRACE(word + " / " + row.pattern);
      int64_t work = 1000;
      EXPECT_EQ(row.tricks,
                CompareWildcard(word, row.pattern, row.options, work));
      EXPECT_TRUE(!row.tricks ||
                  MayMatch(WordShape(TBLOCK(word.c_str())),
                           PatternShape(TBLOCK(row.pattern)), row.options));
    }
}

TEST(KeywordCompareTest, LongPatternsAndLongDisguises) {
  int64_t work = 100000;
  const std::string k600(600, 'k'), k4097(4097, 'k');
  EXPECT_EQ(kFound,
            CompareWildcard("x" + k600 + "x", "*" + k600 + "*", 0, work));
  EXPECT_EQ(kFound, CompareWildcard("x" + k600, "*" + k600, 0, work));
  EXPECT_EQ(0u, CompareWildcard(k4097, k4097, 0, work));
  // 256 bytes of filler, doubled letters or digits, and no more.
  for (const bool tooLong : {false, true}) {
    const size_t n = tooLong ? 257 : 256;
    EXPECT_EQ(
        tooLong ? 0 : kFound | moBroken,
        CompareWildcard("v" + std::string(n, '.') + "ia", "via", 0, work));
    EXPECT_EQ(
        tooLong ? 0 : kFound | moDouble,
        CompareWildcard(std::string(n + 1, 'v') + "ia", "via", moDouble, work));
    EXPECT_EQ(
        tooLong ? 0 : kFound | moDouble,
        CompareWildcard("via" + std::string(n, 'a'), "via", moDouble, work));
    EXPECT_EQ(tooLong ? 0 : kFound,
              CompareWildcard(std::string(n, '1') + "mg", "#mg", 0, work));
  }
}

TEST(KeywordCompareTest, Specials) {
  struct SpecialRow {
    const char *word, *pattern;
    int verdict;  // -1: no special
  };
  const SpecialRow rows[] = {{"John.Smith2@X.org", "@", 1},
                             {"john.smith2@x.or", "@", 0},
                             {"john.smith2", "?", 1},
                             {"SMITH", "?", 1},
                             {"john", "?", 1},
                             {"smi", "?", 0},
                             {"org", "?", 0},
                             {"2", "?", 0},
                             {"a@b.c", "@@", 1},
                             {"a@bc", "@@", 0},
                             {"@b.c", "@@", 0},
                             {"a@b@c.d", "@@", 0},
                             {"a b@c.d", "@@", 0},
                             {"\"a b@\"@c.d", "@@", 1},
                             {"o'brien@c.d", "@@", 1},
                             {"'x y'@c.d", "@@", 1},
                             {"a@b_c.d", "@@", 0},
                             {"a@", "@@", 0},
                             {"a", "a", -1},
                             {"a", "?a", -1},
                             {"a", "@@@", -1}};
  HeapText context("john.smith2@x.org");
  for (const SpecialRow& row : rows) {
    SCOPED_TRACE(std::string(row.word) + " / " + row.pattern);
    HeapText word(row.word);
    HeapText pattern(row.pattern);
    int verdict = -1;
    EXPECT_EQ(row.verdict >= 0,
              TQMDICO::MatchSpecial(word.view(), pattern.view(), context.view(),
                                    verdict));
    EXPECT_EQ(row.verdict, verdict);
  }
}

// Long hostile words in linear time, whatever the pattern: some steps a byte.
TEST(KeywordCompareTest, LongWords) {
  const int32_t kBytes = 100000;
  const char* units[] = {
      "|",    ".",     "v",   "v.", "Vv",
      "vvv.", "vi",    "1l|", "|.", "abcdefghijklmnopqrstuvwxyz",
      "viag", "\xA0|", "v-",  "1",  "a",
      "$s5"};
  const char* patterns[] = {"*via*",  "*via",      "via*",   "v*a",   "*\\.v*",
                            "*#v*",   "tttttttt&", "*llia*", "*s5v*", "*v~v*",
                            "viagra", "*viagra*",  "|*"};
  for (const char* unit : units) {
    std::string text = "v";
    while (text.size() < kBytes) text += unit;
    for (const char* name : patterns) {
      int64_t work = 16 * kBytes;
      CompareWildcard(text, name, moTips, work);
      EXPECT_GE(work, 0) << unit << " / " << name;
    }
  }
  // Without work left no further place is tried.
  int64_t work = 0;
  EXPECT_EQ(0u, CompareWildcard("vxxvia", "*via*", 0, work));
  HeapText pattern(std::string(kBytes, '&'));
  EXPECT_EQ(0u, BlockCompareKeyword(pattern.view(), pattern.view(), moTips, 0,
                                    nullptr, nullptr));
}

}  // namespace
