// Patches: every action on each kind of line, and what drops a merge.

#include "rules/kw_patch.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "data/ready_kwo.h"
#include "rules/image_util.h"
#include "rules/kw_dump_util.h"
#include "rules/kw_obj.h"
#include "rules/source_util.h"

namespace {

const char kMissing[] = "the section has no such line";

std::string Merged(const std::string& source) {
  TKwObj object;
  BLOCK work(0, 1000);
  EXPECT_EQ("", AddSource(object, source));
  if (!object.ApplyPatch(&work)) return object.error;
  return DumpImage(KWIMAGE(work.view()));
}

TEST(KwPatch, Actions) {
  const struct {
    const char *base, *patch, *merged;
  } kRows[] = {
      {"[#S]\na\nb", "[+#s]\n++c", "2/0: 0=a 0=b 0=c"},
      {"[$S]\na\nb", "[+$S]\n+c\n+d\n++e", "2/1: 0=c 0=d 0=a 0=b 0=e"},
      {"[#S]\na\nb", "[+#S]\n=B\n+c", "2/0: 0=a 0=b 0=c"},
      {"[#S]\na\nb\nc", "[+#S]\n-b\n+d", "2/0: 0=a 0=d 0=c"},
      {"[#S]\na\nb", "[+#S]\n--b\n-a", ""},
      {"[#S]\n<5>a", "[+#S]\n-a\n++<6>a", "2/0: 6=a"},
      {"[#S]\n<5>a\n<6>a", "[+#S]\n-<6>a", "2/0: 5=a"},
      {"[#S]\n<5>a", "[+#S]\n-<6>a", kMissing},
      {"[#S]\n<&5>a\n", "[+#S]\n-<5>a\n++<5>a", "2/0: 5=a"},
      {"[#S]\na", "[+#S]\n-ab", kMissing},
      {"[#S]\na", "[+#S]\na", "the patch's line says nothing to be done"},
      {"[^S]\na", "[+#S]\n++b",
       "the patch is of another type than its section"},
      {"[#S]\na", "[+#T]\n++b",
       "no section of this name stands in front of the patch"},
      {"[S]\na b|c>d\nx", "[+S]\n-a b|c>d\n++y", "0/0: 100X{x} 100Y{y}"},
      {"[S]\na b", "[+S]\n-a|b", kMissing},
      {"[S]\na>b", "[+S]\n-a,b", kMissing},
      {"[S]\na\nb", "[+S]\n=<3>a\n+(~)c", "0/0: 100A{a} 100/10C{c} 100B{b}"},
      {"[*S]\nabc\nx", "[+*S]\n-abc\n++a",
       "7/1: 0=9dd4e461268c8034f5c8564e155c67a6 "
       "0=0cc175b9c0f1b6a831c399e269772661"},
      {"[*S]\nabc", "[+*S]\n-ABC", kMissing},
      {"[@S]\nabc\nx", "[+@S]\n-x\n++a\n=abc",
       "8/0: 0cc175b9c0f1b6a831c399e269772661 "
       "900150983cd24fb0d6963f7d28e17f72"},
      {"[@S]\nabc", "[+@S]\n-x", kMissing}};
  for (const auto& row : kRows) {
    const std::string merged = Merged(row.base + std::string("\n") + row.patch);
    // A section from which all lines went stays.
    EXPECT_EQ(merged, *row.merged ? row.merged : "2/0:")
        << row.base << " " << row.patch;
  }
}

// Work that would grow with the square of the image ends in a message.
TEST(KwPatch, CostsAreBounded) {
  const int kLines = 40000;
  std::string base = "[#S]\n", patch = "[+#S]\n", owners;
  for (int i = 0; i < kLines; i++) {
    base += std::to_string(i) + "\n";
    patch += "=" + std::to_string(kLines - 1) + "\n";
    owners += "[#S" + std::to_string(i) + "]\nx\n[+#S" + std::to_string(i) +
              "]\n++y\n";
  }
  EXPECT_EQ("the patches ask for too much work", Merged(base + patch));
  TKwObj many;
  BLOCK work(0, 1000);
  ASSERT_EQ("", AddSource(many, owners));
  EXPECT_TRUE(many.ApplyPatch(&work)) << many.error;
}

// Records that no source gives.
TEST(KwPatch, ImagesThatClaimTooMuch) {
  const std::string image = CompileSource("[#S]\na\n[#T]\nb\n[P]\nx|y\nz");
  const uint32_t line = WordAt(image, hwLines + 4) + 2 * 20;
  const struct {
    uint32_t offset, value;
    const char* error;
  } kRows[] = {
      {64, 2, "sections or lines claim more than the image holds"},
      {line + 4, 2, "sections or lines claim more than the image holds"},
      {76, 2u << 16 | 3, "the section has flags beside that of a patch"},
      {76, 2u << 16 | 2, ""},
      {76, 2u << 16 | 8, ""},
      {72, 15, "a section has no name"}};
  for (const auto& row : kRows) {
    std::string bad = image;
    SetWord(bad, row.offset, row.value);
    const std::unique_ptr<BLOCK> block(BlockOf(bad));
    TKwObj object;
    object.AddKwFile(KWIMAGE(block->view()));
    EXPECT_STREQ(row.error, object.error ? object.error : "") << row.value;
  }
}

class KwPatchFiles : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/qmpatchXXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder = name;
  }
  void TearDown() override {
    for (const std::string& file : made) unlink(file.c_str());
    rmdir(folder.c_str());
  }
  std::string path(const char* name) { return folder + "/" + name; }
  void write(const char* name, const std::string& bytes) {
    BLOCK block(0, 1000);
    block.add(bytes.data(), uint32_t(bytes.size()));
    ASSERT_TRUE(block.saveTo(path(name).c_str(), 0));
    made.push_back(path(name));
  }
  // The merged image, or the reasons in brackets.
  std::string load(const char* base, const std::string& list) {
    write("l", list);
    BLOCK out(0, 1000);
    STR why;
    const std::string file = path("l");
    if (!KwLoadKeywords(&out, base, file.c_str(), &why))
      return std::string("[") + why.c_str() + "]";
    const std::string dump = DumpImage(KWIMAGE(out.view()));
    unlink(file.c_str());
    return dump;
  }
  std::string folder;
  std::vector<std::string> made;
};

