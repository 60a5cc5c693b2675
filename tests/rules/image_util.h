// Dictionary images for tests, also odd ones: rows of sections whose flags and
// lines may be what no source gives. Wrong images are made from these by
// changing words of them. Sound dictionaries: source_util.h.

#ifndef TESTS_RULES_IMAGE_UTIL_H_
#define TESTS_RULES_IMAGE_UTIL_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "base/block.h"
#include "rules/keyword_image.h"

// Lines as in source. A name may be there twice, and a section may be empty.
struct IMAGESECTION {
  std::string name;
  uint16_t type;
  uint16_t flags;
  std::vector<std::string> lines;
};

std::string MakeImage(const std::vector<IMAGESECTION>& sections);

// Offsets of the header's words.
enum : uint32_t {
  hwHeaderSize = 4,
  hwTotalSize = 8,
  hwSections = 12,  // count; the offset follows
  hwLines = 20,
  hwAnds = 28,
  hwOrs = 36,
  hwWords = 44,
  hwText = 52
};

uint32_t WordAt(const std::string& image, uint32_t offset);
void SetWord(std::string& image, uint32_t offset, uint32_t value);
// The image of a machine of the other byte order. Written as a list of bytes
// for each record, apart from how the library does it.
std::string InOtherOrder(const std::string& image);

// A block with exactly these bytes; delete it.
BLOCK* BlockOf(const std::string& bytes);
std::string DigestOf(const std::string& text);

#endif  // TESTS_RULES_IMAGE_UTIL_H_
