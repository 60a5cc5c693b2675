// Listings of ZIP and RAR files that were put together by hand.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "message/block_part.h"

namespace {

std::string Le(uint32_t value, int bytes) {
  std::string out;
  for (; bytes > 0; bytes--, value >>= 8) out += static_cast<char>(value);
  return out;
}

// A file of a ZIP, with three bytes of data unless the size lies.
std::string Zip(const std::string& name, int flags = 0, int method = 8,
                uint32_t size = 3, uint32_t extra = 0) {
  return "PK\3\4" + Le(20, 2) + Le(flags, 2) + Le(method, 2) + Le(0, 8) +
         Le(size, 4) + Le(9, 4) + Le(name.size(), 2) + Le(extra, 2) + name +
         std::string(extra, 'x') + "abc";
}

std::string Block(char type, uint32_t size, uint32_t flags = 0) {
  return Le(0, 2) + type + Le(flags, 2) + Le(size, 2) + "?";
}

// A file of a RAR, with three bytes of data unless the sizes lie.
std::string Rar(const std::string& name, uint32_t data = 3, int longer = 0) {
  return Le(0, 2) + "t" + Le(0x8000, 2) + Le(32 + name.size() + longer, 2) +
         Le(data, 4) + std::string(15, 'h') + Le(name.size(), 2) +
         std::string(4, 'a') + name + "abc";
}

// The listing, "|" and the names behind the dots.
std::string List(const std::string& bytes, const char* fileName = "f") {
  const HeapText text(bytes);
  BLOCKPART part;
  part.attachKind = akArchive;
  part.displayName = TBLOCK(fileName);
  part.flags = pfDecoded;
  part.decoded = text.view();
  part.parseZipPart();
  return part.archiveText.c_str() + std::string("|") + Join(part.archiveNames);
}

TEST(ArchiveTest, Listings) {
  const std::string z = Zip("z");
  const std::string head = "Rar!\x1A\x07" + Le(0, 1);
  const std::string directory = "PK\1\2" + std::string(42, 'd');
  const std::string big(70000, 'b');
  std::string dozen, eleven = "@f:1z", names = "1z|";
  for (int i = 0; i < 12; i++) dozen += z;
  for (int i = 1; i < 11; i++) eleven += ",1z", names += "1z|";
  const struct {
    std::string bytes;
    std::string list;
  } rows[] = {
      {Zip("a,b.txt", 0, 8) + Zip("c.d.", 0, 0) + Zip("e. f ", 0, 0x100),
       "@f:1a_b.txt,0c.d.,1e. f |txt|f|"},
      {dozen, eleven + "|" + names},
      {Zip("a", 0x10), "@f:|"},
      {z + Zip("a", 0x1000) + Zip("b", 0x30) + z, "@f:1z,1a|1z|1a|"},
      {"PK00PK00" + z + directory + z + directory, "@f:1z,1z|1z|1z|"},
      {z + "PK\5\6" + z, "@f:1z|1z|"},
      {z + "PK\1\2" + std::string(30, 'd'), "@f:1z|1z|"},
      {Zip("", 0, 0) + Zip("q.", 0, 8, 3, 5) + z, "@f:0,1q.,1z|0|1z|"},
      {Zip(std::string("a.exe\0.txt", 10)) + z, "@f:1a.exe,1z|exe|1z|"},
      // A length of 31 is enough; at 30 nothing is told.
      {Zip("").substr(0, 30), "|"},
      {Zip("").substr(0, 31), "@f:1|1|"},
      // Sizes that would wrap around, and one byte too many.
      {Zip("a", 0, 8, 0xFFFFFFE1u) + z, "@f:1a|1a|"},
      {Zip("a", 0, 8, 0xFFFFFFFFu) + z, "@f:1a|1a|"},
      {Zip("a", 0, 8, 4), "@f:1a|1a|"},
      {z + Zip(std::string(9, 'n')).substr(0, 38), "@f:1z|1z|"},
      {z + Zip(std::string(9, 'n')).substr(0, 39),
       "@f:1z,1nnnnnnnnn|1z|"
       "1nnnnnnnnn|"},
      {head + Block('s', 8) + Rar("a,.b") + Block('z', 8) + Rar("c"),
       "!f:1a_.b|b|"},
      {head + Rar("") + Rar(std::string("u.exe\0\1.2", 8)),
       "!f:1,1u.exe|1|"
       "exe|"},
      {head + Rar(big.substr(0, 256)) + Rar(big.substr(0, 255)),
       "!f:1" + big.substr(0, 255) + "|1" + big.substr(0, 255) + "|"},
      // The name passes its block, or the block the text.
      {head + Rar("a", 3, -1) + Rar("b"), "@f:|"},
      {head + Rar("a", 3, 3) + Rar("b"), "!f:1a|1a|"},
      {head + Rar("a", 0xFFFFFFDFu) + Rar("b"), "!f:1a|1a|"},
      {head + Rar("a", 4), "!f:1a|1a|"},
      {head + Block('s', 6) + Rar("a"), "@f:|"},
      {head + Block('s', 0) + Rar("a"), "@f:|"},
      // A block whose extra size is not all there.
      {head + Rar("a") + Block('y', 8, 0x8000), "!f:1a|1a|"},
      {"rar!" + head.substr(4) + Rar("a") + z, "@f:|"},
      {head, "|"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.list, List(row.bytes));
  EXPECT_EQ("@C__x,y:1z|1z|", List(z, "C::x,y"));
}

TEST(ArchiveTest, CutAndDamaged) {
  Numbers numbers(3);
  const std::string whole[] = {
      "PK00" + Zip("a.txt") + Zip("b,", 0, 0) + "PK\1\2",
      "Rar!\x1A\x07" + Le(0, 1) + Block('s', 8) + Rar("a.txt") + Rar("b")};
  for (const std::string& text : whole) {
    for (size_t n = 0; n <= text.size(); n++) List(text.substr(0, n));
    for (int i = 0; i < 20000; i++) {
      std::string bad = text;
      for (int k = numbers.Below(4); k >= 0; k--)
        bad[numbers.Below(text.size())] =
            static_cast<char>(numbers.Below(3) ? numbers.Below(256) : 0xFF);
      List(bad);
    }
  }
}

}  // namespace
