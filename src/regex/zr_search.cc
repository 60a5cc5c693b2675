// What a compiled pattern asks of every subject, worked out once. Each
// one-byte node becomes a place: the bytes it matches, as one masked
// comparison where that is enough, otherwise as a set of 256 bits that nodes
// share. Places in a row become windows (zr_cover.cc chooses which), of which
// two are probed: those that mail holds most rarely together. The entry points
// are zr_search_build and zr_search_free. Tested by regex_model_test.cc.

#include "regex/zr_search.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

// ---- Places

// The bytes of a set that are fixed but for some free bits need no set: they
// are all of a cube. Fills `loose` and `value` if so.
static bool IsCube(const zr_set& set, zr_place* place) {
  const uint32_t first = zr_set_next(set, 0);
  uint32_t count = 0;
  uint32_t loose = 0;
  for (uint32_t c = first; c < 256; c = zr_set_next(set, c + 1)) {
    count++;
    loose |= first ^ c;
  }
  uint32_t bits = 0;
  for (uint32_t rest = loose; rest; rest &= rest - 1) bits++;
  place->loose = static_cast<uint8_t>(loose);
  place->value = static_cast<uint8_t>(first | loose);
  return count == 1u << bits;
}

// The index of an equal set, added when there is none; ZR_NONE when memory
// is out.
static uint32_t AddSet(zr_search* search, const zr_set& set) {
  for (uint32_t i = search->setCount; i > 0; i--)
    if (memcmp(&search->sets[i - 1], &set, sizeof(set)) == 0) return i - 1;
  if (search->setCount == search->setCapacity) {
    const uint32_t capacity = search->setCapacity ? 2 * search->setCapacity : 4;
    void* grown = realloc(search->sets, capacity * sizeof(zr_set));
    if (!grown) return ZR_NONE;
    search->sets = static_cast<zr_set*>(grown);
    search->setCapacity = capacity;
  }
  search->sets[search->setCount] = set;
  return search->setCount++;
}

bool zr_search_place(zr_search* search, const zr_set& set, zr_place* place) {
  place->set = ZR_NONE;
  if (IsCube(set, place)) return true;
  place->set = AddSet(search, set);
  return place->set != ZR_NONE;
}

zr_set zr_search_set(const zr_search* search, const zr_place& place) {
  if (place.set != ZR_NONE) return search->sets[place.set];
  zr_set set = {};
  uint32_t bits = place.loose;  // all subsets of the loose bits
  for (;; bits = (bits - 1) & place.loose) {
    zr_set_add(&set, (place.value & ~place.loose & 0xFFu) | bits);
    if (bits == 0) break;
  }
  return set;
}

void zr_search_add_byte(const zr_plan& plan, uint32_t wanted, zr_set* set) {
  if (plan.places[0]) zr_set_add(set, wanted);
  if (!plan.places[1]) return;
  const uint32_t small = wanted | 0x20;
  if (zr_MaskTable[wanted]) zr_set_add(set, wanted);
  if (!zr_MaskTable[small] && (small & 0xDF) == wanted) zr_set_add(set, small);
}

void zr_search_add_first(const zr_regex* preg, const zr_plan& plan,
                         const zr_node& node, uint32_t index, zr_set* set) {
  if (node.opcode == ZR_STRING || node.opcode == ZR_CHAR) {
    zr_search_add_byte(plan, preg->pool[node.a], set);
    return;
  }
  for (uint32_t k = 0; k < 2; k++) {
    if (!plan.places[k]) continue;
    zr_set_add_all(set, zr_search_set(preg->search, plan.places[k][index]));
  }
}

// The places of a list under one mask, or null when memory is out.
static zr_place* MakePlaces(const zr_regex* preg, const zr_node* nodes,
                            uint32_t count, uint8_t mask) {
  zr_place* places =
      static_cast<zr_place*>(calloc(count ? count : 1, sizeof(zr_place)));
  if (!places) return nullptr;
  for (uint32_t i = 0; i < count; i++) {
    if (!zr_is_byte(nodes[i].opcode)) continue;
    const zr_set set = zr_set_of_node(preg, nodes[i], mask);
    if (zr_search_place(preg->search, set, &places[i])) continue;
    free(places);
    return nullptr;
  }
  return places;
}

