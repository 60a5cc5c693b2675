// regex_run: the patterns that the code itself uses, and those that know mail
// programs by name, over every line of real mail; the engine and the tests'
// model of it must give the same answers.
//
//   regex_run [--patterns] PATH...
//
// A file is one message, a line what stands between two LF, without the CR at
// its end; up to the first empty line they are the header's. Many patterns are
// meant for less than a line or for more, so these are taken as well: what
// stands behind the colon of a header's line, each of its words, within angle
// brackets too, and the body as a whole. Texts of more than 8,192 bytes are
// cut there and counted. Each text is matched with and without captures.
// Prints figures for each kind of text; with --patterns a row for each
// pattern: texts that it matches.
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

const size_t kMaxText = 8192;
// For the model, on one call: its way through such a text may be long.
const uint64_t kBudget = 20000000;
const unsigned long kShown = 100;  // differences

struct Figures {
  unsigned long texts = 0, cut = 0, pairs = 0, matches = 0, unanswered = 0,
                differences = 0;
};

struct Pattern {
  std::string name;
  std::unique_ptr<RegexDuel> duel;
  unsigned long matches = 0;
};

enum { kHeaderLine, kBodyLine, kValue, kWord, kBody, kTextKinds };
const char* const kTextNames[kTextKinds] = {"header line", "body line", "value",
                                            "word", "body"};

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
  void runValue(const std::string& path, std::string_view line);
  void runText(const std::string& path, std::string_view text, int kind);
  unsigned long differences() const;

  std::vector<Pattern> patterns_;
  Figures figures_[kTextKinds];
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
  if (!pattern.duel->compiled()) {
    printf("NOT COMPILED %s\n", name.c_str());
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
  int kind = kHeaderLine;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    size_t size = end - begin;
    if (size > 0 && text[end - 1] == '\r') size--;
    const std::string_view line(text.data() + begin, size);
    begin = end + 1;
    if (kind == kHeaderLine && size == 0) {
      kind = kBodyLine;
      // With the line end ahead of it, which patterns ask for.
      runText(path, std::string_view(text).substr(end), kBody);
    }
    runText(path, line, kind);
    if (kind == kHeaderLine) runValue(path, line);
  }
}

unsigned long Runner::differences() const {
  unsigned long sum = 0;
  for (const Figures& figures : figures_) sum += figures.differences;
  return sum;
}

// The parts of a header's line that checks look at by themselves.
void Runner::runValue(const std::string& path, std::string_view line) {
  const size_t colon = line.find(": ");
  if (colon != line.npos) line = line.substr(colon + 2);
  runText(path, line, kValue);
  while (!line.empty()) {
    const size_t size = std::min(line.find_first_of(" \t"), line.size());
    std::string_view word = line.substr(0, size);
    if (size > 0) runText(path, word, kWord);
    if (size > 2 && word.front() == '<')
      runText(path, word.substr(1, word.rfind('>') - 1), kWord);
    line = line.substr(std::min(size + 1, line.size()));
  }
}

void Runner::runText(const std::string& path, std::string_view text, int kind) {
  Figures* const figures = &figures_[kind];
  figures->texts++;
  if (text.size() > kMaxText) {
    figures->cut++;
    text = text.substr(0, kMaxText);
  }
  // A sanitizer sees a read behind the text.
  const std::unique_ptr<char[]> copy(new char[text.size()]);
  if (!text.empty()) memcpy(copy.get(), text.data(), text.size());
  for (Pattern& pattern : patterns_) {
    RegexDuel& duel = *pattern.duel;
    const uint64_t matched = duel.matched, unanswered = duel.unanswered;
    const std::string difference =
        duel.compare({copy.get(), text.size()}, duel.model().slots + 1);
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
  printf("%-11s %8s %5s %10s %8s %10s %11s\n", "", "texts", "cut", "pairs",
         "matches", "unanswered", "differences");
  for (int kind = 0; kind < kTextKinds; kind++) {
    const Figures& row = figures_[kind];
    printf("%-11s %8lu %5lu %10lu %8lu %10lu %11lu\n", kTextNames[kind],
           row.texts, row.cut, row.pairs, row.matches, row.unanswered,
           row.differences);
  }
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
