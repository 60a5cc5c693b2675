// What rules cost on real mail: 4,500 of them, made the same in every run, over
// the messages below the given paths. Fields are built anew for each message,
// as in a scan; parsing a message does not count.
//
//   context   rules and patterns are prepared, as in a speedup context
//   patterns  patterns are, but each rule is parsed when it is reached
//   nothing   patterns are compiled where they are used: a sample of messages
//
//   cmake --preset native -DQM_BENCH=ON
//   cmake --build --preset native --target rules_bench
//   build/native/bench/rules_bench [--context] FOLDER|FILE...
//
// With --context the first row alone, for a profiler.
//
// Prints for each the microseconds a message, the nanoseconds a leaf that was
// held against elements, and the ratio to the first row; then the fields whose
// leaves were tested most. Time is the thread's own, and the best of the
// rounds counts; the rows take turns, so that a busy machine does little harm.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench_util.h"
#include "regex/regex_pool.h"
#include "rules/kw_obj.h"
#include "rules/qm_dico.h"
#include "rules/rule_expression.h"

namespace {

const int kRules = 4500;
const int kSections = 90;
const size_t kSampleMessages = 10;  // of the row "nothing"
const int kTurns = 3;
const int kShownFields = 8;

// ---- The rules

class Source {
 public:
  // One rule a line, in the form of a dictionary's source.
  std::string rule(int number) {
    std::string text = "<" + std::to_string(1 + below(90)) + ">r" +
                       std::to_string(number) + ":";
    const uint32_t parts = 1 + below(3);
    // Most begin with the cheap test that few messages pass.
    if (below(100) < 70) {
      text += "(Hdr=" + scheme() + ")";
      for (uint32_t i = 0; i < parts; i++) text += "&(" + leaf() + ")";
    } else if (parts == 1) {
      text += leaf();
    } else {
      const char* const joiners[] = {"&", "+", "|"};
      text += "(" + leaf() + ")";
      for (uint32_t i = 1; i < parts; i++)
        text += joiners[below(3)] + ("(" + leaf() + ")");
    }
    return text;
  }

 private:
  uint32_t state_ = 7;

  uint32_t below(uint32_t n) {
    state_ = state_ * 1664525u + 1013904223u;
    return (state_ >> 8) % n;
  }
  bool chance(uint32_t percent) { return below(100) < percent; }

  std::string word() {
    static const char kLetters[] = "eeeetttaaaooiinnsshhrrddlcumwfgypbvk";
    std::string text;
    for (uint32_t n = 3 + below(6); n; n--)
      text += kLetters[below(sizeof kLetters - 1)];
    return text;
  }

  // Of the header's fingerprint: a letter a field, then flags.
  std::string scheme() {
    static const char kLetters[] = "RRRFFTTSSDDMMIVvCcXLUPa";
    std::string text = "^";
    for (uint32_t n = 2 + below(5); n; n--)
      text += kLetters[below(sizeof kLetters - 1)];
    return text + (chance(30) ? ".*@" : "");
  }

  // What a text says.
  std::string phrase() {
    switch (below(8)) {
      case 0:
        return "(?i)" + word() + " " + word();
      case 1:
        return "^" + word();
      case 2:
        return "(?i)(" + word() + "|" + word() + "|" + word() + ")";
      case 3:
        return word() + ".*" + word();
      case 4:
        return "^[A-Z][a-z]+ " + word() + "$";
      case 5:
        return "[0-9]{" + std::to_string(2 + below(6)) + ",} " + word();
      case 6:
        return "(?i)" + word() + "~" + word();
      default:
        return "(?i)^(re|fwd?): ?" + word();
    }
  }

  std::string address() {
    switch (below(5)) {
      case 0:
        return "@" + word() + "\\.(com|net|info)>?$";
      case 1:
        return "^[a-z]{" + std::to_string(5 + below(9)) + "}[0-9]+@";
      case 2:
        return "(?i)\"" + word() + " " + word() + "\"";
      case 3:
        return word() + "@";
      default:
        return "(?i)" + word() + "(\\.|-)" + word() + "\\.";
    }
  }

