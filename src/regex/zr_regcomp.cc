// The parser: one pass over the pattern's bytes, which builds the full list.
// While it goes, literal bytes join into runs, equal neighbours into one
// element, and groups of mere literals become literal alternations. Entry
// points: zr_regalloc, zr_regcomp_len, zr_regcomp, zr_regfree, zr_regsize. The
// dialect is told in doc/regex-dialect.md. Tested by zr_regcomp_test.cc.

#include <stdlib.h>
#include <string.h>

#include "regex/zr_internal.h"
#include "regex/zr_search.h"

static const uint32_t kFirstMembers = 32;
static const uint32_t kMaxPattern = 0x7FFFFFF0u;  // sizes stay below 2 GB

namespace {

struct Parser {
  zr_regex* preg;
  const uint8_t* text;
  uint32_t length;
  uint32_t at;
  zr_list list;
  uint32_t memberCapacity;
  uint32_t depth;  // groups that are open
  uint8_t mask;    // case mask in force
};

}  // namespace

// NUL behind the end.
static uint8_t ByteAt(const Parser& p, uint32_t index) {
  return index < p.length ? p.text[index] : 0;
}

static bool AtEnd(const Parser& p) {
  return p.at >= p.length;
}

static uint8_t Folded(const Parser& p, uint8_t c) {
  return c & (zr_MaskTable[c] | p.mask);
}

static zr_node& LastNode(Parser* p) {
  return p->list.nodes[p->list.nodeCount - 1];
}

// No pattern byte gives more than one byte to the pool, so there is room.
static uint32_t PushByte(Parser* p, uint8_t c) {
  zr_regex* preg = p->preg;
  preg->pool[preg->poolSize] = c;
  return preg->poolSize++;
}

// ---- Joining neighbours.

static uint32_t PoolBytes(const zr_node& node) {
  switch (node.opcode) {
    case ZR_CHAR:
    case ZR_NOTCHAR:
      return 1;
    case ZR_RANGE:
    case ZR_NOTRANGE:
      return 2;
    default:
      return 0;
  }
}

static bool IsFusible(uint32_t opcode) {
  switch (opcode) {
    case ZR_STRING:
    case ZR_CLASS:
    case ZR_NOTCLASS:
    case ZR_SET:
    case ZR_NOTSET:
      return false;
    default:
      return opcode < ZR_OPEN;
  }
}

static bool MatchTheSame(const zr_regex* preg, const zr_node& x,
                         const zr_node& y) {
  if (x.opcode != y.opcode || !IsFusible(x.opcode)) return false;
  const uint32_t bytes = PoolBytes(x);
  return memcmp(preg->pool + x.a, preg->pool + y.a, bytes) == 0;
}

// Called when nothing more can be said about the last element: when it matches
// the same bytes as the one in front, that one takes its counters over.
// Whether either is lazy does not matter, on purpose.
static void FinishElement(Parser* p) {
  zr_list& list = p->list;
  if (list.nodeCount < 2) return;
  zr_node& x = list.nodes[list.nodeCount - 2];
  const zr_node& y = list.nodes[list.nodeCount - 1];
  if (!MatchTheSame(p->preg, x, y)) return;
  x.min = zr_add(x.min, y.min);
  x.max = zr_add(x.max, y.max);
  p->preg->poolSize -= PoolBytes(y);
  --list.nodeCount;
}

static int AddElement(Parser* p, uint32_t opcode, uint32_t a, uint32_t b) {
  FinishElement(p);
  return zr_list_add(&p->list, zr_plain_node(opcode, a, b));
}

static int AddLiteral(Parser* p, uint8_t c) {
  c = Folded(*p, c);
  zr_node& last = LastNode(p);
  const bool literal = last.opcode == ZR_CHAR || last.opcode == ZR_STRING;
  if (literal && last.min == 1 && last.max == 1) {
    last.opcode = ZR_STRING;
    last.b = PushByte(p, c);
    return ZR_OK;
  }
  FinishElement(p);
  const uint32_t index = PushByte(p, c);
  return zr_list_add(&p->list, zr_plain_node(ZR_CHAR, index, index));
}

