// Header values with encoded words. The value stands in a buffer of exactly its
// size and must not be written to.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "message/charset.h"

static void Check(bool holds) {
  if (!holds) __builtin_trap();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const uint32_t n = static_cast<uint32_t>(size);
  const std::unique_ptr<unsigned char[]> copy(new unsigned char[n]);
  if (n) memcpy(copy.get(), bytes, n);
  const TBLOCK text(copy.get(), n);
  TCharset charset;
  BLOCK out(0, 16);
  DecodeInlineCharset(text, &charset, out);
  Check(out.length <= n);
  Check(!n || !memcmp(copy.get(), bytes, n));
  // The name is a view into the value.
  if (!charset.name.empty())
    Check(charset.name.pointer >= text.pointer &&
          charset.name.end() <= text.end());
  // Without a word nothing changes.
  if (text.find(TBLOCK("=?"), 0, TBLOCK::NoConvTable) < 0)
    Check(out.length == n && (!n || !memcmp(out.data, bytes, n)));
  return 0;
}
