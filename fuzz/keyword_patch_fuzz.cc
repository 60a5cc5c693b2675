// Images out of a patch list: read from a file, merged with a small dictionary,
// and what comes of it read again. Only the field of the image's size is made
// right, since few inputs would get past it.

#include <stdint.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz_util.h"
#include "rules/kw_obj.h"
#include "rules/kw_patch.h"
#include "rules/source_util.h"

static void Write(int fd, const std::string& bytes) {
  Check(ftruncate(fd, 0) == 0 && pwrite(fd, bytes.data(), bytes.size(), 0) ==
                                     static_cast<ssize_t>(bytes.size()));
}

static int MakeFile(int fd, const std::string& bytes) {
  Check(dup2(memfd_create("file", 0), fd) == fd);
  Write(fd, bytes);
  return fd;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const int base = MakeFile(
      37, CompileSource("[#S]\na\nb\n<3>c\n[$H]\nx.y\n[P]\n(=)<5>a b|c>d\nx\n"
                        "[*M]\nabc\n[@D]\nabc\nx\n[&L]\nP\n"));
  static const int patch = MakeFile(38, "");
  static const int list = MakeFile(39, "/proc/self/fd/38\n");
  Check(base == 37 && patch == 38 && list == 39);
  std::string image(reinterpret_cast<const char*>(bytes), size);
  const uint32_t total = static_cast<uint32_t>(size);
  if (size >= kKeywordHeaderBytes) memcpy(&image[8], &total, sizeof total);
  Write(patch, image);
  BLOCK out(0, 1000), again(0, 1000);
  STR why;
  if (!KwLoadKeywords(&out, "/proc/self/fd/37", "/proc/self/fd/39", &why)) {
    Check(why.len() > 0 && out.length == 0);
    return 0;
  }
  // A finished image: whole, without patches, and its own copy.
  const KWIMAGE merged(out.view());
  Check(merged.bytes.length == out.length);
  for (uint32_t i = 0; i < merged.sectionCount; i++)
    Check(merged.section(i)->flags != sfPatch);
  for (uint32_t i = 0; i < merged.lineCount; i++)
    Check(merged.line(i)->number == i);
  TKwObj copy;
  Check(copy.AddKwFile(merged) && copy.WriteToStream(&again));
  Check(out.view().equals(again.view(), TBLOCK::NoConvTable));
  return 0;
}
