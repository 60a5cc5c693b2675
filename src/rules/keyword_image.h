// The compiled rule dictionary: one flat image, read in place. Its format is
// told in doc/keyword-image.md.
//
// The records below stand in the image as they are; all numbers are
// little-endian there. KWIMAGE is the way to them: it cuts every table to what
// lies inside the block and answers null or empty for an index that is not, so
// that a damaged image reads as one in which nothing is found.

#ifndef RULES_KEYWORD_IMAGE_H_
#define RULES_KEYWORD_IMAGE_H_

#include <stdint.h>

#include "base/tblock.h"

const uint32_t kKeywordHeaderBytes = 60;
const uint32_t kSectionNameBytes = 16;  // an MD5 digest

struct TQKFILE {
  char magic[4];  // "QMKW"
  uint32_t headerSize;
  uint32_t totalSize;
  uint32_t sectionCount, sectionOffset;
  uint32_t lineCount, lineOffset;
  uint32_t andCount, andOffset;
  uint32_t orCount, orOffset;
  uint32_t wordCount, wordOffset;
  uint32_t textSize, textOffset;
};

// TQKSECTION::type, with the prefix in source.
enum TSECTIONTYPE : uint16_t {
  stPattern = 0,      // none: lines of words and operators
  stString = 2,       // "#"; "$" with an index
  stLiteral = 3,      // "%": bytes by number
  stRule = 4,         // "^": rule expressions
  stNamedRegex = 5,   // ":": name:pattern
  stRegex = 6,        // "!": patterns
  stMd5 = 7,          // "*": digests of lines, with an index
  stSortedMd5 = 8,    // "@": a sorted block of digests, no line records
  stSectionList = 9,  // "&": names of other sections
};

// TQKSECTION::flags
enum : uint16_t {
  sfHashed = 1,  // the section has an index of its lines
  sfPatch = 2,   // it patches a section; never in a finished image
};

struct TQKSECTION {
  uint32_t first;  // line; stSortedMd5: offset in the text pool
  uint32_t count;  // lines; stSortedMd5: digests
  uint32_t nameOffset, nameLength;
  uint16_t flags;  // sf...
  uint16_t type;   // TSECTIONTYPE
};

// TQKLINE::flags. The match options are also the bits of a comparison's
// result, see keyword_compare.h.
enum : uint32_t {
  KWLINEFLAGMULTI = 0x0001,   // "<&n>": counts each match
  KWLINEFLAGSTRING = 0x0002,  // text and length address the pool
  KWLINEFLAGBEGIN = 0x0004,
  KWLINEFLAGTIP = 0x0008,
  KWLINEFLAGHTMLBEGIN = 0x0010,
  KWLINEFLAGHTMLEND = 0x0020,
  KWLINEFLAGMATCH = 0xFFF0,  // mask of the options below
  moNear = 0x0010,
  moPermut = 0x0020,
  moUseless = 0x0040,
  moMissing = 0x0080,
  moBroken = 0x0100,
  moDouble = 0x0200,
  moFinalUseless = 0x0400,
  moPlural = 0x0800,
  moCheatAccent = 0x1000,
  moSplit = 0x8000,
  moTips = 0x17F0,
  moFound = 0x01000000,  // a result only, never stored
};

struct TQKLINE {
  uint32_t text;    // offset in the pool, or first AND record
  uint32_t length;  // bytes, or AND records
  int32_t score;
  uint32_t number;  // own index in the line table
  uint16_t flags;   // KWLINEFLAG...
  uint8_t key;      // pattern lines: of the first word, see GetWordKey; or 0
  uint8_t action;   // patch sources only
};

struct TQKAND {
  uint32_t first, count;  // OR records
  char joiner;            // operator behind this group: "+", ">" or ","
  char zero[3];
};

struct TQKOR {
  uint32_t first, count;  // words, to be found one after the other
};

struct TQKWORD {
  uint32_t offset, length;  // in the text pool
};

static_assert(sizeof(TQKFILE) == 60 && sizeof(TQKSECTION) == 20 &&
                  sizeof(TQKLINE) == 20 && sizeof(TQKAND) == 12 &&
                  sizeof(TQKOR) == 8 && sizeof(TQKWORD) == 8,
              "records stand in files");

// A view of an image in memory, which must outlive it and be aligned to 4.
// Read-only; any number of threads may share one.
class KWIMAGE {
 public:
  KWIMAGE();
  // Empty when the block is no image in this machine's byte order.
  explicit KWIMAGE(TBLOCK image);

  TBLOCK bytes;  // the whole image; empty when there is none
  // Records of each table that lie inside the block.
  uint32_t sectionCount, lineCount, andCount, orCount, wordCount;
  TBLOCK text;  // the pool

  const TQKSECTION* section(uint32_t i) const;
  const TQKLINE* line(uint32_t i) const;
  const TQKAND* andRecord(uint32_t i) const;
  const TQKOR* orRecord(uint32_t i) const;
  const TQKWORD* wordRecord(uint32_t i) const;

  // Digest of the section's name.
  TBLOCK sectionName(const TQKSECTION* section) const;
  // Line i of a section that has lines; null beyond its end.
  const TQKLINE* sectionLine(const TQKSECTION* section, uint32_t i) const;
  // Lines of the section that lie inside the image; 0 for stSortedMd5.
  uint32_t lineCountOf(const TQKSECTION* section) const;
  // The digests of a stSortedMd5 section; a whole number of them.
  TBLOCK digests(const TQKSECTION* section) const;
  // Bytes of a string line; empty for a pattern line.
  TBLOCK lineBlock(const TQKLINE* line) const;
  TBLOCK word(uint32_t i) const;
  // Index of a record in the line table, by its address: the number in the
  // record could be a lie. REQUIRES: a line of this image.
  uint32_t lineNumber(const TQKLINE* line) const;

 private:
  const TQKLINE* lines;
  const TQKSECTION* sections;
  const TQKAND* ands;
  const TQKOR* ors;
  const TQKWORD* words;
};

// Whether the block begins as an image does: the magic, in any case, and room
// for a header.
bool IsKeywordImage(TBLOCK image);

// Makes the image readable in place: 1 when it has this machine's byte order or
// was turned into it (then `swapped` is 1, and the block was written to); 0
// when the header's size is right in neither order.
int setupKeywords(TBLOCK image, int32_t& swapped);

// Digest by which the section of that name stands in an image.
void GetNameDigest(TBLOCK name, unsigned char digest[kSectionNameBytes]);

// Whether this machine is little-endian.
bool _IsIntelCPU();

#endif  // RULES_KEYWORD_IMAGE_H_
