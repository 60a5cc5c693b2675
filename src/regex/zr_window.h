// Windows: a few neighbouring bytes that a match must hold, each one of a set,
// and the search for one in a subject, 16 or 64 bytes at a time (SSE2).
//
// Two places of a window, the rarest in mail, are tested with wide compares;
// only where both fit are all of them looked at. A window of grams stands for
// many short texts at once: a table tells which bytes in a row one of them may
// begin with, at one look a byte, however many texts there are.

#ifndef REGEX_ZR_WINDOW_H_
#define REGEX_ZR_WINDOW_H_

#include "regex/zr_regex.h"

// A set of bytes: byte c is in when bit c % 32 of bits[c / 32] is set.
struct zr_set {
  uint32_t bits[8];
};

// What may stand in one place of a subject. Without a set (ZR_NONE) the bytes
// for which (byte | loose) == value: loose 0 is one byte, 0x20 a letter of
// either case.
struct zr_place {
  uint32_t set;  // index into zr_search::sets, or ZR_NONE
  uint8_t loose;
  uint8_t value;
};

static const uint32_t ZR_MAX_PLACES = 16;  // of one window
static const uint32_t ZR_MAX_RANGES = 3;   // of one probe
static const uint32_t ZR_MAX_GRAM = 4;     // bytes of one gram

// A place as the wide compare tests it: (byte | loose) in one of the ranges
// low to low + width. May accept bytes that the place does not.
struct zr_probe {
  uint8_t at;  // index of the place
  uint8_t ranges;
  // Each of them four times in a word, as the wide compare takes it.
  uint32_t loose;
  uint32_t low[ZR_MAX_RANGES];
  uint32_t width[ZR_MAX_RANGES];
};

struct zr_window {
  uint8_t length;    // places
  uint8_t anchored;  // 1: only at offset 0
  uint8_t ended;     // 1: only at the text's end
  uint8_t exact;     // 1: both probes are a single value
  uint8_t weak;      // 1: so common that it rejects little
  uint32_t run;      // if not 0: all that counts is the first place, so often
  // If not null: all that counts is whether the `length` bytes at the start are
  // one of a number of grams: a bit for each hash of one, behind these a table
  // of the grams. Owned by the zr_search.
  uint32_t* grams;
  uint32_t gramShift;  // zr_gram_hash, shifted right by this: a bit's index
  uint32_t slotShift;  // shifted by this: where to look in the table from
  zr_probe probes[2];
  zr_place places[ZR_MAX_PLACES];
};

inline bool zr_set_has(const zr_set& set, uint32_t byte) {
  return (set.bits[byte >> 5] >> (byte & 31)) & 1;
}

inline void zr_set_add(zr_set* set, uint32_t byte) {
  set->bits[byte >> 5] |= 1u << (byte & 31);
}

inline void zr_set_add_all(zr_set* set, const zr_set& other) {
  for (uint32_t i = 0; i < 8; i++) set->bits[i] |= other.bits[i];
}

// The first byte from `from` on that is in the set; 256 when there is none.
inline uint32_t zr_set_next(const zr_set& set, uint32_t from) {
  for (uint32_t c = from; c < 256; c = (c | 31) + 1) {
    const uint32_t rest = set.bits[c >> 5] >> (c & 31);
    if (rest) return c + static_cast<uint32_t>(__builtin_ctz(rest));
  }
  return 256;
}

inline bool zr_place_fits(const zr_place& place, const zr_set* sets,
                          uint8_t byte) {
  if (place.set == ZR_NONE) return (byte | place.loose) == place.value;
  return zr_set_has(sets[place.set], byte);
}

// Of the bytes of a gram, the first one lowest, those behind it 0, each with
// the case bit set. No gram is 0, which marks what is free in the table.
inline uint32_t zr_gram_hash(uint32_t gram) {
  return gram * 0x9E3779B1u;
}

// The table of a window of grams: 0 where nothing stands.
inline uint32_t* zr_gram_slots(const zr_window& window) {
  return window.grams + (1u << (32 - window.gramShift)) / 32;
}

inline uint32_t zr_gram_slot_count(const zr_window& window) {
  return 1u << (32 - window.slotShift);
}

// The first offset from `from` on at which the whole window fits; ZR_NONE when
// there is none.
uint32_t zr_window_find(const zr_window& window, const zr_set* sets,
                        const uint8_t* text, uint32_t length, uint32_t from);

#endif  // REGEX_ZR_WINDOW_H_
