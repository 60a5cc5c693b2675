// What the compiler says about a section before it goes into the image: errors
// for what cannot work, warnings for what a scan would pass over in silence.

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "compiler.h"
#include "regex/zr_regex.h"
#include "rules/keyword_compare.h"
#include "rules/qm_dico.h"

namespace {

// A longer name is never found.
const size_t kMaxNameBytes = 2047;

class SectionCheck {
 public:
  SectionCheck(const SourceSection& section, Messages& messages)
      : section_(section), messages_(messages), type_(section.type()) {}
  void run();

 private:
  void checkName();
  void checkLine(const SourceLine& line);
  void checkRepeats(const SourceLine& line, TBLOCK text);
  void checkNamedRegex(const SourceLine& line, TBLOCK text);
  void checkPattern(const SourceLine& line, TBLOCK pattern);
  void compile(const SourceLine& line, TBLOCK pattern);
  void checkRule(const SourceLine& line, TBLOCK rule);
  bool splitRule(const SourceLine& line, TBLOCK rule,
                 std::vector<TBLOCK>& parts);
  void checkLeaf(const SourceLine& line, TBLOCK leaf);
  void checkField(const SourceLine& line, TBLOCK field);
  void checkKeys(const SourceLine& line, TBLOCK text);
  void checkScores();

  const SourceSection& section_;
  Messages& messages_;
  const uint16_t type_;
  std::map<std::string, uint32_t> seen_;  // folded text -> line number
  std::vector<const SourceLine*> unscored_;
  bool scores_ = false;
};

void SectionCheck::run() {
  checkName();
  for (const SourceLine& line : section_.lines) checkLine(line);
  checkScores();
}

void SectionCheck::checkName() {
  TBLOCK name = View(section_.name);
  uint16_t type, flags;
  GetSectionType(name, type, flags);
  if (name.empty()) messages_.error(section_.start, 0, "a section has no name");
  if (name.length > kMaxNameBytes)
    messages_.error(section_.start, 0, "the section's name is too long");
  for (uint32_t i = 0; i < name.length; i++)
    if (name[i] < 0x20 || name[i] > 0x7E || name[i] == '|') {
      messages_.error(section_.start, i + 1,
                      "the section cannot be found by a name with this byte");
      break;
    }
  if (section_.lines.empty())
    messages_.warning(section_.start, 0, "the section has no lines");
}

void SectionCheck::checkLine(const SourceLine& line) {
  TBLOCK text = View(line.text);
  if (section_.patch) {
    const uint8_t action = GetPatchDicoAction(text);
    if (action == paNone)
      messages_.error(line, 0, "a patch line begins with ++ + - -- or =");
    if (action != paAppend && action != paInsert) return;
  }
  int32_t score = type_ == stPattern ? 100 : 0;
  uint16_t bits = 0;
  if (type_ == stPattern) ReadOptions(text, bits);
  if (ReadScore(text, score, bits) && score != 0) scores_ = true;
  if (score == 0) unscored_.push_back(&line);
  if (text.empty()) messages_.warning(line, 0, "the line has no text");
  if (section_.flags() & sfHashed || type_ == stSortedMd5)
    checkRepeats(line, text);
  if (type_ == stPattern) checkKeys(line, text);
  if (type_ == stRegex) checkPattern(line, text);
  if (type_ == stNamedRegex) checkNamedRegex(line, text);
  if (type_ == stRule) checkRule(line, text);
}

// Of equal lines only the first one is ever found. Digests tell case.
void SectionCheck::checkRepeats(const SourceLine& line, TBLOCK text) {
  std::string key;
  for (uint32_t i = 0; i < text.length; i++)
    key += static_cast<char>(
        type_ == stString ? TBLOCK::AsciiLowerTable[text[i]] : text[i]);
  const auto found = seen_.emplace(key, line.number);
  if (!found.second)
    messages_.warning(line, 0,
                      "the line stands already at line " +
                          std::to_string(found.first->second));
}

void SectionCheck::checkScores() {
  if (!scores_ || (type_ != stString && type_ != stRule && type_ != stRegex))
    return;
  for (const SourceLine* line : unscored_)
    messages_.warning(*line, 0,
                      "the line has no score, in a section that scores");
}

// Lines are found by the class of their first byte, so that an alternative of
// another class is not found where only it occurs.
void SectionCheck::checkKeys(const SourceLine& line, TBLOCK text) {
  int32_t key = -1;
  bool start = true;
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char c = text[i];
    if (c == '+' || c == '>' || c == ',' || !TBLOCK::Is(c, bitKeyword)) return;
    if (start && c != ' ' && c != '|') {
      const bool escaped = c == '\\' && i + 1 < text.length;
      const unsigned char own = KeyTable[escaped ? text[i + 1] : c];
      if (own == '*' || own == '~' || own == '?' || own == '@') return;
      if (key >= 0 && key != own)
        messages_.warning(line, OffsetIn(line, text) + i,
                          "this alternative is not found by its own first "
                          "byte: give it a line of its own");
      key = key < 0 ? own : key;
      start = false;
    }
    if (c == '|') start = true;
    if (c == '\\') i++;
  }
}

void SectionCheck::checkNamedRegex(const SourceLine& line, TBLOCK text) {
  const int32_t colon = text.findByte(':');
  if (colon <= 0) {
    messages_.error(line, OffsetIn(line, text), "the line needs name:pattern");
    return;
  }
  TBLOCK pattern = text;
  pattern.skip(static_cast<uint32_t>(colon) + 1);
  pattern.trim();
  if (pattern.empty())
    messages_.error(line, line.text.size(), "the line has no pattern");
  checkPattern(line, pattern);
}

