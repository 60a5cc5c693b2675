// The speed of reading address fields and of judging senders, their share of a
// scan, and how the cost grows on fields that were written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target mailbox_bench
//   build/native/bench/mailbox_bench [FOLDER|FILE...]
//
// With paths, at most kMaxMessages of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message, the bytes of its address fields a second, and the
// share of a scan, of
//
//   boxes    ParseEmailAddressesWithAdn of all address fields, which is more
//            than a scan does
//   judge    the judgements on the sender
//   From     TQMMSG::checkFrom
//   scan     parsing and check
//
// Then a row for each hostile shape: the milliseconds of reading a field,
// judging it as one mailbox and asking whether the list is sorted, at four
// sizes, each twice the one before, and the ratio of each doubling. Ratios
// above kWorstRatio are marked, and are worth a second run. Time is the
// thread's own, and the best of the rounds counts. Always exits 0.

#include <dirent.h>
#include <malloc.h>
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

#include "content/mailbox.h"
#include "content/sender_judge.h"
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

void Judge(const TMAILBOX& box) {
  g_sink = g_sink + CheckForgedMailBox(box) + CheckEmailScheme(box) +
           GetFallScheme(box);
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

uint64_t ReadFields(const TQMMSG& m) {
  uint64_t bytes = 0;
  for (TBLOCK field :
       {m.from, m.to, m.cc, m.bcc, m.replyTo, m.returnPath, m.sender}) {
    TMAILBOXVECT boxes(0);
    STR shapes;
    g_sink = g_sink + ParseEmailAddressesWithAdn(field, boxes, shapes);
    bytes += field.length;
  }
  return bytes;
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
    if (!parse) return m;
    m->parse(0);
    m->parseWords();
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
      {"boxes", [](TQMMSG& m) { ReadFields(m); }, true, 1e9, 0},
      {"judge", [](TQMMSG& m) { Judge(m.fromBox); }, true, 1e9, 0},
      {"From", [](TQMMSG& m) { m.checkFrom(); }, true, 1e9, 0},
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
        if (&row == rows) bytes += ReadFields(*m);
        const double start = Now();
        row.work(*m);
        row.seconds += Now() - start;
      }
    }
    for (Row& row : rows) row.best = std::min(row.best, row.seconds);
  }
  printf("%zu messages, %.3f MB of address fields\n", n, double(bytes) / 1e6);
  for (const Row& row : rows)
    printf("%-6s %9.2f us a message %9.1f MB/s %7.2f %% of a scan\n", row.name,
           row.best / double(n) * 1e6, double(bytes) / row.best / 1e6,
           100 * row.best / rows[3].best);
}

// ---- Hostile fields

struct Shape {
  const char* name;
  std::string head, unit, tail;
};

const std::string k4k(4000, 'a'), k2k(2000, 'a');

const Shape kShapes[] = {
    {"recipients", "", "john@example.org,", ""},
    {"named recipients", "", "John Smith <jsmith@example.org>,", ""},
    {"one name", "", "ab ", "<a@b.org>"},
    {"one word", "", "a", "<a@b.org>"},
    {"\"a\" ahead of \"a\"", k4k + "b ", "a", "@b.org>"},
    {"local part", "<", "a", "@b.org>"},
    {"name of capitals", "", "aB", " <a@b.org>"},
    {"words of one letter", "a ", "a ", "<aaaaaaaaaaaaaaaa@b.org>"},
    {"overlaps", "", k2k + "b" + k2k + "c X <" + k4k + "@b.org>,", ""},
    {"address in the name", "", k2k + k2k + " <" + k2k + "b@b.org>,", ""},
    {"\"<\"", "", "<", ""},
    {"\">\"", "", ">", ""},
    {"\"<\" and \">\"", "", "<", ">"},
    {"\"<>\"", "", "<>", ""},
    {"\"(\"", "", "(", ")"},
    {"quotation marks", "", "\"", ""},
    {"pairs of both", "", "\"'", "\"'"},
    {"apostrophes and at signs", "", "'@", ""},
    {"commas", "", ",", ""},
    {"commas and letters", "", "a,", ""},
    {"at signs", "", "@", ""},
    {"dots", "a@", ".", "b"},
    {"labels", "a@", "a.", "b"},
    {"dots ahead of \"@\"", "<", ".", "@b.org>"},
    {"backslashes", "\"", "\\", "\" <a@b.org>"},
    {"roles nearly", "", "infnewpost", "<abcdef@b.org>"},
    {"digits", "", "1 ", "<abcdef@b.org>"},
};

std::string MakeField(const Shape& shape, size_t size) {
  std::string text = shape.head;
  while (text.size() + shape.unit.size() + shape.tail.size() <= size)
    text += shape.unit;
  return text + shape.tail;
}

double Measure(const std::string& field) {
  const TBLOCK text(field.data(), static_cast<uint32_t>(field.size()));
  double best = 1e9;
  for (int round = 0; round < kRounds; round++) {
    const double start = Now();
    TMAILBOXVECT boxes(0);
    STR shapes;
    const TMAILBOX whole = ParseMailBox(text);
    g_sink = g_sink + ParseEmailAddressesWithAdn(text, boxes, shapes) +
             CheckSortedRecips(boxes, whole);
    Judge(whole);
    best = std::min(best, Now() - start);
  }
  return best;
}

void MeasureShape(const Shape& shape) {
  printf("%-24s", shape.name);
  double before = 0;
  bool bad = false;
  std::string ratios;
  for (size_t size : kSizes) {
    const double best = Measure(MakeField(shape, size));
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
  // Freed memory is kept: how often the system takes pages back jumps with the
  // size.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  std::vector<std::string> files;
  for (int i = 1; i < argc; i++) AddFiles(argv[i], files);
  if (!files.empty()) MeasureMail(files);
  for (const Shape& shape : kShapes) MeasureShape(shape);
  return 0;
}
