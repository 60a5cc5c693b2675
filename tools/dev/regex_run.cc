// regex_run: the patterns that the code itself uses, and those that know mail
// programs by name, over every line of real mail; the engine and the tests'
// model of it must give the same answers.
//
//   regex_run [--patterns] PATH...
//
// A file is one message, a line what stands between two LF, without the CR at
// its end; up to the first empty line they are the header's. Lines of more
// than 8,192 bytes are cut there and counted. Each line is matched with and
// without captures. Prints the figures of the header's and of the body's
// lines; with --patterns a row for each pattern: lines that it matches.
//
// Exit 0: no difference; 1: a difference, or a file that cannot be read; 64:
// usage.

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "regex/regex_duel_util.h"
#include "regex/regex_pool.h"

namespace fs = std::filesystem;

namespace {

const size_t kMaxLine = 8192;
// For the model, on one call: its way through such a line may be long.
const uint64_t kBudget = 20000000;
const unsigned long kShown = 100;  // differences

struct Figures {
  unsigned long lines = 0, cut = 0, pairs = 0, matches = 0, unanswered = 0,
                differences = 0;
};

struct Pattern {
  std::string name;
  std::unique_ptr<RegexDuel> duel;
  unsigned long matches = 0;
};

class Runner {
 public:
  Runner();
  void runPath(const fs::path& root);
  bool compiled() const { return compiled_; }
  bool clean() const { return unread_ == 0 && differences() == 0; }
  void print(bool eachPattern) const;

 private:
  void add(const std::string& name, const char* text);
  void runFile(const std::string& path);
  void runLine(const std::string& path, std::string_view line,
               Figures* figures);
  unsigned long differences() const {
    return header_.differences + body_.differences;
  }

  std::vector<Pattern> patterns_;
  Figures header_, body_;
  unsigned long files_ = 0, unread_ = 0;
  bool compiled_ = true;
};

Runner::Runner() {
  for (const REGEXPOOL::Member& member : REGEXPOOL::kMembers)
    add(member.name, member.pattern);
  for (const AdnAgentRow& row : _Adn_Agent_Table)
    add(std::string("agent ") + row.code, row.pattern);
}

void Runner::add(const std::string& name, const char* text) {
  Pattern pattern;
  pattern.name = name;
  pattern.duel.reset(new RegexDuel(text, 0));
  pattern.duel->budget = kBudget;
  const std::string difference = pattern.duel->compareCompiled();
  if (!difference.empty() || !pattern.duel->compiled()) {
    printf("NOT COMPILED %s: %s\n", name.c_str(), difference.c_str());
    compiled_ = false;
  }
  patterns_.push_back(std::move(pattern));
}

void Runner::runPath(const fs::path& root) {
  if (!fs::is_directory(root)) {
    runFile(root.string());
    return;
  }
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry :
       fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) runFile(file.string());
}

void Runner::runFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    unread_++;
    printf("UNREAD %s\n", path.c_str());
    return;
  }
  const std::string text((std::istreambuf_iterator<char>(file)),
                         std::istreambuf_iterator<char>());
  files_++;
  Figures* figures = &header_;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    size_t size = end - begin;
    if (size > 0 && text[end - 1] == '\r') size--;
    if (size == 0) figures = &body_;
    runLine(path, {text.data() + begin, size}, figures);
    begin = end + 1;
  }
}

void Runner::runLine(const std::string& path, std::string_view line,
                     Figures* figures) {
  figures->lines++;
  if (line.size() > kMaxLine) {
    figures->cut++;
    line = line.substr(0, kMaxLine);
  }
  // A sanitizer sees a read behind the line.
  const std::unique_ptr<char[]> copy(new char[line.size()]);
  if (!line.empty()) memcpy(copy.get(), line.data(), line.size());
  for (Pattern& pattern : patterns_) {
    RegexDuel& duel = *pattern.duel;
    const uint64_t matched = duel.matched, unanswered = duel.unanswered;
    const std::string difference =
        duel.compare({copy.get(), line.size()}, duel.model().slots + 1);
    figures->pairs++;
    const bool matches = duel.matched > matched;
    figures->matches += matches;
    pattern.matches += matches;
    figures->unanswered += duel.unanswered > unanswered;
    if (difference.empty()) continue;
    if (differences() < kShown)
      printf("DIFFERENCE %s %s: %s\n", pattern.name.c_str(), path.c_str(),
             difference.c_str());
    figures->differences++;
  }
}

void Runner::print(bool eachPattern) const {
  if (eachPattern)
    for (const Pattern& pattern : patterns_)
      printf("%8lu %s\n", pattern.matches, pattern.name.c_str());
  printf("%lu files, %lu unread; %zu patterns\n", files_, unread_,
         patterns_.size());
  printf("%-6s %8s %5s %10s %8s %10s %11s\n", "", "lines", "cut", "pairs",
         "matches", "unanswered", "differences");
  for (const Figures* figures : {&header_, &body_})
    printf("%-6s %8lu %5lu %10lu %8lu %10lu %11lu\n",
           figures == &header_ ? "header" : "body", figures->lines,
           figures->cut, figures->pairs, figures->matches, figures->unanswered,
           figures->differences);
}

}  // namespace

int main(int argc, char** argv) {
  int i = 1;
  const bool eachPattern = i < argc && strcmp(argv[i], "--patterns") == 0;
  if (eachPattern) i++;
  if (i == argc || argv[i][0] == '-') {
    fprintf(stderr, "usage: regex_run [--patterns] PATH...\n");
    return 64;
  }
  Runner runner;
  if (!runner.compiled()) return 1;
  for (; i < argc; i++) runner.runPath(argv[i]);
  runner.print(eachPattern);
  return runner.clean() ? 0 : 1;
}
