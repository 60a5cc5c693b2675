// The walk along a node list with an explicit backtrack stack: forward over
// one element after the other, and back over them when one fails, undoing what
// each had consumed until one of them can go on in another way.
//
// Positions are not stacked. An element that can have consumed several
// amounts keeps a count in one cell, a group what its iterations overwrote;
// all else is undone by its fixed width. Entry point: zr_walk. Tested by
// zr_regexec_test.cc and against the model.

#include "regex/zr_walk.h"

#include <stdlib.h>
#include <string.h>

static const uint32_t kLocalCells = 2048;
static const uint32_t kRoom = 4;  // cells that a single step may push
// A run of this many bytes counts as a further step.
static const uint32_t kBytesPerStep = 16;

// ---- Stack

static void Push(zr_walker* w, uint32_t cell) {
  w->cells[w->top++] = cell;
}

static uint32_t Pop(zr_walker* w) {
  return w->cells[--w->top];
}

static bool Grow(zr_walker* w) {
  const uint32_t capacity = w->capacity * 2;
  if (capacity > ZR_MAX_CELLS) return false;
  void* grown = realloc(w->heapCells, size_t{capacity} * sizeof(uint32_t));
  if (!grown) return false;
  if (!w->heapCells) memcpy(grown, w->cells, w->top * sizeof(uint32_t));
  w->heapCells = w->cells = static_cast<uint32_t*>(grown);
  w->capacity = capacity;
  return true;
}

static bool HasRoom(zr_walker* w) {
  return w->capacity - w->top >= kRoom || Grow(w);
}

// ---- Elements

// How many bytes from `text` on fit, at most `limit`.
static uint32_t RunLength(const zr_walker* w, const zr_place& place,
                          const uint8_t* text, uint32_t limit) {
  uint32_t count = 0;
  if (place.set == ZR_NONE) {
    const uint32_t loose = place.loose;
    const uint32_t value = place.value;
    while (count < limit && (text[count] | loose) == value) ++count;
  } else {
    const zr_set& set = w->preg->search->sets[place.set];
    while (count < limit && zr_set_has(set, text[count])) ++count;
  }
  return count;
}

bool zr_same_bytes(const zr_walker* w, const zr_node& literal,
                   const uint8_t* text, uint8_t mask) {
  const uint8_t* pool = w->preg->pool + literal.a;
  const uint32_t width = literal.b - literal.a + 1;
  if (mask == 0xFF) return text[0] == pool[0] && !memcmp(text, pool, width);
  for (uint32_t i = 0; i < width; i++)
    if ((text[i] & (zr_MaskTable[text[i]] | mask)) != pool[i]) return false;
  return true;
}

static bool LiteralAt(const zr_walker* w, const zr_node& literal,
                      uint32_t position) {
  if (literal.b - literal.a >= w->length - position) return false;
  const uint8_t byte = w->text[position];
  return (byte & (zr_MaskTable[byte] | w->mask)) == w->preg->pool[literal.a] &&
         zr_same_bytes(w, literal, w->text + position, w->mask);
}

// How many repetitions an element with this quantifier asks for. A lazy one
// takes its minimum, but never none, and is never extended, on purpose.
static uint32_t Wanted(const zr_node& node) {
  if (!node.lazy || node.max == 0) return node.max;
  return node.min == 0 ? 1 : node.min;
}

static uint32_t Needed(const zr_node& node) {
  return node.lazy && node.min == 0 ? 1 : node.min;
}

// Elements whose count can only be one keep no cell.
static bool KeepsCount(const zr_node& node) {
  return !node.lazy && node.min != node.max;
}

static zr_way TurnBack(zr_walker* w) {
  --w->node;
  return ZR_WAY_BACK;
}

// Goes on behind an element that matched `count` times, or turns back.
static zr_way Consumed(zr_walker* w, const zr_node& node, uint32_t count,
                       uint32_t width) {
  if (count < Needed(node)) return TurnBack(w);
  w->position += count * width;
  if (KeepsCount(node)) Push(w, count);
  ++w->node;
  return ZR_WAY_FORWARD;
}

// Whether what follows a greedy one-byte element can go on at `position`.
static bool GoesOn(const zr_walker* w, const zr_follow& follow,
                   uint32_t position) {
  if (position == w->length) return follow.atEnd;
  return zr_fits(w, follow.place, w->text[position]);
}

