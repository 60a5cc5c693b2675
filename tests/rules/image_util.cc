// Lays out images; see image_util.h.

#include "rules/image_util.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "base/md5.h"

namespace {

void Put(std::string& out, uint32_t n) {
  for (int i = 0; i < 4; i++) out += static_cast<char>(n >> (8 * i) & 0xFF);
}

void PutHalf(std::string& out, uint32_t n) {
  out += static_cast<char>(n & 0xFF);
  out += static_cast<char>(n >> 8 & 0xFF);
}

struct Tables {
  std::string sections, lines, ands, ors, words, text;
  uint32_t lineCount = 0, andCount = 0, orCount = 0, wordCount = 0;

  uint32_t Pool(const std::string& bytes) {
    const uint32_t at = static_cast<uint32_t>(text.size());
    text += bytes;
    return at;
  }

  void AddWords(const std::string& phrase) {
    const uint32_t first = wordCount;
    for (size_t from = 0, to; from <= phrase.size(); from = to + 1) {
      to = std::min(phrase.find(' ', from), phrase.size());
      Put(words, Pool(phrase.substr(from, to - from)));
      Put(words, static_cast<uint32_t>(to - from));
      wordCount++;
    }
    Put(ors, first);
    Put(ors, wordCount - first);
    orCount++;
  }

  void AddGroups(const std::string& pattern) {
    for (size_t from = 0, to; from <= pattern.size(); from = to + 1) {
      to = std::min(pattern.find_first_of("+>,", from), pattern.size());
      const std::string group = pattern.substr(from, to - from);
      const uint32_t first = orCount;
      for (size_t at = 0, end; at <= group.size(); at = end + 1) {
        end = std::min(group.find('|', at), group.size());
        AddWords(group.substr(at, end - at));
      }
      Put(ands, first);
      Put(ands, orCount - first);
      ands += to < pattern.size() ? pattern[to] : '+';
      ands.append(3, '\0');
      andCount++;
    }
  }

  void AddLine(const IMAGESECTION& section, std::string line) {
    uint32_t flags = 0, score = section.type == stPattern ? 100 : 0;
    const size_t end = line.find('>');
    if (!line.empty() && line[0] == '<' && end != std::string::npos) {
      if (line[1] == '&') flags |= KWLINEFLAGMULTI;
      score = static_cast<uint32_t>(atoi(line.c_str() + (flags ? 2 : 1)));
      line.erase(0, end + 1);
    }
    unsigned char key = 0;
    if (section.type == stPattern) {
      const uint32_t first = andCount;
      AddGroups(line);
      Put(lines, first);
      Put(lines, andCount - first);
      key = TBLOCK::UpperConvTable[static_cast<unsigned char>(line[0])];
    } else {
      if (section.type == stMd5) line = DigestOf(line);
      flags |= KWLINEFLAGSTRING;
      Put(lines, Pool(line));
      Put(lines, static_cast<uint32_t>(line.size()));
    }
    Put(lines, score);
    Put(lines, lineCount++);
    PutHalf(lines, flags);
    lines += static_cast<char>(key);
    lines += '\0';
  }

  void AddSection(const IMAGESECTION& section) {
    std::string lower = section.name;
    for (char& c : lower)
      c = static_cast<char>(
          TBLOCK::LowerConvTable[static_cast<unsigned char>(c)]);
    const uint32_t name = Pool(DigestOf(lower));
    uint32_t first = lineCount;
    if (section.type == stSortedMd5) {
      std::vector<std::string> digests;
      for (const std::string& line : section.lines)
        digests.push_back(DigestOf(line));
      std::sort(digests.begin(), digests.end());
      first = static_cast<uint32_t>(text.size());
      for (const std::string& digest : digests) Pool(digest);
    } else {
      for (const std::string& line : section.lines) AddLine(section, line);
    }
    Put(sections, first);
    Put(sections, static_cast<uint32_t>(section.lines.size()));
    Put(sections, name);
    Put(sections, 16);
    PutHalf(sections, section.flags);
    PutHalf(sections, section.type);
  }
};

}  // namespace

std::string DigestOf(const std::string& text) {
  MD5 md5;
  md5.add(TBLOCK(text.data(), static_cast<uint32_t>(text.size())));
  return std::string(reinterpret_cast<const char*>(md5.get()), 16);
}

std::string MakeImage(const std::vector<IMAGESECTION>& sections) {
  Tables t;
  for (const IMAGESECTION& section : sections) t.AddSection(section);
  const std::string* tables[] = {&t.sections, &t.lines, &t.ands,
                                 &t.ors,      &t.words, &t.text};
  const uint32_t counts[] = {static_cast<uint32_t>(sections.size()),
                             t.lineCount,
                             t.andCount,
                             t.orCount,
                             t.wordCount,
                             static_cast<uint32_t>(t.text.size())};
  std::string header = "QMKW", body;
  Put(header, 60);
  Put(header, 0);
  for (int i = 0; i < 6; i++) {
    Put(header, counts[i]);
    Put(header, static_cast<uint32_t>(60 + body.size()));
    body += *tables[i];
  }
  std::string image = header + body;
  SetWord(image, hwTotalSize, static_cast<uint32_t>(image.size()));
  return image;
}

uint32_t WordAt(const std::string& image, uint32_t offset) {
  uint32_t word;
  memcpy(&word, image.data() + offset, 4);
  return word;
}

void SetWord(std::string& image, uint32_t offset, uint32_t value) {
  memcpy(&image[offset], &value, 4);
}

std::string InOtherOrder(const std::string& image) {
  // Widths of the numbers of each record.
  const char* const records[] = {"444422", "4444211", "441111", "44", "44"};
  std::string out = image;
  for (int t = 0; t < 5; t++) {
    uint32_t at = WordAt(image, hwSections + 8 * t + 4);
    for (uint32_t n = WordAt(image, hwSections + 8 * t); n > 0; n--)
      for (const char* width = records[t]; *width; at += *width - '0', width++)
        std::reverse(out.begin() + at, out.begin() + at + (*width - '0'));
  }
  for (uint32_t at = 4; at < 60; at += 4)
    std::reverse(out.begin() + at, out.begin() + at + 4);
  return out;
}

BLOCK* BlockOf(const std::string& bytes) {
  BLOCK* block = new BLOCK(static_cast<uint32_t>(bytes.size()), 0);
  block->add(bytes.data(), static_cast<uint32_t>(bytes.size()));
  return block;
}