// ---- Windows

// How often each byte comes in mail, of 65,536: counted over headers and
// bodies of some thousand messages, encoded parts left out. Bytes from 0x80 up
// count as 2.
static const uint16_t kWeights[128] = {
    2,    2,    2,    2,    2,    2,    2,    2,     // 0x00
    2,    333,  1383, 2,    2,    151,  2,    2,     // 0x08
    2,    2,    2,    2,    2,    2,    2,    2,     // 0x10
    2,    2,    2,    2,    2,    2,    2,    2,     // 0x18
    6309, 44,   679,  64,   14,   28,   60,   43,    // 0x20
    200,  196,  30,   148,  258,  1437, 1292, 616,   // 0x28
    1465, 900,  944,  645,  419,  430,  369,  328,   // 0x30
    363,  358,  1021, 397,  606,  1020, 680,  123,   // 0x38
    213,  362,  191,  320,  513,  351,  248,  133,   // 0x40
    152,  313,  92,   111,  232,  355,  200,  212,   // 0x48
    266,  95,   320,  385,  461,  156,  124,  116,   // 0x50
    146,  100,  82,   74,   4,    76,   2,    383,   // 0x58
    13,   2343, 730,  1402, 1277, 3907, 846,  876,   // 0x60
    1026, 2458, 195,  315,  1700, 1241, 2190, 2574,  // 0x68
    1090, 169,  2242, 2567, 2977, 999,  442,  476,   // 0x70
    416,  556,  190,  16,   17,   16,   4,    2,     // 0x78
};

static uint32_t WeightOf(uint32_t byte) {
  return byte < 128 ? kWeights[byte] : 2;
}

static double ShareOfWeight(uint32_t weight) {
  return weight < 65536 ? weight / 65536.0 : 1.0;
}

static double Share(const zr_set& set) {
  uint32_t sum = 0;
  for (uint32_t c = zr_set_next(set, 0); c < 256; c = zr_set_next(set, c + 1))
    sum += WeightOf(c);
  return ShareOfWeight(sum);
}

double zr_search_share(const zr_search* search, const zr_place& place) {
  if (place.set != ZR_NONE) return Share(search->sets[place.set]);
  uint32_t sum = 0;
  uint32_t bits = place.loose;  // all subsets of the loose bits
  for (;; bits = (bits - 1) & place.loose) {
    sum += WeightOf((place.value & ~place.loose & 0xFFu) | bits);
    if (bits == 0) break;
  }
  return ShareOfWeight(sum);
}

static const uint32_t kFourTimes = 0x01010101;  // a byte in a word

struct Range {
  uint32_t low;
  uint32_t high;
};

// The runs of bytes in a set.
static uint32_t CollectRuns(const zr_set& set, Range* runs) {
  uint32_t count = 0;
  for (uint32_t c = zr_set_next(set, 0); c < 256;) {
    const uint32_t low = c;
    while (c + 1 < 256 && zr_set_has(set, c + 1)) c++;
    runs[count++] = Range{low, c};
    c = zr_set_next(set, c + 1);
  }
  return count;
}

// The bytes of a set with the case bit set, whether or not they are letters.
static zr_set WithCaseBit(const zr_set& set) {
  zr_set folded = {};
  for (uint32_t i = 1; i < 8; i += 2)
    folded.bits[i] = set.bits[i - 1] | set.bits[i];
  return folded;
}

// How many bytes of 65,536 have a value in the run once `loose` is set.
static uint32_t WeightOfRun(const Range& run, uint32_t loose) {
  uint32_t sum = 0;
  for (uint32_t c = run.low; c <= run.high; c++) {
    if ((c | loose) != c) continue;
    sum += WeightOf(c);
    if (loose) sum += WeightOf(c & ~loose);
  }
  return sum;
}

