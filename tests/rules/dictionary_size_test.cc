// A dictionary of full size, 440 sections and 36,080 lines of all types, made
// from numbers: compiled, loaded in both byte orders, patched, and each lookup
// held against a plain search of the source.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap_text.h"
#include "base/md5.h"
#include "regex/regex_pool.h"
#include "rules/image_util.h"
#include "rules/kw_obj.h"
#include "rules/qm_dico.h"

namespace {

const int32_t kSections = 440, kLines = 82;
const char kPrefixes[] = " #$%^:!*@&";

struct Section {
  char prefix;
  std::string name;
  std::vector<std::string> words;  // the line's score is its place + 1

  // The line's source.
  std::string line(size_t i) const {
    const std::string score = "<" + std::to_string(i + 1) + ">";
    switch (prefix) {
      case '%':
        return score + "\"" + words[i] + "\"";
      case '^':
        return score + "Url=" + words[i];
      case ':':
        return words[i] + ":^" + words[i] + "$";
      case '!':
        return score + "^" + words[i] + "$";
      case '@':
        return words[i];
      default:
        return score + words[i];
    }
  }
  // The plain search: the place of the word + 1, or 0.
  int32_t find(const std::string& word) const {
    for (size_t i = 0; i < words.size(); i++)
      if (words[i] == word) return static_cast<int32_t>(i) + 1;
    return 0;
  }
};

std::vector<Section> MakeSections() {
  std::vector<Section> all;
  Numbers numbers(5);
  for (int32_t i = 0; i < kSections; i++) {
    Section section = {kPrefixes[i % 10], "Section" + std::to_string(i), {}};
    while (section.words.size() < static_cast<size_t>(kLines)) {
      std::string word;
      for (int k = 0; k < 8; k++)
        word += static_cast<char>('a' + numbers.Below(26));
      if (section.find(word) == 0) section.words.push_back(word);
    }
    all.push_back(section);
  }
  return all;
}

void AddTo(TKwObj& object, const Section& section, const std::string& text,
           int patch) {
  TBLOCKVECT lines(kLines);
  lines.fillFromBigBlock(TBLOCK(text.data(), uint32_t(text.size())), '\n', 1);
  std::string name = section.name;
  if (section.prefix != ' ') name.insert(0, 1, section.prefix);
  ASSERT_TRUE(object.AddSection(TBLOCK(name.c_str()), &lines, patch))
      << object.error;
}

// What the dictionary says of the word: the score of its line, 1 for sections
// without scores, or 0.
int32_t Ask(TQMDICO& dico, const Section& section, const std::string& word) {
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

void CheckAll(const std::vector<Section>& sections, const std::string& bytes) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  ASSERT_TRUE(dico.loadKeywordsFromBlock(BlockOf(bytes)));
  dico.precompileRegexesIntoPool();
  for (const Section& section : sections) {
    const char* name = section.name.c_str();
    const TQKSECTION* found = dico.findSection(name);
    ASSERT_NE(found, nullptr) << name;
    ASSERT_EQ(found->count, section.words.size()) << name;
    // Sections that are asked in no such way: their lines as they stand.
    if (strchr("%^&", section.prefix)) {
      TBLOCKVECT lines(kLines);
      dico.sectionToBlockList(name, lines);
      ASSERT_EQ(lines.count(), static_cast<int32_t>(section.words.size()));
      EXPECT_TRUE(lines.get(7).ends(TBLOCK(section.words[7].c_str())));
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
  std::vector<Section> sections = MakeSections();
  TKwObj object;
  for (const Section& section : sections) {
    std::string text;
    for (size_t i = 0; i < section.words.size(); i++)
      text += section.line(i) + "\n";
    AddTo(object, section, text, 0);
  }
  BLOCK image(0, 1 << 20);
  ASSERT_TRUE(object.WriteToStream(&image));
  CheckAll(sections, Str(image.view()));
  CheckAll(sections, InOtherOrder(Str(image.view())));

  // Each section loses its last line and gets another one.
  for (Section& section : sections) {
    std::string text = "-" + section.line(kLines - 1) + "\n++";
    section.words.back() = section.words.back().substr(2) + "zz";
    AddTo(object, section, text + section.line(kLines - 1), 1);
  }
  ASSERT_TRUE(object.ApplyPatch(&image)) << object.error;
  CheckAll(sections, Str(image.view()));
}

}  // namespace
