// Messages as the parsers see them. Tested by tests/tools/cli_test.sh and
// rule_test.sh.

#include "inside.h"

#include <CLI/CLI.hpp>
#include <new>

#include "commands.h"

void AddInsideOptions(CLI::App* command, InsideOptions* options) {
  command->add_option("--keywords", options->keywordFile,
                      "Dictionary image to use");
  command->add_option("--now", options->now,
                      "The time of the scan, in seconds since 1970");
}

InsideRun::InsideRun(const InsideOptions& options)
    : options_(options),
      context_(CreateSpeedupContext(nullptr)),
      firstError_(kExitOk) {
  if (!context_) throw std::bad_alloc();
  dico_.reset(new TQMDICO(context_->pool, context_->stuff));
}

void InsideRun::visitError(int code, const std::string& name,
                           const std::string& what) {
  PrintError(name, what);
  if (firstError_ == kExitOk) firstError_ = code;
}

int InsideRun::loadDictionary() {
  const std::string& file = options_.keywordFile;
  if (file.empty() || dico_->loadKeywordsFromFile(file.c_str())) return kExitOk;
  PrintError(file, "cannot load the dictionary");
  return kExitConfig;
}

std::unique_ptr<TQMMSG> InsideRun::parse(const Mail& mail) const {
  std::unique_ptr<TQMMSG> message(
      new TQMMSG(context_->pool, dico_->stuff, context_->blacklist, 0, 0));
  message->fixedTime = options_.now;
  const TBLOCK text(mail.text.data(), static_cast<uint32_t>(mail.text.size()));
  if (!message->loadFromBlock(text, nullptr, 0)) throw std::bad_alloc();
  message->parse(0);
  message->parseWords();
  return message;
}
