// Windows of grams: the bytes with which one of many texts begins, or that it
// holds, as a table.
//
// A piece is a stretch of a few places. All combinations of bytes that fit it
// are entered, with the case bit set, so that a look at the table is the same
// for patterns that fold and those that don't. Pieces of one window have one
// length, that of the shortest. Entry points: zr_grams_piece and zr_grams_add.
// Tested by regex_model_test.cc and, as nothing here may change an answer,
// against the model.

#include <stdlib.h>

#include "regex/zr_search.h"

static const uint32_t kMaxCombinations = 128;  // of one piece
static const uint32_t kBitsPerGram = 32;
static const uint32_t kSlotsPerGram = 2;
static const uint32_t kMinBits = 9;  // of an index into the bits

namespace {

// The bytes that fit a place, with the case bit set.
struct Folded {
  uint32_t count;
  uint8_t bytes[128];
};

}  // namespace

static Folded FoldPlace(const zr_search* search, const zr_place& place) {
  const zr_set set = zr_search_set(search, place);
  Folded folded;
  folded.count = 0;
  for (uint32_t c = 0x20; c < 256; c++)
    if ((c & 0x20) && (zr_set_has(set, c) || zr_set_has(set, c & ~0x20u)))
      folded.bytes[folded.count++] = static_cast<uint8_t>(c);
  return folded;
}

// Of `length` places from `first` on.
static uint32_t CountCombinations(const zr_search* search,
                                  const zr_place* places, uint32_t length) {
  uint32_t count = 1;
  for (uint32_t i = 0; i < length && count <= kMaxCombinations; i++)
    count *= FoldPlace(search, places[i]).count;
  return count;
}

static const double kCommonFactor = 1000;

static double ShareOfPlaces(const zr_search* search, const zr_place* places,
                            uint32_t length) {
  double share =
      zr_search_is_common(search, places, length) ? kCommonFactor : 1;
  for (uint32_t i = 0; i < length; i++)
    share *= zr_search_share(search, places[i]);
  return share;
}

// Where the rarest stretch of `width` places begins.
static uint32_t FindRarest(const zr_search* search, const zr_place* places,
                           uint32_t length, uint32_t width) {
  uint32_t best = 0;
  double least = 2 * kCommonFactor;
  for (uint32_t i = 0; i + width <= length; i++) {
    const double share = ShareOfPlaces(search, places + i, width);
    if (share >= least) continue;
    least = share;
    best = i;
  }
  return best;
}

uint32_t zr_grams_piece(const zr_search* search, const zr_draft& draft,
                        bool atStart, zr_pieces* pieces) {
  if (pieces->count == ZR_MAX_PIECES) return ZR_NONE;
  uint32_t width = draft.length < ZR_MAX_GRAM ? draft.length : ZR_MAX_GRAM;
  for (; width != 0; width--) {
    const uint32_t from =
        atStart ? 0 : FindRarest(search, draft.places, draft.length, width);
    if (CountCombinations(search, draft.places + from, width) >
        kMaxCombinations)
      continue;
    if (pieces->count == pieces->capacity) {
      const uint32_t capacity = pieces->capacity ? 2 * pieces->capacity : 16;
      void* grown = realloc(pieces->list, capacity * sizeof(zr_piece));
      if (!grown) return ZR_NONE;
      pieces->list = static_cast<zr_piece*>(grown);
      pieces->capacity = capacity;
    }
    zr_piece& piece = pieces->list[pieces->count];
    piece.next = ZR_NONE;
    piece.length = static_cast<uint8_t>(width);
    for (uint32_t i = 0; i < width; i++)
      piece.places[i] = draft.places[from + i];
    return pieces->count++;
  }
  return ZR_NONE;
}

