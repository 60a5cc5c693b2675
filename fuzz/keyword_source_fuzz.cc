// Rule source: lines in a section of each type, as they stand and as a patch;
// what was compiled is written, read, copied and merged with itself.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "rules/kw_obj.h"

static void Check(bool holds) {
  if (!holds) __builtin_trap();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const uint32_t n = static_cast<uint32_t>(size);
  const std::unique_ptr<unsigned char[]> copy(new unsigned char[n]);
  if (n) memcpy(copy.get(), bytes, n);
  TBLOCKVECT lines(16);
  lines.fillFromBigBlock(TBLOCK(copy.get(), n), '\n', 0);
  static const char* const kNames[] = {"a",  "#b", "$c", "%d", "^e",
                                       ":f", "!g", "*h", "@i", "&j"};
  for (const char* name : kNames) {
    TKwObj object, again;
    BLOCK first(0, 1000), second(0, 1000);
    if (!object.AddSection(TBLOCK(name), &lines, 0)) continue;
    Check(object.WriteToStream(&first));
    const KWIMAGE image(first.view());
    Check(image.lineCount == object.lineCount());
    Check(again.AddKwFile(image) && again.WriteToStream(&second));
    Check(first.view().equals(second.view(), TBLOCK::NoConvTable));
    // As a patch of itself it may fail, but only in the telling.
    if (!again.AddSection(TBLOCK(name), &lines, 1)) continue;
    if (again.ApplyPatch(&second)) Check(second.length > 0);
  }
  return 0;
}
