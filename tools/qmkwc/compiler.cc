// From files to sections to the object that writes the image. Errors of all
// sections are told, not only the first one.

#include "compiler.h"

#include <cstdio>
#include <cstdlib>
#include <set>

#include "base/hashtab.h"
#include "rules/qm_dico.h"

uint16_t SourceSection::type() const {
  uint16_t kind, bits;
  TBLOCK view = View(name);
  GetSectionType(view, kind, bits);
  return kind;
}

uint16_t SourceSection::flags() const {
  uint16_t kind, bits;
  TBLOCK view = View(name);
  GetSectionType(view, kind, bits);
  return bits;
}

void Messages::tell(const std::string& file, uint32_t number, uint32_t column,
                    bool isError, const std::string& what) {
  fprintf(stderr, "%s:%u:%u: %s%s\n", file.c_str(), number, column,
          isError ? "" : "warning: ", what.c_str());
}

void Messages::plainError(const std::string& file, uint32_t number,
                          uint32_t column, const std::string& what) {
  tell(file, number, column, true, what);
  errors_++;
}

static uint32_t ColumnOf(const SourceLine& line, size_t offset) {
  if (line.columns.empty()) return 1;
  return offset < line.columns.size() ? line.columns[offset]
                                      : line.columns.back() + 1;
}

void Messages::error(const SourceLine& line, size_t offset,
                     const std::string& what) {
  plainError(line.file, line.number, ColumnOf(line, offset), what);
}

void Messages::warning(const SourceLine& line, size_t offset,
                       const std::string& what) {
  tell(line.file, line.number, ColumnOf(line, offset), false, what);
}

namespace {

std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// One name for a file, however it was reached.
std::string TruePath(const std::string& path) {
  char* found = realpath(path.c_str(), nullptr);
  const std::string out = found ? found : path;
  free(found);
  return out;
}

bool IsNamed(const SourceSection& section, const char* name) {
  TBLOCK view = View(section.name);
  uint16_t type, flags;
  GetSectionType(view, type, flags);
  return FoldName(view) == name;
}

class Reader {
 public:
  Reader(const CompileOptions& options, Messages& messages)
      : options_(options), messages_(messages) {}

  bool readFile(const std::string& path);
  std::vector<SourceSection> sections;
  std::vector<std::string> files;

 private:
  SourceLine makeLine(TBLOCK line, const std::string& file, uint32_t number);
  void startSection(const SourceLine& line, bool patchAllowed);
  void addLine(TBLOCK raw, const std::string& file, uint32_t number);

