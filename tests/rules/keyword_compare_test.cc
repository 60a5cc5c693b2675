#include "rules/keyword_compare.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/keyword_image.h"
#include "rules/qm_dico.h"

namespace {

const uint32_t kFound = moFound;

struct Row {
  const char* word;
  const char* pattern;
  uint32_t options;
  uint32_t tricks;  // with kFound; 0: no match
};

uint32_t Compare(const Row& row, int prefixOnly) {
  HeapText word(row.word);
  HeapText pattern(row.pattern);
  return BlockCompareKeyword(word.view(), pattern.view(), row.options,
                             prefixOnly, nullptr, nullptr);
}

TEST(KeywordCompareTest, WithoutOptions) {
  const Row rows[] = {
      {"viagra", "viagra", 0, kFound},
      {"VIaGra", "viagra", 0, kFound},
      {"", "viagra", 0, 0},
      {"viagra", "", 0, 0},
      {"viagr", "viagra", 0, 0},
      {"viagrax", "viagra", 0, 0},
      {"v1agra", "viagra", 0, 0},
      // Filler costs nothing and needs no option; of two kinds one is silent.
      {"v.i-a_g*r'a", "viagra", 0, kFound | moBroken},
      {"via\xA0gra", "viagra", 0, kFound},
      {"via\xAFgra", "viagra", 0, kFound | moBroken},
      // What may stand behind the pattern.
      {"viagra-free", "viagra", 0, kFound},
      {"viagra_x", "viagra", 0, kFound},
      {"viagra's", "viagra", 0, kFound},
      {"viagra.", "viagra", 0, kFound},
      {"viagra|", "viagra", 0, kFound},
      {"viagra..", "viagra", 0, 0},
      {"viagra.x", "viagra", 0, 0},
      // Accents fold, and are reported only when asked for.
      {"v\xECgra", "vigra", 0, kFound},
      {"v\xCDgra", "vigra", 0, kFound},
      // "~" is any byte, and a backslash takes a meaning away.
      {"a%b", "a~b", 0, kFound},
      {"a%b", "a\\~b", 0, 0},
      {"a~b", "a\\~b", 0, kFound},
      {"a5b", "a\\#b", 0, 0},
      {"r&", "r\\&", 0, kFound},
      {"rs", "r\\&", 0, 0},
      {"ab", "ab\\", 0, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.word) + " / " + row.pattern);
    EXPECT_EQ(row.tricks, Compare(row, 0));
  }
}

TEST(KeywordCompareTest, Numbers) {
  const Row rows[] = {
      {"100", "#", 0, kFound},
      {"-1,000.50", "#", 0, kFound},
      {"10mg", "#mg", 0, kFound},
      {"1O0", "#", 0, kFound | moNear},
      {"OOO", "#", 0, kFound | moNear},
      {"+", "#", 0, 0},
      {"o1", "#", 0, 0},
      {".5", "#", 0, 0},
      {"#", "#", 0, kFound},
      // The letter's trick leaves one more.
      {"1Ovi4gg", "#viag", moTips, kFound | moNear | moDouble},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.word);
    EXPECT_EQ(row.tricks, Compare(row, 0));
  }
}

