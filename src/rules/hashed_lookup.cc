// Sections with an index of their lines, and sorted blocks of digests: one
// search, however many lines there are. Tested by hashed_lookup_test.cc.

#include "base/heap_sort.h"
#include "base/md5.h"
#include "rules/qm_dico.h"

namespace {

// The index of a section's lines, or null.
const HASHTAB* TableOf(const TQMDICO& dico, const TQKSECTION* section) {
  void* found = nullptr;
  if (section)
    dico.stuff->lineTables.find(dico.image().sectionName(section), found);
  return static_cast<const HASHTAB*>(found);
}

}  // namespace

int TQMDICO::findLine(const HASHTAB* table, const TQKSECTION* section,
                      TBLOCK key, const TQKLINE*& line) {
  if (!table || !section) return 0;
  MD5 md5;
  if (section->type == stMd5) {
    md5.add(key);
    key = TBLOCK(md5.get(), MD5::kDigestBytes);
  }
  void* found = nullptr;
  if (table->find(key, found) < 0) return 0;
  line = static_cast<const TQKLINE*>(found);
  return 1;
}

const HASHTAB* TQMDICO::hashedSection(const char* section) const {
  return TableOf(*this, findSection(section));
}

int TQMDICO::hashedFind(const char* section, TBLOCK key,
                        const TQKLINE*& line) const {
  const TQKSECTION* found = findSection(section);
  return findLine(TableOf(*this, found), found, key, line);
}

int TQMDICO::matchSection(const char* section, TBLOCK key,
                          const TQKLINE*& line) const {
  const TQKSECTION* found = findSection(section);
  if (!found || found->flags != sfHashed) return 0;
  return findLine(TableOf(*this, found), found, key, line);
}

int TQMDICO::hashedFindMD5Key(const char* section, TBLOCK digest,
                              const TQKLINE*& line) const {
  const TQKSECTION* found = findSection(section);
  const HASHTAB* table = TableOf(*this, found);
  void* data = nullptr;
  if (!table || !found || found->type != stMd5 ||
      digest.length != MD5::kDigestBytes || table->find(digest, data) < 0)
    return 0;
  line = static_cast<const TQKLINE*>(data);
  return 1;
}

// A block without "@" is taken for a domain as it is.
int TQMDICO::hashedFindFromBlockList(const char* section,
                                     const TBLOCKVECT& list, int32_t maxCount,
                                     const TQKLINE*& line,
                                     int domainOnly) const {
  const TQKSECTION* found = findSection(section);
  const HASHTAB* table = TableOf(*this, found);
  const int32_t n = maxCount < list.count() ? maxCount : list.count();
  for (int32_t i = 0; i < n; i++) {
    TBLOCK key = list.get(i);
    const int32_t at = domainOnly ? key.findByte('@') : -1;
    if (at >= 0) key.skip(static_cast<uint32_t>(at) + 1);
    if (findLine(table, found, key, line)) return 1;
  }
  return 0;
}

int TQMDICO::findFirstHashed(const char* section, const TBLOCKVECT& list,
                             const TQKLINE*& line) const {
  return hashedFindFromBlockList(section, list, list.count(), line, 0);
}

int TQMDICO::findSortedMd5(const char* section, const unsigned char* digest,
                           int32_t& position) const {
  const TBLOCK block = image().digests(findSection(section));
  uint32_t from = 0, to = block.length / MD5::kDigestBytes;
  while (from < to) {
    const uint32_t middle = from + (to - from) / 2;
    const int order = md5cmp(const_cast<unsigned char*>(digest),
                             block.pointer + middle * MD5::kDigestBytes);
    if (order == 0) {
      position = static_cast<int32_t>(middle);
      return 1;
    }
    if (order < 0)
      to = middle;
    else
      from = middle + 1;
  }
  return 0;
}