// A quantifier is for the last byte of a run only.
static int SplitRun(Parser* p) {
  zr_node& run = LastNode(p);
  const uint8_t c = p->preg->pool[run.b];
  --p->preg->poolSize;
  --run.b;
  if (run.a == run.b) run.opcode = ZR_CHAR;
  FinishElement(p);
  const uint32_t index = PushByte(p, c);
  return zr_list_add(&p->list, zr_plain_node(ZR_CHAR, index, index));
}

// ---- Quantifiers. They change the counters of the last element by steps.

// min += n - 1. All ones, which nothing can satisfy, stays.
static void RaiseMin(zr_node* node, uint32_t n) {
  if (node->min == 0xFFFFFFFFu) return;
  if (n > 0) {
    node->min = zr_add(node->min, n - 1);
  } else {
    node->min -= 1;  // all ones from 0, on purpose
  }
}

// Reads digits up to a byte that is none. False when there is no digit.
static bool ReadNumber(Parser* p, uint32_t* value) {
  const uint32_t start = p->at;
  *value = 0;
  while (ByteAt(*p, p->at) >= '0' && ByteAt(*p, p->at) <= '9') {
    *value = zr_add(zr_multiply(*value, 10), ByteAt(*p, p->at) - '0');
    ++p->at;
  }
  return p->at > start;
}

// What is behind "{". `node` takes the counters.
static int ParseBraces(Parser* p, zr_node* node) {
  uint32_t n;
  uint32_t m = 0;
  ReadNumber(p, &n);
  const bool interval = ByteAt(*p, p->at) == ',';
  if (interval) {
    ++p->at;
    ReadNumber(p, &m);
  }
  if (AtEnd(*p)) return ZR_NOBRACE;
  if (p->text[p->at++] != '}') return ZR_BADBRACE;
  if (interval && m != 0 && m < n) return ZR_BADBRACE;
  RaiseMin(node, n);
  if (!interval) {
    node->max = node->min;
  } else if (m == 0) {
    node->max = ZR_UNBOUNDED;
  } else {
    node->max = zr_add(node->max, m - 1);
  }
  return ZR_OK;
}

static bool TakesQuantifier(uint32_t opcode) {
  switch (opcode) {
    case ZR_START:
    case ZR_OPEN:
    case ZR_ALT:
    case ZR_CASEON:
    case ZR_CASEOFF:
      return false;
    default:
      return true;
  }
}

static int ParseQuantifier(Parser* p, uint8_t c) {
  if (!TakesQuantifier(LastNode(p).opcode)) return ZR_BADREPEAT;
  int code = ZR_OK;
  if (LastNode(p).opcode == ZR_STRING) code = SplitRun(p);
  if (code != ZR_OK) return code;
  zr_node counters = LastNode(p);
  if (c == '{') {
    code = ParseBraces(p, &counters);
  } else {
    if (c != '+') RaiseMin(&counters, 0);
    if (c != '?') counters.max = ZR_UNBOUNDED;
  }
  if (code != ZR_OK) {
    counters.min = 1;
    counters.max = 1;
  } else if (ByteAt(*p, p->at) == '?') {
    ++p->at;
    counters.lazy = 1;
  }
  zr_set_quantifier(&p->list, p->list.nodeCount - 1, counters);
  return code;
}

// ---- Classes.

namespace {

// A class while it is read: its members are those from `first` on.
struct ClassState {
  bool negated;
  uint32_t first;     // member
  uint32_t poolSize;  // in front of its bytes
  uint32_t entries;   // read so far
  bool single;        // the last entry was one byte: a range may begin there
};

}  // namespace