TEST(KeywordCompareTest, EachTrickAlone) {
  const Row rows[] = {
      {"v1agra", "viagra", moNear, kFound | moNear},
      {"v1@gra", "viagra", moNear, kFound | moNear},
      {"v|agra", "viagra", moNear, kFound | moNear},
      {"V1AGRA", "VIAGRA", moNear, kFound | moNear},
      {"caf3", "caf\xE9", moNear, kFound | moNear},
      {"v2agra", "viagra", moNear, 0},
      {"vaigra", "viagra", moPermut, kFound | moPermut},
      {"viagar", "viagra", moPermut, kFound | moPermut},
      {"vaigar", "viagra", moPermut, kFound | moPermut},
      {"agivra", "viagra", moPermut, 0},
      {"viiagra", "viagra", moDouble, kFound | moDouble},
      {"vIiIagra", "viagra", moDouble, kFound | moDouble},
      {"viagraaa", "viagra", moDouble, kFound | moDouble},
      {"viagraab", "viagra", moDouble, 0},
      {"vviagra", "viagra", moNear, 0},
      {"vixagra", "viagra", moUseless, kFound | moUseless},
      {"xviagra", "viagra", moUseless, kFound | moUseless},
      {"vixxagra", "viagra", moUseless, 0},
      {"vixagxra", "viagra", moUseless, 0},  // only once
      {"vxagra", "viagra", moUseless, 0},    // as long as the pattern
      {"viara", "viagra", moMissing, kFound | moMissing},
      {"iagra", "viagra", moMissing, kFound | moMissing},
      {"viagr", "viagra", moMissing, 0},
      {"vira", "viagra", moMissing, 0},
      {"viagrax", "viagra", moFinalUseless, kFound | moFinalUseless},
      {"viagras", "viagra", moFinalUseless, 0},
      {"viagra1", "viagra", moFinalUseless, 0},
      {"viagraxy", "viagra", moFinalUseless, 0},
      {"v\xCDgra", "vigra", moCheatAccent, kFound | moCheatAccent},
      {"v\xEDgra", "vigra", moCheatAccent, kFound},
      {"vIAGRA", "viagra", moBroken, kFound},
      // A plural needs no option but its mark.
      {"pills", "pill&", 0, kFound},
      {"PILLS", "pill&&", 0, kFound},
      {"pill$", "pill&", 0, kFound},
      {"pill's", "pill&", 0, kFound},
      {"pill", "pill&", 0, kFound},
      {"pillss", "pill&", 0, 0},
      {"s", "&", 0, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.word) + " / " + row.pattern);
    EXPECT_EQ(row.tricks, Compare(row, 0));
  }
}

TEST(KeywordCompareTest, TricksTogether) {
  const Row rows[] = {
      {"v11aagra", "viagra", moTips, kFound | moNear | moDouble},
      // A third kind ends it, also at the last letter.
      {"v1aagxra", "viagra", moTips, 0},
      {"vi@gggar", "viagra", moTips, 0},
      // What the tricks switch off: near swaps, doubled letters missing ones.
      {"v1agar", "viagra", moTips, 0},
      {"v|agar", "viagra", moTips, kFound | moNear | moPermut},
      {"v1ara", "viagra", moTips, 0},
      {"v|ara", "viagra", moTips, kFound | moNear | moMissing},
      {"vviara", "viagra", moTips, 0},
      {"vixara", "viagra", moTips, 0},
      {"viar@", "viagra", moTips, 0},
      {"viarax", "viagra", moTips, 0},
      {"viaraa", "viagra", moTips, 0},
      {"vaixgra", "viagra", moTips, 0},
      {"vaig@@", "viagra", moTips, 0},
      // Filler is free on top of two tricks; so is an ending.
      {"v.1.a.a.g.r.a", "viagra", moTips,
       kFound | moNear | moDouble | moBroken},
      {"v1aagrax", "viagra", moTips,
       kFound | moNear | moDouble | moFinalUseless},
      // An odd letter among capitals is free under any of the options.
      {"VIA1xxG", "viag", moTips, 0},
      {"VIAxGGR4", "viagra", moTips, 0},
      {"VIXAxGRA", "viagra", moTips, kFound | moUseless},
      {"VIAQGxRA", "viagra", moTips, kFound | moUseless},
      {"VIAGxRA", "viagra", moNear, kFound | moUseless},
      {"VIAGxRA", "viagra", moPlural, 0},
      {"VAxGA", "vaga", moNear, 0},  // of five bytes
      // A small letter between capitals, in a word of the pattern's length.
      {"Vx1AG", "viag", moUseless | moNear, kFound | moUseless | moNear},
      {"vx1AG", "viag", moUseless | moNear, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.word) + " / " + row.pattern);
    EXPECT_EQ(row.tricks, Compare(row, 0));
  }
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

