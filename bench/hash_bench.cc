// Speed of the hash tables, the digest and the word graph in src/base. Needs
// the native preset:
//
//   cmake --preset native && cmake --build --preset native --target hash_bench
//   build/native/bench/hash_bench
//
//   Insert/N              N keys into a table that starts empty, ns a key
//   Search/WHICH/N        HASHTAB::findKey among N keys, ns a search
//                         (HitFolded: in a table that ignores case)
//   LongestMatch          of 60 bytes of text among 10,000 keys
//   Hostile/N             N inserts of keys that all want one place, with the
//                         bound for message text, ns a key
//   Load/N                loadFromConstBuf of an image of N keys, ns a key
//   Md5/BYTES             MD5 of a text, in bytes a second
//   Graph/WHICH           BLOCKDAWG::find in the built-in graph, ns a lookup
//
// The keys are made up from a fixed seed, so that runs can be compared.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "base/blockdawg.h"
#include "base/hash_file.h"
#include "base/md5.h"
#include "data/tld_graph.h"

namespace {

typedef std::vector<std::string> Keys;

// Keys of 4 to 19 letters; two seeds have none in common.
Keys MakeKeys(size_t n, uint32_t seed) {
  Keys keys(n);
  uint32_t state = seed;
  for (std::string& key : keys) {
    const std::string number = std::to_string(&key - keys.data());
    state = state * 1664525u + 1013904223u;
    for (uint32_t i = 3 + (state >> 8) % 16; i > number.size(); i--) {
      state = state * 1664525u + 1013904223u;
      key += static_cast<char>('a' + (state >> 8) % 26);
    }
    key += number + static_cast<char>('A' + seed);
  }
  return keys;
}

TBLOCK View(const std::string& text) {
  return TBLOCK(text.data(), static_cast<uint32_t>(text.size()));
}

void Fill(HASHTAB& table, const Keys& keys) {
  for (const std::string& key : keys) table.insert(View(key), nullptr);
}

void SetRate(benchmark::State& state, size_t items) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(items));
}

void Insert(benchmark::State& state) {
  const Keys keys = MakeKeys(static_cast<size_t>(state.range(0)), 1);
  for (auto _ : state) {
    HASHTAB table;
    Fill(table, keys);
    benchmark::DoNotOptimize(table.count);
  }
  SetRate(state, keys.size());
}

void Search(benchmark::State& state, uint32_t seed, int32_t mode) {
  const size_t n = static_cast<size_t>(state.range(0));
  const Keys present = MakeKeys(n, 1), sought = MakeKeys(n, seed);
  HASHTAB table(0, mode);
  Fill(table, present);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(table.findKey(View(sought[i])));
    i = i + 1 == n ? 0 : i + 1;
  }
  SetRate(state, 1);
}

void LongestMatch(benchmark::State& state) {
  const Keys keys = MakeKeys(10000, 1);
  HASHTAB table;
  Fill(table, keys);
  const std::string text(60, 'e');
  for (auto _ : state)
    benchmark::DoNotOptimize(table.longestMatch(View(text)).length);
  SetRate(state, 1);
}

// Words of letters whose slots lie in a five thousandth of any table.
void Hostile(benchmark::State& state) {
  Keys keys;
  HASHTAB probe(100000);
  for (uint32_t i = 0; keys.size() < static_cast<size_t>(state.range(0)); i++) {
    std::string key;
    for (uint32_t rest = i, n = 0; n < 6; n++, rest /= 26)
      key += static_cast<char>('a' + rest % 26);
    const int32_t slot = probe.insert(View(key), nullptr);
    probe.deleteEntry(slot);
    if (slot >= 60000 && slot < 60025) keys.push_back(key);
  }
  for (auto _ : state) {
    HASHTAB table;
    table.maxProbes = kHostileProbes;
    Fill(table, keys);
    benchmark::DoNotOptimize(table.count);
  }
  SetRate(state, keys.size());
}

void Load(benchmark::State& state) {
  const Keys keys = MakeKeys(static_cast<size_t>(state.range(0)), 1);
  HASHFILE table;
  Fill(table, keys);
  const std::unique_ptr<BLOCK> image(table.save4File(0, 0));
  for (auto _ : state) {
    HASHFILE loaded;
    benchmark::DoNotOptimize(loaded.loadFromConstBuf(image->view()).pointer);
  }
  SetRate(state, keys.size());
}

void Md5(benchmark::State& state) {
  const std::string text(static_cast<size_t>(state.range(0)), 'x');
  for (auto _ : state) {
    MD5 md5;
    md5.add(View(text));
    benchmark::DoNotOptimize(md5.get()[0]);
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void Graph(benchmark::State& state, const char* word) {
  BLOCKDAWG graph;
  graph.useBlock(TBLOCK(kTldGraph, kTldGraphBytes));
  for (auto _ : state) benchmark::DoNotOptimize(graph.hasWord(word));
  SetRate(state, 1);
}

BENCHMARK(Insert)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000);
BENCHMARK_CAPTURE(Search, Hit, 1, hashExact)->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(Search, Miss, 2, hashExact)->Arg(1000)->Arg(100000);
BENCHMARK_CAPTURE(Search, HitFolded, 1, hashUpperLower)->Arg(1000);
BENCHMARK(LongestMatch);
BENCHMARK(Hostile)->Arg(4000)->Arg(16000);
BENCHMARK(Load)->Arg(1000)->Arg(100000);
BENCHMARK(Md5)->Arg(16)->Arg(4096)->Arg(1 << 20);
BENCHMARK_CAPTURE(Graph, hit, "co.uk");
BENCHMARK_CAPTURE(Graph, prefix, "yokosuka");
BENCHMARK_CAPTURE(Graph, miss, "example.com");

}  // namespace

BENCHMARK_MAIN();
