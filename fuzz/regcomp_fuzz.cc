// The pattern compiler on any bytes, with and without folding: what it says of
// a pattern is printed back into buffers of every awkward size, and two
// compilations of one pattern hold the same.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "fuzz_util.h"
#include "regex/zr_regex.h"

// The text that fits into `size` bytes is the beginning of the whole one.
static void CheckPrinting(int code, const zr_regex* regex) {
  const uint32_t needed = zr_regerror(code, regex, nullptr, 0);
  Check(needed > 0);
  const std::unique_ptr<char[]> whole(new char[needed]);
  Check(zr_regerror(code, regex, whole.get(), needed) == 0);
  Check(strlen(whole.get()) == needed - 1);
  for (uint32_t size = 1; size <= needed + 1; size += size / 3 + 1) {
    const std::unique_ptr<char[]> cut(new char[size]);
    Check(zr_regerror(code, regex, cut.get(), size) == 0);
    const uint32_t length = size <= needed ? size - 1 : needed - 1;
    Check(strlen(cut.get()) == length);
    Check(memcmp(cut.get(), whole.get(), length) == 0);
  }
}

static void CheckRecord(const zr_regex& regex) {
  Check(regex.nodeCount >= 2 && regex.nodeCount <= ZR_MAX_NODES);
  Check(regex.fastNodeCount >= 2 && regex.fastNodeCount <= regex.nodeCount);
  Check(regex.groupCount >= 1 && regex.fastGroupCount <= regex.groupCount);
  Check(regex.pool[0] == '^' && regex.pool[regex.poolSize - 1] == 0);
  Check(zr_regsize(&regex) == regex.poolSize + 12 * regex.memberCount +
                                  24 * regex.nodeCount + 32 * regex.groupCount +
                                  24 * regex.fastNodeCount +
                                  32 * regex.fastGroupCount + 76);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const std::unique_ptr<char[]> pattern(new char[size]);
  if (size) memcpy(pattern.get(), bytes, size);
  const uint32_t length = static_cast<uint32_t>(size);
  for (int flags = 0; flags < 2; flags++) {
    zr_regex* const first = zr_regalloc();
    zr_regex* const second = zr_regalloc();
    Check(first && second);
    const int code = zr_regcomp_len(first, pattern.get(), flags, length);
    Check(code == 0 || (code >= 2 && code <= 13));
    Check(zr_regcomp_len(second, pattern.get(), flags, length) == code);
    if (code == 0) {
      CheckRecord(*first);
      Check(zr_regsize(first) == zr_regsize(second));
    }
    CheckPrinting(code, first);
    CheckPrinting(-1, second);
    zr_regfree(first);
    zr_regfree(second);
  }
  return 0;
}
