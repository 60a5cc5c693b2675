// What a run over a corpus finds: how each message was judged, and what each
// cause did to spam and to ham.
#ifndef QUAYMARSH_TOOLS_CORPUS_FIGURES_H_
#define QUAYMARSH_TOOLS_CORPUS_FIGURES_H_

#include <cstddef>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

enum MailClass { kSpam, kHam, kMailClasses };
extern const char* const kClassNames[kMailClasses];

struct JudgedMail {
  std::string name;
  int state = 0;
  int score = 0;
  std::map<std::string, long> causes;  // name -> points
  bool addsUp = true;                  // the causes give the score
};

// One of the inputs.
struct CorpusInput {
  std::string path;
  MailClass mailClass;
  std::vector<JudgedMail> mails;
};

struct CauseFigures {
  // Messages that have it, and those that would be judged the other way
  // without it: spam that becomes clean, clean mail that becomes spam.
  size_t hits[kMailClasses] = {0, 0};
  size_t decides[kMailClasses] = {0, 0};
  long least = 0, most = 0;  // points for a message
};

struct CorpusFigures {
  std::vector<CorpusInput> inputs;
  size_t mails[kMailClasses] = {0, 0};
  std::map<int, size_t> states[kMailClasses];
  std::map<std::string, CauseFigures> causes;

  // Counts all of the above from the inputs.
  void count();
  // Names of causes, those that tell most first; with fewer messages than
  // `least` they are left out.
  std::vector<std::string> order(size_t least) const;
  // Share of a class that has the cause, and how much of spam there is among
  // what it hits when there were as much ham as spam: 0 to 1.
  double share(const CauseFigures& cause, MailClass mailClass) const;
  double spamRatio(const CauseFigures& cause) const;
};

std::string CorpusTable(const CorpusFigures& figures, size_t least);
nlohmann::ordered_json CorpusJson(const CorpusFigures& figures, size_t least);

#endif  // QUAYMARSH_TOOLS_CORPUS_FIGURES_H_
