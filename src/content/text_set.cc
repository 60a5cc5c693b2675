// Open addressing over slots of two bytes, at most half of them in use. Tested
// by text_set_test.cc.

#include "content/text_set.h"

#include <string.h>

namespace {

struct ENTRY {
  TBLOCK text;
  uint32_t hash;
};

const uint32_t kFactor1 = 0x9E3779B1;
const uint32_t kFactor2 = 0x85EBCA77;

uint32_t Word(const unsigned char* p) {
  uint32_t word;
  memcpy(&word, p, sizeof word);
  return word;
}

// Up to three bytes.
uint32_t ShortWord(const unsigned char* p, uint32_t n) {
  uint32_t word = n;
  for (uint32_t i = 0; i < n; i++) word = word << 8 | p[i];
  return word;
}

// Every bit of either number reaches all bits of both.
void Mix(uint32_t& a, uint32_t& b) {
  const uint64_t product = uint64_t{a ^ kFactor1} * (b ^ kFactor2);
  a = static_cast<uint32_t>(product);
  b = static_cast<uint32_t>(product >> 32);
}

uint32_t PowerOfTwo(uint32_t least) {
  uint32_t power = 1;
  while (power < least) power *= 2;
  return power;
}

const ENTRY* EntriesOf(const BLOCK& texts) {
  return reinterpret_cast<const ENTRY*>(texts.data);
}

uint16_t* SlotsOf(const BLOCK& slots) {
  return reinterpret_cast<uint16_t*>(slots.data);
}

}  // namespace

TEXTSET::TEXTSET(uint32_t most)
    : limit(most),
      slotMask(PowerOfTwo(most * 2) - 1),
      texts(0, 0),
      slots(0, 0) {}

int32_t TEXTSET::count() const {
  return static_cast<int32_t>(texts.length / sizeof(ENTRY));
}

uint32_t TEXTSET::hashOf(TBLOCK text) const {
  const uint32_t seed =
      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(this) >> 4);
  uint32_t a = seed;
  uint32_t b = seed ^ text.length;
  Mix(a, b);
  const unsigned char* p = text.pointer;
  uint32_t n = text.length;
  for (; n >= 8; n -= 8, p += 8) {
    a ^= Word(p);
    b ^= Word(p + 4);
    Mix(a, b);
  }
  if (n >= 4) {
    a ^= Word(p);
    n -= 4;
    p += 4;
  }
  b ^= ShortWord(p, n);
  Mix(a, b);
  a ^= seed;
  Mix(a, b);
  return a ^ b;
}

int32_t TEXTSET::find(TBLOCK text, uint32_t hash) const {
  if (texts.length == 0) return -1;
  const uint16_t* const places = SlotsOf(slots);
  for (uint32_t i = hash & slotMask; places[i]; i = (i + 1) & slotMask) {
    const ENTRY& entry = EntriesOf(texts)[places[i] - 1];
    if (entry.hash == hash && entry.text.length == text.length &&
        memcmp(entry.text.pointer, text.pointer, text.length) == 0)
      return places[i] - 1;
  }
  return -1;
}

int32_t TEXTSET::add(TBLOCK text, uint32_t hash) {
  const uint32_t number = static_cast<uint32_t>(count());
  if (number >= limit || !makeRoom()) return -1;
  uint16_t* const places = SlotsOf(slots);
  uint32_t i = hash & slotMask;
  while (places[i]) i = (i + 1) & slotMask;
  places[i] = static_cast<uint16_t>(number + 1);
  ENTRY* const entry = reinterpret_cast<ENTRY*>(texts.data) + number;
  entry->text = text;
  entry->hash = hash;
  texts.length += sizeof(ENTRY);
  return static_cast<int32_t>(number);
}

// All that the set will ever need, at the first text.
bool TEXTSET::makeRoom() {
  const uint32_t slotBytes = (slotMask + 1) * uint32_t{sizeof(uint16_t)};
  const uint32_t textBytes = limit * uint32_t{sizeof(ENTRY)};
  if (texts.capacity < textBytes && !texts.addSpace(textBytes)) return false;
  if (slots.length == slotBytes) return true;
  if (slots.capacity < slotBytes && !slots.addSpace(slotBytes)) return false;
  memset(slots.data, 0, slotBytes);
  slots.length = slotBytes;
  return true;
}

void TEXTSET::clear() {
  texts.empty();
  slots.empty();
}