TEST_F(KwPatchFiles, ListsAreReadLineByLine) {
  write("base.kwo", CompileSource("[#S]\na"));
  write("p.kwo", CompileSource("[+#S]\n++b"));
  const std::string whole = CompileSource("[+#S]\n++c");
  write("short.kwo", whole.substr(0, whole.size() - 1));
  write("long.kwo", whole + "x");
  write("bad.kwo", "qmkw" + whole.substr(4));
  EXPECT_EQ(load(nullptr, "# one\r\n\n base.kwo \r\np.kwo"), "2/0: 0=a 0=b");
  EXPECT_EQ(load(path("base.kwo").c_str(),
                 "short.kwo\nlong.kwo\nbad.kwo\nnone\np.kwo\n\rp.kwo\n"),
            "2/0: 0=a 0=b 0=b");
  EXPECT_EQ(load("*ASE*", "base.kwo\np.kwo\n"), "2/0: 0=a");
  EXPECT_EQ(load(nullptr, "base.kwo\nbase.kwo\n"),
            "[" + path("base.kwo") +
                ": section 03c7c0ace395d80182db07ae2c30f034: the section is "
                "there already\n]");
  write("none.kwo", CompileSource("[+#S]\n++d\n-x"));
  EXPECT_EQ(load(nullptr, "base.kwo\np.kwo\nnone.kwo\np.kwo"),
            "[" + path("none.kwo") +
                ": section 03c7c0ace395d80182db07ae2c30f034, line 2: the "
                "section has no such line\n]");
  for (const char* list : {"", "# nothing\n"})
    EXPECT_EQ(load(nullptr, list),
              "[" + path("l") + ": names no image that can be used\n]");
  EXPECT_EQ(load(nullptr, std::string(4096, 'x')).substr(0, 1), "[");
}

// The library's own dictionary is the base of a list of patches alone.
TEST_F(KwPatchFiles, PatchesOfTheLibrarysDictionary) {
  write("p.kwo", CompileSource("[+#param]\n++mine=1"));
  write("l", "p.kwo\n");
  BLOCK out(0, 1000);
  ASSERT_TRUE(KwLoadKeywords(&out, nullptr, path("l").c_str(), nullptr));
  const KWIMAGE merged(out.view());
  const KWIMAGE own(TBLOCK(ReadyKWO, getReadyKWOLen()));
  EXPECT_EQ(merged.sectionCount, own.sectionCount);
  EXPECT_EQ(merged.lineCount, own.lineCount + 1);
}

}  // namespace
