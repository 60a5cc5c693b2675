// PATTERNBOOK: the patterns of one dictionary's lines, looked up once and
// shared by scans, which only read them. Patterns are borrowed of the pool,
// texts of the image that the dictionary had when this was built.

#ifndef RULES_PATTERN_BOOK_H_
#define RULES_PATTERN_BOOK_H_

#include <stdint.h>

#include "regex/regex.h"

class TQMDICO;
struct TQKSECTION;

// Cuts "name:pattern"; false when there is no ":".
bool CutNamed(TBLOCK line, TBLOCK& name, TBLOCK& pattern);

// Lines of a section that a text may match, by their place: those of both sets
// of bits, or without sets all.
struct TWORTHTRYING {
  const uint32_t* begin;  // those that match texts with this first byte
  const uint32_t* end;    // with this last byte
  uint32_t holding;       // of the first 32: with the bytes in the text

  // The first from `i` on; `count` or more when there is none of so many.
  uint32_t next(uint32_t i, uint32_t count) const {
    if (!begin) return i;
    while (i < count) {
      uint32_t bits = begin[i / 32] & end[i / 32];
      if (i < 32) bits &= holding;
      bits >>= i % 32;
      if (bits) return i + static_cast<uint32_t>(__builtin_ctz(bits));
      i = (i / 32 + 1) * 32;
    }
    return count;
  }
};

class PATTERNBOOK {
 public:
  // Takes the lines of sections of the types stRegex and stNamedRegex. Without
  // memory the book is empty.
  explicit PATTERNBOOK(const TQMDICO& dico);
  ~PATTERNBOOK();
  PATTERNBOOK(const PATTERNBOOK&) = delete;
  PATTERNBOOK& operator=(const PATTERNBOOK&) = delete;

  // The pattern of a line, by its index in the line table, in a section of
  // that type; null for a line that is none of it.
  const RULEPATTERN* find(uint32_t lineNumber, uint32_t sectionType) const;

  // Which lines of the section, of the image's own table, are worth trying.
  TWORTHTRYING worthTrying(const TQKSECTION* section, TBLOCK text) const;

 private:
  struct TENTRY {
    uint32_t pattern;      // index + 1; 0: none
    uint32_t sectionType;  // lines of damaged images may be in several
  };

  // For each byte a bit for each line, twice: texts that begin with the byte,
  // and texts that end with it. Behind these for each byte those of the first
  // 32 lines of which each match has it or another that is marked so.
  struct TEDGES {
    uint32_t* bits;  // owned
    uint32_t words;  // of one byte
  };

  void noteSection(const TQMDICO& dico, uint32_t section);
  void noteEdges(const TQMDICO& dico, uint32_t section, uint32_t& wordsLeft);

  // Owned.
  TENTRY* entries;  // by line number
  uint32_t lineCount;
  RULEPATTERN* patterns;
  uint32_t patternCount;
  TEDGES* edges;  // by section
  uint32_t sectionCount;
  const TQKSECTION* firstSection;  // borrowed
};

#endif  // RULES_PATTERN_BOOK_H_
