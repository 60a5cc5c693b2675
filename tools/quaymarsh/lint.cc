// quaymarsh lint: what the dictionary's compiler says of its sources, and what
// only the whole of them shows: sections that nothing reads, lines that stand
// there twice or can never hit, scores that are missing, patterns that cost too
// much. Single lines are looked at in lint_lines.cc, patterns in
// pattern_cost.cc. Tested by tests/tools/lint_test.sh.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "commands.h"
#include "compiler.h"
#include "known_sections.h"
#include "lint_lines.h"
#include "mail_source.h"
#include "pattern_cost.h"
#include "printable.h"
#include "regex/regex_pool.h"
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
        if (a.file != b.file) return a.file < b.file;
        return a.number != b.number ? a.number < b.number : a.column < b.column;
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

// ---- The walk over the sources

// A section that others name, and how it is read then.
struct AskedSection {
  const char* prefixes;  // as of a known one
  unsigned flags;
};

class Lint {
 public:
  Lint(const Source& source, bool patch, Messages& messages)
      : source_(source),
        patch_(patch),
        messages_(messages),
        dico_(nullptr, nullptr) {}

  // `object`: the compiled source, or null when there are errors.
  void run(TKwObj* object);

 private:
  void addGroups(const SourceSection& section);
  void addReferences(const SourceSection& section);
  void addRuleReferences(TBLOCK text);
  void addGroup(const std::string& name);
  void ask(const std::string& name, const char* prefixes, unsigned flags);
  bool isAsked(const std::string& name) const;
  bool leadsTo(const std::string& from, const std::string& to) const;
  unsigned flagsOf(const SourceSection& section) const;
  void checkName(const SourceSection& section);
  void checkPrefix(const SourceSection& section, const char* prefixes);
  void checkCircle(const SourceSection& section);
  void checkScores(const SourceSection& section);
  void checkRepeats(const SourceSection& section);
  void checkPatterns(const SourceSection& section);
  void checkRule(const SourceLine& line, TBLOCK text, bool early);
  void checkField(const SourceLine& line, TBLOCK leafText, const TQMEXPR& leaf,
                  bool early);
  void checkPattern(const SourceLine& line, TBLOCK pattern, bool longText);
  void checkWords(TKwObj& object);

  const Source& source_;
  const bool patch_;
  Messages& messages_;
  const TQMDICO dico_;                         // knows the fields of rules
  std::map<std::string, AskedSection> asked_;  // by folded name
  std::set<std::string> groups_;               // of word groups
  // Lists of sections, and what they list.
  std::map<std::string, std::vector<std::string>> lists_;
};

bool IsNamed(const SourceSection& section, const char* name) {
  return FoldName(View(SectionName(section))) == FoldName(TBLOCK(name));
}

std::string Folded(TBLOCK text) {
  text.trim();
  return FoldName(text);
}

// ---- Sections that others name

const char* const kGroupLists[] = {"ScamGroups", "BlackWordGroups",
                                   "CommercialWordGroups", "ResitWordGroups"};
const struct {
  const char* end;
  const char* prefixes;
} kGroupSections[] = {
    {"", "&"},        {"-Group", " &"},        {"-GroupRegex", "^"},
    {"-Words", " &"}, {"-SubjectWords", " &"}, {"-AliasWords", " &"},
    {"-Regex", "^"}};

void Lint::ask(const std::string& name, const char* prefixes, unsigned flags) {
  asked_.insert({name, {prefixes, flags}});
}