static zr_way ForwardByte(zr_walker* w, const zr_node& node) {
  const uint32_t left = w->length - w->position;
  const uint32_t wanted = Wanted(node);
  uint32_t count = RunLength(w, w->places[w->node], w->text + w->position,
                             wanted < left ? wanted : left);
  w->steps += count / kBytesPerStep;
  if (count < Needed(node)) return TurnBack(w);
  if (KeepsCount(node)) {
    const zr_follow& follow = w->plan->follows[w->node];
    while (!follow.mayEnd && !GoesOn(w, follow, w->position + count)) {
      if (count == node.min || follow.apart) return TurnBack(w);
      --count;
    }
    Push(w, count);
  }
  w->position += count;
  ++w->node;
  return ZR_WAY_FORWARD;
}

static zr_way BackByte(zr_walker* w, const zr_node& node) {
  if (!KeepsCount(node)) {
    w->position -= Needed(node);
    return TurnBack(w);
  }
  const zr_follow& follow = w->plan->follows[w->node];
  uint32_t& count = w->cells[w->top - 1];
  while (count > node.min && !follow.apart) {
    --count;
    --w->position;
    if (!GoesOn(w, follow, w->position)) continue;
    ++w->node;
    return ZR_WAY_FORWARD;
  }
  w->position -= count;
  --w->top;
  return TurnBack(w);
}

static zr_way ForwardString(zr_walker* w, const zr_node& node) {
  const uint32_t wanted = Wanted(node);
  const uint32_t width = node.b - node.a + 1;
  uint32_t count = 0;
  uint32_t position = w->position;
  while (count < wanted && LiteralAt(w, node, position)) {
    ++count;
    position += width;
  }
  w->steps += (position - w->position) / kBytesPerStep;
  return Consumed(w, node, count, width);
}

static zr_way BackRepeated(zr_walker* w, const zr_node& node, uint32_t width) {
  if (!KeepsCount(node)) {
    w->position -= Needed(node) * width;
    return TurnBack(w);
  }
  uint32_t& count = w->cells[w->top - 1];
  if (count > node.min) {
    --count;
    w->position -= width;
    ++w->node;
    return ZR_WAY_FORWARD;
  }
  w->position -= count * width;
  --w->top;
  return TurnBack(w);
}

// The captured text, or false when the slot is not set.
static bool Captured(const zr_walker* w, uint32_t slot, uint32_t* start,
                     uint32_t* width) {
  const zr_slot& s = w->slots[slot];
  if (s.start == ZR_NONE || s.end == ZR_NONE || s.end < s.start) return false;
  *start = s.start;
  *width = s.end - s.start;
  return true;
}

// Bytes compare as they stand, folding or not, on purpose. Empty text counts
// as one repetition and ends the loop.
static zr_way ForwardBackref(zr_walker* w, const zr_node& node) {
  uint32_t start;
  uint32_t width;
  if (!Captured(w, node.a, &start, &width)) return TurnBack(w);
  const uint32_t wanted = Wanted(node);
  uint32_t count = 0;
  uint32_t position = w->position;
  while (count < wanted && width && width <= w->length - position &&
         memcmp(w->text + position, w->text + start, width) == 0) {
    ++count;
    position += width;
  }
  if (width == 0 && wanted) count = 1;
  if (count < Needed(node) && (width || !wanted)) return TurnBack(w);
  w->steps += (position - w->position) / kBytesPerStep;
  w->position = position;
  Push(w, width);
  Push(w, count);
  ++w->node;
  return ZR_WAY_FORWARD;
}

// The width comes from the stack: the capture may have changed since.
static zr_way BackBackref(zr_walker* w, const zr_node& node) {
  const uint32_t width = w->cells[w->top - 2];
  uint32_t& count = w->cells[w->top - 1];
  if (!node.lazy && width && count > node.min) {
    --count;
    w->position -= width;
    ++w->node;
    return ZR_WAY_FORWARD;
  }
  w->position -= count * width;
  w->top -= 2;
  return TurnBack(w);
}

// ---- Scans: where an alternative can begin