  std::string url() {
    switch (below(6)) {
      case 0:
        return "\\.(ru|cn|info)/" + word();
      case 1:
        return "/[a-z]{" + std::to_string(4 + below(9)) + "}\\.php$";
      case 2:
        return "^https?://[0-9]+\\.[0-9]+\\.[0-9]+\\." +
               std::to_string(below(256));
      case 3:
        return "(?i)" + word() + "-?" + word() + "\\.com";
      case 4:
        return "\\?[a-z]=[0-9a-f]{" + std::to_string(8 + below(24)) + "}$";
      default:
        return word();
    }
  }

  std::string header() {
    static const char* const kNames[] = {
        "Received",     "X-Mailer",    "References", "X-Originating-IP",
        "Content-Type", "Return-Path", "List-Id",    "All"};
    return std::string("@") + kNames[below(8)] + "=" +
           (chance(50) ? phrase() : address());
  }

  std::string leaf() {
    const uint32_t kind = below(100);
    if (kind < 24) return "Subject=" + phrase();
    if (kind < 40) return "From=" + address();
    if (kind < 46) return "(alpha(Alias)=(?i)" + word() + ")";
    if (kind < 58) return "Url=" + url();
    if (kind < 62) return "1<Domain=" + word();
    if (kind < 64) return "Url[0,3]==" + url();
    if (kind < 76) return header();
    if (kind < 84) return "Words=(?i)^" + word() + "$";
    if (kind < 89) return "Lines=" + phrase();
    if (kind < 92) return "FirstLine=" + phrase();
    if (kind < 95) return "Id<>" + address();
    if (kind < 97) return "Filename=\\.(exe|scr|zip)$";
    if (kind < 98) return "sort(User)=^[0-9]+[a-z]+$";
    return "Bound=^-+=_[0-9A-F]{" + std::to_string(2 + below(8)) + "}";
  }
};

std::string SectionName(int number) {
  return "bench" + std::to_string(number);
}

BLOCK* MakeImage() {
  Source source;
  TKwObj image;
  int number = 0;
  for (int s = 0; s < kSections; s++) {
    std::string lines;
    for (int i = 0; i < kRules / kSections; i++)
      lines += source.rule(number++) + "\n";
    const std::string name = "^" + SectionName(s);
    TBLOCKVECT content(TBLOCK(lines.data(), uint32_t(lines.size())), 1);
    if (!image.AddSection(TBLOCK(name.data(), uint32_t(name.size())), &content,
                          0)) {
      fprintf(stderr, "rules_bench: %s\n", image.error);
      exit(1);
    }
  }
  BLOCK* block = new BLOCK(0, BLOCK::_DEFALLOCSIZE);
  if (!image.WriteToStream(block)) exit(1);
  return block;
}

// ---- One way of having the rules

struct Way {
  const char* name;
  std::unique_ptr<REGEXPOOL> pool;  // null: nothing is prepared
  std::unique_ptr<TQMDICO> dico;
  size_t messages;
  double best;  // seconds for all messages
};

Way MakeWay(const char* name, bool patterns, bool rules, size_t messages) {
  Way way = {name, nullptr, nullptr, messages, 1e9};
  if (patterns) {
    way.pool.reset(new REGEXPOOL);
    way.pool->addAllHardCodedRegexes();
  }
  way.dico.reset(new TQMDICO(way.pool.get(), nullptr));
  if (!way.dico->loadKeywordsFromBlock(MakeImage())) exit(1);
  if (patterns) way.dico->precompileRegexesIntoPool();
  if (rules) way.dico->prepareRules();
  return way;
}

// ---- Messages

// Where the parsers know little of the header's fingerprint, one letter for
// each field stands in, so that rules on it have something to look at.
void FillScheme(TQMMSG& message) {
  const int32_t kUsual = 5;
  if (message.hdrAdn.len() > kUsual) return;
  message.hdrAdn = "";
  for (int32_t i = 0; i < message.message.fields.count(); i++) {
    const TBLOCK line = message.message.fields.get(i);
    if (!line.empty()) message.hdrAdn += static_cast<char>(line[0]);
  }
  message.hdrAdn += "@a0";
  message.dropRegexFields();
}

// Null for a file that cannot be read.
std::unique_ptr<TQMMSG> Load(const std::string& path, const Way& way) {
  std::unique_ptr<TQMMSG> message(
      new TQMMSG(way.pool.get(), way.dico->stuff, nullptr, 0, 0));
  if (!message->loadFromFile(path.c_str(), nullptr, 0)) return nullptr;
  message->parse(0);
  message->parseWords();
  FillScheme(*message);
  return message;
}

// ---- Measuring

int64_t WalkAll(TQMMSG& message) {
  int64_t sum = 0;
  for (int s = 0; s < kSections; s++) {
    const std::string name = SectionName(s);
    sum += message.getRuleSectionScore(
        TBLOCK(name.data(), uint32_t(name.size())), nullptr);
  }
  return sum;
}

class LeafCounts : public RULETRACE {
 public:
  uint64_t leaves = 0;
  uint64_t elements = 0;
  std::vector<uint64_t> ofField;

