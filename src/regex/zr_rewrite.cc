// What is done to a parsed pattern so that the matcher can reject most subjects
// early: optional elements in front become alternatives, single elements lose
// the groups around them (in a second list), and each alternative learns how
// short its text can be and whether its start may be searched for.
//
// A copy of a list is a replay of its nodes through zr_list_*. Entry points:
// zr_rewrite_starts, zr_trim, zr_reduce, zr_derive. Tested by
// zr_regcomp_test.cc.

#include <stdlib.h>

#include "regex/zr_internal.h"

// The full list as a zr_list, which owns nothing.
static zr_list FullList(const zr_regex* preg) {
  zr_list list = {};
  list.nodes = preg->nodes;
  list.nodeCount = preg->nodeCount;
  list.groups = preg->groups;
  list.groupCount = preg->groupCount;
  return list;
}

static int CopyNode(const zr_list& from, uint32_t index, zr_list* to) {
  const zr_node& node = from.nodes[index];
  switch (node.opcode) {
    case ZR_START:
      return zr_list_begin(to);
    case ZR_OPEN:
    case ZR_LITOPEN: {
      const zr_group& group = from.groups[node.a];
      return zr_list_open(to, node.opcode, group.noCapture, group.capture);
    }
    case ZR_ALT:
      return zr_list_alternative(to);
    case ZR_CLOSE:
    case ZR_LITCLOSE:
      return zr_list_close(to, node);
    case ZR_END:
      return zr_list_end(to);
    default:
      return zr_list_add(to, node);
  }
}

static int CopyRange(const zr_list& from, uint32_t first, uint32_t end,
                     zr_list* to) {
  for (uint32_t i = first; i < end; ++i) {
    const int code = CopyNode(from, i, to);
    if (code != ZR_OK) return code;
  }
  return ZR_OK;
}

// Whether a group's records are at the very start of a match is kept in `skip`
// while lists are rewritten: nothing else uses the flag yet.
static void MarkStarts(zr_list* list) {
  for (uint32_t i = 0; i < list->nodeCount; ++i) {
    const zr_node& node = list->nodes[i];
    if (node.opcode == ZR_START) {
      list->groups[node.a].skip = 1;
    } else if (node.opcode == ZR_OPEN || node.opcode == ZR_LITOPEN) {
      zr_group& group = list->groups[node.a];
      const zr_group& parent = list->groups[group.parent];
      group.skip = parent.skip != 0 && parent.first + 1 == i;
    } else if (node.opcode == ZR_ALT) {
      list->groups[node.a].skip = list->groups[node.b].skip;
    }
  }
}

static bool OpensAlternative(const zr_node& node) {
  return node.opcode == ZR_START || node.opcode == ZR_OPEN ||
         node.opcode == ZR_ALT;
}

// Copies the element at `first` up to `end`, once more than its minimum.
static int CopyRaised(const zr_list& from, uint32_t first, uint32_t end,
                      zr_list* to) {
  const int code = CopyRange(from, first, end, to);
  if (code != ZR_OK) return code;
  zr_node quantifier = from.nodes[first];
  quantifier.min += 1;
  if (quantifier.min >= quantifier.max) quantifier.lazy = 0;
  zr_set_quantifier(to, to->nodeCount - 1, quantifier);
  return ZR_OK;
}

// Copies the alternative whose nodes are first to last, exclusive, as two: with
// its optional first element and without; what is to be tried first goes first.
static int SplitAlternative(const zr_list& from, uint32_t first, uint32_t last,
                            zr_list* to) {
  const zr_node& node = from.nodes[first];
  const bool group = node.opcode == ZR_OPEN || node.opcode == ZR_LITOPEN;
  const uint32_t rest = (group ? node.b : first) + 1;
  int code = ZR_OK;
  if (!node.lazy) code = CopyRaised(from, first, rest, to);
  if (code == ZR_OK) code = CopyRange(from, rest, last, to);
  if (code == ZR_OK) code = zr_list_alternative(to);
  if (code == ZR_OK && node.lazy) code = CopyRaised(from, first, rest, to);
  if (code == ZR_OK) code = CopyRange(from, rest, last, to);
  return code;
}

// One pass over the list. Behind an opener, only an element can have the
// minimum 0: a group around it that may be left out was split before. What was
// split is copied without a second look: the next pass sees it.
static int RewritePass(zr_list* from, zr_list* to, bool* changed) {
  MarkStarts(from);
  uint32_t i = 0;
  while (i < from->nodeCount) {
    const zr_node& node = from->nodes[i];
    int code = CopyNode(*from, i, to);
    ++i;
    if (code == ZR_OK && OpensAlternative(node) &&
        from->groups[node.a].skip != 0 && from->nodes[i].min == 0) {
      const uint32_t last = from->groups[node.a].last;
      code = SplitAlternative(*from, i, last, to);
      i = last;
      *changed = true;
    }
    if (code != ZR_OK) return code;
  }
  return ZR_OK;
}

