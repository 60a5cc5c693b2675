// quaymarsh rule: what a rule expression says of messages, and why, for authors
// of rules. It looks inside: a message is parsed as for a scan, without a check
// or a verdict, and the expression is walked by the library's own evaluator,
// which tells each step to a RULETRACE. Before that the expression is read as
// text alone, for what a scan would pass over in silence. Tested by
// tests/tools/rule_test.sh.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "dump/dump.h"
#include "inside.h"
#include "printable.h"
#include "regex/zr_regex.h"
#include "rules/rule_expression.h"

namespace {

struct RuleOptions {
  std::string expression;
  std::vector<std::string> inputs;
  InsideOptions inside;
  bool count = false;
  bool verbose = false;
};

// Bytes that are shown of an element or of a rule's text.
const uint32_t kShownBytes = 100;
// Elements of one leaf that are shown, and as many more of those that count.
const int32_t kShownElements = 20;

TBLOCK View(const std::string& text) {
  return TBLOCK(text.data(), static_cast<uint32_t>(text.size()));
}

std::string Escaped(TBLOCK text) {
  return text.empty() ? std::string() : EscapeBytes(text);
}

std::string Shown(TBLOCK text) {
  const bool cut = text.length > kShownBytes;
  return "'" + Escaped(text.head(kShownBytes)) + (cut ? "'..." : "'");
}

// ---- A leaf as it was understood

// As the table spells it.
std::string FieldText(const TQMEXPR& leaf) {
  if (leaf.field == kHeaderRuleField) return "@" + Escaped(leaf.fieldName);
  if (leaf.field == 0) return Escaped(leaf.fieldName);
  TBLOCK rest(_REGEXFIELDNAMES), name;
  for (int32_t i = 0; i < leaf.field; i++)
    name = TBLOCK::BlockBeforeChar(rest, ',', 0, 0);
  return Escaped(name);
}

std::string RangeText(const TQMEXPR& leaf) {
  if (!leaf.isRanged) return "";
  const std::string first = std::to_string(leaf.first);
  if (leaf.first == leaf.last) return "[" + first + "]";
  return "[" + first + "," + std::to_string(leaf.last) + "]";
}

std::string CountText(const TQMEXPR& leaf) {
  const int32_t least = leaf.minCount, most = leaf.maxCount;
  if (least >= 0 && least == most) return std::to_string(least) + "=";
  if (least >= 0) return std::to_string(least - 1) + "<";
  if (most >= 0) return std::to_string(most + 1) + ">";
  return "";
}

std::string LeafText(const TQMEXPR& leaf) {
  static const char* const kOperators[] = {"=", "<>", "==", "!="};
  std::string field = FieldText(leaf) + RangeText(leaf);
  if (leaf.func) field = _FUNCNAMES[leaf.func - 1] + ("(" + field + ")");
  return CountText(leaf) + field + (leaf.isSection ? "$" : "") +
         kOperators[leaf.op] + Escaped(leaf.value);
}

// ---- The steps of an evaluation

class Steps : public RULETRACE {
 public:
  std::string text;  // lines
  std::string end;   // the last one: how the whole expression ended

  void leafTested(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                  const TBLOCKVECT& matched, int32_t count) override;
  void ended(TBLOCK rest, int32_t result, TRULEEND reason) override;

