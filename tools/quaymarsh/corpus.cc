// quaymarsh corpus: what the dictionary does to mail that is sorted already.
// Scans inside the program, so that the clock can be set and one dictionary
// serves all threads. Each message's causes are added up and held against its
// score. corpus_figures.cc counts, corpus_diff.cc compares two runs. Tested by
// tests/tools/corpus_test.sh.

#include <CLI/CLI.hpp>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "cause_name.h"
#include "cause_text.h"
#include "commands.h"
#include "corpus_diff.h"
#include "corpus_figures.h"
#include "inside.h"
#include "printable.h"
#include "progress.h"

namespace {

struct CorpusOptions {
  std::vector<std::string> spam, ham;
  InsideOptions inside;
  unsigned int threads = 1;
  size_t least = 1;
  bool bailout = false;
  bool json = false;
  std::string before, after;  // of diff
};

const char kEmbedded[] = "Embed spam";
const char kTakenBack[] = "taken back by Embed spam";

const uint32_t kAllChecks = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION |
                            QM_CHECK_COMMERCIAL | QM_CHECK_SUSPECT;

// Splits the cause, and holds its points against the score. What spoke for a
// message is taken back from mail that wraps an advertisement; the ledger tells
// of that in its sums alone.
void AddCauses(const std::string& cause, const LEDGER& ledger,
               JudgedMail* judged) {
  long sum = 0;
  for (const CauseEntry& entry : SplitCauseText(cause).entries) {
    // A virus has no points but the score.
    const long points = ledger.state == QM_STATE_VIRUS && entry.points.empty()
                            ? ledger.score
                            : strtol(entry.points.c_str(), nullptr, 10);
    judged->causes[CauseName(entry.label)] += points;
    sum += points;
  }
  const long lost = judged->score - sum;
  if (lost != 0 && judged->causes.count(kEmbedded) > 0 &&
      ledger.score == ledger.whiteScore + ledger.blackScore) {
    judged->causes[kTakenBack] = lost;
    sum += lost;
  }
  judged->addsUp = sum == judged->score;
}

JudgedMail Judge(const Inside& inside, const Mail& mail, bool bailout) {
  const QMGLOBALSETUP globalSetup = {8, kAllChecks};
  const QMUSERSETUP userSetup = {20, -100, 200, 0, kAllChecks};
  const std::unique_ptr<TQMMSG> message = inside.load(mail);
  message->check(&globalSetup, &userSetup, TBLOCK(), TBLOCK(), !bailout, 0,
                 nullptr, 0);
  JudgedMail judged;
  judged.name = mail.name;
  judged.state = message->ledger.state;
  judged.score = message->ledger.score;
  const TBLOCK cause = message->ledger.cause.view();
  AddCauses(
      std::string(reinterpret_cast<const char*>(cause.pointer), cause.length),
      message->ledger, &judged);
  return judged;
}

// The messages of one file; errors are kept for later.
class FileVisitor : public MailVisitor {
 public:
  FileVisitor(const Inside& inside, bool bailout)
      : inside_(inside), bailout_(bailout) {}

  void visitMail(const Mail& mail) override {
    mails.push_back(Judge(inside_, mail, bailout_));
  }
  void visitError(int code, const std::string& name,
                  const std::string& what) override {
    errors.push_back({code, name, what});
  }

  struct Error {
    int code;
    std::string name, what;
  };
  std::vector<JudgedMail> mails;
  std::vector<Error> errors;

 private:
  const Inside& inside_;
  const bool bailout_;
};

// The files of an input, in order.
class FileList : public MailVisitor {
 public:
  void visitMail(const Mail& mail) override { paths.push_back(mail.path); }
  void visitError(int code, const std::string& name,
                  const std::string& what) override {
    PrintError(name, what);
    if (error == kExitOk) error = code;
  }
  std::vector<std::string> paths;
  int error = kExitOk;
};

// Judges files in several threads; results stand in the order of the files.
std::vector<FileVisitor> JudgeFiles(const std::vector<std::string>& paths,
                                    const Inside& inside,
                                    const CorpusOptions& options,
                                    Progress& progress) {
  std::vector<FileVisitor> results(paths.size(),
                                   FileVisitor(inside, options.bailout));
  std::atomic<size_t> next(0);
  std::mutex progressLock;
  const auto work = [&]() {
    for (size_t i = next++; i < paths.size(); i = next++) {
      VisitMails({paths[i]}, false, &results[i]);
      const std::lock_guard<std::mutex> guard(progressLock);
      progress.step();
    }
  };
  std::vector<std::thread> threads;
  for (unsigned int i = 1; i < options.threads; i++) threads.emplace_back(work);
  work();
  for (std::thread& thread : threads) thread.join();
  return results;
}

class CorpusRun {
 public:
  explicit CorpusRun(const CorpusOptions& options)
      : options_(options), inside_(options.inside) {}

  int run();

 private:
  void listFiles(const std::vector<std::string>& inputs, MailClass mailClass);
  void takeResults(const std::vector<FileVisitor>& results);
  void fail(int code, const std::string& name, const std::string& what);

