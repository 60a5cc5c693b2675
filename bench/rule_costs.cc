// The lines of the built-in dictionary that cost most on real mail.
//
//   rule_costs [--top N] FOLDER|FILE...
//
// Each rule is asked alone, of every message, with its fields built: what is
// printed is its own cost, as if no check had spared the message its section.
// Sections of words are timed whole, since a search walks all of their lines at
// once. Time is the thread's own and the lesser of two runs. Columns: share of
// the whole, microseconds a message, messages that it holds for, and the line;
// or, of a section of words, its first one.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench_util.h"
#include "regex/regex_pool.h"
#include "rules/qm_dico.h"
#include "scan/tqmmsg.h"

namespace {

const size_t kShownBytes = 90;

struct COST {
  std::string text;
  const TQKSECTION* section;  // of words; null for a rule
  const TQKLINE* line;        // of a rule
  double seconds;
  long hits;
};

std::string TextOf(const TQMDICO& dico, const TQKLINE* line) {
  STR text;
  dico.getLineText(line, text, 1);
  std::string shown(text.c_str());
  if (shown.size() > kShownBytes) shown = shown.substr(0, kShownBytes) + "...";
  return shown;
}

std::vector<COST> ListCosts(const TQMDICO& dico) {
  std::vector<COST> costs;
  for (uint32_t s = 0; s < dico.image().sectionCount; s++) {
    const TQKSECTION* section = dico.image().section(s);
    const uint32_t n = dico.image().lineCountOf(section);
    if (section->type == stPattern && n > 0) {
      const TQKLINE* first = dico.image().sectionLine(section, 0);
      costs.push_back(
          {std::to_string(n) + " lines of words: " + TextOf(dico, first),
           section, nullptr, 0, 0});
    }
    for (uint32_t i = 0; section->type == stRule && i < n; i++) {
      const TQKLINE* line = dico.image().sectionLine(section, i);
      costs.push_back({TextOf(dico, line), nullptr, line, 0, 0});
    }
  }
  return costs;
}

int32_t Ask(TQMMSG& message, const COST& cost) {
  if (cost.line) {
    TBLOCK name;
    return message.checkRuleLine(cost.line, name, 0);
  }
  int32_t hits = 0;
  message.dico.findKeywords(cost.section, message.bodyWords, TBLOCK(), 0, 0,
                            hits);
  return hits;
}

void Measure(TQMMSG& message, std::vector<COST>& costs) {
  for (COST& cost : costs) {
    double least = 1e9;
    for (int run = 0; run < 2; run++) {
      const double from = Now();
      const int32_t result = Ask(message, cost);
      least = std::min(least, Now() - from);
      if (run == 0 && result > 0) cost.hits++;
    }
    cost.seconds += least;
  }
}

double ClockCost() {
  const int kLooks = 20000;
  const double from = Now();
  double last = from;
  for (int i = 0; i < kLooks; i++) last = Now();
  return (last - from) / kLooks;
}

void Print(std::vector<COST>& costs, size_t messages, size_t top) {
  const double clock = ClockCost() * double(messages);
  double rules = 0, words = 0;
  for (COST& cost : costs) {
    cost.seconds = std::max(cost.seconds - clock, 0.0);
    (cost.line ? rules : words) += cost.seconds;
  }
  std::sort(costs.begin(), costs.end(),
            [](const COST& a, const COST& b) { return a.seconds > b.seconds; });
  const double n = double(messages);
  printf(
      "%zu messages; all rules %.1f us a message, all sections of words "
      "%.1f us\n",
      messages, rules / n * 1e6, words / n * 1e6);
  for (bool isRule : {true, false}) {
    printf("%s\n", isRule ? "rules" : "sections of words");
    size_t shown = 0;
    for (const COST& cost : costs)
      if ((cost.line != nullptr) == isRule && shown++ < top)
        printf("  %5.2f%% %8.2f us %6ld  %s\n",
               100 * cost.seconds / (rules + words), cost.seconds / n * 1e6,
               cost.hits, cost.text.c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  size_t top = 10;
  int from = 1;
  if (argc > 2 && strcmp(argv[1], "--top") == 0) {
    top = size_t(std::max(atoi(argv[2]), 1));
    from = 3;
  }
  const std::vector<std::string> files = MailFiles(argc - from, argv + from);
  if (files.empty()) {
    fprintf(stderr, "usage: rule_costs [--top N] FOLDER|FILE...\n");
    return 64;
  }
  REGEXPOOL pool;
  pool.addAllHardCodedRegexes();
  TQMDICO dico(&pool, nullptr);
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
  std::vector<COST> costs = ListCosts(dico);
  size_t messages = 0;
  for (const std::string& file : files) {
    TQMMSG message(&pool, dico.stuff, nullptr, 0, 0);
    if (!message.loadFromFile(file.c_str(), nullptr, 0)) continue;
    message.parse(0);
    message.parseWords();
    Measure(message, costs);
    messages++;
  }
  Print(costs, std::max<size_t>(messages, 1), top);
  return 0;
}
