// quaymarsh test: runs the tests that stand beside the sources of a dictionary.
// A line hits a message when the answer is another one without it, whatever
// the section and the way it is read; so for each line that a test names the
// dictionary is built once more without it. The files are read by the
// compiler's own code. Tested by tests/tools/test_test.sh.

#include <dirent.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "cause_name.h"
#include "cause_text.h"
#include "commands.h"
#include "compiler.h"
#include "known_sections.h"
#include "lint_lines.h"
#include "printable.h"
#include "progress.h"
#include "regex/regex_pool.h"
#include "rule_cases.h"
#include "rules/qm_dico.h"
#include "rules/url_blacklist.h"
#include "scan/tqmmsg.h"
#include "scanner.h"

namespace {

const char kSourceEnd[] = ".kws";
const char kTestEnd[] = ".kwt";
// Lines that score so much need a test each way.
const int32_t kTestedScore = 50;
const uint32_t kAllChecks = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION |
                            QM_CHECK_COMMERCIAL | QM_CHECK_SUSPECT;

struct TestOptions {
  std::vector<std::string> inputs;
  unsigned int threads = 1;
};

// Where a line stands in the source.
struct LinePlace {
  size_t section, line;
};

struct Answer {
  int state = 0;
  int score = 0;
  std::string cause;
};

bool IsSame(const Answer& a, const Answer& b) {
  return a.state == b.state && a.score == b.score && a.cause == b.cause;
}

// A dictionary, ready for scans.
struct Dictionary {
  std::unique_ptr<TQMDICO> dico;
  std::unique_ptr<UrlBlacklist> blacklist;
};

std::string Copy(TBLOCK text) {
  return std::string(reinterpret_cast<const char*>(text.pointer), text.length);
}

// How tests name a line: options and score taken off, of a rule with a name
// that name.
std::string LineKey(const SourceSection& section, const SourceLine& line) {
  int32_t score;
  TBLOCK text = LintedText(section, line, &score);
  TBLOCK name;
  if (section.type() == stRule && TQMMSG::parseRuleName(text, name))
    text = name;
  return Copy(text);
}

// What a hit of the line is worth; 0 where it does not score.
int32_t PointsOf(const SourceSection& section, const SourceLine& line) {
  int32_t score;
  LintedText(section, line, &score);
  const KnownSection* known = FindKnownSection(SectionName(section));
  if (!known || (known->flags & kScores)) return score;
  return known->points;
}

class TestRun {
 public:
  explicit TestRun(const TestOptions& options) : options_(options) {}

  int run();

 private:
  struct Failure {
    std::string file;
    uint32_t number;
    std::string what;
  };
  // A line that tests name, with the claims about it.
  struct NamedLine {
    LinePlace place;
    std::vector<std::pair<const RuleCase*, const RuleClaim*>> claims;
  };

  bool listFiles();
  void addFile(const std::string& path);
  bool readFiles();
  void indexLines();
  Dictionary build(const Source& source, bool first);
  Answer scan(const Dictionary& dictionary, const RuleCase& test);
  void checkVerdicts(size_t test);
  void groupClaims();
  void checkLine(const NamedLine& line);
  void checkCoverage();
  void fail(const std::string& file, uint32_t number, const std::string& what);
  // Runs work(i) for each i below n, in all threads; `noun` is what i counts.
  void inThreads(size_t n, const char* noun,
                 const std::function<void(size_t)>& work);

