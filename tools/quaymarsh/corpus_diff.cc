// Runs are what `quaymarsh corpus --json` writes. Messages are the same when
// their files have the same name. Tested by tests/tools/corpus_test.sh.

#include "corpus_diff.h"

#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "corpus_figures.h"
#include "mail_source.h"
#include "printable.h"
#include "scanner.h"

namespace {

using Json = nlohmann::ordered_json;

struct Verdict {
  std::string mailClass;
  int state = 0;
  int score = 0;
};

struct Hits {
  size_t counts[kMailClasses] = {0, 0};
  long least = 0, most = 0;  // points for a message
};

// Of an input, or of a class.
struct Total {
  size_t messages = 0;
  double spamShare = 0;
};

struct Run {
  std::map<std::string, Verdict> verdicts;  // by file
  std::map<std::string, Hits> causes;
  std::map<std::string, Total> totals;  // by "CLASS PATH" and "all CLASS"
};

Total ReadTotal(const Json& item) {
  Total total;
  total.messages = item.at("messages");
  total.spamShare = item.at("spamShare");
  return total;
}

// False, with the reason told, for what is no run.
bool ReadRun(const std::string& path, Run* run, int* code) {
  std::string text, what;
  if (!ReadFile(path, &text, code, &what)) {
    PrintError(path, what);
    return false;
  }
  try {
    const Json json = Json::parse(text);
    for (const Json& item : json.at("messages"))
      run->verdicts[item.at("file")] = {item.at("class"), item.at("state"),
                                        item.at("score")};
    for (const Json& item : json.at("causes")) {
      Hits& hits = run->causes[item.at("cause")];
      for (const MailClass mailClass : {kSpam, kHam})
        hits.counts[mailClass] = item.at(kClassNames[mailClass]).at("messages");
      hits.least = item.at("least");
      hits.most = item.at("most");
    }
    for (const Json& item : json.at("inputs"))
      run->totals[item.at("class").get<std::string>() + " " +
                  item.at("path").get<std::string>()] = ReadTotal(item);
    for (const char* name : kClassNames)
      run->totals[std::string("all ") + name] =
          ReadTotal(json.at("totals").at(name));
  } catch (const Json::exception&) {
    PrintError(path, "not written by 'quaymarsh corpus --json'");
    *code = kExitData;
    return false;
  }
  return true;
}

Json ChangedVerdicts(const Run& before, const Run& after) {
  Json changes = Json::array();
  for (const auto& item : after.verdicts) {
    const auto old = before.verdicts.find(item.first);
    if (old == before.verdicts.end() || old->second.state == item.second.state)
      continue;
    changes.push_back({{"file", item.first},
                       {"class", item.second.mailClass},
                       {"before", StateName(old->second.state)},
                       {"after", StateName(item.second.state)},
                       {"scoreBefore", old->second.score},
                       {"scoreAfter", item.second.score}});
  }
  return changes;
}

Json ChangedCauses(const Run& before, const Run& after) {
  std::map<std::string, std::pair<Hits, Hits>> all;
  for (const auto& item : before.causes) all[item.first].first = item.second;
  for (const auto& item : after.causes) all[item.first].second = item.second;
  Json changes = Json::array();
  for (const auto& item : all) {
    const Hits& a = item.second.first;
    const Hits& b = item.second.second;
    if (a.counts[kSpam] == b.counts[kSpam] &&
        a.counts[kHam] == b.counts[kHam] && a.least == b.least &&
        a.most == b.most)
      continue;
    changes.push_back({{"cause", item.first},
                       {"spamBefore", a.counts[kSpam]},
                       {"spamAfter", b.counts[kSpam]},
                       {"hamBefore", a.counts[kHam]},
                       {"hamAfter", b.counts[kHam]},
                       {"pointsBefore", {a.least, a.most}},
                       {"pointsAfter", {b.least, b.most}}});
  }
  return changes;
}

// Of inputs that both runs have.
Json CompareTotals(const Run& before, const Run& after) {
  Json totals = Json::array();
  for (const auto& item : after.totals) {
    const auto old = before.totals.find(item.first);
    if (old == before.totals.end() ||
        old->second.messages + item.second.messages == 0)
      continue;
    totals.push_back({{"input", item.first},
                      {"messagesBefore", old->second.messages},
                      {"messagesAfter", item.second.messages},
                      {"spamShareBefore", old->second.spamShare},
                      {"spamShareAfter", item.second.spamShare}});
  }
  return totals;
}

// Messages of one run alone.
size_t CountOnlyIn(const Run& one, const Run& other) {
  size_t count = 0;
  for (const auto& item : one.verdicts)
    count += other.verdicts.count(item.first) == 0;
  return count;
}

std::string Text(const Json& value) {
  return Printable(value.get<std::string>());
}

std::string Percent(const Json& share) {
  char text[32];
  snprintf(text, sizeof text, "%.2f %%", 100 * share.get<double>());
  return text;
}

std::string PointsText(const Json& points) {
  const std::string least = points[0].dump(), most = points[1].dump();
  return least == most ? least : least + ".." + most;
}

std::string CauseText(const Json& change) {
  std::string text = "spam " + change["spamBefore"].dump() + " -> " +
                     change["spamAfter"].dump() + ", ham " +
                     change["hamBefore"].dump() + " -> " +
                     change["hamAfter"].dump();
  if (change["pointsBefore"] != change["pointsAfter"])
    text += ", points " + PointsText(change["pointsBefore"]) + " -> " +
            PointsText(change["pointsAfter"]);
  return text + ": " + Text(change["cause"]) + "\n";
}

std::string DiffText(const Json& diff) {
  std::string text;
  for (const Json& change : diff["verdicts"]) {
    text += Text(change["class"]) + " " + Text(change["file"]) + ": " +
            Text(change["before"]) + " " + change["scoreBefore"].dump() +
            " -> " + Text(change["after"]) + " " + change["scoreAfter"].dump() +
            "\n";
  }
  for (const Json& change : diff["causes"]) text += CauseText(change);
  for (const Json& total : diff["totals"])
    text += Text(total["input"]) + ": " + Percent(total["spamShareBefore"]) +
            " -> " + Percent(total["spamShareAfter"]) + " spam\n";
  text += std::to_string(diff["verdicts"].size()) + " of " +
          diff["messages"].dump() + " messages are judged in another way, " +
          std::to_string(diff["causes"].size()) +
          " causes hit or score otherwise; " + diff["onlyBefore"].dump() +
          " messages are gone, " + diff["onlyAfter"].dump() + " are new\n";
  return text;
}

}  // namespace

int DiffCorpusRuns(const std::string& before, const std::string& after,
                   bool json) {
  Run a, b;
  int code = kExitIo;
  if (!ReadRun(before, &a, &code) || !ReadRun(after, &b, &code)) return code;
  Json diff;
  diff["onlyBefore"] = CountOnlyIn(a, b);
  diff["onlyAfter"] = CountOnlyIn(b, a);
  diff["messages"] = b.verdicts.size() - CountOnlyIn(b, a);
  diff["verdicts"] = ChangedVerdicts(a, b);
  diff["causes"] = ChangedCauses(a, b);
  diff["totals"] = CompareTotals(a, b);
  const std::string report = json ? diff.dump() + "\n" : DiffText(diff);
  fputs(report.c_str(), stdout);
  return kExitOk;
}