void Lint::addGroup(const std::string& name) {
  const std::string group = name.substr(!name.empty() && name[0] == '+');
  if (!groups_.insert(group).second) return;
  for (const auto& row : kGroupSections)
    ask(group + FoldName(TBLOCK(row.end)), row.prefixes,
        row.end[0] ? unsigned{kScores} : 0u);
  ask("no-" + group + "-regex", "^", 0);
  for (const SourceSection& section : source_.sections) {
    if (section.type() != stSectionList ||
        FoldName(View(SectionName(section))) != group)
      continue;
    for (const SourceLine& line : section.lines) {
      int32_t score;
      std::string child = Folded(LintedText(section, line, &score));
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
  if (rule.name.begins("@")) ask(Folded(rule.name.from(1)), "^", 0);
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  for (uint32_t i = 0; i < rule.count; i++) {
    TQMEXPR leaf;
    if (parts[i].kind == TRULEPART::rkLeaf &&
        leaf.parse(parts[i].text, dico_) && leaf.isSection)
      ask(Folded(leaf.value), "$*", 0);
  }
}

void Lint::addGroups(const SourceSection& section) {
  bool groups = false;
  for (const char* list : kGroupLists)
    groups = groups || IsNamed(section, list);
  if (!groups) return;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    addGroup(Folded(LintedText(section, line, &score)));
  }
}

void Lint::addReferences(const SourceSection& section) {
  const bool deep = IsNamed(section, "DeepPhishing");
  const bool count = IsNamed(section, "RegexCount");
  for (const SourceLine& line : section.lines) {
    int32_t score;
    TBLOCK text = LintedText(section, line, &score);
    if (section.type() == stRule) addRuleReferences(text);
    // The last one: names may begin with "=".
    if (count)
      text.cut(static_cast<uint32_t>(std::max(text.findLastByte('='), 0)));
    const std::string name = Folded(text);
    if (deep || count) ask(name, "^", kScores);
    if (deep) ask(name + "-hash", "$*", kScores);
    // The names in the section of a group are those of subgroups.
    if (section.type() == stSectionList &&
        !groups_.count(FoldName(View(SectionName(section))))) {
      ask(name, " &", kScores);
      lists_[FoldName(View(SectionName(section)))].push_back(name);
    }
  }
}

// Also as the switch of words that others name.
bool Lint::isAsked(const std::string& name) const {
  if (asked_.count(name) > 0) return true;
  if (name.compare(0, 3, "no-") != 0) return false;
  const auto words = asked_.find(name.substr(3));
  return words != asked_.end() && words->second.prefixes[0] == ' ';
}

unsigned Lint::flagsOf(const SourceSection& section) const {
  const std::string name = SectionName(section);
  const KnownSection* known = FindKnownSection(name);
  if (known) return known->flags;
  const auto asked = asked_.find(FoldName(View(name)));
  return asked == asked_.end() ? 0 : asked->second.flags;
}

// ---- What is wrong with a section

void Lint::checkPrefix(const SourceSection& section, const char* prefixes) {
  const std::string name = SectionName(section);
  const std::string prefix =
      section.name.substr(0, section.name.size() - name.size());
  if (strchr(prefixes, prefix.empty() ? ' ' : prefix[0])) return;
  const std::string wanted(1, prefixes[0]);
  messages_.warning(
      section.start, 1,
      "this section is read as [" + (wanted == " " ? "" : wanted) + name + "]");
}

void Lint::checkName(const SourceSection& section) {
  const std::string name = SectionName(section);
  const KnownSection* known = FindKnownSection(name);
  const std::string folded = FoldName(View(name));
  const auto asked = asked_.find(folded);
  if (known)
    checkPrefix(section, known->prefixes);
  else if (asked != asked_.end())
    checkPrefix(section, asked->second.prefixes);
  else if (isAsked(folded))
    checkPrefix(section, "^");
  else if (!patch_)
    messages_.warning(section.start, 0, "no check reads this section");
}

bool Lint::leadsTo(const std::string& from, const std::string& to) const {
  std::set<std::string> seen;
  std::vector<std::string> open = {from};
  while (!open.empty()) {
    const std::string name = open.back();
    open.pop_back();
    if (name == to) return true;
    const auto list = lists_.find(name);
    if (list == lists_.end() || !seen.insert(name).second) continue;
    open.insert(open.end(), list->second.begin(), list->second.end());
  }
  return false;
}

// Words below a list that names itself, by way of others or not, would count as
// often as a search may go round.
void Lint::checkCircle(const SourceSection& section) {
  const std::string list = FoldName(View(SectionName(section)));
  if (!lists_.count(list)) return;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    if (leadsTo(Folded(LintedText(section, line, &score)), list))
      messages_.warning(line, 0, "this leads back to the list that it is in");
  }
}

// Lines of strings, rules and patterns without a score, among others with one,
// are told by the compiler.
void Lint::checkScores(const SourceSection& section) {
  const uint16_t type = section.type();
  if (!(flagsOf(section) & kScores) || type == stSortedMd5 ||
      type == stSectionList || section.patch || section.lines.empty())
    return;
  std::vector<const SourceLine*> zeros;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    LintedText(section, line, &score);
    if (score == 0) zeros.push_back(&line);
  }
  if (zeros.size() == section.lines.size()) {
    messages_.warning(section.start, 0, "no line of this section has a score");
  } else if (type == stPattern || type == stMd5) {
    for (const SourceLine* line : zeros)
      messages_.warning(*line, 0, "with a score of 0 the line does nothing");
  }
}

// Lines of sections with an index are compared by the compiler. Strings are
// held against a text in any case.
void Lint::checkRepeats(const SourceSection& section) {
  if ((section.flags() & sfHashed) || section.type() == stSortedMd5 ||
      section.patch)
    return;
  std::map<std::string, uint32_t> seen;
  for (const SourceLine& line : section.lines) {
    int32_t score;
    const TBLOCK text = LintedText(section, line, &score);
    const std::string key =
        section.type() == stString
            ? FoldName(text)
            : std::string(reinterpret_cast<const char*>(text.pointer),
                          text.length);
    const auto found = seen.emplace(key, line.number);
    if (!found.second)
      messages_.warning(line, 0,
                        "the line stands already at line " +
                            std::to_string(found.first->second));
  }
}

// ---- Rules and patterns

// Fields that are filled from the body: header filters run ahead of it.
const char kBodyFields[] =
    ",url,img,cid,html,table,class,name,generator,domain,content,firstline,"
    "lastline,multipart,tags,host,httphost,adncid,adnhtml,adntable,adntext,"
    "unsub,urlparam,phone,counts,http,imgsize,badtag,adnurl,adnfilename,"
    "tagparam,adntagparam,emails,urlpath,imgpath,words,adndates,adnlines,"
    "linewords,charcounts,adncharcounts,lines,imgweight,tokens,attext,linktext,"
    "invisible,adnparts,style,adnattach,partmimetype,linktags,imgfile,imglink,"
    "zip,adnurl2,country,filename,comments,htmltags,imgdomain,";
