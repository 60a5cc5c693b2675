// A dictionary of full size: compiled, loaded in both byte orders, patched, and
// each lookup held against a plain search of the source.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap_text.h"
#include "base/md5.h"
#include "regex/regex_pool.h"
#include "rules/full_dictionary_util.h"
#include "rules/image_util.h"
#include "rules/source_util.h"

namespace {

// What the dictionary says of the word: the score of its line, 1 for sections
// without scores, or 0.
int32_t Ask(TQMDICO& dico, const FullSection& section,
            const std::string& word) {
  const HeapText text(word);
  const char* name = section.name.c_str();
  const TQKLINE* line = nullptr;
  TBLOCK label;
  TBLOCKVECT words(1);
  MD5 md5;
  int32_t hits = 0;
  switch (section.prefix) {
    case ' ':
      words.add(text.view(), 0, 0);
      return dico.findKeywords(dico.findSection(name), words, TBLOCK(), 0, 0,
                               hits);
    case '$':
    case '*':
      return dico.hashedFind(name, text.view(), line) ? line->score : 0;
    case '@':
      md5.add(text.view());
      return dico.findSortedMd5(name, md5.get(), hits);
    case ':':
      return dico.matchFirstNamedRegex(name, text.view(), label) &&
             Str(label) == word;
    default:
      return dico.scanBlock(name, text.view(), line, 1) ? line->score : 0;
  }
}

void CheckAll(const std::vector<FullSection>& sections,
              const std::string& bytes) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(BlockOf(bytes)));
  dico.precompileRegexesIntoPool();
  for (const FullSection& section : sections) {
    const char* name = section.name.c_str();
    const TQKSECTION* found = dico.findSection(name);
    ASSERT_NE(found, nullptr) << name;
    ASSERT_EQ(found->count, section.words.size()) << name;
    // Sections that are asked in no such way: their lines as they stand.
    if (strchr("%^&", section.prefix)) {
      TBLOCKVECT lines(kFullLines);
      dico.sectionToBlockList(name, lines);
      ASSERT_EQ(lines.count(), static_cast<int32_t>(section.words.size()));
      EXPECT_NE(std::string::npos, Str(lines.get(7)).find(section.words[7]));
      continue;
    }
    const bool scored = section.prefix != '@' && section.prefix != ':';
    for (const std::string& word : section.words) {
      const int32_t place = section.find(word);
      ASSERT_EQ(Ask(dico, section, word), scored ? place : place > 0)
          << section.prefix << name << " " << word;
      const std::string other = word.substr(1) + "x";
      ASSERT_EQ(Ask(dico, section, other),
                scored ? section.find(other) : section.find(other) > 0);
    }
  }
}

TEST(DictionarySize, EveryLookupIsThatOfAPlainSearch) {
  std::vector<FullSection> sections = MakeFullDictionary();
  std::string source;
  for (const FullSection& section : sections) source += section.source();
  CheckAll(sections, CompileSource(source));
  CheckAll(sections, InOtherOrder(CompileSource(source)));

  // Each section loses its last line and gets another one.
  for (FullSection& section : sections) {
    const std::string last = section.line(kFullLines - 1);
    section.words.back() = section.words.back().substr(2) + "zz";
    source += section.patch("-" + last + "\n++" + section.line(kFullLines - 1) +
                            "\n");
  }
  TKwObj object;
  BLOCK image(0, 1 << 20);
  ASSERT_EQ("", AddSource(object, source));
  ASSERT_TRUE(object.ApplyPatch(&image)) << object.error;
  CheckAll(sections, Str(image.view()));
}

}  // namespace
