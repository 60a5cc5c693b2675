// TQMDICO: the reader of the rule dictionary, one for each scan, with its
// counters; HSTUFF: the indexes of one dictionary image, shared by scans.
//
// There is no image yet: every section is absent, which reads as "no match",
// and no keyword file can be loaded.

#ifndef RULES_QM_DICO_H_
#define RULES_QM_DICO_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"

class REGEXPOOL;

// Indexes over one image. Read-only once built.
class HSTUFF {
 public:
  // The dictionary's version; empty when it names none. Its length is counted
  // before scans share it, since counting writes.
  STR version;

  HSTUFF() : version("") {}
};

// One line of a section.
struct TQKLINE {
  int32_t score;
};

class TQMDICO {
 public:
  HSTUFF* stuff;        // null when memory was short
  int32_t sharedStuff;  // 1: `stuff` is borrowed and outlives this
  REGEXPOOL* pool;      // borrowed; may be null

  // Borrows `stuff`; null makes it build and own one.
  TQMDICO(REGEXPOOL* pool, HSTUFF* stuff);
  ~TQMDICO();
  TQMDICO(const TQMDICO&) = delete;
  TQMDICO& operator=(const TQMDICO&) = delete;

  // Version of the dictionary in use, empty when it names none. Valid while
  // this object lives and no other file is loaded.
  TBLOCK version() const;

  // Replaces the dictionary by an image file. 1, or 0 when it cannot be
  // loaded.
  int loadKeywordsFromFile(const char* path);
  // 1, with the warning's text stored, when the image had to be converted.
  int anyWarning(STR& text) const;
  // Zeroes the match counts of a section.
  void clearMatchCount(const char* section);
  // section_lookup.cc. The first line of a section of patterns that matches
  // the text: 1 with the line, or 0.
  int matchRegex(const char* section, TBLOCK text, const TQKLINE*& line);
  // The same for a section of "name:pattern" lines: 1 with the name, or 0.
  int matchFirstNamedRegex(const char* section, TBLOCK text, TBLOCK& name);
  // Compiles all patterns of the dictionary into the pool.
  void precompileRegexesIntoPool();
};

#endif  // RULES_QM_DICO_H_
