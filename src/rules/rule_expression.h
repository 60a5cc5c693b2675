// Rule expressions: the language in which rules ask a message for its fields,
// told in doc/rule-language.md. Here it is parsed, and one leaf is held against
// the elements of its field; the walk over the parts, which needs a message, is
// TQMMSG::checkRule.
//
// Everything views the rule's text, which must outlive it. What is parsed is
// only read afterwards, so that scans may share it.

#ifndef RULES_RULE_EXPRESSION_H_
#define RULES_RULE_EXPRESSION_H_

#include <stdint.h>

#include "base/block.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "regex/regex.h"

class HASHTAB;
class REGEXPOOL;
class TQMDICO;
struct TQKSECTION;

// Parentheses within parentheses. A part that is deeper ends its expression, as
// one that is not closed does.
const int32_t kMaxRuleDepth = 64;
// TQMEXPR::field of "@Name", the one field that takes a name.
const int32_t kHeaderRuleField = 20;

// Names of the functions, number 1 first.
const int32_t kRuleFunctionCount = 9;
const uint32_t kRuleFunctionBytes = 8;
extern const char _FUNCNAMES[kRuleFunctionCount][kRuleFunctionBytes];

// TQMEXPR::op
enum TRULEOP : int32_t {
  roMatch = 0,     // "=": counts the elements that match
  roNoMatch = 1,   // "<>": those that don't
  roMatchAll = 2,  // "==": counts all, or none when one doesn't match
  roNoneMatch = 3  // "!=": all, or none when one matches
};

// One leaf, such as "2<sort(Url[0,3])=pattern".
class TQMEXPR {
 public:
  REGEXPOOL* pool;    // borrowed; may be null
  int32_t op;         // TRULEOP
  TBLOCK fieldName;   // of "@Name" without the "@"
  TBLOCK value;       // the pattern, or the name of a section
  int32_t field;      // number of the field, 0 when there is no such field
  int32_t func;       // number of the function, 0 for none
  int32_t first;      // elements that are looked at; -1: from the first
  int32_t last;       // -1: to the last
  int32_t minCount;   // -1: any
  int32_t maxCount;   // -1: any
  int32_t isRanged;   // 1: brackets stood behind the field
  int32_t isRule;     // 1: well-formed
  int32_t isSection;  // 1: `value` names a section
  RULEPATTERN regex;  // of `value`, unless that names a section
  // Of a RULEBOOK. Leaves with one number, which is not -1, get one answer for
  // as long as a scan keeps its fields, unless they are asked about a part of
  // the elements only.
  int32_t question;
  int32_t mayBeNarrowed;  // 1: an earlier leaf of the rule is on its field
  int32_t mayNarrow;      // 1: a later one is

  TQMEXPR();
  TQMEXPR(const TQMEXPR&) = delete;
  TQMEXPR& operator=(const TQMEXPR&) = delete;

  void clear();
  // Takes a leaf's text: 1 when it is well-formed, else 0 with nothing to
  // match. The pattern is compiled, or looked up in the dictionary's pool; the
  // section is looked up in its present image. Both must outlive this.
  int parse(TBLOCK text, const TQMDICO& dico);

  // An element as it is against the value.
  bool BlockMatchRule(TBLOCK element) const;
  // The element that the function makes of it. `work` is the function's room
  // and holds the result until the next call.
  bool checkBlock(TBLOCK element, BLOCK& work) const;
  // How many elements count, 0 when they are more or fewer than was asked for.
  // `matched`, which must be another list, gets those that counted: for "=" and
  // "<>" in reverse order. No elements at all: 1 for "<>" and "!=", whatever
  // the numbers asked for.
  int32_t checkBlockList(const TBLOCKVECT& elements, TBLOCKVECT& matched,
                         BLOCK& work) const;

 private:
  void readField(TBLOCK text, const TQMDICO& dico);
  void findSection(const TQMDICO& dico);
  TBLOCK applyFunction(TBLOCK element, BLOCK& work) const;

