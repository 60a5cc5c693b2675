// What a rule author sees: the message of an error code, and the pattern as it
// was understood, printed back from the nodes of the full list. Optional
// elements in front have become alternatives there. A record that the parser
// left half filled prints what there is.
//
// The text is not always a pattern: "]", "{" and "}" get no backslash. Entry
// point: zr_regerror. Tested by zr_regcomp_test.cc.

#include "regex/zr_regex.h"

static const char* const kMessages[] = {
    "Succes",
    "Aucune correspondance trouve",
    "Utilisation illegale d'operateur de repetition",
    "Utilisation illegale de l'operateur intervalle",
    "Caractere d'echappement invalide",
    "Reference arriere invalide",
    "Accolade manquante }",
    "Parenthese manquante )",
    "Crochet manquant ]",
    "Contenu d'accolade invalide { }",
    "Pas assez de memoire",
    "Erreur non specifique",
    "Parenthese fermante invalide )",
    "Charactere interdit",
};

namespace {

// Counts all that is written, and stores what there is room for.
struct Printer {
  char* buffer;
  uint32_t room;
  uint32_t length;
};

}  // namespace

static void PrintByte(Printer* out, char c) {
  if (out->length < out->room) out->buffer[out->length] = c;
  ++out->length;
}

static void PrintText(Printer* out, const char* text) {
  for (; *text != '\0'; ++text) PrintByte(out, *text);
}

