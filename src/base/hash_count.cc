// Counts of strings: a hash file whose records are the counts. Tested by
// hash_file_test.cc.

#include "base/hash_count.h"

namespace {

const int32_t kCountBytes = 4;
const uint32_t kOrderStep = 1024;

// Records may stand at odd addresses.
uint32_t CountAt(const void* record) {
  uint32_t n = 0;
  if (record) memcpy(&n, record, kCountBytes);
  return n;
}

}  // namespace

HASHCOUNT::HASHCOUNT(int32_t initial, int32_t mode)
    : HASHFILE(initial, mode), order(0, kOrderStep) {
  recSize = ownRecSize = kCountBytes;
  maxProbes = kHostileProbes;
}

void HASHCOUNT::clear() {
  HASHFILE::clear();
  order.empty();
}

uint32_t HASHCOUNT::incBlockCount(TBLOCK key, uint32_t n) {
  void* record = nullptr;
  if (find(key, record) < 0 && insertData(key, record) < 0) return 0;
  if (!record) return 0;
  uint32_t sum = CountAt(record);
  sum = n > UINT32_MAX - sum ? UINT32_MAX : sum + n;
  memcpy(record, &sum, kCountBytes);
  return sum;
}

uint32_t HASHCOUNT::counts(int32_t slot) const {
  return CountAt(getData(slot));
}

int HASHCOUNT::sort() {
  order.empty();
  for (int32_t i = first(); i >= 0; next(i)) {
    if (order.add(i)) continue;
    order.empty();
    return 0;
  }
  order._sort(0, order.count() - 1, this);
  return 1;
}

int32_t HASHCOUNT::sortedSlot(int32_t i) const {
  return i >= 0 && i < order.count() ? order.get(i) : -1;
}

uint32_t HASHCOUNT::getSortedCount(int32_t i) const {
  return counts(sortedSlot(i));
}

TBLOCK HASHCOUNT::getSortedBlock(int32_t i) const {
  return getBlock(sortedSlot(i));
}

void HASHCOUNT::getSortedString(int32_t i, BLOCK& text) const {
  text.empty();
  text.add(getSortedBlock(i));
}

int HASHCOUNT::compare(int a, int b) {
  const uint32_t first = counts(a);
  const uint32_t second = counts(b);
  return first > second ? -1 : first < second;
}
