// corpus_run: scans files through the shared library as a host does, many
// times over in one process, and holds the results against each other.
//
//   corpus_run [--checks] [--list-no-mail] [--slow MS] [--threads N] PATH...
//   corpus_run --mutate SEED COUNT PATH...
//   corpus_run --distort SEED COUNT [--most SECONDS] PATH...
//
// Each file is scanned four ways, from memory and from its file, without and
// with a context, and then again with small and odd buffers. State, score,
// cause and rewritten header must agree, the caller's copy of the message
// must stay as it was, and a smaller buffer must hold the beginning of what a
// larger one holds. A message of kMaxMessageBytes or more may differ between
// memory and file, since only there its length is known.
//
// --checks asks for the checks that a host has to ask for: viruses,
// notifications, suspect and commercial mail. With --threads N threads then
// scan all files at once on one context, each beginning with another one, and
// every answer must be the one that a single thread got.
//
// With --mutate each file is also scanned cut off at every length and COUNT
// times with a few bytes changed; the changes follow from SEED alone.
//
// With --distort each file is scanned COUNT times after one to four heavier
// changes in a row: cut off, a piece taken out, a piece of the file before put
// in, bits flipped, a piece repeated up to thousands of times, wrapped in parts
// or letters up to 70 deep. Most are scanned from memory and from a file on a
// context, one of 16 in all ways. A scan that takes more than SECONDS (20) of
// the thread's own is a fault.
//
// In all runs the bytes beside the record must stay as they were, and what is
// input in it, too.
//
// Prints one row for each PATH and a total; every fault has a line with the
// file's name. The digest of a row is that of all answers in it, byte for byte:
// two builds that judge alike print the same one. Exit 0: no fault; 1: faults;
// 64: usage. Meant to be run under the sanitizers: messages and buffers are
// heap blocks of exact size.

#include <dirent.h>
#include <errno.h>
#include <inttypes.h>
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
#include <thread>
#include <vector>

#include "quaymarsh.h"

namespace {

const size_t kMaxMessageBytes = 204800;
const int kCauseBytes = 1 << 16;
const int kMaxChanges = 8;  // bytes changed by one mutation
const int kMaxDistortions = 4;
const int kFullEvery = 16;  // distortions: one of so many in all ways
const size_t kMargin = 64;  // bytes ahead of a record and behind it
const char kNoMail[] = "This is not a mail";

struct Options {
  bool checks = false;
  bool listNoMail = false;
  int threads = 0;
  double slowMs = 0;
  bool mutate = false, distort = false;
  double most = 20;  // seconds of a scan, with distort
  uint64_t seed = 0;
  int count = 0;
};

struct Figures {
  long files = 0, scans = 0, noMail = 0, faults = 0;
  double bytes = 0, scannedBytes = 0, seconds = 0;
  uint64_t digest = 0;
  std::map<int, long> states;

