// The walk along a node list: the state of one match call, shared by the
// rejects in front of it (zr_regexec.cc) and the walk itself (zr_walk.cc).

#ifndef REGEX_ZR_WALK_H_
#define REGEX_ZR_WALK_H_

#include "regex/zr_search.h"

enum zr_way {
  ZR_WAY_FORWARD,
  ZR_WAY_BACK,
  ZR_WAY_MATCHED,
  ZR_WAY_FAILED,
  ZR_WAY_EXHAUSTED,
  ZR_WAY_BROKEN
};

struct zr_slot {
  uint32_t start;  // ZR_NONE: not set
  uint32_t end;
  uint32_t count;      // iterations of the group on this path
  uint32_t noCapture;  // filled only when results are written
};

// Windows of one alternative found ahead of the scan.
struct zr_ahead {
  uint32_t record;  // ZR_NONE: none yet
  uint32_t from;    // where the last scan began
  uint32_t next[ZR_MAX_STARTS];
};

// State of one call.
struct zr_walker {
  const zr_regex* preg;
  const zr_plan* plan;
  const zr_node* nodes;
  const zr_group* groups;
  uint32_t nodeCount;
  uint32_t groupCount;
  const uint8_t* text;
  uint32_t length;

  uint32_t node;      // forward: the next to match; back: the next to undo
  uint32_t position;  // in the text
  uint32_t record;    // current alternative
  uint32_t base;      // where scans begin
  uint32_t closed;    // iterations of groups closed on this path
  uint32_t steps;
  const zr_place* places;  // those of `mask`
  uint8_t mask;

  zr_ahead* ahead;
  zr_slot* slots;
  uint32_t* cells;
  uint32_t top;
  uint32_t capacity;
  uint32_t* heapCells;  // null while the local array is enough
};

// Walks from `base` to a match or none; the caller has set all up to `mask`
// and the slots. ZR_WAY_MATCHED, _FAILED, _EXHAUSTED or _BROKEN; with the first
// all slots are set.
zr_way zr_walk(zr_walker* w);

// Whether a literal stands at `text`, which has enough bytes.
bool zr_same_bytes(const zr_walker* w, const zr_node& literal,
                   const uint8_t* text, uint8_t mask);

inline void zr_set_mask(zr_walker* w, uint8_t mask) {
  w->mask = mask;
  w->places = w->plan->places[mask == 0xFF ? 0 : 1];
}

inline bool zr_fits(const zr_walker* w, const zr_place& place, uint8_t byte) {
  return zr_place_fits(place, w->preg->search->sets, byte);
}

#endif  // REGEX_ZR_WALK_H_
