// What the files of the command line share: exit codes, and one function a
// subcommand, which adds its options to the parser and the code to run.
#ifndef QUAYMARSH_TOOLS_COMMANDS_H_
#define QUAYMARSH_TOOLS_COMMANDS_H_

#include <string>

namespace CLI {
class App;
}

// Exit codes. Those from 64 on follow sysexits.h.
enum ExitCode {
  kExitOk = 0,
  kExitSpam = 1,        // with -E: the most severe message was spam
  kExitFailed = 1,      // of test and lint: something is wrong
  kExitVirus = 2,       // with -E: a virus
  kExitOtherState = 3,  // with -E: notification, suspect or commercial
  kExitUsage = 64,      // wrong options
  kExitData = 65,       // an empty or unusable message, undecodable text
  kExitNoInput = 66,    // an input is missing or may not be read
  kExitMemory = 71,     // out of memory
  kExitIo = 74,         // reading or writing failed half-way
  kExitConfig = 78,     // dictionary, sender list or patch directory unusable
};

// Each adds one subcommand. When it was chosen, parsing runs it and stores its
// exit code through `exitCode`, which must outlive the parser.
void AddScanCommand(CLI::App& app, int* exitCode);
void AddFieldsCommand(CLI::App& app, int* exitCode);
void AddRuleCommand(CLI::App& app, int* exitCode);
void AddDecodeCommand(CLI::App& app, int* exitCode);
void AddRegexCommand(CLI::App& app, int* exitCode);
void AddDictCommand(CLI::App& app, int* exitCode);
void AddCorpusCommand(CLI::App& app, int* exitCode);
void AddTestCommand(CLI::App& app, int* exitCode);
void AddLintCommand(CLI::App& app, int* exitCode);

// Writes "quaymarsh: NAME: WHAT" to stderr; an empty name is left out.
void PrintError(const std::string& name, const std::string& what);

#endif  // QUAYMARSH_TOOLS_COMMANDS_H_
