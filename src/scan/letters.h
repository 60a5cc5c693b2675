// Letters that the dictionary gives to values, for fingerprints: the lines of
// such a section are "letter:pattern", and the first that fits decides.

#ifndef SCAN_LETTERS_H_
#define SCAN_LETTERS_H_

#include <stdint.h>

#include "base/hashtab.h"
#include "base/tblock.h"
#include "rules/field_letters.h"

class TQMDICO;

// The same for many values, of which each is looked up once. Views of the
// values are kept.
class SECTIONLETTERS {
 public:
  // `mode` is that of HASHTAB: which values are one. Borrows the others.
  SECTIONLETTERS(TQMDICO& dico, const char* section, int32_t mode);

  char of(TBLOCK value);

 private:
  char lookUp(TBLOCK value);

  TQMDICO& dico;
  const char* section;
  HASHTAB known;
  int32_t ofEmpty;  // which no table holds; -1 until asked for
};

#endif  // SCAN_LETTERS_H_
