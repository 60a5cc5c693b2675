// Which windows a pattern is rejected and searched by.
//
// A cover is a list of windows of which every match holds at least one: the
// best stretch of mandatory bytes, or one stretch for each alternative of a
// mandatory group. A sequence is gone through once; what is certain to stand
// next to each other is gathered in an open draft, which is weighed against
// the best cover so far whenever certainty ends. Entry points: zr_search_cover
// and zr_search_starts. Tested by zr_window_test.cc and, as nothing here may
// change an answer, against the model.

#include <stdlib.h>

#include "regex/zr_search.h"

static const uint32_t kMaxOptions = 16;  // windows of a cover
static const uint32_t kMaxDepth = 8;     // groups within groups looked into
static const uint32_t kTrailing = 4;     // places kept of an open-ended run
static const uint32_t kLeastRun = 4;     // repetitions looked for as a run
// A walk alone costs about this: dearer covers are not worth having.
static const double kWorthwhile = 8000;

namespace {

struct Cover {
  uint32_t count;  // 0: nothing found
  double cost;
  zr_draft drafts[kMaxOptions];
};

// One list, and whether memory has held out.
struct Builder {
  const zr_regex* preg;
  zr_search* search;
  const zr_node* nodes;
  const zr_group* groups;
  const zr_plan* plan;
  bool withoutLead;  // windows at the start of the match do not count
  bool failed;
};

}  // namespace

// ---- Places under the masks that may be in force

static void Append(Builder* b, zr_draft* draft, const zr_set& set) {
  if (draft->length == ZR_MAX_PLACES) return;
  zr_place* place = &draft->places[draft->length];
  if (!zr_search_place(b->search, set, place)) b->failed = true;
  draft->length++;
}

// Appends a one-byte element or a literal once.
static void AppendElement(Builder* b, zr_draft* draft, uint32_t index) {
  const zr_node& node = b->nodes[index];
  if (node.opcode == ZR_STRING) {
    for (uint32_t i = node.a; i <= node.b; i++) {
      zr_set set = {};
      zr_search_add_byte(*b->plan, b->preg->pool[i], &set);
      Append(b, draft, set);
    }
    return;
  }
  zr_set set = {};
  zr_search_add_first(b->preg, *b->plan, node, index, &set);
  Append(b, draft, set);
}

static uint32_t WidthOf(const zr_node& literal) {
  return literal.b - literal.a + 1;
}

// Appends what the literals of a group have in each place, over the shortest
// one. Returns whether all have one length.
static bool AppendLiterals(Builder* b, zr_draft* draft, uint32_t open) {
  const uint32_t close = b->nodes[open].b;
  const uint32_t shortest = WidthOf(b->nodes[close - 1]);  // sorted by length
  for (uint32_t k = 0; k < shortest; k++) {
    zr_set set = {};
    for (uint32_t i = open + 1; i < close; i += 2)
      zr_search_add_byte(*b->plan, b->preg->pool[b->nodes[i].a + k], &set);
    Append(b, draft, set);
  }
  return WidthOf(b->nodes[open + 1]) == shortest;
}

static bool IsOnce(const zr_node& node) {
  return node.min == 1 && node.max == 1;
}

// Appends the repetitions that an element is sure to have; returns whether
// what follows it comes directly behind.
static bool AppendRepeated(Builder* b, zr_draft* draft, uint32_t index) {
  const zr_node& node = b->nodes[index];
  for (uint32_t i = 0; i < node.min && draft->length < ZR_MAX_PLACES; i++)
    AppendElement(b, draft, index);
  return node.min == node.max && draft->length < ZR_MAX_PLACES;
}