// Joins the closest runs until few are left.
static uint32_t JoinRuns(Range* runs, uint32_t count) {
  while (count > ZR_MAX_RANGES) {
    uint32_t best = 1;
    for (uint32_t i = 1; i < count; i++)
      if (runs[i].low - runs[i - 1].high < runs[best].low - runs[best - 1].high)
        best = i;
    runs[best - 1].high = runs[best].high;
    memmove(runs + best, runs + best + 1, (count - best - 1) * sizeof(Range));
    count--;
  }
  return count;
}

// The probe of a place, and the share of bytes that it lets through.
static zr_probe MakeProbe(const zr_search* search, const zr_place& place,
                          uint32_t at, double* share) {
  zr_probe probe = {};
  probe.at = static_cast<uint8_t>(at);
  if (place.set == ZR_NONE) {
    probe.loose = kFourTimes * place.loose;
    probe.ranges = 1;
    probe.low[0] = kFourTimes * place.value;
    *share = zr_search_share(search, place);
    return probe;
  }
  const zr_set& set = search->sets[place.set];
  Range runs[128];
  uint32_t loose = 0;
  uint32_t count = CollectRuns(set, runs);
  if (count > 1) {
    // Letters of both cases are one range with the case bit set.
    Range folded[128];
    const uint32_t fewer = CollectRuns(WithCaseBit(set), folded);
    if (fewer < count) {
      memcpy(runs, folded, sizeof(runs));
      loose = 0x20;
      count = fewer;
    }
  }
  count = JoinRuns(runs, count);
  if (count == 0) {  // nothing fits: NUL stands for it, all else fails
    runs[0] = Range{0, 0};
    count = 1;
  }
  probe.loose = kFourTimes * loose;
  probe.ranges = static_cast<uint8_t>(count);
  uint32_t weight = 0;
  for (uint32_t i = 0; i < count; i++) {
    probe.low[i] = kFourTimes * runs[i].low;
    probe.width[i] = kFourTimes * (runs[i].high - runs[i].low);
    weight += WeightOfRun(runs[i], loose);
  }
  *share = ShareOfWeight(weight);
  return probe;
}

static bool IsOneValue(const zr_probe& probe) {
  return probe.ranges == 1 && probe.width[0] == 0;
}

// Measured on 3.7 KB bodies, in nanoseconds; only their proportion matters.
static const double kExactScan = 0.05;  // a byte, both probes one value
static const double kRangeScan = 0.04;  // a byte and range
static const double kRunScan = 0.8;     // a byte of a run
static const double kGramScan = 0.8;    // a byte looked up as a gram
static const double kCandidate = 10;    // a start that both probes let through
static const double kAttempt = 200;     // a walk from one start
static const double kWalk = 750;        // a walk from all starts
static const double kSubject = 300;     // bytes

// Chooses the probes that cost least.
static double ChooseProbes(const zr_search* search, const zr_draft& draft,
                           zr_window* window) {
  zr_probe probes[ZR_MAX_PLACES];
  double shares[ZR_MAX_PLACES];
  for (uint32_t i = 0; i < draft.length; i++)
    probes[i] = MakeProbe(search, draft.places[i], i, &shares[i]);
  double best = -1;
  for (uint32_t i = 0; i < draft.length; i++) {
    for (uint32_t j = i; j < draft.length; j++) {
      const bool exact = IsOneValue(probes[i]) && IsOneValue(probes[j]);
      const double share = i == j ? shares[i] : shares[i] * shares[j];
      const double scan =
          exact ? kExactScan
                : kRangeScan * (probes[i].ranges + probes[j].ranges);
      const double cost = scan + kCandidate * share;
      if (best >= 0 && cost >= best) continue;
      best = cost;
      window->probes[0] = probes[i];
      window->probes[1] = probes[j];
      window->exact = exact;
    }
  }
  return best * kSubject;
}

