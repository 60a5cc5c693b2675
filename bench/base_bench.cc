// Speed of the text primitives in src/base, in bytes of input a second, beside
// memcpy of the same bytes in the same run. Needs the native preset:
//
//   cmake --preset native && cmake --build --preset native --target base_bench
//   build/native/bench/base_bench
//
// Each runs over as many bytes as a scan looks at in one message.
//
//   Memcpy/DATA           the yardstick; DATA is text, base64, quoted or header
//   Find/exact            TBLOCK::find, NoConvTable, the needle is absent
//   Find/fold             the same through LowerConvTable
//   Equals/fold           TBLOCK::equals, text against itself in upper case
//   Base64/raw            TBLOCK::BlockUnbase64 with `raw`
//   Base64/block          BLOCK::decode64, its allocation included
//   Quoted/decode         a fresh copy, then TBLOCK::DecodeQuotedPrintable
//   Quoted/copy           that copy alone: take its time off the line above
//   Header/split          TBLOCK::HeaderToBlocks, folds left alone
//   Header/unfold         a fresh copy, then TBLOCK::BlockParseHeader
//   Header/copy           that copy alone
//
// The data are made up from a fixed seed, so that runs can be compared.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "base/block.h"
#include "base/tblock.h"
#include "base/vectors.h"

namespace {

const size_t kBytes = 204800;

class Random {
 public:
  explicit Random(uint32_t seed) : state_(seed) {}
  // A number below n.
  uint32_t Below(uint32_t n) {
    state_ = state_ * 1664525u + 1013904223u;
    return (state_ >> 8) % n;
  }

 private:
  uint32_t state_;
};

// Letters about as often as mail has them.
const char kLetters[] =
    "eeeeeeeeeeeetttttttttaaaaaaaaooooooooiiiiiiinnnnnnnsssssshhhhhhrrrrrr"
    "ddddllllcccuuummmwwffggyyppbbvvkEATISN";

std::string Word(Random& random) {
  std::string word;
  const uint32_t length = 1 + random.Below(9);
  while (word.size() < length)
    word += kLetters[random.Below(sizeof kLetters - 1)];
  return word;
}

// Words in lines of about 70 characters.
std::string MakeText() {
  Random random(1);
  std::string text;
  size_t column = 0;
  while (text.size() < kBytes) {
    const std::string word = Word(random);
    if (column + word.size() > 70) {
      text += "\r\n";
      column = 0;
    }
    text += word + " ";
    column += word.size() + 1;
  }
  text.resize(kBytes);
  return text;
}

// Lines of 76 characters.
std::string MakeBase64() {
  Random random(2);
  std::string text;
  for (size_t column = 0; text.size() < kBytes; column++) {
    if (column == 76) {
      text += "\r\n";
      column = 0;
    }
    text += TBLOCK::szBase64CodeTable[random.Below(64)];
  }
  text.resize(kBytes);
  return text;
}

// Text of which every 20th character or so is encoded, with a soft line break
// after about 70 characters.
std::string MakeQuoted() {
  static const char kHex[] = "0123456789ABCDEF";
  Random random(3);
  const std::string text = MakeText();
  std::string quoted;
  size_t column = 0;
  for (size_t i = 0; quoted.size() < kBytes; i++) {
    if (column > 70) {
      quoted += "=\r\n";
      column = 0;
    }
    if (random.Below(20) == 0) {
      quoted += '=';
      quoted += kHex[8 + random.Below(8)];
      quoted += kHex[random.Below(16)];
      column += 3;
    } else {
      quoted += text[i];
      column = text[i] == '\n' ? 0 : column + 1;
    }
  }
  quoted.resize(kBytes);
  return quoted;
}

// Fields of one to four lines.
std::string MakeHeader() {
  Random random(4);
  std::string header;
  while (header.size() < kBytes) {
    header += "X-" + Word(random) + ":";
    uint32_t folds = random.Below(4);
    for (uint32_t words = 8 * (folds + 1); words > 0; words--) {
      header += " " + Word(random);
      if (words % 8 == 1 && folds > 0) {
        header += "\r\n\t";
        folds--;
      }
    }
    header += "\r\n";
  }
  header.resize(kBytes - 4);
  return header + "\r\n\r\n";
}

// A buffer that each round fills anew with the bytes to work on.
class Scratch {
 public:
  explicit Scratch(const std::string& data) : data_(data), copy_(data.size()) {}
  TBLOCK Fresh() {
    memcpy(copy_.data(), data_.data(), data_.size());
    benchmark::ClobberMemory();
    return TBLOCK(copy_.data(), static_cast<uint32_t>(copy_.size()));
  }

