// What a scan costs: whole scans through the shared library with a context, on
// one thread, and where the time goes.
//
//   scan_bench [--json] [--passes N] [--image FILE] FOLDER...
//
// Takes at most 1000 messages from all over the folders and holds them in
// memory. Prints for the dictionary that is built in, and for the image when
// one is given: messages and megabytes a second, the median of the passes; the
// memory of a context; the largest and the median need of a scan for heap; and
// a table of stages. All checks are asked for, cause and header too, and the
// bailout is in force, so a stage runs for some of the messages only.
//
// The stages are the steps of QmScanMessageWithContext, walked here on a
// TQMMSG of the archive, since the library is not to be instrumented. So that
// this walk stays true, its verdicts are held against the library's; exit 1
// when one differs, 64: usage, 78: the image cannot be loaded.
//
// Time is the thread's own. Scans write to the state log if they may; the
// stage "log line" writes to one in /tmp. Needs no benchmark library, so the
// 32-bit build that ships can be measured too.

#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "api/quaymarsh.h"
#include "bench_util.h"
#include "rules/kw_patch.h"
#include "scan_stages.h"

// ---- Heap: every allocation of the program passes here

extern "C" {
void* __libc_malloc(size_t n);
void* __libc_calloc(size_t n, size_t size);
void* __libc_realloc(void* p, size_t n);
void __libc_free(void* p);
}

namespace {

struct HEAPCOUNT {
  bool on = false;
  int64_t bytes = 0, peak = 0, calls = 0;

  void taken(void* p) {
    if (!on || !p) return;
    bytes += int64_t(malloc_usable_size(p));
    peak = std::max(peak, bytes);
    calls++;
  }
  void given(void* p) {
    if (on && p) bytes -= int64_t(malloc_usable_size(p));
  }
};

HEAPCOUNT g_heap;

}  // namespace

extern "C" {

void* malloc(size_t n) {
  void* p = __libc_malloc(n);
  g_heap.taken(p);
  return p;
}

void* calloc(size_t n, size_t size) {
  void* p = __libc_calloc(n, size);
  g_heap.taken(p);
  return p;
}

void* realloc(void* p, size_t n) {
  g_heap.given(p);
  void* moved = __libc_realloc(p, n);
  g_heap.taken(moved ? moved : p);
  return moved;
}

void free(void* p) {
  g_heap.given(p);
  __libc_free(p);
}

}  // extern "C"

namespace {

const int kDefaultPasses = 5;
const int kCauseBytes = 1 << 16;
const uint32_t kAllChecks = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION |
                            QM_CHECK_COMMERCIAL | QM_CHECK_SUSPECT;
const QMGLOBALSETUP kGlobalSetup = {8, kAllChecks};
const QMUSERSETUP kUserSetup = {20, -100, 200, 0, kAllChecks};
const char kUser[] = "user@example.com";

struct MAIL {
  std::string name, text;
  VERDICT verdict;  // of the library
};

// The figures for one dictionary.
struct FIGURES {
  std::string dictionary;
  double seconds = 0, wall = 0;  // median of a pass through the library
  double walkSeconds = 0;        // the same for all stages
  int64_t contextHeap = 0, contextRss = 0;
  int64_t peakMedian = 0, peakMost = 0, callsMedian = 0;
  std::string peakName;
  long differing = 0;  // verdicts of the walk
  std::vector<STAGE> stages;
};

double Wall() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const size_t half = values.size() / 2;
  return values.size() % 2 ? values[half]
                           : (values[half - 1] + values[half]) / 2;
}

int64_t ResidentBytes() {
  long pages = 0, all = 0;
  FILE* file = fopen("/proc/self/statm", "r");
  if (!file || fscanf(file, "%ld %ld", &all, &pages) != 2) pages = 0;
  if (file) fclose(file);
  return int64_t(pages) * sysconf(_SC_PAGESIZE);
}

// ---- The library