// Repeats until every way into the pattern begins with an element that must be
// there. n optional elements in a row end as n + 1 alternatives.
int zr_rewrite_starts(zr_regex* preg) {
  for (uint32_t pass = 0; pass < ZR_MAX_PASSES; ++pass) {
    zr_list from = FullList(preg);
    zr_list to = {};
    bool changed = false;
    const int code = RewritePass(&from, &to, &changed);
    if (code != ZR_OK) {
      zr_list_free(&to);
      return code;
    }
    zr_list_free(&from);
    preg->nodes = to.nodes;
    preg->nodeCount = to.nodeCount;
    preg->groups = to.groups;
    preg->groupCount = to.groupCount;
    if (!changed) return ZR_OK;
  }
  return ZR_NOMEMORY;
}

// False when memory ran out; the old block is then still there.
static bool Shrink(void** block, size_t size) {
  void* smaller = realloc(*block, size);
  if (smaller == nullptr) return false;
  *block = smaller;
  return true;
}

static bool ShrinkNodes(zr_node** nodes, uint32_t count) {
  void* block = *nodes;
  if (!Shrink(&block, sizeof(zr_node) * count)) return false;
  *nodes = static_cast<zr_node*>(block);
  return true;
}

static bool ShrinkGroups(zr_group** groups, uint32_t count) {
  void* block = *groups;
  if (!Shrink(&block, sizeof(zr_group) * count)) return false;
  *groups = static_cast<zr_group*>(block);
  return true;
}

// Ends the pool and gives all that the parser took too much back.
int zr_trim(zr_regex* preg) {
  preg->pool[preg->poolSize++] = '\0';
  void* pool = preg->pool;
  if (!Shrink(&pool, preg->poolSize)) return ZR_NOMEMORY;
  preg->pool = static_cast<uint8_t*>(pool);
  if (preg->memberCount == 0) {
    free(preg->members);
    preg->members = nullptr;
  } else {
    void* members = preg->members;
    if (!Shrink(&members, sizeof(zr_member) * preg->memberCount)) {
      return ZR_NOMEMORY;
    }
    preg->members = static_cast<zr_member*>(members);
  }
  if (!ShrinkNodes(&preg->nodes, preg->nodeCount)) return ZR_NOMEMORY;
  if (!ShrinkGroups(&preg->groups, preg->groupCount)) return ZR_NOMEMORY;
  return ZR_OK;
}

// Called when a group was just closed: takes its brackets away when they hold
// one element and one of the two quantifiers says nothing. An anchor or a case
// switch goes the same way, deliberately, although it reads no quantifier.
// Returns whether it did.
static bool DropBrackets(zr_list* list) {
  const uint32_t close = list->nodeCount - 1;
  const zr_node group = list->nodes[close];
  if (group.a + 2 != close || group.opcode != ZR_CLOSE) return false;
  zr_node element = list->nodes[close - 1];
  const bool groupOnce = group.min == 1 && group.max == 1;
  if (!groupOnce && (element.min != 1 || element.max != 1)) return false;
  if (element.opcode == ZR_ALT) return false;  // two empty alternatives
  if (!groupOnce) {
    element.min = group.min;
    element.max = group.max;
    element.lazy = group.lazy;
  }
  list->nodes[group.a] = element;
  list->nodeCount -= 2;
  list->groupCount -= 1;
  if (element.opcode == ZR_EOS) zr_set_tail(list, group.a);
  return true;
}

// The groups that are left get slots of their own, counted from 1.
static int CopyReduced(const zr_list& from, zr_list* to, uint32_t* slots) {
  for (uint32_t i = 0; i < from.nodeCount; ++i) {
    const zr_node& node = from.nodes[i];
    int code;
    if (node.opcode == ZR_OPEN || node.opcode == ZR_LITOPEN) {
      const uint32_t noCapture = from.groups[node.a].noCapture;
      code = zr_list_open(to, node.opcode, noCapture, (*slots)++);
    } else {
      code = CopyNode(from, i, to);
    }
    if (code != ZR_OK) return code;
    if (node.opcode == ZR_CLOSE && DropBrackets(to)) --*slots;
  }
  return ZR_OK;
}

