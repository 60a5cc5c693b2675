#include "rules/image_util.h"

#include <string.h>

#include <algorithm>

#include "base/heap_text.h"
#include "base/md5.h"
#include "rules/kw_obj.h"

std::string DigestOf(const std::string& text) {
  MD5 md5;
  md5.add(TBLOCK(text.data(), static_cast<uint32_t>(text.size())));
  return std::string(reinterpret_cast<const char*>(md5.get()), 16);
}

std::string MakeImage(const std::vector<IMAGESECTION>& sections) {
  const char prefixes[] = {0, 0, '#', '%', '^', ':', '!', '*', '@', '&'};
  TKwObj object;
  for (const IMAGESECTION& row : sections) {
    std::string name = row.name;
    if (prefixes[row.type]) name.insert(0, 1, prefixes[row.type]);
    TBLOCKVECT lines(4);
    for (const std::string& line : row.lines)
      lines.add(TBLOCK(line.data(), uint32_t(line.size())), 1, 0);
    if (row.lines.empty()) lines.add(TBLOCK("0"), 0, 0);
    object.sectionTable.clear();
    if (!object.AddSection(TBLOCK(name.c_str()), &lines, 0))
      return object.error;
    TQKSECTION* section = reinterpret_cast<TQKSECTION*>(object.sections.data) +
                          (object.sectionCount() - 1);
    section->flags = row.flags;
    if (row.lines.empty()) section->count = 0;
  }
  BLOCK image(0, 1000);
  return object.WriteToStream(&image) ? Str(image.view()) : object.error;
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