// Whether entering this alternative searches for its first element: nothing
// is closed on the path, and no inner group does it instead.
static bool Scans(const zr_walker* w, uint32_t record) {
  const zr_group& group = w->groups[record];
  return group.skip && w->closed == 0 &&
         w->nodes[group.first + 1].opcode != ZR_OPEN;
}

// Whether any literal of a group stands at `position`; its node, or 0.
static uint32_t LiteralOfGroup(const zr_walker* w, uint32_t open,
                               uint32_t position) {
  for (uint32_t i = open + 1; i < w->nodes[open].b; i += 2)
    if (LiteralAt(w, w->nodes[i], position)) return i;
  return 0;
}

static bool FirstFits(const zr_walker* w, uint32_t first, uint32_t position) {
  const zr_node& node = w->nodes[first];
  switch (node.opcode) {
    case ZR_STRING:
      return LiteralAt(w, node, position);
    case ZR_LITOPEN:
      return LiteralOfGroup(w, first, position) != 0;
    case ZR_ALT:
    case ZR_CLOSE:
    case ZR_END:
      return true;  // an empty alternative begins anywhere
    case ZR_BACKREF:
      return false;  // nothing can be captured yet
    default:
      return node.opcode < ZR_OPEN &&
             zr_fits(w, w->places[first], w->text[position]);
  }
}

static uint32_t FindWindow(const zr_walker* w, uint32_t window, uint32_t from) {
  const zr_search* search = w->preg->search;
  return zr_window_find(search->windows[window], search->sets, w->text,
                        w->length, from);
}

// The nearest of several windows. What was found ahead is kept for the next
// time, so that each goes through the text once.
static uint32_t ScanMany(zr_walker* w, uint32_t record, uint32_t from) {
  const zr_start& start = w->plan->starts[record];
  zr_ahead* ahead = w->ahead;
  const bool fresh = ahead->record != record || from < ahead->from;
  uint32_t nearest = ZR_NONE;
  for (uint32_t i = 0; i < start.count; i++) {
    uint32_t* next = &ahead->next[i];
    if (fresh || *next < from) *next = FindWindow(w, start.first + i, from);
    if (*next < nearest) nearest = *next;
  }
  ahead->record = record;
  ahead->from = from;
  return nearest;
}

// Finds the end of the run that an alternative begins with, then goes back to
// where it may begin. Without a maximum that is the run's start: from there
// all places to go on are reached. With one, only as many bytes before the
// end, since what follows is none of the run's own.
static uint32_t ScanEdge(const zr_walker* w, uint32_t record, uint32_t from) {
  const uint32_t first = w->groups[record].first + 1;
  const zr_node& node = w->nodes[first];
  const zr_place& place = w->places[first];
  for (uint32_t at = from; at < w->length;) {
    uint32_t last = FindWindow(w, w->plan->starts[record].first, at);
    if (last == ZR_NONE) {
      if (!w->plan->follows[first].atEnd) return ZR_NONE;
      last = w->length - 1;
    }
    at = last + 1;
    uint32_t count = 0;
    while (count < node.max && at - count > from &&
           zr_fits(w, place, w->text[at - count - 1]))
      ++count;
    if (count != 0 && count >= node.min) return at - count;
  }
  return ZR_NONE;
}

// The first offset from `from` on at which the alternative's first element
// matches once, never the text's end; ZR_NONE if there is none. Offsets at
// which the alternative cannot match may be left out.
static uint32_t Scan(zr_walker* w, uint32_t record, uint32_t from) {
  const zr_start& start = w->plan->starts[record];
  if (start.edge) return ScanEdge(w, record, from);
  if (start.count == 1) return FindWindow(w, start.first, from);
  if (start.count != 0) return ScanMany(w, record, from);
  const uint32_t first = w->groups[record].first + 1;
  if (w->nodes[first].opcode == ZR_BOS) return from == 0 ? 0 : ZR_NONE;
  for (uint32_t i = from; i < w->length; i++)
    if (FirstFits(w, first, i)) return i;
  return ZR_NONE;
}

