// quaymarsh decode: reads letter-pair texts from the arguments or from stdin.
// White space is dropped wherever it stands, because a header that carries such
// a text may have been folded, and unfolding leaves a blank behind. Tested by
// tests/tools/cli_test.sh.

#include <sys/types.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "cause_text.h"
#include "commands.h"
#include "letter_pairs.h"
#include "printable.h"

namespace {

struct DecodeOptions {
  std::vector<std::string> texts;
  bool raw = false;
  bool verbose = false;
};

bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string WithoutSpace(const std::string& text) {
  std::string result;
  for (char c : text) {
    if (!IsSpace(c)) result += c;
  }
  return result;
}

void PrintDecoded(const std::string& text, const DecodeOptions& options) {
  if (options.raw) {
    fwrite(text.data(), 1, text.size(), stdout);
    return;
  }
  if (!options.verbose) {
    printf("%s\n", Printable(text).c_str());
    return;
  }
  const CauseText cause = SplitCauseText(text);
  if (!cause.version.empty()) printf("%s\n", Printable(cause.version).c_str());
  for (const CauseEntry& entry : cause.entries) {
    printf("%s", Printable(entry.label).c_str());
    if (!entry.points.empty()) printf(" (%s)", entry.points.c_str());
    printf("\n");
  }
  if (!cause.details.empty()) printf("%s\n", Printable(cause.details).c_str());
}

// Decodes one text. Returns kExitOk or kExitData.
int DecodeOne(const std::string& text, const DecodeOptions& options) {
  const std::string letters = WithoutSpace(text);
  if (letters.empty()) {
    PrintError("decode", "empty text");
    return kExitData;
  }
  std::string decoded;
  size_t badAt = 0;
  const LetterPairsResult result = DecodeLetterPairs(letters, &decoded, &badAt);
  if (result == kPairsBad) {
    PrintError("decode", "'" + letters.substr(badAt, 2) + "' (letter " +
                             std::to_string(badAt + 1) +
                             ") is no letter pair; the cause of a virus is "
                             "plain text and needs no decoding");
    return kExitData;
  }
  // A single letter may be anything, so nothing vouches for it.
  if (decoded.empty()) {
    PrintError("decode", "one letter is no letter pair");
    return kExitData;
  }
  if (result == kPairsCut) {
    PrintError("decode",
               "the text was cut: half a pair at its end is left out");
  }
  PrintDecoded(decoded, options);
  return kExitOk;
}

// Reads one text a line; a line that begins with a blank or a TAB goes on with
// the one before it. Empty lines are skipped. False on a read error.
bool ReadTexts(std::vector<std::string>* texts) {
  char* line = nullptr;
  size_t capacity = 0;
  ssize_t length;
  bool open = false;
  while ((length = getline(&line, &capacity, stdin)) >= 0) {
    const std::string text(line, static_cast<size_t>(length));
    const bool folded = open && (line[0] == ' ' || line[0] == '\t');
    if (WithoutSpace(text).empty()) {
      open = false;
    } else if (folded) {
      texts->back() += text;
    } else {
      texts->push_back(text);
      open = true;
    }
  }
  free(line);
  return ferror(stdin) == 0;
}

int RunDecode(DecodeOptions options) {
  if (options.texts.empty()) {
    if (!ReadTexts(&options.texts)) {
      PrintError("standard input", "read error");
      return kExitIo;
    }
    if (options.texts.empty()) {
      PrintError("standard input", "nothing to decode");
      return kExitData;
    }
  }
  int exitCode = kExitOk;
  for (const std::string& text : options.texts) {
    const int code = DecodeOne(text, options);
    if (exitCode == kExitOk) exitCode = code;
  }
  return exitCode;
}

}  // namespace

void AddDecodeCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<DecodeOptions>();
  CLI::App* command =
      app.add_subcommand("decode", "Decode a cause or parameter text");
  command->add_option("TEXT", options->texts,
                      "Letter-pair texts; none: stdin, one a line");
  command->add_flag("-v,--verbose", options->verbose, "One entry a line");
  command->add_flag("--raw", options->raw,
                    "Write the decoded bytes as they are, without a line end");
  command->footer(
      "Control bytes are shown as \\xNN, bytes that are not UTF-8 as the\n"
      "character of their value. Exit code: 0, or 65 when a text is no\n"
      "letter-pair text; all the others are still decoded.");
  command->callback([options, exitCode]() { *exitCode = RunDecode(*options); });
}
