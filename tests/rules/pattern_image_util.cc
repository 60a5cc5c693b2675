#include "rules/pattern_image_util.h"

#include <string.h>

#include <new>

#include "base/md5.h"
#include "rules/keyword_compare.h"

uint32_t PatternImage::pool(const std::string& bytes) {
  pool_ += bytes;
  return static_cast<uint32_t>(pool_.size() - bytes.size());
}

void PatternImage::addLine(TQKLINE line) {
  line.number = static_cast<uint32_t>(lines_.size());
  lines_.push_back(line);
  sections_.back().count++;
}

PatternImage& PatternImage::section(const std::string& name, uint16_t type) {
  MD5 md5;
  md5.add(TBLOCK(name.c_str()));
  const std::string bytes(reinterpret_cast<const char*>(md5.get()),
                          kSectionNameBytes);
  sections_.push_back(TQKSECTION{static_cast<uint32_t>(lines_.size()), 0,
                                 pool(bytes), kSectionNameBytes, 0, type});
  return *this;
}

PatternImage& PatternImage::text(const std::string& line, uint32_t flags,
                                 int32_t score) {
  addLine({pool(line), static_cast<uint32_t>(line.size()), score, 0,
           static_cast<uint16_t>(flags | KWLINEFLAGSTRING), 0, 0});
  return *this;
}

PatternImage& PatternImage::pattern(const std::string& text, uint32_t flags,
                                    int32_t score) {
  TQKLINE line = {static_cast<uint32_t>(ands_.size()), 0, score, 0,
                  static_cast<uint16_t>(flags),        0, 0};
  const unsigned char first = static_cast<unsigned char>(text[0]);
  if (first != '*' && first != '@' && first != '?')
    line.key =
        GetWordKey(TBLOCK(text.data(), static_cast<uint32_t>(text.size())));
  bool newAnd = true, newOr = true;
  std::string word;
  for (const char c : text + "+") {
    if (!strchr("+>,| ", c)) {
      word += c;
      continue;
    }
    if (newAnd)
      ands_.push_back({static_cast<uint32_t>(ors_.size()), 0, '+', {}});
    if (newAnd) line.length++;
    if (newAnd || newOr) {
      ors_.push_back({static_cast<uint32_t>(words_.size()), 0});
      ands_.back().count++;
    }
    words_.push_back({pool(word), static_cast<uint32_t>(word.size())});
    ors_.back().count++;
    word.clear();
    newOr = c != ' ';
    newAnd = newOr && c != '|';
    if (newAnd) ands_.back().joiner = c;
  }
  addLine(line);
  return *this;
}

namespace {

template <class Record>
void Append(std::string& image, const std::vector<Record>& records,
            uint32_t& count, uint32_t& offset) {
  count = static_cast<uint32_t>(records.size());
  offset = static_cast<uint32_t>(image.size());
  image.append(reinterpret_cast<const char*>(records.data()),
               records.size() * sizeof(Record));
}

}  // namespace

bool PatternImage::load(TQMDICO& dico) const {
  std::string image(kKeywordHeaderBytes, 0);
  TQKFILE file = {};
  memcpy(file.magic, "QMKW", 4);
  file.headerSize = kKeywordHeaderBytes;
  Append(image, sections_, file.sectionCount, file.sectionOffset);
  Append(image, lines_, file.lineCount, file.lineOffset);
  Append(image, ands_, file.andCount, file.andOffset);
  Append(image, ors_, file.orCount, file.orOffset);
  Append(image, words_, file.wordCount, file.wordOffset);
  file.textSize = static_cast<uint32_t>(pool_.size());
  file.textOffset = static_cast<uint32_t>(image.size());
  image += pool_;
  file.totalSize = static_cast<uint32_t>(image.size());
  memcpy(&image[0], &file, sizeof file);
  BLOCK* block = new BLOCK(0, 64);
  block->add(TBLOCK(image.data(), file.totalSize));
  return dico.loadKeywordsFromBlock(block) != 0;
}
