// quaymarsh lint: what the dictionary's compiler says of its sources, and what
// only the whole of them shows: sections that nothing reads, lines that stand
// there twice or can never hit, scores that are missing, patterns that cost too
// much. Tested by tests/tools/lint_test.sh.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "commands.h"
#include "compiler.h"
#include "known_sections.h"
#include "mail_source.h"
#include "printable.h"
#include "regex/zr_regex.h"
#include "regex/zr_search.h"
#include "rules/qm_dico.h"
#include "rules/rule_expression.h"

namespace {

struct LintOptions {
  std::vector<std::string> inputs;
  std::vector<std::string> defines;
  bool patch = false;
  bool json = false;
};

// ---- What was found

class Findings : public Messages {
 public:
  void print(bool json);
  bool any() const { return !found_.empty(); }

 protected:
  void tell(const std::string& file, uint32_t number, uint32_t column,
            bool isError, const std::string& what) override {
    found_.push_back({file, number, column, isError, what});
  }

 private:
  struct Finding {
    std::string file;
    uint32_t number, column;
    bool isError;
    std::string what;
  };
  std::vector<Finding> found_;
};

void Findings::print(bool json) {
  std::stable_sort(
      found_.begin(), found_.end(), [](const Finding& a, const Finding& b) {
        return a.file != b.file ? a.file < b.file : a.number < b.number;
      });
  for (const Finding& finding : found_) {
    if (json) {
      nlohmann::ordered_json line;
      line["file"] = ToUtf8(finding.file);
      line["line"] = finding.number;
      line["column"] = finding.column;
      line["severity"] = finding.isError ? "error" : "warning";
      line["message"] = ToUtf8(finding.what);
      printf("%s\n", line.dump().c_str());
    } else {
      printf("%s:%u:%u: %s%s\n", Printable(finding.file).c_str(),
             finding.number, finding.column, finding.isError ? "" : "warning: ",
             Printable(finding.what).c_str());
    }
  }
}

// ---- Costly patterns

// A text of so many bytes is more than most fields have.
const uint32_t kProbeBytes = 65536;
// What a long text may be made of to keep a pattern busy.
const char* const kProbes[] = {"a", " ", "0", "ab ", "a.", "<a ", "x@", "-=_"};

// Whether the engine gives a text up as too much work.
bool GivesUp(zr_regex* regex) {
  for (const char* probe : kProbes) {
    std::string text;
    while (text.size() < kProbeBytes) text += probe;
    text += '\n';
    const int code = zr_regexec_len(regex, text.data(), 0, nullptr, 0,
                                    static_cast<uint32_t>(text.size()));
    if (code != ZR_OK && code != ZR_NOMATCH) return true;
  }
  return false;
}

// Why a pattern costs more than it should, or null.
const char* CostOf(TBLOCK pattern) {
  const std::unique_ptr<zr_regex, void (*)(zr_regex*)> regex(zr_regalloc(),
                                                             zr_regfree);
  if (!regex || zr_regcomp_len(regex.get(),
                               reinterpret_cast<const char*>(pattern.pointer),
                               0, pattern.length) != ZR_OK)
    return nullptr;
  const bool searched =
      regex->startKind == 0 && regex->search && regex->search->coverCount == 0;
  if (searched && GivesUp(regex.get()))
    return "costly pattern: a long text keeps it busy until it is given up";
  return nullptr;
}

// ---- The walk over the sources

class Lint {
 public:
  Lint(const Source& source, bool patch, Messages& messages)
      : source_(source),
        patch_(patch),
        messages_(messages),
        dico_(nullptr, nullptr) {}

  void run();

 private:
  void addReferences(const SourceSection& section);
  void addRuleReferences(TBLOCK text);
  void addGroup(const std::string& name);
  void checkSection(const SourceSection& section);
  void checkName(const SourceSection& section);
  void checkScores(const SourceSection& section);
  void checkRepeats(const SourceSection& section);
  void checkPatterns(const SourceSection& section);
  void checkRule(const SourceSection& section, const SourceLine& line,
                 TBLOCK text);
  void checkPattern(const SourceLine& line, TBLOCK pattern);

