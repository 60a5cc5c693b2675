#include "base/block.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "base/heap_text.h"

namespace {

// A new block's bytes; "null" for none. Frees it.
std::string Taken(BLOCK* block) {
  if (!block) return "null";
  const std::string text = Str(block->view());
  delete block;
  return text;
}

// A block of exactly these bytes, so that a read past them shows.
std::unique_ptr<BLOCK> Exactly(const std::string& text) {
  std::unique_ptr<BLOCK> block(new BLOCK(0, 0));
  EXPECT_TRUE(block->add(text.data(), static_cast<uint32_t>(text.size())));
  return block;
}

TEST(BlockTest, GrowsByShortfallAndStep) {
  BLOCK tight(0, 0);
  EXPECT_EQ(nullptr, tight.data);
  EXPECT_TRUE(tight.add("abc", 3));
  EXPECT_EQ(3u, tight.capacity);
  BLOCK block(4, 10);
  EXPECT_TRUE(block.add("abcd", 4));
  EXPECT_EQ(4u, block.capacity);
  EXPECT_TRUE(block.add(2, "xyz", 3));
  EXPECT_EQ(17u, block.capacity);
  EXPECT_EQ("abxyzcd", Str(block.view()));
  EXPECT_TRUE(block.addSpace(3));
  EXPECT_EQ(20u, block.capacity);
  block.empty();
  EXPECT_EQ(20u, block.capacity);
  block.reset();
  EXPECT_EQ(nullptr, block.data);
  EXPECT_EQ(10u, block.step);
  EXPECT_TRUE(block.add("z", 1));
}

TEST(BlockTest, RangesThatPassTheEndChangeNothing) {
  const uint32_t kMax = 0xFFFFFFFF;
  const struct {
    uint32_t position, n;
    int ok;
    const char* rest;
  } removals[] = {
      {0, 0, 1, "abcd"},    {4, 0, 1, "abcd"},    {5, 0, 0, "abcd"},
      {1, 3, 1, "a"},       {1, 4, 0, "abcd"},    {0, 4, 1, ""},
      {3, kMax, 0, "abcd"}, {kMax, 2, 0, "abcd"}, {kMax, kMax, 0, "abcd"},
  };
  for (const auto& row : removals) {
    const auto block = Exactly("abcd");
    EXPECT_EQ(row.ok, block->remove(row.position, row.n));
    EXPECT_EQ(row.rest, Str(block->view()));
  }
  const struct {
    uint32_t n;
    const char *shifted, *shortened;
  } ends[] = {{0, "abcd", "abcd"},
              {3, "d", "a"},
              {4, "", ""},
              {5, "", "abcd"},
              {kMax, "", "abcd"}};
  for (const auto& row : ends) {
    const auto left = Exactly("abcd");
    const auto right = Exactly("abcd");
    left->shiftLeft(row.n);
    right->removeEnd(row.n);
    EXPECT_EQ(row.shifted, Str(left->view()));
    EXPECT_EQ(row.shortened, Str(right->view()));
  }
  const auto block = Exactly("abcd");
  EXPECT_EQ(0, block->add(5, "x", 1));
  EXPECT_EQ(0, block->add(kMax, "x", 1));
  EXPECT_EQ(0, block->add("x", kMax));
  EXPECT_EQ(0, block->add("x", kMaxBlockBytes - 3));
  EXPECT_EQ(0, block->add(nullptr, 1));
  EXPECT_EQ(1, block->add(nullptr, 0));
  EXPECT_EQ(0, block->addSpace(kMax));
  EXPECT_EQ(0, block->addSpace(kMaxBlockBytes));
  EXPECT_EQ("abcd", Str(block->view()));
  EXPECT_EQ(4u, block->capacity);
}

// Random edits against a string; half of the sources lie in the block itself,
// with and without room to insert them.
TEST(BlockTest, EditsAgreeWithAString) {
  Numbers numbers(1);
  for (uint32_t round = 0; round < 300; round++) {
    BLOCK block(numbers.Below(8), numbers.Below(20));
    std::string model;
    for (int step = 0; step < 40; step++) {
      const uint32_t size = static_cast<uint32_t>(model.size());
      const uint32_t at = numbers.Below(size + 1);
      const uint32_t n = numbers.Below(size - at + 1);
      const uint32_t place = numbers.Below(size + 1);
      const std::string piece = model.substr(at, n);
      if (numbers.Below(4) == 0) {
        EXPECT_EQ(1, block.remove(at, n));
        model.erase(at, n);
      } else if (n > 0 && numbers.Below(2)) {
        EXPECT_EQ(1, block.add(place, block.data + at, n));
        model.insert(place, piece);
      } else {
        const HeapText letter(std::string(1, "abcdefg"[numbers.Below(7)]));
        EXPECT_EQ(1, block.add(place, letter.view().pointer, 1));
        model.insert(place, letter.str());
      }
      if (model.size() > 200) {
        block.shiftLeft(150);
        model.erase(0, 150);
      }
      ASSERT_EQ(model, Str(block.view())) << round << " " << step;
      ASSERT_LE(block.length, block.capacity);
    }
  }
}

// ---- Files

class BlockFileTest : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/quaymarsh-block-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(name));
    folder_ = name;
  }
  void TearDown() override {
    for (const char* name : {"file", "empty", "pipe", "none"})
      unlink(path(name).c_str());
    rmdir(folder_.c_str());
  }
  std::string path(const char* name) const { return folder_ + "/" + name; }

  std::string folder_;
};

