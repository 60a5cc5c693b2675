// Building a node list. Every call keeps nodes and group records in step:
// brackets know each other's index, every alternative its first and last node.
// Entry points: zr_list_*, in zr_internal.h. Tested by zr_regcomp_test.cc.

#include <stdlib.h>

#include "regex/zr_internal.h"

static const uint32_t kFirstNodes = 128;
static const uint32_t kFirstGroups = 64;
static const uint32_t kMaxTail = 10;  // elements that a tail check looks at

uint32_t zr_add(uint32_t x, uint32_t y) {
  return x > 0xFFFFFFFFu - y ? 0xFFFFFFFFu : x + y;
}

uint32_t zr_multiply(uint32_t x, uint32_t y) {
  const uint64_t product = uint64_t{x} * y;
  return product > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(product);
}

zr_node zr_plain_node(uint32_t opcode, uint32_t a, uint32_t b) {
  return zr_node{opcode, a, b, 1, 1, 0};
}

static int PushNode(zr_list* list, const zr_node& node) {
  if (list->nodeCount >= ZR_MAX_NODES) return ZR_NOMEMORY;
  if (list->nodeCount == list->nodeCapacity) {
    const uint32_t capacity = list->nodeCapacity * 2;
    void* grown = realloc(list->nodes, sizeof(zr_node) * capacity);
    if (grown == nullptr) return ZR_NOMEMORY;
    list->nodes = static_cast<zr_node*>(grown);
    list->nodeCapacity = capacity;
  }
  list->nodes[list->nodeCount++] = node;
  return ZR_OK;
}

// Every record has a node of its own, so that the limit on nodes holds here.
static int PushGroup(zr_list* list, const zr_group& group) {
  if (list->groupCount == list->groupCapacity) {
    const uint32_t capacity = list->groupCapacity * 2;
    void* grown = realloc(list->groups, sizeof(zr_group) * capacity);
    if (grown == nullptr) return ZR_NOMEMORY;
    list->groups = static_cast<zr_group*>(grown);
    list->groupCapacity = capacity;
  }
  list->groups[list->groupCount++] = group;
  return ZR_OK;
}

int zr_list_begin(zr_list* list) {
  *list = zr_list{};
  list->nodes = static_cast<zr_node*>(malloc(sizeof(zr_node) * kFirstNodes));
  list->groups =
      static_cast<zr_group*>(malloc(sizeof(zr_group) * kFirstGroups));
  if (list->nodes == nullptr || list->groups == nullptr) return ZR_NOMEMORY;
  list->nodeCapacity = kFirstNodes;
  list->groupCapacity = kFirstGroups;
  zr_group whole = {};
  whole.parent = ZR_NONE;
  whole.prevCapture = ZR_NONE;
  list->groups[list->groupCount++] = whole;
  return PushNode(list, zr_plain_node(ZR_START, 0, 0));
}

int zr_list_add(zr_list* list, const zr_node& node) {
  const int code = PushNode(list, node);
  if (code != ZR_OK) return code;
  if (node.opcode == ZR_EOS) zr_set_tail(list, list->nodeCount - 1);
  return ZR_OK;
}

int zr_list_open(zr_list* list, uint32_t opcode, uint32_t noCapture,
                 uint32_t capture) {
  zr_group group = {};
  group.first = list->nodeCount;
  group.parent = list->record;
  group.noCapture = noCapture;
  group.capture = capture;
  group.prevCapture = list->groups[list->record].capture;
  const uint32_t record = list->groupCount;
  int code = PushNode(list, zr_plain_node(opcode, record, 0));
  if (code == ZR_OK) code = PushGroup(list, group);
  if (code == ZR_OK) list->record = record;
  return code;
}

int zr_list_alternative(zr_list* list) {
  const uint32_t previous = list->record;
  const uint32_t record = list->groupCount;
  zr_group group = list->groups[previous];
  group.first = list->nodeCount;
  group.last = 0;
  int code = PushNode(list, zr_plain_node(ZR_ALT, record, previous));
  if (code == ZR_OK) code = PushGroup(list, group);
  if (code != ZR_OK) return code;
  list->groups[previous].last = group.first;
  list->record = record;
  return ZR_OK;
}

// Tells all alternatives of the group that is being filled where it ends.
// Returns the record of the first one.
static uint32_t FinishAlternatives(zr_list* list, uint32_t end) {
  uint32_t record = list->record;
  list->groups[record].last = end;
  for (;;) {
    zr_node& opener = list->nodes[list->groups[record].first];
    if (opener.opcode != ZR_ALT) return record;
    opener.min = end;
    record = opener.b;
  }
}

int zr_list_close(zr_list* list, const zr_node& quantifier) {
  const uint32_t close = list->nodeCount;
  const int code = PushNode(list, zr_plain_node(ZR_CLOSE, 0, 0));
  if (code != ZR_OK) return code;
  const uint32_t first = FinishAlternatives(list, close);
  const uint32_t open = list->groups[first].first;
  list->nodes[open].b = close;
  list->nodes[close].opcode = list->nodes[open].opcode + 1;
  list->nodes[close].a = open;
  list->nodes[close].b = first;
  zr_set_quantifier(list, close, quantifier);
  list->record = list->groups[first].parent;
  return ZR_OK;
}

int zr_list_end(zr_list* list) {
  const uint32_t end = list->nodeCount;
  const int code = PushNode(list, zr_plain_node(ZR_END, 0, 0));
  if (code != ZR_OK) return code;
  FinishAlternatives(list, end);
  list->nodes[0].b = end;
  return ZR_OK;
}

void zr_list_free(zr_list* list) {
  free(list->nodes);
  free(list->groups);
  *list = zr_list{};
}

void zr_set_quantifier(zr_list* list, uint32_t index, const zr_node& from) {
  zr_node& node = list->nodes[index];
  node.min = from.min;
  node.max = from.max;
  node.lazy = from.lazy;
  if (node.opcode != ZR_CLOSE && node.opcode != ZR_LITCLOSE) return;
  zr_node& open = list->nodes[node.a];
  open.min = from.min;
  open.max = from.max;
  open.lazy = from.lazy;
}

// Only an end of the first top-level alternative has a tail. It consists of
// the elements that take exactly one form: a literal alternation counts as one,
// any other group with alternatives stops the count.
void zr_set_tail(zr_list* list, uint32_t index) {
  uint32_t count = 0;
  uint32_t i = index;
  while (list->record == 0 && count < kMaxTail && i > 0) {
    --i;
    const zr_node& node = list->nodes[i];
    if (node.opcode > ZR_BOS || node.min != 1 || node.max != 1) break;
    if (node.opcode == ZR_CLOSE && list->groups[node.b].last != i) break;
    ++count;
    if (node.opcode == ZR_LITCLOSE) i = node.a;
  }
  list->nodes[index].a = count;
}