// What a host keeps for all of its scans.
class HOST {
 public:
  // Both memories are what creation leaves, less what was there before. A
  // second context stays within pages that the first one has left.
  void create(const char* directory, FIGURES& figures) {
    const int64_t before = ResidentBytes();
    g_heap = HEAPCOUNT();
    g_heap.on = true;
    context_ = QmCreateSpeedupContextWith(directory);
    g_heap.on = false;
    figures.contextHeap = g_heap.bytes;
    figures.contextRss = ResidentBytes() - before;
  }
  ~HOST() { QmReleaseSpeedupContext(context_); }

  VERDICT scan(const std::string& message) {
    QMINFO info;
    memset(&info, 0, sizeof info);
    info.size = sizeof info;
    info.flags = QM_WANT_CAUSE | QM_REWRITE_HEADER;
    info.msg = reinterpret_cast<const unsigned char*>(message.data());
    info.msgLength = static_cast<unsigned>(message.size());
    info.user = kUser;
    info.globalSetup = &kGlobalSetup;
    info.userSetup = &kUserSetup;
    info.cause = cause_.data();
    info.causeSize = int(cause_.size());
    info.headerOut = header_.data();
    info.headerOutSize = int(header_.size());
    info.version = version_;
    info.versionSize = sizeof version_;
    info.state = -1;
    QmScanMessageWithContext(&info, context_);
    return {info.state, info.score};
  }

 private:
  void* context_ = nullptr;
  std::vector<char> cause_ = std::vector<char>(kCauseBytes);
  std::vector<char> header_ = std::vector<char>(2 * kMaxMessageBytes);
  char version_[256];
};

void MeasureLibrary(std::vector<MAIL>& mails, const char* directory, int passes,
                    FIGURES& figures) {
  HOST host;
  host.create(directory, figures);
  std::vector<double> seconds, wall;
  for (int pass = -1; pass < passes; pass++) {
    const double from = Now(), wallFrom = Wall();
    for (MAIL& mail : mails) mail.verdict = host.scan(mail.text);
    if (pass < 0) continue;  // the first one warms up
    seconds.push_back(Now() - from);
    wall.push_back(Wall() - wallFrom);
  }
  figures.seconds = Median(seconds);
  figures.wall = Median(wall);
  std::vector<double> peaks, calls;
  for (const MAIL& mail : mails) {
    g_heap = HEAPCOUNT();
    g_heap.on = true;
    host.scan(mail.text);
    g_heap.on = false;
    peaks.push_back(double(g_heap.peak));
    calls.push_back(double(g_heap.calls));
    if (g_heap.peak <= figures.peakMost) continue;
    figures.peakMost = g_heap.peak;
    figures.peakName = mail.name;
  }
  figures.peakMedian = int64_t(Median(peaks));
  figures.callsMedian = int64_t(Median(calls));
}

// ---- The stages

void MeasureStages(const std::vector<MAIL>& mails, const char* directory,
                   int passes, const char* logRoot, FIGURES& figures) {
  const std::unique_ptr<SPEEDUPCONTEXT> context(
      CreateSpeedupContext(directory));
  STAGEWALK walk(context.get(), logRoot);
  for (const MAIL& mail : mails) {
    const VERDICT v = walk.scan(mail.text, kUser, &kGlobalSetup, &kUserSetup);
    if (v.state == mail.verdict.state && v.score == mail.verdict.score)
      continue;
    figures.differing++;
    fprintf(stderr, "%s: state %d, score %d; the library: %d, %d\n",
            mail.name.c_str(), v.state, v.score, mail.verdict.state,
            mail.verdict.score);
  }
  walk.startPasses();
  for (int pass = 0; pass < passes; pass++) {
    for (const MAIL& mail : mails)
      walk.scan(mail.text, kUser, &kGlobalSetup, &kUserSetup);
    walk.endPass();
  }
  figures.stages = walk.stages;
  for (STAGE& stage : figures.stages) {
    stage.seconds = Median(stage.passes);
    stage.runs /= passes;
    figures.walkSeconds += stage.seconds;
  }
}

