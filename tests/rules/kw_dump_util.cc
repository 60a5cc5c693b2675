#include "rules/kw_dump_util.h"

#include <stdio.h>

#include "base/heap_text.h"

namespace {

std::string Hex(TBLOCK bytes) {
  std::string out;
  char digits[3];
  for (uint32_t i = 0; i < bytes.length; i++) {
    snprintf(digits, sizeof digits, "%02x", bytes[i]);
    out += digits;
  }
  return out;
}

std::string Pattern(const KWIMAGE& image, const TQKLINE& line) {
  std::string out;
  for (uint32_t i = 0; i < line.length; i++) {
    const TQKAND& group = *image.andRecord(line.text + i);
    out += "{";
    for (uint32_t k = 0; k < group.count; k++) {
      const TQKOR& phrase = *image.orRecord(group.first + k);
      if (k) out += "|";
      for (uint32_t n = 0; n < phrase.count; n++)
        out += (n ? " " : "") + Str(image.word(phrase.first + n));
    }
    out += "}";
    if (i + 1 < line.length) out += group.joiner;
  }
  return out;
}

std::string Line(const KWIMAGE& image, const TQKLINE& line, uint16_t type) {
  std::string out = " ";
  if (line.action) out += "!" + std::to_string(line.action) + " ";
  out += std::to_string(line.score);
  if (line.flags & KWLINEFLAGMULTI) out += "&";
  if (type != stPattern) {
    const TBLOCK text = image.lineBlock(&line);
    return out + "=" + (type == stMd5 ? Hex(text) : Str(text));
  }
  char options[8] = "";
  if (line.flags & KWLINEFLAGMATCH)
    snprintf(options, sizeof options, "/%x", line.flags & KWLINEFLAGMATCH);
  return out + options + (line.key ? static_cast<char>(line.key) : '-') +
         Pattern(image, line);
}

}  // namespace

std::string DumpImage(const KWIMAGE& image) {
  std::string out;
  for (uint32_t i = 0; i < image.sectionCount; i++) {
    const TQKSECTION* section = image.section(i);
    if (i) out += "; ";
    out += std::to_string(section->type) + "/" +
           std::to_string(section->flags) + ":";
    const TBLOCK digests = image.digests(section);
    for (uint32_t k = 0; k < digests.length; k += kSectionNameBytes)
      out += " " + Hex(TBLOCK(digests.pointer + k, kSectionNameBytes));
    for (uint32_t k = 0; k < image.lineCountOf(section); k++) {
      const TQKLINE* line = image.sectionLine(section, k);
      if (image.lineNumber(line) != line->number) out += " misnumbered";
      out += Line(image, *line, section->type);
    }
  }
  return out;
}

std::string DumpObject(TKwObj& object) {
  BLOCK bytes(0, 1000);
  if (!object.WriteToStream(&bytes)) return "unwritten";
  return DumpImage(KWIMAGE(bytes.view()));
}