 private:
  const std::string data_;
  std::vector<unsigned char> copy_;
};

TBLOCK View(const std::string& data) {
  return TBLOCK(data.data(), static_cast<uint32_t>(data.size()));
}

void CountBytes(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bytes));
}

void Copy(benchmark::State& state, std::string (*make)()) {
  Scratch scratch(make());
  for (auto _ : state) benchmark::DoNotOptimize(scratch.Fresh());
  CountBytes(state, kBytes);
}

void Find(benchmark::State& state, const unsigned char* table) {
  const std::string text = MakeText();
  // Its first letters are frequent, so that false starts are, too.
  const TBLOCK needle("tests42");
  for (auto _ : state) {
    if (View(text).find(needle, 0, table) != -1)
      state.SkipWithError("the needle is not absent");
  }
  CountBytes(state, text.size());
}

void EqualsFold(benchmark::State& state) {
  const std::string text = MakeText();
  std::string other = text;
  for (char& c : other)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  for (auto _ : state) {
    if (!View(text).equals(View(other))) state.SkipWithError("not equal");
  }
  CountBytes(state, text.size());
}

void Base64Raw(benchmark::State& state) {
  const std::string text = MakeBase64();
  std::vector<unsigned char> out(text.size());
  for (auto _ : state) {
    TBLOCK to(out.data(), static_cast<uint32_t>(out.size()));
    TBLOCK::BlockUnbase64(View(text), to, 1);
    if (to.length < kBytes / 4 * 2) state.SkipWithError("not decoded");
    benchmark::ClobberMemory();
  }
  CountBytes(state, text.size());
}

void Base64Block(benchmark::State& state) {
  BLOCK block(0, BLOCK::_DEFALLOCSIZE);
  block.add(View(MakeBase64()));
  for (auto _ : state) {
    BLOCK* decoded = block.decode64();
    if (!decoded || decoded->length < kBytes / 4 * 2)
      state.SkipWithError("not decoded");
    delete decoded;
  }
  CountBytes(state, block.length);
}

void QuotedDecode(benchmark::State& state) {
  Scratch scratch(MakeQuoted());
  for (auto _ : state) {
    TBLOCK text = scratch.Fresh();
    TBLOCK::DecodeQuotedPrintable(text);
    if (text.length >= kBytes) state.SkipWithError("not decoded");
    benchmark::ClobberMemory();
  }
  CountBytes(state, kBytes);
}

void HeaderSplit(benchmark::State& state) {
  const std::string header = MakeHeader();
  TBLOCKVECT fields;
  for (auto _ : state) {
    TBLOCK block = View(header);
    TBLOCK::HeaderToBlocks(block, fields, 0);
    if (fields.count() < 100) state.SkipWithError("not split");
  }
  CountBytes(state, header.size());
}

void HeaderUnfold(benchmark::State& state) {
  Scratch scratch(MakeHeader());
  TBLOCKVECT fields;
  for (auto _ : state) {
    int anomaly = 0;
    TBLOCK::BlockParseHeader(scratch.Fresh(), fields, 1, anomaly);
    if (fields.count() < 100) state.SkipWithError("not split");
  }
  CountBytes(state, kBytes);
}

BENCHMARK_CAPTURE(Copy, text, MakeText)->Name("Memcpy/text");
BENCHMARK_CAPTURE(Copy, base64, MakeBase64)->Name("Memcpy/base64");
BENCHMARK_CAPTURE(Copy, quoted, MakeQuoted)->Name("Memcpy/quoted");
BENCHMARK_CAPTURE(Copy, header, MakeHeader)->Name("Memcpy/header");
BENCHMARK_CAPTURE(Find, exact, TBLOCK::NoConvTable)->Name("Find/exact");
BENCHMARK_CAPTURE(Find, fold, TBLOCK::LowerConvTable)->Name("Find/fold");
BENCHMARK(EqualsFold)->Name("Equals/fold");
BENCHMARK(Base64Raw)->Name("Base64/raw");
BENCHMARK(Base64Block)->Name("Base64/block");
BENCHMARK(QuotedDecode)->Name("Quoted/decode");
BENCHMARK_CAPTURE(Copy, quoted, MakeQuoted)->Name("Quoted/copy");
BENCHMARK(HeaderSplit)->Name("Header/split");
BENCHMARK(HeaderUnfold)->Name("Header/unfold");
BENCHMARK_CAPTURE(Copy, header, MakeHeader)->Name("Header/copy");

}  // namespace

BENCHMARK_MAIN();
