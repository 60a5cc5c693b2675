// A pattern and a subject: the engine matches as the model does
// (tests/regex/regex_model_util.h). Where the model has no answer within its
// budget the engine has only to come back.
//
// Input: a byte of flags and number of pairs, the pattern, LF, the subject.

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <memory>
#include <string>

#include "regex/regex_duel_util.h"

// Small enough for neither program to meet a limit while it compiles.
static const size_t kMaxPattern = 200;

static void Check(const std::string& difference) {
  if (difference.empty()) return;
  fprintf(stderr, "%s\n", difference.c_str());
  __builtin_trap();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size < 1) return 0;
  const char* text = reinterpret_cast<const char*>(bytes) + 1;
  const void* const end = memchr(text, '\n', size - 1);
  if (!end) return 0;
  const size_t patternSize =
      static_cast<size_t>(static_cast<const char*>(end) - text);
  const size_t subjectSize = size - 1 - patternSize - 1;
  // The dialect leaves out what a NUL in a pattern would be.
  if (patternSize > kMaxPattern || memchr(text, 0, patternSize)) return 0;
  const std::unique_ptr<char[]> pattern(new char[patternSize]);
  const std::unique_ptr<char[]> subject(new char[subjectSize]);
  memcpy(pattern.get(), text, patternSize);
  memcpy(subject.get(), text + patternSize + 1, subjectSize);
  RegexDuel duel({pattern.get(), patternSize}, bytes[0] & 1);
  duel.budget = 20000;
  duel.giveUps = 0;
  Check(duel.compare({subject.get(), subjectSize}, bytes[0] >> 1 & 7));
  return 0;
}