  const TestOptions& options_;
  std::vector<std::string> sourceFiles_, testFiles_;
  int exitCode_ = kExitOk;
  Source source_;
  REGEXPOOL pool_;
  Dictionary dictionary_;
  std::vector<RuleCase> cases_;
  std::vector<Answer> answers_;
  std::map<std::string, LinePlace> lines_;  // "section: line"
  std::map<std::string, NamedLine> named_;
  std::vector<Failure> failures_;
  std::mutex lock_;  // of failures_
};

void TestRun::fail(const std::string& file, uint32_t number,
                   const std::string& what) {
  const std::lock_guard<std::mutex> guard(lock_);
  failures_.push_back({file, number, what});
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void TestRun::addFile(const std::string& path) {
  if (EndsWith(path, kSourceEnd)) sourceFiles_.push_back(path);
  if (EndsWith(path, kTestEnd)) testFiles_.push_back(path);
}

// Of a directory the files in it, in the order in which a build takes them.
bool TestRun::listFiles() {
  for (const std::string& input : options_.inputs) {
    struct stat status;
    if (stat(input.c_str(), &status) != 0) {
      PrintError(input, "no such file or directory");
      exitCode_ = kExitNoInput;
      return false;
    }
    if (!S_ISDIR(status.st_mode)) {
      addFile(input);
      continue;
    }
    DIR* directory = opendir(input.c_str());
    if (!directory) {
      PrintError(input, "cannot be read");
      exitCode_ = kExitNoInput;
      return false;
    }
    std::vector<std::string> names;
    while (const dirent* entry = readdir(directory))
      names.push_back(entry->d_name);
    closedir(directory);
    std::sort(names.begin(), names.end());
    const std::string folder = input + (input.back() == '/' ? "" : "/");
    for (const std::string& name : names) addFile(folder + name);
  }
  if (sourceFiles_.empty()) {
    PrintError("", "no dictionary source (*.kws)");
    exitCode_ = kExitNoInput;
    return false;
  }
  return true;
}

bool TestRun::readFiles() {
  CompileOptions compile;
  compile.inputs = sourceFiles_;
  Messages messages;
  if (!ReadSource(compile, messages, source_) || messages.errors() > 0) {
    exitCode_ = kExitConfig;
    return false;
  }
  for (const std::string& path : testFiles_)
    if (!ReadRuleCases(path, &cases_, &exitCode_)) return false;
  indexLines();
  dictionary_ = build(source_, true);
  if (dictionary_.dico) return true;
  PrintError("", "the dictionary cannot be built");
  exitCode_ = kExitConfig;
  return false;
}

void TestRun::indexLines() {
  for (size_t i = 0; i < source_.sections.size(); i++) {
    const SourceSection& section = source_.sections[i];
    const std::string name = FoldName(View(SectionName(section))) + ": ";
    for (size_t k = 0; k < section.lines.size(); k++) {
      const SourceLine& line = section.lines[k];
      const LinePlace place = {i, k};
      if (lines_.emplace(name + LineKey(section, line), place).second) continue;
      // Rules may share a name: all but the first are named by their text.
      int32_t score;
      lines_.emplace(name + Copy(LintedText(section, line, &score)), place);
    }
  }
}

// Tells nothing of the source: that was done when it was read.
class Silence : public Messages {
 protected:
  void tell(const std::string&, uint32_t, uint32_t, bool,
            const std::string&) override {}
};

// An empty one when that fails. The first one's patterns are compiled for all.
Dictionary TestRun::build(const Source& source, bool first) {
  Dictionary out;
  Messages loud;
  Silence silent;
  TKwObj object;
  BuildObject(source, first ? loud : silent, object);
  std::unique_ptr<BLOCK> image(new BLOCK(0, 65536));
  if ((first ? loud : silent).errors() > 0 ||
      !object.WriteToStream(image.get()))
    return out;
  std::unique_ptr<TQMDICO> dico(new TQMDICO(&pool_, nullptr));
  if (!dico->loadKeywordsFromBlock(image.release())) return out;
  if (first) {
    pool_.addAllHardCodedRegexes();
    dico->precompileRegexesIntoPool();
  }
  out.blacklist.reset(new UrlBlacklist(dico.get()));
  out.dico = std::move(dico);
  return out;
}

Answer TestRun::scan(const Dictionary& dictionary, const RuleCase& test) {
  const QMGLOBALSETUP globalSetup = {8, kAllChecks};
  const QMUSERSETUP userSetup = {20, -100, 200, 0, kAllChecks};
  TQMMSG message(&pool_, dictionary.dico->stuff, dictionary.blacklist.get(), 0,
                 0);
  message.fixedTime = kRuleCaseNow;
  if (!message.loadFromBlock(View(test.message), nullptr, 0))
    throw std::bad_alloc();
  // A score must not end the scan ahead of the line.
  message.check(&globalSetup, &userSetup, TBLOCK(), TBLOCK(), 1, 0, nullptr, 0);
  const TBLOCK cause = message.ledger.cause.view();
  return {
      message.ledger.state, message.ledger.score,
      std::string(reinterpret_cast<const char*>(cause.pointer), cause.length)};
}

void TestRun::inThreads(size_t n, const char* noun,
                        const std::function<void(size_t)>& work) {
  Progress progress(nullptr, n, noun);
  std::atomic<size_t> next(0);
  std::mutex progressLock;
  const auto loop = [&]() {
    for (size_t i = next++; i < n; i = next++) {
      work(i);
      const std::lock_guard<std::mutex> guard(progressLock);
      progress.step();
    }
  };
  std::vector<std::thread> threads;
  for (unsigned int i = 1; i < options_.threads; i++)
    threads.emplace_back(loop);
  loop();
  for (std::thread& thread : threads) thread.join();
}

void TestRun::checkVerdicts(size_t i) {
  const RuleCase& test = cases_[i];
  const Answer answer = scan(dictionary_, test);
  answers_[i] = answer;
  std::map<std::string, std::string> causes;
  for (const CauseEntry& entry : SplitCauseText(answer.cause).entries)
    causes[CauseName(entry.label)] = entry.points;
  for (const RuleClaim& claim : test.claims) {
    const bool there = causes.count(claim.text) > 0;
    const bool wrong = (claim.kind == RuleClaim::kState &&
                        claim.text != StateName(answer.state)) ||
                       (claim.kind == RuleClaim::kCause && !there) ||
                       (claim.kind == RuleClaim::kNoCause && there);
    if (wrong)
      fail(test.file, claim.number,
           "state " + std::string(StateName(answer.state)) + ", score " +
               std::to_string(answer.score) + ": " + answer.cause);
  }
}

void TestRun::groupClaims() {
  for (const RuleCase& test : cases_) {
    for (const RuleClaim& claim : test.claims) {
      if (claim.kind != RuleClaim::kHit && claim.kind != RuleClaim::kMiss)
        continue;
      const size_t colon = claim.text.find(": ");
      const size_t name = colon == std::string::npos ? 0 : colon;
      const std::string key =
          FoldName(View(claim.text.substr(0, name))) + claim.text.substr(name);
      const auto found = lines_.find(key);
      if (found == lines_.end()) {
        fail(test.file, claim.number, "no such line: " + claim.text);
        continue;
      }
      NamedLine& line = named_[key];
      line.place = found->second;
      line.claims.push_back({&test, &claim});
    }
  }
}

// The answers of its tests with and without the line.
void TestRun::checkLine(const NamedLine& line) {
  Source rest = source_;
  std::vector<SourceLine>& lines = rest.sections[line.place.section].lines;
  lines.erase(lines.begin() + static_cast<long>(line.place.line));
  const Dictionary without = build(rest, false);
  for (const auto& claim : line.claims) {
    const RuleCase& test = *claim.first;
    if (!without.dico) {
      fail(test.file, claim.second->number,
           "no dictionary without " + claim.second->text);
      continue;
    }
    const Answer& with = answers_[static_cast<size_t>(&test - &cases_[0])];
    const bool hit = !IsSame(with, scan(without, test));
    if (hit == (claim.second->kind == RuleClaim::kHit)) continue;
    fail(test.file, claim.second->number,
         claim.second->text + (hit ? " hits" : " does not hit") + ": " +
             (with.cause.empty() ? "no cause" : with.cause));
  }
}

// Every line that can make a message spam with another one is tested, and those
// that do so by themselves, whatever the number in front of them.
void TestRun::checkCoverage() {
  for (const auto& item : lines_) {
    const SourceSection& section = source_.sections[item.second.section];
    const SourceLine& line = section.lines[item.second.line];
    if (abs(PointsOf(section, line)) < kTestedScore) continue;
    bool hit = false, miss = false;
    const auto named = named_.find(item.first);
    if (named != named_.end()) {
      for (const auto& claim : named->second.claims)
        (claim.second->kind == RuleClaim::kHit ? hit : miss) = true;
    }
    if (!hit) fail(line.file, line.number, "no test hits " + item.first);
    if (!miss) fail(line.file, line.number, "no near miss of " + item.first);
  }
}

int TestRun::run() {
  if (!listFiles() || !readFiles()) return exitCode_;
  answers_.resize(cases_.size());
  inThreads(cases_.size(), "messages", [this](size_t i) { checkVerdicts(i); });
  groupClaims();
  std::vector<const NamedLine*> work;
  for (const auto& item : named_) work.push_back(&item.second);
  inThreads(work.size(), "lines", [&](size_t i) { checkLine(*work[i]); });
  checkCoverage();
  std::sort(failures_.begin(), failures_.end(),
            [](const Failure& a, const Failure& b) {
              if (a.file != b.file) return a.file < b.file;
              return a.number != b.number ? a.number < b.number
                                          : a.what < b.what;
            });
  for (const Failure& failure : failures_)
    printf("%s:%u: %s\n", Printable(failure.file).c_str(), failure.number,
           Printable(failure.what).c_str());
  printf("%zu messages, %zu of %zu lines tested, %zu failures\n", cases_.size(),
         named_.size(), lines_.size(), failures_.size());
  return failures_.empty() ? kExitOk : kExitFailed;
}

const char kFooter[] =
    "Sources are *.kws, their tests *.kwt. A line that scores 50 or more,\n"
    "either way, needs a message that it hits and one that it just misses.\n"
    "A line hits when the answer is another one without it. The format is\n"
    "told in doc/writing-rules.md.\n"
    "Exit code: 0; 1 when a test fails or is missing; 64 usage; 65 a faulty\n"
    "test; 66 input missing; 78 a faulty source.";

}  // namespace

void AddTestCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<TestOptions>();
  CLI::App* command =
      app.add_subcommand("test", "Run the tests of a dictionary's lines");
  command
      ->add_option("PATH", options->inputs,
                   "Folders with sources and tests, or such files")
      ->type_name("")
      ->required();
  command->add_option("-j", options->threads, "Threads")
      ->check(CLI::Range(1, 256));
  command->footer(kFooter);
  command->callback(
      [options, exitCode]() { *exitCode = TestRun(*options).run(); });
}