TEST(KeywordCompareTest, BlocksOfFillerAreSteppedOver) {
  HeapText text("via - gra");
  TBLOCKVECT words(0);
  TBLOCK::GetBlockWordList(text.view(), words, bitWhiteSpace);
  HeapText pattern("viagra");
  int32_t index = 0;
  EXPECT_EQ(kFound, BlockCompareKeyword(words.get(0), pattern.view(), moSplit,
                                        0, &words, &index));
  EXPECT_EQ(2, index);
  // No more blocks than the pattern has bytes.
  HeapText dashes("v - - iagra");
  TBLOCKVECT more(0);
  TBLOCK::GetBlockWordList(dashes.view(), more, bitWhiteSpace);
  HeapText two("vi"), three("via");
  index = 0;
  EXPECT_EQ(0u, BlockCompareKeyword(more.get(0), two.view(), moSplit, 1, &more,
                                    &index));
  EXPECT_EQ(kFound, BlockCompareKeyword(more.get(0), three.view(), moSplit, 1,
                                        &more, &index));
}

// A bar is filler where too few letters are left for the pattern, which leads
// to a match only if the word goes on.
TEST(KeywordCompareTest, BarsAsFiller) {
  HeapText text("v|......i|...... agr"), pattern("viagr");
  TBLOCKVECT words(0);
  TBLOCK::GetBlockWordList(text.view(), words, bitWhiteSpace);
  int32_t index = 0;
  const uint32_t options = moSplit | moFinalUseless;
  EXPECT_EQ(kFound, BlockCompareKeyword(words.get(0), pattern.view(), options,
                                        0, &words, &index));
  EXPECT_EQ(1, index);
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
      {"superviagra", "*viagra", 0, kFound},
      {"viagra", "*viagra", 0, kFound},
      {"superviagrax", "*viagra", 0, 0},
      {"superv1aagra", "*viagra", moTips, kFound | moNear | moDouble},
      {"viagraland", "viagra*", 0, kFound},
      {"xviagraland", "viagra*", 0, 0},
      {"xviagraland", "*viagra*", 0, kFound},
      {"xviagrland", "*viagra*", 0, 0},
      {"viagra*", "viagra\\*", 0, kFound},
      {"viagrax", "viagra\\*", 0, 0},
      {"superpill", "super*pill", 0, kFound},
      {"super-duper-pill", "super*pill", 0, kFound},
      {"abba", "ab*ba", 0, kFound},
      {"aba", "ab*ba", 0, 0},
      {"anything", "*", 0, kFound},
      {"", "*", 0, 0},
      {"whatever", "**", 0, kFound},
      // The mark of a plural is no byte.
      {"superpill", "super*pill&", 0, kFound},
      {"superpills", "super*pill&", 0, kFound},
      {"superpil", "super*pill&", 0, 0},
      {"sugar-free", "*-free&", 0, kFound},
      {"sugar-frees", "*-free&", 0, kFound},
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
      {"viaraxxxxmod", "viagra*mold", moMissing, kFound | moMissing},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.word) + " / " + row.pattern);
    int64_t work = 1000;
    EXPECT_EQ(row.tricks,
              CompareWildcard(row.word, row.pattern, row.options, work));
    EXPECT_TRUE(!row.tricks ||
                MayMatch(WordShape(TBLOCK(row.word)),
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
    const char* word;
    const char* pattern;
    int verdict;  // -1: no special
  };
  const SpecialRow rows[] = {
      {"John.Smith2@X.org", "@", 1},
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
      {"a", "@@@", -1},
  };
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

TEST(KeywordCompareTest, Keys) {
  const char* rows[][2] = {{"viagra", "V"}, {"+-9", "#"},   {"+-", ""},
                           {"", ""},        {"\x9A", "S"},  {"\xFF", "Y"},
                           {"\xC1", "A"},   {"\xE7z", "C"}, {"|x", "|"},
                           {"$5", "$"},     {"\x9E.", "Z"}, {"\x9C", "\x8C"}};
  for (const auto& row : rows) {
    HeapText word(row[0]);
    EXPECT_EQ(static_cast<unsigned char>(row[1][0]), GetWordKey(word.view()))
        << row[0];
  }
  // What the comparison takes for a letter has the letter's key.
  for (int c = 0; c < 256; c++) {
    const unsigned char fold = TBLOCK::LowerConvTable[c];
    if (fold < 'a' || fold > 'z' || c == 0xD7) continue;
    EXPECT_EQ(fold - 32, KeyTable[c]) << c;
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
