// HASHTAB: open addressing, multiplicative hashing, linear probing.
//
// The hash of a key is a polynomial in 131 over its folded bytes; its slot is
// the fractional part of hash * golden ratio, spread over the slots. Tables in
// files keep their entries by slot, so the arithmetic has to give the same
// slot in every build: plain doubles, never two operations fused into one,
// which the build forbids. Files are read and written in hash_file.cc. Tested
// by hashtab_test.cc.

#include "base/hashtab.h"

#include <float.h>
#include <math.h>

#include <new>

#include "base/byte_order.h"

static_assert(FLT_EVAL_METHOD == 0,
              "doubles are computed wider than they are: -mfpmath=sse");

namespace {

const double kGoldenRatio = 0.6180339887498949;
const double kSlotFactor = 1.25;
const int32_t kMinCapacity = 32;
const uint32_t kRadix = 131;
// kRadix * kRadixInverse is 1 in 32 bits: takes a byte off a hash again.
const uint32_t kRadixInverse = 3376959019u;
static_assert(kRadix * kRadixInverse == 1u, "not the inverse");

const unsigned char* const kFolds[] = {
    TBLOCK::NoConvTable, TBLOCK::UpperToLower, TBLOCK::AsciiConvTable,
    TBLOCK::AsciiLowerTable};

uint32_t HashOf(TBLOCK key, const unsigned char* fold) {
  uint32_t hash = 0;
  for (uint32_t i = 0; i < key.length; i++) hash = hash * kRadix + fold[key[i]];
  return hash;
}

bool IsEntry(const HASHKEY& key, int32_t slot) {
  return key.home == slot;
}

TBLOCK KeyOf(const HASHKEY& entry) {
  return TBLOCK(entry.key, entry.length);
}

// From the end, where keys such as names with a number differ.
bool HoldsKey(const HASHKEY& entry, TBLOCK key, const unsigned char* fold) {
  if (entry.length != key.length) return false;
  if (fold == TBLOCK::NoConvTable)
    return memcmp(entry.key, key.pointer, key.length) == 0;
  for (uint32_t i = key.length; i-- > 0;)
    if (fold[entry.key[i]] != fold[key[i]]) return false;
  return true;
}

}  // namespace

HASHTAB::HASHTAB(int32_t initial, int32_t mode)
    : multiplier(kGoldenRatio),
      slotFactor(kSlotFactor),
      slotCount(0),
      capacity(0),
      count(0),
      slots(nullptr),
      collisions(0),
      flags(mode),
      recSize(0),
      maxProbes(0),
      longestKey(0),
      deleted(0),
      reach(0) {
  HASHTAB::setCapacity(initial);
}

HASHTAB::~HASHTAB() {
  dropSlots();
}

const unsigned char* HASHTAB::foldTable() const {
  return kFolds[flags & hashFoldMask];
}

int32_t HASHTAB::homeSlot(uint32_t hash) const {
  // The most negative number stays as it is, and is then taken as positive.
  if (hash & 0x80000000u) hash = 0u - hash;
  // Below 2^31, since the multiplier is below 1, and never negative: a cast
  // does what floor would, at a fraction of the cost.
  const double product = hash * multiplier;
  const double fraction = product - static_cast<int32_t>(product);
  const double place = fraction * slotCount;
  const int32_t slot = static_cast<int32_t>(place + 0.5);
  return slot >= slotCount ? 0 : slot;  // rounding may reach the end
}

// ---- The array of slots

HASHKEY* HASHTAB::allocKeys(int32_t n) {
  if (static_cast<uint64_t>(n) * sizeof(HASHKEY) > SIZE_MAX / 2) return nullptr;
  HASHKEY* made = new (std::nothrow) HASHKEY[n]();
  for (int32_t i = 0; made && i < n; i++) made[i].home = kHashFree;
  return made;
}

void HASHTAB::dropSlots() {
  delete[] slots;
  slots = nullptr;
  slotCount = capacity = count = deleted = reach = 0;
  longestKey = 0;
}