TEST_F(BlockFileTest, SavesAndLoads) {
  const std::string file = path("file");
  const auto block = Exactly(std::string("a\r\n\0b", 5));
  EXPECT_EQ(1, block->saveTo(file.c_str(), 0));
  EXPECT_EQ(1, Exactly("++")->saveTo(file.c_str(), 1));
  const std::string whole("a\r\n\0b++", 7);
  uint32_t size = 0;
  EXPECT_EQ(1, BLOCK::IsFile(file.c_str(), size));
  EXPECT_EQ(7u, size);
  BLOCK loaded(file.c_str());
  EXPECT_EQ(whole, Str(loaded.view()));
  EXPECT_EQ(7u, loaded.capacity);
  EXPECT_EQ(1, loaded.loadFrom(file.c_str(), 3, 1));
  EXPECT_EQ(whole + "a\r\n", Str(loaded.view()));
  EXPECT_EQ(1, loaded.loadFrom(file.c_str(), 1000, 0));
  EXPECT_EQ(whole, Str(loaded.view()));
  EXPECT_EQ(0, loaded.loadFrom(file.c_str(), 0xFFFFFFFF, 1));
  EXPECT_EQ(whole, Str(loaded.view()));
  EXPECT_EQ(1, BLOCK(0, 0).saveTo(file.c_str(), 0));
  EXPECT_EQ(1, BLOCK::IsFile(file.c_str(), size));
  EXPECT_EQ(0u, size);
}

// A pipe without a writer would block for ever, a device never end.
TEST_F(BlockFileTest, OnlyRegularFilesAreThere) {
  ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
  const std::string pipe = path("pipe");
  const std::string none = path("none");
  const char* const paths[] = {pipe.c_str(), none.c_str(), folder_.c_str(),
                               "/dev/zero",  "/dev/null",  "",
                               nullptr};
  for (const char* name : paths) {
    SCOPED_TRACE(name ? name : "null");
    uint32_t size = 99;
    EXPECT_EQ(0, BLOCK::IsFile(name, size));
    EXPECT_EQ(99u, size);
    const auto block = Exactly("ab");
    EXPECT_EQ(0, block->loadFrom(name, 0, 0));
    EXPECT_EQ(0, block->loadFrom(name, 10, 1));
    EXPECT_EQ("ab", Str(block->view()));
    EXPECT_EQ(0, block->loadFrom(name, 10, 0));
    EXPECT_EQ("", Str(block->view()));
    BLOCK fresh(name);
    EXPECT_EQ(0u, fresh.length);
    EXPECT_EQ(32000u, fresh.capacity);
  }
  EXPECT_EQ(0, Exactly("a")->saveTo(folder_.c_str(), 0));
  EXPECT_EQ(0, Exactly("a")->saveTo((none + "/x").c_str(), 1));
  EXPECT_EQ(0, Exactly("a")->saveTo(nullptr, 0));
  EXPECT_EQ(0, Exactly("a")->saveTo("/dev/full", 0));
}

// ---- Base64

