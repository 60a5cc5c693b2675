// Creating a speedup context on a dictionary of full size: 440 sections and
// 36,080 lines of all types, which a patch list names as its base.
//
//   CreateContext      all of it, as a host that starts up
//   CreateBareContext  the same without a list
//   ReadList           the file read, checked and copied into a new image
//   IndexImage         digests of names and lines put into tables; counters
//   CompilePatterns    the lines that are patterns, into the pool
//   PrepareRules       rules taken apart, and their patterns compiled
//   HardCodedPatterns  the pool's own patterns
//   MergePatches       two lines of each section patched
//
// Counter: per_line divides the time by the lines of the dictionary.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "api/speedup_context.h"
#include "full_dictionary.h"
#include "regex/regex_pool.h"
#include "rules/image_util.h"
#include "rules/kw_patch.h"
#include "rules/qm_dico.h"
#include "rules/source_util.h"

namespace {

const std::string& FullSource() {
  static const std::string source = [] {
    std::string text;
    for (const FullSection& section : MakeFullDictionary())
      text += section.source();
    return text;
  }();
  return source;
}

const std::string& FullImage() {
  static const std::string image = CompileSource(FullSource());
  return image;
}

void Report(benchmark::State& state) {
  const auto rate = benchmark::Counter::kIsRate | benchmark::Counter::kInvert;
  state.counters["per_line"] = benchmark::Counter(
      double(state.iterations()) * kFullSections * kFullLines, rate);
}

// A folder with the image and a list that names it.
class Folder {
 public:
  Folder() {
    char name[] = "/tmp/qmbenchXXXXXX";
    if (!mkdtemp(name)) abort();
    path = name;
    write("full.kwo", FullImage());
    write("qmpatch.list", "full.kwo\n");
  }
  ~Folder() {
    for (const std::string& file : files) unlink(file.c_str());
    rmdir(path.c_str());
  }
  std::string path;

 private:
  void write(const char* name, const std::string& bytes) {
    files.push_back(path + "/" + name);
    BLOCK block(0, 1);
    block.add(bytes.data(), uint32_t(bytes.size()));
    if (!block.saveTo(files.back().c_str(), 0)) abort();
  }
  std::vector<std::string> files;
};

void CreateContext(benchmark::State& state) {
  const Folder folder;
  for (auto _ : state) delete CreateSpeedupContext(folder.path.c_str());
  Report(state);
}
BENCHMARK(CreateContext)->Unit(benchmark::kMillisecond);

void CreateBareContext(benchmark::State& state) {
  for (auto _ : state) delete CreateSpeedupContext("/nonexistent");
}
BENCHMARK(CreateBareContext)->Unit(benchmark::kMillisecond);

void ReadList(benchmark::State& state) {
  const Folder folder;
  const std::string list = folder.path + "/qmpatch.list";
  for (auto _ : state) {
    BLOCK image(0, 1);
    if (!KwLoadKeywords(&image, nullptr, list.c_str(), nullptr)) abort();
  }
  Report(state);
}
BENCHMARK(ReadList)->Unit(benchmark::kMillisecond);

void IndexImage(benchmark::State& state) {
  TQMDICO dico(nullptr, nullptr);
  for (auto _ : state) dico.loadKeywordsFromBlock(BlockOf(FullImage()));
  Report(state);
}
BENCHMARK(IndexImage)->Unit(benchmark::kMillisecond);

void CompilePatterns(benchmark::State& state) {
  for (auto _ : state) {
    REGEXPOOL pool;
    state.PauseTiming();
    TQMDICO dico(&pool, nullptr);
    dico.loadKeywordsFromBlock(BlockOf(FullImage()));
    state.ResumeTiming();
    dico.precompileRegexesIntoPool();
  }
  Report(state);
}
BENCHMARK(CompilePatterns)->Unit(benchmark::kMillisecond);

void PrepareRules(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    REGEXPOOL pool;
    TQMDICO dico(&pool, nullptr);
    dico.loadKeywordsFromBlock(BlockOf(FullImage()));
    dico.precompileRegexesIntoPool();
    state.ResumeTiming();
    dico.prepareRules();
  }
  Report(state);
}
BENCHMARK(PrepareRules)->Unit(benchmark::kMillisecond);

void HardCodedPatterns(benchmark::State& state) {
  for (auto _ : state) {
    REGEXPOOL pool;
    pool.addAllHardCodedRegexes();
  }
}
BENCHMARK(HardCodedPatterns)->Unit(benchmark::kMillisecond);

void MergePatches(benchmark::State& state) {
  std::string patches;
  for (const FullSection& section : MakeFullDictionary())
    patches += section.patch("-" + section.line(kFullLines / 2) + "\n++" +
                             section.line(kFullLines / 2) + "\n");
  for (auto _ : state) {
    state.PauseTiming();
    TKwObj object;
    BLOCK image(0, 1);
    if (!AddSource(object, FullSource() + patches).empty()) abort();
    state.ResumeTiming();
    if (!object.ApplyPatch(&image)) abort();
  }
  Report(state);
}
BENCHMARK(MergePatches)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
