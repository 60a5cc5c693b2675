// A compiled pattern as lines of ASCII; one line a list. For "(?:a*x|[^bc])b$":
//
//   [2!] (?:1[2!] 'a'{1,} 'x' |[1!] 'x' |[1!] notset'bc' ) 'b' $1
//
// [2] opens an alternative: its shortest text, with "!" when the search may
// look for its first element. "(1" is capture slot 1; "<1" and ">" are those of
// a literal alternation. A quantifier is {min,max} with "?" when lazy, and left
// out for {1,1}; "never" is a minimum that nothing meets. "$1" has a tail of
// one element, "$0/DF" none and the folding mask. Tested by zr_regcomp_test.cc.

#include <cstdio>

#include "dump/dump.h"
#include "regex/zr_regex.h"

namespace {

// The opcodes from ZR_TAB to ZR_NOTDIGIT.
const char* const kNames[] = {"tab",   "lf",       "cr",    "bs",
                              "alnum", "notalnum", "word",  "notword",
                              "space", "notspace", "digit", "notdigit"};

struct List {
  const zr_regex& regex;
  const zr_node* nodes;
  uint32_t nodeCount;
  const zr_group* groups;
};

std::string Bytes(const zr_regex& regex, uint32_t first, uint32_t last) {
  return "'" + EscapeBytes(TBLOCK(regex.pool + first, last - first + 1)) + "'";
}

std::string Range(const zr_regex& regex, uint32_t low, uint32_t high) {
  return Bytes(regex, low, low) + "-" + Bytes(regex, high, high);
}

std::string Members(const zr_regex& regex, const zr_node& node) {
  std::string out = "{";
  for (uint32_t i = node.a; i < node.b; i++) {
    const zr_member& member = regex.members[i];
    if (i > node.a) out += " ";
    if (member.kind == ZR_MEMBER_RANGE)
      out += Range(regex, member.a, member.b);
    else if (member.kind <= ZR_MEMBER_RUN)
      out += Bytes(regex, member.a, member.b);
    else
      out += kNames[member.kind - ZR_TAB];
  }
  return out + "}";
}

std::string Opener(const List& list, uint32_t record) {
  const zr_group& group = list.groups[record];
  return "[" + std::to_string(group.minLength) + (group.skip ? "!]" : "]");
}

std::string Open(const List& list, const zr_node& node) {
  const zr_group& group = list.groups[node.a];
  return std::string(node.opcode == ZR_OPEN ? "(" : "<") +
         (group.noCapture ? "?:" : "") + std::to_string(group.capture) +
         Opener(list, node.a);
}

std::string EndOfSubject(const zr_node& node) {
  const std::string tail = "$" + std::to_string(node.a);
  return node.b == 0xFF ? tail : tail + "/DF";
}

std::string Element(const List& list, const zr_node& node) {
  const zr_regex& regex = list.regex;
  switch (node.opcode) {
    case ZR_CHAR:
    case ZR_STRING:
      return Bytes(regex, node.a, node.b);
    case ZR_ANY:
      return "any";
    case ZR_NOTCHAR:
      return "not" + Bytes(regex, node.a, node.b);
    case ZR_CLASS:
      return "class" + Members(regex, node);
    case ZR_NOTCLASS:
      return "notclass" + Members(regex, node);
    case ZR_SET:
      return "set" + Bytes(regex, node.a, node.b);
    case ZR_NOTSET:
      return "notset" + Bytes(regex, node.a, node.b);
    case ZR_RANGE:
      return "range" + Range(regex, node.a, node.b);
    case ZR_NOTRANGE:
      return "notrange" + Range(regex, node.a, node.b);
    case ZR_OPEN:
    case ZR_LITOPEN:
      return Open(list, node);
    case ZR_CLOSE:
      return ")";
    case ZR_LITCLOSE:
      return ">";
    case ZR_EOS:
      return EndOfSubject(node);
    case ZR_BOS:
      return "^";
    case ZR_ALT:
      return "|" + Opener(list, node.a);
    case ZR_CASEON:
      return "exact";
    case ZR_CASEOFF:
      return "fold";
    case ZR_BACKREF:
      return "\\" + std::to_string(node.a);
    default:
      return node.opcode < ZR_OPEN ? kNames[node.opcode - ZR_TAB] : "?";
  }
}

std::string Quantifier(const zr_node& node) {
  switch (node.opcode) {
    case ZR_OPEN:
    case ZR_LITOPEN:
    case ZR_ALT:
      return "";  // the close has it; an alternative has none
    default:
      break;
  }
  std::string out;
  if (node.min != 1 || node.max != 1) {
    out = node.min == ZR_UNBOUNDED ? "{never," : "{" + std::to_string(node.min);
    if (node.max != node.min && node.min != ZR_UNBOUNDED) out += ",";
    if (node.max != node.min && node.max != ZR_UNBOUNDED)
      out += std::to_string(node.max);
    out += "}";
  }
  return node.lazy ? out + "?" : out;
}

}  // namespace

std::string DumpRegexList(const zr_regex& regex, bool reduced) {
  const List list = {regex, reduced ? regex.fastNodes : regex.nodes,
                     reduced ? regex.fastNodeCount : regex.nodeCount,
                     reduced ? regex.fastGroups : regex.groups};
  if (list.nodeCount == 0) return "";
  std::string out = Opener(list, 0);
  for (uint32_t i = 1; i + 1 < list.nodeCount; i++)
    out += " " + Element(list, list.nodes[i]) + Quantifier(list.nodes[i]);
  return out;
}

std::string DumpRegexFigures(const zr_regex& regex) {
  char text[200];
  snprintf(text, sizeof text,
           "minLength=%u startKind=%u slots=%u/%u nodes=%u/%u "
           "alternatives=%u/%u caseNodes=%u caseMask=%02X backref=%u size=%u",
           regex.minLength, regex.startKind, regex.captureCount,
           regex.fastCaptureCount, regex.nodeCount, regex.fastNodeCount,
           regex.groupCount, regex.fastGroupCount, regex.caseNodes,
           static_cast<unsigned>(regex.caseMask), regex.hasBackref,
           zr_regsize(&regex));
  return text;
}
