// The vectors on BLOCK. Elements are copied in and out of the bytes, so that
// no pointer to them outlives a growth. Tested by vectors_test.cc.

#include "base/vectors.h"

#include <new>

#include "base/wildcard.h"

namespace {

// Whether element i of a block that holds elements of `size` bytes exists.
bool InRange(const BLOCK& block, int32_t i, uint32_t size) {
  return i >= 0 && static_cast<uint32_t>(i) < block.length / size;
}

unsigned char* Element(const BLOCK& block, int32_t i, uint32_t size) {
  return block.data + static_cast<uint32_t>(i) * size;
}

int DeleteElement(BLOCK& block, int32_t i, uint32_t size) {
  return InRange(block, i, size) &&
         block.remove(static_cast<uint32_t>(i) * size, size);
}

int InsertElement(BLOCK& block, int32_t i, const void* value, uint32_t size) {
  return i >= 0 && static_cast<uint32_t>(i) <= block.length / size &&
         block.add(static_cast<uint32_t>(i) * size, value, size);
}

uint32_t CountOf(const BLOCK& block, uint32_t size) {
  return block.length / size;
}

// Takes over the string; one whose text could not be had is dropped.
int InsertString(BLOCK& block, int32_t i, STR* string) {
  if (string && string->text && InsertElement(block, i, &string, sizeof string))
    return 1;
  delete string;
  return 0;
}

}  // namespace

// ---- STRVECT

STRVECT::~STRVECT() {
  clear();
}

int32_t STRVECT::count() const {
  return static_cast<int32_t>(CountOf(*this, sizeof(STR*)));
}

STR* STRVECT::at(int32_t i) const {
  STR* string = nullptr;
  if (InRange(*this, i, sizeof string))
    memcpy(&string, Element(*this, i, sizeof string), sizeof string);
  return string;
}

const char* STRVECT::text(int32_t i) const {
  const STR* string = at(i);
  return string ? string->c_str() : nullptr;
}

int STRVECT::add(const char* text) {
  return ins(text, count());
}

int STRVECT::add(TBLOCK text) {
  STR* string = new (std::nothrow) STR;
  if (string) *string = text;
  return InsertString(*this, count(), string);
}

int STRVECT::ins(const char* text, int32_t i) {
  return text ? InsertString(*this, i, new (std::nothrow) STR(text)) : 0;
}

int STRVECT::insSorted(const char* text) {
  int32_t low = 0;
  int32_t high = count();
  while (low < high) {
    const int32_t middle = low + (high - low) / 2;
    const int order = CompareNoCase(text, this->text(middle));
    if (order == 0) return 0;
    if (order < 0)
      high = middle;
    else
      low = middle + 1;
  }
  return ins(text, low);
}

int STRVECT::del(int32_t i) {
  STR* string = at(i);
  if (!DeleteElement(*this, i, sizeof string)) return 0;
  delete string;
  return 1;
}

void STRVECT::clear() {
  for (int32_t i = 0; i < count(); i++) delete at(i);
  empty();
}

// ---- TBLOCKVECT

const uint32_t TBLOCKVECT::kStep;
const uint32_t TBLOCKVECT::kSmallStep;
const int32_t TBLOCKVECT::kHashFrom;

TBLOCKVECT::TBLOCKVECT() : TBLOCKVECT(int32_t{kStep / sizeof(TBLOCK)}) {}

TBLOCKVECT::TBLOCKVECT(int32_t n)
    : BLOCK(n > 0 && static_cast<uint32_t>(n) <= kMaxBlockBytes / sizeof(TBLOCK)
                ? static_cast<uint32_t>(n) * sizeof(TBLOCK)
                : 0,
            kStep),
      separator('/'),
      separatorView(&separator, 1),
      maxCount(0),
      slots(nullptr),
      slotCount(0),
      seed(0),
      hashed(0) {}

TBLOCKVECT::TBLOCKVECT(TBLOCK text, int trim) : TBLOCKVECT() {
  while (!text.empty()) add(TBLOCK::NextMailLine(text), 0, trim);
}

