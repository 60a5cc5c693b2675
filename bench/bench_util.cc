// What benchmarks share, see the header. No test: their tables are read.

#include "bench_util.h"

#include <dirent.h>
#include <malloc.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <memory>

#include "regex/regex_pool.h"
#include "rules/qm_dico.h"

volatile int64_t g_sink;

double Now() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double BestOf(const std::function<void()>& work, int least, int most,
              double seconds) {
  double best = 1e9, all = 0;
  for (int run = 0; run < most && (run < least || all < seconds); run++) {
    const double start = Now();
    work();
    const double took = Now() - start;
    best = std::min(best, took);
    all += took;
  }
  return best;
}

void KeepMemory() {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
}

// ---- Real mail

static void AddFiles(const std::string& path, std::vector<std::string>& files) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return;
  if (S_ISREG(info.st_mode)) files.push_back(path);
  if (!S_ISDIR(info.st_mode)) return;
  DIR* directory = opendir(path.c_str());
  while (const dirent* entry = directory ? readdir(directory) : nullptr)
    if (entry->d_name[0] != '.') AddFiles(path + "/" + entry->d_name, files);
  if (directory) closedir(directory);
}

std::vector<std::string> MailFiles(int paths, char** path) {
  std::vector<std::string> files, chosen;
  for (int i = 0; i < paths; i++) AddFiles(path[i], files);
  std::sort(files.begin(), files.end());
  const size_t n = std::min(files.size(), size_t(1000));
  for (size_t i = 0; i < n; i++) chosen.push_back(files[i * files.size() / n]);
  return chosen;
}

uint64_t ParseBody(TQMMSG& m) {
  m.parse(0);
  return m.body.length;
}

static void Scan(TQMMSG& m) {
  m.check(nullptr, nullptr, TBLOCK(), TBLOCK(), 0, 0, nullptr, 0);
}

void MeasureMail(const std::vector<std::string>& files,
                 std::vector<MAILROW>& rows, bool loadOnce) {
  REGEXPOOL pool;
  TQMDICO dico(&pool, nullptr);
  pool.addAllHardCodedRegexes();
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
  rows.push_back({"scan", nullptr, Scan});
  for (int round = 0; round < kRounds; round++) {
    std::vector<double> seconds(rows.size());
    for (MAILROW& row : rows) row.bytes = 0;
    for (const std::string& file : files) {
      std::unique_ptr<TQMMSG> m;
      for (size_t k = 0; k < rows.size(); k++) {
        if (k == 0 || k == rows.size() - 1 || !loadOnce) {
          m.reset(new TQMMSG(&pool, dico.stuff, nullptr, 0, 0));
          m->fixedTime = 1700000000;
          if (!m->loadFromFile(file.c_str(), nullptr, 0)) break;
        }
        if (rows[k].prepare) rows[k].bytes += rows[k].prepare(*m);
        const double start = Now();
        rows[k].work(*m);
        seconds[k] += Now() - start;
      }
    }
    for (size_t k = 0; k < rows.size(); k++)
      rows[k].best = std::min(rows[k].best, seconds[k]);
  }
  rows.back().bytes = rows[rows.size() - 2].bytes;
}

void PrintMail(const std::vector<MAILROW>& rows, size_t messages, int columns,
               int decimals) {
  for (const MAILROW& row : rows)
    printf("%-*s %9.2f us a message %9.*f MB/s %7.*f %% of a scan\n", columns,
           row.name, row.best / double(messages) * 1e6, decimals,
           double(row.bytes) / row.best / 1e6, decimals + 1,
           100 * row.best / rows.back().best);
}

// ---- Hostile text

std::string Repeat(size_t n, const std::string& head, const std::string& unit,
                   const std::string& tail) {
  std::string out = head;
  while (out.size() + unit.size() + tail.size() <= n) out += unit;
  return out + tail;
}

std::string RepeatNumbered(size_t n, const std::string& head,
                           const std::string& unit, const std::string& tail) {
  std::string out = head;
  for (int number = 0;; number++) {
    std::string next;
    for (char c : unit)
      next += c == '#' ? std::to_string(number) : std::string(1, c);
    if (out.size() + next.size() + tail.size() > n) return out + tail;
    out += next;
  }
}

void PrintSizes(const char* name, int columns, int width) {
  printf("%-*s", columns, name);
  for (size_t size : kSizes) printf(" %*zu", width, size);
  printf("  ratio of each doubling\n");
}

double MeasureGrowth(const std::function<double(size_t)>& seconds, int width,
                     double worst, int rounds) {
  fflush(stdout);
  double best[kSizeCount];
  std::fill(best, best + kSizeCount, 1e9);
  for (int round = 0; round < rounds; round++)
    for (size_t i = 0; i < kSizeCount; i++)
      best[i] = std::min(best[i], seconds(kSizes[i]));
  for (double each : best) printf(" %*.3f", width, each * 1e3);
  double ratio = 0;
  for (size_t i = 1; i < kSizeCount; i++) {
    ratio = best[i] / best[i - 1];
    printf(" %5.2f", ratio);
  }
  printf("%s\n", ratio > worst ? "  <-- too much" : "");
  return ratio;
}
