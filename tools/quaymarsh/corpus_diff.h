// Two runs of quaymarsh corpus, one against the other.
#ifndef QUAYMARSH_TOOLS_CORPUS_DIFF_H_
#define QUAYMARSH_TOOLS_CORPUS_DIFF_H_

#include <string>

// Prints messages that are judged in another way, causes that hit other numbers
// of messages or have other points, and the share of spam in each input of both
// runs. Returns the exit code.
int DiffCorpusRuns(const std::string& before, const std::string& after,
                   bool json);

#endif  // QUAYMARSH_TOOLS_CORPUS_DIFF_H_
