// What a compiled pattern asks of every subject, worked out once. Each
// one-byte node becomes a place: the bytes it matches, as one masked
// comparison where that is enough, otherwise as a set of 256 bits that nodes
// share. The entry points are zr_search_build and zr_search_free. Tested by
// zr_regexec_test.cc.

#include "regex/zr_search.h"

#include <stdlib.h>
#include <string.h>

// ---- Byte sets of nodes

static bool IsDigit(uint32_t c) {
  return c >= '0' && c <= '9';
}

static bool IsAlnum(uint32_t c) {
  return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

static bool IsSpace(uint32_t c) {
  return (c >= 9 && c <= 13) || c == ' ';
}

// Whether the run pool[first..last] holds byte c.
static bool Holds(const zr_regex* preg, uint32_t first, uint32_t last,
                  uint32_t c) {
  for (uint32_t i = first; i <= last && i < preg->poolSize; i++)
    if (preg->pool[i] == c) return true;
  return false;
}

// The opcodes that need nothing but themselves, as nodes and as members.
static bool FitsPlain(uint32_t opcode, uint32_t c) {
  switch (opcode) {
    case ZR_ANY:
      return c >= 0x0D;
    case ZR_TAB:
      return c == '\t';
    case ZR_LF:
      return c == '\n';
    case ZR_CR:
      return c == '\r';
    case ZR_BS:
      return c == 8;
    case ZR_ALNUM:
      return IsAlnum(c);
    case ZR_NOTALNUM:
      return !IsAlnum(c);
    case ZR_WORD:
      return IsAlnum(c) || c == '_';
    case ZR_NOTWORD:
      return !IsAlnum(c) && c != '_';
    case ZR_SPACE:
      return IsSpace(c);
    case ZR_NOTSPACE:
      return !IsSpace(c);
    case ZR_DIGIT:
      return IsDigit(c);
    case ZR_NOTDIGIT:
      return !IsDigit(c);
    default:
      return false;
  }
}

static bool FitsMember(const zr_regex* preg, const zr_member& member,
                       uint32_t c) {
  switch (member.kind) {
    case ZR_MEMBER_BYTE:
      return preg->pool[member.a] == c;
    case ZR_MEMBER_RUN:
      return Holds(preg, member.a, member.b, c);
    case ZR_MEMBER_RANGE:
      return c >= preg->pool[member.a] && c <= preg->pool[member.b];
    default:
      return FitsPlain(member.kind, c);
  }
}

static bool FitsClass(const zr_regex* preg, const zr_node& node, uint32_t c) {
  for (uint32_t i = node.a; i < node.b && i < preg->memberCount; i++)
    if (FitsMember(preg, preg->members[i], c)) return true;
  return false;
}

// Whether a one-byte node matches byte c, already folded.
static bool Fits(const zr_regex* preg, const zr_node& node, uint32_t c) {
  const uint8_t* pool = preg->pool;
  switch (node.opcode) {
    case ZR_CHAR:
      return c == pool[node.a];
    case ZR_NOTCHAR:
      return c != pool[node.a];
    case ZR_CLASS:
      return FitsClass(preg, node, c);
    case ZR_NOTCLASS:
      return !FitsClass(preg, node, c);
    case ZR_SET:
      return Holds(preg, node.a, node.b, c);
    case ZR_NOTSET:
      return !Holds(preg, node.a, node.b, c);
    case ZR_RANGE:
      return c >= pool[node.a] && c <= pool[node.b];
    case ZR_NOTRANGE:
      return c < pool[node.a] || c > pool[node.b];
    default:
      return FitsPlain(node.opcode, c);
  }
}

// The subject bytes that a one-byte node matches under a case mask.
static zr_set SetOfNode(const zr_regex* preg, const zr_node& node,
                        uint8_t mask) {
  zr_set set = {};
  for (uint32_t c = 0; c < 256; c++) {
    const uint32_t folded = c & (zr_MaskTable[c] | mask);
    if (Fits(preg, node, folded)) set.bits[c >> 5] |= 1u << (c & 31);
  }
  return set;
}

// ---- Places

// The bytes of a set that are fixed but for some free bits need no set: they
// are all of a cube. Fills `loose` and `value` if so.
static bool IsCube(const zr_set& set, zr_place* place) {
  uint32_t count = 0;
  uint32_t first = 0;
  uint32_t loose = 0;
  for (uint32_t c = 0; c < 256; c++) {
    if (!zr_set_has(set, c)) continue;
    if (count++ == 0) first = c;
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

static bool PlaceOfSet(zr_search* search, const zr_set& set, zr_place* place) {
  place->set = ZR_NONE;
  if (IsCube(set, place)) return true;
  place->set = AddSet(search, set);
  return place->set != ZR_NONE;
}

static bool IsByteNode(uint32_t opcode) {
  return opcode <= ZR_NOTDIGIT && opcode != ZR_STRING;
}

// The places of a list under one mask, or null when memory is out. A node
// that repeats the one before it, as copied lists do, shares its set.
static zr_place* MakePlaces(const zr_regex* preg, const zr_node* nodes,
                            uint32_t count, uint8_t mask) {
  zr_place* places =
      static_cast<zr_place*>(calloc(count ? count : 1, sizeof(zr_place)));
  if (!places) return nullptr;
  for (uint32_t i = 0; i < count; i++) {
    if (!IsByteNode(nodes[i].opcode)) continue;
    const zr_set set = SetOfNode(preg, nodes[i], mask);
    if (PlaceOfSet(preg->search, set, &places[i])) continue;
    free(places);
    return nullptr;
  }
  return places;
}

// ---- A plan for each list

static bool HasOpcode(const zr_node* nodes, uint32_t count, uint32_t opcode) {
  for (uint32_t i = 0; i < count; i++)
    if (nodes[i].opcode == opcode) return true;
  return false;
}

static bool BuildPlan(const zr_regex* preg, const zr_node* nodes,
                      uint32_t nodeCount, const zr_group* groups,
                      uint32_t groupCount, zr_plan* plan) {
  for (uint32_t i = 0; i < groupCount; i++)
    if (groups[i].capture >= plan->slotCount)
      plan->slotCount = groups[i].capture + 1;
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

int zr_search_build(zr_regex* preg) {
  zr_search_free(preg->search);
  preg->search = static_cast<zr_search*>(calloc(1, sizeof(zr_search)));
  if (!preg->search) return ZR_NOMEMORY;
  const bool built =
      BuildPlan(preg, preg->nodes, preg->nodeCount, preg->groups,
                preg->groupCount, &preg->search->full) &&
      BuildPlan(preg, preg->fastNodes, preg->fastNodeCount, preg->fastGroups,
                preg->fastGroupCount, &preg->search->fast);
  return built ? ZR_OK : ZR_NOMEMORY;
}

void zr_search_free(zr_search* search) {
  if (!search) return;
  for (uint32_t i = 0; i < 2; i++) {
    free(search->full.places[i]);
    free(search->fast.places[i]);
  }
  free(search->sets);
  free(search);
}
