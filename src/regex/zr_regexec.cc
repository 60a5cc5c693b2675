// The matcher's entry. Nearly all subjects end here, at a few rejects that
// look at no node: the first byte, the shortest length, what a closing "$"
// has before it, and the windows that every match holds. What is left is
// walked (zr_walk.cc). Entry points: zr_regexec_len and zr_regexec. Tested by
// zr_regexec_test.cc and against the model.

#include <stdlib.h>
#include <string.h>

#include "regex/zr_walk.h"

// Patterns with more captures take memory, however many alternatives they have.
static const uint32_t kLocalSlots = 64;

// ---- Rejects that come before the walk

// A subject byte folded as at the pattern's start.
static uint8_t FoldAtStart(const zr_regex* preg, uint8_t byte) {
  return byte & (zr_MaskTable[byte] | preg->caseMask);
}

// Whether there is a place to begin. Windows, where there are any, know better
// than the first byte.
static bool FindBase(const zr_regex* preg, const uint8_t* text, uint32_t length,
                     uint32_t* base) {
  const zr_search* search = preg->search;
  if (preg->startKind == 1 && (search->faithful || search->coverCount == 0)) {
    const uint8_t wanted = preg->startByte;
    while (*base < length && FoldAtStart(preg, text[*base]) != wanted) ++*base;
    if (*base == length) return false;
  } else if (preg->startKind == 2) {
    const uint8_t wanted = preg->startByte;
    if (FoldAtStart(preg, text[0]) != wanted) return false;
  }
  return length - *base >= preg->minLength;
}

// Where the first of `count` windows is that the text holds, ZR_NONE if none.
static uint32_t FindAny(const zr_search* search, uint32_t first, uint32_t count,
                        const uint8_t* text, uint32_t length, uint32_t from) {
  for (uint32_t i = first; i < first + count; i++) {
    const uint32_t found =
        zr_window_find(search->windows[i], search->sets, text, length, from);
    if (found != ZR_NONE) return found;
  }
  return ZR_NONE;
}

// Whether the text holds the windows that every match has.
static bool IsCovered(const zr_search* search, const uint8_t* text,
                      uint32_t length, uint32_t* base) {
  const uint32_t count = search->coverCount;
  if (count == 0) return true;
  const uint32_t found = FindAny(search, 0, count, text, length, 0);
  if (found == ZR_NONE) return false;
  if (search->coverLeads && found > *base) *base = found;
  return search->secondCount == 0 || FindAny(search, count, search->secondCount,
                                             text, length, *base) != ZR_NONE;
}

// Tests one repetition of the element `index` in front of `*end`.
static bool EndsWith(const zr_walker* w, uint32_t index, uint32_t* end) {
  const zr_node& node = w->nodes[index];
  if (node.opcode == ZR_EOS) return *end == w->length;
  if (node.opcode == ZR_BOS) return *end == 0;
  if (node.opcode == ZR_STRING) {
    const uint32_t width = node.b - node.a + 1;
    if (width > *end) return false;
    *end -= width;
    return zr_same_bytes(w, node, w->text + *end, w->mask);
  }
  if (*end == 0) return false;
  --*end;
  return zr_fits(w, w->places[index], w->text[*end]);
}

// One of a group's literals in stored order; the first that fits stays.
static bool EndsWithLiteral(const zr_walker* w, uint32_t open, uint32_t* end) {
  for (uint32_t i = open + 1; i < w->nodes[open].b; i += 2) {
    uint32_t before = *end;
    if (!EndsWith(w, i, &before)) continue;
    *end = before;
    return true;
  }
  return false;
}

// Looks at what stands right before a closing "$", from the text's end
// backwards and without a second try. ZR_WAY_FORWARD: the walk has to tell.
static zr_way CheckTail(zr_walker* w, bool capturing) {
  uint32_t i = w->nodeCount - 2;
  const uint32_t count = w->nodes[i].a;
  if (w->preg->caseNodes) zr_set_mask(w, static_cast<uint8_t>(w->nodes[i].b));
  uint32_t end = w->length;
  for (uint32_t k = 0; k < count; k++) {
    const zr_node& node = w->nodes[--i];
    if (node.opcode == ZR_BS) return ZR_WAY_BROKEN;
    if (node.opcode == ZR_START)
      return capturing ? ZR_WAY_FORWARD : ZR_WAY_MATCHED;
    if (node.opcode == ZR_OPEN || node.opcode == ZR_CLOSE) continue;
    if (node.opcode == ZR_LITCLOSE) {
      i = node.a;
      if (!EndsWithLiteral(w, i, &end)) return ZR_WAY_FAILED;
    } else if (!EndsWith(w, i, &end)) {
      return ZR_WAY_FAILED;
    }
  }
  return ZR_WAY_FORWARD;
}

// ---- Results

