// quaymarsh regex: what the engine makes of a pattern, and where it matches:
// for authors of rules. A subject is matched with and without captures, because
// the two may differ (doc/regex-dialect.md). Tested by
// tests/tools/regex_test.sh.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "dump/dump.h"
#include "mail_source.h"
#include "printable.h"
#include "regex/zr_regex.h"

namespace {

struct RegexOptions {
  std::string pattern;
  std::vector<std::string> inputs;
  bool fold = false;
  bool lines = false;
};

// The bytes of a text that are shown of a match.
const size_t kShownBytes = 60;

std::string ErrorText(int code, const zr_regex& regex) {
  std::string text(zr_regerror(code, &regex, nullptr, 0), '\0');
  zr_regerror(code, &regex, &text[0], static_cast<uint32_t>(text.size()));
  text.pop_back();
  return text;
}

std::string Shown(const std::string& text) {
  const std::string head = text.substr(0, kShownBytes);
  const std::string escaped =
      EscapeBytes(TBLOCK(head.data(), static_cast<uint32_t>(head.size())));
  return "'" + escaped + (head.size() < text.size() ? "'..." : "'");
}

class RegexRun {
 public:
  explicit RegexRun(const RegexOptions& options)
      : options_(options), regex_(zr_regalloc()) {
    if (!regex_) throw std::bad_alloc();
  }
  ~RegexRun() { zr_regfree(regex_); }
  RegexRun(const RegexRun&) = delete;
  RegexRun& operator=(const RegexRun&) = delete;

  int run();

 private:
  bool compile();
  void matchInput(const std::string& path);
  void matchLines(const std::string& name, const std::string& bytes);
  bool matchText(const std::string& name, const std::string& text);
  void explain(const std::string& name, const char* how, int code, int other);
  void printMatch(const std::string& name, const std::string& text);
  uint32_t capturingSlots() const;
  void keep(int code) {
    if (exitCode_ == kExitOk) exitCode_ = code;
  }

  const RegexOptions& options_;
  zr_regex* const regex_;
  std::vector<zr_pair> pairs_;  // of the last match
  int exitCode_ = kExitOk;
};

int RegexRun::run() {
  if (!compile()) return exitCode_;
  // One more than there are, for the mark behind them.
  pairs_.resize(capturingSlots() + 1);
  for (const std::string& path : options_.inputs) matchInput(path);
  return exitCode_;
}

uint32_t RegexRun::capturingSlots() const {
  std::vector<bool> capturing(regex_->captureCount, false);
  for (uint32_t i = 0; i < regex_->groupCount; ++i) {
    const zr_group& group = regex_->groups[i];
    if (!group.noCapture) capturing[group.capture] = true;
  }
  return static_cast<uint32_t>(
      std::count(capturing.begin(), capturing.end(), true));
}

bool RegexRun::compile() {
  const std::string& pattern = options_.pattern;
  const int code = zr_regcomp_len(regex_, pattern.data(), options_.fold,
                                  static_cast<uint32_t>(pattern.size()));
  const std::string text = ErrorText(code, *regex_);
  if (code != ZR_OK) {
    PrintError("regex", "code " + std::to_string(code) + ": " + text);
    keep(kExitData);
    return false;
  }
  printf("figures: %s\n", DumpRegexFigures(*regex_).c_str());
  printf("full: %s\n", DumpRegexList(*regex_, false).c_str());
  printf("reduced: %s\n", DumpRegexList(*regex_, true).c_str());
  printf("text: %s\n", Printable(text).c_str());
  return true;
}

void RegexRun::matchInput(const std::string& path) {
  std::string bytes, what;
  int code = kExitOk;
  if (!ReadFile(path == "-" ? "/dev/stdin" : path, &bytes, &code, &what)) {
    PrintError(path, what);
    keep(code);
  } else if (options_.lines) {
    matchLines(path, bytes);
  } else if (!matchText(path, bytes)) {
    printf("%s: no match\n", Printable(path).c_str());
  }
}

// A line is what stands in front of CR LF or LF. Only those that match show.
void RegexRun::matchLines(const std::string& name, const std::string& bytes) {
  size_t start = 0;
  bool any = false;
  for (unsigned long number = 1; start < bytes.size(); ++number) {
    size_t end = bytes.find('\n', start);
    if (end == std::string::npos) end = bytes.size();
    std::string line = bytes.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (matchText(name + ":" + std::to_string(number), line)) any = true;
    start = end + 1;
  }
  if (!any) printf("%s: no match\n", Printable(name).c_str());
}

// Prints what there is to say of one subject; false when no way matches.
bool RegexRun::matchText(const std::string& name, const std::string& text) {
  const uint32_t length = static_cast<uint32_t>(text.size());
  pairs_.assign(pairs_.size(), zr_pair{-1, -1});
  const int full =
      zr_regexec_len(regex_, text.data(), static_cast<uint32_t>(pairs_.size()),
                     pairs_.data(), 0, length);
  const int reduced =
      zr_regexec_len(regex_, text.data(), 0, nullptr, 0, length);
  if (full == ZR_NOMATCH && reduced == ZR_NOMATCH) return false;
  if (full == ZR_OK) printMatch(name, text);
  explain(name, "with captures", full, reduced);
  explain(name, "without captures", reduced, full);
  return true;
}

// Tells of one way in which the subject was matched where that is news.
void RegexRun::explain(const std::string& name, const char* how, int code,
                       int other) {
  if (code == ZR_OK) {
    if (other == ZR_OK) return;
    printf("%s: a match %s only\n", Printable(name).c_str(), how);
  } else if (code != ZR_NOMATCH) {
    PrintError(
        name, std::string(how) + ": gave up with code " + std::to_string(code));
    keep(code == ZR_NOMEMORY ? kExitMemory : kExitData);
  }
}

void RegexRun::printMatch(const std::string& name, const std::string& text) {
  std::string out = Printable(name) + ":";
  for (size_t i = 0; i + 1 < pairs_.size(); ++i) {
    if (pairs_[i].start < 0) {
      out += " -";
      continue;
    }
    const size_t start = static_cast<size_t>(pairs_[i].start);
    const size_t end = static_cast<size_t>(pairs_[i].end);
    out += " (" + std::to_string(start) + "," + std::to_string(end) + ")" +
           Shown(text.substr(start, end - start));
  }
  printf("%s\n", out.c_str());
}

}  // namespace

void AddRegexCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<RegexOptions>();
  CLI::App* command =
      app.add_subcommand("regex", "Show what a pattern of a rule means");
  command->add_option("PATTERN", options->pattern, "The pattern")
      ->type_name("")
      ->required();
  command
      ->add_option("FILE", options->inputs,
                   "Files to match, or - for stdin; none: only compile")
      ->type_name("");
  command->add_flag("--fold", options->fold, "Fold case from the start");
  command->add_flag("--lines", options->lines,
                    "Match each line by itself; only those that match show");
  command->footer(
      "A match is shown as (start,end)'text', the whole first, then what each\n"
      "group took, - for a group that took no part. A pattern that begins "
      "with\n"
      "- needs -- in front. Exit code: 0, match or not; 65 when the pattern "
      "is\n"
      "refused; 71 when matching went beyond its limits.");
  command->callback(
      [options, exitCode]() { *exitCode = RegexRun(*options).run(); });
}