// ---- Output

struct TOTALS {
  long messages = 0;
  uint64_t bytes = 0;  // of them that a scan looks at
  int passes = 0;
};

void PrintTable(const FIGURES& f, const TOTALS& t) {
  const double n = double(t.messages);
  printf("dictionary: %s\n", f.dictionary.c_str());
  printf(
      "  through the library: %.0f messages a second, %.2f MB/s, %.0f us a "
      "message (%.0f us by the wall clock)\n",
      n / f.seconds, double(t.bytes) / f.seconds / 1e6, f.seconds / n * 1e6,
      f.wall / n * 1e6);
  printf("  a context: %.2f MB of heap, %.2f MB resident\n",
         double(f.contextHeap) / 1e6, double(f.contextRss) / 1e6);
  printf("  heap of a scan: median %.0f KB in %lld calls, most %.0f KB: %s\n",
         double(f.peakMedian) / 1e3, (long long)f.callsMedian,
         double(f.peakMost) / 1e3, f.peakName.c_str());
  printf("  verdicts of the stages that differ from the library's: %ld\n",
         f.differing);
  printf("\n  %-26s %8s %12s %12s %7s\n", "stage", "scans", "us a scan",
         "us a message", "share");
  std::string group;
  for (const STAGE& stage : f.stages) {
    if (stage.group != group) {
      group = stage.group;
      double sum = 0;
      for (const STAGE& s : f.stages)
        if (s.group == group) sum += s.seconds;
      printf("  %-26s %8s %12s %12.2f %6.2f%%\n", group.c_str(), "", "",
             sum / n * 1e6, 100 * sum / f.walkSeconds);
    }
    printf("    %-24s %8ld %12.2f %12.2f %6.2f%%\n", stage.name.c_str(),
           stage.runs,
           stage.runs ? stage.seconds / double(stage.runs) * 1e6 : 0,
           stage.seconds / n * 1e6, 100 * stage.seconds / f.walkSeconds);
  }
  printf("  %-26s %8s %12s %12.2f\n\n", "all stages", "", "",
         f.walkSeconds / n * 1e6);
}

// Names are of the program's own or paths: only quotes and backslashes matter.
std::string Quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

void PrintJson(const FIGURES& f, const TOTALS& t, bool last) {
  const double n = double(t.messages);
  printf("  {\"dictionary\": %s,\n", Quoted(f.dictionary).c_str());
  printf(
      "   \"messagesPerSecond\": %.1f, \"megabytesPerSecond\": %.3f, "
      "\"microseconds\": %.2f, \"wallMicroseconds\": %.2f,\n",
      n / f.seconds, double(t.bytes) / f.seconds / 1e6, f.seconds / n * 1e6,
      f.wall / n * 1e6);
  printf("   \"contextHeap\": %lld, \"contextResident\": %lld,\n",
         (long long)f.contextHeap, (long long)f.contextRss);
  printf(
      "   \"scanHeapMedian\": %lld, \"scanHeapMost\": %lld, "
      "\"scanHeapMostName\": %s, \"scanAllocationsMedian\": %lld,\n",
      (long long)f.peakMedian, (long long)f.peakMost,
      Quoted(f.peakName).c_str(), (long long)f.callsMedian);
  printf(
      "   \"stagesMicroseconds\": %.2f, \"verdictsThatDiffer\": %ld,\n"
      "   \"stages\": [\n",
      f.walkSeconds / n * 1e6, f.differing);
  for (size_t i = 0; i < f.stages.size(); i++) {
    const STAGE& s = f.stages[i];
    printf(
        "    {\"group\": %s, \"name\": %s, \"scans\": %ld, "
        "\"microseconds\": %.3f}%s\n",
        Quoted(s.group).c_str(), Quoted(s.name).c_str(), s.runs,
        s.seconds / n * 1e6, i + 1 < f.stages.size() ? "," : "");
  }
  printf("   ]}%s\n", last ? "" : ",");
}