TBLOCKVECT::~TBLOCKVECT() {
  dropHash();
}

int TBLOCKVECT::add(TBLOCK value, int allowEmpty, int trim) {
  if (maxCount != 0 && count() >= maxCount) return 0;
  if (trim) value.trim();
  if (value.empty() && !allowEmpty) return 0;
  if (capacity - length < sizeof value) return BLOCK::add(&value, sizeof value);
  memcpy(data + length, &value, sizeof value);
  length += static_cast<uint32_t>(sizeof value);
  return 1;
}

int TBLOCKVECT::addUnique(TBLOCK value, int allowEmpty, int trim) {
  if (trim) value.trim();
  return !contains(value) && add(value, allowEmpty, 0);
}

int TBLOCKVECT::del(int32_t i) {
  if (!DeleteElement(*this, i, sizeof(TBLOCK))) return 0;
  dropHash();
  return 1;
}

void TBLOCKVECT::setMaxCount(int32_t n) {
  maxCount = n;
  if (n < 0 || count() <= n) return;
  dropHash();
  length = static_cast<uint32_t>(n) * sizeof(TBLOCK);
}

int TBLOCKVECT::ins(TBLOCK value, int32_t i) {
  if (i < 0) return 0;
  if (i >= count()) return add(value, 0, 1);
  dropHash();
  return InsertElement(*this, i, &value, sizeof value);
}

int TBLOCKVECT::set(TBLOCK value, int32_t i) {
  if (!InRange(*this, i, sizeof value)) return 0;
  dropHash();
  memcpy(Element(*this, i, sizeof value), &value, sizeof value);
  return 1;
}

void TBLOCKVECT::clear() {
  dropHash();
  empty();
}

int TBLOCKVECT::patternCount(TBLOCK pattern) const {
  pattern.trim();
  int matches = 0;
  for (int32_t i = 0; i < count(); i++) {
    TBLOCK member = get(i);
    member.trim();
    matches += MatchWildcard(pattern, member, wmOverlap);
  }
  return matches;
}

int TBLOCKVECT::patternStrCount(const char* pattern) const {
  return patternCount(TBLOCK(pattern));
}

void TBLOCKVECT::fillFromBigBlock(TBLOCK text, char sep, int trim) {
  clear();
  while (!text.empty()) {
    TBLOCK piece = TBLOCK::BlockBeforeChar(text, sep, 0, 0);
    if (trim) piece.trim();
    add(piece, 0, 1);
  }
}

void TBLOCKVECT::fillStringList(STRVECT& strings) const {
  for (int32_t i = 0; i < count(); i++) strings.add(get(i));
}

void TBLOCKVECT::loadFromStrings(const STRVECT& strings) {
  clear();
  for (int32_t i = 0; i < strings.count(); i++)
    add(TBLOCK(strings.text(i)), 0, 1);
}

// ---- The hashes of addUnique

namespace {

uint32_t FoldedHash(TBLOCK value, uint32_t seed) {
  uint32_t hash = seed;
  const uint32_t n = value.empty() ? 0 : value.length;
  for (uint32_t i = 0; i < n; i++)
    hash = (hash ^ TBLOCK::LowerConvTable[value[i]]) * 16777619u;
  // Every bit of the state bears on the low ones, which choose the slot.
  hash = (hash ^ hash >> 16) * 0x85EBCA6Bu;
  hash = (hash ^ hash >> 13) * 0xC2B2AE35u;
  return hash ^ hash >> 16;
}

// Nobody who writes a message knows it, so that none can be made up of values
// that fall into one slot. It has no bearing on results.
uint32_t SeedOf(const void* heap) {
  const uintptr_t onHeap = reinterpret_cast<uintptr_t>(heap);
  const uintptr_t onStack = reinterpret_cast<uintptr_t>(&heap);
  return static_cast<uint32_t>(onHeap >> 3) * 0x9E3779B1u ^
         static_cast<uint32_t>(onStack >> 3) * 0x7FEB352Du;
}

}  // namespace

