// The cost of a pattern that nearly always fails: the pattern engine beside
// others, on regex_patterns.txt and on subjects of the size of a header line
// (60 to 64 bytes) and of a body (3.7 to 4 KB).
//
//   cmake --preset native
//   cmake --build --preset native --target regex_bench
//   build/native/bench/regex_bench [--mail DIR] [--rounds N] [--patterns FILE]
//                                  [--headers N] [--bodies N] [--slowest N]
//
// With --mail the subjects are cut from the messages below DIR, else they are
// made up. Every engine that was found when this was configured takes part:
// libpcre2-dev (with JIT), libre2-dev, libhyperscan-dev (each pattern a
// database, and for orientation all in one).
//
// For each subject all patterns are tried in turn, as a scan does; no engine
// reports captures or offsets. The engines take turns for several rounds, the
// median of a thread's own time counts. Prints nanoseconds for each (pattern,
// subject) pair, the ratio to the engine's own, and the matches; then the
// patterns that cost the engine most. Exit 0: all engines agree on every pair;
// 1: they do not, and the patterns are listed, or one does not compile; 64:
// usage.

#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench_util.h"
#include "regex/zr_regex.h"
#include "regex_subjects.h"

#ifdef QM_WITH_PCRE2
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>
#endif
#ifdef QM_WITH_RE2
#include <re2/re2.h>
#endif
#ifdef QM_WITH_HYPERSCAN
#include <hs.h>
#endif

namespace {

typedef std::vector<std::string> Texts;

// One engine with all patterns compiled.
class Engine {
 public:
  virtual ~Engine() {}
  virtual const char* name() const = 0;
  // Whether it compiles; the patterns are added in their order.
  virtual bool add(const std::string& pattern) = 0;
  // Called behind the last pattern.
  virtual bool ready() { return true; }
  // How many of the patterns first to last - 1 match. An engine that is not
  // single takes all of them at once.
  virtual size_t count(size_t first, size_t last, const std::string& text) = 0;
  virtual bool single() const { return true; }
};

class OwnEngine : public Engine {
 public:
  ~OwnEngine() override {
    for (zr_regex* one : all_) zr_regfree(one);
  }
  const char* name() const override { return "ours"; }
  bool add(const std::string& pattern) override {
    all_.push_back(zr_regalloc());
    uint32_t length = static_cast<uint32_t>(pattern.size());
    return zr_regcomp_len(all_.back(), pattern.data(), 0, length) == ZR_OK;
  }
  size_t count(size_t first, size_t last, const std::string& text) override {
    size_t n = 0;
    uint32_t length = static_cast<uint32_t>(text.size());
    for (size_t i = first; i < last; i++) {
      n += zr_regexec_len(all_[i], text.data(), 0, nullptr, 0, length) == ZR_OK;
    }
    return n;
  }

 private:
  std::vector<zr_regex*> all_;
};

#ifdef QM_WITH_PCRE2
class Pcre2Engine : public Engine {
 public:
  ~Pcre2Engine() override {
    for (pcre2_code* one : all_) pcre2_code_free(one);
    pcre2_match_data_free(data_);
  }
  const char* name() const override { return "PCRE2-JIT"; }
  bool add(const std::string& pattern) override {
    int error = 0;
    PCRE2_SIZE at = 0;
    all_.push_back(pcre2_compile(
        reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
        PCRE2_DOLLAR_ENDONLY | PCRE2_NO_AUTO_CAPTURE, &error, &at, nullptr));
    return all_.back() != nullptr &&
           pcre2_jit_compile(all_.back(), PCRE2_JIT_COMPLETE) == 0;
  }
  size_t count(size_t first, size_t last, const std::string& text) override {
    size_t n = 0;
    for (size_t i = first; i < last; i++) {
      n += pcre2_jit_match(all_[i], reinterpret_cast<PCRE2_SPTR>(text.data()),
                           text.size(), 0, 0, data_, nullptr) >= 0;
    }
    return n;
  }

