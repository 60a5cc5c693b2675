// The rule sections that switch a filter off for some messages: "No-NAME"
// holds rules for those that are spared it, "Only-NAME" for those that are not.
// They are looked up once for a dictionary, since each message asks for all of
// them and a usual dictionary has few.

#ifndef RULES_FILTER_SECTIONS_H_
#define RULES_FILTER_SECTIONS_H_

#include <stdint.h>

#include "rules/keyword_image.h"

class HSTUFF;

// Filters have the numbers 1 to this.
const int32_t kFilterCount = 45;
// Bytes of a filter's name with its NUL.
const uint32_t kFilterNameBytes = 16;

// Name of filter n at n - 1.
extern const char _FilterNames[kFilterCount][kFilterNameBytes];

// Null where the dictionary has no such section. Borrows the image's records.
struct FILTERSECTIONS {
  const TQKSECTION* no[kFilterCount];
  const TQKSECTION* only[kFilterCount];

  FILTERSECTIONS();
  // REQUIRES: the index of sections is built.
  void find(const HSTUFF& stuff);
};

#endif  // RULES_FILTER_SECTIONS_H_
