#include "full_dictionary.h"

#include "base/heap_text.h"

std::string FullSection::line(size_t i) const {
  const std::string score = "<" + std::to_string(i + 1) + ">";
  switch (prefix) {
    case '%':
      return score + "\"" + words[i] + "\"";
    case '^':
      return score + "(Hdr=^FTSD[a-z]*@)&(Url=" + words[i] + ")";
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

std::string FullSection::source() const {
  std::string text = "[";
  if (prefix != ' ') text += prefix;
  text += name + "]\n";
  for (size_t i = 0; i < words.size(); i++) text += line(i) + "\n";
  return text;
}

std::string FullSection::patch(const std::string& lines) const {
  std::string text = "[+";
  if (prefix != ' ') text += prefix;
  return text + name + "]\n" + lines;
}

int32_t FullSection::find(const std::string& word) const {
  for (size_t i = 0; i < words.size(); i++)
    if (words[i] == word) return static_cast<int32_t>(i) + 1;
  return 0;
}

std::vector<FullSection> MakeFullDictionary() {
  static const char kPrefixes[] = " #$%^:!*@&";
  std::vector<FullSection> all;
  Numbers numbers(5);
  for (int32_t i = 0; i < kFullSections; i++) {
    FullSection section = {
        kPrefixes[i % 10], "Section" + std::to_string(i), {}};
    while (section.words.size() < static_cast<size_t>(kFullLines)) {
      std::string word;
      for (int k = 0; k < 8; k++)
        word += static_cast<char>('a' + numbers.Below(26));
      if (section.find(word) == 0) section.words.push_back(word);
    }
    all.push_back(section);
  }
  return all;
}