 private:
  std::vector<pcre2_code*> all_;
  pcre2_match_data* data_ = pcre2_match_data_create(1, nullptr);
};
#endif

#ifdef QM_WITH_RE2
class Re2Engine : public Engine {
 public:
  const char* name() const override { return "RE2"; }
  bool add(const std::string& pattern) override {
    RE2::Options options(RE2::Latin1);
    options.set_never_capture(true);
    options.set_log_errors(false);
    all_.push_back(std::make_unique<RE2>(pattern, options));
    return all_.back()->ok();
  }
  size_t count(size_t first, size_t last, const std::string& text) override {
    size_t n = 0;
    for (size_t i = first; i < last; i++) {
      n += all_[i]->Match(text, 0, text.size(), RE2::UNANCHORED, nullptr, 0);
    }
    return n;
  }

 private:
  std::vector<std::unique_ptr<RE2>> all_;
};
#endif

#ifdef QM_WITH_HYPERSCAN
int StopAtMatch(unsigned, unsigned long long, unsigned long long, unsigned,
                void* n) {
  ++*static_cast<size_t*>(n);
  return 1;
}

int CountMatch(unsigned, unsigned long long, unsigned long long, unsigned,
               void* n) {
  ++*static_cast<size_t*>(n);
  return 0;
}

class HyperscanEngine : public Engine {
 public:
  ~HyperscanEngine() override {
    for (hs_database_t* one : all_) hs_free_database(one);
    hs_free_scratch(scratch_);
  }
  const char* name() const override { return "Hyperscan"; }
  bool add(const std::string& pattern) override {
    hs_compile_error_t* error = nullptr;
    all_.push_back(nullptr);
    if (hs_compile(pattern.c_str(), HS_FLAG_SINGLEMATCH, HS_MODE_BLOCK, nullptr,
                   &all_.back(), &error) != HS_SUCCESS) {
      hs_free_compile_error(error);
      return false;
    }
    return hs_alloc_scratch(all_.back(), &scratch_) == HS_SUCCESS;
  }
  size_t count(size_t first, size_t last, const std::string& text) override {
    size_t n = 0;
    unsigned length = static_cast<unsigned>(text.size());
    for (size_t i = first; i < last; i++)
      hs_scan(all_[i], text.data(), length, 0, scratch_, StopAtMatch, &n);
    return n;
  }

 private:
  std::vector<hs_database_t*> all_;
  hs_scratch_t* scratch_ = nullptr;
};

// All patterns in one pass: what a redesign of the callers could win.
class HyperscanSet : public Engine {
 public:
  ~HyperscanSet() override {
    hs_free_database(base_);
    hs_free_scratch(scratch_);
  }
  const char* name() const override { return "Hyperscan, all at once"; }
  bool single() const override { return false; }
  bool add(const std::string& pattern) override {
    patterns_.push_back(pattern);
    return true;
  }
  bool ready() override {
    std::vector<const char*> texts;
    std::vector<unsigned> flags, ids;
    for (const std::string& pattern : patterns_) {
      ids.push_back(static_cast<unsigned>(texts.size()));
      texts.push_back(pattern.c_str());
      flags.push_back(HS_FLAG_SINGLEMATCH);
    }
    hs_compile_error_t* error = nullptr;
    if (hs_compile_multi(texts.data(), flags.data(), ids.data(),
                         static_cast<unsigned>(texts.size()), HS_MODE_BLOCK,
                         nullptr, &base_, &error) != HS_SUCCESS) {
      hs_free_compile_error(error);
      return false;
    }
    return hs_alloc_scratch(base_, &scratch_) == HS_SUCCESS;
  }
  size_t count(size_t, size_t, const std::string& text) override {
    size_t n = 0;
    hs_scan(base_, text.data(), static_cast<unsigned>(text.size()), 0, scratch_,
            CountMatch, &n);
    return n;
  }