  const TQKSECTION* section;  // null when there is none that can match
  const HASHTAB* lines;       // its lines
};

// How the walk over an expression, or over the parts inside a part, ends.
enum TRULEEND : uint8_t {
  reUsedUp,    // behind the last part
  reNotAll,    // ahead of "&" or "+", with nothing so far
  reAlready,   // ahead of "|", with something so far
  reNoPart,    // a joiner without a "("
  reUnclosed,  // a "(" without its ")"
  reTooDeep,   // beyond kMaxRuleDepth
  reBadLeaf    // a leaf that is not well-formed
};

// A part of an expression.
struct TRULEPART {
  enum KIND : uint8_t { rkGroup, rkLeaf, rkStop };
  KIND kind;
  TRULEEND reason;      // of rkStop
  char joiner;          // of rkGroup: "|", "&" or "+"
  uint32_t span;        // parts up to the next one of this level, this included
  TBLOCK text;          // inside of the parentheses; the leaf; the rest
  const TQMEXPR* leaf;  // of rkLeaf, when prepared; else null
};

// A rule taken apart: a part, the parts inside it, the next part. Where the
// text cannot be read on, the parts of that level end in one of rkStop.
struct TQMRULE {
  TBLOCK text;  // behind the name
  TBLOCK name;  // may be empty
  const TRULEPART* parts;
  uint32_t count;
  // Of a RULEBOOK: questions for which 0 as the answer makes the rule 0.
  const int32_t* needed;
  uint32_t neededCount;
};

// Whether points and causes change the elements of the field.
bool IsLedgerField(int32_t field);

// Reads decimal digits off the text, up to kMaxScore; -1 when it begins with
// none.
int32_t TakeDecimal(TBLOCK& text);

// Reads a leading "name:" off a rule. 1 with the name and `text` behind the
// ":"; 0 with an empty name and `text` unchanged. White space may stand around
// the name.
int ParseRuleName(TBLOCK& text, TBLOCK& name);

// What stands in a leaf, well-formed or not, between its number and its
// operator, white space included.
TBLOCK LeafField(TBLOCK text);

// Takes a rule apart; its parts are appended to `store`, as TRULEPART, and
// `rule.parts` is null. False when memory is short. The cost is linear in the
// text for each level of parentheses.
bool ParseRule(TBLOCK text, TQMRULE& rule, BLOCK& store);

// Reads a rule ahead of all scans: stores its name and compiles the patterns of
// all its leaves into the pool, also of those that a scan could never reach and
// of the operator "#=", which is for this only. Returns the engine's code of
// the last pattern that it refuses, which is then stored in `faulty` when that
// is not null; or ZR_OK.
int _CheckRule(TBLOCK rule, TBLOCK& name, REGEXPOOL* pool,
               TBLOCK* faulty = nullptr);

// What the walk over a rule carries from leaf to leaf; belongs to one scan.
struct RULEWORK {
  TBLOCKVECT* matched;  // what counted in the last leaf; one of the lists below
  int32_t field;        // whose elements these are; -1: of none to be narrowed
  BLOCK text;           // room of the functions
  TBLOCKVECT lists[2];
  BLOCK answers;  // see TQMMSG::answerOf

  RULEWORK();
  RULEWORK(const RULEWORK&) = delete;
  RULEWORK& operator=(const RULEWORK&) = delete;

  // The list that `matched` is not.
  TBLOCKVECT& spare() { return lists[matched == lists]; }
};

// Is told of each step of an evaluation. For tools: a scan has none.
class RULETRACE {
 public:
  virtual ~RULETRACE() {}
  // A leaf was held against these elements, of which `matched` counted;
  // `count` is the leaf's result.
  virtual void leafTested(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                          const TBLOCKVECT& matched, int32_t count) = 0;
  // The walk over an expression, or inside a part, has ended with a result,
  // ahead of `text`; with reUsedUp `text` is all that was walked over.
  virtual void ended(TBLOCK text, int32_t result, TRULEEND reason) = 0;
};

#endif  // RULES_RULE_EXPRESSION_H_