  const CompileOptions& options_;
  Messages& messages_;
  std::set<std::string> paths_;  // of `files`
  bool open_ = false;            // a section has begun in this file
  bool told_ = false;            // of lines outside of sections
};

bool Reader::readFile(const std::string& path) {
  TPreProcessor source;
  HASHTAB vars;
  BLOCK text(0, 65536);
  for (const std::string& name : options_.defines) source.define(View(name));
  const int done = source.Process(path.c_str(), &text, &vars);
  for (int32_t i = 0; i < source.files.count(); i++)
    if (paths_.insert(TruePath(source.files.text(i))).second)
      files.push_back(BaseName(source.files.text(i)));
  if (!done) {
    const char* file =
        source.files.text(static_cast<int32_t>(source.errorAt.file));
    messages_.plainError(file ? file : path, source.errorAt.number,
                         source.errorColumn, source.error.c_str());
    return false;
  }
  open_ = told_ = false;
  TBLOCK rest = text.view();
  for (uint32_t i = 0; !rest.empty(); i++) {
    const TBLOCK line = TBLOCK::BlockNextLine(rest);
    const TPreProcessor::ORIGIN* origin = source.origin(i);
    if (!origin) break;
    addLine(line, source.files.text(static_cast<int32_t>(origin->file)),
            origin->number);
  }
  return true;
}

SourceLine Reader::makeLine(TBLOCK line, const std::string& file,
                            uint32_t number) {
  SourceLine out;
  out.file = file;
  out.number = number;
  TBLOCK rest = line;
  rest.trim();
  const uint32_t first = static_cast<uint32_t>(rest.pointer - line.pointer);
  for (uint32_t i = 0; i < rest.length; i++) {
    if (rest[i] == '\\' && i + 1 < rest.length && rest[i + 1] == ';') continue;
    out.text += static_cast<char>(rest[i]);
    out.columns.push_back(first + i + 1);
  }
  return out;
}

void Reader::addLine(TBLOCK raw, const std::string& file, uint32_t number) {
  const SourceLine line = makeLine(raw, file, number);
  if (raw[0] == '[') {
    startSection(line, options_.patch);
  } else if (open_) {
    sections.back().lines.push_back(line);
  } else if (!told_) {
    messages_.error(line, 0, "a line outside of a section");
    told_ = true;
  }
}

void Reader::startSection(const SourceLine& line, bool patchAllowed) {
  SourceSection section;
  section.start = line;
  open_ = true;
  std::string name = line.text.substr(1);
  if (name.empty() || name.back() != ']')
    messages_.error(line, line.text.size(), "a section's name ends with ]");
  else
    name.pop_back();
  if (!name.empty() && name[0] == '+') {
    section.patch = true;
    name.erase(0, 1);
    if (!patchAllowed) messages_.error(line, 1, "patch sections need --patch");
  }
  section.name = name;
  sections.push_back(section);
}

// One line of a section made by the compiler itself.
SourceLine OwnLine(const std::string& text) {
  SourceLine line;
  line.text = text;
  line.file = "(sources)";
  return line;
}

// The version comes first, then the names of the sources.
void OrderSections(std::vector<SourceSection>& sections,
                   const std::vector<std::string>& files, Messages& messages) {
  SourceSection sources;
  sources.name = "#sources";
  for (const std::string& file : files) sources.lines.push_back(OwnLine(file));
  size_t param = 0;
  while (param < sections.size() && !IsNamed(sections[param], "param")) param++;
  if (param == sections.size() || sections[param].type() != stString) {
    messages.plainError(files.empty() ? "(sources)" : files[0], 1, 1,
                        "no source has a section [#param]");
    return;
  }
  const SourceSection first = sections[param];
  sections.erase(sections.begin() + static_cast<long>(param));
  bool version = false;
  for (const SourceLine& line : first.lines)
    if (View(line.text).begins("version=")) version = true;
  if (!version)
    messages.error(first.start, 0, "[#param] has no line version=...");
  sections.insert(sections.begin(), {first, sources});
}

// The names by which sections may be asked, and what cannot go into a patch.
SectionNames CollectNames(const std::vector<SourceSection>& sections,
                          bool patch, Messages& messages) {
  SectionNames names;
  names.complete = !patch;
  for (const SourceSection& section : sections) {
    TBLOCK name = View(section.name);
    uint16_t type, flags;
    GetSectionType(name, type, flags);
    names.flags[FoldName(name)] = flags;
    if (patch && !section.patch &&
        (IsNamed(section, "param") || IsNamed(section, "sources")))
      messages.warning(section.start, 0,
                       "every dictionary has this section: patch it by [+...], "
                       "or no merge takes the image");
  }
  return names;
}

}  // namespace

bool ReadSource(const CompileOptions& options, Messages& messages,
                Source& source) {
  Reader reader(options, messages);
  bool read = true;
  for (const std::string& path : options.inputs)
    if (!reader.readFile(path)) read = false;
  const TQMDICO dico(nullptr, nullptr);
  const SectionNames names =
      CollectNames(reader.sections, options.patch, messages);
  for (const SourceSection& section : reader.sections)
    CheckSection(section, names, dico, messages);
  if (read && !options.patch)
    OrderSections(reader.sections, reader.files, messages);
  source.sections = reader.sections;
  source.files = reader.files;
  return read;
}

void BuildObject(const Source& source, Messages& messages, TKwObj& object) {
  for (const SourceSection& section : source.sections) {
    TBLOCKVECT lines(static_cast<int32_t>(section.lines.size()) + 1);
    for (const SourceLine& line : section.lines)
      lines.add(View(line.text), 1, 0);
    const uint32_t firstLine = object.lineCount();
    if (object.AddSection(View(section.name), &lines, section.patch)) {
      if (!section.lines.empty())
        CheckCompiled(section, object, firstLine, messages);
      continue;
    }
    const int32_t at = object.errorLine;
    const bool known =
        at >= 0 && static_cast<size_t>(at) < section.lines.size();
    messages.error(
        known ? section.lines[static_cast<size_t>(at)] : section.start,
        object.errorOffset, object.error);
    // Go on, to find all that is wrong; nothing will be written.
    object.error = nullptr;
    object.errorLine = -1;
    object.errorOffset = 0;
  }
}

bool Compile(const CompileOptions& options, Messages& messages,
             TKwObj& object) {
  Source source;
  // Of a file that was not read to its end all else may be missing.
  if (!ReadSource(options, messages, source)) return false;
  BuildObject(source, messages, object);
  return messages.errors() == 0;
}
