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

Inside::Inside(const InsideOptions& options)
    : options_(options), context_(CreateSpeedupContext(nullptr)) {
  if (!context_) throw std::bad_alloc();
  dico_.reset(new TQMDICO(context_->pool, context_->stuff));
}

int Inside::loadDictionary() {
  const std::string& file = options_.keywordFile;
  if (file.empty()) return kExitOk;
  if (!dico_->loadKeywordsFromFile(file.c_str())) {
    PrintError(file, "cannot load the dictionary");
    return kExitConfig;
  }
  dico_->precompileRegexesIntoPool();
  dico_->prepareRules();
  blacklist_.reset(new UrlBlacklist(dico_.get()));
  return kExitOk;
}

std::unique_ptr<TQMMSG> Inside::load(const Mail& mail) const {
  UrlBlacklist* blacklist = blacklist_ ? blacklist_.get() : context_->blacklist;
  std::unique_ptr<TQMMSG> message(
      new TQMMSG(context_->pool, dico_->stuff, blacklist, 0, 0));
  message->fixedTime = options_.now;
  const TBLOCK text(mail.text.data(), static_cast<uint32_t>(mail.text.size()));
  if (!message->loadFromBlock(text, nullptr, 0)) throw std::bad_alloc();
  return message;
}

InsideRun::InsideRun(const InsideOptions& options)
    : inside_(options), firstError_(kExitOk) {}

void InsideRun::visitError(int code, const std::string& name,
                           const std::string& what) {
  PrintError(name, what);
  if (firstError_ == kExitOk) firstError_ = code;
}

std::unique_ptr<TQMMSG> InsideRun::parse(const Mail& mail) const {
  std::unique_ptr<TQMMSG> message = inside_.load(mail);
  message->parse(0);
  message->parseWords();
  return message;
}