 private:
  void addElements(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                   const TBLOCKVECT& matched);
};

// Elements and those that count view the same bytes.
bool IsAmong(const TBLOCKVECT& list, TBLOCK element) {
  for (int32_t i = 0; i < list.count(); i++) {
    const TBLOCK member = list.get(i);
    if (member.pointer == element.pointer && member.length == element.length)
      return true;
  }
  return false;
}

void Steps::leafTested(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                       const TBLOCKVECT& matched, int32_t count) {
  text += "  " + LeafText(leaf) + ": " + std::to_string(count);
  if (elements.count() == 0)
    text += ", no elements";
  else
    text += ", " + std::to_string(matched.count()) + " of " +
            std::to_string(elements.count()) + " count";
  text += "\n";
  addElements(leaf, elements, matched);
}

// One line an element: "+" when it counts, "-" when it doesn't, blank when the
// range leaves it out.
void Steps::addElements(const TQMEXPR& leaf, const TBLOCKVECT& elements,
                        const TBLOCKVECT& matched) {
  const int32_t n = elements.count();
  int32_t shown = 0;
  for (int32_t i = 0; i < n && shown < 2 * kShownElements; i++) {
    const bool inside = i >= leaf.first && (leaf.last < 0 || i <= leaf.last);
    const bool counts = inside && IsAmong(matched, elements.get(i));
    if (!counts && i >= kShownElements) continue;
    shown++;
    text += std::string("    ") +
            (counts   ? '+'
             : inside ? '-'
                      : ' ') +
            " " + std::to_string(i) + " " + Shown(elements.get(i)) + "\n";
  }
  if (shown < n) text += "      (" + std::to_string(n - shown) + " more)\n";
}

// Of the parts inside only those that were left early are worth a line.
void Steps::ended(TBLOCK rest, int32_t result, TRULEEND reason) {
  end = "  ends with " + std::to_string(result);
  if (reason == reUsedUp) {
    end += ", all read\n";
    return;
  }
  if (reason == reNotAll)
    end += ", not all can hold";
  else if (reason == reAlready)
    end += ", one is enough";
  else
    end += ", cannot be read on";
  end += ", ahead of " + Shown(rest) + "\n";
  text += end;
  end = "";
}

// ---- What a scan would not complain about

const char* StopText(TRULEEND reason) {
  switch (reason) {
    case reNoPart:
      return "a joiner needs a ( behind it";
    case reUnclosed:
      return "a ( without its )";
    case reTooDeep:
      return "parentheses are nested too deeply";
    default:
      return "no leaf: count field operator value";
  }
}

void Warn(const std::string& what, TBLOCK where) {
  PrintError("rule", "warning: " + what + ": " + Shown(where));
}

std::string PatternError(int code) {
  std::unique_ptr<zr_regex, void (*)(zr_regex*)> none(zr_regalloc(),
                                                      zr_regfree);
  std::string text(zr_regerror(code, none.get(), nullptr, 0), '\0');
  zr_regerror(code, none.get(), &text[0], static_cast<uint32_t>(text.size()));
  text.pop_back();
  return text;
}

void CheckLeaf(TBLOCK text, const TQMDICO& dico) {
  TQMEXPR leaf;
  if (!leaf.parse(text, dico)) {
    Warn(StopText(reBadLeaf), text);
    return;
  }
  if (leaf.field == 0)
    Warn("there is no such field, so it has no elements", leaf.fieldName);
  const TBLOCK head =
      text.head(static_cast<uint32_t>(leaf.value.pointer - text.pointer));
  if (leaf.func == 0 && head.findByte(')') >= 0)
    Warn("there is no such function, so the elements stay", text);
  if (leaf.isSection && !dico.hashedSection(Escaped(leaf.value).c_str()))
    Warn("there is no such section with an index", leaf.value);
  const int code = leaf.isSection ? ZR_OK : leaf.regex.compileError();
  if (code != ZR_OK)
    Warn("the pattern does not compile (" + PatternError(code) + ")",
         leaf.value);
}

void CheckExpression(TBLOCK text, const TQMDICO& dico) {
  TQMRULE rule;
  BLOCK store(0, BLOCK::_DEFALLOCSIZE);
  if (!ParseRule(text, rule, store)) throw std::bad_alloc();
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  if (rule.count == 0) Warn("the rule is empty", text);
  for (uint32_t i = 0; i < rule.count; i++) {
    if (parts[i].kind == TRULEPART::rkStop)
      Warn(StopText(parts[i].reason), parts[i].text);
    if (parts[i].kind == TRULEPART::rkLeaf) CheckLeaf(parts[i].text, dico);
  }
}

// ---- The run over the messages

class RuleRun : public InsideRun {
 public:
  explicit RuleRun(const RuleOptions& options)
      : InsideRun(options.inside), options_(options) {}

  void visitMail(const Mail& mail) override;
  int run();

 private:
  const RuleOptions& options_;
};

int RuleRun::run() {
  const int error = loadDictionary();
  if (error != kExitOk) return error;
  CheckExpression(View(options_.expression), dico());
  VisitMails(options_.inputs, false, this);
  return firstError();
}

void RuleRun::visitMail(const Mail& mail) {
  const std::unique_ptr<TQMMSG> message = parse(mail);
  Steps steps;
  if (options_.verbose) message->ruleTrace = &steps;
  TBLOCK name;
  const int result =
      message->checkRule(View(options_.expression), name, options_.count, '|');
  printf("%s: %d\n%s", Printable(mail.name).c_str(), result,
         (steps.text + steps.end).c_str());
}

const char kFooter[] =
    "A line a message: 1 or 0, with --count how often the last part held.\n"
    "With -v, for each leaf that was reached: its result, and its elements,\n"
    "+ for those that count, - for the others; then where each level of\n"
    "parentheses ended. doc/rule-language.md tells the language. An\n"
    "expression or pattern that begins with - needs -- in front.\n"
    "Exit code: 0, whatever the rule said; else as of scan.";

}  // namespace

void AddRuleCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<RuleOptions>();
  CLI::App* command =
      app.add_subcommand("rule", "Evaluate a rule expression on messages");
  command->add_option("EXPR", options->expression, "The expression")
      ->type_name("")
      ->required();
  command
      ->add_option("FILE", options->inputs,
                   "Message files, directories, mbox files, or - for stdin")
      ->type_name("")
      ->required();
  command->add_flag("--count", options->count,
                    "Print how often the rule matched, not whether");
  command->add_flag("-v,--verbose", options->verbose,
                    "Show each leaf, its elements, and where the walk ended");
  AddInsideOptions(command, &options->inside);
  command->footer(kFooter);
  command->callback(
      [options, exitCode]() { *exitCode = RuleRun(*options).run(); });
}