  void add(const Figures& other) {
    files += other.files;
    scans += other.scans;
    noMail += other.noMail;
    faults += other.faults;
    bytes += other.bytes;
    scannedBytes += other.scannedBytes;
    seconds += other.seconds;
    digest = digest * 31 + other.digest;
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

double ThreadNow() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

struct Result {
  int returned = 0, state = -99, score = 0;
  int headerLength = -1, headerOutLength = -1, headerOutSize = -1;
  std::string cause, version, params, header;
  double seconds = 0, threadSeconds = 0;
  bool messageKept = false, marginsKept = false, inputsKept = false;
};

// Of the host's buffers.
struct Sizes {
  int cause, version, params, header;
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

// What a host gets to see of a scan.
std::string AnswerOf(const Result& result) {
  return std::to_string(result.state) + " " + std::to_string(result.score) +
         " " + std::to_string(result.headerLength) + "\n" + result.cause +
         "\n" + result.header;
}

// FNV-1a.
uint64_t Digest(const std::string& text) {
  uint64_t digest = 14695981039346656037u;
  for (const char c : text)
    digest = (digest ^ static_cast<unsigned char>(c)) * 1099511628211u;
  return digest;
}

struct Mail {
  std::string path, text, answer;
};

class Runner {
 public:
  explicit Runner(const Options& options)
      : options_(options), context_(QmCreateSpeedupContext()) {
    if (options.mutate || options.distort) {
      const int fd = mkstemp(tempPath_);
      if (fd < 0) abort();
      close(fd);
    }
  }
  ~Runner() {
    QmReleaseSpeedupContext(context_);
    if (options_.mutate || options_.distort) unlink(tempPath_);
  }

  Figures figures;

  void runPath(const std::string& path);
  // Scans all files of the paths so far once more, in all threads.
  void runThreads();

 private:
  void fault(const char* what);
  Result scan(const std::string& message, const char* path, void* context,
              Sizes sizes);
  void runFile(const std::string& path);
  void runMutations(const std::string& path, const std::string& message);
  void runDistortions(const std::string& path, const std::string& message);
  void runBothWays(const std::string& message);
  void runMessage(const std::string& message, const char* path);
  void runSmallBuffers(const std::string& message, const Result& full);
  void compare(const Result& a, const Result& b, const char* what,
               bool causeToo);
  void checkCut(const std::string& cut, int size, const std::string& full,
                const char* what);

  const Options& options_;
  void* context_;
  std::string name_;  // of the message in hand, for faults
  std::vector<Mail> mails_;
  std::string other_;  // the message of the file before, for splices
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

const uint32_t kAllChecks = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION |
                            QM_CHECK_COMMERCIAL | QM_CHECK_SUSPECT;

// Whether a scan left alone what is not its own to write.
bool KeepsInputs(const QMINFO& given, QMINFO left) {
  left.headerOutSize = given.headerOutSize;
  left.headerLength = given.headerLength;
  left.headerOutLength = given.headerOutLength;
  left.state = given.state;
  left.score = given.score;
  return memcmp(&given, &left, sizeof given) == 0;
}

// Scans from memory, or from a file with a path. Writes to nothing that
// threads share.
Result Scan(const std::string& message, const char* path, void* context,
            const Sizes& sizes, bool checks) {
  Result result;
  Exact copy(message.size());
  memcpy(copy.bytes, message.data(), message.size());
  Exact cause(static_cast<size_t>(sizes.cause));
  Exact version(static_cast<size_t>(sizes.version));
  Exact params(static_cast<size_t>(sizes.params));
  Exact header(static_cast<size_t>(sizes.header));
  Exact record(sizeof(QMINFO) + 2 * kMargin);
  QMGLOBALSETUP globalSetup = {8, kAllChecks};
  QMUSERSETUP userSetup = {20, -100, 200, 0, kAllChecks};
  QMINFO* info = reinterpret_cast<QMINFO*>(record.bytes + kMargin);
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
  if (checks) {
    info->globalSetup = &globalSetup;
    info->userSetup = &userSetup;
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
  const QMINFO given = *info;
  const double start = Now(), threadStart = ThreadNow();
  result.returned = QmScanMessageWithContext(info, context);
  result.seconds = Now() - start;
  result.threadSeconds = ThreadNow() - threadStart;
  const std::string margin(kMargin, '#');
  result.marginsKept = memcmp(record.bytes, margin.data(), kMargin) == 0 &&
                       memcmp(record.bytes + kMargin + sizeof *info,
                              margin.data(), kMargin) == 0;
  result.inputsKept = KeepsInputs(given, *info);
  result.messageKept = memcmp(copy.bytes, message.data(), message.size()) == 0;
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

Result Runner::scan(const std::string& message, const char* path, void* context,
                    Sizes sizes) {
  const Result result = Scan(message, path, context, sizes, options_.checks);
  figures.scans++;
  figures.seconds += result.seconds;
  figures.scannedBytes += static_cast<double>(message.size());
  if (!result.messageKept) fault("a byte of the caller's message was changed");
  if (!result.marginsKept) fault("a byte beside the record was changed");
  if (!result.inputsKept) fault("an input of the record was changed");
  if (options_.distort && result.threadSeconds > options_.most)
    fault("a scan took too long");
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

// Buffers that hold all of an answer. The version text grows the header a
// little, never by this much.
Sizes LargeSizes(const std::string& message) {
  return {kCauseBytes, 300, 300, static_cast<int>(message.size() * 3 + 4096)};
}

void Runner::runMessage(const std::string& message, const char* path) {
  const Sizes large = LargeSizes(message);
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
  figures.digest = figures.digest * 31 + Digest(AnswerOf(shared));
  if (options_.threads > 0) mails_.push_back({path, message, AnswerOf(shared)});
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

void Runner::runThreads() {
  const size_t n = mails_.size();
  std::vector<std::vector<size_t>> wrong(static_cast<size_t>(options_.threads));
  std::vector<std::thread> threads;
  for (size_t t = 0; t < wrong.size(); t++) {
    threads.emplace_back([this, n, t, &wrong] {
      for (size_t i = 0; i < n; i++) {
        const Mail& mail = mails_[(i + t * n / wrong.size()) % n];
        const Result result = Scan(mail.text, nullptr, context_,
                                   LargeSizes(mail.text), options_.checks);
        if (AnswerOf(result) != mail.answer)
          wrong[t].push_back(static_cast<size_t>(&mail - mails_.data()));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  figures.scans += static_cast<long>(n * threads.size());
  for (const std::vector<size_t>& list : wrong) {
    for (const size_t i : list) {
      name_ = mails_[i].path;
      fault("a thread got another answer");
    }
  }
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

// A piece of the text, most often a small one; all of it when it is short.
std::string PieceOf(const std::string& text, uint64_t& state) {
  if (text.empty()) return text;
  const size_t most = Random(state) % 4 ? 200 : text.size();
  const size_t n = 1 + Random(state) % std::min(most, text.size());
  return text.substr(Random(state) % (text.size() - n + 1), n);
}

// The message as a part of a new one, `depth` times.
std::string Nested(std::string text, int depth, bool letters) {
  for (int i = 0; i < depth && text.size() < kMaxMessageBytes; i++) {
    const std::string mark = "b" + std::to_string(i);
    const std::string type =
        letters ? "Content-Type: message/rfc822\r\n\r\n" : "";
    text = "Content-Type: multipart/mixed; boundary=\"" + mark +
           "\"\r\n\r\n--" + mark + "\r\n" + type + text + "\r\n--" + mark +
           "--\r\n";
  }
  return text;
}

void Distort(std::string& text, const std::string& other, uint64_t& state) {
  const size_t at = text.empty() ? 0 : Random(state) % text.size();
  switch (Random(state) % 7) {
    case 0:
      text.resize(at);
      break;
    case 1:
      text.erase(at, 1 + Random(state) % 400);
      break;
    case 2:
      text.insert(at, PieceOf(other, state));
      break;
    case 3:
      for (uint32_t i = Random(state) % 64; i < 64 && !text.empty(); i++)
        text[Random(state) % text.size()] ^=
            static_cast<char>(1 << Random(state) % 8);
      break;
    case 4: {
      const std::string piece = PieceOf(text, state);
      const size_t room = kMaxMessageBytes / 8 << Random(state) % 4;
      std::string many;
      for (uint32_t i = Random(state) % 8000; i > 0 && !piece.empty(); i--) {
        if (text.size() + many.size() + piece.size() > room) break;
        many += piece;
      }
      text.insert(at, many);
      break;
    }
    case 5:
      text = Nested(text, static_cast<int>(1 + Random(state) % 70), false);
      break;
    default:
      text = Nested(text, static_cast<int>(1 + Random(state) % 20), true);
  }
}

// The temporary file and its text, with the context only.
void Runner::runBothWays(const std::string& message) {
  const Sizes large = LargeSizes(message);
  const Result shared = scan(message, nullptr, context_, large);
  const Result file = scan(message, tempPath_, context_, large);
  if (message.empty()) return;
  if (message.size() < kMaxMessageBytes) {
    compare(shared, file, "memory and file differ in the verdict", true);
    if (AnswerOf(shared) != AnswerOf(file))
      fault("memory and file differ in the answer");
  }
  figures.states[shared.state]++;
  figures.digest = figures.digest * 31 + Digest(AnswerOf(shared));
}

void Runner::runDistortions(const std::string& path,
                            const std::string& message) {
  // Of the file's own, so that one alone can be run again.
  uint64_t state = options_.seed ^ Digest(message);
  for (int i = 0; i < options_.count; i++) {
    name_ = path + " distortion " + std::to_string(i);
    std::string changed = message;
    const int changes = 1 + static_cast<int>(Random(state) % kMaxDistortions);
    for (int k = 0; k < changes; k++) Distort(changed, other_, state);
    if (!WriteFile(tempPath_, changed)) return fault("cannot write");
    if (i % kFullEvery == kFullEvery - 1) {
      runMessage(changed, tempPath_);
    } else {
      runBothWays(changed);
    }
  }
  other_ = message;
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
  if (options_.distort) runDistortions(path, message);
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
  printf("%6s %10s %7s %6s %7s %8s %7s %16s  %-20s %s\n", "files", "bytes",
         "scans", "faults", "no mail", "seconds", "MB/s", "digest", "states",
         "path");
}

void PrintRow(const Figures& f, const char* path) {
  std::string states;
  for (const auto& state : f.states)
    states +=
        std::to_string(state.first) + ":" + std::to_string(state.second) + " ";
  printf("%6ld %10.0f %7ld %6ld %7ld %8.2f %7.2f %016" PRIx64 "  %-20s %s\n",
         f.files, f.bytes, f.scans, f.faults, f.noMail, f.seconds,
         f.seconds > 0 ? f.scannedBytes / f.seconds / 1e6 : 0.0, f.digest,
         states.c_str(), path);
  fflush(stdout);
}

int Usage() {
  fprintf(stderr,
          "usage: corpus_run [--checks] [--list-no-mail] [--slow MS] "
          "[--threads N] [--mutate SEED COUNT] [--distort SEED COUNT] "
          "[--most SECONDS] PATH...\n");
  return 64;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int i = 1;
  for (; i < argc && strncmp(argv[i], "--", 2) == 0; i++) {
    const std::string option = argv[i];
    if (option == "--checks") {
      options.checks = true;
    } else if (option == "--threads" && i + 1 < argc) {
      options.threads = atoi(argv[++i]);
    } else if (option == "--list-no-mail") {
      options.listNoMail = true;
    } else if (option == "--slow" && i + 1 < argc) {
      options.slowMs = atof(argv[++i]);
    } else if (option == "--most" && i + 1 < argc) {
      options.most = atof(argv[++i]);
    } else if ((option == "--mutate" || option == "--distort") &&
               i + 2 < argc) {
      (option == "--mutate" ? options.mutate : options.distort) = true;
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
    runner.runThreads();
    PrintRow(runner.figures, argv[i]);
    total.add(runner.figures);
  }
  PrintRow(total, "(total)");
  return total.faults ? 1 : 0;
}
