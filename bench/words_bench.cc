// The speed of cutting bodies into words, its share of a scan, and how its cost
// grows on text that was written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target words_bench
//   build/native/bench/words_bench [FOLDER|FILE...]
//
// With paths, at most kMaxMessages of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message and the bytes of the bodies a second of
//
//   cutter   all words by a WORDCUTTER for each line
//   NextWord the same by NextWord
//   lines    ParseLinesWords
//   doubled  MultiLowersWordCount of what that gives
//   words    TQMMSG::parseWords, with the subject, the display name and the
//            patterns for lines
//   scan     parsing and check, of which all but the second row are parts
//
// Then a row for each hostile shape, of ParseLinesWords and of NextWord: the
// milliseconds at four sizes, each twice the one before, and the ratio of each
// doubling. Ratios above kWorstRatio are marked, and are worth a second run.
// Time is the thread's own, and the best of the rounds counts. Always exits 0.

#include <dirent.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "content/word_tests.h"
#include "content/words.h"
#include "regex/regex_pool.h"
#include "rules/qm_dico.h"
#include "scan/tqmmsg.h"

namespace {

const size_t kMaxMessages = 1000;
const int kRounds = 5;
const size_t kSizes[] = {25600, 51200, 102400, 204800};
const double kWorstRatio = 2.4;

// Keeps what is computed from being left out.
volatile int64_t g_sink;

double Now() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// ---- Real mail

void AddFiles(const std::string& path, std::vector<std::string>& files) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return;
  if (S_ISREG(info.st_mode)) files.push_back(path);
  if (!S_ISDIR(info.st_mode)) return;
  DIR* directory = opendir(path.c_str());
  while (const dirent* entry = directory ? readdir(directory) : nullptr)
    if (entry->d_name[0] != '.') AddFiles(path + "/" + entry->d_name, files);
  if (directory) closedir(directory);
}

void CutAll(const TQMMSG& m) {
  TBLOCK word;
  for (int32_t i = 0; i < m.bodyLines.count(); i++) {
    WORDCUTTER cutter(m.bodyLines.get(i));
    while (const int32_t kind = cutter.next(word)) g_sink = g_sink + kind;
  }
}

void NextAll(const TQMMSG& m) {
  TBLOCK word;
  for (int32_t i = 0; i < m.bodyLines.count(); i++) {
    TBLOCK rest = m.bodyLines.get(i);
    while (const int32_t kind = NextWord(rest, word)) g_sink = g_sink + kind;
  }
}

void CutLines(const TBLOCKVECT& lines) {
  TBLOCKVECT words(1024), mails(16);
  STR letters;
  ParseLinesWords(letters, nullptr, lines, words, &mails);
  g_sink = g_sink + words.count();
}

struct Row {
  const char* name;
  std::function<void(TQMMSG&)> work;
  bool parsed;  // the work begins with a parsed message
  double best, seconds;
};

class Context {
 public:
  Context() : dico(&pool, nullptr) {
    pool.addAllHardCodedRegexes();
    dico.precompileRegexesIntoPool();
    dico.prepareRules();
  }
  std::unique_ptr<TQMMSG> load(const std::string& path, bool parse) {
    auto m = std::make_unique<TQMMSG>(&pool, dico.stuff, nullptr, 0, 0);
    m->fixedTime = 1700000000;
    if (!m->loadFromFile(path.c_str(), nullptr, 0)) return nullptr;
    if (parse) m->parse(0);
    return m;
  }

 private:
  REGEXPOOL pool;
  TQMDICO dico;
};

