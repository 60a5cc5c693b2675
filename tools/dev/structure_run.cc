// structure_run: parses whole folders of mail and counts what was found in the
// messages: bodies, dates, everything that had to be forgiven.
//
//   structure_run [--depth N] [--list COLUMN] [--round-trip] PATH...
//
// Prints one row for each folder that is N levels (1 unless told) below a PATH,
// for the files above that, and a total. With --list each message that counts
// in that column has a line with its tree.
//
// With --round-trip each message is also scanned through the shared library
// with its header rewritten, and the new header put in the old one's place, as
// a host does. The header must hold no empty line but its last, a second scan
// must take exactly the new header for the header, so that the body is byte
// for byte the old one, and rewrite it to the same bytes but for the score.
// Every fault has a line with the file's name.
//
// A file is one message, as it is. Exit 0: no fault; 1: faults; 64: usage.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dump/dump.h"
#include "quaymarsh.h"
#include "scan/tqmmsg.h"

namespace fs = std::filesystem;

namespace {

// The flag of the message or of a part that is left.
int HasFlag(const TQMMSG& m, uint32_t flag) {
  uint32_t flags = m.message.flags;
  OITER walk(&m.message.parts);
  while (const void* item = walk.next())
    flags |= static_cast<const BLOCKPART*>(item)->flags;
  return (flags & flag) != 0;
}

int HasText(const TQMMSG& m) {
  return !m.message.getTextBlock().empty();
}

int HasHtml(const TQMMSG& m) {
  return !m.message.getHtmlBlock().empty();
}

int CountArchives(const TQMMSG& m) {
  int count = 0;
  OITER walk(&m.message.parts);
  while (const void* item = walk.next())
    count += static_cast<const BLOCKPART*>(item)->attachKind == akArchive;
  return count;
}

struct Column {
  const char* name;
  int (*count)(const TQMMSG& m);
};

const Column kColumns[] = {
    {"text", HasText},
    {"html", HasHtml},
    {"neither",
     [](const TQMMSG& m) { return int{!HasText(m) && !HasHtml(m)}; }},
    // There is a body, but nothing of it shows, or all of it is quoted.
    {"blank",
     [](const TQMMSG& m) {
       return int{m.body.empty() && (HasText(m) || HasHtml(m))};
     }},
    {"embedded",
     [](const TQMMSG& m) { return int{m.message.embeddedPart != nullptr}; }},
    {"no-date", [](const TQMMSG& m) { return int{m.date.empty()}; }},
    {"bad-date", [](const TQMMSG& m) { return int{m.headerDate.error != 0}; }},
    {"bad-struct", [](const TQMMSG& m) { return HasFlag(m, pfBadStructure); }},
    {"no-term", [](const TQMMSG& m) { return HasFlag(m, pfNoTerminator); }},
    {"nested-alt",
     [](const TQMMSG& m) { return HasFlag(m, pfNestedAlternative); }},
    {"no-blank",
     [](const TQMMSG& m) { return HasFlag(m, pfNoBlankBeforeBoundary); }},
    {"preamble", [](const TQMMSG& m) { return HasFlag(m, pfMimePreamble); }},
    {"unquoted",
     [](const TQMMSG& m) { return HasFlag(m, pfUnquotedFileName); }},
    {"report", [](const TQMMSG& m) { return HasFlag(m, pfReport); }},
    {"attachs", [](const TQMMSG& m) { return int{m.attachmentCount}; }},
    {"archives", CountArchives},
};
const size_t kColumnCount = sizeof kColumns / sizeof *kColumns;

struct Options {
  size_t depth = 1;
  const Column* list = nullptr;
  bool roundTrip = false;
};

struct Figures {
  long messages = 0, faults = 0;
  long counts[kColumnCount] = {};

  void add(const Figures& other) {
    messages += other.messages;
    faults += other.faults;
    for (size_t i = 0; i < kColumnCount; i++) counts[i] += other.counts[i];
  }
};

struct Rewritten {
  int returned = -99;
  size_t headerLength = 0;
  std::string header;
};

// Scans from memory, as a host that wants a new header.
Rewritten Rewrite(const std::string& message, void* context) {
  Rewritten result;
  // A line end may become two bytes; version and score come on top.
  std::vector<char> header(message.size() * 2 + 4096);
  char version[256];
  QMINFO info;
  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  info.flags = QM_REWRITE_HEADER;
  info.msg = reinterpret_cast<const unsigned char*>(message.data());
  info.msgLength = static_cast<unsigned>(message.size());
  info.headerOut = header.data();
  info.headerOutSize = static_cast<int>(header.size());
  info.version = version;
  info.versionSize = sizeof version;
  result.returned = QmScanMessageWithContext(&info, context);
  if (result.returned < 0) return result;
  result.headerLength = static_cast<size_t>(info.headerLength);
  result.header.assign(header.data(),
                       static_cast<size_t>(info.headerOutLength));
  return result;
}

// Whether the only empty line is the last one, also for a reader to whom every
// LF ends a line.
bool EndsInItsOnlyEmptyLine(const std::string& header) {
  size_t begin = 0;
  while (begin < header.size()) {
    const size_t end = header.find('\n', begin);
    if (end == std::string::npos) return false;
    const bool empty =
        header.find_first_not_of('\r', begin) == end && end < begin + 3;
    if (empty) return end + 1 == header.size();
    begin = end + 1;
  }
  return false;
}

// The header up to the last line, which may change: what was no mail is some
// once it has that line.
std::string WithoutScore(const std::string& header) {
  return header.substr(0, header.rfind("X-SPAM-SCORE: "));
}

// What is wrong with rewriting this message; null when nothing is.
const char* RoundTrip(const std::string& message, void* context) {
  const Rewritten first = Rewrite(message, context);
  if (first.returned < 0) return "not scanned";
  if (first.headerLength > message.size())
    return "headerLength passes the message";
  if (!EndsInItsOnlyEmptyLine(first.header))
    return "an empty line in the new header, or none at its end";
  const std::string body = message.substr(first.headerLength);
  const Rewritten second = Rewrite(first.header + body, context);
  if (second.returned < 0) return "not scanned again";
  if (second.headerLength != first.header.size())
    return "the second scan finds another body";
  if (WithoutScore(second.header) != WithoutScore(first.header))
    return "rewritten again it is another";
  return nullptr;
}

class Runner {
 public:
  explicit Runner(const Options& options)
      : options_(options), context_(QmCreateSpeedupContext()) {}
  ~Runner() { QmReleaseSpeedupContext(context_); }
  Runner(const Runner&) = delete;
  Runner& operator=(const Runner&) = delete;