  const Source& source_;
  const bool patch_;
  Messages& messages_;
  const TQMDICO dico_;
  std::set<std::string> asked_;   // folded names of sections that are asked for
  std::set<std::string> groups_;  // of word groups
};

std::string NameOf(const SourceSection& section) {
  TBLOCK name = View(section.name);
  uint16_t type, flags;
  GetSectionType(name, type, flags);
  return std::string(reinterpret_cast<const char*>(name.pointer), name.length);
}

bool IsNamed(const SourceSection& section, const char* name) {
  return FoldName(View(NameOf(section))) == FoldName(TBLOCK(name));
}

// The line without options and score.
TBLOCK TextOf(const SourceSection& section, const SourceLine& line,
              int32_t* score) {
  TBLOCK text = View(line.text);
  uint16_t bits = 0;
  const uint16_t type = section.type();
  *score = type == stPattern ? 100 : 0;
  if (section.patch) GetPatchDicoAction(text);
  if (type == stPattern) ReadOptions(text, bits);
  if (type != stSortedMd5) ReadScore(text, *score, bits);
  return text;
}

std::string Folded(TBLOCK text) {
  text.trim();
  return FoldName(text);
}

const char* const kGroupLists[] = {"ScamGroups", "BlackWordGroups",
                                   "CommercialWordGroups", "ResitWordGroups"};
const char* const kGroupEnds[] = {"",       "-Group",        "-GroupRegex",
                                  "-Words", "-SubjectWords", "-AliasWords",
                                  "-Regex"};

void Lint::addGroup(const std::string& name) {
  const std::string group = name.substr(!name.empty() && name[0] == '+');
  if (!groups_.insert(group).second) return;
  for (const char* end : kGroupEnds)
    asked_.insert(group + FoldName(TBLOCK(end)));
  asked_.insert("no-" + group + "-regex");
  for (const SourceSection& section : source_.sections) {
    if (FoldName(View(NameOf(section))) != group || !(section.type() & (1 | 8)))
      continue;
    for (const SourceLine& line : section.lines) {
      int32_t score;
      std::string child = Folded(TextOf(section, line, &score));
      child.erase(0, !child.empty() && child[0] == '+');
      addGroup(group + "\\" + child);
    }
  }
}

// Sections that a rule names: "@S:", and "Field$=S".
void Lint::addRuleReferences(TBLOCK text) {
  TQMRULE rule;
  BLOCK store(0, 4096);
  if (!ParseRule(text, rule, store)) return;
  if (rule.name.begins("@")) asked_.insert(Folded(rule.name.from(1)));
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  for (uint32_t i = 0; i < rule.count; i++) {
    TQMEXPR leaf;
    if (parts[i].kind == TRULEPART::rkLeaf &&
        leaf.parse(parts[i].text, dico_) && leaf.isSection)
      asked_.insert(Folded(leaf.value));
  }
}

void Lint::addReferences(const SourceSection& section) {
  const bool deep = IsNamed(section, "DeepPhishing");
  const bool count = IsNamed(section, "RegexCount");
  bool groups = false;
  for (const char* list : kGroupLists)
    groups = groups || IsNamed(section, list);
  for (const SourceLine& line : section.lines) {
    int32_t score;
    TBLOCK text = TextOf(section, line, &score);
    if (section.type() == stRule) addRuleReferences(text);
    if (count) text.cut(static_cast<uint32_t>(std::max(text.findByte('='), 0)));
    const std::string name = Folded(text);
    if (groups) addGroup(name);
    if (deep || count || section.type() == stSectionList) asked_.insert(name);
    if (deep) asked_.insert(name + "-hash");
  }
}

// Whether a section with that prefix serves. Words may be gathered from other
// sections; one text may be held against strings of any kind and against
// patterns.
bool IsReadAs(const std::string& prefix, const KnownSection& known) {
  if (prefix == known.prefix) return true;
  const std::string wanted = known.prefix;
  if (wanted.empty()) return prefix == "&";
  return wanted == "#" && (prefix == "$" || prefix == "!" || prefix == "&");
}

void Lint::checkName(const SourceSection& section) {
  const std::string name = NameOf(section);
  const KnownSection* known = FindKnownSection(name);
  if (!known) {
    const std::string folded = FoldName(View(name));
    const bool asked =
        asked_.count(folded) > 0 || (folded.compare(0, 3, "no-") == 0 &&
                                     asked_.count(folded.substr(3)) > 0);
    if (!asked && !patch_)
      messages_.warning(section.start, 0, "no check reads this section");
    return;
  }
  const size_t length = section.name.size() - name.size();
  const std::string prefix = section.name.substr(0, length);
  if (!IsReadAs(prefix, *known))
    messages_.warning(section.start, 1,
                      "this section is read as [" + std::string(known->prefix) +
                          known->name + "]");
}

// A line of another section that scores, among those with scores, is told by
// the compiler.
void Lint::checkScores(const SourceSection& section) {
  const KnownSection* known = FindKnownSection(NameOf(section));
  const uint16_t type = section.type();
  if (!known || !known->scores || type == stSortedMd5 ||
      type == stSectionList || section.lines.empty())
    return;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    TextOf(section, line, &score);
    if (score != 0) return;
  }
  messages_.warning(section.start, 0, "no line of this section has a score");
}

// Lines of sections with an index are compared by the compiler.
void Lint::checkRepeats(const SourceSection& section) {
  if ((section.flags() & sfHashed) || section.type() == stSortedMd5 ||
      section.patch)
    return;
  std::map<std::string, uint32_t> seen;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    const TBLOCK text = TextOf(section, line, &score);
    const auto found = seen.emplace(
        std::string(reinterpret_cast<const char*>(text.pointer), text.length),
        line.number);
    if (!found.second)
      messages_.warning(line, 0,
                        "the line stands already at line " +
                            std::to_string(found.first->second));
  }
}