static zr_pair PairOfSlot(const zr_slot& slot) {
  if (slot.start == ZR_NONE || slot.end == ZR_NONE) return zr_pair{-1, -1};
  return zr_pair{static_cast<int32_t>(slot.start),
                 static_cast<int32_t>(slot.end)};
}

static void FillPairs(zr_walker* w, uint32_t nmatch, zr_pair* pmatch) {
  for (uint32_t i = 0; i < w->groupCount; i++)
    w->slots[w->groups[i].capture].noCapture = w->groups[i].noCapture;
  uint32_t written = 0;
  for (uint32_t i = 0; i < w->plan->slotCount && written < nmatch; i++)
    if (!w->slots[i].noCapture) pmatch[written++] = PairOfSlot(w->slots[i]);
  if (written < nmatch - 1) pmatch[written] = zr_pair{-1, -1};
}

static void ClearSlots(zr_walker* w) {
  for (uint32_t i = 0; i < w->plan->slotCount; i++)
    w->slots[i] = zr_slot{ZR_NONE, ZR_NONE, 0, 0};
}

static void ChooseList(zr_walker* w, const zr_regex* preg, bool full) {
  w->preg = preg;
  w->plan = full ? &preg->search->full : &preg->search->fast;
  w->nodes = full ? preg->nodes : preg->fastNodes;
  w->nodeCount = full ? preg->nodeCount : preg->fastNodeCount;
  w->groups = full ? preg->groups : preg->fastGroups;
  w->groupCount = full ? preg->groupCount : preg->fastGroupCount;
}

static zr_way MatchWithSlots(zr_walker* w, uint32_t nmatch, zr_pair* pmatch) {
  zr_way way = ZR_WAY_MATCHED;
  ClearSlots(w);
  if (w->length != 0) {
    way = zr_walk(w);
  } else {
    w->slots[0].start = w->slots[0].end = 0;  // no node is looked at
  }
  if (way == ZR_WAY_MATCHED && nmatch != 0 && pmatch)
    FillPairs(w, nmatch, pmatch);
  return way;
}

// The state of a walk is in this frame, which rejected subjects do not pay
// for.
static __attribute__((noinline)) zr_way MatchFrom(
    const zr_regex* preg, const uint8_t* text, uint32_t length, uint32_t base,
    uint32_t nmatch, zr_pair* pmatch) {
  zr_walker w = {};
  ChooseList(&w, preg, preg->hasBackref || nmatch != 0);
  w.text = text;
  w.length = length;
  w.base = base;
  if (w.plan->hasTail && length != 0) {
    zr_set_mask(&w, preg->caseMask);
    const zr_way way = CheckTail(&w, nmatch != 0 && pmatch);
    if (way != ZR_WAY_FORWARD) return way;
    if (!IsCovered(preg->search, text, length, &w.base)) return ZR_WAY_FAILED;
  }
  zr_slot slots[kLocalSlots];
  w.slots = slots;
  if (w.plan->slotCount <= kLocalSlots)
    return MatchWithSlots(&w, nmatch, pmatch);
  void* memory = malloc(w.plan->slotCount * sizeof(zr_slot));
  if (!memory) return ZR_WAY_EXHAUSTED;
  w.slots = static_cast<zr_slot*>(memory);
  const zr_way way = MatchWithSlots(&w, nmatch, pmatch);
  free(memory);
  return way;
}

// Whether the text can be told not to match without a walk, and if not, where
// a walk has to begin. A tail is looked at before all of the text is.
static bool IsRejected(const zr_regex* preg, const uint8_t* text,
                       uint32_t length, bool full, uint32_t* base) {
  if (length == 0) return preg->minLength != 0;
  if (!FindBase(preg, text, length, base)) return true;
  const zr_search* search = preg->search;
  if ((full ? search->full : search->fast).hasTail) return false;
  return !IsCovered(search, text, length, base);
}

int zr_regexec_len(const zr_regex* preg, const char* subject, uint32_t nmatch,
                   zr_pair* pmatch, int eflags, uint32_t length) {
  (void)eflags;
  const uint8_t* text = reinterpret_cast<const uint8_t*>(subject);
  const bool full = preg->hasBackref || nmatch != 0;
  uint32_t base = 0;
  zr_way way = ZR_WAY_FAILED;
  if (!IsRejected(preg, text, length, full, &base))
    way = MatchFrom(preg, text, length, base, nmatch, pmatch);
  if (way == ZR_WAY_MATCHED) return ZR_OK;
  if (nmatch != 0 && pmatch) pmatch[0] = zr_pair{-1, -1};
  if (way == ZR_WAY_EXHAUSTED) return ZR_NOMEMORY;
  return way == ZR_WAY_BROKEN ? ZR_INTERNAL : ZR_NOMATCH;
}

int zr_regexec(const zr_regex* preg, const char* subject, uint32_t nmatch,
               zr_pair* pmatch, int eflags) {
  return zr_regexec_len(preg, subject, nmatch, pmatch, eflags,
                        static_cast<uint32_t>(strlen(subject)));
}
