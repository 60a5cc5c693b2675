// What the subcommands share that look inside a message: the options
// --keywords and --now, and messages parsed with the code of a scan.

#ifndef QUAYMARSH_TOOLS_INSIDE_H_
#define QUAYMARSH_TOOLS_INSIDE_H_

#include <stdint.h>

#include <memory>
#include <string>

#include "api/speedup_context.h"
#include "mail_source.h"
#include "rules/qm_dico.h"
#include "rules/url_blacklist.h"
#include "scan/tqmmsg.h"

namespace CLI {
class App;
}

struct InsideOptions {
  std::string keywordFile;  // empty: the built-in dictionary
  int64_t now = 0;          // seconds since 1970; 0: the clock
};

void AddInsideOptions(CLI::App* command, InsideOptions* options);

// The dictionary of a run, with all that the scans of its messages share. Any
// number of threads may load messages once the dictionary is there.
class Inside {
 public:
  explicit Inside(const InsideOptions& options);

  // The exit code: of a dictionary that cannot be loaded it is told.
  int loadDictionary();
  TQMDICO& dico() const { return *dico_; }
  // The message with nothing of it parsed yet.
  std::unique_ptr<TQMMSG> load(const Mail& mail) const;

 private:
  const InsideOptions& options_;
  const std::unique_ptr<SPEEDUPCONTEXT> context_;
  std::unique_ptr<TQMDICO> dico_;  // whose indexes all messages share
  std::unique_ptr<UrlBlacklist> blacklist_;
};

// Parses messages and keeps the first error.
class InsideRun : public MailVisitor {
 public:
  explicit InsideRun(const InsideOptions& options);

  void visitError(int code, const std::string& name,
                  const std::string& what) override;

 protected:
  std::unique_ptr<TQMMSG> parse(const Mail& mail) const;
  int loadDictionary() { return inside_.loadDictionary(); }
  TQMDICO& dico() const { return inside_.dico(); }
  int firstError() const { return firstError_; }

 private:
  Inside inside_;
  int firstError_;
};

#endif  // QUAYMARSH_TOOLS_INSIDE_H_
