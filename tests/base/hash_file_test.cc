// Images of hash tables: their bytes, ways there and back, and damage.

#include "base/hash_file.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <memory>

#include "base/hash_count.h"
#include "base/heap_text.h"
#include "base/md5.h"

namespace {

std::string ImageOf(HASHTAB& table, int32_t recBytes, int32_t swapped) {
  const std::unique_ptr<BLOCK> image(table.save4File(recBytes, swapped));
  return image ? Str(image->view()) : "none";
}

uint32_t Digest(const std::string& text) {
  MD5 md5;
  md5.add(TBLOCK(text.data(), static_cast<uint32_t>(text.size())));
  uint32_t first;
  memcpy(&first, md5.get(), 4);
  return first;
}

const char* const kWords[] = {"alpha", "k14", "Beta", "gone", "\xFF\0x"};

// Five keys, one of them deleted, with records of two words.
void Fill(HASHFILE& table) {
  table.setRecSize(8);
  for (uint32_t i = 0; i < 5; i++) {
    void* record = nullptr;
    const TBLOCK key(kWords[i], i < 4 ? strlen(kWords[i]) : 3);
    ASSERT_LE(0, table.insertData(key, record));
    const uint32_t words[2] = {i + 1, 0x10203040u * (i + 1)};
    memcpy(record, words, sizeof words);
  }
  table.deleteEntry(table.findKey(TBLOCK("gone")));
}

// All entries in order of slots, with the first word of the record.
std::string Dump(const HASHFILE& table) {
  std::string out =
      std::to_string(table.count) + "/" + std::to_string(table.capacity) + " ";
  for (int32_t i = table.first(); i >= 0; table.next(i)) {
    uint32_t word = 0;
    if (table.recSize) memcpy(&word, table.getData(i), sizeof word);
    out += std::to_string(i) + ":" + Str(table.getBlock(i)) + "=" +
           std::to_string(word) + " ";
  }
  return out;
}

TEST(HashFileTest, ImagesAreThoseToldByOtherMeans) {
  HASHFILE records(32, hashDuplicates | hashFixed);
  Fill(records);
  HASHTAB words(32);
  for (uint32_t i = 0; i < 5; i++)
    words.insert(TBLOCK(kWords[i], i < 4 ? strlen(kWords[i]) : 3),
                 reinterpret_cast<void*>(uintptr_t{0x01020304 + i}));
  words.deleteEntry(words.findKey(TBLOCK("gone")));
  EXPECT_EQ(0x2BD1175Eu, Digest(ImageOf(records, 8, 0)));
  EXPECT_EQ(0xD5922585u, Digest(ImageOf(records, 8, 1)));
  EXPECT_EQ(0x782F9F73u, Digest(ImageOf(words, 0, 0)));
  EXPECT_EQ(0xB6DB8523u, Digest(ImageOf(words, 0, 1)));

  HASHFILE loaded;
  const HeapText image(ImageOf(words, 0, 1));
  ASSERT_TRUE(loaded.loadFromConstBuf(image.view()).pointer);
  EXPECT_EQ(reinterpret_cast<unsigned char*>(uintptr_t{0x01020305}),
            loaded.getData(loaded.findKey(TBLOCK("k14"))));
}

TEST(HashFileTest, ChainedImagesComeBack) {
  HASHFILE first(0, hashAsciiLower), empty;
  Fill(first);
  for (int32_t swapped = 0; swapped < 2; swapped++) {
    const HeapText chain(ImageOf(first, 8, swapped) + ImageOf(empty, 0, 0) +
                         ImageOf(first, 8, 1 - swapped) + "!");
    const std::string before = chain.str();
    for (bool copy : {false, true}) {
      HASHFILE a, b, c;
      TBLOCK rest = chain.view();
      for (HASHFILE* table : {&a, &b, &c})
        rest = copy ? table->loadFromBuf(rest) : table->loadFromConstBuf(rest);
      EXPECT_EQ("!", Str(rest));
      EXPECT_EQ(Dump(first), Dump(a));
      EXPECT_EQ("0/0 ", Dump(b));
      EXPECT_EQ(Dump(first), Dump(c));
      // It goes on growing, whoever owns the keys.
      for (int i = 0; i < 2000; i++) {
        const std::string key = "key number " + std::to_string(i / 2);
        void* record = nullptr;
        if (a.insertData(TBLOCK(key.c_str()), record) >= 0)
          memcpy(record, &i, sizeof i);
        ASSERT_LE(0, a.find(TBLOCK(key.c_str()), record));
        i |= 1;
        ASSERT_EQ(i - 1, *static_cast<int*>(record));
      }
      EXPECT_LE(0, a.findKey(TBLOCK("ALPHA")));
      EXPECT_EQ(1004, a.count);
    }
    EXPECT_EQ(before, chain.str());
  }
  char path[] = "/tmp/hash_file_testXXXXXX";
  close(mkstemp(path));
  HASHFILE loaded;
  EXPECT_EQ(1, first.saveToFile(path));
  EXPECT_EQ(1, loaded.loadFromFile(path));
  EXPECT_EQ(Dump(first), Dump(loaded));
  unlink(path);
  EXPECT_EQ(0, loaded.loadFromFile(path));
  EXPECT_EQ(0, loaded.count);
}

TEST(HashFileTest, DamagedImagesAreRefused) {
  HASHFILE table;
  Fill(table);
  const std::string good = ImageOf(table, 8, 0);
  const int32_t beta = table.findKey(TBLOCK("Beta"));
  const uint32_t slot = 49 + 16 * static_cast<uint32_t>(beta);
  const uint32_t most = UINT32_MAX;
  const uint32_t rows[][2] = {
      {1, 0},          {1, 750},         {1, 752},         {1, most},
      {9, 0},          {9, 40},          {9, 42},          {9, 0x10000029},
      {13, 41},        {13, most},       {17, 3},          {17, 5},
      {21, 9},         {21, 0x80000000}, {25, 47},         {25, 696},
      {25, most},      {29, 640},        {33, 0},          {33, 741},
      {37, 14},        {37, most - 15},  {41, most},       {45, 31},
      {slot, 0},       {slot, 41},       {slot, most - 2}, {slot + 4, 0},
      {slot + 4, 16},  {slot + 4, most}, {slot + 8, 12},   {slot + 8, most - 3},
      {slot + 12, 25}, {slot + 12, most}};
  const auto load = [&](const std::string& image) {
    const HeapText bytes(image);
    HASHFILE loaded;
    loaded.insert(TBLOCK("old"));
    const bool ok = loaded.loadFromBuf(bytes.view()).pointer != nullptr;
    EXPECT_EQ(ok ? 4 : 0, loaded.count);
    EXPECT_TRUE(ok || loaded.findKey(TBLOCK("Beta")) == -1);
    return ok;
  };
  EXPECT_TRUE(load(good));
  for (const auto& row : rows) {
    std::string bad = good;
    memcpy(&bad[row[0]], &row[1], 4);
    EXPECT_FALSE(load(bad)) << row[0] << " " << row[1];
  }
  for (size_t n = 0; n < good.size(); n++)
    EXPECT_FALSE(load(good.substr(0, n)));
  EXPECT_FALSE(load("N" + good.substr(1)));

  // No slot is free: a search has to end all the same.
  std::string full = good;
  for (uint32_t at = 49; at < 49 + 41 * 16; at += 16)
    if (full[at] == '\xFF') full[at] = '\xFE';
  EXPECT_TRUE(load(full));
}

// Counts are written to: never in a caller's image, and never in records of
// another size.
TEST(HashFileTest, CountsInImages) {
  HASHCOUNT counter;
  counter.incBlockCount(TBLOCK("a"), 7);
  for (int32_t size : {0, 2, 4}) {
    const HeapText image(ImageOf(counter, size, 0));
    const std::string before = image.str();
    HASHCOUNT again;
    again.loadFromConstBuf(image.view());
    EXPECT_EQ(size == 4 ? 8u : 1u, again.incBlockCount(TBLOCK("a"), 1));
    EXPECT_EQ(before, image.str());
  }
}

}  // namespace