// Where to scan on after a failure. When the alternative begins with a greedy
// element that took its run to the end, a later start within the run could only
// go on from places that have been tried. Unless text captured earlier counts.
static uint32_t NextStart(const zr_walker* w, uint32_t record) {
  const uint32_t first = w->groups[record].first + 1;
  const zr_node& node = w->nodes[first];
  const uint32_t next = w->position + 1;
  if (next >= w->length || !zr_is_byte(node.opcode) || !KeepsCount(node) ||
      w->preg->hasBackref || w->preg->search->faithful)
    return next;
  const uint32_t run = RunLength(w, w->places[first], w->text + w->position,
                                 w->length - w->position);
  return run == 0 || run > node.max ? next : w->position + run;
}

// All enclosing groups begin where the alternative begins.
static void MoveStart(zr_walker* w, uint32_t record, uint32_t position) {
  w->position = position;
  for (; record != ZR_NONE; record = w->groups[record].parent)
    w->slots[w->groups[record].capture].start = position;
}

// ---- Groups

// Goes on behind the close of the group that `open` opens.
static zr_way GoBehind(zr_walker* w, uint32_t open) {
  w->record = w->groups[w->nodes[open].a].parent;
  w->node = w->nodes[open].b + 1;
  return ZR_WAY_FORWARD;
}

// Goes back into the last iteration, or out of the group when there is none.
static zr_way UndoIteration(zr_walker* w, uint32_t open) {
  const zr_group& group = w->groups[w->nodes[open].a];
  zr_slot& slot = w->slots[group.capture];
  if (slot.count == 0) {
    slot.count = Pop(w);
    w->record = group.parent;
    w->node = open - 1;
    return ZR_WAY_BACK;
  }
  slot.end = Pop(w);
  w->record = Pop(w);
  --slot.count;
  --w->closed;
  w->node = w->groups[w->record].last - 1;
  return ZR_WAY_BACK;
}

// The iteration begun at this position is not possible.
static zr_way IterationFailed(zr_walker* w, uint32_t open) {
  const zr_node& node = w->nodes[open];
  zr_slot& slot = w->slots[w->groups[node.a].capture];
  slot.start = Pop(w);
  // A lazy group has gone on behind before it tried this.
  if (!node.lazy && slot.count >= node.min) return GoBehind(w, open);
  return UndoIteration(w, open);
}

// The alternatives of a top-level pattern have all failed.
static zr_way RestartOrFail(zr_walker* w) {
  if (w->groups[0].skip) return ZR_WAY_FAILED;
  ++w->position;
  if (w->position >= w->length) return ZR_WAY_FAILED;
  if (w->length - w->position < w->preg->minLength) return ZR_WAY_FAILED;
  w->slots[0].start = w->position;
  w->record = 0;
  w->node = 1;
  return ZR_WAY_FORWARD;
}

// The last alternative has failed; `last` is behind it.
static zr_way LeaveGroup(zr_walker* w, uint32_t last) {
  if (w->nodes[last].opcode == ZR_END) return RestartOrFail(w);
  return IterationFailed(w, w->nodes[last].a);
}

// Enters the alternative behind the node `opener`, or of those behind it the
// first that can begin here.
static zr_way EnterAlternative(zr_walker* w, uint32_t opener) {
  uint32_t record = w->nodes[opener].a;
  while (!w->groups[record].skip || w->closed != 0) {
    const zr_follow& begin = w->plan->begins[record];
    w->record = record;
    w->node = opener + 1;
    if (!begin.guards || GoesOn(w, begin, w->position)) return ZR_WAY_FORWARD;
    opener = w->groups[record].last;
    if (w->nodes[opener].opcode != ZR_ALT) return LeaveGroup(w, opener);
    record = w->nodes[opener].a;
  }
  w->record = record;
  w->node = opener + 1;
  w->position = w->base;
  if (!Scans(w, record)) return ZR_WAY_FORWARD;
  if (w->nodes[w->node].opcode == ZR_BS) return ZR_WAY_BROKEN;
  const uint32_t found = Scan(w, record, w->base);
  if (found == ZR_NONE) {
    w->position = w->length;  // nothing left to scan
    w->node = opener;
    return ZR_WAY_BACK;
  }
  MoveStart(w, record, found);
  return ZR_WAY_FORWARD;
}