static int PushMember(Parser* p, uint32_t kind, uint32_t a, uint32_t b) {
  zr_regex* preg = p->preg;
  if (preg->memberCount == p->memberCapacity) {
    const uint32_t capacity =
        p->memberCapacity == 0 ? kFirstMembers : p->memberCapacity * 2;
    if (capacity > kMaxPattern / sizeof(zr_member)) return ZR_NOMEMORY;
    void* grown = realloc(preg->members, sizeof(zr_member) * capacity);
    if (grown == nullptr) return ZR_NOMEMORY;
    preg->members = static_cast<zr_member*>(grown);
    p->memberCapacity = capacity;
  }
  preg->members[preg->memberCount++] = zr_member{kind, a, b};
  return ZR_OK;
}

static int AddClassByte(Parser* p, ClassState* state, uint8_t c) {
  zr_regex* preg = p->preg;
  const uint32_t index = PushByte(p, Folded(*p, c));
  ++state->entries;
  state->single = true;
  if (preg->memberCount > state->first) {
    zr_member& last = preg->members[preg->memberCount - 1];
    if (last.kind == ZR_MEMBER_BYTE || last.kind == ZR_MEMBER_RUN) {
      last.kind = ZR_MEMBER_RUN;
      last.b = index;
      return ZR_OK;
    }
  }
  return PushMember(p, ZR_MEMBER_BYTE, index, index);
}

// The byte read last becomes the low end of a range.
static int AddClassRange(Parser* p, ClassState* state, uint8_t c) {
  zr_regex* preg = p->preg;
  const uint32_t low = preg->poolSize - 1;
  const uint32_t high = PushByte(p, Folded(*p, c));
  // Alone it would be an empty range, which is allowed.
  if (preg->pool[high] < preg->pool[low] && state->entries > 1) {
    return ZR_BADRANGE;
  }
  state->single = false;
  zr_member& last = preg->members[preg->memberCount - 1];
  if (last.kind == ZR_MEMBER_BYTE) {
    last = zr_member{ZR_MEMBER_RANGE, low, high};
    return ZR_OK;
  }
  --last.b;
  if (last.a == last.b) last.kind = ZR_MEMBER_BYTE;
  return PushMember(p, ZR_MEMBER_RANGE, low, high);
}

// The opcode of an escape for more than one byte or for a control byte, or
// ZR_CHAR when it is none.
static uint32_t EscapeOpcode(uint8_t c) {
  switch (c) {
    case 'd':
      return ZR_DIGIT;
    case 'D':
      return ZR_NOTDIGIT;
    case 'w':
      return ZR_WORD;
    case 'W':
      return ZR_NOTWORD;
    case 's':
      return ZR_SPACE;
    case 'S':
      return ZR_NOTSPACE;
    case 'n':
      return ZR_LF;
    case 'r':
      return ZR_CR;
    case 't':
      return ZR_TAB;
    default:
      return ZR_CHAR;
  }
}

static uint8_t HexValue(uint8_t c) {
  return c < 128 ? zr_HexTable[c] : 0;
}

// The byte that an escape stands for, `c` being the one behind the backslash.
static uint8_t EscapedByte(Parser* p, uint8_t c) {
  if (c != 'x') return c;
  const uint8_t high = HexValue(ByteAt(*p, p->at));
  const uint8_t low = HexValue(ByteAt(*p, p->at + 1));
  p->at += 2;  // behind the end, when digits are missing
  return static_cast<uint8_t>(high * 16 + low);
}

static int ParseClassEscape(Parser* p, ClassState* state) {
  if (AtEnd(*p)) return ZR_BADESCAPE;
  const uint8_t c = p->text[p->at++];
  const uint32_t opcode = c == 'b' ? ZR_BS : EscapeOpcode(c);
  if (opcode == ZR_CHAR) return AddClassByte(p, state, EscapedByte(p, c));
  ++state->entries;
  state->single = false;
  return PushMember(p, opcode, 0, 0);
}

// A "-" that is not the first entry; it is behind us. The high end of a range
// is one raw byte: no escape is understood there, on purpose.
static int ParseHyphen(Parser* p, ClassState* state) {
  if (AtEnd(*p)) return ZR_NOBRACKET;
  if (p->text[p->at] == ']') return AddClassByte(p, state, '-');
  if (!state->single) return ZR_BADRANGE;
  return AddClassRange(p, state, p->text[p->at++]);
}

