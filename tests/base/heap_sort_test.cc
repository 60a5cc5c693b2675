// Records in order, held against std::sort.

#include "base/heap_sort.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/heap_text.h"

namespace {

uint32_t compared;

// Order of the first byte alone, so that records may be equal and differ.
int ByFirst(void* a, void* b) {
  compared++;
  return *static_cast<unsigned char*>(a) - *static_cast<unsigned char*>(b);
}

TEST(HeapSortTest, SortsRecords) {
  Numbers numbers(1);
  for (uint32_t size : {1u, 3u, 16u, 20u})
    for (uint32_t count : {0u, 1u, 2u, 3u, 4u, 5u, 8u, 31u, 1000u})
      for (uint32_t kinds : {1u, 2u, 256u}) {
        std::string bytes;
        std::vector<std::string> expected(count);
        for (std::string& record : expected) {
          for (uint32_t i = 0; i < size; i++)
            record += static_cast<char>(numbers.Below(kinds));
          bytes += record;
        }
        std::sort(expected.begin(), expected.end());
        const HeapText text(bytes), scratch(std::string(size, 0));
        const bool digests = size >= 16;
        compared = 0;
        HeapSortInline(text.view().pointer, count, size,
                       digests ? md5cmp : ByFirst, scratch.view().pointer);
        std::vector<std::string> got;
        for (uint32_t i = 0; i < count; i++)
          got.push_back(text.str().substr(i * size, size));
        for (uint32_t i = 1; i < count; i++)
          EXPECT_LE(memcmp(got[i - 1].data(), got[i].data(), digests ? 16 : 1),
                    0);
        std::sort(got.begin(), got.end());
        EXPECT_EQ(expected, got);
        EXPECT_GE(count * 22, compared);  // 2 log2(1000) and a little
      }
}

}  // namespace
