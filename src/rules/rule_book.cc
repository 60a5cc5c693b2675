// Parses the rules of a dictionary ahead of all scans: first all of them into
// parts, then, when their number is known, the leaves. Three arrays hold all
// rules, in the order in which scans walk them.
//
// Tested by rule_expression_test.cc.

#include "rules/rule_book.h"

#include <new>

#include "base/hashtab.h"
#include "rules/qm_dico.h"

namespace {

const uint32_t kRuleStep = 64 * 1024;  // bytes

// What stands ready is bounded, since lines may share their text: bytes of all
// rules and of one, and parts of all. Rules beyond that are parsed when they
// are reached.
const uint64_t kMaxRuleBytes = 1 << 23;
const uint32_t kMaxRuleText = 1 << 16;
const uint32_t kMaxParts = 1 << 18;

// Questions that are told apart: each is a byte of every scan.
const uint32_t kMaxQuestions = 1 << 14;
// Of one rule, that can end it at once.
const uint32_t kMaxNeeded = 8;
// Above all numbers of fields.
const int32_t kFieldsEnd = 128;

// The leaf's text as a question that is worth an answer, empty if it is none.
// A body's header is there only later on.
TBLOCK QuestionOf(const TRULEPART& part) {
  const TQMEXPR& leaf = *part.leaf;
  const bool ofBody =
      leaf.field == kHeaderRuleField &&
      (leaf.fieldName.begins("text-") || leaf.fieldName.begins("html-"));
  if (!leaf.isRule || leaf.field == 0 || IsLedgerField(leaf.field) || ofBody)
    return TBLOCK();
  return part.text;
}

}  // namespace

RULEBOOK::RULEBOOK(const TQMDICO& dico)
    : ruleCount(0),
      leafCount(0),
      questionCount(0),
      ruleOfLine(nullptr),
      lineCount(dico.image().lineCount),
      rules(0, kRuleStep),
      parts(0, kRuleStep),
      leaves(nullptr),
      needed(0, kRuleStep) {
  if (lineCount == 0) return;
  ruleOfLine = new (std::nothrow) uint32_t[lineCount]();
  bool whole = ruleOfLine != nullptr;
  uint64_t bytesLeft = kMaxRuleBytes;
  for (uint32_t s = 0; whole && s < dico.image().sectionCount; s++)
    whole = parseSection(dico, s, bytesLeft);
  if (!whole || !prepareLeaves(dico)) drop();
}

RULEBOOK::~RULEBOOK() {
  drop();
}

void RULEBOOK::drop() {
  delete[] ruleOfLine;
  ruleOfLine = nullptr;
  lineCount = 0;
  ruleCount = 0;
  delete[] leaves;
  leaves = nullptr;
  leafCount = 0;
  questionCount = 0;
  needed.reset();
  parts.reset();
  rules.reset();
}

bool RULEBOOK::parseSection(const TQMDICO& dico, uint32_t section,
                            uint64_t& bytesLeft) {
  const TQKSECTION* from = dico.image().section(section);
  if (from->type != stRule) return true;
  const uint32_t n = dico.image().lineCountOf(from);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(from, i);
    const uint32_t number = dico.image().lineNumber(line);
    if (ruleOfLine[number]) return true;  // the same lines once more
    const TBLOCK text = dico.lineBlock(line);
    if (text.length > bytesLeft ||
        parts.length / sizeof(TRULEPART) >= kMaxParts)
      return true;
    if (text.length > kMaxRuleText) continue;
    bytesLeft -= text.length;
    if (!addRule(text, number)) return false;
  }
  return true;
}

// Until all rules are there, `parts` of a rule is where its parts begin, as a
// number: the array may still move.
bool RULEBOOK::addRule(TBLOCK text, uint32_t lineNumber) {
  const uint32_t firstPart = parts.length;
  TQMRULE rule;
  if (!ParseRule(text, rule, parts)) return false;
  rule.parts =
      reinterpret_cast<const TRULEPART*>(static_cast<uintptr_t>(firstPart));
  if (!rules.add(&rule, sizeof rule)) return false;
  ruleOfLine[lineNumber] = ++ruleCount;
  return true;
}

