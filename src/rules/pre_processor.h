// TPreProcessor: rule source text with its comments, conditions and inclusions
// carried out. doc/keyword-source.md tells the language. For the compiler only;
// no scan runs it. Tested by tests/tools/qmkwc_test.sh, fuzzed by
// keyword_source_fuzz.cc.

#ifndef RULES_PRE_PROCESSOR_H_
#define RULES_PRE_PROCESSOR_H_

#include <stdint.h>

#include "base/block.h"
#include "base/hash_file.h"
#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"

// How deep files may include each other: a file that includes itself stops
// here.
const int32_t kMaxIncludeDepth = 16;
// Files that one run may read, each counted as often as it is included, and
// their bytes: files that include each other twice double with each level.
const uint32_t kMaxSourceFiles = 1000;
const uint32_t kMaxSourceBytes = 64u << 20;

class TPreProcessor {
 public:
  // Where a line of the output came from.
  struct ORIGIN {
    uint32_t file;    // index into `files`
    uint32_t number;  // from 1
  };

  BLOCK origins;         // an ORIGIN for each line written
  STRVECT files;         // what was read, in order, each time anew
  HASHFILE names;        // defined names; case counts
  STR error;             // why Process failed; empty after a success
  ORIGIN errorAt;        // where; file as an index
  uint32_t errorColumn;  // from 1

  TPreProcessor();

  // Appends the lines of a file that stay, each with CR LF, to `out`. Blanks
  // in front stay, since they tell a line from a section's start; lines that
  // are blank go. `vars` gets what the source sets: name -> const STR* of the
  // value, both owned by this object. 1, or 0 with the error set and a part of
  // the text written. Files are named relative to the one that includes them.
  int Process(const char* file, BLOCK* out, HASHTAB* vars);

  void define(TBLOCK name);
  void undefine(TBLOCK name);
  bool isDefined(TBLOCK name) const;
  // Sets a variable; the last value stands. 1, or 0 without memory.
  int SetVar(TBLOCK name, TBLOCK value, HASHTAB* vars);

  const ORIGIN* origin(uint32_t line) const;

 private:
  // A condition that is open.
  struct CONDITION {
    uint32_t stay;  // 1 when lines stay
    ORIGIN begin;
  };

  // The file that an $include names by `name`, a part of `line`; both are
  // empty for the first file.
  int processFile(const char* file, TBLOCK line, TBLOCK name, BLOCK* out,
                  HASHTAB* vars, int32_t depth);
  int processText(TBLOCK text, uint32_t file, BLOCK* out, HASHTAB* vars,
                  int32_t depth);
  // 1 when the line was a directive, 0 when not, -1 on failure.
  int directive(TBLOCK line, uint32_t file, uint32_t base, BLOCK* out,
                HASHTAB* vars, int32_t depth);
  int include(TBLOCK line, TBLOCK name, uint32_t file, BLOCK* out,
              HASHTAB* vars, int32_t depth);
  int fail(const char* text, TBLOCK line, const unsigned char* at);
  uint32_t openConditions() const;
  const CONDITION& lastCondition() const;
  bool active() const;

  BLOCK conditions;  // a CONDITION for each open one
  STRVECT values;    // names and values of variables, in turn
  ORIGIN here;
  uint32_t filesRead;
  uint64_t bytesRead;
};

#endif  // RULES_PRE_PROCESSOR_H_