  LeafCounts() : ofField(kRuleFieldCount + 1) {}
  void leafTested(const TQMEXPR& leaf, const TBLOCKVECT& tested,
                  const TBLOCKVECT&, int32_t) override {
    leaves++;
    elements += uint64_t(tested.count());
    ofField[size_t(leaf.field)]++;
  }
  void ended(TBLOCK, int32_t, TRULEEND) override {}
};

void Measure(Way& way, const std::vector<std::string>& files, int64_t& sum) {
  double seconds = 0;
  sum = 0;
  for (size_t i = 0; i < way.messages; i++) {
    const std::unique_ptr<TQMMSG> message = Load(files[i], way);
    if (!message) continue;
    const double start = Now();
    sum += WalkAll(*message);
    seconds += Now() - start;
  }
  way.best = std::min(way.best, seconds);
}

LeafCounts Count(const Way& way, const std::vector<std::string>& files) {
  LeafCounts counts;
  for (size_t i = 0; i < way.messages; i++) {
    const std::unique_ptr<TQMMSG> message = Load(files[i], way);
    if (!message) continue;
    message->ruleTrace = &counts;
    WalkAll(*message);
  }
  return counts;
}

std::string FieldName(int32_t number) {
  TBLOCK rest(_REGEXFIELDNAMES), name;
  for (int32_t i = 0; i < number; i++)
    name = TBLOCK::BlockBeforeChar(rest, ',', 0, 0);
  return std::string(reinterpret_cast<const char*>(name.pointer), name.length);
}

void PrintFields(const LeafCounts& counts) {
  std::vector<int32_t> order;
  for (int32_t i = 1; i <= kRuleFieldCount; i++) order.push_back(i);
  std::sort(order.begin(), order.end(), [&counts](int32_t a, int32_t b) {
    return counts.ofField[size_t(a)] > counts.ofField[size_t(b)];
  });
  for (int i = 0; i < kShownFields; i++) {
    const uint64_t n = counts.ofField[size_t(order[size_t(i)])];
    printf("  %-10s %5.1f %% of the leaves\n",
           FieldName(order[size_t(i)]).c_str(),
           100.0 * double(n) / double(counts.leaves));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bool alone = argc > 1 && strcmp(argv[1], "--context") == 0;
  const int from = alone ? 2 : 1;
  const std::vector<std::string> files = MailFiles(argc - from, argv + from);
  if (files.empty()) {
    fprintf(stderr, "usage: rules_bench [--context] FOLDER|FILE...\n");
    return 64;
  }
  std::vector<Way> ways;
  ways.push_back(MakeWay("context", true, true, files.size()));
  if (!alone) {
    ways.push_back(MakeWay("patterns", true, false, files.size()));
    ways.push_back(MakeWay("nothing", false, false,
                           std::min(kSampleMessages, files.size())));
  }
  std::vector<int64_t> sums(ways.size());
  for (int turn = 0; turn < kTurns; turn++)
    for (size_t w = 0; w < ways.size(); w++) Measure(ways[w], files, sums[w]);

  printf("%d rules, %zu messages\n", kRules, files.size());
  const double first = ways[0].best / double(ways[0].messages);
  for (const Way& way : ways) {
    const LeafCounts counts = Count(way, files);
    const double each = way.best / double(way.messages);
    printf(
        "%-9s %10.1f us a message %8.1f ns a leaf %7.2f times; %.0f leaves, "
        "%.0f elements a message (%zu)\n",
        way.name, each * 1e6, way.best * 1e9 / double(counts.leaves),
        each / first, double(counts.leaves) / double(way.messages),
        double(counts.elements) / double(way.messages), way.messages);
    if (&way == &ways[0]) PrintFields(counts);
  }
  // Preparing changes no result.
  const bool differ = !alone && sums[0] != sums[1];
  if (differ) printf("THE SUMS DIFFER\n");
  return differ;
}