// The alternative behind this opener has failed here. One that scans goes on
// scanning, all of the text, before the next one is tried: what is found is
// not the leftmost match, deliberately.
static zr_way BackAlternative(zr_walker* w) {
  const uint32_t opener = w->node;
  const uint32_t record = w->nodes[opener].a;
  const zr_group& group = w->groups[record];
  w->record = record;
  if (group.skip && w->closed == 0) {
    if (Scans(w, record)) {
      const uint32_t found = Scan(w, record, NextStart(w, record));
      if (found != ZR_NONE) {
        MoveStart(w, record, found);
        w->node = opener + 1;
        return ZR_WAY_FORWARD;
      }
    }
    w->position = w->base;
  }
  if (w->nodes[group.last].opcode == ZR_ALT)
    return EnterAlternative(w, group.last);
  return LeaveGroup(w, group.last);
}

static zr_way BeginIteration(zr_walker* w, uint32_t open) {
  zr_slot& slot = w->slots[w->groups[w->nodes[open].a].capture];
  Push(w, slot.start);
  slot.start = w->position;
  return EnterAlternative(w, open);
}

// Another iteration or on behind the close: a greedy group iterates while it
// may, a lazy one only until it has its minimum.
static zr_way Decide(zr_walker* w, uint32_t open) {
  const zr_node& node = w->nodes[open];
  const uint32_t count = w->slots[w->groups[node.a].capture].count;
  if (node.lazy && count >= node.min) return GoBehind(w, open);
  if (count < node.max) return BeginIteration(w, open);
  return count >= node.min ? GoBehind(w, open) : UndoIteration(w, open);
}

// Behind the first group nothing is searched for: what cannot begin here fails.
static zr_way ForwardOpen(zr_walker* w, const zr_node& node) {
  const zr_follow& follow = w->plan->follows[w->node];
  if (follow.guards && w->closed != 0 && !GoesOn(w, follow, w->position))
    return TurnBack(w);
  zr_slot& slot = w->slots[w->groups[node.a].capture];
  Push(w, slot.count);
  slot.count = 0;
  return Decide(w, w->node);
}

static zr_way ForwardClose(zr_walker* w, const zr_node& node) {
  const zr_group& group = w->groups[node.b];
  zr_slot& slot = w->slots[group.capture];
  Push(w, w->record);
  Push(w, slot.end);
  slot.end = w->position;
  ++slot.count;
  ++w->closed;
  w->record = group.parent;
  return Decide(w, node.a);
}

// From behind: a lazy group that was left early enters one more iteration,
// any other takes its last one up again from its end.
static zr_way BackClose(zr_walker* w, const zr_node& node) {
  const uint32_t count = w->slots[w->groups[node.b].capture].count;
  if (node.lazy && count < node.max) return BeginIteration(w, node.a);
  return UndoIteration(w, node.a);
}

// ---- Groups of literals: an iteration is never tried in a second way

static bool TakeLiteral(zr_walker* w, uint32_t open, zr_slot* slot) {
  const uint32_t literal = LiteralOfGroup(w, open, w->position);
  if (literal == 0) return false;
  Push(w, slot->start);
  Push(w, slot->end);
  slot->start = w->position;
  w->position += w->nodes[literal].b - w->nodes[literal].a + 1;
  slot->end = w->position;
  ++slot->count;
  ++w->steps;
  return true;
}

// Takes iterations off until the group can be left with the rest, or is
// undone.
static zr_way UndoLiterals(zr_walker* w, uint32_t open) {
  const zr_node& node = w->nodes[open];
  zr_slot& slot = w->slots[w->groups[node.a].capture];
  while (slot.count != 0) {
    w->position = slot.start;
    slot.end = Pop(w);
    slot.start = Pop(w);
    --slot.count;
    if (!node.lazy && slot.count >= node.min) return GoBehind(w, open);
  }
  slot.count = Pop(w);
  w->node = open - 1;
  return ZR_WAY_BACK;
}

static zr_way ForwardLiterals(zr_walker* w, const zr_node& node) {
  const uint32_t open = w->node;
  const uint32_t wanted = node.lazy ? node.min : node.max;
  zr_slot& slot = w->slots[w->groups[node.a].capture];
  Push(w, slot.count);
  slot.count = 0;
  while (slot.count < wanted) {
    if (!HasRoom(w)) return ZR_WAY_EXHAUSTED;
    if (!TakeLiteral(w, open, &slot)) break;
  }
  if (slot.count >= node.min) return GoBehind(w, open);
  return UndoLiterals(w, open);
}