void Print(const std::vector<FIGURES>& all, const TOTALS& t, bool json) {
  if (!json) {
    printf("%ld messages, %.1f MB looked at, %d bits, median of %d passes\n\n",
           t.messages, double(t.bytes) / 1e6, int(8 * sizeof(void*)), t.passes);
    for (const FIGURES& f : all) PrintTable(f, t);
    return;
  }
  printf(
      "{\"messages\": %ld, \"bytes\": %llu, \"bits\": %d, \"passes\": %d, "
      "\"dictionaries\": [\n",
      t.messages, (unsigned long long)t.bytes, int(8 * sizeof(void*)),
      t.passes);
  for (size_t i = 0; i < all.size(); i++)
    PrintJson(all[i], t, i + 1 == all.size());
  printf("]}\n");
}

// ---- The program

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A folder for the log and, with an image, for a patch list that names it.
class Folder {
 public:
  explicit Folder(const char* image) {
    if (!mkdtemp(name)) abort();
    path = std::string(name) + "/";
    if (!image) return;
    std::ofstream(path + "image.kwo", std::ios::binary) << ReadFile(image);
    std::ofstream(path + "qmpatch.list") << "image.kwo\n";
  }
  ~Folder() {
    const std::string command = "rm -rf '" + path + "'";
    if (system(command.c_str()) != 0) fprintf(stderr, "left: %s\n", name);
  }
  std::string path;

 private:
  char name[32] = "/tmp/scan_benchXXXXXX";
};

FIGURES Measure(std::vector<MAIL>& mails, const char* image, int passes) {
  const Folder folder(image);
  FIGURES figures;
  figures.dictionary = image ? image : "built in";
  const char* directory = image ? folder.path.c_str() : nullptr;
  MeasureLibrary(mails, directory, passes, figures);
  MeasureStages(mails, directory, passes, folder.path.c_str(), figures);
  return figures;
}

int Usage() {
  fprintf(stderr,
          "usage: scan_bench [--json] [--passes N] [--image FILE] FOLDER...\n");
  return 64;
}

}  // namespace

int main(int argc, char** argv) {
  bool json = false;
  const char* image = nullptr;
  TOTALS totals;
  totals.passes = kDefaultPasses;
  int i = 1;
  for (; i < argc && strncmp(argv[i], "--", 2) == 0; i++) {
    if (strcmp(argv[i], "--json") == 0) {
      json = true;
    } else if (strcmp(argv[i], "--image") == 0 && i + 1 < argc) {
      image = argv[++i];
    } else if (strcmp(argv[i], "--passes") == 0 && i + 1 < argc) {
      totals.passes = std::max(atoi(argv[++i]), 1);
    } else {
      return Usage();
    }
  }
  // A context would fall back on its own dictionary without a word.
  BLOCK loaded(0, 1);
  STR why;
  if (image && !LoadKeywordImage(&loaded, image, &why)) {
    fprintf(stderr, "%s\n", why.c_str());
    return 78;
  }
  std::vector<MAIL> mails;
  for (const std::string& file : MailFiles(argc - i, argv + i)) {
    mails.push_back({file, ReadFile(file), VERDICT()});
    if (mails.back().text.empty()) mails.pop_back();
  }
  if (mails.empty()) return Usage();
  for (const MAIL& mail : mails)
    totals.bytes += std::min<uint64_t>(mail.text.size(), kMaxMessageBytes);
  totals.messages = long(mails.size());
  std::vector<FIGURES> all = {Measure(mails, nullptr, totals.passes)};
  if (image) all.push_back(Measure(mails, image, totals.passes));
  Print(all, totals, json);
  for (const FIGURES& figures : all)
    if (figures.differing) return 1;
  return 0;
}
