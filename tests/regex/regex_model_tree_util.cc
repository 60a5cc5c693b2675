// The model's trees, read from the two lists of a compiled pattern. Entry
// point: ReadPattern. Tested by regex_model_test.cc.

#include "regex/regex_model_util.h"

namespace regex_model {

namespace {

void AddRange(uint32_t low, uint32_t high, std::bitset<256>* set) {
  for (uint32_t c = low; c <= high; c++) set->set(c);
}

// What a node of one byte stands for that names no bytes; odd is negated.
void AddNamed(uint32_t opcode, std::bitset<256>* set) {
  static const uint8_t kBytes[] = {'\t', '\n', '\r', 8};
  std::bitset<256> named;
  if (opcode <= ZR_BS) {
    set->set(kBytes[opcode - ZR_TAB]);
    return;
  }
  if (opcode >= ZR_SPACE && opcode <= ZR_NOTSPACE) {
    AddRange(9, 13, &named);
    named.set(' ');
  } else {
    AddRange('0', '9', &named);
  }
  if (opcode <= ZR_NOTWORD) {
    AddRange('A', 'Z', &named);
    AddRange('a', 'z', &named);
    named['_'] = opcode >= ZR_WORD;
  }
  *set |= opcode & 1 ? ~named : named;
}

// The bytes that a node of one byte fits.
std::bitset<256> SetOf(const zr_regex& regex, const zr_node& node) {
  std::bitset<256> set;
  switch (node.opcode) {
    case ZR_ANY:
      AddRange(0x0D, 0xFF, &set);
      return set;
    case ZR_RANGE:
    case ZR_NOTRANGE:
      AddRange(regex.pool[node.a], regex.pool[node.b], &set);
      break;
    case ZR_CLASS:
    case ZR_NOTCLASS:
      for (uint32_t i = node.a; i < node.b; i++) {
        const zr_member& member = regex.members[i];
        if (member.kind == ZR_MEMBER_RANGE)
          AddRange(regex.pool[member.a], regex.pool[member.b], &set);
        else if (member.kind <= ZR_MEMBER_RUN)
          for (uint32_t k = member.a; k <= member.b; k++)
            set.set(regex.pool[k]);
        else
          AddNamed(member.kind, &set);
      }
      break;
    case ZR_NOTCHAR:
    case ZR_SET:
    case ZR_NOTSET:
      for (uint32_t i = node.a; i <= node.b; i++) set.set(regex.pool[i]);
      break;
    default:
      AddNamed(node.opcode, &set);
      return set;
  }
  const bool negated = node.opcode == ZR_NOTCHAR ||
                       node.opcode == ZR_NOTCLASS || node.opcode == ZR_NOTSET ||
                       node.opcode == ZR_NOTRANGE;
  return negated ? ~set : set;
}

Element ReadElement(const zr_regex& regex, const zr_node& node) {
  Element element;
  element.min = node.min;
  element.max = node.max;
  element.lazy = node.lazy;
  switch (node.opcode) {
    case ZR_CHAR:
    case ZR_STRING:
      element.text.assign(regex.pool + node.a, regex.pool + node.b + 1);
      break;
    case ZR_EOS:
      element.kind = Kind::kEnd;
      element.mask = static_cast<uint8_t>(node.b);
      break;
    case ZR_BOS:
      element.kind = Kind::kBegin;
      break;
    case ZR_CASEON:
    case ZR_CASEOFF:
      element.kind = Kind::kCase;
      element.mask = node.opcode == ZR_CASEON ? 0xFF : 0xDF;
      break;
    case ZR_BACKREF:
      element.kind = Kind::kBackref;
      element.slot = node.a;
      break;
    default:
      element.kind = node.opcode == ZR_BS ? Kind::kFault : Kind::kOneByte;
      element.set = SetOf(regex, node);
  }
  return element;
}

struct List {
  const zr_regex& regex;
  const zr_node* nodes;
  const zr_group* groups;
};

// Reads the alternatives behind node *i up to the close or the end.
Tree ReadTree(const List& list, uint32_t* i, Pattern* pattern) {
  Tree tree(1);
  tree[0].skip = list.groups[list.nodes[*i].a].skip;
  for (++*i;; ++*i) {
    const zr_node& node = list.nodes[*i];
    Element group;
    switch (node.opcode) {
      case ZR_CLOSE:
      case ZR_LITCLOSE:
      case ZR_END:
        return tree;
      case ZR_ALT:
        tree.emplace_back();
        tree.back().skip = list.groups[node.a].skip;
        break;
      case ZR_OPEN:
      case ZR_LITOPEN:
        group.alternatives = ReadTree(list, i, pattern);
        group.min = list.nodes[*i].min;
        group.max = list.nodes[*i].max;
        group.lazy = list.nodes[*i].lazy;
        group.kind = node.opcode == ZR_OPEN ? Kind::kGroup : Kind::kLitGroup;
        group.slot = list.groups[node.a].capture;
        if (pattern)
          pattern->capturing[group.slot] = !list.groups[node.a].noCapture;
        tree.back().elements.push_back(group);
        break;
      default:
        tree.back().elements.push_back(ReadElement(list.regex, node));
    }
  }
}

}  // namespace

Pattern ReadPattern(const zr_regex& regex) {
  Pattern pattern;
  pattern.slots = regex.captureCount;
  pattern.fastSlots = regex.fastCaptureCount;
  pattern.capturing.assign(pattern.slots, true);
  pattern.hasBackref = regex.hasBackref;
  pattern.caseMask = regex.caseMask;
  uint32_t first = 0, fast = 0;
  pattern.full = ReadTree({regex, regex.nodes, regex.groups}, &first, &pattern);
  pattern.reduced =
      ReadTree({regex, regex.fastNodes, regex.fastGroups}, &fast, nullptr);
  pattern.minLength = regex.minLength;
  pattern.startKind = regex.startKind;
  return pattern;
}

}  // namespace regex_model
