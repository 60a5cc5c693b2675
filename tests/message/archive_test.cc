// Listings of ZIP and RAR files that were put together by hand.

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "message/block_part.h"

namespace {

std::string Le(uint32_t value, int bytes) {
  std::string out;
  for (; bytes > 0; bytes--, value >>= 8) out += static_cast<char>(value);
  return out;
}

// A file with three bytes of data, unless its size lies.
std::string Zip(const std::string& name, int flags = 0, int method = 8,
                uint32_t size = 3, uint32_t extra = 0) {
  return "PK\3\4" + Le(20, 2) + Le(flags, 2) + Le(method, 2) + Le(0, 8) +
         Le(size, 4) + Le(9, 4) + Le(name.size(), 2) + Le(extra, 2) + name +
         std::string(extra, 'x') + "abc";
}

std::string Rar(const std::string& name, uint32_t size = 3, int longer = 0) {
  return Le(0, 2) + "t" + Le(0x8000, 2) + Le(32 + name.size() + longer, 2) +
         Le(size, 4) + std::string(15, 'h') + Le(name.size(), 2) + "aaaa" +
         name + "abc";
}

// The listing, and the names behind the dots.
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

TEST(ArchiveTest, ListsWhatIsTrue) {
  const std::string z = Zip("z"), z9 = Zip(std::string(9, '9'));
  const std::string rar = "Rar!\x1A\x07" + Le(0, 1), block = Le('r' << 16, 5);
  const std::string n255(255, 'n'), nul("\0.txt", 5), directory(42, 'd');
  const std::string rows[][2] = {
      {Zip("a,b.txt") + Zip("c.", 0, 0) + Zip("e. f ", 0, 0x100),
       "@f:1a_b.txt,0c.,1e. f |txt|f|"},
      {z + z + z + z + z + z + z + z + z + z + Zip("b.c") + z,
       "@f:1z,1z,1z,1z,1z,1z,1z,1z,1z,1z,1b.c|1z|1z|1z|1z|1z|1z|1z|1z|1z|1z|"
       "c|"},
      {Zip("a", 0x10), "@f:|"},
      {"PK00" + z + "PK\1\2" + directory + Zip("", 0, 0, 3, 5) + z + "PK\5\6" +
           z,
       "@f:1z,0,1z|1z|0|1z|"},
      {Zip("a.exe" + nul) + z, "@f:1a.exe,1z|exe|1z|"},
      {Zip("").substr(0, 30), "|"},
      {z + Zip("").substr(0, 30), "@f:1z|1z|"},
      {Zip("").substr(0, 31), "@f:1|1|"},
      {Zip("a", 0, 8, 0xFFFFFFE1u) + z, "@f:1a|1a|"},
      {z + z9.substr(0, 38), "@f:1z|1z|"},
      {z + z9.substr(0, 39), "@f:1z,1999999999|1z|1999999999|"},
      {rar + block + Le(8, 2) + "x" + Rar("a,.b") + Rar("c.exe" + nul) +
           Le('z' << 16, 5) + Le(8, 2) + "x" + Rar("d"),
       "!f:1a_.b,1c.exe|b|exe|"},
      {rar + Rar(n255 + "n") + Rar(n255), "!f:1" + n255 + "|1" + n255 + "|"},
      // The name passes its block; the block passes the text, or wraps around.
      {rar + Rar("a", 4, -1) + Rar("b"), "!f:1b|1b|"},
      {rar + Rar("a", 4), "!f:1a|1a|"},
      {rar + Rar("x" + Rar("b"), 0u - 36), "!f:1x|1x|"},
      {rar + block + Le(6, 1) + Rar("a"), "@f:|"}};
  for (const auto& row : rows) EXPECT_EQ(row[1], List(row[0]));
  EXPECT_EQ("@C__x,y:1z|1z|", List(z, "C::x,y"));

  Numbers numbers(3);
  for (const std::string& text : {z + z9 + z, rar + Rar("a") + Rar("bb")})
    for (uint32_t i = 0; i < 20000; i++) {
      // Every truncation first, then up to four wrong bytes.
      std::string bad = text.substr(0, i);
      for (int k = i > text.size() ? numbers.Below(4) : -1; k >= 0; k--)
        bad[numbers.Below(bad.size())] = static_cast<char>(numbers.Below(256));
      List(bad);
    }
}

}  // namespace