// Appends the bytes that must stand from node `i` on, beyond the end of groups
// if only one way leads there.
static void AppendOnward(Builder* b, zr_draft* draft, uint32_t i) {
  while (draft->length < ZR_MAX_PLACES) {
    const zr_node& node = b->nodes[i];
    switch (node.opcode) {
      case ZR_BOS:
        if (draft->length) return;
        draft->anchored = true;
        break;
      case ZR_EOS:
        draft->ended = node.min != 0 && draft->length != 0;
        return;
      case ZR_CASEON:
      case ZR_CASEOFF:
        break;
      case ZR_OPEN:
        if (node.min == 0 || b->groups[node.a].last != node.b) return;
        break;
      case ZR_LITOPEN:
        if (node.min == 0) return;
        if (!AppendLiterals(b, draft, i) || !IsOnce(node)) return;
        i = node.b;
        break;
      case ZR_ALT:
        i = node.min;  // the alternative is complete
        continue;
      case ZR_CLOSE:
        if (!IsOnce(node)) return;
        break;
      case ZR_END:
      case ZR_BACKREF:
        return;
      default:
        if (draft->length == 0 && !draft->anchored && node.min >= kLeastRun)
          draft->run = node.min;
        if (!AppendRepeated(b, draft, i)) return;
    }
    draft->run = 0;  // what follows it counts, too
    i++;
  }
}

// ---- Covers

static void Consider(Cover* best, const Cover& other) {
  if (other.count && (!best->count || other.cost < best->cost)) *best = other;
}

static void ConsiderDraft(const Builder& b, Cover* best,
                          const zr_draft& draft) {
  if (draft.length == 0 || (draft.leads && b.withoutLead)) return;
  const double cost = zr_search_cost(b.search, draft);
  if (best->count && cost >= best->cost) return;
  best->count = 1;
  best->cost = cost;
  best->drafts[0] = draft;
}

// The union of both: one of either is there. Too many windows: none.
static void AddOptions(Cover* all, const Cover& one) {
  if (!one.count || all->count + one.count > kMaxOptions) {
    all->cost = 1e30;
    all->count = 0;
    return;
  }
  for (uint32_t i = 0; i < one.count; i++)
    all->drafts[all->count++] = one.drafts[i];
  all->cost += one.cost;
}

static void CoverSequence(Builder* b, uint32_t first, uint32_t last,
                          zr_draft* draft, Cover* best, uint32_t depth);

// A cover for all alternatives from the one that `opener` opens on; each
// begins with the draft. Count 0 when one of them has none.
static void CoverAlternatives(Builder* b, uint32_t opener,
                              const zr_draft& draft, Cover* all,
                              uint32_t depth) {
  all->count = 0;
  all->cost = 0;
  for (;;) {
    const zr_group& group = b->groups[b->nodes[opener].a];
    Cover best;
    best.count = 0;
    zr_draft open = draft;
    CoverSequence(b, group.first + 1, group.last, &open, &best, depth);
    ConsiderDraft(*b, &best, open);
    AddOptions(all, best);
    if (!all->count || b->nodes[group.last].opcode != ZR_ALT) return;
    opener = group.last;
  }
}

// The same for a group of literals, each with what stands behind the group.
static void CoverLiterals(Builder* b, uint32_t open, const zr_draft& draft,
                          Cover* all) {
  const zr_node& node = b->nodes[open];
  all->count = 0;
  all->cost = 0;
  for (uint32_t i = open + 1; i < node.b; i += 2) {
    Cover one;
    one.count = 0;
    zr_draft option = draft;
    AppendElement(b, &option, i);
    if (IsOnce(node)) AppendOnward(b, &option, node.b + 1);
    ConsiderDraft(*b, &one, option);
    AddOptions(all, one);
    if (!all->count) return;
  }
}

static void Restart(const Builder& b, Cover* best, zr_draft* draft) {
  ConsiderDraft(b, best, *draft);
  draft->run = 0;
  draft->length = 0;
  draft->anchored = false;
  draft->leads = false;
}