void HASHTAB::noteProbes(int32_t probes) {
  collisions += static_cast<uint32_t>(probes);
  if (probes > reach) reach = probes;
}

// Places all entries in new slots; false, with nothing changed, when memory is
// short. No keys are compared: they differ, or are meant to be equal. A larger
// table stretches the distances between home slots, so that no entry gets
// further from its own.
bool HASHTAB::rebuild(int32_t newCapacity) {
  // A file may tell a capacity below its count.
  if (newCapacity < count) newCapacity = count;
  if (newCapacity < kMinCapacity) newCapacity = kMinCapacity;
  if (newCapacity > kMaxHashCapacity) return false;
  int32_t n = static_cast<int32_t>(floor(slotFactor * newCapacity + 0.5)) + 1;
  if (n < newCapacity + 1) n = newCapacity + 1;
  HASHKEY* const made = allocKeys(n);
  if (!made) return false;
  HASHKEY* const old = slots;
  const int32_t oldCount = slotCount;
  slots = made;
  slotCount = n;
  capacity = newCapacity;
  deleted = reach = 0;
  for (int32_t i = 0; i < oldCount; i++) {
    if (!IsEntry(old[i], i)) continue;
    int32_t slot = homeSlot(HashOf(KeyOf(old[i]), foldTable()));
    int32_t probes = 1;
    for (; slots[slot].home >= 0; probes++)
      slot = slot + 1 == slotCount ? 0 : slot + 1;
    slots[slot] = old[i];
    slots[slot].home = slot;
    noteProbes(probes);
  }
  delete[] old;
  return true;
}

void HASHTAB::setCapacity(int32_t n) {
  if (n <= count || rebuild(n)) return;
  clear();
  dropSlots();
}

void HASHTAB::compress() {
  if (slots) rebuild(flags & hashFixed ? capacity : count);
}

// Sees to it that the next entry finds a slot soon.
bool HASHTAB::makeRoom() {
  if (count >= capacity && !(flags & hashFixed)) {
    int32_t n = capacity > count ? capacity : count;
    n = n > kMaxHashCapacity / 2 ? kMaxHashCapacity : n * 2;
    setCapacity(n < kMinCapacity ? kMinCapacity : n);
    return capacity > count;
  }
  // Marks of deleted entries lengthen every search as entries do. Failing is
  // no harm here: the slots are as good as they were.
  if (deleted > slotCount / 16 && slotCount - count - deleted < slotCount / 8)
    rebuild(capacity);
  return slotCount > 0;
}

void HASHTAB::clear() {
  for (int32_t i = 0; i < slotCount; i++) {
    if (IsEntry(slots[i], i)) clearKey(&slots[i]);
    slots[i].home = kHashFree;
  }
  count = deleted = reach = 0;
  longestKey = 0;
}

void HASHTAB::clearKey(HASHKEY* entry) {
  entry->length = 0;
  entry->key = nullptr;
  entry->data = nullptr;
}

void HASHTAB::dataConvert(unsigned char* records, int32_t bytes, int32_t) {
  for (int32_t i = 0; i + 4 <= bytes; i += 4)
    PutLittle32(records + i, Big32(records + i));
}

// ---- Search

int32_t HASHTAB::search(TBLOCK key, uint32_t hash) const {
  const unsigned char* const fold = foldTable();
  int32_t slot = homeSlot(hash);
  for (int32_t probes = 0; probes < reach; probes++) {
    const HASHKEY& entry = slots[slot];
    if (entry.home == kHashFree) break;
    if (IsEntry(entry, slot) && HoldsKey(entry, key, fold)) return slot;
    slot = slot + 1 == slotCount ? 0 : slot + 1;
  }
  return -1;
}