static zr_way BackLiterals(zr_walker* w, const zr_node& node) {
  zr_slot& slot = w->slots[w->groups[node.b].capture];
  if (node.lazy && slot.count < node.max && TakeLiteral(w, node.a, &slot))
    return GoBehind(w, node.a);
  return UndoLiterals(w, node.a);
}

// ---- The walk

static zr_way Pass(zr_walker* w, bool matches) {
  if (!matches) return TurnBack(w);
  ++w->node;
  return ZR_WAY_FORWARD;
}

static zr_way ForwardCase(zr_walker* w, uint8_t mask) {
  Push(w, w->mask);
  zr_set_mask(w, mask);
  ++w->node;
  return ZR_WAY_FORWARD;
}

static zr_way Forward(zr_walker* w) {
  const zr_node& node = w->nodes[w->node];
  if (node.opcode <= ZR_NOTDIGIT && node.opcode != ZR_STRING)
    return node.opcode == ZR_BS ? ZR_WAY_BROKEN : ForwardByte(w, node);
  switch (node.opcode) {
    case ZR_STRING:
      return ForwardString(w, node);
    case ZR_OPEN:
      return ForwardOpen(w, node);
    case ZR_CLOSE:
      return ForwardClose(w, node);
    case ZR_LITOPEN:
      return ForwardLiterals(w, node);
    case ZR_ALT:
      w->node = node.min;  // the alternative before it is complete
      return ZR_WAY_FORWARD;
    case ZR_END:
      return ZR_WAY_MATCHED;
    case ZR_EOS:
      return Pass(w, w->position == w->length);
    case ZR_BOS:
      return Pass(w, w->position == 0);
    case ZR_CASEON:
      return ForwardCase(w, 0xFF);
    case ZR_CASEOFF:
      return ForwardCase(w, 0xDF);
    case ZR_BACKREF:
      return ForwardBackref(w, node);
    default:
      return ZR_WAY_BROKEN;
  }
}

static zr_way Back(zr_walker* w) {
  const zr_node& node = w->nodes[w->node];
  switch (node.opcode) {
    case ZR_START:
    case ZR_OPEN:
    case ZR_ALT:
      return BackAlternative(w);
    case ZR_CLOSE:
      return BackClose(w, node);
    case ZR_LITCLOSE:
      return BackLiterals(w, node);
    case ZR_EOS:
    case ZR_BOS:
      return TurnBack(w);
    case ZR_CASEON:
    case ZR_CASEOFF:
      zr_set_mask(w, static_cast<uint8_t>(Pop(w)));
      return TurnBack(w);
    case ZR_BACKREF:
      return BackBackref(w, node);
    case ZR_STRING:
      return BackRepeated(w, node, node.b - node.a + 1);
    default:
      return BackByte(w, node);
  }
}

static uint32_t MostSteps(uint32_t length) {
  const uint32_t room = (ZR_MAX_STEPS - ZR_STEPS) / ZR_STEPS_PER_BYTE;
  return length < room ? ZR_STEPS + length * ZR_STEPS_PER_BYTE : ZR_MAX_STEPS;
}

static zr_way WalkAll(zr_walker* w) {
  const uint32_t most = MostSteps(w->length);
  zr_way way = EnterAlternative(w, 0);
  while (way == ZR_WAY_FORWARD || way == ZR_WAY_BACK) {
    if (++w->steps > most || !HasRoom(w)) return ZR_WAY_EXHAUSTED;
    way = way == ZR_WAY_FORWARD ? Forward(w) : Back(w);
  }
  return way;
}

zr_way zr_walk(zr_walker* w) {
  uint32_t cells[kLocalCells];
  zr_ahead ahead;
  ahead.record = ZR_NONE;
  w->ahead = &ahead;
  w->cells = cells;
  w->capacity = kLocalCells;
  zr_set_mask(w, w->preg->caseMask);
  w->slots[0].start = w->position = w->base;
  const zr_way way = WalkAll(w);
  w->slots[0].end = w->position;
  free(w->heapCells);
  return way;
}