// Those that may hold all of a body, in one element or in thousands.
const char kLongFields[] =
    ",content,html,adnhtml,adntext,words,lines,comments,style,invisible,"
    "htmltags,tagparam,adntagparam,";
const char kReservedFields[] =
    ",lang,list,fulltext,locu,md5,virus,disponible,cause,";

bool IsOneOf(const char* fields, TBLOCK name) {
  return std::string(fields).find("," + FoldName(name) + ",") !=
         std::string::npos;
}

void Lint::checkPattern(const SourceLine& line, TBLOCK text, bool longText) {
  RULEPATTERN pattern;
  pattern.read(text);
  for (const REGEX* half : {&pattern.wanted, &pattern.unwanted}) {
    const char* const cost = half->pattern.empty()
                                 ? nullptr
                                 : CostOfPattern(half->pattern, longText);
    if (cost) messages_.warning(line, OffsetIn(line, half->pattern), cost);
  }
}

void Lint::checkField(const SourceLine& line, TBLOCK leafText,
                      const TQMEXPR& leaf, bool early) {
  const size_t at = OffsetIn(line, leafText);
  if (leaf.field == kHeaderRuleField) return;
  if (early && IsOneOf(kBodyFields, leaf.fieldName))
    messages_.warning(line, at,
                      "this field is empty when the rule is asked: the body "
                      "has not been read");
  if (IsOneOf(kReservedFields, leaf.fieldName))
    messages_.warning(line, at, "this field never has a value");
}

void Lint::checkRule(const SourceLine& line, TBLOCK text, bool early) {
  TQMRULE rule;
  BLOCK store(0, 4096);
  if (!ParseRule(text, rule, store)) return;
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  for (uint32_t i = 0; i < rule.count; i++) {
    TQMEXPR leaf;
    if (parts[i].kind != TRULEPART::rkLeaf || !leaf.parse(parts[i].text, dico_))
      continue;
    if (!leaf.isSection)
      checkPattern(line, leaf.value, IsOneOf(kLongFields, leaf.fieldName));
    checkField(line, parts[i].text, leaf, early);
  }
}

void Lint::checkPatterns(const SourceSection& section) {
  const KnownSection* known = FindKnownSection(SectionName(section));
  const unsigned flags = flagsOf(section);
  const uint16_t type = section.type();
  for (const SourceLine& line : section.lines) {
    int32_t score;
    TBLOCK text = LintedText(section, line, &score);
    if (type == stRule) checkRule(line, text, (flags & kEarly) != 0);
    if (type != stRegex && type != stNamedRegex) continue;
    // Behind the name of a field, or of the line.
    if (type == stNamedRegex)
      text.skip(static_cast<uint32_t>(text.findByte(':') + 1));
    else if (known && (known->form == kFieldForm || known->form == kMetaForm))
      text.skip(static_cast<uint32_t>(text.findByte('=') + 1));
    text.trim();
    if (!text.empty()) checkPattern(line, text, (flags & kLongText) != 0);
  }
}

// Words are looked up in the dictionary that the source makes.
void Lint::checkWords(TKwObj& object) {
  std::unique_ptr<BLOCK> image(new BLOCK(0, 65536));
  REGEXPOOL pool;
  TQMDICO compiled(&pool, nullptr);
  if (!object.WriteToStream(image.get()) ||
      !compiled.loadKeywordsFromBlock(image.release()))
    return;
  for (const SourceSection& section : source_.sections)
    if (section.type() == stPattern)
      LintWords(section, FindKnownSection(SectionName(section)), compiled,
                messages_);
}

void Lint::run(TKwObj* object) {
  for (const SourceSection& section : source_.sections) addGroups(section);
  for (const SourceSection& section : source_.sections) addReferences(section);
  for (const SourceSection& section : source_.sections) {
    if (section.start.text.empty()) continue;  // the compiler's own
    const KnownSection* known = FindKnownSection(SectionName(section));
    checkName(section);
    checkCircle(section);
    checkScores(section);
    checkRepeats(section);
    checkPatterns(section);
    if (known) LintForms(section, *known, messages_);
  }
  if (object) checkWords(*object);
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
    // What is wrong already may be all there is to say of such a line.
    const bool built = findings.errors() == 0 && !options.patch;
    Lint(source, options.patch, findings).run(built ? &object : nullptr);
  }
  findings.print(options.json);
  return findings.any() ? kExitFailed : kExitOk;
}

const char kFooter[] =
    "Prints FILE:LINE:COLUMN: MESSAGE; warnings say so. Give all sources of a\n"
    "dictionary: sections that others name are looked for among them. What is\n"
    "looked at is told in doc/keyword-source.md, what each section is for in\n"
    "doc/sections.md.\n"
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
