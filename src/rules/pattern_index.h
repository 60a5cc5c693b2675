// The pattern lines of a dictionary, prepared for the search of words: of each
// phrase what a word must hold for it to begin there, by which most pairs of a
// word and a line are refused; and the lines of each section by key.
//
// Read-only once built; any number of threads may share it.

#ifndef RULES_PATTERN_INDEX_H_
#define RULES_PATTERN_INDEX_H_

#include <stdint.h>

#include "rules/keyword_compare.h"
#include "rules/keyword_image.h"

// Takes the "?" off an optional word: true when it had one. A "?" alone is a
// word with a meaning of its own.
bool TakeOptional(TBLOCK& pattern);

// The lines of one section, ordered by key.
struct TLINEORDER {
  struct TKEYRUN {
    uint32_t end;  // in places, of the lines that have this key
    unsigned char key;
  };

  uint32_t* places;  // of the lines in the section, by key; null: not built
  TKEYRUN* runs;     // the keys of the lines, ascending
  uint32_t runCount;

  TLINEORDER();
  ~TLINEORDER();
  TLINEORDER(const TLINEORDER&) = delete;
  TLINEORDER& operator=(const TLINEORDER&) = delete;

  // False when memory is short.
  bool build(const KWIMAGE& image, const TQKSECTION* section);

 private:
  void drop();
};

class PATTERNINDEX {
 public:
  // Borrows the image's records.
  explicit PATTERNINDEX(const KWIMAGE& image);
  ~PATTERNINDEX();
  PATTERNINDEX(const PATTERNINDEX&) = delete;
  PATTERNINDEX& operator=(const PATTERNINDEX&) = delete;

  // Owned; of each OR record, the shape of words that it may begin at. Null
  // when memory was short.
  TPATTERNSHAPE* shapes;

  // The order of a section's lines. Null where it is not prepared: sections
  // that share lines with each other, which only damaged images have, are
  // prepared as far as there are lines in the image.
  const TLINEORDER* find(const TQKSECTION* section) const;

 private:
  void orderSections(const KWIMAGE& image);

  const TQKSECTION* first;  // of the image
  TLINEORDER* orders;       // owned; of its first sections
  uint32_t orderCount;
};

#endif  // RULES_PATTERN_INDEX_H_
