// The speed of reading relay lines and of judging them, their share of a scan,
// what the patterns of templates cost, and how the cost grows on lines that
// were written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target received_bench
//   build/native/bench/received_bench [FOLDER|FILE...]
//
// With paths, at most kMaxMessages of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message, the bytes of its relay lines a second, and the share
// of a scan, of
//
//   clauses   BLOCKRECEIVED of all relay lines
//   template  RECEIVEDWARE::getReceivedAdn of them
//   check     TQMMSG::checkReceived
//   scan      parsing and check
//
// Then the microseconds of making a RECEIVEDWARE from a pool that knows its
// patterns and from one that does not. Then a row for each hostile shape: the
// milliseconds of reading and checking a header, at four sizes, each twice the
// one before, and the ratio of each doubling. Ratios above kWorstRatio are
// marked, and are worth a second run. Time is the thread's own, and the best
// of the rounds counts. Always exits 0.

#include <dirent.h>
#include <malloc.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "regex/regex_pool.h"
#include "rules/qm_dico.h"
#include "scan/tqmmsg.h"

namespace {

const size_t kMaxMessages = 1000;
const int kRounds = 5;
const size_t kSizes[] = {25600, 51200, 102400, 204800};
const double kWorstRatio = 2.4;

typedef size_t N;
typedef std::string S;

// Keeps what is computed from being left out.
volatile int64_t g_sink;

double Now() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// ---- Real mail

void AddFiles(const S& path, std::vector<S>& files) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return;
  if (S_ISREG(info.st_mode)) files.push_back(path);
  if (!S_ISDIR(info.st_mode)) return;
  DIR* directory = opendir(path.c_str());
  while (const dirent* entry = directory ? readdir(directory) : nullptr)
    if (entry->d_name[0] != '.') AddFiles(path + "/" + entry->d_name, files);
  if (directory) closedir(directory);
}

void Clauses(TQMMSG& m) {
  for (int32_t i = 0; i < m.receivedFields.count(); i++) {
    const BLOCKRECEIVED line(m.receivedFields.get(i), nullptr, m.pool);
    g_sink = g_sink + line.from.length;
  }
}

void Templates(TQMMSG& m) {
  STR adn(256);
  for (int32_t i = 0; i < m.receivedFields.count(); i++) {
    m.receivedWare.getReceivedAdn(m.receivedFields.get(i), adn, 0);
    g_sink = g_sink + adn.len();
  }
}

void Check(TQMMSG& m) {
  m.checkReceived();
}

void Scan(TQMMSG& m) {
  m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, nullptr, 0);
}

void MeasureMail(std::vector<S> files) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  pool.addAllHardCodedRegexes();
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
  struct {
    const char* name;
    void (*work)(TQMMSG&);
    double best, seconds;
  } rows[] = {{"clauses", Clauses, 1e9, 0},
              {"template", Templates, 1e9, 0},
              {"check", Check, 1e9, 0},
              {"scan", Scan, 1e9, 0}};
  std::sort(files.begin(), files.end());
  const size_t n = std::min(files.size(), kMaxMessages);
  uint64_t bytes = 0, lines = 0;
  for (int round = 0; round < kRounds; round++) {
    for (auto& row : rows) row.seconds = 0;
    bytes = lines = 0;
    for (size_t i = 0; i < n; i++) {
      const S& path = files[i * files.size() / n];
      for (auto& row : rows) {
        TQMMSG m(&pool, dico.stuff, nullptr, 0, 0);
        m.fixedTime = 1700000000;
        if (!m.loadFromFile(path.c_str(), nullptr, 0)) continue;
        if (row.work != Scan) m.parseHeader();
        const double start = Now();
        row.work(m);
        row.seconds += Now() - start;
        if (row.work != Clauses) continue;
        lines += static_cast<uint64_t>(m.receivedFields.count());
        for (int32_t k = 0; k < m.receivedFields.count(); k++)
          bytes += m.receivedFields.get(k).length;
      }
    }
    for (auto& row : rows) row.best = std::min(row.best, row.seconds);
  }
  printf("%zu messages, %zu relay lines, %.3f MB\n", n, size_t(lines),
         double(bytes) / 1e6);
  for (const auto& row : rows)
    printf("%-10s %9.2f us a message %9.2f MB/s %7.3f %% of a scan\n", row.name,
           row.best / double(n) * 1e6, double(bytes) / row.best / 1e6,
           row.best / rows[3].best * 100);
}

// ---- Patterns

void MeasurePatterns() {
  REGEXPOOL known;
  known.addAllHardCodedRegexes();
  for (REGEXPOOL* pool : {&known, static_cast<REGEXPOOL*>(nullptr)}) {
    const int kTimes = 200;
    double best = 1e9;
    for (int round = 0; round < kRounds; round++) {
      const double start = Now();
      for (int i = 0; i < kTimes; i++) {
        const auto ware = std::make_unique<RECEIVEDWARE>(pool);
        g_sink = g_sink + reinterpret_cast<intptr_t>(ware.get());
      }
      best = std::min(best, Now() - start);
    }
    printf("patterns %s: %.3f us\n", pool ? "looked up" : "compiled",
           best / kTimes * 1e6);
  }
}

// ---- Hostile shapes

// The unit again and again, up to n bytes.
S Repeat(N n, const S& unit, const S& tail = "") {
  S out;
  while (out.size() + unit.size() + tail.size() <= n) out += unit;
  return out + tail;
}

const char kServer[] = "Sun Java System Messaging Server ";

// In as many comments as templates follow.
S Nested(const S& text) {
  return S(32, '(') + text + S(32, ')');
}

