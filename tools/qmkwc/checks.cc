// What the compiler says about a section before it goes into the image, and
// about what became of it: errors for what cannot work, warnings for what a
// scan would pass over in silence. Rules and patterns are read by the engine's
// own functions, so that both see the same.

#include <map>
#include <string>
#include <vector>

#include "compiler.h"
#include "regex/zr_regex.h"
#include "rules/qm_dico.h"
#include "rules/rule_expression.h"

namespace {

// A longer name is never found.
const size_t kMaxNameBytes = 2047;

class SectionCheck {
 public:
  SectionCheck(const SourceSection& section, const SectionNames& names,
               const TQMDICO& dico, Messages& messages)
      : section_(section),
        names_(names),
        dico_(dico),
        messages_(messages),
        type_(section.type()) {}
  void run();

 private:
  void checkName();
  void checkLine(const SourceLine& line);
  void checkOptions(const SourceLine& line, TBLOCK text);
  void checkRepeats(const SourceLine& line, TBLOCK text);
  void checkDomain(const SourceLine& line, TBLOCK text);
  void checkNamedRegex(const SourceLine& line, TBLOCK text);
  void checkPattern(const SourceLine& line, TBLOCK pattern);
  void checkHalves(const SourceLine& line, const RULEPATTERN& pattern);
  void checkRule(const SourceLine& line, TBLOCK rule);
  void checkParts(const SourceLine& line, const TRULEPART* parts,
                  uint32_t count);
  void checkStop(const SourceLine& line, const TRULEPART& part);
  void checkLeaf(const SourceLine& line, TBLOCK leaf);
  void checkField(const SourceLine& line, TBLOCK field, const TQMEXPR& leaf);
  void checkReference(const SourceLine& line, TBLOCK name, bool indexed);
  bool isSubgroup(TBLOCK name) const;
  void checkScores();

