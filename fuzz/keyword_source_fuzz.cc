// Rule source: run through the preprocessor, from a file that may include
// itself by the name "9"; then its lines in a section of each type, as they
// stand and as a patch. What was compiled is written, read, copied and merged
// with itself.

#include <stdint.h>
#include <sys/mman.h>
#include <unistd.h>

#include "fuzz_util.h"
#include "rules/kw_obj.h"
#include "rules/pre_processor.h"

static void CheckPreprocessed(const uint8_t* bytes, size_t size, BLOCK& out) {
  static const int fd = dup2(memfd_create("source", 0), 9);
  Check(fd == 9 && ftruncate(fd, 0) == 0 &&
        pwrite(fd, bytes, size, 0) == static_cast<ssize_t>(size));
  TPreProcessor source;
  HASHTAB vars;
  source.define(TBLOCK("a"));
  if (!source.Process("/proc/self/fd/9", &out, &vars)) {
    Check(source.error.len() > 0 && source.errorColumn > 0);
    Check(source.errorAt.file < static_cast<uint32_t>(source.files.count()));
    return;
  }
  uint32_t lines = 0;
  for (uint32_t i = 0; i < out.length; i++) lines += out.data[i] == '\n';
  Check(lines == 0 || source.origin(lines - 1));
  Check(!source.origin(lines));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  BLOCK text(0, 1000);
  CheckPreprocessed(bytes, size, text);
  TBLOCKVECT lines(16);
  lines.fillFromBigBlock(text.view().head(1 << 16), '\n', 0);
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
