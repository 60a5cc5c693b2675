// Header values with encoded words. The value stands in a buffer of exactly its
// size and must not be written to.

#include <stdint.h>
#include <string.h>

#include "fuzz_util.h"
#include "message/charset.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  TCharset charset;
  BLOCK out(0, 16);
  DecodeInlineCharset(text, &charset, out);
  Check(out.length <= size);
  Check(!size || !memcmp(text.pointer, bytes, size));
  // The name is a view into the value.
  Check(IsInside(charset.name, text));
  // Without a word nothing changes.
  if (text.find(TBLOCK("=?"), 0, TBLOCK::NoConvTable) < 0)
    Check(out.length == size && (!size || !memcmp(out.data, bytes, size)));
  return 0;
}