// A group of any kind that is sure to be entered.
static void CoverGroup(Builder* b, uint32_t open, zr_draft* draft, Cover* best,
                       uint32_t depth) {
  const zr_node& node = b->nodes[open];
  const zr_group& group = b->groups[node.a];
  bool follows = IsOnce(node);
  if (depth == kMaxDepth) {
    follows = false;
  } else if (group.last == node.b) {
    CoverSequence(b, open + 1, node.b, draft, best, depth + 1);
  } else {
    Cover all;
    zr_draft start = *draft;
    start.leads = false;  // other alternatives may begin earlier
    if (node.opcode == ZR_LITOPEN)
      CoverLiterals(b, open, start, &all);
    else
      CoverAlternatives(b, open, start, &all, depth + 1);
    Consider(best, all);
    if (node.opcode == ZR_LITOPEN)
      follows = AppendLiterals(b, draft, open) && follows;
    else
      follows = false;
  }
  if (!follows) Restart(*b, best, draft);
}

// At a "$": the draft stands at the text's end. Not a full one, which may lack
// what came last; nor when the full list has the "$" in a group that may be
// left out.
static void ConsiderEnded(const Builder& b, Cover* best, const zr_draft& draft,
                          const zr_node& eos) {
  if (eos.min == 0 || draft.length == ZR_MAX_PLACES) return;
  zr_draft ended = draft;
  ended.ended = true;
  ended.run = 0;
  ConsiderDraft(b, best, ended);
}

// The nodes first to last, exclusive: what they add to the open draft, and the
// best cover of what is complete.
static void CoverSequence(Builder* b, uint32_t first, uint32_t last,
                          zr_draft* draft, Cover* best, uint32_t depth) {
  for (uint32_t i = first; i < last; i++) {
    const zr_node& node = b->nodes[i];
    switch (node.opcode) {
      case ZR_BOS:
        // Out of a group that may be left out: the full list does so.
        if (node.min == 0) break;
        if (draft->anchored && draft->length == 0) break;
        Restart(*b, best, draft);
        draft->anchored = true;
        break;
      case ZR_EOS:
        ConsiderEnded(*b, best, *draft, node);
        break;
      case ZR_CASEON:
      case ZR_CASEOFF:
        break;  // no bytes of their own
      case ZR_BACKREF:
        Restart(*b, best, draft);
        break;
      case ZR_OPEN:
      case ZR_LITOPEN:
        if (node.min == 0)
          Restart(*b, best, draft);
        else
          CoverGroup(b, i, draft, best, depth);
        i = node.b;
        break;
      default:
        if (draft->length == 0 && !draft->anchored && node.min >= kLeastRun)
          draft->run = node.min;
        if (AppendRepeated(b, draft, i)) {
          draft->run = 0;
          break;
        }
        Restart(*b, best, draft);
        // The last ones stand before what follows.
        for (uint32_t k = 0; k < node.min && k < kTrailing; k++)
          AppendElement(b, draft, i);
    }
  }
}

static Builder MakeBuilder(const zr_regex* preg, const zr_plan& plan,
                           const zr_node* nodes, const zr_group* groups) {
  Builder b = {};
  b.preg = preg;
  b.search = preg->search;
  b.nodes = nodes;
  b.groups = groups;
  b.plan = &plan;
  return b;
}

// Adds the windows of the best cover; returns how many.
static uint32_t AddCover(Builder* b, const zr_draft& draft, Cover* all) {
  CoverAlternatives(b, 0, draft, all, 0);
  if (!all->count || all->cost >= kWorthwhile) return 0;
  for (uint32_t i = 0; i < all->count; i++)
    if (zr_search_add(b->search, all->drafts[i]) == ZR_NONE) b->failed = true;
  return all->count;
}