void TBLOCKVECT::dropHash() {
  delete[] slots;
  slots = nullptr;
  slotCount = 0;
  hashed = 0;
}

// Brings the hashes up to the elements, in a larger table when this one would
// be more than half full. False when memory is short.
bool TBLOCKVECT::extendHash() {
  const uint32_t wanted = static_cast<uint32_t>(count()) * 2;
  if (!slots || wanted > slotCount) {
    dropHash();
    uint32_t size = 4 * kHashFrom;
    while (size < wanted * 2) size *= 2;
    slots = new (std::nothrow) uint32_t[size]();
    if (!slots) return false;
    slotCount = size;
    seed = SeedOf(slots);
  }
  for (; hashed < count(); hashed++) {
    uint32_t* slot = slotOf(get(hashed));
    if (!*slot) *slot = static_cast<uint32_t>(hashed) + 1;
  }
  return true;
}

// The slot of an equal element, else the free one for the value.
uint32_t* TBLOCKVECT::slotOf(TBLOCK value) const {
  uint32_t slot = FoldedHash(value, seed) & (slotCount - 1);
  while (slots[slot] &&
         !get(static_cast<int32_t>(slots[slot] - 1)).equals(value))
    slot = (slot + 1) & (slotCount - 1);
  return slots + slot;
}

bool TBLOCKVECT::contains(TBLOCK value) {
  if (count() < kHashFrom || !extendHash()) {
    for (int32_t i = 0; i < count(); i++)
      if (get(i).equals(value)) return true;
    return false;
  }
  return *slotOf(value) != 0;
}

// ---- INTVECT

int INTVECTGURU::compare(int a, int b) {
  const int64_t difference = static_cast<int64_t>(a) - b;
  if (difference > INT32_MAX) return INT32_MAX;
  return difference < INT32_MIN ? INT32_MIN : static_cast<int>(difference);
}

int32_t INTVECT::count() const {
  return static_cast<int32_t>(CountOf(*this, sizeof(int32_t)));
}

int32_t INTVECT::get(int32_t i) const {
  int32_t value = 0;
  if (InRange(*this, i, sizeof value))
    memcpy(&value, Element(*this, i, sizeof value), sizeof value);
  return value;
}

void INTVECT::set(int32_t value, int32_t i) {
  if (InRange(*this, i, sizeof value))
    memcpy(Element(*this, i, sizeof value), &value, sizeof value);
}

int INTVECT::add(int32_t value) {
  return BLOCK::add(&value, sizeof value);
}

int INTVECT::ins(int32_t value, int32_t i) {
  return InsertElement(*this, i, &value, sizeof value);
}

int INTVECT::del(int32_t i) {
  return DeleteElement(*this, i, sizeof(int32_t));
}

namespace {

// Moves the element at `root` down until none below it is larger. Places
// count from `lo`; the heap has n elements.
void SiftDown(INTVECT& vector, int lo, int root, int n, INTVECTGURU* guru) {
  const int32_t moved = vector.get(lo + root);
  for (;;) {
    int child = 2 * root + 1;
    if (child >= n) break;
    if (child + 1 < n &&
        guru->compare(vector.get(lo + child), vector.get(lo + child + 1)) < 0)
      child++;
    const int32_t larger = vector.get(lo + child);
    if (guru->compare(moved, larger) >= 0) break;
    vector.set(larger, lo + root);
    root = child;
  }
  vector.set(moved, lo + root);
}

}  // namespace

// A heap sort: the data may be a hostile message's.
void INTVECT::_sort(int lo, int hi, INTVECTGURU* guru) {
  INTVECTGURU plain;
  if (!guru) guru = &plain;
  if (lo < 0) lo = 0;
  if (hi >= count()) hi = count() - 1;
  if (lo >= hi) return;
  const int n = hi - lo + 1;
  for (int root = n / 2; root-- > 0;) SiftDown(*this, lo, root, n, guru);
  for (int end = n - 1; end > 0; end--) {
    const int32_t largest = get(lo);
    set(get(lo + end), lo);
    set(largest, lo + end);
    SiftDown(*this, lo, 0, end, guru);
  }
}
