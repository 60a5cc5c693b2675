// Whole messages as a host has them scanned: state, score, cause and rewritten
// header, through the shared library and with the dictionary that is built in.
// Each message goes in from memory and from its file, with a context and
// without; the four answers must be the same, and that of NAME.ref.
//
// NAME.eml is the message, its bytes as they came. NAME.args, if there is one,
// sets up the scan, a line "key value" for each setting, see kKeys; with the
// key "message" it is a case of its own on another one's message. All checks
// are on, unless "setup" says which.
//
//   golden_run [--approve] [NAME]...
//
// Without names all cases. --approve writes the .ref files;
// tests/golden/approve does that and shows what became different. Exit 1:
// something differs.

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "quaymarsh.h"

namespace {

const char kFolder[] = "tests/golden/";
const size_t kCauseBytes = 1 << 18;
const char kAllChecks[] = "virus notification commercial suspect";

// Settings of a case; a key that stands more than once makes a text of lines.
const std::set<std::string> kKeys = {
    "message",                                      // whose .eml it takes
    "user", "globalList", "userList", "param",      // fields of the record
    "profile", "bailout", "tag", "setup", "flags",  // names, see below
    "grow",                                         // bytes to which the last
                                                    // line is repeated
    "ways"};                                        // "memory": not from a file
using Settings = std::map<std::string, std::string>;

const std::map<std::string, unsigned> kSetupBits = {
    {"none", 0},
    {"virus", QM_CHECK_VIRUS},
    {"notification", QM_CHECK_NOTIFICATION},
    {"eastern", QM_ALLOW_EASTERN},
    {"asian", QM_ALLOW_ASIAN},
    {"noLatin", QM_FORBID_LATIN},
    {"commercial", QM_CHECK_COMMERCIAL},
    {"suspect", QM_CHECK_SUSPECT}};
const std::map<std::string, unsigned> kFlagBits = {
    {"noBailout", QM_NO_BAILOUT}, {"skipEmails", QM_SKIP_EMAILS}};

int g_failures = 0;

void Fail(const std::string& name, const std::string& what) {
  g_failures++;
  printf("%s: %s\n", name.c_str(), what.c_str());
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteFile(const std::string& path, const std::string& bytes) {
  if (!(std::ofstream(path, std::ios::binary) << bytes)) Fail(path, "no room");
}

// A file that goes with the object.
struct Temporary {
  explicit Temporary(const std::string& bytes) {
    const int file = mkstemp(path);
    if (file < 0) abort();
    close(file);
    WriteFile(path, bytes);
  }
  ~Temporary() { unlink(path); }
  char path[24] = "/tmp/golden-XXXXXX";
};

Settings ReadSettings(const std::string& name) {
  Settings settings = {{"message", name}};
  std::istringstream in(ReadFile(kFolder + name + ".args"));
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    const std::string key = line.substr(0, line.find(' '));
    if (!kKeys.count(key) || key.size() == line.size()) {
      Fail(name, "what does \"" + line + "\" mean?");
      continue;
    }
    std::string& value = settings[key];
    if (key == "message") value = "";
    if (!value.empty()) value += '\n';
    value += line.substr(key.size() + 1);
  }
  return settings;
}

unsigned BitsOf(const std::string& name, const std::string& words,
                const std::map<std::string, unsigned>& bits) {
  unsigned sum = 0;
  std::istringstream in(words);
  for (std::string word; in >> word;) {
    if (!bits.count(word))
      Fail(name, "what is \"" + word + "\"?");
    else
      sum |= bits.at(word);
  }
  return sum;
}

// ---- What a scan tells, as text

// With all but printable ASCII written out, so that a diff shows it.
std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    char hex[8];
    snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned char>(c));
    out += c == '\\' ? "\\\\" : c >= ' ' && c <= '~' ? std::string(1, c) : hex;
  }
  return out;
}

// The letter pairs: a byte is 17 times one letter's number plus the other's.
std::string Decoded(const std::string& text) {
  std::string out;
  for (size_t i = 0; 2 * i + 1 < text.size(); i++) {
    const int low = text[2 * i + i % 2] - 'f';
    const int high = text[2 * i + 1 - i % 2] - 'b';
    out += static_cast<char>(high * 17 + low);
  }
  return out;
}

// Each piece up to the separator on a line of its own, behind a mark.
std::string Lines(const std::string& text, const std::string& separator,
                  const std::string& mark) {
  std::string out;
  for (size_t start = 0; start < text.size();) {
    if (separator == ";" && text[start] == ' ') start++;
    const size_t end = std::min(text.find(separator, start), text.size());
    out += mark + Escaped(text.substr(start, end - start)) + "\n";
    start = end + separator.size();
  }
  return out;
}

std::string Told(const QMINFO& info, int returned) {
  char figures[128];
  snprintf(figures, sizeof figures,
           "returned %d, state %d, score %d, header of %d bytes\n", returned,
           info.state, info.score, info.headerLength);
  if (info.state < 0) return figures;
  const std::string cause = info.cause;
  return figures +
         Lines(info.state == QM_STATE_VIRUS ? cause : Decoded(cause), ";",
               "  ") +
         Lines(std::string(info.headerOut,
                           static_cast<size_t>(info.headerOutLength)),
               "\r\n", "| ");
}