 private:
  Texts patterns_;
  hs_database_t* base_ = nullptr;
  hs_scratch_t* scratch_ = nullptr;
};
#endif

typedef std::vector<std::unique_ptr<Engine>> Engines;

// The own engine first.
Engines AllEngines() {
  Engines out;
  out.push_back(std::make_unique<OwnEngine>());
#ifdef QM_WITH_PCRE2
  out.push_back(std::make_unique<Pcre2Engine>());
#endif
#ifdef QM_WITH_RE2
  out.push_back(std::make_unique<Re2Engine>());
#endif
#ifdef QM_WITH_HYPERSCAN
  out.push_back(std::make_unique<HyperscanEngine>());
  out.push_back(std::make_unique<HyperscanSet>());
#endif
  return out;
}

// "#" alone and lines that begin with "# " are comments.
Texts ReadPatterns(const std::string& path) {
  Texts out;
  std::ifstream in(path, std::ios::binary);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line != "#" && line.compare(0, 2, "# ") != 0)
      out.push_back(line);
  }
  return out;
}

bool Compile(const Engines& engines, const Texts& patterns) {
  bool good = true;
  for (const auto& engine : engines) {
    for (const std::string& pattern : patterns) {
      if (engine->add(pattern)) continue;
      printf("%s does not compile: %s\n", engine->name(), pattern.c_str());
      good = false;
    }
    if (good && !engine->ready()) {
      printf("%s does not compile the set\n", engine->name());
      good = false;
    }
  }
  return good;
}