TEST(BlockTest, Base64) {
  const struct {
    const char *plain, *coded;
  } rows[] = {{"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
              {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xFB\xFF\xBF", "+/+/"}};
  for (const auto& row : rows)
    EXPECT_EQ(row.coded, Taken(Exactly(row.plain)->encode64()));
  // A rest of n characters gives n bytes.
  const struct {
    const char* coded;
    std::string plain;
  } rests[] = {
      {"", ""},
      {"====", ""},
      {"T", "L"},
      {"TQ==", std::string("M\0", 2)},
      {"TR", "M\x10"},
      {"TWE=", std::string("Ma\0", 3)},
      {"TWF", "Ma\x40"},
      {"TWFuT", "ManL"},
      {"T\r\nW F*u", "Man"},
      {"TW=Fu", "Man"},
      // Bytes of the upper half are no base64 here.
      {"\xD4TW\xC6"
       "Fu",
       "Man"},
  };
  for (const auto& row : rests)
    EXPECT_EQ(row.plain, Taken(Exactly(row.coded)->decode64())) << row.coded;
}

TEST(BlockTest, UudecodeRows) {
  const std::string begin = "begin 6 x\r\n";
  const struct {
    std::string text, result;
  } rows[] = {
      {"", "null"},
      {"no such line", "null"},
      {"beginning\r\n#0V%T\r\n", "null"},
      {"a\r\n\r\nbegin 6 x\r\n#0V%T\r\n", "null"},  // an empty line stops it
      {begin, ""},
      {begin + "#0V%T\r\n", "Cat"},
      {begin + "#0V%T", "Cat"},
      {">" + begin + "#0V%T\r\nend\r\n#0V%T\r\n", "Cat"},
      {"> " + begin + "#0V%T\r\n", "null"},
      {begin + "#0V%T\r\n>end\r\n#0V%T\r\n", "Cat"},
      {begin + "#0V%T\r\n>>end\r\n#0V%T\r\n",
       "CatxS\x84"
       "Cat"},
      {begin + "#0V%T\r\n\r\n#0V%T\r\n", "Cat"},
      // The count: of 0, above 45, and lower case, which is skipped.
      {begin + "`0V%T\r\n#0V%T\r\n", "Cat"},
      {begin + "N0V%T\r\n#0V%T\r\n", "Cat"},
      {begin + "a0V%T\r\n#0V%T\r\n", "Cat"},
      {begin + "!0V%T\r\n", "C"},
      {begin + "\"0V%T\r\n", "Ca"},
      // More is claimed than stands there: nothing of the line before shows.
      {begin + "&0V%T0V%T\r\n&0V%\r\n&0V\r\n&0\r\n&\r\nM\r\n", "CatCatCaC"},
      {begin + std::string("#0V\0T\r\n#0V%T\r\n", 14), "CCat"},
      // A lone CR or LF is data, so the line goes on behind it.
      {begin + "#0V\n%T\r\n", "Cj\x85"},
      {"begin 6 x\n#0V%T\nend\n", ""},
      {"xbegin 6 x\n#0V%T\nend\n", ""},
      {"x\nbegin 6 x\n#0V%T\nend\n", "null"},
      // 131 characters are a line; what ends it is an empty one.
      {std::string(131, 'x') + begin + "#0V%T", "Cat"},
      {std::string(131, 'x') + "\r\n" + begin + "#0V%T", "null"},
      {std::string(130, 'x') + "\r\n" + begin + "#0V%T", "Cat"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.result, Taken(Exactly(row.text)->uudecode())) << row.text;
}

// Short lines with great claims, and lines of anything: the result is never
// longer than the characters can hold.
TEST(BlockTest, UudecodeOfHostileLines) {
  std::string claims = "begin 6 x\r\n";
  for (int i = 0; i < 1000; i++) claims += i % 2 ? "M\r\n" : "M!\r\n";
  EXPECT_EQ("", Taken(Exactly(claims)->uudecode()));
  Numbers numbers(4);
  for (int round = 0; round < 2000; round++) {
    std::string body;
    const uint32_t n = numbers.Below(300);
    for (uint32_t i = 0; i < n; i++)
      body += numbers.Below(30) ? static_cast<char>(numbers.Below(256))
                                : "\r\n\0M"[numbers.Below(4)];
    const auto block = Exactly("begin 6 x\r\n" + body);
    std::unique_ptr<BLOCK> out(block->uudecode());
    ASSERT_TRUE(out);
    ASSERT_LE(out->length, n * 3 / 4);
  }
}

}  // namespace
