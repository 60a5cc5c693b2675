// Rule expressions. A rule is cut into parts by its parentheses, without a look
// into the leaves; a leaf is read when it is reached or, ahead of all scans,
// when its rule is prepared. There is one reading of both, so that a prepared
// rule and its text give the same result.
//
// Entry points: ParseRule, TQMEXPR::parse and checkBlockList, _CheckRule.
// Tested by rule_expression_test.cc.

#include "rules/rule_expression.h"

#include <stdio.h>

#include "base/score.h"
#include "regex/zr_regex.h"
#include "rules/keyword_compare.h"
#include "rules/qm_dico.h"

const char _FUNCNAMES[kRuleFunctionCount][kRuleFunctionBytes] = {
    "cvd", "sort", "befat", "aftat", "class", "alpha", "atsort", "len", "rev"};

namespace {

// Numbers of the functions.
enum : int32_t {
  rfCvd = 1,
  rfSort,
  rfBefAt,
  rfAftAt,
  rfClass,
  rfAlpha,
  rfAtSort,
  rfLen,
  rfRev
};

// The operator "#=": _CheckRule reads it, a scan does not.
const int32_t kPoolOnly = -1;

const uint32_t kWorkStep = 4096;  // bytes

// The text of a leaf, taken apart.
struct TLEAFTEXT {
  int32_t minCount, maxCount;
  TBLOCK field;
  bool isSection;
  int32_t op;  // TRULEOP or kPoolOnly
  TBLOCK value;
};

// "N<", "N>" or "N=" ahead of a leaf. Fewer than none is what never counts.
void TakeCount(TBLOCK& text, TLEAFTEXT& leaf) {
  leaf.minCount = leaf.maxCount = -1;
  TBLOCK rest = text;
  const int32_t n = TakeDecimal(rest);
  if (n < 0 || rest.empty()) return;
  const unsigned char sign = rest[0];
  if (sign == '<')
    leaf.minCount = n + 1;
  else if (sign == '>')
    leaf.maxCount = n > 0 ? n - 1 : 0;
  else if (sign == '=')
    leaf.minCount = leaf.maxCount = n;
  else
    return;
  rest.skip(1);
  text = rest;
}

bool TakeOperator(TBLOCK& text, int32_t& op) {
  static const struct {
    const char* sign;
    int32_t op;
  } kOperators[] = {{"==", roMatchAll},
                    {"=", roMatch},
                    {"<>", roNoMatch},
                    {"!=", roNoneMatch},
                    {"#=", kPoolOnly}};
  for (const auto& row : kOperators) {
    const TBLOCK sign(row.sign);
    if (!text.begins(sign, TBLOCK::NoConvTable)) continue;
    text.skip(sign.length);
    op = row.op;
    return true;
  }
  return false;
}

bool IsOperatorByte(unsigned char c) {
  return c == '=' || c == '<' || c == '>' || c == '!' || c == '#' || c == '$';
}

// Number and field, up to the operator.
void TakeField(TBLOCK& text, TLEAFTEXT& leaf) {
  text.trimLeft();
  TakeCount(text, leaf);
  uint32_t n = 0;
  while (n < text.length && !IsOperatorByte(text[n])) n++;
  leaf.field = text.head(n);
  text.skip(n);
}

bool ReadLeaf(TBLOCK text, TLEAFTEXT& leaf) {
  TakeField(text, leaf);
  leaf.field.trim();
  leaf.isSection = !text.empty() && text[0] == '$';
  if (leaf.isSection) text.skip(1);
  if (!TakeOperator(text, leaf.op)) return false;
  leaf.value = text;
  return !text.empty();
}

// Number of a function, 0 when there is none of that name.
int32_t FunctionNumber(TBLOCK name) {
  for (int32_t i = 0; i < kRuleFunctionCount; i++)
    if (name.equals(TBLOCK(_FUNCNAMES[i]), TBLOCK::AsciiLowerTable))
      return i + 1;
  return 0;
}

// An index in brackets; -1 when it is negative or there is none.
int32_t ReadIndex(TBLOCK text) {
  text.trim();
  return TakeDecimal(text);
}

unsigned char LetterClass(unsigned char c) {
  if (TBLOCK::Is(c, bitDigit)) return 'd';
  const bool consonant = TBLOCK::Is(c, bitConsonant);
  if (TBLOCK::Is(c, bitLower)) return consonant ? 'c' : 'v';
  if (TBLOCK::Is(c, bitUpper)) return consonant ? 'C' : 'V';
  return c;
}

// Half the length plus one swaps: in a text of even length the two bytes in the
// middle change places twice, on purpose.
void ReverseBytes(TBLOCK text) {
  if (text.empty()) return;
  for (uint32_t i = 0; i <= text.length / 2; i++) {
    const uint32_t other = text.length - 1 - i;
    const unsigned char byte = text[i];
    text.pointer[i] = text[other];
    text.pointer[other] = byte;
    if (other == 0) break;
  }
}

// Changes the copy of an element; returns its new length.
uint32_t ChangeCopy(int32_t func, TBLOCK text) {
  uint32_t kept = 0;
  switch (func) {
    case rfCvd:
      for (uint32_t i = 0; i < text.length; i++)
        text.pointer[i] = LetterClass(text[i]);
      break;
    case rfSort:
      TBLOCK::BlockSort(text);
      break;
    case rfAtSort: {
      const int32_t at = text.findByte('@');
      TBLOCK::BlockSort(at < 0 ? text : text.head(static_cast<uint32_t>(at)));
      break;
    }
    case rfAlpha:
      for (uint32_t i = 0; i < text.length; i++)
        if (!TBLOCK::Is(text[i], kBetweenLetters))
          text.pointer[kept++] = text[i];
      return kept;
    case rfRev:
      ReverseBytes(text);
      break;
    default:
      break;
  }
  return text.length;
}

// Offset of the ")" that closes the "(" at the start, or -1. A byte behind a
// backslash counts for nothing.
int32_t FindClose(TBLOCK text) {
  uint32_t depth = 0;
  for (uint32_t i = 0; i < text.length; i++) {
    const unsigned char c = text[i];
    if ((c != '(' && c != ')') || (i > 0 && text[i - 1] == '\\')) continue;
    if (c == '(')
      depth++;
    else if (--depth == 0)
      return static_cast<int32_t>(i);
  }
  return -1;
}

bool IsRuleNameByte(unsigned char c) {
  return c == '-' || TBLOCK::Is(c, bitAlpha | bitDigit | bitArobas | bitDot);
}

// Cuts rules into parts, each behind the one ahead of it.
class RULEPARSER {
 public:
  explicit RULEPARSER(BLOCK& partStore) : store(partStore) {}

