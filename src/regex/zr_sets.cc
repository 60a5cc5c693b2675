// The bytes that a one-byte node matches, as a set of 256 bits: first those of
// the pattern as it is compiled, then what a subject may hold for them under a
// case mask. Entry point: zr_set_of_node. Tested by regex_model_test.cc.

#include "regex/zr_search.h"

static void AddRange(zr_set* set, uint32_t low, uint32_t high) {
  for (uint32_t c = low; c <= high; c++) zr_set_add(set, c);
}

static void AddPool(const zr_regex* preg, uint32_t first, uint32_t last,
                    zr_set* set) {
  for (uint32_t i = first; i <= last; i++) zr_set_add(set, preg->pool[i]);
}

static void Negate(zr_set* set) {
  for (uint32_t& word : set->bits) word = ~word;
}

static bool IsNegated(uint32_t opcode) {
  switch (opcode) {
    case ZR_NOTCHAR:
    case ZR_NOTCLASS:
    case ZR_NOTSET:
    case ZR_NOTRANGE:
    case ZR_NOTALNUM:
    case ZR_NOTWORD:
    case ZR_NOTSPACE:
    case ZR_NOTDIGIT:
      return true;
    default:
      return false;
  }
}

// The opcodes that need nothing but themselves, before a negation.
static void AddPlain(uint32_t opcode, zr_set* set) {
  switch (opcode) {
    case ZR_ANY:
      AddRange(set, 0x0D, 0xFF);
      break;
    case ZR_TAB:
      zr_set_add(set, '\t');
      break;
    case ZR_LF:
      zr_set_add(set, '\n');
      break;
    case ZR_CR:
      zr_set_add(set, '\r');
      break;
    case ZR_BS:
      zr_set_add(set, 0x08);
      break;
    case ZR_WORD:
    case ZR_NOTWORD:
      zr_set_add(set, '_');
      [[fallthrough]];
    case ZR_ALNUM:
    case ZR_NOTALNUM:
      AddRange(set, 'A', 'Z');
      AddRange(set, 'a', 'z');
      [[fallthrough]];
    case ZR_DIGIT:
    case ZR_NOTDIGIT:
      AddRange(set, '0', '9');
      break;
    case ZR_SPACE:
    case ZR_NOTSPACE:
      AddRange(set, '\t', '\r');
      zr_set_add(set, ' ');
      break;
    default:
      break;
  }
}

static void AddMember(const zr_regex* preg, const zr_member& member,
                      zr_set* set) {
  switch (member.kind) {
    case ZR_MEMBER_BYTE:
    case ZR_MEMBER_RUN:
      AddPool(preg, member.a, member.b, set);
      break;
    case ZR_MEMBER_RANGE:
      AddRange(set, preg->pool[member.a], preg->pool[member.b]);
      break;
    default: {
      zr_set one = {};
      AddPlain(member.kind, &one);
      if (IsNegated(member.kind)) Negate(&one);
      zr_set_add_all(set, one);
    }
  }
}

// What the node matches, of folded bytes.
static zr_set FoldedSet(const zr_regex* preg, const zr_node& node) {
  zr_set set = {};
  switch (node.opcode) {
    case ZR_CHAR:
    case ZR_NOTCHAR:
      zr_set_add(&set, preg->pool[node.a]);
      break;
    case ZR_SET:
    case ZR_NOTSET:
      AddPool(preg, node.a, node.b, &set);
      break;
    case ZR_RANGE:
    case ZR_NOTRANGE:
      AddRange(&set, preg->pool[node.a], preg->pool[node.b]);
      break;
    case ZR_CLASS:
    case ZR_NOTCLASS:
      for (uint32_t i = node.a; i < node.b; i++)
        AddMember(preg, preg->members[i], &set);
      break;
    default:
      AddPlain(node.opcode, &set);
  }
  if (IsNegated(node.opcode)) Negate(&set);
  return set;
}

zr_set zr_set_of_node(const zr_regex* preg, const zr_node& node, uint8_t mask) {
  const zr_set folded = FoldedSet(preg, node);
  if (mask == 0xFF) return folded;
  zr_set set = folded;
  for (uint32_t c = 'a'; c < 256; c++) {
    if (zr_MaskTable[c]) continue;
    set.bits[c >> 5] &= ~(1u << (c & 31));
    if (zr_set_has(folded, c & mask)) zr_set_add(&set, c);
  }
  return set;
}
