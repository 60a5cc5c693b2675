// quaymarsh scan: reads the options, scans every message of the inputs through
// the shared library and prints what came out. Tested by
// tests/tools/cli_test.sh.

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cause_text.h"
#include "commands.h"
#include "mail_source.h"
#include "printable.h"
#include "progress.h"
#include "quaymarsh.h"
#include "scanner.h"

namespace {

struct FlagName {
  const char* name;
  unsigned int flag;
};

const FlagName kSetupFlags[] = {
    {"virus", QM_CHECK_VIRUS},
    {"notification", QM_CHECK_NOTIFICATION},
    {"commercial", QM_CHECK_COMMERCIAL},
    {"suspect", QM_CHECK_SUSPECT},
    {"allow-eastern", QM_ALLOW_EASTERN},
    {"allow-asian", QM_ALLOW_ASIAN},
    {"forbid-latin", QM_FORBID_LATIN},
    {"none", 0},
};

const unsigned int kCheckFlags = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION |
                                 QM_CHECK_COMMERCIAL | QM_CHECK_SUSPECT;
const unsigned int kAllowFlags = QM_ALLOW_EASTERN | QM_ALLOW_ASIAN;

struct ScanOptions {
  std::vector<std::string> inputs;
  ScanSettings settings;
  std::string globalListFile;
  std::string userListFile;
  std::vector<std::string> check;
  std::vector<std::string> allow;
  std::vector<std::string> userSetup;
  std::vector<std::string> globalSetup;
  bool forbidLatin = false;
  bool json = false;
  bool headers = false;
  bool passThrough = false;
  bool verbose = false;
  bool exitState = false;
};

class ScanRun : public MailVisitor {
 public:
  explicit ScanRun(const ScanOptions& options)
      : options_(options),
        scanner_(options.settings),
        report_(options.headers || options.passThrough ? stderr : stdout),
        progress_(report_) {}

  void visitMail(const Mail& mail) override;
  void visitError(int code, const std::string& name,
                  const std::string& what) override;
  int exitCode() const;

 private:
  bool isUsableFile(const Mail& mail);
  void refused(const Mail& mail, int returned);
  void report(const Mail& mail, const ScanResult& result);
  void reportText(const Mail& mail, const ScanResult& result,
                  const CauseText& cause);
  void reportJson(const Mail& mail, const ScanResult& result,
                  const CauseText& cause);
  void passThrough(const Mail& mail, const ScanResult& result);