  // The parts of one level, behind its name; recurses, kMaxRuleDepth deep.
  // False when memory is short.
  bool parseLevel(TBLOCK text, int32_t depth) {
    for (;;) {
      text.trimLeft();
      if (text.empty()) return true;
      const TBLOCK whole = text;
      const char c = static_cast<char>(text[0]);
      const bool joined = c == '|' || c == '&' || c == '+';
      if (!joined && c != '(') return add(TRULEPART::rkLeaf, text);
      if (joined) {
        text.skip(1);
        text.trimLeft();
        if (text.empty() || text[0] != '(') return stop(whole, reNoPart);
      }
      if (depth >= kMaxRuleDepth) return stop(whole, reTooDeep);
      const int32_t close = FindClose(text);
      if (close < 0) return stop(whole, reUnclosed);
      const uint32_t end = static_cast<uint32_t>(close);
      if (!addGroup(text.head(end).from(1), joined ? c : '|', depth))
        return false;
      text.skip(end + 1);
    }
  }

 private:
  BLOCK& store;

  bool add(TRULEPART::KIND kind, TBLOCK text) {
    TRULEPART part = {kind, reUsedUp, 0, 1, text, nullptr};
    return store.add(&part, sizeof part);
  }

  bool stop(TBLOCK text, TRULEEND reason) {
    TRULEPART part = {TRULEPART::rkStop, reason, 0, 1, text, nullptr};
    return store.add(&part, sizeof part);
  }

  // A name inside a part is read and says nothing.
  bool addGroup(TBLOCK inside, char joiner, int32_t depth) {
    const uint32_t at = store.length;
    if (!add(TRULEPART::rkGroup, inside)) return false;
    TBLOCK scratchName;
    ParseRuleName(inside, scratchName);
    if (!parseLevel(inside, depth + 1)) return false;
    TRULEPART* group = reinterpret_cast<TRULEPART*>(store.data + at);
    group->joiner = joiner;
    group->span =
        static_cast<uint32_t>((store.length - at) / sizeof(TRULEPART));
    return true;
  }
};

}  // namespace

