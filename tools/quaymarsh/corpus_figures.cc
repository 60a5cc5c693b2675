// Counting and printing. Tested by tests/tools/corpus_test.sh.

#include "corpus_figures.h"

#include <algorithm>
#include <cstdio>

#include "printable.h"
#include "quaymarsh.h"
#include "scan/ledger.h"
#include "scanner.h"

const char* const kClassNames[kMailClasses] = {"spam", "ham"};

namespace {

// Whether these points alone made the verdict. Other states are not made of
// points.
bool Decides(const JudgedMail& mail, long points) {
  if (mail.state != QM_STATE_CLEAN && mail.state != QM_STATE_SPAM) return false;
  return (mail.score > kSpamThreshold) !=
         (mail.score - points > kSpamThreshold);
}

std::string Percent(size_t part, size_t whole) {
  char text[32];
  snprintf(text, sizeof text, "%.2f %%",
           whole
               ? 100.0 * static_cast<double>(part) / static_cast<double>(whole)
               : 0.0);
  return text;
}

size_t CountOf(const std::map<int, size_t>& states, int state) {
  const auto found = states.find(state);
  return found == states.end() ? 0 : found->second;
}

std::string StateTexts(const std::map<int, size_t>& states) {
  std::string text;
  for (const auto& state : states) {
    if (!text.empty()) text += ", ";
    text += StateName(state.first) + (" " + std::to_string(state.second));
  }
  return text;
}

std::map<int, size_t> StatesOf(const CorpusInput& input) {
  std::map<int, size_t> states;
  for (const JudgedMail& mail : input.mails) states[mail.state]++;
  return states;
}

std::string PointsText(const CauseFigures& cause) {
  std::string text = std::to_string(cause.least);
  if (cause.most != cause.least) text += ".." + std::to_string(cause.most);
  return text;
}

}  // namespace

void CorpusFigures::count() {
  for (const CorpusInput& input : inputs) {
    for (const JudgedMail& mail : input.mails) {
      mails[input.mailClass]++;
      states[input.mailClass][mail.state]++;
      for (const auto& entry : mail.causes) {
        const bool isNew = causes.find(entry.first) == causes.end();
        CauseFigures& cause = causes[entry.first];
        cause.hits[input.mailClass]++;
        if (Decides(mail, entry.second)) cause.decides[input.mailClass]++;
        cause.least =
            isNew ? entry.second : std::min(cause.least, entry.second);
        cause.most = isNew ? entry.second : std::max(cause.most, entry.second);
      }
    }
  }
}

double CorpusFigures::share(const CauseFigures& cause,
                            MailClass mailClass) const {
  if (mails[mailClass] == 0) return 0;
  return static_cast<double>(cause.hits[mailClass]) /
         static_cast<double>(mails[mailClass]);
}

double CorpusFigures::spamRatio(const CauseFigures& cause) const {
  const double spam = share(cause, kSpam), ham = share(cause, kHam);
  return spam + ham > 0 ? spam / (spam + ham) : 0;
}

std::vector<std::string> CorpusFigures::order(size_t least) const {
  std::vector<std::string> names;
  for (const auto& cause : causes)
    if (cause.second.hits[kSpam] + cause.second.hits[kHam] >= least)
      names.push_back(cause.first);
  std::stable_sort(names.begin(), names.end(),
                   [this](const std::string& a, const std::string& b) {
                     const CauseFigures& left = causes.at(a);
                     const CauseFigures& right = causes.at(b);
                     return left.hits[kSpam] + left.hits[kHam] >
                            right.hits[kSpam] + right.hits[kHam];
                   });
  return names;
}

std::string CorpusTable(const CorpusFigures& figures, size_t least) {
  std::string text;
  for (const CorpusInput& input : figures.inputs) {
    const std::map<int, size_t> states = StatesOf(input);
    text += std::string(kClassNames[input.mailClass]) + " " +
            Printable(input.path) + ": " + std::to_string(input.mails.size()) +
            " messages, " +
            Percent(CountOf(states, QM_STATE_SPAM), input.mails.size()) +
            " spam (" + StateTexts(states) + ")\n";
  }
  for (const MailClass mailClass : {kSpam, kHam}) {
    text += std::string("all ") + kClassNames[mailClass] + ": " +
            std::to_string(figures.mails[mailClass]) + " messages, " +
            Percent(CountOf(figures.states[mailClass], QM_STATE_SPAM),
                    figures.mails[mailClass]) +
            " spam (" + StateTexts(figures.states[mailClass]) + ")\n";
  }
  text +=
      "\n   spam     ham   spam %    ham %   S/O  decides: spam   ham"
      "        points  cause\n";
  for (const std::string& name : figures.order(least)) {
    const CauseFigures& cause = figures.causes.at(name);
    char row[160];
    snprintf(
        row, sizeof row, "%7zu %7zu %8.2f %8.2f %5.3f %14zu %5zu %13s  ",
        cause.hits[kSpam], cause.hits[kHam], 100 * figures.share(cause, kSpam),
        100 * figures.share(cause, kHam), figures.spamRatio(cause),
        cause.decides[kSpam], cause.decides[kHam], PointsText(cause).c_str());
    text += row + Printable(name) + "\n";
  }
  return text;
}

// The messages of an input or a class, by state, and the share of spam.
static void AddTotals(nlohmann::ordered_json& item,
                      const std::map<int, size_t>& states) {
  size_t messages = 0;
  item["states"] = nlohmann::ordered_json::object();
  for (const auto& state : states) {
    item["states"][StateName(state.first)] = state.second;
    messages += state.second;
  }
  item["messages"] = messages;
  item["spamShare"] =
      messages ? static_cast<double>(CountOf(states, QM_STATE_SPAM)) /
                     static_cast<double>(messages)
               : 0.0;
}

nlohmann::ordered_json CorpusJson(const CorpusFigures& figures, size_t least) {
  nlohmann::ordered_json run;
  run["threshold"] = kSpamThreshold;
  for (const MailClass mailClass : {kSpam, kHam})
    AddTotals(run["totals"][kClassNames[mailClass]], figures.states[mailClass]);
  run["inputs"] = nlohmann::ordered_json::array();
  run["messages"] = nlohmann::ordered_json::array();
  for (const CorpusInput& input : figures.inputs) {
    nlohmann::ordered_json item;
    item["path"] = ToUtf8(input.path);
    item["class"] = kClassNames[input.mailClass];
    AddTotals(item, StatesOf(input));
    run["inputs"].push_back(item);
    for (const JudgedMail& mail : input.mails) {
      nlohmann::ordered_json row;
      row["file"] = ToUtf8(mail.name);
      row["class"] = kClassNames[input.mailClass];
      row["state"] = mail.state;
      row["score"] = mail.score;
      run["messages"].push_back(row);
    }
  }
  run["causes"] = nlohmann::ordered_json::array();
  for (const std::string& name : figures.order(least)) {
    const CauseFigures& cause = figures.causes.at(name);
    nlohmann::ordered_json item;
    item["cause"] = ToUtf8(name);
    item["least"] = cause.least;
    item["most"] = cause.most;
    for (const MailClass mailClass : {kSpam, kHam}) {
      item[kClassNames[mailClass]] = {
          {"messages", cause.hits[mailClass]},
          {"share", figures.share(cause, mailClass)},
          {"decides", cause.decides[mailClass]}};
    }
    item["so"] = figures.spamRatio(cause);
    run["causes"].push_back(item);
  }
  return run;
}
