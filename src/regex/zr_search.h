// What the matcher works out of a compiled record once, so that it need not
// again for every subject: the byte set of every node, windows that every
// matching subject must hold, and those that an alternative begins with.
//
// Only zr_regcomp_len (zr_search_build as its last act), zr_regfree
// (zr_search_free) and the matcher include this.

#ifndef REGEX_ZR_SEARCH_H_
#define REGEX_ZR_SEARCH_H_

#include "regex/zr_regex.h"
#include "regex/zr_window.h"

// What can come behind a greedy one-byte element; or, for a bracket that opens
// a group and for an alternative, what it and all behind it can begin with.
struct zr_follow {
  zr_place place;  // the next byte
  uint8_t atEnd;   // 1: or the text's end
  uint8_t apart;   // 1: no byte of the element's own
  uint8_t mayEnd;  // 1: or nothing: the pattern may be complete
  uint8_t guards;  // 1, of these two: anything else fails
};

static const uint32_t ZR_MAX_STARTS = 8;  // windows of one alternative

// How to search for the start of an alternative: with `count` windows from
// zr_search::windows[first] on, one of which stands there. 0: unknown.
struct zr_start {
  uint32_t first;
  uint8_t count;
  // 1: the alternative begins with a run; the window is the run's last byte
  // and what follows it.
  uint8_t edge;
};

// Derived from one of the two node lists.
struct zr_plan {
  // What each one-byte node matches once: places[0] under case mask 0xFF,
  // places[1] under 0xDF. Null for a mask that is never in force. Owned.
  zr_place* places[2];
  zr_follow* follows;  // by node; set where bytes may be given back. Owned
  zr_follow* begins;   // by group record. Owned
  zr_start* starts;    // by group record, where `skip` is set. Owned
  uint32_t slotCount;  // capture slots that its groups use
  uint32_t hasTail;    // 1: there is a tail to check before anything else
};

struct zr_search {
  zr_plan full;  // of zr_regex::nodes
  zr_plan fast;  // of zr_regex::fastNodes
  zr_set* sets;  // owned
  uint32_t setCount;
  uint32_t setCapacity;
  zr_window* windows;  // owned
  uint32_t windowCount;
  uint32_t windowCapacity;
  // windows[0..coverCount): every match holds at least one. 0: not known.
  uint32_t coverCount;
  // The same of so many windows behind those.
  uint32_t secondCount;
  // 1: no match begins before the first place that windows[0] fits.
  uint32_t coverLeads;
  // 1: a match call may give up (answer 10 or 11) for a reason that callers
  // are to see, so nothing is rejected and no attempt left out.
  uint32_t faithful;
};

// Fills preg->search from the finished lists: ZR_OK, or ZR_NOMEMORY.
int zr_search_build(zr_regex* preg);

// Null is accepted.
void zr_search_free(zr_search* search);

// ---- Shared by zr_search.cc, zr_cover.cc, zr_grams.cc and zr_follow.cc

// zr_sets.cc: the subject bytes that a one-byte node matches under a mask.
zr_set zr_set_of_node(const zr_regex* preg, const zr_node& node, uint8_t mask);

// Windows are drafted from places.
struct zr_draft {
  uint32_t length;
  bool anchored;
  bool ended;    // a "$" comes directly behind
  bool leads;    // begins where the match begins
  uint32_t run;  // if not 0: so many times the first place, and no more
  zr_place places[ZR_MAX_PLACES];
};

// What a text is sure to hold, as a window of grams wants it: places in a row.
// Lists of pieces stand for texts with one of them.
struct zr_piece {
  uint32_t next;  // in zr_pieces::list, or ZR_NONE
  uint8_t length;
  zr_place places[ZR_MAX_GRAM];
};

static const uint32_t ZR_MAX_PIECES = 512;  // of one pattern
// Windows found at more of all starts are weak.
static const double ZR_WEAK_SHARE = 0.1;

struct zr_pieces {
  zr_piece* list;  // owned
  uint32_t count;
  uint32_t capacity;
};

// What windows of grams are made of.
struct zr_grams {
  const zr_pieces* pieces;
  uint32_t first;  // of the list
  bool atStart;    // all are what their drafts begin with
  bool anchored;   // and stand at offset 0
  double share;    // of starts at which one is found
};

inline bool zr_is_byte(uint32_t opcode) {
  return opcode <= ZR_NOTDIGIT && opcode != ZR_STRING;
}

// The place of the bytes in `set`; false when memory is out.
bool zr_search_place(zr_search* search, const zr_set& set, zr_place* place);
zr_set zr_search_set(const zr_search* search, const zr_place& place);
// Adds what a pool byte stands for, and what a one-byte element or a literal
// begins with, under every case mask that may be in force.
void zr_search_add_byte(const zr_plan& plan, uint32_t wanted, zr_set* set);
void zr_search_add_first(const zr_regex* preg, const zr_plan& plan,
                         const zr_node& node, uint32_t index, zr_set* set);
// Appends a window with the best probes; its index, ZR_NONE without memory.
uint32_t zr_search_add(zr_search* search, const zr_draft& draft);
// Appends an empty window, or null without memory.
zr_window* zr_search_add_window(zr_search* search);
// Nanoseconds, roughly, that a subject which fails costs with this window.
double zr_search_cost(const zr_search* search, const zr_draft& draft);
// The same for a window of grams that is found at this share of all starts.
double zr_search_gram_cost(double share, bool leads, bool anchored);
// The share of starts at which a window fits, roughly; of bytes for one place.
double zr_search_share(const zr_search* search, const zr_draft& draft);
double zr_search_share(const zr_search* search, const zr_place& place);

// Whether the places are a part of what is far more frequent in mail than its
// bytes are.
bool zr_search_is_common(const zr_search* search, const zr_place* places,
                         uint32_t length);

// zr_grams.cc: appends the piece of a draft that is rarest in mail, with
// `atStart` one that it begins with; its index, ZR_NONE when there is none.
uint32_t zr_grams_piece(const zr_search* search, const zr_draft& draft,
                        bool atStart, zr_pieces* pieces);
// Appends windows one of which is found where any of the pieces stands; how
// many, 0 without memory.
uint32_t zr_grams_add(zr_search* search, const zr_grams& grams);

// zr_cover.cc: fills the windows from the places; false without memory.
bool zr_search_cover(zr_regex* preg);
bool zr_search_starts(zr_regex* preg, zr_plan* plan, const zr_node* nodes,
                      const zr_group* groups, uint32_t groupCount);
// zr_follow.cc: the same for what follows each element.
bool zr_search_follows(zr_regex* preg, zr_plan* plan, const zr_node* nodes,
                       const zr_group* groups, uint32_t nodeCount,
                       uint32_t groupCount);

#endif  // REGEX_ZR_SEARCH_H_