bool IsLedgerField(int32_t field) {
  const int32_t kState = 30, kCause = 31, kStateWord = 92, kScores = 105;
  return field == kState || field == kCause || field == kStateWord ||
         field == kScores;
}

int32_t TakeDecimal(TBLOCK& text) {
  int64_t number = -1;
  while (!text.empty() && TBLOCK::Is(text[0], bitDigit)) {
    if (number < kMaxScore)
      number = (number < 0 ? 0 : number) * 10 + (text[0] - '0');
    text.skip(1);
  }
  return ClampScore(number);
}

int ParseRuleName(TBLOCK& text, TBLOCK& name) {
  name.clear();
  TBLOCK rest = text;
  rest.trimLeft();
  uint32_t n = 0;
  while (n < rest.length && IsRuleNameByte(rest[n])) n++;
  const TBLOCK found = rest.head(n);
  rest.skip(n);
  rest.trimLeft();
  if (found.empty() || rest.empty() || rest[0] != ':') return 0;
  rest.skip(1);
  text = rest;
  name = found;
  return 1;
}

TBLOCK LeafField(TBLOCK text) {
  TLEAFTEXT leaf;
  TakeField(text, leaf);
  return leaf.field;
}

bool ParseRule(TBLOCK text, TQMRULE& rule, BLOCK& store) {
  rule = TQMRULE();
  ParseRuleName(text, rule.name);
  rule.text = text;
  const uint32_t before = store.length;
  if (!RULEPARSER(store).parseLevel(text, 0)) {
    store.length = before;
    return false;
  }
  rule.count =
      static_cast<uint32_t>((store.length - before) / sizeof(TRULEPART));
  return true;
}

int _CheckRule(TBLOCK rule, TBLOCK& name, REGEXPOOL* pool, TBLOCK* faulty) {
  const uint32_t kUsualParts = 16;
  BLOCK store(kUsualParts * sizeof(TRULEPART), BLOCK::_DEFALLOCSIZE);
  TQMRULE parsed;
  const bool whole = ParseRule(rule, parsed, store);
  name = parsed.name;
  if (!whole) return ZR_NOMEMORY;
  int last = ZR_OK;
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  for (uint32_t i = 0; i < parsed.count; i++) {
    TLEAFTEXT leaf;
    if (parts[i].kind != TRULEPART::rkLeaf || !ReadLeaf(parts[i].text, leaf) ||
        leaf.isSection)
      continue;
    const int error = _AddRegexMixInStaticPool(leaf.value, pool);
    if (error == ZR_OK) continue;
    last = error;
    if (faulty) *faulty = leaf.value;
  }
  return last;
}

RULEWORK::RULEWORK()
    : matched(lists),
      field(-1),
      text(0, kWorkStep),
      lists{TBLOCKVECT(0), TBLOCKVECT(0)},
      answers(0, 0) {
  for (TBLOCKVECT& list : lists) list.step = kWorkStep;
}

// ==== TQMEXPR

TQMEXPR::TQMEXPR() : pool(nullptr) {
  clear();
}

void TQMEXPR::clear() {
  op = roMatch;
  fieldName.clear();
  value.clear();
  field = 0;
  func = 0;
  first = last = -1;
  minCount = maxCount = -1;
  isRanged = 0;
  isRule = 0;
  isSection = 0;
  regex.read(TBLOCK());
  question = -1;
  mayBeNarrowed = mayNarrow = 0;
  section = nullptr;
  lines = nullptr;
}

int TQMEXPR::parse(TBLOCK text, const TQMDICO& dico) {
  clear();
  pool = dico.pool;
  TLEAFTEXT leaf;
  if (!ReadLeaf(text, leaf) || leaf.op == kPoolOnly) return 0;
  op = leaf.op;
  minCount = leaf.minCount;
  maxCount = leaf.maxCount;
  value = leaf.value;
  isSection = leaf.isSection;
  readField(leaf.field, dico);
  if (isSection)
    findSection(dico);
  else
    regex.set(value, pool);
  isRule = 1;
  return 1;
}