static const char* const kCommon[] = {"https://", "http://", ".com",
                                      ".net",     ".org",    "www.",
                                      "mail",     " the ",   " and "};
static const double kWideShare = 0.5;     // of a place that says little
static const double kCommonShare = 0.01;  // of all starts, roughly

bool zr_search_is_common(const zr_search* search, const zr_place* places,
                         uint32_t length) {
  for (const char* common : kCommon) {
    for (; *common; common++) {
      uint32_t i = 0;
      while (i < length && common[i] &&
             zr_place_fits(places[i], search->sets,
                           static_cast<uint8_t>(common[i])))
        i++;
      if (i == length) return true;
    }
  }
  return false;
}

// The share of starts at which a window is found. Neighbours in text are far
// from independent: the rarest one and the root of the others come near.
double zr_search_share(const zr_search* search, const zr_draft& draft) {
  double rarest = 1;
  double all = 1;
  for (uint32_t i = 0; i < draft.length; i++) {
    const double share = zr_search_share(search, draft.places[i]);
    if (share < rarest) rarest = share;
    all *= share;
  }
  const double share = all > 0 ? rarest * sqrt(all / rarest) : 0;
  // Bytes of all kinds behind it change little.
  uint32_t narrow = draft.length;
  while (narrow > 1 &&
         zr_search_share(search, draft.places[narrow - 1]) > kWideShare)
    narrow--;
  const bool common =
      narrow > 1 && zr_search_is_common(search, draft.places, narrow);
  return common && share < kCommonShare ? kCommonShare : share;
}

double zr_search_cost(const zr_search* search, const zr_draft& draft) {
  const double share = zr_search_share(search, draft);
  if (draft.anchored || draft.ended) return 5 + share * kWalk / 10;
  zr_window window;
  double scan = ChooseProbes(search, draft, &window);
  if (draft.run && scan > kRunScan * kSubject) scan = kRunScan * kSubject;
  const double found = share * kSubject;
  if (draft.leads) return scan + found * kAttempt;
  return scan + (found < 1 ? found : 1) * kWalk;
}

double zr_search_gram_cost(double share, bool leads, bool anchored) {
  if (anchored) return 5 + share * kWalk / 10;
  const double found = share * kSubject;
  const double scan = kGramScan * kSubject;
  if (leads) return scan + found * kAttempt;
  return scan + (found < 1 ? found : 1) * kWalk;
}

zr_window* zr_search_add_window(zr_search* search) {
  if (search->windowCount == search->windowCapacity) {
    const uint32_t capacity =
        search->windowCapacity ? 2 * search->windowCapacity : 2;
    void* grown = realloc(search->windows, capacity * sizeof(zr_window));
    if (!grown) return nullptr;
    search->windows = static_cast<zr_window*>(grown);
    search->windowCapacity = capacity;
  }
  zr_window* window = &search->windows[search->windowCount++];
  *window = zr_window{};
  return window;
}

uint32_t zr_search_add(zr_search* search, const zr_draft& draft) {
  zr_window* added = zr_search_add_window(search);
  if (!added) return ZR_NONE;
  zr_window& window = *added;
  window.length = static_cast<uint8_t>(draft.length);
  window.anchored = draft.anchored;
  window.ended = draft.ended;
  memcpy(window.places, draft.places, sizeof(window.places));
  const double scan = ChooseProbes(search, draft, &window);
  window.weak = zr_search_share(search, draft) > ZR_WEAK_SHARE;
  if (draft.run && (window.weak || scan > kRunScan * kSubject))
    window.run = draft.run;
  return search->windowCount - 1;
}

// ---- A plan for each list

static bool HasOpcode(const zr_node* nodes, uint32_t count, uint32_t opcode) {
  for (uint32_t i = 0; i < count; i++)
    if (nodes[i].opcode == opcode) return true;
  return false;
}

// Whether a closing "$" has elements before it that can be looked at alone.
static bool HasTail(const zr_node* nodes, uint32_t count) {
  return nodes[count - 2].opcode == ZR_EOS && nodes[count - 2].a != 0;
}