// Lists the patterns on which an engine differs from the first; their number.
size_t Disagreements(const Engines& engines, const Texts& patterns,
                     const Texts& texts) {
  size_t patternsThatDiffer = 0;
  for (size_t i = 0; i < patterns.size(); i++) {
    bool differs = false;
    for (size_t e = 1; e < engines.size(); e++) {
      if (!engines[e]->single()) continue;
      size_t ours = 0, theirs = 0;
      std::string example;
      for (const std::string& text : texts) {
        size_t a = engines[0]->count(i, i + 1, text);
        size_t b = engines[e]->count(i, i + 1, text);
        if (a == b) continue;
        if (ours + theirs == 0) example = text.substr(0, 64);
        ours += a;
        theirs += b;
      }
      if (ours + theirs == 0) continue;
      printf("differs: %s; only ours %zu, only %s %zu, first in [%s]\n",
             patterns[i].c_str(), ours, engines[e]->name(), theirs,
             example.c_str());
      differs = true;
    }
    patternsThatDiffer += differs;
  }
  return patternsThatDiffer;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

struct Row {
  std::vector<double> rounds;  // ns a pair
  size_t matches = 0;
};

std::vector<Row> Measure(const Engines& engines, size_t first, size_t last,
                         const Texts& texts, int rounds) {
  std::vector<Row> rows(engines.size());
  double pairs = static_cast<double>((last - first) * texts.size());
  // Round 0 warms up.
  for (int round = 0; round <= rounds; round++) {
    for (size_t e = 0; e < engines.size(); e++) {
      double start = Now();
      size_t matches = 0;
      for (const std::string& text : texts)
        matches += engines[e]->count(first, last, text);
      double each = (Now() - start) * 1e9 / pairs;
      if (round > 0) rows[e].rounds.push_back(each);
      rows[e].matches = matches;
    }
  }
  return rows;
}

void PrintTable(const char* title, const Engines& engines, size_t patterns,
                const Texts& texts, int rounds) {
  std::vector<Row> rows = Measure(engines, 0, patterns, texts, rounds);
  double ours = Median(rows[0].rounds);
  size_t bytes = 0;
  for (const std::string& text : texts) bytes += text.size();
  printf("\n%s: %zu subjects of %zu bytes on average\n", title, texts.size(),
         bytes / texts.size());
  printf("%-24s %10s %8s %10s %8s %10s\n", "", "ns a pair", "ratio", "lowest",
         "highest", "matches");
  for (size_t e = 0; e < engines.size(); e++) {
    const std::vector<double>& all = rows[e].rounds;
    printf("%-24s %10.1f %8.2f %10.1f %8.1f %10zu\n", engines[e]->name(),
           Median(all), Median(all) / ours,
           *std::min_element(all.begin(), all.end()),
           *std::max_element(all.begin(), all.end()), rows[e].matches);
  }
}

// Each pattern alone over all subjects, so it is in the cache here.
void PrintSlowest(const char* title, const Engines& all, const Texts& patterns,
                  const Texts& texts, size_t wanted) {
  struct Cost {
    size_t pattern;
    std::vector<Row> rows;
    double ours() const { return Median(rows[0].rounds); }
  };
  std::vector<Cost> costs;
  for (size_t i = 0; i < patterns.size(); i++)
    costs.push_back({i, Measure(all, i, i + 1, texts, 1)});
  std::sort(costs.begin(), costs.end(),
            [](const Cost& a, const Cost& b) { return a.ours() > b.ours(); });
  double sum = 0, top = 0;
  for (size_t i = 0; i < costs.size(); i++) {
    sum += costs[i].ours();
    if (i < wanted) top += costs[i].ours();
  }
  wanted = std::min(wanted, costs.size());
  printf("\nThe %zu patterns that cost most on %s, %.0f %% of all; ns a pair\n",
         wanted, title, 100 * top / sum);
  for (size_t e = 0; e < all.size(); e++) {
    if (all[e]->single()) printf("%10s", all[e]->name());
  }
  printf("%9s  pattern\n", "matches");
  for (size_t i = 0; i < wanted; i++) {
    for (size_t e = 0; e < all.size(); e++) {
      if (all[e]->single()) printf("%10.0f", Median(costs[i].rows[e].rounds));
    }
    printf("%9zu  %s\n", costs[i].rows[0].matches,
           patterns[costs[i].pattern].c_str());
  }
}

struct Options {
  std::string patterns = QM_BENCH_DIR "/regex_patterns.txt";
  std::string mail;
  size_t headers = 1500, bodies = 400, slowest = 10;
  int rounds = 5;
};

// Whether the arguments are right.
bool ReadOptions(int argc, char** argv, Options* out) {
  if (argc % 2 == 0) return false;
  for (int i = 1; i < argc; i += 2) {
    std::string name = argv[i], value = argv[i + 1];
    size_t number = strtoul(value.c_str(), nullptr, 10);
    if (name == "--patterns") {
      out->patterns = value;
    } else if (name == "--mail") {
      out->mail = value;
    } else if (name == "--slowest") {
      out->slowest = number;
    } else if (number == 0) {
      return false;
    } else if (name == "--headers") {
      out->headers = number;
    } else if (name == "--bodies") {
      out->bodies = number;
    } else if (name == "--rounds") {
      out->rounds = static_cast<int>(number);
    } else {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ReadOptions(argc, argv, &options)) {
    fprintf(stderr, "usage: see the head of regex_bench.cc\n");
    return 64;
  }
  Texts patterns = ReadPatterns(options.patterns);
  Subjects subjects =
      options.mail.empty()
          ? MadeUp(options.headers, options.bodies)
          : FromMail(options.mail, options.headers, options.bodies);
  if (patterns.empty() || subjects.headers.empty() || subjects.bodies.empty()) {
    fprintf(stderr, "regex_bench: no patterns or no subjects\n");
    return 1;
  }
  Engines engines = AllEngines();
  if (!Compile(engines, patterns)) return 1;
  printf("%zu patterns, %d rounds, subjects %s\n", patterns.size(),
         options.rounds,
         options.mail.empty() ? "made up" : options.mail.c_str());
  size_t differing = Disagreements(engines, patterns, subjects.headers) +
                     Disagreements(engines, patterns, subjects.bodies);
  printf("Patterns on which engines differ: %zu\n", differing);
  PrintTable("Headers", engines, patterns.size(), subjects.headers,
             options.rounds);
  PrintTable("Bodies", engines, patterns.size(), subjects.bodies,
             options.rounds);
  if (options.slowest > 0) {
    PrintSlowest("headers", engines, patterns, subjects.headers,
                 options.slowest);
    PrintSlowest("bodies", engines, patterns, subjects.bodies, options.slowest);
  }
  return differing == 0 ? 0 : 1;
}
