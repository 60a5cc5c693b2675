// The words of a text against pattern lines.
//
//   FindKeywords/LINES/OPTIONS   1,000 words against a section; options 0
//                                none, 1 near, doubled, swapped, 2 all
//   FindKeywordsOf/WORDS         that many against 6,000 lines with all options
//   FindInHostileText            200 KB of one letter against lines that look
//                                for it twice
//   FindInHostileWords/KIND/BYTES  100 lines of a kind, see kHostile, against
//                                words that wear each of them out
//   CompareWord                  one word against one pattern
//
// Counters: per_word and per_line divide the time of one search by what
// it was given.

#include <benchmark/benchmark.h>

#include <iterator>
#include <string>

#include "rules/keyword_compare.h"
#include "rules/kw_obj.h"
#include "rules/qm_dico.h"

namespace {

uint32_t Next(uint32_t& state) {
  state = state * 1664525u + 1013904223u;
  return state >> 10;
}

std::string MakeWord(uint32_t& state) {
  static const char kLetters[] = "eeeetttaaaooiinnsshhrrddlcumwfgypbvk";
  std::string word;
  for (uint32_t n = 3 + Next(state) % 7; n; n--)
    word += kLetters[Next(state) % (sizeof kLetters - 1)];
  return word;
}

// Mostly words, some phrases, alternatives and groups.
std::string MakeLine(uint32_t& state, int options) {
  static const char* const kOptions[] = {"", "(=)", "(!)"};
  std::string line = kOptions[options] + std::string("<5>") + MakeWord(state);
  const uint32_t kind = Next(state) % 10;
  if (kind < 3) line += " " + MakeWord(state);
  if (kind >= 3 && kind < 5) line += "+" + MakeWord(state);
  if (kind == 5) line += "|" + MakeWord(state);
  if (kind == 6) line += "*";
  return line;
}

void Load(TQMDICO& dico, const std::string& source) {
  TKwObj image;
  TBLOCKVECT lines(TBLOCK(source.data(), uint32_t(source.size())), 1);
  BLOCK* block = new BLOCK(0, 1 << 20);
  if (!image.AddSection(TBLOCK("words"), &lines, 0) ||
      !image.WriteToStream(block) || !dico.loadKeywordsFromBlock(block))
    abort();
}

void LoadLines(TQMDICO& dico, int64_t count, int options) {
  uint32_t state = 1;
  std::string source;
  for (int64_t i = 0; i < count; i++) source += MakeLine(state, options) + "\n";
  Load(dico, source);
}

void Search(benchmark::State& state, TQMDICO& dico, const std::string& text,
            int64_t lines) {
  TBLOCKVECT words(0);
  TBLOCK::GetBlockWordList(TBLOCK(text.data(), uint32_t(text.size())), words,
                           bitWhiteSpace);
  int32_t hits = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(dico.findKeywords(dico.findSection("words"), words,
                                               TBLOCK("a@b.de"), 0, 0, hits));
  const double searches = double(state.iterations());
  const auto rate = benchmark::Counter::kIsRate | benchmark::Counter::kInvert;
  state.counters["per_word"] =
      benchmark::Counter(searches * words.count(), rate);
  state.counters["per_line"] =
      benchmark::Counter(searches * double(lines), rate);
  state.counters["hits"] = hits;
}

std::string MakeText(int64_t words) {
  uint32_t state = 99;
  std::string text;
  for (int64_t i = 0; i < words; i++) text += MakeWord(state) + " ";
  return text;
}

void FindKeywords(benchmark::State& state) {
  TQMDICO dico(nullptr, nullptr);
  LoadLines(dico, state.range(0), int(state.range(1)));
  Search(state, dico, MakeText(1000), state.range(0));
}
BENCHMARK(FindKeywords)
    ->Args({100, 2})
    ->Args({1000, 2})
    ->Args({6000, 0})
    ->Args({6000, 1})
    ->Args({6000, 2});

void FindKeywordsOf(benchmark::State& state) {
  TQMDICO dico(nullptr, nullptr);
  LoadLines(dico, 6000, 2);
  Search(state, dico, MakeText(state.range(0)), 6000);
}
BENCHMARK(FindKeywordsOf)->Arg(100)->Arg(10000)->Arg(40000);

void FindInHostileText(benchmark::State& state) {
  TQMDICO dico(nullptr, nullptr);
  std::string source, text;
  for (int i = 0; i < 100; i++)
    source += "(!)v v+v>v v v z" + std::to_string(i) + "\n";
  Load(dico, source);
  for (int i = 0; i < 100000; i++) text += "v ";
  Search(state, dico, text, 100);
}
BENCHMARK(FindInHostileText)->Unit(benchmark::kMillisecond);

std::string Repeat(const char* unit, int n) {
  std::string text;
  for (int i = 0; i < n; i++) text += unit;
  return text;
}

// A line with "%" for a random word; what words are made of. Each word ends in
// all letters, so that no line is refused for want of one.
struct HostileKind {
  const char* line;
  const char* unit;
  int units;
};
const HostileKind kHostile[] = {
    {"(!)*v%*", "v", 174},     // doubled letters
    {"(!)*v%*", "v.", 87},     // with filler between
    {"(!)*v%*", "vi", 87},     // beginnings of a match
    {"(!)*v%", "vi", 87},      // the same at the end
    {"(!)%", "|.", 87},        // bars and filler
    {"(!)*ll%*", "1l|i", 43},  // look-alikes
    {"<5>*v%*", "v", 174},     // no options
    {"(!)*#%*", "$5s", 58},    // numbers
    {"(!)*v%*", "v", 100000},  // one long word
    {"(/)%", "-", 1},          // words spread over blocks
};

void FindInHostileWords(benchmark::State& state) {
  const HostileKind& kind = kHostile[state.range(0)];
  TQMDICO dico(nullptr, nullptr);
  std::string source, text;
  uint32_t seed = 1;
  for (int i = 0; i < 100; i++) {
    source += kind.line + std::string("\n");
    source.replace(source.find('%'), 1, MakeWord(seed));
  }
  Load(dico, source);
  const std::string letters = "abcdefghijklmnopqrstuvwxyz ";
  const std::string word = Repeat(kind.unit, kind.units) + letters;
  while (int64_t(text.size()) < state.range(1)) text += word;
  text.resize(size_t(state.range(1)));
  text.replace(text.size() - letters.size(), letters.size(), letters);
  Search(state, dico, text, 100);
}
void HostileRows(benchmark::internal::Benchmark* rows) {
  for (int kind = 0; kind < int(std::size(kHostile)); kind++)
    for (int bytes = 50000; bytes <= 200000; bytes *= 2)
      rows->Args({kind, bytes});
}
BENCHMARK(FindInHostileWords)
    ->Apply(HostileRows)
    ->Unit(benchmark::kMillisecond);

void CompareWord(benchmark::State& state) {
  static const char* const kWords[] = {"viagra", "v1aagra", "someone"};
  const TBLOCK word(kWords[state.range(0)]);
  for (auto _ : state)
    benchmark::DoNotOptimize(
        BlockCompareKeyword(word, TBLOCK("viagra"), moTips, 0, nullptr, 0));
}
BENCHMARK(CompareWord)->Arg(0)->Arg(1)->Arg(2);

}  // namespace

BENCHMARK_MAIN();
