// corpus_run: scans files through the shared library as a host does, many
// times over in one process, and holds the results against each other.
//
//   corpus_run [--list-no-mail] [--slow MS] PATH...
//   corpus_run --mutate SEED COUNT PATH...
//
// Each file is scanned four ways, from memory and from its file, without and
// with a context, and then again with small and odd buffers. State, score,
// cause and rewritten header must agree, the caller's copy of the message
// must stay as it was, and a smaller buffer must hold the beginning of what a
// larger one holds. A message of kMaxMessageBytes or more may differ between
// memory and file, since only there its length is known.
//
// With --mutate each file is also scanned cut off at every length and COUNT
// times with a few bytes changed; the changes follow from SEED alone.
//
// Prints one row for each PATH and a total; every fault has a line with the
// file's name. Exit 0: no fault; 1: faults; 64: usage. Meant to be run under
// the sanitizers: messages and buffers are heap blocks of exact size.

#include <dirent.h>
#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "quaymarsh.h"

namespace {

const size_t kMaxMessageBytes = 204800;
const int kCauseBytes = 1 << 16;
const int kMaxChanges = 8;  // bytes changed by one mutation
const char kNoMail[] = "This is not a mail";

struct Options {
  bool listNoMail = false;
  double slowMs = 0;
  bool mutate = false;
  uint64_t seed = 0;
  int count = 0;
};

struct Figures {
  long files = 0, scans = 0, noMail = 0, faults = 0;
  double bytes = 0, scannedBytes = 0, seconds = 0;
  std::map<int, long> states;

  void add(const Figures& other) {
    files += other.files;
    scans += other.scans;
    noMail += other.noMail;
    faults += other.faults;
    bytes += other.bytes;
    scannedBytes += other.scannedBytes;
    seconds += other.seconds;
    for (const auto& state : other.states) states[state.first] += state.second;
  }
};

double Now() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// A small generator of its own, so that a seed means the same everywhere.
uint32_t Random(uint64_t& state) {
  state = state * 6364136223846793005u + 1442695040888963407u;
  return static_cast<uint32_t>(state >> 33);
}

// A heap block of exactly n bytes.
class Exact {
 public:
  explicit Exact(size_t n)
      : bytes(static_cast<char*>(malloc(n ? n : 1))), size(n) {
    if (!bytes) abort();
    memset(bytes, '#', n ? n : 1);
  }
  ~Exact() { free(bytes); }
  Exact(const Exact&) = delete;
  Exact& operator=(const Exact&) = delete;
  char* const bytes;
  const size_t size;
};

struct Result {
  int returned = 0, state = -99, score = 0;
  int headerLength = -1, headerOutLength = -1, headerOutSize = -1;
  std::string cause, version, params, header;
  double seconds = 0;
};

// What the letter pairs stand for; empty when the text holds anything else.
std::string Decode(const std::string& text) {
  std::string out;
  for (size_t i = 0; 2 * i + 1 < text.size(); i++) {
    const int r = text[2 * i + i % 2] - 'f';
    const int q = text[2 * i + 1 - i % 2] - 'b';
    if (r < 0 || r > 16 || q < 0 || q > 15) return std::string();
    out += static_cast<char>(q * 17 + r);
  }
  return out;
}

class Runner {
 public:
  explicit Runner(const Options& options)
      : options_(options), context_(QmCreateSpeedupContext()) {
    if (options.mutate) {
      const int fd = mkstemp(tempPath_);
      if (fd < 0) abort();
      close(fd);
    }
  }
  ~Runner() {
    QmReleaseSpeedupContext(context_);
    if (options_.mutate) unlink(tempPath_);
  }

  Figures figures;

  void runPath(const std::string& path);

 private:
  struct Sizes {
    int cause, version, params, header;
  };

  void fault(const char* what);
  Result scan(const std::string& message, const char* path, void* context,
              Sizes sizes);
  void runFile(const std::string& path);
  void runMutations(const std::string& path, const std::string& message);
  void runMessage(const std::string& message, const char* path);
  void runSmallBuffers(const std::string& message, const Result& full);
  void compare(const Result& a, const Result& b, const char* what,
               bool causeToo);
  void checkCut(const std::string& cut, int size, const std::string& full,
                const char* what);