static void EnterGram(uint32_t gram, zr_window* window) {
  const uint32_t hash = zr_gram_hash(gram);
  const uint32_t bit = hash >> window->gramShift;
  window->grams[bit >> 5] |= 1u << (bit & 31);
  uint32_t* slots = zr_gram_slots(*window);
  const uint32_t last = zr_gram_slot_count(*window) - 1;
  uint32_t i = hash >> window->slotShift;
  while (slots[i] && slots[i] != gram) i = (i + 1) & last;
  slots[i] = gram;
}

// Enters all combinations of the places.
static void EnterPlaces(const zr_search* search, const zr_place* places,
                        uint32_t width, zr_window* window) {
  Folded folded[ZR_MAX_GRAM];
  uint32_t at[ZR_MAX_GRAM] = {};
  for (uint32_t i = 0; i < width; i++) {
    folded[i] = FoldPlace(search, places[i]);
    if (folded[i].count == 0) return;  // nothing fits
  }
  for (uint32_t i = 0; i < width;) {
    uint32_t gram = 0;
    for (i = 0; i < width; i++)
      gram |= uint32_t{folded[i].bytes[at[i]]} << (8 * i);
    EnterGram(gram, window);
    for (i = 0; i < width && ++at[i] == folded[i].count; i++) at[i] = 0;
  }
}

// The stretch of a piece that has the window's width.
static const zr_place* Stretch(const zr_search* search, const zr_piece& piece,
                               uint32_t width, bool atStart) {
  if (atStart || piece.length == width) return piece.places;
  return piece.places + FindRarest(search, piece.places, piece.length, width);
}

// How many bits an index into so many things has, at least `bits`.
static uint32_t BitsFor(uint32_t count, uint32_t bits) {
  while ((1u << bits) < count) bits++;
  return bits;
}

static bool IsInClass(const zr_piece& piece, uint32_t least, uint32_t most) {
  return piece.length >= least && piece.length <= most;
}

// Adds the window of the pieces with so many places; false without memory.
static bool AddClass(zr_search* search, const zr_grams& grams, uint32_t least,
                     uint32_t most) {
  const zr_piece* const list = grams.pieces->list;
  uint32_t width = most;
  for (uint32_t i = grams.first; i != ZR_NONE; i = list[i].next)
    if (IsInClass(list[i], least, width)) width = list[i].length;
  uint32_t pieces = 0, count = 0;
  for (uint32_t i = grams.first; i != ZR_NONE; i = list[i].next) {
    if (!IsInClass(list[i], least, most)) continue;
    pieces++;
    count += CountCombinations(
        search, Stretch(search, list[i], width, grams.atStart), width);
  }
  if (pieces == 0) return true;
  // Places that nothing fits make a window that is nowhere.
  if (count == 0) count = 1;
  const uint32_t bits = BitsFor(kBitsPerGram * count, kMinBits);
  const uint32_t slotBits = BitsFor(kSlotsPerGram * count, 1);
  zr_window* window = zr_search_add_window(search);
  if (!window) return false;
  window->length = static_cast<uint8_t>(width);
  window->anchored = grams.anchored;
  window->weak = grams.share > ZR_WEAK_SHARE;
  window->gramShift = 32 - bits;
  window->slotShift = 32 - slotBits;
  window->grams = static_cast<uint32_t*>(
      calloc((1u << bits) / 32 + (1u << slotBits), sizeof(uint32_t)));
  if (!window->grams) return false;
  for (uint32_t i = grams.first; i != ZR_NONE; i = list[i].next)
    if (IsInClass(list[i], least, most))
      EnterPlaces(search, Stretch(search, list[i], width, grams.atStart), width,
                  window);
  return true;
}

// Short pieces have windows of their own, lest all be as short.
uint32_t zr_grams_add(zr_search* search, const zr_grams& grams) {
  const uint32_t before = search->windowCount;
  const bool added = AddClass(search, grams, 3, ZR_MAX_GRAM) &&
                     AddClass(search, grams, 2, 2) &&
                     AddClass(search, grams, 1, 1);
  return added ? search->windowCount - before : 0;
}