static void PrintNumber(Printer* out, uint32_t value) {
  char digits[10];
  uint32_t count = 0;
  do {
    digits[count++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value > 0);
  while (count > 0) PrintByte(out, digits[--count]);
}

static bool IsSpecial(uint8_t c, bool inClass) {
  switch (c) {
    case '$':
    case '(':
    case ')':
    case '*':
    case '+':
    case '.':
    case '?':
    case '[':
    case '\\':
    case '^':
    case '|':
      return true;
    case '-':
      return inClass;
    default:
      return false;
  }
}

static void PrintLiteral(Printer* out, uint8_t c, bool inClass) {
  if (c < 0x20) {
    PrintText(out, "\\x");
    PrintByte(out, zr_Hextoc[c >> 4]);
    PrintByte(out, zr_Hextoc[c & 15]);
    return;
  }
  if (IsSpecial(c, inClass)) PrintByte(out, '\\');
  PrintByte(out, static_cast<char>(c));
}

static void PrintLiterals(Printer* out, const zr_regex* preg, uint32_t first,
                          uint32_t last, bool inClass) {
  for (uint32_t i = first; i <= last; ++i) {
    PrintLiteral(out, preg->pool[i], inClass);
  }
}

static void PrintRange(Printer* out, const zr_regex* preg, uint32_t low,
                       uint32_t high) {
  PrintLiteral(out, preg->pool[low], true);
  PrintByte(out, '-');
  PrintLiteral(out, preg->pool[high], true);
}

// A member that is an opcode.
static const char* EscapeText(uint32_t opcode) {
  switch (opcode) {
    case ZR_TAB:
      return "\\t";
    case ZR_LF:
      return "\\n";
    case ZR_CR:
      return "\\r";
    case ZR_BS:
      return "\\b";
    case ZR_WORD:
      return "\\w";
    case ZR_NOTWORD:
      return "\\W";
    case ZR_SPACE:
      return "\\s";
    case ZR_NOTSPACE:
      return "\\S";
    case ZR_DIGIT:
      return "\\d";
    case ZR_NOTDIGIT:
      return "\\D";
    default:
      return "";
  }
}

static void PrintMembers(Printer* out, const zr_regex* preg, uint32_t first,
                         uint32_t end) {
  for (uint32_t i = first; i < end; ++i) {
    const zr_member& member = preg->members[i];
    if (member.kind == ZR_MEMBER_RANGE) {
      PrintRange(out, preg, member.a, member.b);
    } else if (member.kind <= ZR_MEMBER_RUN) {
      PrintLiterals(out, preg, member.a, member.b, true);
    } else {
      PrintText(out, EscapeText(member.kind));
    }
  }
}

// An element that reads the pool or the members.
static void PrintBytes(Printer* out, const zr_regex* preg,
                       const zr_node& node) {
  switch (node.opcode) {
    case ZR_CHAR:
    case ZR_STRING:
      PrintLiterals(out, preg, node.a, node.b, false);
      return;
    case ZR_NOTCHAR:
    case ZR_NOTCLASS:
    case ZR_NOTSET:
    case ZR_NOTRANGE:
      PrintText(out, "[^");
      break;
    default:
      PrintByte(out, '[');
  }
  if (node.opcode == ZR_CLASS || node.opcode == ZR_NOTCLASS) {
    PrintMembers(out, preg, node.a, node.b);
  } else if (node.opcode == ZR_RANGE || node.opcode == ZR_NOTRANGE) {
    PrintRange(out, preg, node.a, node.b);
  } else {
    PrintLiterals(out, preg, node.a, node.b, true);
  }
  PrintByte(out, ']');
}

// An element whose opcode says it all.
static const char* FixedText(uint32_t opcode) {
  switch (opcode) {
    case ZR_ANY:
      return ".";
    case ZR_ALNUM:
      return "[0-9A-Za-z]";
    case ZR_NOTALNUM:
      return "[^0-9A-Za-z]";
    case ZR_WORD:
      return "[0-9A-Za-z_]";
    case ZR_NOTWORD:
      return "[^0-9A-Za-z_]";
    case ZR_SPACE:
      return "[ \\t\\n\\r\\f]";
    case ZR_NOTSPACE:
      return "[^ \\t\\n\\r\\f]";
    case ZR_DIGIT:
      return "[0-9]";
    case ZR_NOTDIGIT:
      return "[^0-9]";
    case ZR_BS:
      return "[\\b]";
    case ZR_CLOSE:
    case ZR_LITCLOSE:
      return ")";
    case ZR_EOS:
      return "$";
    case ZR_BOS:
      return "^";
    case ZR_ALT:
      return "|";
    case ZR_CASEON:
      return "(?-i)";
    case ZR_CASEOFF:
      return "(?i)";
    default:
      return EscapeText(opcode);
  }
}

static void PrintElement(Printer* out, const zr_regex* preg,
                         const zr_node& node) {
  const uint32_t opcode = node.opcode;
  if (opcode == ZR_OPEN || opcode == ZR_LITOPEN) {
    const bool known = node.a < preg->groupCount;
    const bool noCapture = known && preg->groups[node.a].noCapture != 0;
    PrintText(out, noCapture ? "(?:" : "(");
  } else if (opcode == ZR_BACKREF) {
    PrintByte(out, '\\');
    PrintNumber(out, node.a);
  } else if (opcode < ZR_TAB && opcode != ZR_ANY) {
    PrintBytes(out, preg, node);
  } else {
    PrintText(out, FixedText(opcode));
  }
}

static void PrintBraces(Printer* out, const zr_node& node) {
  PrintByte(out, '{');
  PrintNumber(out, node.min);
  if (node.max != node.min || node.max == ZR_UNBOUNDED) PrintByte(out, ',');
  if (node.max != node.min && node.max != ZR_UNBOUNDED) {
    PrintNumber(out, node.max);
  }
  PrintByte(out, '}');
}

static void PrintQuantifier(Printer* out, const zr_node& node) {
  if (node.min == 1 && node.max == 1 && !node.lazy) return;
  if (node.min == 0 && node.max == ZR_UNBOUNDED) {
    PrintByte(out, '*');
  } else if (node.min == 1 && node.max == ZR_UNBOUNDED) {
    PrintByte(out, '+');
  } else if (node.min == 0 && node.max == 1) {
    PrintByte(out, '?');
  } else {
    PrintBraces(out, node);
  }
  if (node.lazy) PrintByte(out, '?');
}

// The quantifier of a group is printed at its close; the `min` of an
// alternative is none.
static bool HasQuantifier(uint32_t opcode) {
  switch (opcode) {
    case ZR_OPEN:
    case ZR_LITOPEN:
    case ZR_START:
    case ZR_END:
    case ZR_ALT:
    case ZR_CASEON:
    case ZR_CASEOFF:
      return false;
    default:
      return true;
  }
}

uint32_t zr_regerror(int code, const zr_regex* preg, char* buffer,
                     uint32_t size) {
  const int known = sizeof(kMessages) / sizeof(kMessages[0]);
  Printer out = {buffer, size > 0 ? size - 1 : 0, 0};
  PrintText(&out, code >= 0 && code < known ? kMessages[code]
                                            : "Code d'erreur inconnu");
  PrintText(&out, " apres ");
  const uint32_t count = preg == nullptr ? 0 : preg->nodeCount;
  for (uint32_t i = 0; i < count; ++i) {
    const zr_node& node = preg->nodes[i];
    PrintElement(&out, preg, node);
    if (HasQuantifier(node.opcode)) PrintQuantifier(&out, node);
  }
  if (size < 1) return out.length + 1;
  buffer[out.length < out.room ? out.length : out.room] = '\0';
  return 0;
}