// The reduced list serves for both: it asks for the same bytes, in fewer
// pieces. Only anchors without their brackets ask for more. When the first
// cover is what matches begin with, a second one tells of the rest.
bool zr_search_cover(zr_regex* preg) {
  zr_search* search = preg->search;
  Builder b =
      MakeBuilder(preg, search->fast, preg->fastNodes, preg->fastGroups);
  Cover* all = static_cast<Cover*>(malloc(sizeof(Cover)));
  if (!all) return false;
  zr_draft draft = {};
  draft.leads = preg->fastGroups[0].last == preg->fastNodeCount - 1;
  search->coverCount = AddCover(&b, draft, all);
  search->coverLeads = search->coverCount == 1 && all->drafts[0].leads;
  if (search->coverLeads) {
    b.withoutLead = true;
    search->secondCount = AddCover(&b, draft, all);
  }
  free(all);
  return !b.failed;
}

// ---- Starts of alternatives

// An alternative that begins with a run may be found by the run's end: its
// last byte and what follows. Returns whether that can be searched for.
static bool DraftEdge(Builder* b, uint32_t first, zr_draft* draft) {
  const zr_node& node = b->nodes[first];
  const zr_follow& follow = b->plan->follows[first];
  if (!zr_is_byte(node.opcode) || node.lazy || node.min == node.max)
    return false;
  if (follow.mayEnd) return false;
  if (node.max != ZR_UNBOUNDED && !follow.apart) return false;
  if (follow.place.set == ZR_NONE && follow.place.loose == 0xFF) return false;
  AppendElement(b, draft, first);
  AppendOnward(b, draft, first + 1);
  if (draft->length == 1 && !draft->ended)
    draft->places[draft->length++] = follow.place;
  draft->run = 0;
  return true;
}

static uint32_t AddStart(Builder* b, zr_start* start, const zr_draft& draft) {
  const uint32_t index = zr_search_add(b->search, draft);
  if (index == ZR_NONE) b->failed = true;
  if (start->count++ == 0) start->first = index;
  return index;
}

// A window for each literal of a group at the start, if that is cheaper.
static bool SplitStart(Builder* b, uint32_t open, double cost,
                       zr_start* start) {
  const zr_node& node = b->nodes[open];
  zr_draft drafts[ZR_MAX_STARTS];
  uint32_t count = 0;
  double sum = 0;
  for (uint32_t i = open + 1; i < node.b; i += 2, count++) {
    if (count == ZR_MAX_STARTS) return false;
    zr_draft* draft = &drafts[count];
    *draft = zr_draft{};
    draft->leads = true;
    AppendElement(b, draft, i);
    if (IsOnce(node)) AppendOnward(b, draft, node.b + 1);
    sum += zr_search_cost(b->search, *draft);
  }
  if (sum >= cost) return false;
  for (uint32_t i = 0; i < count; i++) AddStart(b, start, drafts[i]);
  return true;
}

static void FindStart(Builder* b, uint32_t first, zr_start* start) {
  zr_draft draft = {};
  draft.leads = true;
  AppendOnward(b, &draft, first);
  if (draft.length == 0) return;
  const double cost = zr_search_cost(b->search, draft);
  const zr_node& node = b->nodes[first];
  if (node.opcode == ZR_LITOPEN && node.min != 0 &&
      SplitStart(b, first, cost, start))
    return;
  zr_draft edge = {};
  edge.leads = true;
  if (DraftEdge(b, first, &edge) && zr_search_cost(b->search, edge) < cost) {
    start->edge = 1;
    draft = edge;
  }
  AddStart(b, start, draft);
}

bool zr_search_starts(zr_regex* preg, zr_plan* plan, const zr_node* nodes,
                      const zr_group* groups, uint32_t groupCount) {
  Builder b = MakeBuilder(preg, *plan, nodes, groups);
  plan->starts = static_cast<zr_start*>(calloc(groupCount, sizeof(zr_start)));
  if (!plan->starts) return false;
  for (uint32_t i = 0; i < groupCount && !preg->search->faithful; i++) {
    const uint32_t first = groups[i].first + 1;
    if (groups[i].skip && nodes[first].opcode != ZR_OPEN)
      FindStart(&b, first, &plan->starts[i]);
  }
  return !b.failed;
}