void MeasureMail(std::vector<std::string> files) {
  Context context;
  std::sort(files.begin(), files.end());
  const size_t n = std::min(files.size(), kMaxMessages);
  Row rows[] = {
      {"cutter", CutAll, true, 1e9, 0},
      {"NextWord", NextAll, true, 1e9, 0},
      {"lines", [](TQMMSG& m) { CutLines(m.bodyLines); }, true, 1e9, 0},
      {"doubled",
       [](TQMMSG& m) {
         g_sink = g_sink + MultiLowersWordCount(m.bodyWords, 3);
       },
       true, 1e9, 0},
      {"words", [](TQMMSG& m) { m.parseWords(); }, true, 1e9, 0},
      {"scan",
       [](TQMMSG& m) {
         m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, nullptr, 0);
       },
       false, 1e9, 0},
  };
  uint64_t bytes = 0;
  for (int round = 0; round < kRounds; round++) {
    bytes = 0;
    for (Row& row : rows) row.seconds = 0;
    for (size_t i = 0; i < n; i++) {
      for (Row& row : rows) {
        const auto m = context.load(files[i * files.size() / n], row.parsed);
        if (!m) continue;
        if (&row == rows) bytes += m->body.length;
        if (!strcmp(row.name, "doubled")) m->parseWords();
        const double start = Now();
        row.work(*m);
        row.seconds += Now() - start;
      }
    }
    for (Row& row : rows) row.best = std::min(row.best, row.seconds);
  }
  printf("%zu messages, %.1f MB of bodies\n", n, double(bytes) / 1e6);
  for (const Row& row : rows)
    printf("%-9s %9.2f us a message %9.1f MB/s %7.2f %% of a scan\n", row.name,
           row.best / double(n) * 1e6, double(bytes) / row.best / 1e6,
           100 * row.best / rows[5].best);
}

// ---- Hostile text, all in one line

struct Shape {
  const char* name;
  std::string head, unit;
};

const Shape kShapes[] = {
    {"one word", "", "a"},
    {"short words", "", "a "},
    {"quotation marks", "", "a\""},
    {"quotation marks, at sign ahead", "", "a\"a\"a\"a\"a\"a\"a\"a@b_"},
    {"at signs", "", "@"},
    {"addresses", "", "a@b.c "},
    {"quoted addresses", "", "\"a@b.c\" "},
    {"capitals", "", "A"},
    {"capitals and not", "", "aB"},
    {"short words of capitals", "", "aB "},
    {"dashes", "", "-"},
    {"dashes and letters", "", "a-"},
    {"words of dashes", "", "aa-bb "},
    {"dots", "", "."},
    {"commas and dots", "", ",.a"},
    {"commas", "", "a,"},
    {"commas, no URL ahead", "", "a,a,a,a,a,a,a,a,a.com!"},
    {"letters and commas", "", "aB,-c,"},
    {"ends of hosts", "", ".com,"},
    {"URLs", "", "www.a "},
    {"one URL", "http://", "a"},
    {"drives", "", "a:"},
    {"backslashes", "", "a:\\b"},
    {"numbers", "", "1 "},
    {"digits", "", "1,"},
    {"currency", "", "$1"},
    {"separators", "", "("},
    {"marks", "", "!%IMG%!"},
    {"half marks", "", "!%IMG"},
    {"exclamation marks", "", "!"},
    {"apostrophes", "", "l'a "},
};

double BestOf(const std::function<void()>& work) {
  double best = 1e9;
  for (int round = 0; round < kRounds; round++) {
    const double start = Now();
    work();
    best = std::min(best, Now() - start);
  }
  return best;
}

void MeasureShape(const Shape& shape, bool byNextWord) {
  printf("%-9s %-31s", byNextWord ? "NextWord" : "lines", shape.name);
  double before = 0;
  bool bad = false;
  std::string ratios;
  for (size_t size : kSizes) {
    std::string text = shape.head;
    while (text.size() < size) text += shape.unit;
    const TBLOCK line(text.data(), static_cast<uint32_t>(size));
    TBLOCKVECT lines(1);
    lines.add(line, 0, 0);
    const double best = BestOf([&] {
      if (!byNextWord) return CutLines(lines);
      TBLOCK rest = line, word;
      while (const int32_t kind = NextWord(rest, word)) g_sink = g_sink + kind;
    });
    printf(" %8.3f", best * 1e3);
    if (before > 0) {
      char ratio[16];
      snprintf(ratio, sizeof ratio, " %5.2f", best / before);
      ratios += ratio;
      bad = best / before > kWorstRatio;
    }
    before = best;
  }
  printf("%s%s\n", ratios.c_str(), bad ? "  <-- too much" : "");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> files;
  for (int i = 1; i < argc; i++) AddFiles(argv[i], files);
  if (!files.empty()) MeasureMail(files);
  for (const Shape& shape : kShapes) {
    MeasureShape(shape, false);
    MeasureShape(shape, true);
  }
  return 0;
}