  const Options& options_;
  void* context_;
  std::string name_;  // of the message in hand, for faults
  char tempPath_[40] = "/tmp/corpus_run-XXXXXX";
};

void Runner::fault(const char* what) {
  figures.faults++;
  printf("FAULT %s: %s\n", name_.c_str(), what);
}

// A buffer's text: up to its NUL, or all of it with a note.
std::string TextOf(const Exact& buffer) {
  const size_t n = strnlen(buffer.bytes, buffer.size);
  if (buffer.size > 0 && n == buffer.size) return "(no NUL)";
  return std::string(buffer.bytes, n);
}

// Scans from memory, or from a file with a path.
Result Runner::scan(const std::string& message, const char* path, void* context,
                    Sizes sizes) {
  Result result;
  Exact copy(message.size());
  memcpy(copy.bytes, message.data(), message.size());
  Exact cause(static_cast<size_t>(sizes.cause));
  Exact version(static_cast<size_t>(sizes.version));
  Exact params(static_cast<size_t>(sizes.params));
  Exact header(static_cast<size_t>(sizes.header));
  Exact record(sizeof(QMINFO));
  QMINFO* info = reinterpret_cast<QMINFO*>(record.bytes);
  memset(info, 0, sizeof *info);
  info->size = sizeof *info;
  info->flags = QM_WANT_CAUSE | QM_REWRITE_HEADER;
  if (path) {
    info->flags |= QM_FROM_FILE;
    info->msgPath = path;
  } else {
    info->msg = reinterpret_cast<unsigned char*>(copy.bytes);
    info->msgLength = static_cast<unsigned>(copy.size);
  }
  info->state = -99;
  info->subjectTag = "[tag] ";
  info->params = "one=1\ntwo=2";
  info->cause = cause.bytes;
  info->causeSize = sizes.cause;
  info->version = version.bytes;
  info->versionSize = sizes.version;
  info->paramsOut = params.bytes;
  info->paramsOutSize = sizes.params;
  info->headerOut = header.bytes;
  info->headerOutSize = sizes.header;
  const double start = Now();
  result.returned = QmScanMessageWithContext(info, context);
  result.seconds = Now() - start;
  figures.scans++;
  figures.seconds += result.seconds;
  figures.scannedBytes += static_cast<double>(message.size());
  if (memcmp(copy.bytes, message.data(), message.size()) != 0)
    fault("a byte of the caller's message was changed");
  result.state = info->state;
  result.score = info->score;
  result.headerLength = info->headerLength;
  result.headerOutLength = info->headerOutLength;
  result.headerOutSize = info->headerOutSize;
  result.cause = TextOf(cause);
  result.version = TextOf(version);
  result.params = TextOf(params);
  if (info->headerOutLength > 0 && info->headerOutLength < sizes.header)
    result.header = TextOf(header);
  return result;
}

void Runner::compare(const Result& a, const Result& b, const char* what,
                     bool causeToo) {
  if (a.returned != b.returned || a.state != b.state || a.score != b.score ||
      (causeToo && a.cause != b.cause)) {
    fault(what);
    printf("  returned %d and %d, state %d and %d, score %d and %d\n",
           a.returned, b.returned, a.state, b.state, a.score, b.score);
  }
}

void Runner::checkCut(const std::string& cut, int size, const std::string& full,
                      const char* what) {
  const size_t kept = size > 0 ? static_cast<size_t>(size - 1) : 0;
  if (cut != full.substr(0, std::min(kept, full.size()))) fault(what);
}

// The same scan with buffers that are too small in all sorts of ways.
void Runner::runSmallBuffers(const std::string& message, const Result& full) {
  const int needed = full.headerOutLength;
  const Sizes rows[] = {{0, 0, 0, 0},
                        {1, 1, 1, 1},
                        {2, 2, 2, needed},
                        {3, 56, 7, needed - 1},
                        {131, 9, 64, needed + 1}};
  for (const Sizes& sizes : rows) {
    const Result small = scan(message, nullptr, context_, sizes);
    compare(full, small, "small buffers change the verdict", false);
    checkCut(small.cause, sizes.cause, full.cause, "cause is not a prefix");
    checkCut(small.version, sizes.version, full.version,
             "version is not a prefix");
    checkCut(small.params, sizes.params, full.params,
             "paramsOut is not a prefix");
    const bool fits = sizes.header >= small.headerOutSize;
    if (!fits && small.headerOutLength != 0)
      fault("headerOutLength of a header that does not fit");
    if (fits && small.headerOutSize != sizes.header)
      fault("headerOutSize changed though the header fits");
  }
}

void Runner::runMessage(const std::string& message, const char* path) {
  // The version text grows the header a little, never by this much.
  const Sizes large = {kCauseBytes, 300, 300,
                       static_cast<int>(message.size() * 3 + 4096)};
  const Result plain = scan(message, nullptr, nullptr, large);
  const Result shared = scan(message, nullptr, context_, large);
  const Result file = scan(message, path, nullptr, large);
  const Result sharedFile = scan(message, path, context_, large);
  compare(plain, shared, "memory: a context changes the verdict", true);
  compare(file, sharedFile, "file: a context changes the verdict", true);
  if (message.empty()) {
    // Nothing is scanned in memory, and a file is told as no mail.
    if (plain.returned != 0 || plain.state != -99)
      fault("an empty message was scanned");
    return;
  }
  if (message.size() < kMaxMessageBytes) {
    compare(plain, file, "memory and file differ in the verdict", true);
    if (plain.header != file.header || plain.headerLength != file.headerLength)
      fault("memory and file differ in the header");
  }
  for (const Result* result : {&plain, &shared, &file, &sharedFile}) {
    if (result->returned < 0 || result->returned != result->state)
      fault("the result is not the state");
    if (result->headerLength < 0 ||
        static_cast<size_t>(result->headerLength) > message.size())
      fault("headerLength passes the message");
    if (result->headerOutLength != static_cast<int>(result->header.size()))
      fault("headerOutLength is not the length of the header");
  }
  runSmallBuffers(message, shared);
  figures.states[plain.state]++;
  const std::string cause =
      plain.state == QM_STATE_VIRUS ? plain.cause : Decode(plain.cause);
  if (cause.find(plain.version) != 0) fault("the cause can't be read");
  if (cause.find(kNoMail) != std::string::npos) {
    figures.noMail++;
    if (options_.listNoMail) printf("no mail: %s\n", name_.c_str());
  }
  const double ms = plain.seconds * 1000;
  if (options_.slowMs > 0 && ms >= options_.slowMs)
    printf("slow: %.1f ms, %zu bytes: %s\n", ms, message.size(), name_.c_str());
}

bool WriteFile(const char* path, const std::string& bytes) {
  FILE* file = fopen(path, "wb");
  if (!file) return false;
  const bool written =
      fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return fclose(file) == 0 && written;
}

void Runner::runMutations(const std::string& path, const std::string& message) {
  for (size_t n = 0; n < message.size(); n++) {
    name_ = path + " cut at " + std::to_string(n);
    const std::string cut = message.substr(0, n);
    if (!WriteFile(tempPath_, cut)) return fault("cannot write");
    runMessage(cut, tempPath_);
  }
  // Bytes that mean something to a parser, beside any byte at all.
  const std::string special("\r\n\t :;,=\"'<>()\\/@-.?*%\0\x80\xFF", 26);
  uint64_t state = options_.seed;
  for (int i = 0; i < options_.count && !message.empty(); i++) {
    name_ = path + " mutation " + std::to_string(i);
    std::string changed = message;
    const int changes = 1 + static_cast<int>(Random(state) % kMaxChanges);
    for (int k = 0; k < changes; k++) {
      // Every other one near the top, where the header is.
      size_t at = Random(state) % changed.size();
      if (Random(state) % 2) at %= 2000;
      changed[at] = Random(state) % 2 ? special[Random(state) % special.size()]
                                      : static_cast<char>(Random(state));
    }
    if (!WriteFile(tempPath_, changed)) return fault("cannot write");
    runMessage(changed, tempPath_);
  }
}

void Runner::runFile(const std::string& path) {
  name_ = path;
  FILE* file = fopen(path.c_str(), "rb");
  if (!file) return fault("cannot be opened");
  std::string message;
  char buffer[65536];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, file)) > 0)
    message.append(buffer, n);
  fclose(file);
  figures.files++;
  figures.bytes += static_cast<double>(message.size());
  runMessage(message, path.c_str());
  if (options_.mutate) runMutations(path, message);
}