bool RULEBOOK::prepareLeaves(const TQMDICO& dico) {
  TRULEPART* all = reinterpret_cast<TRULEPART*>(parts.data);
  const uint32_t count =
      static_cast<uint32_t>(parts.length / sizeof(TRULEPART));
  uint32_t n = 0;
  for (uint32_t i = 0; i < count; i++) n += all[i].kind == TRULEPART::rkLeaf;
  if (n > 0) leaves = new (std::nothrow) TQMEXPR[n];
  if (n > 0 && !leaves) return false;
  for (uint32_t i = 0; i < count; i++) {
    if (all[i].kind != TRULEPART::rkLeaf) continue;
    leaves[leafCount].parse(all[i].text, dico);
    all[i].leaf = leaves + leafCount++;
  }
  TQMRULE* list = reinterpret_cast<TQMRULE*>(rules.data);
  for (uint32_t i = 0; i < ruleCount; i++) {
    const uintptr_t at = reinterpret_cast<uintptr_t>(list[i].parts);
    list[i].parts = reinterpret_cast<const TRULEPART*>(parts.data + at);
    noteNarrowing(list[i]);
  }
  numberQuestions();
  noteNeeded();
  return true;
}

void RULEBOOK::numberQuestions() {
  HASHTAB known(static_cast<int32_t>(leafCount), hashExact);
  known.maxProbes = kHostileProbes;
  TRULEPART* all = reinterpret_cast<TRULEPART*>(parts.data);
  const uint32_t count =
      static_cast<uint32_t>(parts.length / sizeof(TRULEPART));
  for (uint32_t i = 0; i < count && questionCount < kMaxQuestions; i++) {
    if (all[i].kind != TRULEPART::rkLeaf) continue;
    const TBLOCK text = QuestionOf(all[i]);
    if (text.empty()) continue;
    void* number = nullptr;
    if (known.find(text, number) < 0) {
      number = reinterpret_cast<void*>(static_cast<uintptr_t>(questionCount));
      if (known.insert(text, number) < 0) continue;
      questionCount++;
    }
    leaves[all[i].leaf - leaves].question =
        static_cast<int32_t>(reinterpret_cast<uintptr_t>(number));
  }
}

// Which leaves may look at what an earlier one on their field has matched.
void RULEBOOK::noteNarrowing(const TQMRULE& rule) {
  bool before[kFieldsEnd] = {};
  bool behind[kFieldsEnd] = {};
  for (uint32_t i = 0; i < 2 * rule.count; i++) {
    const bool forward = i < rule.count;
    const TRULEPART& part = rule.parts[forward ? i : 2 * rule.count - 1 - i];
    if (part.kind != TRULEPART::rkLeaf) continue;
    TQMEXPR& leaf = leaves[part.leaf - leaves];
    if (leaf.field == kHeaderRuleField || leaf.field >= kFieldsEnd) continue;
    if (forward) {
      leaf.mayBeNarrowed = before[leaf.field] && !leaf.isRanged;
      before[leaf.field] = true;
    } else {
      leaf.mayNarrow = behind[leaf.field];
      if (!leaf.isRanged) behind[leaf.field] = true;
    }
  }
}

void RULEBOOK::noteNeeded() {
  TQMRULE* list = reinterpret_cast<TQMRULE*>(rules.data);
  for (uint32_t i = 0; i < ruleCount; i++) {
    const uint32_t from = needed.length;
    noteNeededOf(list[i].parts, list[i].parts + list[i].count);
    list[i].needed =
        reinterpret_cast<const int32_t*>(static_cast<uintptr_t>(from));
    list[i].neededCount =
        static_cast<uint32_t>((needed.length - from) / sizeof(int32_t));
    if (list[i].neededCount > kMaxNeeded) list[i].neededCount = kMaxNeeded;
  }
  for (uint32_t i = 0; i < ruleCount; i++) {
    const uintptr_t at = reinterpret_cast<uintptr_t>(list[i].needed);
    list[i].needed = reinterpret_cast<const int32_t*>(needed.data + at);
  }
}

// The parts up to the first that comes in place of the one before it, a leaf or
// behind "|": each of them ends the level when it is 0, but for that one
// before. Recurses, kMaxRuleDepth deep.
void RULEBOOK::noteNeededOf(const TRULEPART* part, const TRULEPART* end) {
  if (part == end) return;
  if (part->kind == TRULEPART::rkLeaf) {
    const TQMEXPR& leaf = *part->leaf;
    if (leaf.question >= 0 && !leaf.mayBeNarrowed)
      needed.add(&leaf.question, sizeof leaf.question);
    return;
  }
  while (part != end && part->kind == TRULEPART::rkGroup) {
    const TRULEPART* const next = part + part->span;
    const bool replaced =
        next != end && (next->kind == TRULEPART::rkLeaf || next->joiner == '|');
    if (replaced) return;
    noteNeededOf(part + 1, next);
    part = next;
  }
}

const TQMRULE* RULEBOOK::find(uint32_t lineNumber) const {
  if (lineNumber >= lineCount || !ruleOfLine[lineNumber]) return nullptr;
  return reinterpret_cast<const TQMRULE*>(rules.data) + ruleOfLine[lineNumber] -
         1;
}