static bool BeginPlan(const zr_regex* preg, zr_plan* plan, const zr_node* nodes,
                      uint32_t nodeCount, const zr_group* groups,
                      uint32_t groupCount) {
  for (uint32_t i = 0; i < groupCount; i++)
    if (groups[i].capture >= plan->slotCount)
      plan->slotCount = groups[i].capture + 1;
  plan->hasTail = HasTail(nodes, nodeCount);
  if (preg->caseMask == 0xFF || HasOpcode(nodes, nodeCount, ZR_CASEON)) {
    plan->places[0] = MakePlaces(preg, nodes, nodeCount, 0xFF);
    if (!plan->places[0]) return false;
  }
  if (preg->caseMask != 0xFF || HasOpcode(nodes, nodeCount, ZR_CASEOFF)) {
    plan->places[1] = MakePlaces(preg, nodes, nodeCount, 0xDF);
    if (!plan->places[1]) return false;
  }
  return true;
}

// Marks the records whose text cannot be empty. Inner groups close before
// their parents, so one pass does.
static void MarkFilled(const zr_regex* preg, uint8_t* filled) {
  uint32_t record = 0;
  for (uint32_t i = 1; i + 1 < preg->nodeCount; i++) {
    const zr_node& node = preg->nodes[i];
    if (node.opcode == ZR_OPEN || node.opcode == ZR_LITOPEN ||
        node.opcode == ZR_ALT) {
      record = node.a;
    } else if (node.opcode == ZR_CLOSE || node.opcode == ZR_LITCLOSE) {
      bool all = node.min != 0;
      uint32_t inner = node.b;
      for (; preg->nodes[preg->groups[inner].last].opcode == ZR_ALT;
           inner = preg->nodes[preg->groups[inner].last].a)
        all = all && filled[inner];
      record = preg->groups[node.b].parent;
      if (all && filled[inner]) filled[record] = 1;
    } else if (node.opcode < ZR_OPEN && node.min != 0) {
      filled[record] = 1;
    }
  }
}

// A group that may go round for ever on empty text shows it by using up the
// stack; "[\\b]" alone answers with a fault. Callers are to see both.
static bool MustBeFaithful(const zr_regex* preg, const uint8_t* filled) {
  if (HasOpcode(preg->nodes, preg->nodeCount, ZR_BS)) return true;
  for (uint32_t i = 0; i < preg->groupCount; i++) {
    const zr_node* last = &preg->nodes[preg->groups[i].last];
    if (last->opcode == ZR_ALT) last = &preg->nodes[last->min];
    if (last->opcode == ZR_CLOSE && last->max == ZR_UNBOUNDED && !filled[i])
      return true;
  }
  return false;
}

int zr_search_build(zr_regex* preg) {
  zr_search_free(preg->search);
  zr_search* search = static_cast<zr_search*>(calloc(1, sizeof(zr_search)));
  preg->search = search;
  if (!search) return ZR_NOMEMORY;
  uint8_t* filled = static_cast<uint8_t*>(calloc(preg->groupCount, 1));
  if (!filled) return ZR_NOMEMORY;
  MarkFilled(preg, filled);
  search->faithful = MustBeFaithful(preg, filled);
  free(filled);
  const bool built =
      BeginPlan(preg, &search->full, preg->nodes, preg->nodeCount, preg->groups,
                preg->groupCount) &&
      BeginPlan(preg, &search->fast, preg->fastNodes, preg->fastNodeCount,
                preg->fastGroups, preg->fastGroupCount) &&
      (search->faithful || zr_search_cover(preg)) &&
      zr_search_follows(preg, &search->full, preg->nodes, preg->groups,
                        preg->nodeCount, preg->groupCount) &&
      zr_search_follows(preg, &search->fast, preg->fastNodes, preg->fastGroups,
                        preg->fastNodeCount, preg->fastGroupCount) &&
      zr_search_starts(preg, &search->full, preg->nodes, preg->groups,
                       preg->groupCount) &&
      zr_search_starts(preg, &search->fast, preg->fastNodes, preg->fastGroups,
                       preg->fastGroupCount);
  return built ? ZR_OK : ZR_NOMEMORY;
}