void Runner::runPath(const std::string& path) {
  struct stat info;
  name_ = path;
  if (stat(path.c_str(), &info) != 0) return fault(strerror(errno));
  if (!S_ISDIR(info.st_mode)) {
    if (S_ISREG(info.st_mode)) runFile(path);
    return;
  }
  DIR* directory = opendir(path.c_str());
  if (!directory) return fault(strerror(errno));
  std::vector<std::string> names;
  while (const dirent* entry = readdir(directory)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(directory);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) runPath(path + "/" + name);
}

void PrintHead() {
  printf("%6s %10s %7s %6s %7s %8s %7s  %-20s %s\n", "files", "bytes", "scans",
         "faults", "no mail", "seconds", "MB/s", "states", "path");
}

void PrintRow(const Figures& f, const char* path) {
  std::string states;
  for (const auto& state : f.states)
    states +=
        std::to_string(state.first) + ":" + std::to_string(state.second) + " ";
  printf("%6ld %10.0f %7ld %6ld %7ld %8.2f %7.2f  %-20s %s\n", f.files, f.bytes,
         f.scans, f.faults, f.noMail, f.seconds,
         f.seconds > 0 ? f.scannedBytes / f.seconds / 1e6 : 0.0, states.c_str(),
         path);
  fflush(stdout);
}

int Usage() {
  fprintf(stderr,
          "usage: corpus_run [--list-no-mail] [--slow MS] "
          "[--mutate SEED COUNT] PATH...\n");
  return 64;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int i = 1;
  for (; i < argc && strncmp(argv[i], "--", 2) == 0; i++) {
    const std::string option = argv[i];
    if (option == "--list-no-mail") {
      options.listNoMail = true;
    } else if (option == "--slow" && i + 1 < argc) {
      options.slowMs = atof(argv[++i]);
    } else if (option == "--mutate" && i + 2 < argc) {
      options.mutate = true;
      options.seed = strtoull(argv[++i], nullptr, 10);
      options.count = atoi(argv[++i]);
    } else {
      return Usage();
    }
  }
  if (i == argc) return Usage();
  PrintHead();
  Figures total;
  for (; i < argc; i++) {
    Runner runner(options);
    runner.runPath(argv[i]);
    PrintRow(runner.figures, argv[i]);
    total.add(runner.figures);
  }
  PrintRow(total, "(total)");
  return total.faults ? 1 : 0;
}
