// Images of hash tables: read with and without a copy, walked, searched, added
// to, and written and read again in both byte orders.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "base/hash_count.h"
#include "base/hash_file.h"
#include "fuzz_util.h"

// The same entries at the same slots.
static void CheckSame(const HASHFILE& a, const HASHFILE& b) {
  Check(a.count == b.count && a.slotCount == b.slotCount &&
        a.capacity == b.capacity && a.recSize == b.recSize &&
        a.flags == b.flags);
  int32_t at = b.first();
  for (int32_t i = a.first(); i >= 0; a.next(i), b.next(at)) {
    Check(i == at);
    Check(a.getBlock(i).equals(b.getBlock(i), TBLOCK::NoConvTable));
    if (a.recSize)
      Check(memcmp(a.getData(i), b.getData(i), size_t(a.recSize)) == 0);
    else
      Check(a.getData(i) == b.getData(i));
  }
  Check(at < 0);
}

static void CheckRoundTrip(HASHFILE& table) {
  for (int32_t swapped = 0; swapped < 2; swapped++) {
    const std::unique_ptr<BLOCK> image(table.save4File(table.recSize, swapped));
    // Entries that share a record have one each in the new image.
    if (!image) continue;
    HASHFILE again;
    const TBLOCK rest = again.loadFromConstBuf(image->view());
    Check(rest.pointer == image->data + image->length);
    CheckSame(table, again);
  }
}

static void CheckEntries(const HASHFILE& table, TBLOCK text) {
  int32_t entries = 0;
  for (int32_t i = table.first(); i >= 0; table.next(i)) {
    const TBLOCK key = table.getBlock(i);
    const int32_t found = table.findKey(key);
    Check(!key.empty() && found < table.slotCount);
    // What the image has at a place where no search comes is not found.
    Check(found < 0 || table.getKey(found)->length == key.length);
    int32_t same = i;
    if (entries < 10)
      while (table.nextSame(same) >= 0) Check(same != i);
    entries++;
  }
  Check(entries == table.count);
  const TBLOCK match = table.longestMatch(text);
  Check(match.empty() || table.findKey(match) >= 0);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK buffer = copy.view();
  HASHFILE borrowed, owned;
  borrowed.insert(TBLOCK("old"));
  const TBLOCK rest = borrowed.loadFromConstBuf(buffer);
  Check(owned.loadFromBuf(buffer).pointer == rest.pointer);
  CheckSame(owned, borrowed);
  Check(rest.pointer ? rest.end() == buffer.end() : borrowed.slotCount == 0);
  CheckEntries(borrowed, buffer);
  // Shared records make an image larger than its source; that is enough of it.
  if (int64_t{owned.count} * owned.recSize < 1 << 20) CheckRoundTrip(owned);
  if (owned.recSize > 4096) return 0;

  for (char c = 'a'; c < 'z'; c++) {
    const char key[3] = {c, 'x', c};
    const int32_t slot = borrowed.insert(TBLOCK(key, 3));
    Check(slot < 0 || borrowed.findKey(TBLOCK(key, 3)) == slot ||
          (borrowed.flags & hashDuplicates));
    Check(borrowed.findKey(TBLOCK(key, 3)) >= 0);
    if (slot >= 0 && c % 3 == 0) Check(borrowed.deleteEntry(slot) == 1);
  }
  borrowed.compress();
  CheckEntries(borrowed, buffer);

  HASHCOUNT counter;
  if (counter.loadFromConstBuf(buffer).pointer)
    for (int32_t i = counter.first(); i >= 0; counter.next(i))
      counter.incBlockCount(counter.getBlock(i), 1);
  Check(size == 0 || memcmp(buffer.pointer, bytes, size) == 0);
  return 0;
}