void Lint::checkPattern(const SourceLine& line, TBLOCK text) {
  RULEPATTERN pattern;
  pattern.read(text);
  for (const REGEX* half : {&pattern.wanted, &pattern.unwanted}) {
    const char* const cost =
        half->pattern.empty() ? nullptr : CostOf(half->pattern);
    if (cost) messages_.warning(line, OffsetIn(line, half->pattern), cost);
  }
}

// Fields that are filled from the body: header filters run ahead of it.
const char kBodyFields[] =
    ",url,img,cid,html,table,class,name,generator,domain,content,firstline,"
    "lastline,host,httphost,adncid,adnhtml,adntable,adntext,unsub,urlparam,"
    "phone,http,imgsize,badtag,adnurl,adnfilename,tagparam,emails,urlpath,"
    "imgpath,words,adnlines,linewords,charcounts,adncharcounts,lines,imgweight,"
    "tokens,attext,linktext,invisible,adnparts,style,adnattach,partmimetype,"
    "linktags,imgfile,imglink,zip,adnurl2,country,filename,comments,htmltags,"
    "imgdomain,";

bool IsBodyField(TBLOCK name) {
  return std::string(kBodyFields).find("," + FoldName(name) + ",") !=
         std::string::npos;
}

const char* const kHeaderPhase[] = {
    "=HeaderRegex",  "No-Hdr",         "No-Received",
    "No-MessageId",  "No-HeaderRegex", "Only-Hdr",
    "Only-Received", "Only-MessageId", "Only-HeaderRegex"};

void Lint::checkRule(const SourceSection& section, const SourceLine& line,
                     TBLOCK text) {
  TQMRULE rule;
  BLOCK store(0, 4096);
  if (!ParseRule(text, rule, store)) return;
  bool early = false;
  for (const char* name : kHeaderPhase) early = early || IsNamed(section, name);
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  for (uint32_t i = 0; i < rule.count; i++) {
    TQMEXPR leaf;
    if (parts[i].kind != TRULEPART::rkLeaf || !leaf.parse(parts[i].text, dico_))
      continue;
    if (!leaf.isSection) checkPattern(line, leaf.value);
    if (early && IsBodyField(leaf.fieldName))
      messages_.warning(line, OffsetIn(line, parts[i].text),
                        "this field is empty when the rule is asked: the body "
                        "has not been read");
  }
}

void Lint::checkPatterns(const SourceSection& section) {
  for (const SourceLine& line : section.lines) {
    int32_t score;
    TBLOCK text = TextOf(section, line, &score);
    if (text.empty()) continue;
    if (section.type() == stRule) checkRule(section, line, text);
    if (section.type() == stNamedRegex)
      text.skip(static_cast<uint32_t>(text.findByte(':') + 1));
    if (section.type() == stRegex || section.type() == stNamedRegex) {
      text.trim();
      if (!text.empty()) checkPattern(line, text);
    }
  }
}

void Lint::run() {
  for (const SourceSection& section : source_.sections) addReferences(section);
  for (const SourceSection& section : source_.sections) {
    if (section.start.text.empty()) continue;  // the compiler's own
    checkName(section);
    checkScores(section);
    checkRepeats(section);
    checkPatterns(section);
  }
}

int RunLint(const LintOptions& options) {
  for (const std::string& input : options.inputs) {
    std::string text, what;
    int code = kExitIo;
    if (ReadFile(input, &text, &code, &what)) continue;
    PrintError(input, what);
    return code;
  }
  CompileOptions compile;
  compile.inputs = options.inputs;
  compile.defines = options.defines;
  compile.patch = options.patch;
  Findings findings;
  Source source;
  TKwObj object;
  if (ReadSource(compile, findings, source)) {
    BuildObject(source, findings, object);
    Lint(source, options.patch, findings).run();
  }
  findings.print(options.json);
  return findings.any() ? kExitFailed : kExitOk;
}

const char kFooter[] =
    "Prints FILE:LINE:COLUMN: MESSAGE; warnings say so. Give all sources of a\n"
    "dictionary: sections that others name are looked for among them.\n"
    "Exit code: 0 when there is nothing to say, else 1; 64 usage; 66 input\n"
    "missing; 74 I/O error.";

}  // namespace

void AddLintCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<LintOptions>();
  CLI::App* command =
      app.add_subcommand("lint", "Check the sources of a dictionary");
  command->add_option("FILE", options->inputs, "Source files (*.kws)")
      ->type_name("")
      ->required();
  command->add_option("-D", options->defines, "Define a name for $ifdef")
      ->allow_extra_args(false);
  command->add_flag("--patch", options->patch,
                    "The sources are patches: sections [+NAME] are allowed");
  command->add_flag("--json", options->json, "One JSON object a line");
  command->footer(kFooter);
  command->callback([options, exitCode]() { *exitCode = RunLint(*options); });
}