// ---- The scans

// Scans the message, or with a path the file.
std::string Scan(const std::string& name, Settings settings,
                 const std::string& message, const char* path, void* context) {
  // A block of exact size, so that a sanitizer sees a byte too many.
  const std::vector<unsigned char> copy(message.begin(), message.end());
  std::vector<char> cause(kCauseBytes), header(2 * message.size() + 4096);
  char version[256];
  const unsigned checks =
      BitsOf(name, settings.count("setup") ? settings["setup"] : kAllChecks,
             kSetupBits);
  const QMGLOBALSETUP globalSetup = {8, checks};
  const QMUSERSETUP userSetup = {20, -100, 200, 0, checks};
  const auto text = [&settings](const char* key) {
    return settings.count(key) ? settings[key].c_str() : nullptr;
  };
  QMINFO info;
  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  info.flags = QM_WANT_CAUSE | QM_REWRITE_HEADER |
               BitsOf(name, settings["flags"], kFlagBits);
  if (path) {
    info.flags |= QM_FROM_FILE;
    info.msgPath = path;
  } else {
    info.msg =
        copy.empty() ? reinterpret_cast<const unsigned char*>("") : copy.data();
    info.msgLength = static_cast<unsigned>(copy.size());
  }
  info.user = text("user");
  const std::string& globalList = settings["globalList"];
  info.globalList = reinterpret_cast<const unsigned char*>(globalList.data());
  info.globalListLength = static_cast<unsigned>(globalList.size());
  const std::string& userList = settings["userList"];
  info.userList = reinterpret_cast<const unsigned char*>(userList.data());
  info.userListLength = static_cast<unsigned>(userList.size());
  info.globalSetup = &globalSetup;
  info.userSetup = &userSetup;
  info.subjectTag = settings.count("tag") ? text("tag") : "[filter] ";
  info.bailout = atoi(settings["bailout"].c_str());
  info.profile = text("profile");
  info.params = text("param");
  info.headerOut = header.data();
  info.headerOutSize = static_cast<int>(header.size());
  info.cause = cause.data();
  info.causeSize = static_cast<int>(cause.size());
  info.version = version;
  info.versionSize = sizeof version;
  info.state = -99;
  const int returned = QmScanMessageWithContext(&info, context);
  if (!std::equal(
          copy.begin(), copy.end(), message.begin(),
          [](auto a, auto b) { return a == static_cast<unsigned char>(b); }))
    Fail(name, "the message was written to");
  return Told(info, returned);
}

void Compare(const std::string& name, const std::string& path,
             const std::string& got) {
  if (ReadFile(path) == got) return;
  Fail(name, "differs from " + path);
  const Temporary file(got);
  fflush(stdout);
  const std::string command = "diff -u '" + path + "' " + file.path;
  if (system(command.c_str()) == -1) perror("diff");
}

void RunCase(const std::string& name, void* context, bool approve) {
  Settings settings = ReadSettings(name);
  const std::string path = kFolder + settings["message"] + ".eml";
  std::string message = ReadFile(path);
  if (access(path.c_str(), R_OK) != 0) Fail(name, "no message");
  if (settings.count("grow")) {
    const size_t size = strtoul(settings["grow"].c_str(), nullptr, 10);
    const std::string line =
        message.substr(message.rfind('\n', message.size() - 2) + 1);
    while (message.size() + line.size() <= size) message += line;
  }
  const Temporary file(message);
  const std::string ref = kFolder + name + ".ref";
  const std::string got = Scan(name, settings, message, nullptr, context);
  if (approve) WriteFile(ref, got);
  Compare(name, ref, got);
  const struct {
    const char *way, *path;
    void* context;
  } others[] = {{"memory without a context", nullptr, nullptr},
                {"a file with a context", file.path, context},
                {"a file without a context", file.path, nullptr}};
  for (const auto& other : others) {
    if (other.path && settings.count("ways")) continue;
    const std::string differing =
        Scan(name, settings, message, other.path, other.context);
    if (differing == got) continue;
    Fail(name, std::string("another answer from ") + other.way);
    printf("%s", differing.c_str());
  }
}

// The names of all .eml and .args files.
std::set<std::string> AllCases() {
  std::set<std::string> names;
  DIR* folder = opendir(kFolder);
  while (const dirent* entry = folder ? readdir(folder) : nullptr) {
    const std::string name = entry->d_name;
    const size_t dot = std::min(name.rfind('.'), name.size());
    if (name.substr(dot) == ".eml" || name.substr(dot) == ".args")
      names.insert(name.substr(0, dot));
  }
  if (folder) closedir(folder);
  return names;
}

}  // namespace

int main(int argc, char** argv) {
  bool approve = false;
  std::set<std::string> names;
  for (int i = 1; i < argc; i++) {
    if (strcmp(argv[i], "--approve") == 0)
      approve = true;
    else
      names.insert(argv[i]);
  }
  if (names.empty()) names = AllCases();
  if (names.empty()) Fail(kFolder, "no cases");
  void* context = QmCreateSpeedupContext();
  for (const std::string& name : names) RunCase(name, context, approve);
  QmReleaseSpeedupContext(context);
  printf("%zu cases, %d failures\n", names.size(), g_failures);
  return g_failures > 0;
}