  std::map<std::string, Figures> rows;

  void runPath(const fs::path& root);

 private:
  void runFile(const std::string& path, Figures& figures);
  std::string rowOf(const fs::path& root, const fs::path& file) const;

  const Options& options_;
  void* const context_;
};

// The folder whose row a file counts in.
std::string Runner::rowOf(const fs::path& root, const fs::path& file) const {
  const fs::path below = file.parent_path().lexically_relative(root);
  fs::path row = root;
  size_t level = 0;
  for (const fs::path& name : below) {
    if (name == "." || level++ == options_.depth) break;
    row /= name;
  }
  return row.string();
}

void Runner::runPath(const fs::path& root) {
  if (!fs::is_directory(root)) {
    runFile(root.string(), rows[root.string()]);
    return;
  }
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry :
       fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files)
    runFile(file.string(), rows[rowOf(root, file)]);
}

void Runner::runFile(const std::string& path, Figures& figures) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    figures.faults++;
    printf("FAULT %s: cannot be opened\n", path.c_str());
    return;
  }
  const std::string text((std::istreambuf_iterator<char>(file)),
                         std::istreambuf_iterator<char>());
  figures.messages++;
  const std::unique_ptr<TQMMSG> m(new TQMMSG(nullptr, nullptr, nullptr, 0, 0));
  const TBLOCK view(text.data(), static_cast<uint32_t>(text.size()));
  if (!m->loadFromBlock(view, nullptr, 0)) abort();
  m->parse(0);
  for (size_t i = 0; i < kColumnCount; i++) {
    const int count = kColumns[i].count(*m);
    figures.counts[i] += count;
    if (count && options_.list == &kColumns[i])
      printf("%s %s: %s\n", kColumns[i].name, path.c_str(),
             DumpTree(m->message).c_str());
  }
  if (!options_.roundTrip || text.empty()) return;
  const char* fault = RoundTrip(text, context_);
  if (!fault) return;
  figures.faults++;
  printf("FAULT %s: %s\n", path.c_str(), fault);
}

void PrintHead() {
  printf("%8s", "messages");
  for (const Column& column : kColumns) printf(" %s", column.name);
  printf(" faults  path\n");
}

// Each figure stands below the name of its column.
void PrintRow(const Figures& figures, const char* path) {
  printf("%8ld", figures.messages);
  for (size_t i = 0; i < kColumnCount; i++)
    printf(" %*ld", static_cast<int>(strlen(kColumns[i].name)),
           figures.counts[i]);
  printf(" %6ld  %s\n", figures.faults, path);
}

const Column* FindColumn(const char* name) {
  for (const Column& column : kColumns)
    if (strcmp(column.name, name) == 0) return &column;
  return nullptr;
}

int Usage() {
  fprintf(stderr,
          "usage: structure_run [--depth N] [--list COLUMN] [--round-trip] "
          "PATH...\ncolumns:");
  for (const Column& column : kColumns) fprintf(stderr, " %s", column.name);
  fprintf(stderr, "\n");
  return 64;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int i = 1;
  for (; i < argc && strncmp(argv[i], "--", 2) == 0; i++) {
    const std::string option = argv[i];
    if (option == "--round-trip") {
      options.roundTrip = true;
    } else if (option == "--depth" && i + 1 < argc) {
      options.depth = strtoul(argv[++i], nullptr, 10);
    } else if (option == "--list" && i + 1 < argc) {
      options.list = FindColumn(argv[++i]);
      if (!options.list) return Usage();
    } else {
      return Usage();
    }
  }
  if (i == argc) return Usage();
  Runner runner(options);
  for (; i < argc; i++) runner.runPath(argv[i]);
  Figures total;
  PrintHead();
  for (const auto& row : runner.rows) {
    PrintRow(row.second, row.first.c_str());
    total.add(row.second);
  }
  PrintRow(total, "(total)");
  return total.faults ? 1 : 0;
}
