// Rules against a message: the walk over the parts of one rule, and the
// sections that hold them. A rule that the dictionary has parsed ahead and one
// that is parsed here take the same walk. Entries: checkRule, and the members
// named after what they do with a section. Tested by rule_sections_test.cc.

#include <string.h>

#include "base/score.h"
#include "regex/regex_pool.h"
#include "rules/rule_book.h"
#include "scan/tqmmsg.h"

namespace {

// Of a text that is searched for hashes, and of its words.
const uint32_t kHashedTextBytes = 4096;
const int32_t kHashedWords = 200;

// Parts of a rule that need no second allocation.
const uint32_t kUsualParts = 16;

const int32_t kBadLeaf = -1;

// What is remembered of a question: 0 for nothing, else the answer and 1.
const unsigned char kNone = 1;
const int32_t kMostRemembered = 254;

bool IsChained(TBLOCK name) {
  return !name.empty() && name[0] == '@';
}

// The cause of a chained section and the rule that was found in it.
void MakeChainedName(TBLOCK section, TBLOCK rule, STR& text) {
  text = section;
  text += "--";
  text += rule;
}

}  // namespace

// ==== One rule

int TQMMSG::checkRule(TBLOCK line, TBLOCK& name, int multi, char op) {
  BLOCK parts(kUsualParts * sizeof(TRULEPART), BLOCK::_DEFALLOCSIZE);
  TQMRULE rule;
  const bool whole = ParseRule(line, rule, parts);
  name = rule.name;
  if (!whole) return 0;
  rule.parts = reinterpret_cast<const TRULEPART*>(parts.data);
  return checkRule(rule, multi, op);
}

int TQMMSG::checkRule(const TQMRULE& rule, int multi, char op) {
  ruleWork.field = -1;
  return walkRule(rule.parts, rule.parts + rule.count, rule.text, multi, op);
}

int TQMMSG::checkRuleLine(const TQKLINE* line, TBLOCK& name, int multi) {
  const TQMRULE* rule = dico.preparedRule(line);
  if (!rule) return checkRule(dico.lineBlock(line), name, multi, '|');
  name = rule->name;
  return isRuledOut(*rule) ? 0 : checkRule(*rule, multi, '|');
}

// Whether an answer that is known already makes the rule 0.
bool TQMMSG::isRuledOut(const TQMRULE& rule) const {
  if (ruleWork.answers.length == 0 || ruleTrace) return false;
  for (uint32_t i = 0; i < rule.neededCount; i++)
    if (ruleWork.answers.data[rule.needed[i]] == kNone) return true;
  return false;
}

// The parts of one level, from left to right. The value of each part takes the
// place of the one before it, and the first part that need not be looked at
// ends the walk: "(A)&(B)|(C)" never comes to C. Recurses, kMaxRuleDepth deep.
int32_t TQMMSG::walkRule(const TRULEPART* part, const TRULEPART* end,
                         TBLOCK whole, int multi, char op) {
  int32_t result = 0;
  TRULEEND reason = reUsedUp;
  for (; part != end && reason == reUsedUp; part += part->span) {
    if (part->kind == TRULEPART::rkStop) {
      reason = part->reason;
    } else if (part->kind == TRULEPART::rkLeaf) {
      const int32_t count = checkLeaf(*part, op);
      if (count == kBadLeaf)
        reason = reBadLeaf;
      else
        result = count;
    } else if (part->joiner == '|' && result > 0) {
      reason = reAlready;
    } else if (part->joiner != '|' && result == 0) {
      reason = reNotAll;
    } else {
      result = walkRule(part + 1, part + part->span, part->text, multi,
                        part->joiner);
    }
    if (reason != reUsedUp) whole = part->text;
  }
  if (!multi && result > 0) result = 1;
  if (ruleTrace) ruleTrace->ended(whole, result, reason);
  return result;
}

// The leaf's result, or kBadLeaf.
int32_t TQMMSG::checkLeaf(const TRULEPART& part, char op) {
  if (part.leaf) return part.leaf->isRule ? testLeaf(*part.leaf, op) : kBadLeaf;
  TQMEXPR leaf;
  return leaf.parse(part.text, dico) ? testLeaf(leaf, op) : kBadLeaf;
}

// Where the leaf's answer is remembered, null for nowhere: until the fields
// change, since many rules ask the same.
unsigned char* TQMMSG::answerOf(const TQMEXPR& leaf) {
  if (leaf.question < 0 || ruleTrace) return nullptr;
  BLOCK& answers = ruleWork.answers;
  if (answers.length == 0) {
    const uint32_t n = dico.stuff->rules->questionCount;
    if (answers.capacity < n && !answers.addSpace(n)) return nullptr;
    memset(answers.data, 0, n);
    answers.length = n;
  }
  return answers.data + leaf.question;
}

// Behind "&" a leaf on the field of the leaf before it looks only at what that
// one has matched.
int32_t TQMMSG::testLeaf(const TQMEXPR& leaf, char op) {
  RULEWORK& work = ruleWork;
  const bool narrowed = op == '&' && leaf.field == work.field && !leaf.isRanged;
  unsigned char* const answer = narrowed ? nullptr : answerOf(leaf);
  if (answer && (*answer == kNone || (*answer && !leaf.mayNarrow))) {
    work.field = -1;
    return *answer - kNone;
  }
  const TBLOCKVECT& elements =
      narrowed ? *work.matched : regexFields(leaf.field, leaf.fieldName);
  TBLOCKVECT& matched = work.spare();
  const int32_t count = leaf.checkBlockList(elements, matched, work.text);
  if (ruleTrace) ruleTrace->leafTested(leaf, elements, matched, count);
  if (answer && count <= kMostRemembered)
    *answer = static_cast<unsigned char>(count + kNone);
  work.matched = &matched;
  // "@A" and "@B" share a number.
  work.field = leaf.field == kHeaderRuleField ? -1 : leaf.field;
  return count;
}

