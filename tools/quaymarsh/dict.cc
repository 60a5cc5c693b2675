// quaymarsh dict: what a rule dictionary holds, one lookup in it, and what a
// patch list would make of it. Names of sections are digests in an image; those
// that the code and the sources know are told by name. Tested by
// tests/tools/qmkwc_test.sh.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "base/md5.h"
#include "commands.h"
#include "content/words.h"
#include "printable.h"
#include "regex/regex_pool.h"
#include "rules/kw_obj.h"
#include "rules/kw_patch.h"
#include "rules/qm_dico.h"

namespace {

struct DictOptions {
  std::string file;
  std::string patches;
  std::vector<std::string> find;
  std::vector<std::string> names;
};

const char* const kTypeNames[] = {
    "patterns", "?",       "strings", "literals",       "rules",
    "named",    "regexes", "digests", "sorted digests", "sections"};

std::string TypeName(uint16_t type) {
  return type < sizeof kTypeNames / sizeof *kTypeNames ? kTypeNames[type] : "?";
}

std::string Hex(TBLOCK bytes) {
  std::string out;
  char digits[3];
  for (uint32_t i = 0; i < bytes.length; i++) {
    snprintf(digits, sizeof digits, "%02x", bytes[i]);
    out += digits;
  }
  return out;
}

std::string DigestOf(const std::string& name) {
  unsigned char digest[kSectionNameBytes];
  GetNameDigest(TBLOCK(name.data(), static_cast<uint32_t>(name.size())),
                digest);
  return Hex(TBLOCK(digest, kSectionNameBytes));
}

std::string Text(TBLOCK view) {
  return view.empty() ? std::string()
                      : std::string(reinterpret_cast<const char*>(view.pointer),
                                    view.length);
}

class DictRun {
 public:
  explicit DictRun(const DictOptions& options)
      : options_(options), dico_(&pool_, nullptr) {}
  int run();

 private:
  int load();
  void tell(const std::string& reasons);
  void tellWhatScansDo();
  int find();
  int findWords(const TQKSECTION* section, TBLOCK text);
  void printFound(const TQKSECTION* section, const TQKLINE* line);
  void print();
  void printSection(const TQKSECTION* section);
  std::string nameOf(TBLOCK digest) const;

  const DictOptions& options_;
  REGEXPOOL pool_;
  TQMDICO dico_;
};

int DictRun::run() {
  const int code = load();
  if (code != kExitOk) return code;
  if (!options_.find.empty()) return find();
  print();
  return kExitOk;
}

// The image asked for, or the library's own one; with the patches applied.
int DictRun::load() {
  if (options_.file.empty() && options_.patches.empty()) return kExitOk;
  std::unique_ptr<BLOCK> image(new BLOCK(0, 65536));
  STR why;
  const char* file = options_.file.empty() ? nullptr : options_.file.c_str();
  const char* list =
      options_.patches.empty() ? nullptr : options_.patches.c_str();
  const bool done = KwLoadKeywords(image.get(), file, list, &why) != nullptr;
  // Files that were passed over are told even when the rest went well.
  tell(why.c_str());
  if (!done && !list) tellWhatScansDo();
  if (!done) return kExitConfig;
  if (!dico_.loadKeywordsFromBlock(image.release())) {
    PrintError("dict", "the image cannot be used");
    return kExitConfig;
  }
  return kExitOk;
}

// Prints a line each, with the names of sections that were given in place of
// their digests.
void DictRun::tell(const std::string& reasons) {
  std::string rest = reasons;
  for (const std::string& name : options_.names) {
    const std::string digest = DigestOf(name);
    const size_t at = rest.find(digest);
    if (at != std::string::npos) rest.replace(at, digest.size(), name);
  }
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    PrintError("dict", Printable(rest.substr(0, end)));
    rest = end == std::string::npos ? "" : rest.substr(end + 1);
  }
}

// Patches must be whole images; a scan that is given one reads what it can.
void DictRun::tellWhatScansDo() {
  if (!dico_.loadKeywordsFromFile(options_.file.c_str())) {
    PrintError("dict", "a scan does not take it either");
    return;
  }
  const KWIMAGE& image = dico_.image();
  PrintError("dict",
             "as a patch it is passed over; a scan that is given it "
             "reads " +
                 std::to_string(image.sectionCount) + " sections, " +
                 std::to_string(image.lineCount) + " lines");
}

