// The names of the filters and the sections made of them. Entry:
// FILTERSECTIONS::find, once for each HSTUFF. Tested by
// tests/scan/filters_seam_test.cc.

#include "rules/filter_sections.h"

#include <string.h>

#include "base/md5.h"
#include "rules/qm_dico.h"

#define QM_FILTER(number, name, action) name,
const char _FilterNames[kFilterCount][kFilterNameBytes] = {
#include "rules/filters.inc"
};
#undef QM_FILTER

namespace {

// Bytes of the longer prefix, "Only-".
const uint32_t kMaxPrefixBytes = 5;

const TQKSECTION* FindWithPrefix(const HSTUFF& stuff, TBLOCK prefix,
                                 TBLOCK filter) {
  unsigned char name[kMaxPrefixBytes + kFilterNameBytes];
  memcpy(name, prefix.pointer, prefix.length);
  memcpy(name + prefix.length, filter.pointer, filter.length);
  unsigned char digest[MD5::kDigestBytes];
  if (!SectionDigest(TBLOCK(name, prefix.length + filter.length), digest))
    return nullptr;
  void* found = nullptr;
  stuff.sections.find(TBLOCK(digest, sizeof digest), found);
  return static_cast<const TQKSECTION*>(found);
}

}  // namespace

FILTERSECTIONS::FILTERSECTIONS() : no(), only() {}

void FILTERSECTIONS::find(const HSTUFF& stuff) {
  for (int32_t i = 0; i < kFilterCount; i++) {
    const TBLOCK name(_FilterNames[i]);
    no[i] = FindWithPrefix(stuff, TBLOCK("No-"), name);
    only[i] = FindWithPrefix(stuff, TBLOCK("Only-"), name);
  }
}
