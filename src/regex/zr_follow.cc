// What can come behind a greedy one-byte element that may have taken several
// amounts: the bytes with which the rest of the pattern can go on. The matcher
// gives no byte back where what follows could not go on, and none at all when
// the element's own bytes are not among those. Where the pattern may end behind
// the element, the end says nothing against this: it is reached with the first
// amount or, for lack of iterations of a group, with none. The same is known of
// groups and of each of their alternatives, so that the matcher enters those
// only that can begin with the next byte. Entry point: zr_search_follows.
// Tested against the model.

#include <stdlib.h>

#include "regex/zr_search.h"

static const uint32_t kMaxDepth = 4;    // groups entered on one way
static const uint32_t kBudget = 20000;  // nodes looked at for one list

namespace {

struct Follower {
  const zr_regex* preg;
  const zr_plan* plan;
  const zr_node* nodes;
  const zr_group* groups;
  uint32_t budget;
  zr_set set;  // what was found for one element
  bool atEnd;
  bool mayEnd;
};

}  // namespace

static bool AddFrom(Follower* f, uint32_t index, uint32_t depth);

static bool AddGroup(Follower* f, uint32_t open, uint32_t depth) {
  if (depth == kMaxDepth) return false;
  for (uint32_t opener = open;;) {
    if (!AddFrom(f, opener + 1, depth + 1)) return false;
    const zr_group& group = f->groups[f->nodes[opener].a];
    if (f->nodes[group.last].opcode != ZR_ALT) return true;
    opener = group.last;
  }
}

static void AddLiterals(Follower* f, uint32_t open) {
  for (uint32_t i = open + 1; i < f->nodes[open].b; i += 2)
    zr_search_add_first(f->preg, *f->plan, f->nodes[i], i, &f->set);
}

// Adds all that the list can begin with from this node on; false: anything.
static bool AddFrom(Follower* f, uint32_t index, uint32_t depth) {
  for (uint32_t i = index; f->budget > 0; f->budget--) {
    const zr_node& node = f->nodes[i];
    switch (node.opcode) {
      case ZR_EOS:
        f->atEnd = true;
        return true;
      case ZR_CASEON:
      case ZR_CASEOFF:
        break;
      case ZR_END:
        f->mayEnd = true;
        return true;
      case ZR_BOS:
      case ZR_BACKREF:
        return false;
      case ZR_ALT:
        i = node.min;  // the alternative is complete
        continue;
      case ZR_OPEN:
        if (!AddGroup(f, i, depth)) return false;
        if (node.min != 0) return true;
        i = node.b;
        break;
      case ZR_CLOSE:
        if (node.max != 1 && !AddGroup(f, node.a, depth)) return false;
        break;
      case ZR_LITOPEN:
        AddLiterals(f, i);
        if (node.min != 0) return true;
        i = node.b;
        break;
      default:
        zr_search_add_first(f->preg, *f->plan, node, i, &f->set);
        if (node.min != 0) return true;
    }
    i++;
  }
  return false;
}

static bool Disjoint(const zr_set& a, const zr_set& b) {
  for (uint32_t i = 0; i < 8; i++)
    if (a.bits[i] & b.bits[i]) return false;
  return true;
}

static bool MayGiveBack(const zr_node& node) {
  return zr_is_byte(node.opcode) && !node.lazy && node.min != node.max;
}

// Stores what was found for a bracket or an alternative.
static bool Guard(Follower* f, zr_follow* follow) {
  if (f->mayEnd) return true;
  follow->guards = 1;
  follow->atEnd = f->atEnd;
  return zr_search_place(f->preg->search, f->set, &follow->place);
}

static bool FollowOpen(Follower* f, uint32_t open, zr_follow* follow) {
  f->set = zr_set{};
  f->atEnd = f->mayEnd = false;
  return !AddGroup(f, open, 0) || Guard(f, follow);
}

// Literals that stand for alternatives are told apart without this.
static bool IsLiteral(const zr_node* nodes, uint32_t opener) {
  const zr_node& node = nodes[opener];
  return node.opcode == ZR_LITOPEN ||
         (node.opcode == ZR_ALT && nodes[node.min].opcode == ZR_LITCLOSE);
}

static bool FollowAlternatives(Follower* f, zr_plan* plan,
                               uint32_t groupCount) {
  plan->begins = static_cast<zr_follow*>(calloc(groupCount, sizeof(zr_follow)));
  if (!plan->begins) return false;
  for (uint32_t i = 0; i < groupCount; i++) {
    const uint32_t opener = f->groups[i].first;
    if (IsLiteral(f->nodes, opener)) continue;
    f->set = zr_set{};
    f->atEnd = f->mayEnd = false;
    if (AddFrom(f, opener + 1, 0) && !Guard(f, &plan->begins[i])) return false;
  }
  return true;
}

bool zr_search_follows(zr_regex* preg, zr_plan* plan, const zr_node* nodes,
                       const zr_group* groups, uint32_t nodeCount,
                       uint32_t groupCount) {
  plan->follows = static_cast<zr_follow*>(calloc(nodeCount, sizeof(zr_follow)));
  if (!plan->follows) return false;
  Follower f = {};
  f.preg = preg;
  f.plan = plan;
  f.nodes = nodes;
  f.groups = groups;
  f.budget = preg->search->faithful ? 0 : kBudget;
  for (uint32_t i = 0; i < nodeCount; i++) {
    zr_follow* follow = &plan->follows[i];
    if (nodes[i].opcode == ZR_OPEN && nodes[i].min != 0 && !nodes[i].lazy &&
        !FollowOpen(&f, i, follow))
      return false;
    if (!MayGiveBack(nodes[i])) continue;
    f.set = zr_set{};
    f.atEnd = f.mayEnd = false;
    if (!AddFrom(&f, i + 1, 0)) {
      f.atEnd = true;
      for (uint32_t k = 0; k < 8; k++) f.set.bits[k] = 0xFFFFFFFFu;
    }
    zr_set own = {};
    zr_search_add_first(preg, *plan, nodes[i], i, &own);
    follow->atEnd = f.atEnd;
    follow->mayEnd = f.mayEnd;
    follow->apart = Disjoint(own, f.set);
    if (!zr_search_place(preg->search, f.set, &follow->place)) return false;
  }
  f.budget = preg->search->faithful ? 0 : kBudget;
  return FollowAlternatives(&f, plan, groupCount);
}