static int ParseClassEntries(Parser* p, ClassState* state) {
  for (;;) {
    if (AtEnd(*p)) return ZR_NOBRACKET;
    const uint8_t c = p->text[p->at++];
    const bool first = state->entries == 0;
    if (c == ']' && !first) return ZR_OK;
    int code;
    if (c == '\\') {
      code = ParseClassEscape(p, state);
    } else if (c == '-' && !first) {
      code = ParseHyphen(p, state);
    } else {
      code = AddClassByte(p, state, c);
    }
    if (code != ZR_OK) return code;
  }
}

static bool IsRange(const Parser& p, const zr_member& member, uint8_t low,
                    uint8_t high) {
  return member.kind == ZR_MEMBER_RANGE && p.preg->pool[member.a] == low &&
         p.preg->pool[member.b] == high;
}

// ZR_ALNUM or ZR_WORD when the members are just these ranges, and "_", in any
// order; else ZR_CLASS.
static uint32_t NamedClass(const Parser& p, const zr_member* members,
                           uint32_t count) {
  uint32_t seen = 0;
  for (uint32_t i = 0; i < count; ++i) {
    if (IsRange(p, members[i], 'a', 'z')) seen |= 1;
    if (IsRange(p, members[i], 'A', 'Z')) seen |= 2;
    if (IsRange(p, members[i], '0', '9')) seen |= 4;
    if (members[i].kind == ZR_MEMBER_BYTE &&
        p.preg->pool[members[i].a] == '_') {
      seen |= 8;
    }
  }
  if (count == 3 && seen == 7) return ZR_ALNUM;
  if (count == 4 && seen == 15) return ZR_WORD;
  return ZR_CLASS;
}

// The simplest positive opcode for the class, with its pool indices.
static zr_node ReducedClass(const Parser& p, const ClassState& state) {
  const zr_member* members = p.preg->members + state.first;
  const uint32_t count = p.preg->memberCount - state.first;
  zr_node node = zr_plain_node(ZR_CLASS, members[0].a, members[0].b);
  if (count == 3 || count == 4) {
    node.opcode = NamedClass(p, members, count);
  } else if (count > 1) {
    node.opcode = ZR_CLASS;
  } else if (members[0].kind == ZR_MEMBER_BYTE) {
    node.opcode = ZR_CHAR;
  } else if (members[0].kind == ZR_MEMBER_RUN) {
    node.opcode = ZR_SET;
  } else if (IsRange(p, members[0], '0', '9')) {
    node.opcode = ZR_DIGIT;
  } else if (members[0].kind == ZR_MEMBER_RANGE) {
    node.opcode = ZR_RANGE;
  } else if (!state.negated) {
    node.opcode = members[0].kind;  // an escape
  }
  return node;
}

static uint32_t Negated(uint32_t opcode) {
  return opcode == ZR_CHAR ? ZR_NOTCHAR : opcode + 1;
}

// What is behind "[".
static int ParseClass(Parser* p) {
  FinishElement(p);
  zr_regex* preg = p->preg;
  ClassState state = {};
  state.first = preg->memberCount;
  state.poolSize = preg->poolSize;
  state.negated = ByteAt(*p, p->at) == '^';
  if (state.negated) ++p->at;
  const int code = ParseClassEntries(p, &state);
  if (code != ZR_OK) return code;
  zr_node node = ReducedClass(*p, state);
  if (node.opcode == ZR_CLASS) {
    node.a = state.first;
    node.b = preg->memberCount;
  } else {
    preg->memberCount = state.first;
  }
  if (node.opcode >= ZR_TAB) {
    node.a = 0;
    node.b = 0;
    preg->poolSize = state.poolSize;
  }
  if (state.negated) node.opcode = Negated(node.opcode);
  return zr_list_add(&p->list, node);
}

// ---- Groups.