// A pattern in the reading of rules: "~" stands between two of them.
void SectionCheck::checkPattern(const SourceLine& line, TBLOCK pattern) {
  if (pattern.equals("^$") || pattern.equals(".")) return;
  const int32_t tilde = pattern.findByte('~');
  const bool literal =
      tilde > 0 && pattern[static_cast<uint32_t>(tilde) - 1] == '\\';
  if (tilde < 0 || literal) {
    compile(line, pattern);
    return;
  }
  compile(line, pattern.head(static_cast<uint32_t>(tilde)));
  compile(line, pattern.from(static_cast<uint32_t>(tilde) + 1));
}

void SectionCheck::compile(const SourceLine& line, TBLOCK pattern) {
  if (pattern.empty()) return;
  zr_regex* regex = zr_regalloc();
  if (!regex) {
    messages_.error(line, 0, "out of memory");
    return;
  }
  const int code = zr_regcomp_len(
      regex, reinterpret_cast<const char*>(pattern.pointer), 0, pattern.length);
  if (code != ZR_OK) {
    std::string text(zr_regerror(code, regex, nullptr, 0), '\0');
    zr_regerror(code, regex, &text[0], static_cast<uint32_t>(text.size()));
    messages_.error(line, OffsetIn(line, pattern), text.c_str());
  }
  zr_regfree(regex);
}

// Cuts the name off a rule, when it has one.
void CutRuleName(TBLOCK& rule) {
  uint32_t n = 0;
  while (n < rule.length && (TBLOCK::Is(rule[n], bitAlpha | bitDigit) ||
                             strchr("-@.", rule[n]) != nullptr))
    n++;
  uint32_t colon = n;
  while (colon < rule.length && rule[colon] == ' ') colon++;
  if (n > 0 && colon < rule.length && rule[colon] == ':') {
    rule.skip(colon + 1);
    rule.trim();
  }
}

void SectionCheck::checkRule(const SourceLine& line, TBLOCK rule) {
  CutRuleName(rule);
  if (rule.empty()) {
    messages_.error(line, line.text.size(), "the rule has no expression");
    return;
  }
  std::vector<TBLOCK> open(1, rule);
  while (!open.empty()) {
    const TBLOCK part = open.back();
    open.pop_back();
    if (part.empty()) continue;
    if (part[0] != '(')
      checkLeaf(line, part);
    else if (!splitRule(line, part, open))
      return;
  }
}

// The insides of "(A)&(B)|(C)".
bool SectionCheck::splitRule(const SourceLine& line, TBLOCK rule,
                             std::vector<TBLOCK>& parts) {
  while (!rule.empty()) {
    uint32_t depth = 0, i = 0;
    for (; i < rule.length; i++) {
      if (i > 0 && rule[i - 1] == '\\') continue;
      if (rule[i] == '(') depth++;
      if (rule[i] == ')' && --depth == 0) break;
    }
    if (rule[0] != '(' || i == rule.length) {
      messages_.error(line, OffsetIn(line, rule),
                      "a part of the rule is not in balanced parentheses");
      return false;
    }
    TBLOCK inner = rule.head(i);
    inner.skip(1);
    inner.trim();
    if (inner.empty())
      messages_.error(line, OffsetIn(line, rule), "empty part");
    parts.push_back(inner);
    rule.skip(i + 1);
    rule.trim();
    if (rule.empty()) return true;
    if (!strchr("&|+", rule[0]) || rule.length == 1) {
      messages_.error(line, OffsetIn(line, rule),
                      "parts of a rule are joined by & | or +");
      return false;
    }
    rule.skip(1);
    rule.trim();
  }
  return true;
}

void SectionCheck::checkLeaf(const SourceLine& line, TBLOCK leaf) {
  uint32_t digits = 0;
  while (digits < leaf.length && TBLOCK::Is(leaf[digits], bitDigit)) digits++;
  if (digits > 0 && digits < leaf.length && strchr("<>=", leaf[digits]))
    leaf.skip(digits + 1);
  leaf.trim();
  uint32_t n = 0;
  while (n < leaf.length && !strchr("=<>!#$", leaf[n])) n++;
  TBLOCK field = leaf.head(n);
  field.trim();
  TBLOCK value = leaf.from(n);
  const bool named = !value.empty() && value[0] == '$';
  if (named) value.skip(1);
  uint32_t sign = 0;
  if (value.begins("==") || value.begins("<>") || value.begins("!="))
    sign = 2;
  else if (value.begins("="))
    sign = 1;
  if (sign == 0 || value.length == sign) {
    messages_.error(line, OffsetIn(line, leaf) + n,
                    sign == 0 ? "no operator = <> == or != behind the field"
                              : "nothing stands behind the operator");
    return;
  }
  value.skip(sign);
  checkField(line, field);
  if (!named) checkPattern(line, value);
}

void SectionCheck::checkField(const SourceLine& line, TBLOCK field) {
  const size_t at = OffsetIn(line, field);
  if (!field.empty() && field[field.length - 1] == ')') {
    const int32_t open = field.findByte('(');
    if (open >= 0) {
      field.skip(static_cast<uint32_t>(open) + 1);
      field.cut(field.length - 1);
      field.trim();
    }
  }
  if (!field.empty() && field[field.length - 1] == ']' &&
      field.findByte('[') >= 0)
    field.cut(static_cast<uint32_t>(field.findByte('[')));
  field.trim();
  if (!field.empty() && field[0] == '@') return;
  TBLOCK names(_REGEXFIELDNAMES);
  while (!names.empty())
    if (TBLOCK::BlockBeforeChar(names, ',', 1, 0).equals(field) &&
        !field.empty())
      return;
  messages_.warning(line, at, "unknown field: the leaf holds for no message");
}

}  // namespace

void CheckSection(const SourceSection& section, Messages& messages) {
  SectionCheck(section, messages).run();
}
