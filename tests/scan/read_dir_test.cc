#include "scan/read_dir.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

// Has enough after two.
class Stopper final : public READDIRCLIENT {
 public:
  int calls = 0;
  int foundFile(READDIR*, const char*) override { return ++calls < 2; }
};

class ReadDirTest : public testing::Test {
 protected:
  ReadDirTest() {
    std::string name = testing::TempDir() + "read_dir_XXXXXX";
    root_ = mkdtemp(&name[0]);
  }
  ~ReadDirTest() override { fs::remove_all(root_); }
  void touch(const std::string& name) const {
    std::ofstream(root_ + "/" + name) << 1;
  }

  std::string root_;
};

void DeleteTree(const std::string& path) {
  DIRLISTER lister(path.c_str());
  READDIR files(&lister, path.c_str(), "*");
  DIRITER folders(&lister, path.c_str());
  lister.deleteAll();
}

TEST_F(ReadDirTest, DeletedTreeEndsAtItsLinks) {
  fs::create_directories(root_ + "/tree/a/b");
  fs::create_directories(root_ + "/tree/.c");
  fs::create_directory(root_ + "/outside");
  for (const char* name : {"outside/kept", "tree/x", "tree/a/b/y", "tree/.c/z",
                           "tree/\n", "tree/(", "alone"})
    touch(name);
  fs::create_symlink(root_ + "/outside", root_ + "/tree/a/out");
  fs::create_symlink(root_, root_ + "/tree/a/b/up");
  fs::create_symlink(root_ + "/alone", root_ + "/tree/file");
  DeleteTree(root_ + "/tree");
  EXPECT_FALSE(fs::exists(root_ + "/tree"));
  EXPECT_TRUE(fs::exists(root_ + "/outside/kept"));
  EXPECT_TRUE(fs::exists(root_ + "/alone"));
}

TEST_F(ReadDirTest, DeletionStopsAtItsDepth) {
  for (int extra : {0, 1}) {
    std::string path = root_ + "/deep";
    for (int i = 0; i < DIRLISTER::kMaxDepth + extra; i++) path += "/d";
    fs::create_directories(path);
    DeleteTree(root_ + "/deep");
    EXPECT_EQ(extra == 1, fs::exists(path));
  }
}

}  // namespace
