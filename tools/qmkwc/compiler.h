// What the files of the dictionary compiler share: the source as sections of
// lines that know where they stand, and the messages about them.
#ifndef QMKWC_COMPILER_H_
#define QMKWC_COMPILER_H_

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "rules/kw_obj.h"
#include "rules/pre_processor.h"

class TQMDICO;

// A line of a section, its blanks cut and "\;" turned into ";".
struct SourceLine {
  std::string text;
  std::string file;
  uint32_t number = 0;            // from 1
  std::vector<uint32_t> columns;  // of each byte of the text, from 1
};

struct SourceSection {
  std::string name;  // with its prefix, without the mark of a patch
  bool patch = false;
  SourceLine start;
  std::vector<SourceLine> lines;

  uint16_t type() const;
  uint16_t flags() const;
};

// Prints "file:line:column: message" and counts errors.
class Messages {
 public:
  virtual ~Messages() {}
  void error(const SourceLine& line, size_t offset, const std::string& what);
  void warning(const SourceLine& line, size_t offset, const std::string& what);
  void plainError(const std::string& file, uint32_t number, uint32_t column,
                  const std::string& what);
  int errors() const { return errors_; }

 protected:
  // Columns begin at 1.
  virtual void tell(const std::string& file, uint32_t number, uint32_t column,
                    bool isError, const std::string& what);

 private:
  int errors_ = 0;
};

struct CompileOptions {
  std::vector<std::string> defines;
  std::vector<std::string> inputs;
  bool patch = false;
};

// What the inputs hold.
struct Source {
  std::vector<SourceSection> sections;
  std::vector<std::string> files;  // without their folders
};

// Reads and checks the inputs; false when a file could not be read to its end.
// Other errors are counted.
bool ReadSource(const CompileOptions& options, Messages& messages,
                Source& source);
// Puts the sections into the object, those of ReadSource in their order.
void BuildObject(const Source& source, Messages& messages, TKwObj& object);
// Both; false when an error was told.
bool Compile(const CompileOptions& options, Messages& messages, TKwObj& object);

// The sections that others may name.
struct SectionNames {
  bool complete = true;                   // no other image adds to them
  std::map<std::string, uint16_t> flags;  // by folded name
};

// A name as sections are found by it.
std::string FoldName(TBLOCK name);

// Tells what is wrong with a section, or would be without effect: of its
// source, and of its lines as they were compiled. The dictionary knows the
// names of rule fields. checks.cc
void CheckSection(const SourceSection& section, const SectionNames& names,
                  const TQMDICO& dico, Messages& messages);
void CheckCompiled(const SourceSection& section, const TKwObj& object,
                   uint32_t firstLine, Messages& messages);

inline TBLOCK View(const std::string& text) {
  return TBLOCK(text.data(), static_cast<uint32_t>(text.size()));
}

// The offset of a view into the line's text.
inline size_t OffsetIn(const SourceLine& line, TBLOCK piece) {
  return static_cast<size_t>(
      piece.pointer - reinterpret_cast<const unsigned char*>(line.text.data()));
}

#endif  // QMKWC_COMPILER_H_
