// The command line of the library. This file finds the subcommand and turns
// every way of ending into an exit code; the work is in one file a subcommand.
// Tested by tests/tools/cli_test.sh.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "commands.h"
#include "printable.h"
#include "quaymarsh.h"

void PrintError(const std::string& name, const std::string& what) {
  std::string line = "quaymarsh: ";
  if (!name.empty()) line += Printable(name) + ": ";
  line += Printable(what) + "\n";
  // What was printed so far comes first, also when both go to one place.
  fflush(stdout);
  fputs(line.c_str(), stderr);
}

namespace {

// Asks for a scan of nothing: it is refused, but only after the version has
// been filled in, and nothing is logged.
std::string LibraryVersion() {
  char version[16384];
  QMINFO info;
  memset(&info, 0, sizeof(info));
  info.size = sizeof(info);
  info.version = version;
  info.versionSize = sizeof(version);
  version[0] = '\0';
  QmScanMessage(&info);
  return Printable(version);
}

// The parser takes an argument in square brackets for a list, and a "--" behind
// a file for the end of the subcommand, while any of it may name a file. This
// byte in front makes an argument a plain value; it is taken off before anybody
// sees the value.
const char kShield = '\x01';

std::string Unshield(const std::string& value) {
  return !value.empty() && value[0] == kShield ? value.substr(1) : value;
}

void UnshieldOptions(CLI::App* command) {
  for (CLI::Option* option : command->get_options())
    option->transform(Unshield);
  for (CLI::App* inner : command->get_subcommands(nullptr))
    UnshieldOptions(inner);
}

// The arguments in the order that the parser wants: the last one first. Those
// behind a "--", which stays out, are no options.
std::vector<std::string> ShieldedArguments(int argc, char** argv) {
  std::vector<std::string> arguments;
  bool onlyValues = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--" && !onlyValues) {
      onlyValues = true;
      continue;
    }
    const bool shield =
        onlyValues || argument[0] == '[' || argument[0] == kShield;
    arguments.push_back(shield ? kShield + argument : argument);
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

int Run(int argc, char** argv) {
  int exitCode = kExitOk;
  CLI::App app("Quay Marsh: scans mail for spam, viruses and the like.");
  app.name("quaymarsh");
  app.set_version_flag("--version", LibraryVersion,
                       "Print the library's version string");
  app.require_subcommand(1);
  AddScanCommand(app, &exitCode);
  AddFieldsCommand(app, &exitCode);
  AddRuleCommand(app, &exitCode);
  AddDecodeCommand(app, &exitCode);
  AddRegexCommand(app, &exitCode);
  AddDictCommand(app, &exitCode);
  AddCorpusCommand(app, &exitCode);
  AddTestCommand(app, &exitCode);
  AddLintCommand(app, &exitCode);
  if (argc < 2) {
    fputs(app.help().c_str(), stderr);
    return kExitUsage;
  }
  bool known = argv[1][0] == '-';
  for (CLI::App* command : app.get_subcommands(nullptr)) {
    if (command->check_name(argv[1])) known = true;
    UnshieldOptions(command);
  }
  if (!known) {
    PrintError(argv[1], "unknown subcommand");
    fputs(app.help().c_str(), stderr);
    return kExitUsage;
  }
  try {
    app.parse(ShieldedArguments(argc, argv));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    PrintError("", error.what());
    fputs("Run 'quaymarsh --help' or 'quaymarsh SUBCOMMAND --help'.\n", stderr);
    return kExitUsage;
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  int exitCode;
  try {
    exitCode = Run(argc, argv);
  } catch (const std::bad_alloc&) {
    PrintError("", "out of memory");
    exitCode = kExitMemory;
  } catch (const std::exception& error) {
    PrintError("", error.what());
    exitCode = kExitIo;
  }
  // A full disk shows up only here.
  const bool lost = fflush(stdout) != 0 || ferror(stdout) != 0;
  if (lost && exitCode < kExitUsage) {
    PrintError("standard output", "write error");
    exitCode = kExitIo;
  }
  return exitCode;
}
