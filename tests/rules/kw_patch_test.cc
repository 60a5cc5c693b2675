// Patches: every action on each kind of line, and what drops a merge.

#include "rules/kw_patch.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "base/heap_text.h"
#include "data/ready_kwo.h"
#include "rules/kw_dump_util.h"
#include "rules/kw_obj.h"
#include "rules/qm_dico.h"

namespace {

const char kMissing[] =
    "a patch looks for a line that is not there, or has none";

// "NAME=line\nline"; a name that begins with "+" is a patch.
void Add(TKwObj& object, const std::string& section) {
  const size_t equals = section.find('=');
  std::string name = section.substr(0, equals);
  const bool patch = name[0] == '+';
  if (patch) name.erase(0, 1);
  const HeapText text(section.substr(equals + 1));
  TBLOCKVECT lines(4);
  lines.fillFromBigBlock(text.view(), '\n', 0);
  ASSERT_TRUE(object.AddSection(TBLOCK(name.data(), uint32_t(name.size())),
                                &lines, patch));
}

std::string Merged(const char* base, const char* patch) {
  TKwObj object;
  BLOCK work(0, 1000);
  Add(object, base);
  Add(object, patch);
  if (!object.ApplyPatch(&work)) return object.error;
  return DumpImage(KWIMAGE(work.view()));
}

TEST(KwPatch, Actions) {
  const struct {
    const char* base;
    const char* patch;
    const char* merged;
  } kRows[] = {
      {"#S=a\nb", "+#s=++c", "2/0: 0=a 0=b 0=c"},
      {"$S=a\nb", "+$S=+c\n+d\n++e", "2/1: 0=c 0=d 0=a 0=b 0=e"},
      {"#S=a\nb", "+#S==B\n+c", "2/0: 0=a 0=b 0=c"},
      {"#S=a\nb\nc", "+#S=-b\n+d", "2/0: 0=a 0=d 0=c"},
      {"#S=a\nb", "+#S=--b\n-a", ""},
      {"#S=<5>a", "+#S=-a\n++<6>a", "2/0: 6=a"},
      {"#S=<5>a\n<6>a", "+#S=-<6>a", "2/0: 5=a"},
      {"#S=<5>a", "+#S=-<6>a", kMissing},
      {"#S=<&5>a\n", "+#S=-<5>a\n++<5>a", "2/0: 5=a"},
      {"#S=a", "+#S=-ab", kMissing},
      {"#S=a", "+#S=a", kMissing},
      {"^S=a", "+#S=++b", "a patch is of another type than its section"},
      {"#S=a", "+#T=++b", "a patch does not follow the section that it names"},
      {"S=a b|c>d\nx", "+S=-a b|c>d\n++y", "0/0: 100X{x} 100Y{y}"},
      {"S=a b", "+S=-a|b", kMissing},
      {"S=a>b", "+S=-a,b", kMissing},
      {"S=a\nb", "+S==<3>a\n+(~)c", "0/0: 100A{a} 100/10C{c} 100B{b}"},
      {"*S=abc\nx", "+*S=-abc\n++a",
       "7/1: 0=9dd4e461268c8034f5c8564e155c67a6 "
       "0=0cc175b9c0f1b6a831c399e269772661"},
      {"*S=abc", "+*S=-ABC", kMissing},
      {"@S=abc\nx", "+@S=-x\n++a\n=abc",
       "8/0: 0cc175b9c0f1b6a831c399e269772661 "
       "900150983cd24fb0d6963f7d28e17f72"},
      {"@S=abc", "+@S=-x", kMissing},
  };
  for (const auto& row : kRows) {
    const std::string merged = Merged(row.base, row.patch);
    // A section from which all lines went stays.
    EXPECT_EQ(merged, *row.merged ? row.merged : "2/0:")
        << row.base << " " << row.patch;
  }
}

TEST(KwPatch, APatchDoesNotComeFirstAndReadsNothingOfOthers) {
  TKwObj object;
  BLOCK work(0, 1000);
  Add(object, "+#S=++b");
  Add(object, "#S=a");
  EXPECT_FALSE(object.ApplyPatch(&work));
  TKwObj two;
  Add(two, "#S=a");
  Add(two, "@T=abc");
  Add(two, "+@T=++a\n++x");
  Add(two, "+#S=++b");
  Add(two, "+#S=-b\n++c");
  ASSERT_TRUE(two.ApplyPatch(&work));
  EXPECT_EQ(DumpImage(KWIMAGE(work.view())),
            "2/0: 0=a 0=c; 8/0: 0cc175b9c0f1b6a831c399e269772661 "
            "900150983cd24fb0d6963f7d28e17f72 "
            "9dd4e461268c8034f5c8564e155c67a6");
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
  std::string image(const char* section) {
    TKwObj object;
    BLOCK block(0, 1000);
    Add(object, section);
    EXPECT_TRUE(object.WriteToStream(&block));
    return Str(block.view());
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
  write("base.kwo", image("#S=a"));
  write("p.kwo", image("+#S=++b"));
  const std::string whole = image("+#S=++c");
  write("short.kwo", whole.substr(0, whole.size() - 1));
  write("long.kwo", whole + "x");
  write("bad.kwo", "qmkw" + whole.substr(4));
  EXPECT_EQ(load(nullptr, "# one\r\n\n base.kwo \r\np.kwo"), "2/0: 0=a 0=b");
  EXPECT_EQ(load(path("base.kwo").c_str(),
                 "short.kwo\nlong.kwo\nbad.kwo\nnone\np.kwo\n\rp.kwo\n"),
            "2/0: 0=a 0=b 0=b");
  EXPECT_EQ(load("*ASE*", "base.kwo\np.kwo\n"), "2/0: 0=a");
  EXPECT_EQ(load(nullptr, "base.kwo\nbase.kwo\n"),
            "[" + path("base.kwo") + ": the section is there already\n]");
  EXPECT_EQ(load(nullptr, "# nothing\n").substr(0, 1), "[");
  EXPECT_EQ(load(nullptr, std::string(4096, 'x')).substr(0, 1), "[");
}

// The library's own dictionary is the base of a list of patches alone.
TEST_F(KwPatchFiles, PatchesOfTheLibrarysDictionary) {
  write("p.kwo", image("+#param=++mine=1"));
  write("l", "p.kwo\n");
  BLOCK out(0, 1000);
  ASSERT_TRUE(KwLoadKeywords(&out, nullptr, path("l").c_str(), nullptr));
  const KWIMAGE merged(out.view());
  const KWIMAGE own(TBLOCK(ReadyKWO, getReadyKWOLen()));
  EXPECT_EQ(merged.sectionCount, own.sectionCount);
  EXPECT_EQ(merged.lineCount, own.lineCount + 1);
}

}  // namespace