  const CorpusOptions& options_;
  Inside inside_;
  CorpusFigures figures_;
  std::vector<std::string> paths_;
  std::vector<size_t> inputOf_;  // of each path
  int firstError_ = kExitOk;
};

void CorpusRun::fail(int code, const std::string& name,
                     const std::string& what) {
  PrintError(name, what);
  if (firstError_ == kExitOk) firstError_ = code;
}

void CorpusRun::listFiles(const std::vector<std::string>& inputs,
                          MailClass mailClass) {
  for (const std::string& input : inputs) {
    FileList list;
    VisitMails({input}, true, &list);
    if (firstError_ == kExitOk) firstError_ = list.error;
    figures_.inputs.push_back({input, mailClass, {}});
    for (const std::string& path : list.paths) {
      paths_.push_back(path);
      inputOf_.push_back(figures_.inputs.size() - 1);
    }
  }
}

void CorpusRun::takeResults(const std::vector<FileVisitor>& results) {
  for (size_t i = 0; i < results.size(); i++) {
    for (const FileVisitor::Error& error : results[i].errors)
      fail(error.code, error.name, error.what);
    std::vector<JudgedMail>& mails = figures_.inputs[inputOf_[i]].mails;
    for (const JudgedMail& mail : results[i].mails) {
      mails.push_back(mail);
      if (!mail.addsUp)
        fail(kExitData, mail.name, "the causes don't add up to the score");
    }
  }
}

int CorpusRun::run() {
  const int error = inside_.loadDictionary();
  if (error != kExitOk) return error;
  listFiles(options_.spam, kSpam);
  listFiles(options_.ham, kHam);
  {
    Progress progress(nullptr, paths_.size(), "files");
    const std::vector<FileVisitor> results =
        JudgeFiles(paths_, inside_, options_, progress);
    progress.clear();
    takeResults(results);
  }
  figures_.count();
  const std::string report =
      options_.json ? CorpusJson(figures_, options_.least).dump() + "\n"
                    : CorpusTable(figures_, options_.least);
  fputs(report.c_str(), stdout);
  return firstError_;
}

const char kFooter[] =
    "A line for each input, then one for each cause: the messages that have\n"
    "it, their share, S/O (1.0: only spam, 0.0: only ham, each taken as half\n"
    "of all mail), how many would be judged the other way without it, and\n"
    "its points for a message. All checks run and no score ends a scan, so\n"
    "that every cause is seen; --bailout judges as a server does.\n"
    "'quaymarsh corpus diff A B' compares two runs with --json.\n"
    "Exit code: as of scan; 65 also when the causes of a message don't add\n"
    "up to its score.";

const char kDiffFooter[] =
    "Prints messages that are judged in another way, causes that hit other\n"
    "numbers of messages or have other points, and the share of spam in what\n"
    "both runs have. Messages are known by the names of their files.\n"
    "Exit code: 0; 64 usage; 65 what is no such run; 66 input missing; 74\n"
    "I/O error.";

void CheckOptions(CorpusOptions* options) {
  if (options->spam.empty() && options->ham.empty())
    throw CLI::ValidationError("corpus", "no input: --spam, --ham or both");
  for (const auto* inputs : {&options->spam, &options->ham}) {
    for (const std::string& input : *inputs)
      if (input == "-")
        throw CLI::ValidationError("corpus", "stdin is not a corpus");
  }
}

void AddDiffCommand(CLI::App* corpus, std::shared_ptr<CorpusOptions> options,
                    int* exitCode) {
  CLI::App* diff =
      corpus->add_subcommand("diff", "Compare two runs that --json wrote");
  diff->add_option("A", options->before, "The run before")
      ->type_name("")
      ->required();
  diff->add_option("B", options->after, "The run after")
      ->type_name("")
      ->required();
  diff->add_flag("--json", options->json, "One JSON object");
  diff->footer(kDiffFooter);
  diff->callback([options, exitCode]() {
    *exitCode = DiffCorpusRuns(options->before, options->after, options->json);
  });
}

}  // namespace

void AddCorpusCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<CorpusOptions>();
  CLI::App* command =
      app.add_subcommand("corpus", "Measure the dictionary on sorted mail");
  command
      ->add_option("--spam", options->spam,
                   "Files, directories or mbox files of spam; repeatable")
      ->type_name("PATH")
      ->allow_extra_args(false);
  command
      ->add_option("--ham", options->ham,
                   "The same of mail that is wanted; repeatable")
      ->type_name("PATH")
      ->allow_extra_args(false);
  command->add_option("-j", options->threads, "Threads")
      ->check(CLI::Range(1, 256));
  command->add_option("--min", options->least,
                      "Leave out causes of fewer messages");
  command->add_flag("--bailout", options->bailout,
                    "Let the default bailout end scans");
  command->add_flag("--json", options->json, "One JSON object");
  AddInsideOptions(command, &options->inside);
  command->footer(kFooter);
  AddDiffCommand(command, options, exitCode);
  command->callback([command, options, exitCode]() {
    if (!command->get_subcommands().empty()) return;
    CheckOptions(options.get());
    *exitCode = CorpusRun(*options).run();
  });
}
