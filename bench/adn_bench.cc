// The speed of shapes of values, their share of a scan, and how their cost
// grows on text that was written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target adn_bench
//   build/native/bench/adn_bench [FOLDER|FILE...]
//
// With paths, at most kMaxMessages of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message and the bytes a second of
//
//   text      the start of the body as the field AdnText has it
//   body      all of the body the same way
//   ids       the Message-ID, with the date
//   bounds    the boundary, with a look for random runs
//   subjects  the subject, the same
//   from      GetEmailRegex of From
//   bytes     GetBlockCharAdn of the body
//   scan      parsing and check, of which all but the second row are parts
//
// Then a row for each hostile shape: the milliseconds at four sizes, each twice
// the one before, and the ratio of each doubling. Ratios above kWorstRatio are
// marked, and are worth a second run. Time is the thread's own, and the best of
// the rounds counts. Always exits 0.

#include <dirent.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "content/adn.h"
#include "regex/regex_pool.h"
#include "rules/qm_dico.h"
#include "scan/tqmmsg.h"

namespace {

const size_t kMaxMessages = 1000;
const int kRounds = 5;
const int32_t kNow = 1700000000;
const size_t kSizes[] = {25600, 51200, 102400, 204800};
const double kWorstRatio = 2.4;
const uint32_t kTextFlags = adnUrl | adnNoSpace | adnMail;
const uint32_t kMaxTextAdn = 2048;

// Keeps what is computed from being left out.
volatile int64_t g_sink;

double Now() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

void Shape(TBLOCK text, const char* keep, uint32_t flags,
           const BLOCKDATE* date) {
  STR adn;
  AdnFromBlock(text, adn, keep, flags, {date, kNow}, nullptr);
  g_sink = g_sink + adn.len();
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

class Context {
 public:
  Context() : dico(&pool, nullptr) {
    pool.addAllHardCodedRegexes();
    dico.precompileRegexesIntoPool();
    dico.prepareRules();
  }
  std::unique_ptr<TQMMSG> load(const std::string& path, bool parse) {
    auto m = std::make_unique<TQMMSG>(&pool, dico.stuff, nullptr, 0, 0);
    m->fixedTime = kNow;
    if (!m->loadFromFile(path.c_str(), nullptr, 0)) return nullptr;
    if (parse) m->parse(0);
    return m;
  }

 private:
  REGEXPOOL pool;
  TQMDICO dico;
};

struct Row {
  const char* name;
  std::function<uint32_t(TQMMSG&)> work;  // returns the bytes that it read
  double best, seconds;
  uint64_t bytes;
};

uint32_t Scan(TQMMSG& m) {
  m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, nullptr, 0);
  return m.body.length;
}

void MeasureMail(std::vector<std::string> files) {
  Context context;
  std::sort(files.begin(), files.end());
  const size_t n = std::min(files.size(), kMaxMessages);
  const auto row = [](const char* name, TBLOCK TQMMSG::*value, const char* keep,
                      uint32_t flags, uint32_t most, bool dated) {
    return Row{name,
               [=](TQMMSG& m) {
                 const TBLOCK text = (m.*value).head(most);
                 Shape(text, keep, flags, dated ? &m.messageDate : nullptr);
                 return text.length;
               },
               1e9, 0, 0};
  };
  const char* const ids = "javamail,qmail,root,squirrel";
  Row rows[] = {
      row("text", &TQMMSG::body, nullptr, kTextFlags, kMaxTextAdn, false),
      row("body", &TQMMSG::body, nullptr, kTextFlags, UINT32_MAX, false),
      row("ids", &TQMMSG::messageId, ids, adnRepeat, UINT32_MAX, true),
      row("bounds", &TQMMSG::boundary, "nextpart,boundary",
          adnRepeat | adnRandom, UINT32_MAX, false),
      row("subjects", &TQMMSG::subject, "RE,TR,FW,WG", adnRepeat | adnRandom,
          UINT32_MAX, false),
      {"from",
       [](TQMMSG& m) {
         STR out;
         GetEmailRegex(m.from, &m.dico, out, kNow);
         return m.from.length;
       },
       1e9, 0, 0},
      {"bytes",
       [](TQMMSG& m) {
         STR counts, presence;
         GetBlockCharAdn(m.body, counts, presence);
         return m.body.length;
       },
       1e9, 0, 0},
      {"scan", Scan, 1e9, 0, 0},
  };
  const Row& scan = rows[7];
  for (int round = 0; round < kRounds; round++) {
    for (Row& r : rows) r.seconds = r.bytes = 0;
    for (size_t i = 0; i < n; i++) {
      const std::string& path = files[i * files.size() / n];
      const auto parsed = context.load(path, true);
      const auto fresh = context.load(path, false);
      for (Row& r : rows) {
        TQMMSG* const m = &r == &scan ? fresh.get() : parsed.get();
        if (!m) continue;
        const double start = Now();
        r.bytes += r.work(*m);
        r.seconds += Now() - start;
      }
    }
    for (Row& r : rows) r.best = std::min(r.best, r.seconds);
  }
  printf("%zu messages\n", n);
  for (const Row& r : rows)
    printf("%-9s %9.2f us a message %9.1f MB/s %7.2f %% of a scan\n", r.name,
           r.best / double(n) * 1e6, double(r.bytes) / r.best / 1e6,
           100 * r.best / scan.best);
}

// ---- Hostile text

// What a shape is read with.
enum WAY { kPlain, kRandom, kText, kIp, kKnown, kKeep, kEmail };

struct Hostile {
  const char* name;
  WAY way;
  std::string head, unit;
};

const Hostile kHostile[] = {
    {"one word", kRandom, "", "a"},
    {"one word of capitals", kRandom, "", "aQzXj"},
    {"one number", kRandom, "", "1"},
    {"one hexadecimal number", kRandom, "", "1aB2"},
    {"one mixture", kRandom, "", "a1Zq"},
    {"a cut ahead", kRandom, "12345abc12", "z"},
    {"a cut behind", kRandom, "", "1a2b3c4d5e"},
    {"short runs", kRandom, "", "a1."},
    {"runs of numbers", kRandom, "", "202311 "},
    {"times", kRandom, "", "20231114 1700000000 65532F00 "},
    {"runs that are cut", kRandom, "", "12345abc12today "},
    {"at signs", kText, "", "@"},
    {"at signs and letters", kText, "", "a@"},
    {"addresses", kText, "", "a@b.c,"},
    {"dots", kText, "", "."},
    {"dots and letters", kText, "", "a."},
    {"slashes and letters", kText, "", "a/"},
    {"ends of hosts", kText, "", "a.com,"},
    {"URLs", kText, "", "http://a "},
    {"one word, in a text", kText, "", "a"},
    {"one hexadecimal number, in a text", kText, "", "1aB2"},
    {"numbers with dots", kIp, "", "1.1.1.256."},
    {"1,000 known texts", kKnown, "", "k"},
    {"1,000 known texts, words", kKnown, "", "k k k0 "},
    {"1,000 known texts, all there", kKnown, "", "k9k8k7k6"},
    {"words to keep", kKeep, "", "aab "},
    {"words to keep, one word", kKeep, "", "aab"},
    {"an address", kEmail, "", "info@a.com>"},
    {"an address of dots", kEmail, "", ".com>"},
};

void ReadHostile(WAY way, TBLOCK text, TBLOCKVECT& known) {
  static const char kKeepList[] = "*aaaab*,*aaaac*,*aaaad*,aaaae*,*aaaaf,x,y,z";
  BLOCKDATE date;
  date.utc = kNow;
  STR adn;
  switch (way) {
    case kRandom:
      return Shape(text, nullptr, adnRandom, &date);
    case kText:
      return Shape(text, nullptr, kTextFlags, nullptr);
    case kIp:
      return Shape(text, nullptr, adnIp, nullptr);
    case kKeep:
      return Shape(text, kKeepList, 0, nullptr);
    case kKnown:
      return AdnFromBlock(text, adn, nullptr, 0, {nullptr, kNow}, &known);
    default:
      return GetEmailRegex(text, nullptr, adn, kNow);
  }
}

void MeasureHostile(const Hostile& hostile, TBLOCKVECT& known) {
  printf("%-34s", hostile.name);
  double before = 0;
  bool bad = false;
  std::string ratios;
  for (size_t size : kSizes) {
    std::string text = hostile.head;
    while (text.size() < size) text += hostile.unit;
    const TBLOCK view(text.data(), static_cast<uint32_t>(size));
    double best = 1e9;
    for (int round = 0; round < kRounds; round++) {
      const double start = Now();
      ReadHostile(hostile.way, view, known);
      best = std::min(best, Now() - start);
    }
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
  // Half of them numbers, half long texts with one front.
  std::vector<std::string> texts;
  for (int i = 0; i < 1000; i++)
    texts.push_back(i % 2 ? "k" + std::to_string(i)
                          : std::string(250, 'k') + std::to_string(i));
  TBLOCKVECT known(1000);
  for (const std::string& text : texts)
    known.add(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), 0, 0);
  for (const Hostile& hostile : kHostile) MeasureHostile(hostile, known);
  return 0;
}
