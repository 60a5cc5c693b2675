#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[#SadWords]\nviagra\nabcdefghijk cialis\n[HardWords]\n<1>viagra\n<1>"
    "abcde\n"
    "[#Words]\n<5>.- via\n<7>x cialis\n<-3>. none\n<9>.\n"
    "[#Phrases]\n<4>. ^via gra\n<6>. via\n<8>. no\n";

// A message with these words, and the text that they are views of.
struct Words {
  HeapText text;
  std::unique_ptr<TQMMSG> m;

  explicit Words(const std::string& body)
      : text(body), m(new TQMMSG(nullptr, nullptr, nullptr, 0, 0)) {
    EXPECT_TRUE(LoadSource(m->dico, kSections));
    TBLOCK::GetBlockWordList(text.view(), m->bodyWords, bitWhiteSpace);
  }
};

}  // namespace

TEST(HiddenWordsTest, WordsInPieces) {
  const struct {
    const char* what;
    std::string body;
    int32_t found;
  } rows[] = {
      {"whole", "viagra", 0},
      {"two pieces, any case", "ViA GRa", 1},
      {"a first piece of four", "viag ra", 1},
      {"of five", "viagr a", 0},
      {"a later one of seven", "abcd efghijk", 1},
      {"of eight", "abc defghijk", 0},
      {"another order", "gra via", 0},
      {"longer than what is left", "via gram", 0},
      {"the first piece that fits is taken", "v via gra", 0},
      {"words between: 19 for 2 pieces", "via " + Times(19, "x ") + "gra", 1},
      {"20 for 2 pieces", "via " + Times(20, "x ") + "gra", 0},
      {"29 for 3 pieces", "via " + Times(29, "x ") + "gr a", 1},
      {"30 for 3 pieces", "vi a " + Times(30, "x ") + "gra", 0},
      {"words ahead are no gap", Times(98, "x ") + "via gra", 1},
      {"the 101st word", Times(99, "x ") + "via gra", 0},
      {"pieces of two words", "vi ci agra alis", 2},
      {"three, of which two are asked for", "abcd efghijk vi agra cial is", 2},
      {"accents", "v\xCC \xE4gr\xE3", 1},
      {"nothing", "", 0}};
  for (const auto& row : rows) {
    Words words(row.body);
    EXPECT_EQ(row.found,
              TQMMSG::CheckSad(&words.m->dico, words.m->bodyWords, 2))
        << row.what;
  }
  Words none("via gra");
  EXPECT_TRUE(LoadSource(none.m->dico, "[#Other]\nviagra\n"));
  EXPECT_EQ(0, TQMMSG::CheckSad(&none.m->dico, none.m->bodyWords, 3));
}

TEST(HiddenWordsTest, CapitalsAmongSmallLetters) {
  const struct {
    std::string body;
    const char* label;  // "": none
  } rows[] = {
      {"VIAxGRA", "VIAGRA"},
      {"xVIAGRA", "VIAGRA"},
      {"VxIyAzGRA", "VIAGRA"},
      {"VxIyAzGwRA", ""},
      {"VIAGRA", ""},
      // What stands behind the last capital is cut off, and no small letter.
      {"VIAGRAxyz", ""},
      {"VIAxGRAabcdef...", "VIAGRA"},
      // Neither a capital nor a small letter.
      {"V1I2A3xG-R\xC0"
       "A",
       "VIAGRA"},
      {"ABxCDE", "ABCDE"},
      {"VIxAG", ""},
      {"OTxHERS VIAxGRA ABxCDE", "VIAGRA"},
      {Times(49, "x ") + "VIAxGRA", "VIAGRA"},
      {Times(50, "x ") + "VIAxGRA", ""},
      {Times(249, "1") + "VIAxGRA", "VIAGRA"},
      {Times(250, "1") + "VIAxGRA", ""},
      {"", ""}};
  for (const auto& row : rows) {
    Words words(row.body);
    STR label("Hard word ");
    EXPECT_EQ(*row.label != 0, words.m->checkUselessLowers(label)) << row.body;
    EXPECT_EQ(std::string("Hard word ") + row.label, label.c_str());
  }
}