// ---- What subjects begin or end with

// Adds the bytes of a window that stands at that end; false when it does not.
static bool AddEdge(const zr_search* search, const zr_window& window, bool last,
                    zr_set* set) {
  if (last ? !window.ended : !window.anchored) return false;
  if (!window.grams) {
    const zr_place& place = window.places[last ? window.length - 1 : 0];
    zr_set_add_all(set, zr_search_set(search, place));
    return true;
  }
  const uint32_t* slots = zr_gram_slots(window);
  for (uint32_t i = 0; i < zr_gram_slot_count(window); i++) {
    if (!slots[i]) continue;
    zr_set_add(set, slots[i] & 0xFF);
    zr_set_add(set, slots[i] & 0xDF);
  }
  return true;
}

bool zr_regedge(const zr_regex* preg, bool last, uint32_t* bits) {
  const zr_search* search = preg->search;
  const uint32_t counts[] = {search->coverCount, search->secondCount};
  for (uint32_t cover = 0, first = 0; cover < 2; first += counts[cover++]) {
    zr_set set = {};
    bool known = counts[cover] != 0;
    for (uint32_t i = 0; known && i < counts[cover]; i++)
      known = AddEdge(search, search->windows[first + i], last, &set);
    if (!known) continue;
    for (uint32_t i = 0; i < 8; i++) bits[i] |= set.bits[i];
    return true;
  }
  return false;
}

// Adds the rarest place of a window; of grams the first bytes.
static double AddRarest(const zr_search* search, const zr_window& window,
                        zr_set* set) {
  if (window.grams) {
    const uint32_t* slots = zr_gram_slots(window);
    zr_set all = {};
    for (uint32_t i = 0; i < zr_gram_slot_count(window); i++) {
      if (!slots[i]) continue;
      zr_set_add(&all, slots[i] & 0xFF);
      zr_set_add(&all, slots[i] & 0xDF);
    }
    zr_set_add_all(set, all);
    return Share(all);
  }
  uint32_t best = 0;
  double least = 2;
  for (uint32_t i = 0; i < (window.run ? 1 : window.length); i++) {
    const double share = zr_search_share(search, window.places[i]);
    if (share >= least) continue;
    least = share;
    best = i;
  }
  zr_set_add_all(set, zr_search_set(search, window.places[best]));
  return least;
}

bool zr_regbytes(const zr_regex* preg, uint32_t* bits) {
  const zr_search* search = preg->search;
  const uint32_t counts[] = {search->coverCount, search->secondCount};
  double least = 2;
  zr_set rarest = {};
  if (preg->minLength == 0) return false;
  for (uint32_t cover = 0, first = 0; cover < 2; first += counts[cover++]) {
    zr_set set = {};
    double share = counts[cover] ? 0 : 2;
    for (uint32_t i = 0; i < counts[cover]; i++)
      share += AddRarest(search, search->windows[first + i], &set);
    if (share >= least) continue;
    least = share;
    rarest = set;
  }
  if (least >= 2) return false;
  for (uint32_t i = 0; i < 8; i++) bits[i] |= rarest.bits[i];
  return true;
}

void zr_search_free(zr_search* search) {
  if (!search) return;
  for (uint32_t i = 0; i < 2; i++) {
    free(search->full.places[i]);
    free(search->fast.places[i]);
  }
  free(search->full.follows);
  free(search->fast.follows);
  free(search->full.begins);
  free(search->fast.begins);
  free(search->full.starts);
  free(search->fast.starts);
  free(search->sets);
  for (uint32_t i = 0; i < search->windowCount; i++)
    free(search->windows[i].grams);
  free(search->windows);
  free(search);
}