// ==== Sections

// Index of the first rule that matches, with its name; or -1.
int32_t TQMMSG::firstRule(const TQKSECTION* section, TBLOCK& name) {
  const uint32_t n = dico.image().lineCountOf(section);
  for (uint32_t i = 0; i < n; i++)
    if (checkRuleLine(dico.image().sectionLine(section, i), name, 0) > 0)
      return static_cast<int32_t>(i);
  return -1;
}

int TQMMSG::testRuleSection(const char* section) {
  return testRuleSection(dico.findSection(section));
}

int TQMMSG::testRuleSection(const TQKSECTION* section) {
  TBLOCK name;
  return firstRule(section, name) >= 0;
}

int TQMMSG::testRuleSection(TBLOCK section, TBLOCK* ruleName, int32_t* score) {
  const TQKSECTION* found = dico.findSection(section);
  TBLOCK name;
  const int32_t at = firstRule(found, name);
  if (at < 0) return 0;
  if (ruleName) *ruleName = name;
  if (score)
    *score = dico.image().sectionLine(found, static_cast<uint32_t>(at))->score;
  return 1;
}

int TQMMSG::checkRuleSection(const char* section, int stop) {
  if (stop && isBailout()) return 1;
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  int any = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    TBLOCK name;
    const int32_t count =
        checkRuleLine(line, name, line->flags & KWLINEFLAGMULTI);
    if (count <= 0) continue;
    any = 1;
    scoreRule(name, line->score, count);
    if (stop && isBailout()) return 1;
  }
  return any;
}

// Adds the points of a rule that matched. One that chains to a section adds
// those of the first rule that matches there, and without one nothing.
void TQMMSG::scoreRule(TBLOCK name, int32_t score, int32_t count) {
  int64_t points = ClampScore(int64_t{score} * count);
  STR cause("^");
  if (!IsChained(name)) {
    cause += name;
  } else {
    TBLOCK rule;
    int32_t more = 0;
    name.skip(1);
    if (!testRuleSection(name, &rule, &more)) return;
    points += more;
    if (rule.empty())
      cause = name;
    else
      MakeChainedName(name, rule, cause);
  }
  addToSpamScore(ClampScore(points), cause.c_str(), 1);
}

int TQMMSG::matchRuleSection(const char* section, STR& name) {
  return matchRules(dico.findSection(section), name);
}

int32_t TQMMSG::matchRules(const TQKSECTION* found, STR& name) {
  name = "";
  const uint32_t n = dico.image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK rule;
    if (checkRuleLine(dico.image().sectionLine(found, i), rule, 0) <= 0)
      continue;
    if (IsChained(rule)) {
      TBLOCK inner;
      rule.skip(1);
      if (!testRuleSection(rule, &inner, nullptr)) continue;
      MakeChainedName(rule, inner, name);
    } else {
      name = rule;
    }
    return static_cast<int>(i) + 1;
  }
  return 0;
}

// Score times count of all rules, or with `positive` of those that add.
int32_t TQMMSG::sumRules(const TQKSECTION* section, int64_t start, int positive,
                         STRVECT* details) {
  const uint32_t n = dico.image().lineCountOf(section);
  int64_t sum = start;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(section, i);
    if (positive && line->score <= 0) continue;
    TBLOCK name;
    const int32_t count =
        checkRuleLine(line, name, line->flags & KWLINEFLAGMULTI);
    if (count <= 0) continue;
    sum += ClampScore(int64_t{line->score} * count);
    if (!details) continue;
    STR lineText, detail;
    dico.getLineText(line, lineText, 0);
    detail += count;
    detail += 'x';
    detail += lineText;
    details->add(detail.view());
  }
  return ClampScore(sum);
}

int32_t TQMMSG::getRuleSectionScore(TBLOCK section, STRVECT* details) {
  return sumRules(dico.findSection(section), 0, 0, details);
}

int32_t TQMMSG::getPositiveSectionScore(TBLOCK section, STRVECT* details) {
  int64_t start = 0;
  REGEX hash(REGEXPOOL::_DEEP_PHISHING_HASH, pool);
  if (hash.match(body.head(kHashedTextBytes))) {
    STR name;
    name = section;
    name += "-Hash";
    const TQKLINE* line = nullptr;
    if (dico.hashedFindFromBlockList(name.c_str(), bodyWords, kHashedWords,
                                     line, 0))
      start = line->score;
  }
  return sumRules(dico.findSection(section), start, 1, details);
}

int TQMMSG::checkRegexCountSection(const char* section, STRVECT* details) {
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  int any = 0;
  for (uint32_t i = 0; i < n; i++) {
    TBLOCK name = dico.lineBlock(dico.image().sectionLine(found, i));
    // The last one: the names of sections may begin with "=".
    const int32_t at = name.findLastByte('=');
    if (at < 0) continue;
    TBLOCK number = name.from(static_cast<uint32_t>(at) + 1);
    name.cut(static_cast<uint32_t>(at));
    name.trim();
    number.trim();
    const int32_t threshold = TakeDecimal(number);
    if (threshold <= 0) continue;
    STR label;
    label = name;
    if (checkCond(getRuleSectionScore(name, details), threshold, label.c_str()))
      any = 1;
  }
  return any;
}