  const SourceSection& section_;
  const SectionNames& names_;
  const TQMDICO& dico_;
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
  const std::string& start = section_.start.text;
  const size_t end = start.size() - (start.back() == ']' ? 1 : 0);
  if (name.empty())
    messages_.error(section_.start, end, "a section has no name");
  if (name.length > kMaxNameBytes)
    messages_.error(section_.start, 0, "the section's name is too long");
  for (uint32_t i = 0; i < name.length; i++)
    if (name[i] < 0x20 || name[i] > 0x7E || name[i] == '|') {
      messages_.error(section_.start, end - name.length + i,
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
  TBLOCK behind = text;
  const bool scored = ReadScore(behind, score, bits) != 0;
  if (scored && type_ == stSortedMd5)
    messages_.warning(line, OffsetIn(line, text),
                      "this section has no scores: what looks like one is "
                      "digested with the line");
  else
    text = behind;
  if (scored && score != 0) scores_ = true;
  // "<0>" is meant so.
  if (score == 0 && !scored) unscored_.push_back(&line);
  if (text.empty())
    messages_.warning(line, line.text.size(), "the line has no text");
  if (section_.flags() & sfHashed || type_ == stSortedMd5)
    checkRepeats(line, text);
  if (type_ == stMd5 || type_ == stSortedMd5) checkDomain(line, text);
  if (type_ == stPattern) checkOptions(line, text);
  if (type_ == stRegex) checkPattern(line, text);
  if (type_ == stNamedRegex) checkNamedRegex(line, text);
  if (type_ == stRule) checkRule(line, text);
  if (type_ == stSectionList && !isSubgroup(text))
    checkReference(line, text, false);
}

void SectionCheck::checkOptions(const SourceLine& line, TBLOCK text) {
  uint16_t bits = 0;
  const size_t at = text.empty() ? 0 : OffsetIn(line, text);
  if (ReadOptions(text, bits))
    messages_.warning(line, at,
                      "options stand in front of the score; here "
                      "they are a word");
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

// Domains are brought into small letters before they are asked for.
void SectionCheck::checkDomain(const SourceLine& line, TBLOCK text) {
  int32_t capital = -1;
  uint32_t dots = 0, letters = 0;
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char c = text[i];
    if (c == '.') dots++;
    if (!TBLOCK::Is(c, bitAlpha | bitDigit) && c != '.' && c != '-') return;
    if (capital < 0 && TBLOCK::Is(c, bitUpper))
      capital = static_cast<int32_t>(i);
    letters = TBLOCK::Is(c, bitAlpha) ? letters + 1 : 0;
  }
  if (dots > 0 && letters > 1 && capital >= 0)
    messages_.warning(line, OffsetIn(line, text) + static_cast<size_t>(capital),
                      "a domain with a capital is never found: the digest "
                      "tells case");
}

void SectionCheck::checkScores() {
  if (!scores_ || (type_ != stString && type_ != stRule && type_ != stRegex))
    return;
  for (const SourceLine* line : unscored_)
    messages_.warning(*line, 0,
                      "the line has no score, in a section that scores");
}

void SectionCheck::checkNamedRegex(const SourceLine& line, TBLOCK text) {
  const int32_t colon = text.findByte(':');
  if (colon <= 0) {
    messages_.error(line, text.empty() ? 0 : OffsetIn(line, text),
                    "the line needs name:pattern");
    return;
  }
  TBLOCK pattern = text;
  pattern.skip(static_cast<uint32_t>(colon) + 1);
  pattern.trim();
  if (pattern.empty())
    messages_.error(line, line.text.size(), "the line has no pattern");
  checkPattern(line, pattern);
}

void SectionCheck::checkPattern(const SourceLine& line, TBLOCK text) {
  RULEPATTERN pattern;
  pattern.set(text, nullptr);
  checkHalves(line, pattern);
}

// The engine's own message on each half that it refuses.
void SectionCheck::checkHalves(const SourceLine& line,
                               const RULEPATTERN& pattern) {
  for (const REGEX* half : {&pattern.wanted, &pattern.unwanted}) {
    if (half->compileError == ZR_OK) continue;
    zr_regex* regex = zr_regalloc();
    if (!regex) continue;
    const TBLOCK text = half->pattern;
    const int code = zr_regcomp_len(
        regex, reinterpret_cast<const char*>(text.pointer), 0, text.length);
    std::string what(zr_regerror(code, regex, nullptr, 0), '\0');
    zr_regerror(code, regex, &what[0], static_cast<uint32_t>(what.size()));
    messages_.error(line, OffsetIn(line, text), what.c_str());
    zr_regfree(regex);
  }
}

void SectionCheck::checkRule(const SourceLine& line, TBLOCK text) {
  TQMRULE rule;
  BLOCK store(0, 4096);
  if (!ParseRule(text, rule, store)) {
    messages_.error(line, 0, "out of memory");
    return;
  }
  if (rule.count == 0)
    messages_.error(line, line.text.size(), "the rule has no expression");
  // A name "@S" chains to the section S.
  if (rule.name.begins("@")) checkReference(line, rule.name.from(1), false);
  checkParts(line, reinterpret_cast<const TRULEPART*>(store.data), rule.count);
}

// The parts of one level; recurses, kMaxRuleDepth deep.
void SectionCheck::checkParts(const SourceLine& line, const TRULEPART* parts,
                              uint32_t count) {
  for (uint32_t i = 0; i < count; i += parts[i].span) {
    const TRULEPART& part = parts[i];
    if (part.kind == TRULEPART::rkStop) {
      checkStop(line, part);
    } else if (part.kind == TRULEPART::rkGroup) {
      if (part.span == 1)
        messages_.error(line, OffsetIn(line, part.text), "empty part");
      checkParts(line, parts + i + 1, part.span - 1);
    } else {
      if (i > 0)
        messages_.warning(line, OffsetIn(line, part.text),
                          "what stands in front has no effect: join parts in "
                          "parentheses by & | or +");
      checkLeaf(line, part.text);
    }
  }
}

void SectionCheck::checkStop(const SourceLine& line, const TRULEPART& part) {
  const char* what = part.reason == reNoPart
                         ? "a part in parentheses must stand behind & | or +"
                     : part.reason == reTooDeep
                         ? "too many parentheses within parentheses"
                         : "a part of the rule is not in balanced parentheses";
  messages_.error(line, OffsetIn(line, part.text), what);
}

void SectionCheck::checkLeaf(const SourceLine& line, TBLOCK text) {
  TQMEXPR leaf;
  const bool good = leaf.parse(text, dico_) != 0;
  TBLOCK field = LeafField(text);
  if (!good) {
    messages_.error(line, OffsetIn(line, field) + field.length,
                    "no leaf of a rule: a field, one of = <> == !=, a value");
    return;
  }
  field.trim();
  checkField(line, field, leaf);
  if (leaf.isSection)
    checkReference(line, leaf.value, true);
  else
    checkHalves(line, leaf.regex);
}

// "[i]" or "[i,j]" at the field's end.
bool IsIndex(TBLOCK range) {
  for (int32_t i = 0; i < 2; i++) {
    range.trim();
    if (!range.empty() && range[0] == '-') range.skip(1);
    uint32_t n = 0;
    while (n < range.length && TBLOCK::Is(range[n], bitDigit)) n++;
    if (n == 0) return false;
    range.skip(n);
    range.trim();
    if (range.empty()) return true;
    if (range[0] != ',') return false;
    range.skip(1);
  }
  return false;
}

void SectionCheck::checkField(const SourceLine& line, TBLOCK field,
                              const TQMEXPR& leaf) {
  const size_t at = OffsetIn(line, field);
  const int32_t open = field.findByte('(');
  if (open >= 0 && field.ends(")")) {
    if (leaf.func == 0)
      messages_.warning(line, at,
                        "unknown function: the field is taken as it "
                        "is");
    field.skip(static_cast<uint32_t>(open) + 1);
    field.cut(field.length - 1);
    field.trim();
  }
  const int32_t bracket = field.findByte('[');
  if (bracket >= 0 && field.ends("]")) {
    TBLOCK range = field.head(field.length - 1);
    range.skip(static_cast<uint32_t>(bracket) + 1);
    if (!IsIndex(range))
      messages_.warning(line, OffsetIn(line, field),
                        "no index: [i] or [i,j] with whole numbers");
  }
  if (leaf.field == 0)
    messages_.warning(line, at, "unknown field: it never has a value");
}

// In the section of a word group G a line "sub" or "+sub" stands for sections
// "G\sub-...".
bool SectionCheck::isSubgroup(TBLOCK name) const {
  TBLOCK group = View(section_.name);
  uint16_t type, flags;
  GetSectionType(group, type, flags);
  if (!name.empty() && name[0] == '+') name.skip(1);
  const std::string front = FoldName(group) + "\\" + FoldName(name);
  const auto found = names_.flags.lower_bound(front);
  return found != names_.flags.end() &&
         found->first.compare(0, front.size(), front) == 0;
}

// A section that is asked by name. Those of other images are not known, so a
// patch is not asked.
void SectionCheck::checkReference(const SourceLine& line, TBLOCK name,
                                  bool indexed) {
  name.trim();
  if (!names_.complete || name.empty()) return;
  const auto found = names_.flags.find(FoldName(name));
  if (found == names_.flags.end())
    messages_.warning(line, OffsetIn(line, name), "no section of this name");
  else if (indexed && found->second != sfHashed)
    messages_.warning(line, OffsetIn(line, name),
                      "only sections [$...] and [*...] can be asked so");
}

// ---- What was compiled

TBLOCK CompiledWord(const TKwObj& object, uint32_t i) {
  const TQKWORD& word = reinterpret_cast<const TQKWORD*>(object.words.data)[i];
  return TBLOCK(object.text.data + word.offset, word.length);
}

// A line is looked up by the class of its first byte; so where it may begin in
// another way it is passed over.
void CheckKeys(const SourceLine& line, size_t from, const TQKLINE& record,
               const TKwObj& object, Messages& messages) {
  if (record.key == 0) return;  // tried at every word
  if (TBLOCK::Is(record.key, bitSign)) {
    messages.warning(line, from, "no word is looked up by a sign in front");
    return;
  }
  const TQKAND& group =
      reinterpret_cast<const TQKAND*>(object.ands.data)[record.text];
  for (uint32_t i = 0; i < group.count; i++) {
    const TQKOR& phrase =
        reinterpret_cast<const TQKOR*>(object.ors.data)[group.first + i];
    bool begins = true;
    for (uint32_t k = 0; k < phrase.count; k++) {
      TBLOCK word = CompiledWord(object, phrase.first + k);
      from = line.text.find(reinterpret_cast<const char*>(word.pointer), from,
                            word.length);
      if (begins && GetLineKey(word) != record.key)
        messages.warning(line, from,
                         "the line is not looked up by the first byte of this "
                         "word: give it a line of its own");
      from += word.length;
      begins = begins && TakeOptional(word);
    }
  }
}

}  // namespace

std::string FoldName(TBLOCK name) {
  std::string folded;
  for (uint32_t i = 0; i < name.length; i++)
    folded += static_cast<char>(TBLOCK::LowerConvTable[name[i]]);
  return folded;
}

void CheckSection(const SourceSection& section, const SectionNames& names,
                  const TQMDICO& dico, Messages& messages) {
  SectionCheck(section, names, dico, messages).run();
}

void CheckCompiled(const SourceSection& section, const TKwObj& object,
                   uint32_t firstLine, Messages& messages) {
  const uint16_t type = section.type();
  if (type != stPattern && type != stLiteral) return;
  const TQKLINE* record =
      reinterpret_cast<const TQKLINE*>(object.lines.data) + firstLine;
  for (const SourceLine& line : section.lines) {
    TBLOCK text = View(line.text);
    uint16_t bits = 0;
    int32_t score = 0;
    const bool sample = record->action >= paRemove;
    if (section.patch) GetPatchDicoAction(text);
    if (type == stPattern) ReadOptions(text, bits);
    ReadScore(text, score, bits);
    if (type == stLiteral && record->length == 0 && !text.empty())
      messages.warning(line, OffsetIn(line, text), "the line makes no bytes");
    else if (type == stPattern && !sample)
      CheckKeys(line, OffsetIn(line, text), *record, object, messages);
    record++;
  }
}
