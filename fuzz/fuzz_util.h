// What fuzz targets share: traps, and scans of messages with a dictionary of
// their own. Exact copies of the input are HeapText, as in tests.

#ifndef FUZZ_FUZZ_UTIL_H_
#define FUZZ_FUZZ_UTIL_H_

#include <stdint.h>

#include <string>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "rules/qm_dico.h"

class TQMMSG;

inline void Check(bool holds) {
  if (!holds) __builtin_trap();
}

inline bool IsInside(TBLOCK view, TBLOCK text) {
  return view.empty() ||
         (view.pointer >= text.pointer && view.end() <= text.end());
}

// Made once by a target: most of what a message costs without it.
struct FUZZDICO {
  REGEXPOOL pool;
  TQMDICO dico;

  // Compiled from such a source as those of tests/rules/source_util.h; null
  // stands for the dictionary that is linked in.
  explicit FUZZDICO(const char* source);
};

// Scans a message. The first byte of the input is a set of switches, which
// `verdict` reads; of the rest each byte below 0x80 stands for itself, and each
// other one for a piece, the first of which is the byte that follows, whatever
// it is. In a piece "#" becomes a digit, "~" a hexadecimal one and "^" a
// letter, by the bytes that follow. With the switch 64 the message is scanned
// twice: a scan leaves nothing behind in what it shares, and reads nothing that
// nobody wrote.
void ScanPieces(const uint8_t* bytes, size_t size, const char* const* pieces,
                uint32_t count, FUZZDICO& shared,
                std::string (*verdict)(FUZZDICO& shared,
                                       const std::string& mail, uint8_t flags));
// The score, which must be within its limits, and the cause.
std::string ScoreAndCause(const TQMMSG& m);

#endif  // FUZZ_FUZZ_UTIL_H_
