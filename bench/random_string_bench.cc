// The speed of the tests for random strings and of the search for phone
// numbers, their share of a scan, and how their cost grows on text that was
// written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target random_string_bench
//   build/native/bench/random_string_bench [FOLDER|FILE...]
//
// With paths, at most kMaxMessages of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message and the bytes of the bodies a second of
//
//   phones   BlockParsePhones
//   random   RandomStringCount: IsRandomString of each word
//   triples  BadSeqCount of the whole body
//   rare     IsRandomBlock of each word
//   scan     parsing and check; the first row is a part of it
//
// Then a row for each hostile shape and function: the milliseconds at four
// sizes, each twice the one before, and the ratio of each doubling. Ratios
// above kWorstRatio are marked, and are worth a second run. Time is the
// thread's own, and the best of the rounds counts. Always exits 0.

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "content/phone.h"
#include "content/random_string.h"
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

void FindPhones(TBLOCK text) {
  OLIST phones;
  BlockParsePhones(text, phones, PO_DEFAULTOPTIONS);
  g_sink = g_sink + phones.len();
  while (phones.first) {
    const BLOCKPHONE* phone =
        static_cast<const BLOCKPHONE*>(phones.first->item);
    phones.remove(phone);
    delete phone;
  }
}

void CountRandom(TBLOCK text) {
  int32_t length = 0;
  g_sink = g_sink + RandomStringCount(text, length);
}

void CountTriples(TBLOCK text) {
  g_sink = g_sink + BadSeqCount(text);
}

void CountRare(TBLOCK text) {
  TBLOCKVECT words(1024);
  TBLOCK::GetBlockWordList(text, words, bitWordSep);
  for (int32_t i = 0; i < words.count(); i++)
    g_sink = g_sink + IsRandomBlock(words.get(i));
}

struct Work {
  const char* name;
  void (*run)(TBLOCK text);
};

const Work kWorks[] = {{"phones", FindPhones},
                       {"random", CountRandom},
                       {"triples", CountTriples},
                       {"rare", CountRare}};
const size_t kWorkCount = sizeof kWorks / sizeof *kWorks;

// ---- Real mail

void MeasureMail(std::vector<std::string> files) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  pool.addAllHardCodedRegexes();
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
  std::sort(files.begin(), files.end());
  const size_t n = std::min(files.size(), kMaxMessages);
  double best[kWorkCount + 1];
  std::fill(best, best + kWorkCount + 1, 1e9);
  uint64_t bytes = 0;
  for (int round = 0; round < kRounds; round++) {
    double seconds[kWorkCount + 1] = {};
    bytes = 0;
    for (size_t i = 0; i < n; i++) {
      TQMMSG m(&pool, dico.stuff, nullptr, 0, 0);
      m.fixedTime = 1700000000;
      const std::string& path = files[i * files.size() / n];
      if (!m.loadFromFile(path.c_str(), nullptr, 0)) continue;
      double start = Now();
      m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, nullptr, 0);
      seconds[kWorkCount] += Now() - start;
      // A scan that ended at the header has no body yet.
      if (m.body.empty()) m.parse(0);
      bytes += m.body.length;
      for (size_t k = 0; k < kWorkCount; k++) {
        start = Now();
        kWorks[k].run(m.body);
        seconds[k] += Now() - start;
      }
    }
    for (size_t k = 0; k <= kWorkCount; k++)
      best[k] = std::min(best[k], seconds[k]);
  }
  printf("%zu messages, %.1f MB of bodies\n", n, double(bytes) / 1e6);
  for (size_t k = 0; k <= kWorkCount; k++)
    printf("%-8s %9.2f us a message %9.1f MB/s %7.2f %% of a scan\n",
           k < kWorkCount ? kWorks[k].name : "scan", best[k] / double(n) * 1e6,
           double(bytes) / best[k] / 1e6, 100 * best[k] / best[kWorkCount]);
}

// ---- Hostile text, all in one line

struct Shape {
  const char* name;
  std::string unit;
};

const Shape kShapes[] = {
    {"digits", "1"},
    {"near-digits", "l"},
    {"a digit and near-digits", "1 llllllllllllllllllllllllllllllllll"},
    {"blanks", " "},
    {"dots", "."},
    {"single digits", "1 "},
    {"dotted digits", "1."},
    {"digits and letters", "1a"},
    {"digits and near-digits", "1l"},
    {"long groups", "12345678901234 "},
    {"one number", "206 555-1234, "},
    {"numbers, far apart", "0123456789!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!"},
    {"addresses", "192.0.2.1 "},
    {"plus signs", "+(+("},
    {"URLs of digits", "http:0123456789,,,,"},
    {"digits of a URL", "0123456789,,,,"},
    {"dates", "2007-04-05 17, "},
    {"letters", "qzxvbn"},
    {"words", "qzxvbn "},
    {"one letter", "a"},
    {"dashes", "-"},
    {"backslashes", "\\a"},
    {"half marks", "smtRzneJK9"},
};

double BestOf(const Work& work, TBLOCK text) {
  double best = 1e9;
  for (int round = 0; round < kRounds; round++) {
    const double start = Now();
    work.run(text);
    best = std::min(best, Now() - start);
  }
  return best;
}

void MeasureShape(const Shape& shape, const Work& work) {
  printf("%-8s %-24s", work.name, shape.name);
  double before = 0;
  bool bad = false;
  std::string ratios;
  for (size_t size : kSizes) {
    std::string text;
    while (text.size() < size) text += shape.unit;
    const double best =
        BestOf(work, TBLOCK(text.data(), static_cast<uint32_t>(size)));
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

// Distinct numbers, more than a list takes; and the same few again.
void MeasureNumbers() {
  for (int distinct : {250, 100000}) {
    Shape shape = {distinct == 250 ? "250 numbers in turn" : "all different",
                   ""};
    for (int i = 0; shape.unit.size() < kSizes[3]; i++)
      shape.unit += std::to_string(10000000000 + i % distinct) + "; ";
    MeasureShape(shape, kWorks[0]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> files;
  for (int i = 1; i < argc; i++) {
    if (!std::filesystem::is_directory(argv[i])) {
      files.push_back(argv[i]);
      continue;
    }
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(argv[i]))
      if (entry.is_regular_file()) files.push_back(entry.path());
  }
  if (!files.empty()) MeasureMail(files);
  for (const Work& work : kWorks)
    for (const Shape& shape : kShapes) MeasureShape(shape, work);
  MeasureNumbers();
  return 0;
}