// A key that is looked up is not behind the first free slot, nor behind the
// reach; a deleted slot on the way is the place for it only once it is known
// not to be there.
int32_t HASHTAB::insert(TBLOCK key, void* data) {
  if (key.empty()) return 0;
  if (!makeRoom()) return -1;
  const uint32_t hash = HashOf(key, foldTable());
  if (!(flags & hashDuplicates) && search(key, hash) >= 0) return -1;
  int32_t slot = homeSlot(hash);
  const int32_t most =
      maxProbes > 0 && maxProbes < slotCount ? maxProbes : slotCount;
  int32_t probes = 1;
  for (; slots[slot].home >= 0; probes++) {
    if (probes >= most) return -1;
    slot = slot + 1 == slotCount ? 0 : slot + 1;
  }
  noteProbes(probes);
  if (slots[slot].home == kHashDeleted) deleted--;
  slots[slot] = HASHKEY{slot, key.length, key.pointer, data};
  count++;
  if (key.length > longestKey) longestKey = key.length;
  return slot;
}

int32_t HASHTAB::findKey(TBLOCK key) const {
  if (key.empty() || count == 0 || key.length > longestKey) return -1;
  return search(key, HashOf(key, foldTable()));
}

int32_t HASHTAB::find(TBLOCK key, void*& data) const {
  const int32_t slot = findKey(key);
  if (slot >= 0) data = slots[slot].data;
  return slot;
}

// Hashes the longest prefix that can be a key, then takes byte after byte off
// its end, which is as cheap as adding one.
TBLOCK HASHTAB::longestMatch(TBLOCK text) const {
  if (text.empty() || count == 0) return TBLOCK();
  TBLOCK prefix = text.head(longestKey);
  uint32_t hash = HashOf(prefix, foldTable());
  for (; prefix.length; prefix.length--) {
    if (search(prefix, hash) >= 0) return prefix;
    const uint32_t last = foldTable()[prefix[prefix.length - 1]];
    hash = (hash - last) * kRadixInverse;
  }
  return TBLOCK();
}

// ---- Entries by slot

int32_t HASHTAB::first() const {
  int32_t slot = -1;
  return next(slot);
}

int32_t HASHTAB::next(int32_t& slot) const {
  int32_t at = slot < -1 ? 0 : slot < slotCount ? slot + 1 : slotCount;
  while (at < slotCount && !IsEntry(slots[at], at)) at++;
  return slot = at < slotCount ? at : -1;
}

int32_t HASHTAB::nextSame(int32_t& slot) const {
  const TBLOCK key = getBlock(slot);
  const int32_t start = slot;
  slot = -1;
  if (key.empty()) return -1;
  // Goes on where the search for the first one stopped, and ends where that
  // search began.
  const int32_t home = homeSlot(HashOf(key, foldTable()));
  for (int32_t at = start;;) {
    at = at + 1 == slotCount ? 0 : at + 1;
    if (at == home || slots[at].home == kHashFree) return -1;
    if (IsEntry(slots[at], at) && HoldsKey(slots[at], key, foldTable()))
      return slot = at;
  }
}

const HASHKEY* HASHTAB::getKey(int32_t slot) const {
  if (slot < 0 || slot >= slotCount || !IsEntry(slots[slot], slot))
    return nullptr;
  return &slots[slot];
}

TBLOCK HASHTAB::getBlock(int32_t slot) const {
  const HASHKEY* const entry = getKey(slot);
  return entry ? KeyOf(*entry) : TBLOCK();
}

unsigned char* HASHTAB::getData(int32_t slot) const {
  const HASHKEY* const entry = getKey(slot);
  return entry ? static_cast<unsigned char*>(entry->data) : nullptr;
}

int HASHTAB::setData(int32_t slot, unsigned char* data) {
  if (!getKey(slot)) return 0;
  slots[slot].data = data;
  return 1;
}

int HASHTAB::deleteEntry(int32_t slot) {
  if (!getKey(slot)) return 0;
  clearKey(&slots[slot]);
  slots[slot].home = kHashDeleted;
  count--;
  deleted++;
  return 1;
}