// Makes the list for calls that want no captures.
int zr_reduce(zr_regex* preg) {
  const zr_list from = FullList(preg);
  zr_list to = {};
  preg->fastCaptureCount = 1;
  const int code = CopyReduced(from, &to, &preg->fastCaptureCount);
  preg->fastNodes = to.nodes;
  preg->fastNodeCount = to.nodeCount;
  preg->fastGroups = to.groups;
  preg->fastGroupCount = to.groupCount;
  if (code != ZR_OK) return code;
  if (!ShrinkNodes(&preg->fastNodes, to.nodeCount)) return ZR_NOMEMORY;
  if (!ShrinkGroups(&preg->fastGroups, to.groupCount)) return ZR_NOMEMORY;
  return ZR_OK;
}

// Goes through all alternatives that a match can begin with. Returns whether
// each begins with an element that must be there. An empty one passes, on
// purpose; "$" does not. With `set` it flags them.
static bool WalkStarts(const zr_node* nodes, zr_group* groups, bool set) {
  uint32_t record = 0;
  for (;;) {
    if (set) groups[record].skip = 1;
    const zr_node& node = nodes[groups[record].first + 1];
    const uint32_t opcode = node.opcode;
    if (opcode == ZR_CASEON || opcode == ZR_CASEOFF || opcode == ZR_EOS) {
      return false;
    }
    if (node.min == 0) return false;
    if (opcode == ZR_OPEN) {
      record = node.a;
      continue;
    }
    uint32_t last = groups[record].last;
    while (nodes[last].opcode == ZR_CLOSE) {
      record = groups[record].parent;
      last = groups[record].last;
    }
    if (nodes[last].opcode == ZR_END) return true;
    record = nodes[last].a;
  }
}

// The shortest alternative of the group whose first one is `record`.
static uint32_t ShortestOf(const zr_node* nodes, const zr_group* groups,
                           uint32_t record) {
  uint32_t shortest = groups[record].minLength;
  for (;;) {
    const zr_node& next = nodes[groups[record].last];
    if (next.opcode != ZR_ALT) return shortest;
    record = next.a;
    if (groups[record].minLength < shortest) {
      shortest = groups[record].minLength;
    }
  }
}

// Fills `minLength` of all alternatives; returns that of the whole list.
static uint32_t MeasureAlternatives(const zr_node* nodes, zr_group* groups) {
  uint32_t record = 0;
  for (uint32_t i = 1; nodes[i].opcode != ZR_END; ++i) {
    const zr_node& node = nodes[i];
    uint32_t length = 0;
    if (node.opcode == ZR_OPEN || node.opcode == ZR_LITOPEN) {
      if (node.min == 0) {
        i = node.b;
      } else {
        record = node.a;
      }
    } else if (node.opcode == ZR_ALT) {
      record = node.a;
    } else if (node.opcode == ZR_CLOSE || node.opcode == ZR_LITCLOSE) {
      length = zr_multiply(ShortestOf(nodes, groups, node.b), node.min);
      record = groups[node.b].parent;
    } else if (node.opcode == ZR_STRING) {
      length = zr_multiply(node.b - node.a + 1, node.min);
    } else if (node.opcode < ZR_OPEN) {
      length = node.min;
    }
    uint32_t& sum = groups[record].minLength;
    sum = zr_add(sum, length);
  }
  return ShortestOf(nodes, groups, 0);
}

static bool IsMandatoryLiteral(const zr_node& node) {
  return (node.opcode == ZR_CHAR || node.opcode == ZR_STRING) && node.min > 0;
}

static uint32_t StartKind(const zr_regex* preg) {
  const zr_node* nodes = preg->nodes;
  const uint32_t end = preg->nodeCount - 1;
  if (preg->groups[0].last != end) return 0;
  if (nodes[1].opcode == ZR_BOS && IsMandatoryLiteral(nodes[2])) return 2;
  if (!IsMandatoryLiteral(nodes[1])) return 0;
  return nodes[end - 1].opcode == ZR_EOS ? 0 : 1;
}

static uint32_t DeriveList(const zr_node* nodes, zr_group* groups,
                           uint32_t groupCount) {
  for (uint32_t i = 0; i < groupCount; ++i) {
    groups[i].skip = 0;
    groups[i].minLength = 0;
  }
  if (WalkStarts(nodes, groups, false)) WalkStarts(nodes, groups, true);
  return MeasureAlternatives(nodes, groups);
}

void zr_derive(zr_regex* preg) {
  preg->minLength = DeriveList(preg->nodes, preg->groups, preg->groupCount);
  DeriveList(preg->fastNodes, preg->fastGroups, preg->fastGroupCount);
  preg->startKind = StartKind(preg);
  preg->startByte =
      preg->startKind ? preg->pool[preg->nodes[preg->startKind].a] : 0;
}