// "(?i)" and "(?-i)" up to the end of the pattern; what is behind the "i".
static int ParseCase(Parser* p, bool fold) {
  if (ByteAt(*p, p->at) != ')') return ZR_NOPAREN;
  ++p->at;
  p->mask = fold ? 0xDF : 0xFF;
  ++p->preg->caseNodes;
  if (p->list.nodeCount == 1) {
    p->preg->caseMask = p->mask;
    return ZR_OK;
  }
  return AddElement(p, fold ? ZR_CASEOFF : ZR_CASEON, 0, 0);
}

static int OpenGroup(Parser* p, uint32_t noCapture) {
  if (p->depth == ZR_MAX_DEPTH) return ZR_NOMEMORY;
  ++p->depth;
  FinishElement(p);
  return zr_list_open(&p->list, ZR_OPEN, noCapture, p->preg->captureCount++);
}

// What is behind "(".
static int ParseOpen(Parser* p) {
  if (ByteAt(*p, p->at) != '?') return OpenGroup(p, 0);
  const uint8_t c = ByteAt(*p, p->at + 1);
  if (c == ':') {
    p->at += 2;
    return OpenGroup(p, 1);
  }
  if (c == 'i') {
    p->at += 2;
    return ParseCase(p, true);
  }
  if (c == '-' && ByteAt(*p, p->at + 2) == 'i') {
    p->at += 3;
    return ParseCase(p, false);
  }
  return ZR_BADCHAR;
}

static uint32_t LiteralLength(const zr_node& node) {
  return node.b - node.a + 1;
}

// Whether the group has several alternatives, each just one literal.
static bool IsLiteralGroup(const zr_list& list, uint32_t record) {
  if (list.nodes[list.groups[record].last].opcode != ZR_ALT) return false;
  for (;;) {
    const zr_group& group = list.groups[record];
    if (group.first + 2 != group.last) return false;
    const zr_node& node = list.nodes[group.first + 1];
    if (node.opcode != ZR_CHAR && node.opcode != ZR_STRING) return false;
    if (node.min != 1 || node.max != 1) return false;
    const zr_node& next = list.nodes[group.last];
    if (next.opcode != ZR_ALT) return true;
    record = next.a;
  }
}

// Orders the literals at first, first + 2 and so on by length, the longest
// first, as a selection sort does; the alternatives' marks stay. A length that
// was found is searched for from there on, so that the cost is one sweep for
// each length.
static void SortLiterals(zr_node* nodes, uint32_t first, uint32_t end) {
  uint32_t found = first;
  uint32_t length = 0;
  for (uint32_t i = first; i < end; i += 2) {
    uint32_t next = found;
    if (next < i) next = i;
    while (next < end && LiteralLength(nodes[next]) != length) next += 2;
    if (next >= end) {
      next = i;
      for (uint32_t k = i; k < end; k += 2) {
        if (LiteralLength(nodes[k]) > LiteralLength(nodes[next])) next = k;
      }
      length = LiteralLength(nodes[next]);
    }
    found = next;
    const zr_node swapped = nodes[i];
    nodes[i] = nodes[next];
    nodes[next] = swapped;
  }
}

static int CloseGroup(Parser* p) {
  zr_list& list = p->list;
  if (p->depth == 0 || LastNode(p).opcode == ZR_OPEN) return ZR_BADPAREN;
  --p->depth;
  FinishElement(p);
  const int code = zr_list_close(&list, zr_plain_node(ZR_CLOSE, 0, 0));
  if (code != ZR_OK) return code;
  zr_node& close = LastNode(p);
  if (!IsLiteralGroup(list, close.b)) return ZR_OK;
  close.opcode = ZR_LITCLOSE;
  list.nodes[close.a].opcode = ZR_LITOPEN;
  SortLiterals(list.nodes, close.a + 1, list.nodeCount - 1);
  return ZR_OK;
}

// ---- The pattern.