// Asks in the way that fits the section's type.
int DictRun::find() {
  const char* name = options_.find[0].c_str();
  const std::string& key = options_.find[1];
  const TBLOCK text(key.data(), static_cast<uint32_t>(key.size()));
  const TQKSECTION* section = dico_.findSection(name);
  if (!section) {
    PrintError("dict", options_.find[0] + ": no such section");
    return kExitData;
  }
  const TQKLINE* line = nullptr;
  TBLOCK label;
  int found = 0;
  if (section->type == stPattern) return findWords(section, text);
  if (section->type == stSortedMd5) {
    MD5 md5;
    int32_t position = 0;
    md5.add(text);
    found = dico_.findSortedMd5(name, md5.get(), position);
    if (found) printf("found: digest %d\n", position);
  } else if (section->flags & sfHashed) {
    found = dico_.hashedFind(name, text, line);
  } else if (section->type == stNamedRegex) {
    found = dico_.matchFirstNamedRegex(name, text, label);
    if (found) printf("found: %s\n", Printable(Text(label)).c_str());
  } else if (section->type == stString || section->type == stRegex) {
    found = dico_.scanBlock(name, text, line, 1);
  } else {
    PrintError("dict", options_.find[0] + ": a section of " +
                           TypeName(section->type) +
                           " cannot be asked for a text");
    return kExitData;
  }
  if (!found) printf("not found\n");
  if (line) printFound(section, line);
  return kExitOk;
}

// The words of the text as a scan cuts those of a body; every line that they
// meet.
int DictRun::findWords(const TQKSECTION* section, TBLOCK text) {
  TBLOCKVECT words(16), lines(text, 0);
  STR letters;
  int32_t hits = 0;
  ParseLinesWords(letters, nullptr, lines, words, nullptr);
  dico_.findKeywords(section, words, TBLOCK(), 0, 0, hits);
  if (hits == 0) printf("not found\n");
  const uint32_t count = dico_.image().lineCountOf(section);
  for (uint32_t i = 0; i < count; i++) {
    const TQKLINE* line = dico_.image().sectionLine(section, i);
    if (dico_.countsOf(line).matchCount > 0) printFound(section, line);
  }
  return kExitOk;
}

void DictRun::printFound(const TQKSECTION* section, const TQKLINE* line) {
  STR shown;
  dico_.getLineText(line, shown, 0);
  const std::string bytes = section->type == stMd5 ? Hex(dico_.lineBlock(line))
                                                   : std::string(shown.c_str());
  printf("found: score %d: %s\n", line->score, Printable(bytes).c_str());
}

// The name whose digest this is, when it is one that was given; or the digest.
std::string DictRun::nameOf(TBLOCK digest) const {
  const std::string own = Hex(digest);
  for (const std::string& name : options_.names)
    if (DigestOf(name) == own) return name;
  return own;
}

void DictRun::print() {
  const KWIMAGE& image = dico_.image();
  printf("version %s: %u bytes, %u sections, %u lines\n",
         Printable(Text(dico_.version())).c_str(), image.bytes.length,
         image.sectionCount, image.lineCount);
  for (uint32_t i = 0; i < image.sectionCount; i++)
    printSection(image.section(i));
}

void DictRun::printSection(const TQKSECTION* section) {
  const KWIMAGE& image = dico_.image();
  const std::string name = nameOf(image.sectionName(section));
  printf("[%s] %s%s%s: %u\n", Printable(name).c_str(),
         TypeName(section->type).c_str(),
         section->flags & sfHashed ? ", indexed" : "",
         section->flags == sfPatch ? ", patch" : "", section->count);
  const TBLOCK digests = image.digests(section);
  for (uint32_t k = 0; k < digests.length; k += kSectionNameBytes)
    printf("  %s\n",
           Hex(TBLOCK(digests.pointer + k, kSectionNameBytes)).c_str());
  const uint32_t count = image.lineCountOf(section);
  for (uint32_t k = 0; k < count; k++) {
    const TQKLINE* line = image.sectionLine(section, k);
    static const char* const kActions[] = {"", "++ ", "+ ", "- ", "= ", "-- "};
    const char* action = line->action < 6 ? kActions[line->action] : "? ";
    STR shown;
    if (section->type != stMd5) dico_.getLineText(line, shown, 1);
    const std::string text = section->type == stMd5
                                 ? "<" + std::to_string(line->score) + ">" +
                                       Hex(image.lineBlock(line))
                                 : std::string(shown.c_str());
    printf("  %s%s\n", action, Printable(text).c_str());
  }
}

}  // namespace

void AddDictCommand(CLI::App& app, int* exitCode) {
  auto options = std::make_shared<DictOptions>();
  CLI::App* command =
      app.add_subcommand("dict", "Show a rule dictionary, or ask it");
  command
      ->add_option("FILE", options->file,
                   "The image; none: the one of the library")
      ->type_name("");
  command
      ->add_option("--find", options->find,
                   "Looks TEXT up in a section instead")
      ->type_name("SECTION TEXT")
      ->expected(2);
  command
      ->add_option("--patches", options->patches,
                   "Applies a patch list first, and says what it passes over")
      ->type_name("LIST");
  command
      ->add_option("--name", options->names,
                   "A name of a section, to be shown in place of its digest")
      ->type_name("NAME")
      ->allow_extra_args(false);
  command->footer(
      "Exit code: 0, found or not; 65 when there is no such section; 78 when\n"
      "the image or the patches cannot be used.");
  command->callback(
      [options, exitCode]() { *exitCode = DictRun(*options).run(); });
}