const struct {
  const char* name;
  S (*make)(N n);  // what follows "Received:"
} kShapes[] = {
    {"(", [](N n) { return Repeat(n, "("); }},
    {"( and )", [](N n) { return Repeat(n / 2, "(") + Repeat(n / 2, ")"); }},
    {"()", [](N n) { return Repeat(n, "()"); }},
    {"(()", [](N n) { return Repeat(n, "(()"); }},
    {"[", [](N n) { return Repeat(n, "["); }},
    {"[]", [](N n) { return Repeat(n, "[]"); }},
    {"<", [](N n) { return Repeat(n, "<"); }},
    {"mixed brackets", [](N n) { return Repeat(n, "([<\""); }},
    {"quotes", [](N n) { return Repeat(n, "\""); }},
    {"escaped quotes", [](N n) { return Repeat(n, "\"\\"); }},
    {";", [](N n) { return Repeat(n, ";"); }},
    {"; and dates", [](N n) { return Repeat(n, ";1 Jan 2007 10:00:00 "); }},
    {"; and digits", [](N n) { return Repeat(n, ";1 1 1 1 1 1 1 1 1 1 "); }},
    {"= and words", [](N n) { return Repeat(n, "=by=1"); }},
    {"one word", [](N n) { return Repeat(n, "a"); }},
    {"one word of digits", [](N n) { return Repeat(n, "1"); }},
    {"one word of dots", [](N n) { return Repeat(n, "a."); }},
    {"one word of \"@\"", [](N n) { return Repeat(n, "a@"); }},
    {"one word of tabs", [](N n) { return "a" + Repeat(n, "\t", "a"); }},
    {"words of 1000 letters",
     [](N n) { return Repeat(n, S(1000, 'a') + ". "); }},
    {"words of 1000 dots",
     [](N n) { return Repeat(n, Repeat(1000, "a.") + " "); }},
    {"addresses", [](N n) { return Repeat(n, "from 192.0.2.1 by a.org "); }},
    {"near addresses", [](N n) { return "from " + Repeat(n, "1.2.3 "); }},
    {"keywords", [](N n) { return Repeat(n, "from by via with id for "); }},
    {"<> of for", [](N n) { return Repeat(n, "for <<<a@b.org>>> "); }},
    {"comments of digits",
     [](N n) { return Repeat(n, "(" + S(8000, '1') + ") "); }},
    {"comments of versions",
     [](N n) { return Repeat(n, "(" + Repeat(8000, "1.1.1/1.1.") + ") "); }},
    {"nested comments of versions",
     [](N n) { return Repeat(n, Nested(Repeat(7900, "1.1.11/1.1."))); }},
    {"nested comments of digits",
     [](N n) { return Repeat(n, Nested(S(7900, '1'))); }},
    {"nested comments of a server",
     [](N n) {
       return Repeat(n, Nested(Repeat(4000, kServer) + Repeat(3900, "(built")));
     }},
    {"short nested comments",
     [](N n) {
       return Repeat(n, Nested("Microsoft Exchange Internet Mail Service"));
     }},
    {"near dates", [](N n) { return Repeat(n, "Mon, 3"); }},
    {"by and versions",
     [](N n) { return "by " + Repeat(n, "(8.8.8", " id A"); }},
    {"id and blanks",
     [](N n) {
       return "by (Sun Java System Messaging Server 6 id " + Repeat(n, "( ");
     }},
    {"id of digits", [](N n) { return "id " + Repeat(n, "1"); }},
    {"a web mail line",
     [](N n) { return "from x with DAV; " + Repeat(n, "1"); }},
    {"a service's version",
     [](N n) {
       return "with Microsoft SMTPSVC(" + Repeat(n, "SMTPSVC(1.1.1.");
     }},
    {"fields, one byte", [](N n) { return "x" + Repeat(n, "\nReceived:x"); }},
    {"fields",
     [](N n) {
       return "x" + Repeat(n,
                           "\nReceived: from a (b [192.0.2.1]) by c; "
                           "Mon, 3 Mar 2008 10:00:00 +0100");
     }},
    {"fields of long templates",
     [](N n) { return "x" + Repeat(n, "\nReceived: " + Repeat(140, "1 ")); }},
};

void MeasureShape(const char* name, S (*make)(N), REGEXPOOL& pool) {
  printf("%-28s", name);
  double best[4];
  for (size_t i = 0; i < 4; i++) {
    const S mail = "Received: " + make(kSizes[i] - 30) + "\n\nx";
    best[i] = 1e9;
    for (int round = 0; round < kRounds; round++) {
      TQMMSG m(&pool, nullptr, nullptr, 0, 0);
      m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())),
                      nullptr, 0);
      const double start = Now();
      m.parseHeader();
      m.checkReceived();
      best[i] = std::min(best[i], Now() - start);
    }
    printf(" %9.3f", best[i] * 1e3);
  }
  bool marked = false;
  for (size_t i = 1; i < 4; i++) {
    printf(" %5.2f", best[i] / best[i - 1]);
    marked = marked || best[i] / best[i - 1] > kWorstRatio;
  }
  printf("%s\n", marked ? "  <--" : "");
}

}  // namespace

int main(int argc, char** argv) {
  // Freed memory is kept: how often the system takes pages back and clears
  // them anew jumps with the size.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  std::vector<S> files;
  for (int i = 1; i < argc; i++) AddFiles(argv[i], files);
  if (!files.empty()) MeasureMail(files);
  MeasurePatterns();
  REGEXPOOL pool;
  pool.addAllHardCodedRegexes();
  printf("%-28s", "milliseconds at bytes");
  for (size_t size : kSizes) printf(" %9zu", size);
  printf("\n");
  for (const auto& shape : kShapes) MeasureShape(shape.name, shape.make, pool);
  return 0;
}
