// The heap sort: builds a heap with the largest record first, then takes the
// first off to the end again and again. A record that moves down waits in the
// scratch record, so that each step copies one record, not three. Tested by
// hashed_lookup_test.cc and url_blacklist_test.cc.

#include "base/heap_sort.h"

#include <string.h>

#include "base/md5.h"

namespace {

unsigned char* RecordAt(unsigned char* records, uint32_t i, uint32_t size) {
  return records + static_cast<size_t>(i) * size;
}

}  // namespace

void HeapSortInline_descend(unsigned char* records, uint32_t root, uint32_t end,
                            uint32_t size, int (*compare)(void*, void*),
                            unsigned char* scratch) {
  memcpy(scratch, RecordAt(records, root, size), size);
  // Half of `end` is the first record without one below it.
  while (root < end / 2) {
    uint32_t child = 2 * root + 1;
    unsigned char* larger = RecordAt(records, child, size);
    if (child + 1 < end && compare(larger, larger + size) < 0) {
      child++;
      larger += size;
    }
    if (compare(scratch, larger) >= 0) break;
    memcpy(RecordAt(records, root, size), larger, size);
    root = child;
  }
  memcpy(RecordAt(records, root, size), scratch, size);
}

void HeapSortInline(unsigned char* records, uint32_t count, uint32_t size,
                    int (*compare)(void*, void*), unsigned char* scratch) {
  if (!records || !compare || !scratch || size == 0) return;
  for (uint32_t root = count / 2; root-- > 0;)
    HeapSortInline_descend(records, root, count, size, compare, scratch);
  for (uint32_t last = count; last-- > 1;) {
    unsigned char* const end = RecordAt(records, last, size);
    memcpy(scratch, end, size);
    memcpy(end, records, size);
    memcpy(records, scratch, size);
    HeapSortInline_descend(records, 0, last, size, compare, scratch);
  }
}

int md5cmp(void* a, void* b) {
  return memcmp(a, b, MD5::kDigestBytes);
}