// "function(...)", then "...[i]" or "...[i,j]", then "@Name" or a name.
void TQMEXPR::readField(TBLOCK text, const TQMDICO& dico) {
  const int32_t open = text.findByte('(');
  if (open >= 0 && text.ends(")")) {
    TBLOCK name = text.head(static_cast<uint32_t>(open));
    name.trim();
    func = FunctionNumber(name);
    text.cut(text.length - 1);
    text.skip(static_cast<uint32_t>(open) + 1);
    text.trim();
  }
  const int32_t bracket = text.findByte('[');
  if (bracket >= 0 && text.ends("]")) {
    TBLOCK range = text.head(text.length - 1);
    range.skip(static_cast<uint32_t>(bracket) + 1);
    text.cut(static_cast<uint32_t>(bracket));
    text.trimRight();
    const bool one = range.findByte(',') < 0;
    isRanged = 1;
    first = ReadIndex(TBLOCK::BlockBeforeChar(range, ',', 0, 0));
    last = one ? first : ReadIndex(range);
    if (first >= 0 && last >= 0 && last < first) {
      const int32_t lower = last;
      last = first;
      first = lower;
    }
  }
  field = dico.getRegexField(text);
  fieldName = text;
  if (field == kHeaderRuleField) {
    fieldName.skip(1);
    fieldName.trimLeft();
  }
}

void TQMEXPR::findSection(const TQMDICO& dico) {
  STR name;
  name = value;
  const TQKSECTION* found = dico.findSection(name.c_str());
  if (!found || found->flags != sfHashed) return;
  section = found;
  lines = dico.hashedSection(name.c_str());
}

bool TQMEXPR::BlockMatchRule(TBLOCK element) const {
  if (!isSection) return regex.match(element);
  const TQKLINE* line = nullptr;
  return TQMDICO::findLine(lines, section, element, line) != 0;
}

TBLOCK TQMEXPR::applyFunction(TBLOCK element, BLOCK& work) const {
  int32_t at;
  switch (func) {
    case rfBefAt:
      at = element.findByte('@');
      return at < 0 ? element : element.head(static_cast<uint32_t>(at));
    case rfAftAt:
      at = element.findLastByte('@');
      return at < 0 ? element : element.from(static_cast<uint32_t>(at) + 1);
    case rfClass:
      at = element.findLastByte('.');
      return element.head(static_cast<uint32_t>(at + 1));
    default:
      break;
  }
  work.empty();
  if (func == rfLen) {
    char digits[16];
    snprintf(digits, sizeof digits, "%u",
             unsigned(element.empty() ? 0 : element.length));
    work.add(digits);
  } else if (!element.empty() && work.add(element)) {
    work.length = ChangeCopy(func, work.view());
  }
  return work.view();
}

bool TQMEXPR::checkBlock(TBLOCK element, BLOCK& work) const {
  return BlockMatchRule(func ? applyFunction(element, work) : element);
}

int32_t TQMEXPR::checkBlockList(const TBLOCKVECT& elements, TBLOCKVECT& matched,
                                BLOCK& work) const {
  matched.clear();
  const int32_t n = elements.count();
  if (n == 0) return op == roNoMatch || op == roNoneMatch;
  const int32_t from = first < 0 ? 0 : first;
  const int32_t to = last < 0 || last >= n ? n - 1 : last;
  if (from >= n) return 0;
  const bool wanted = op == roMatch || op == roMatchAll;
  const bool plain = !func && !isSection;
  if (op == roMatch || op == roNoMatch) {
    for (int32_t i = to; i >= from; i--) {
      const TBLOCK element = elements.get(i);
      const bool matches =
          plain ? regex.match(element) : checkBlock(element, work);
      if (matches == wanted) matched.add(element, 1, 0);
    }
  } else {
    for (int32_t i = from; i <= to; i++) {
      const TBLOCK element = elements.get(i);
      matched.add(element, 1, 0);
      if (checkBlock(element, work) == wanted) continue;
      matched.clear();
      break;
    }
  }
  const int32_t count = matched.count();
  if (minCount >= 0 && count < minCount) return 0;
  if (maxCount >= 0 && count > maxCount) return 0;
  return count;
}
