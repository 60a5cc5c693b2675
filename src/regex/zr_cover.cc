// Which windows a pattern is rejected and searched by.
//
// A cover is a list of windows of which every match holds at least one: the
// best stretch of mandatory bytes, or one stretch for each alternative of a
// mandatory group. A sequence is gone through once; what is certain to stand
// next to each other is gathered in an open draft, which is weighed against
// the best cover so far whenever certainty ends. Entry points: zr_search_cover
// and zr_search_starts. Tested by regex_model_test.cc and, as nothing here may
// change an answer, against the model.

#include <stdlib.h>

#include "regex/zr_search.h"

static const uint32_t kMaxOptions = 16;  // windows of a cover
static const uint32_t kMaxDepth = 8;     // groups within groups looked into
static const uint32_t kTrailing = 4;     // places kept of an open-ended run
static const uint32_t kLeastRun = 4;     // repetitions looked for as a run
// A walk alone costs about this: dearer covers are not worth having.
static const double kWorthwhile = 1500;
// What one window more costs short subjects.
static const double kWindowCall = 20;

namespace {

// Of what every match holds one: windows; or, where these are many, pieces,
// which make one window of grams.
struct Cover {
  bool known;        // false: nothing found
  bool grams;        // the pieces cost less
  double cost;       // of that form
  uint32_t options;  // that have been added up
  uint32_t count;    // of drafts; 0: too many
  double windowCost;
  uint32_t first, last;  // pieces of several options; ZR_NONE: not of each
  double share;          // at which they are found
  bool anchored;         // all stand at offset 0
  zr_draft drafts[kMaxOptions];
};

// One list, and whether memory has held out.
struct Builder {
  const zr_regex* preg;
  zr_search* search;
  const zr_node* nodes;
  const zr_group* groups;
  const zr_plan* plan;
  zr_pieces pieces;
  uint32_t choices;  // alternatives of several around what is looked at
  Cover* group;      // the best of grams that every match has; may be null
  bool withoutLead;  // windows at a start do not count
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
  if (other.known && (!best->known || other.cost < best->cost)) *best = other;
}

static void ConsiderDraft(const Builder& b, Cover* best,
                          const zr_draft& draft) {
  if (draft.length == 0) return;
  if (b.withoutLead && (draft.leads || draft.anchored)) return;
  const double cost = zr_search_cost(b.search, draft);
  if (best->known && cost >= best->cost) return;
  best->known = true;
  best->grams = false;
  best->count = 1;
  best->cost = best->windowCost = cost;
  best->drafts[0] = draft;
}

static void BeginOptions(Cover* all) {
  all->known = all->grams = false;
  all->options = all->count = 0;
  all->windowCost = all->share = 0;
  all->first = all->last = ZR_NONE;
  all->anchored = true;
}

static void AddWindows(Cover* all, const Cover& one) {
  const bool fits = one.count && (all->count || all->options == 0) &&
                    all->count + one.count <= kMaxOptions;
  if (!fits) {
    all->count = 0;
    return;
  }
  for (uint32_t i = 0; i < one.count; i++)
    all->drafts[all->count++] = one.drafts[i];
  all->windowCost += one.windowCost;
}

static void AddPieces(Builder* b, Cover* all, const Cover& one) {
  uint32_t first = one.first;
  uint32_t last = one.last;
  if (one.count == 1) {
    const zr_draft& draft = one.drafts[0];
    first = last = zr_grams_piece(b->search, draft, draft.anchored, &b->pieces);
    all->share += zr_search_share(b->search, draft);
    all->anchored = all->anchored && draft.anchored;
  } else {
    all->anchored = all->anchored && one.anchored;
    all->share += one.share;
  }
  if (all->options == 0)
    all->first = first;
  else if (all->first == ZR_NONE || first == ZR_NONE)
    all->first = ZR_NONE;
  else
    b->pieces.list[all->last].next = first;
  all->last = last;
}

// The union of both: one of either is there. False when that says nothing.
static bool AddOptions(Builder* b, Cover* all, const Cover& one) {
  if (!one.known) return false;
  AddWindows(all, one);
  AddPieces(b, all, one);
  all->options++;
  return all->count || all->first != ZR_NONE;
}

// Once all options are there.
static void Settle(Cover* all) {
  const double windows = all->windowCost + kWindowCall * (all->count - 1.0);
  const double grams = zr_search_gram_cost(all->share, false, all->anchored);
  all->known = true;
  all->grams = !all->count || (all->first != ZR_NONE && grams < windows);
  all->cost = all->grams ? grams : windows;
}

static void CoverSequence(Builder* b, uint32_t first, uint32_t last,
                          zr_draft* draft, Cover* best, uint32_t depth);

// A cover for all alternatives from the one that `opener` opens on; each
// begins with the draft. Nothing is known when one of them has none.
static void CoverAlternatives(Builder* b, uint32_t opener,
                              const zr_draft& draft, Cover* all,
                              uint32_t depth) {
  BeginOptions(all);
  bool isLast = false;
  for (; !isLast; opener = b->groups[b->nodes[opener].a].last) {
    const zr_group& group = b->groups[b->nodes[opener].a];
    isLast = b->nodes[group.last].opcode != ZR_ALT;
    const bool isOnly = isLast && all->options == 0;
    Cover best;
    best.known = false;
    zr_draft open = draft;
    b->choices += !isOnly;
    CoverSequence(b, group.first + 1, group.last, &open, &best, depth);
    b->choices -= !isOnly;
    ConsiderDraft(*b, &best, open);
    if (isOnly) {
      *all = best;
      return;
    }
    if (!AddOptions(b, all, best)) return;
  }
  Settle(all);
}

// The same for a group of literals, each with what stands behind the group.
static void CoverLiterals(Builder* b, uint32_t open, const zr_draft& draft,
                          Cover* all) {
  const zr_node& node = b->nodes[open];
  BeginOptions(all);
  for (uint32_t i = open + 1; i < node.b; i += 2) {
    Cover one;
    one.known = false;
    zr_draft option = draft;
    AppendElement(b, &option, i);
    if (IsOnce(node)) AppendOnward(b, &option, node.b + 1);
    ConsiderDraft(*b, &one, option);
    if (!AddOptions(b, all, one)) return;
  }
  Settle(all);
}

static void Restart(const Builder& b, Cover* best, zr_draft* draft) {
  ConsiderDraft(b, best, *draft);
  draft->run = 0;
  draft->length = 0;
  draft->anchored = false;
  draft->leads = false;
}

// Many texts of a group, one of which every match has: they reject what comes
// by the best window, which the frequency of bytes alone has chosen.
static void ConsiderGroup(const Builder* b, const Cover& all) {
  const uint32_t kMany = 4;
  if (!b->group || b->choices || !all.known || all.first == ZR_NONE) return;
  if (all.options < kMany || all.anchored) return;
  if (!b->group->known || all.share < b->group->share) *b->group = all;
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
    ConsiderGroup(b, all);
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

static uint32_t AddGrams(Builder* b, const Cover& cover) {
  const zr_grams grams = {&b->pieces, cover.first, cover.anchored,
                          cover.anchored, cover.share};
  const uint32_t count = zr_grams_add(b->search, grams);
  if (count == 0) b->failed = true;
  return count;
}

// Adds the windows of the best cover; returns how many.
static uint32_t AddCover(Builder* b, const zr_draft& draft, Cover* all) {
  CoverAlternatives(b, 0, draft, all, 0);
  if (!all->known || all->cost >= kWorthwhile) return 0;
  if (all->grams) return AddGrams(b, *all);
  for (uint32_t i = 0; i < all->count; i++)
    if (zr_search_add(b->search, all->drafts[i]) == ZR_NONE) b->failed = true;
  return all->count;
}

// The best cover, and a second one that tells of what the first one does not:
// of many texts in a group, or, when the first one is what matches or subjects
// begin with, of the rest.
static void AddCovers(Builder* b, Cover* all, Cover* group) {
  zr_search* search = b->search;
  const zr_regex* preg = b->preg;
  zr_draft draft = {};
  draft.leads = preg->fastGroups[0].last == preg->fastNodeCount - 1;
  group->known = false;
  b->group = group;
  search->coverCount = AddCover(b, draft, all);
  b->group = nullptr;
  if (search->coverCount == 0) return;
  const bool isWindow = search->coverCount == 1 && !all->grams;
  search->coverLeads = isWindow && all->drafts[0].leads;
  if (group->known && (isWindow || (all->grams && all->anchored))) {
    search->secondCount = AddGrams(b, *group);
  } else if (search->coverLeads || (isWindow && all->drafts[0].anchored) ||
             (all->grams && all->anchored)) {
    b->withoutLead = true;
    search->secondCount = AddCover(b, draft, all);
  }
}

// The reduced list serves for both: it asks for the same bytes, in fewer
// pieces. Only anchors without their brackets ask for more.
bool zr_search_cover(zr_regex* preg) {
  Builder b =
      MakeBuilder(preg, preg->search->fast, preg->fastNodes, preg->fastGroups);
  Cover* covers = static_cast<Cover*>(malloc(2 * sizeof(Cover)));
  if (!covers) return false;
  AddCovers(&b, covers, covers + 1);
  free(covers);
  free(b.pieces.list);
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

// What each literal of a group at the start begins with: as a window of its
// own, and all together as one of grams. Returns whether either is cheaper.
static bool SplitStart(Builder* b, uint32_t open, double cost,
                       zr_start* start) {
  const zr_node& node = b->nodes[open];
  zr_draft drafts[ZR_MAX_STARTS];
  uint32_t count = 0;
  double windows = 0;
  double share = 0;
  const uint32_t first = b->pieces.count;
  bool whole = true;
  for (uint32_t i = open + 1; i < node.b; i += 2, count++) {
    zr_draft draft = {};
    draft.leads = true;
    AppendElement(b, &draft, i);
    if (IsOnce(node)) AppendOnward(b, &draft, node.b + 1);
    if (count < ZR_MAX_STARTS) drafts[count] = draft;
    windows += zr_search_cost(b->search, draft) + kWindowCall;
    share += zr_search_share(b->search, draft);
    const uint32_t piece = zr_grams_piece(b->search, draft, true, &b->pieces);
    if (piece == ZR_NONE)
      whole = false;
    else if (piece > first)
      b->pieces.list[piece - 1].next = piece;
  }
  const double gramCost = zr_search_gram_cost(share, true, false);
  if (whole && gramCost < cost &&
      (count > ZR_MAX_STARTS || gramCost < windows)) {
    const zr_grams grams = {&b->pieces, first, true, false, share};
    start->first = b->search->windowCount;
    start->count = static_cast<uint8_t>(zr_grams_add(b->search, grams));
    if (start->count == 0) b->failed = true;
    return true;
  }
  if (count > ZR_MAX_STARTS || windows >= cost) return false;
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
  free(b.pieces.list);
  return !b.failed;
}
