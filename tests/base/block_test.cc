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

TEST(BlockTest, RangesThatPassTheEndChangeNothing) {
  const uint32_t kMax = 0xFFFFFFFF;
  const struct {
    uint32_t position, n;
    int ok;
    const char* rest;
  } removals[] = {
      {0, 0, 1, "abcd"},    {4, 0, 1, "abcd"},    {5, 0, 0, "abcd"},
      {1, 3, 1, "a"},       {1, 4, 0, "abcd"},    {0, 4, 1, ""},
      {3, kMax, 0, "abcd"}, {kMax, 2, 0, "abcd"}, {kMax, kMax, 0, "abcd"}};
  for (const auto& row : removals) {
    const auto block = Exactly("abcd");
    EXPECT_EQ(row.ok, block->remove(row.position, row.n));
    EXPECT_EQ(row.rest, Str(block->view()));
  }
  for (uint32_t n : {0u, 3u, 4u, 5u, kMax}) {
    const auto left = Exactly("abcd"), right = Exactly("abcd");
    left->shiftLeft(n);
    right->removeEnd(n);
    EXPECT_EQ(n < 4 ? std::string("abcd").substr(n) : "", Str(left->view()));
    EXPECT_EQ(n <= 4 ? std::string("abcd", 4 - n) : "abcd", Str(right->view()));
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

// A pipe without a writer would block for ever, a device never end.
TEST(BlockTest, OnlyRegularFilesAreReadAndWritten) {
  char folder[] = "/tmp/quaymarsh-block-XXXXXX";
  ASSERT_TRUE(mkdtemp(folder));
  const std::string file = std::string(folder) + "/file";
  const std::string pipe = std::string(folder) + "/pipe";
  const std::string whole("a\r\n\0b++", 7);
  EXPECT_EQ(1, Exactly(whole.substr(0, 5))->saveTo(file.c_str(), 0));
  EXPECT_EQ(1, Exactly("++")->saveTo(file.c_str(), 1));
  uint32_t size = 0;
  EXPECT_EQ(1, BLOCK::IsFile(file.c_str(), size));
  BLOCK loaded(file.c_str());
  EXPECT_EQ(whole, Str(loaded.view()));
  EXPECT_TRUE(size == 7 && loaded.capacity == 7);
  EXPECT_EQ(1, loaded.loadFrom(file.c_str(), 3, 1));
  EXPECT_EQ(0, loaded.loadFrom(file.c_str(), 0xFFFFFFFF, 1));
  EXPECT_EQ(whole + "a\r\n", Str(loaded.view()));
  EXPECT_EQ(1, loaded.loadFrom(file.c_str(), 1000, 0));
  EXPECT_EQ(whole, Str(loaded.view()));

  ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
  for (const char* name :
       {pipe.c_str(), "/nonexistent/x", static_cast<const char*>(folder),
        "/dev/zero", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(0, BLOCK::IsFile(name, size));
    EXPECT_EQ(7u, size);
    const auto block = Exactly("ab");
    EXPECT_EQ(0, block->loadFrom(name, 10, 1));
    EXPECT_EQ("ab", Str(block->view()));
    EXPECT_EQ(0, block->loadFrom(name, 10, 0));
    EXPECT_EQ("", Str(block->view()));
    EXPECT_EQ(0u, BLOCK(name).length);
  }
  for (const char* name : {static_cast<const char*>(folder), "/nonexistent/x",
                           static_cast<const char*>(nullptr), "/dev/full"})
    EXPECT_EQ(0, Exactly("a")->saveTo(name, 0));
  unlink(file.c_str());
  unlink(pipe.c_str());
  rmdir(folder);
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
      {"====", ""},    {"T", "L"},        {"TQ==", std::string("M\0", 2)},
      {"TR", "M\x10"}, {"TWFuT", "ManL"}, {"T\r\nW F*u=", "Man"}};
  for (const auto& row : rests)
    EXPECT_EQ(row.plain, Taken(Exactly(row.coded)->decode64())) << row.coded;
}

// Of lines of anything the result is never longer than they can hold.
TEST(BlockTest, UudecodeOfHostileLines) {
  Numbers numbers(4);
  for (int round = 0; round < 2000; round++) {
    std::string body(numbers.Below(300), 'M');
    for (char& c : body)
      c = numbers.Below(30) ? numbers.Below(256) : "\r\n\0M"[numbers.Below(4)];
    const std::string out = Taken(Exactly("begin 6 x\r\n" + body)->uudecode());
    ASSERT_LE(out.size(), body.size() * 3 / 4);
  }
}

}  // namespace