static int ParseEscape(Parser* p) {
  if (AtEnd(*p)) return ZR_BADESCAPE;
  const uint8_t c = p->text[p->at++];
  const uint32_t opcode = EscapeOpcode(c);
  if (opcode != ZR_CHAR) return AddElement(p, opcode, 0, 0);
  if (c < '1' || c > '9') return AddLiteral(p, EscapedByte(p, c));
  const uint32_t slot = c - '0';
  const uint32_t inside = p->list.groups[p->list.record].capture;
  if (slot >= p->preg->captureCount || slot == inside) return ZR_BADBACKREF;
  p->preg->hasBackref = 1;
  return AddElement(p, ZR_BACKREF, slot, 0);
}

static int ParseByte(Parser* p) {
  const uint8_t c = p->text[p->at++];
  switch (c) {
    case '\\':
      return ParseEscape(p);
    case '^':
      return AddElement(p, ZR_BOS, 0, 0);
    case '$':
      return AddElement(p, ZR_EOS, 0, p->mask);
    case '.':
      return AddElement(p, ZR_ANY, 0, 0);
    case '[':
      return ParseClass(p);
    case '(':
      return ParseOpen(p);
    case ')':
      return CloseGroup(p);
    case '|':
      FinishElement(p);
      return zr_list_alternative(&p->list);
    case '*':
    case '+':
    case '?':
    case '{':
      return ParseQuantifier(p, c);
    case ']':
    case '}':
      return ZR_BADCHAR;
    default:
      return AddLiteral(p, c);
  }
}

static int ParsePattern(Parser* p) {
  zr_regex* preg = p->preg;
  int code = zr_list_begin(&p->list);
  preg->pool = static_cast<uint8_t*>(malloc(size_t{p->length} + 2));
  if (code != ZR_OK || preg->pool == nullptr) return ZR_NOMEMORY;
  PushByte(p, '^');
  while (code == ZR_OK && !AtEnd(*p)) code = ParseByte(p);
  if (code != ZR_OK) return code;
  if (p->depth > 0) return ZR_NOPAREN;
  FinishElement(p);
  return zr_list_end(&p->list);
}

zr_regex* zr_regalloc() {
  return static_cast<zr_regex*>(calloc(1, sizeof(zr_regex)));
}

int zr_regcomp_len(zr_regex* preg, const char* pattern, int flags,
                   uint32_t length) {
  if (length > kMaxPattern) return ZR_NOMEMORY;
  const bool fold = (flags & 1) != 0;
  preg->caseMask = fold ? 0xDF : 0xFF;
  preg->caseNodes = fold ? 1 : 0;
  preg->captureCount = 1;
  Parser parser = {};
  parser.preg = preg;
  parser.text = reinterpret_cast<const uint8_t*>(pattern);
  parser.length = length;
  parser.mask = preg->caseMask;
  int code = ParsePattern(&parser);
  preg->nodes = parser.list.nodes;
  preg->nodeCount = parser.list.nodeCount;
  preg->groups = parser.list.groups;
  preg->groupCount = parser.list.groupCount;
  if (code == ZR_OK) code = zr_rewrite_starts(preg);
  if (code == ZR_OK) code = zr_trim(preg);
  if (code == ZR_OK) code = zr_reduce(preg);
  if (code != ZR_OK) return code;
  zr_derive(preg);
  return zr_search_build(preg);
}

int zr_regcomp(zr_regex* preg, const char* pattern, int flags) {
  const size_t length = strlen(pattern);
  if (length > kMaxPattern) return ZR_NOMEMORY;
  return zr_regcomp_len(preg, pattern, flags, static_cast<uint32_t>(length));
}

void zr_regfree(zr_regex* preg) {
  if (preg == nullptr) return;
  zr_search_free(preg->search);
  free(preg->pool);
  free(preg->members);
  free(preg->nodes);
  free(preg->groups);
  free(preg->fastNodes);
  free(preg->fastGroups);
  free(preg);
}

// The sizes of the records in a 32-bit build, whatever this one is.
uint32_t zr_regsize(const zr_regex* preg) {
  return preg->poolSize + 12 * preg->memberCount + 24 * preg->nodeCount +
         32 * preg->groupCount + 24 * preg->fastNodeCount +
         32 * preg->fastGroupCount + 76;
}