  const ScanOptions& options_;
  Scanner scanner_;
  FILE* report_;
  Progress progress_;
  int firstError_ = kExitOk;
  int worstState_ = kExitOk;
};

void Write(const std::string& bytes) {
  fwrite(bytes.data(), 1, bytes.size(), stdout);
}

// What a state means for the exit code with -E.
int ExitForState(int state) {
  switch (state) {
    case QM_STATE_CLEAN:
      return kExitOk;
    case QM_STATE_SPAM:
      return kExitSpam;
    case QM_STATE_VIRUS:
      return kExitVirus;
    default:
      return kExitOtherState;
  }
}

// Virus before spam before the others before clean.
int Severity(int exitCode) {
  switch (exitCode) {
    case kExitVirus:
      return 3;
    case kExitSpam:
      return 2;
    case kExitOtherState:
      return 1;
    default:
      return 0;
  }
}

void ScanRun::visitError(int code, const std::string& name,
                         const std::string& what) {
  progress_.clear();
  PrintError(name, what);
  if (firstError_ == kExitOk) firstError_ = code;
}

// With --from-file: the library's answer to an empty file is no error.
bool ScanRun::isUsableFile(const Mail& mail) {
  struct stat status;
  if (stat(mail.path.c_str(), &status) != 0) {
    visitError(kExitNoInput, mail.name, strerror(errno));
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    visitError(kExitNoInput, mail.name, "not a regular file");
    return false;
  }
  if (status.st_size == 0) {
    visitError(kExitData, mail.name, "empty message");
    return false;
  }
  return true;
}

void ScanRun::refused(const Mail& mail, int returned) {
  switch (returned) {
    case QM_ERROR_KEYWORDS:
      visitError(kExitConfig, mail.name,
                 "not scanned: cannot load the dictionary '" +
                     options_.settings.keywordFile + "'");
      break;
    case QM_ERROR_FILE:
      visitError(access(mail.path.c_str(), R_OK) == 0 ? kExitIo : kExitNoInput,
                 mail.name, "not scanned: cannot read the file");
      break;
    default:
      visitError(
          kExitData, mail.name,
          "not scanned: the library returned " + std::to_string(returned));
  }
}

void ScanRun::visitMail(const Mail& mail) {
  const bool fromFile = options_.settings.fromFile;
  if (fromFile && !isUsableFile(mail)) return;
  const ScanResult result = scanner_.scan(mail.path, mail.text);
  progress_.step();
  if (result.returned < 0) {
    refused(mail, result.returned);
  } else {
    const int state = ExitForState(result.state);
    if (Severity(state) > Severity(worstState_)) worstState_ = state;
    report(mail, result);
    if (options_.headers) Write(result.header);
  }
  if (options_.passThrough) passThrough(mail, result);
}

// An mbox comes out as an mbox, with its separators and quoted lines.
void ScanRun::passThrough(const Mail& mail, const ScanResult& result) {
  Mail loaded;
  const Mail* source = &mail;
  if (options_.settings.fromFile) {
    int code = kExitIo;
    std::string what;
    if (!ReadFile(mail.path, &loaded.text, &code, &what)) {
      visitError(code, mail.name, what);
      return;
    }
    source = &loaded;
  }
  Write(source->separator);
  if (result.returned < 0 || !result.hasHeader) {
    Write(source->storedFrom(0));
    return;
  }
  Write(result.header);
  Write(source->storedFrom(static_cast<size_t>(result.headerLength)));
}

void ScanRun::report(const Mail& mail, const ScanResult& result) {
  const CauseText cause = SplitCauseText(result.cause);
  if (options_.json) {
    reportJson(mail, result, cause);
  } else {
    reportText(mail, result, cause);
  }
  if (result.causeCut) {
    progress_.clear();
    PrintError(mail.name, "the cause is not complete");
  }
}

void ScanRun::reportText(const Mail& mail, const ScanResult& result,
                         const CauseText& cause) {
  std::string text =
      Printable(mail.name) + ": state " + std::to_string(result.state) + " (" +
      StateName(result.state) + "), score " + std::to_string(result.score);
  if (!options_.verbose) {
    if (!cause.plain.empty()) text += ": " + Printable(cause.plain);
    text += '\n';
  } else {
    text += "\n";
    if (!cause.version.empty()) text += "  " + Printable(cause.version) + "\n";
    for (const CauseEntry& entry : cause.entries) {
      text += "  " + Printable(entry.label);
      if (!entry.points.empty()) text += " (" + entry.points + ")";
      text += "\n";
    }
    if (!cause.details.empty()) text += "  " + Printable(cause.details) + "\n";
  }
  fputs(text.c_str(), report_);
}

void ScanRun::reportJson(const Mail& mail, const ScanResult& result,
                         const CauseText& cause) {
  nlohmann::ordered_json line;
  line["file"] = ToUtf8(mail.name);
  line["state"] = result.state;
  line["name"] = StateName(result.state);
  line["score"] = result.score;
  line["cause"] = ToUtf8(cause.plain);
  line["entries"] = nlohmann::ordered_json::array();
  for (const CauseEntry& entry : cause.entries) {
    nlohmann::ordered_json item;
    item["label"] = ToUtf8(entry.label);
    item["points"] = nullptr;
    if (!entry.points.empty()) {
      errno = 0;
      const long long points = strtoll(entry.points.c_str(), nullptr, 10);
      if (errno == 0) item["points"] = points;
    }
    line["entries"].push_back(item);
  }
  if (!cause.details.empty()) line["details"] = ToUtf8(cause.details);
  line["version"] = ToUtf8(cause.version);
  line["headerLength"] = result.headerLength;
  const std::string text = line.dump() + "\n";
  fputs(text.c_str(), report_);
}

int ScanRun::exitCode() const {
  if (firstError_ != kExitOk) return firstError_;
  return options_.exitState ? worstState_ : kExitOk;
}

// Adds the flags of `names` to `*flags`. Only those in `allowed` may be named,
// with `prefix` in front of them in the table.
void AddFlags(const char* option, const std::vector<std::string>& names,
              unsigned int allowed, const std::string& prefix,
              unsigned int* flags) {
  for (const std::string& name : names) {
    const FlagName* found = nullptr;
    for (const FlagName& row : kSetupFlags) {
      if (prefix + name == row.name && (row.flag & ~allowed) == 0) found = &row;
    }
    if (!found) {
      throw CLI::ValidationError(option, "unknown name '" + name + "'");
    }
    *flags |= found->flag;
  }
}

void SetUpFlags(ScanOptions* options) {
  ScanSettings& settings = options->settings;
  unsigned int both = 0;
  AddFlags("--check", options->check, kCheckFlags, "", &both);
  AddFlags("--allow", options->allow, kAllowFlags, "allow-", &both);
  if (options->forbidLatin) both |= QM_FORBID_LATIN;
  settings.userFlags = both;
  settings.globalFlags = both;
  AddFlags("--user-setup", options->userSetup, ~0u, "", &settings.userFlags);
  AddFlags("--global-setup", options->globalSetup, ~0u, "",
           &settings.globalFlags);
  settings.hasSetups =
      both != 0 || !options->userSetup.empty() || !options->globalSetup.empty();
}

// Throws a usage error for options that contradict each other.
void CheckOptions(ScanOptions* options) {
  if (options->inputs.empty()) {
    if (isatty(STDIN_FILENO)) {
      throw CLI::ValidationError("scan", "no input; '-' is stdin");
    }
    options->inputs.push_back("-");
  }
  for (const std::string& input : options->inputs) {
    if (input == "-" && options->settings.fromFile) {
      throw CLI::ValidationError("--from-file", "stdin is not a file");
    }
  }
  SetUpFlags(options);
}

bool LoadList(const std::string& path, std::string* list) {
  if (path.empty()) return true;
  int code = kExitIo;
  std::string what;
  if (ReadFile(path, list, &code, &what)) return true;
  PrintError(path, what);
  return false;
}

int RunScan(ScanOptions options) {
  ScanSettings& settings = options.settings;
  settings.wantHeader = options.headers || options.passThrough;
  CheckOptions(&options);
  if (!LoadList(options.globalListFile, &settings.globalList) ||
      !LoadList(options.userListFile, &settings.userList)) {
    return kExitConfig;
  }
  if (!settings.patchDirectory.empty()) {
    struct stat status;
    if (stat(settings.patchDirectory.c_str(), &status) != 0 ||
        !S_ISDIR(status.st_mode)) {
      PrintError(settings.patchDirectory, "not a directory");
      return kExitConfig;
    }
  }
  ScanRun run(options);
  VisitMails(options.inputs, settings.fromFile, &run);
  return run.exitCode();
}

const char kFooter[] =
    "A directory is searched for files; an mbox file is split into its\n"
    "messages, FILE:1, FILE:2 and so on. Without an input, stdin is read.\n"
    "\n"
    "Names for setups: virus, notification, commercial, suspect,\n"
    "allow-eastern, allow-asian, forbid-latin, none.\n"
    "\n"
    "Exit codes: 0 every message was scanned; with -E, 0 clean, 1 spam,\n"
    "2 virus, 3 any other state, of several messages the first of\n"
    "2, 1, 3, 0 that occurs. When something was not scanned, the code of the\n"
    "first such error: 64 usage, 65 empty or unusable message, 66 input\n"
    "missing, 71 out of memory, 74 I/O error, 78 dictionary, list or patch\n"
    "directory unusable.";

void AddOutputOptions(CLI::App* command, ScanOptions* options) {
  command->add_flag("-v,--verbose", options->verbose,
                    "The version, and one cause entry a line");
  command->add_flag("--json", options->json, "One JSON object a line");
  CLI::Option* headers = command->add_flag(
      "--headers", options->headers,
      "Print the rewritten header blocks; results go to stderr");
  command
      ->add_flag("--pass-through", options->passThrough,
                 "Print the messages with their headers rewritten; results "
                 "go to stderr")
      ->excludes(headers);
  command->add_flag("-E,--exit-state", options->exitState,
                    "Exit with a code for the state");
}

void AddSetupOptions(CLI::App* command, ScanOptions* options) {
  command
      ->add_option("--check", options->check,
                   "Checks to switch on in both setups: virus, notification, "
                   "commercial, suspect")
      ->delimiter(',')
      ->allow_extra_args(false);
  command
      ->add_option("--allow", options->allow,
                   "Scripts that do not score: eastern, asian")
      ->delimiter(',')
      ->allow_extra_args(false);
  command->add_flag("--forbid-latin", options->forbidLatin,
                    "Latin script scores");
  command
      ->add_option("--user-setup", options->userSetup,
                   "Flags of the recipient's setup, by name")
      ->delimiter(',')
      ->allow_extra_args(false);
  command
      ->add_option("--global-setup", options->globalSetup,
                   "Flags of the system's setup, by name")
      ->delimiter(',')
      ->allow_extra_args(false);
}

void AddSettings(CLI::App* command, ScanOptions* options) {
  ScanSettings& settings = options->settings;
  command->add_option("--user", settings.user, "The recipient's address");
  command->add_option("--profile", settings.profile,
                      "Profile words, comma-separated");
  command
      ->add_option("--bailout", settings.bailout,
                   "Score that ends a scan, from 100 on")
      ->check(CLI::Range(100, std::numeric_limits<int>::max()));
  command->add_flag("--no-bailout", settings.noBailout,
                    "Let no score end a scan");
  command->add_option("--global-list", options->globalListFile,
                      "File with the system's sender list");
  command->add_option("--user-list", options->userListFile,
                      "File with the recipient's sender list");
  command->add_option("--keywords", settings.keywordFile,
                      "Dictionary image to use");
  CLI::Option* patch =
      command->add_option("--patch-dir", settings.patchDirectory,
                          "Directory where the patch list is looked for first");
  command
      ->add_flag_callback(
          "--no-context", [&settings]() { settings.context = false; },
          "Scan without a speedup context")
      ->excludes(patch);
  command->add_flag("--skip-emails", settings.skipEmails,
                    "Leave out the sender-address checks");
  command
      ->add_option("--param", settings.params, "A parameter line; repeatable")
      ->allow_extra_args(false);
  command->add_option_function<std::string>(
      "--subject-tag",
      [&settings](const std::string& tag) {
        settings.subjectTag = tag;
        settings.hasSubjectTag = true;
      },
      "Text in front of the subject when the state is not 0");
  command->add_flag("--from-file", settings.fromFile,
                    "Let the library read the files; no mbox is split");
}

}  // namespace

void AddScanCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<ScanOptions>();
  CLI::App* command = app.add_subcommand("scan", "Scan messages");
  command
      ->add_option("FILE", options->inputs,
                   "Message files, directories, mbox files, or - for stdin")
      ->type_name("");
  AddOutputOptions(command, options.get());
  AddSetupOptions(command, options.get());
  AddSettings(command, options.get());
  command->footer(kFooter);
  command->callback([options, exitCode]() { *exitCode = RunScan(*options); });
}
