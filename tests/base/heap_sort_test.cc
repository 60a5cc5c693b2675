// Records in order, held against std::sort.

#include "base/heap_sort.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/heap_text.h"

namespace {

int ByFirst(void* a, void* b) {
  return *static_cast<unsigned char*>(a) - *static_cast<unsigned char*>(b);
}

TEST(HeapSortTest, SortsRecords) {
  Numbers numbers(1);
  for (uint32_t size : {1u, 16u, 20u})
    for (uint32_t count : {0u, 1u, 2u, 3u, 4u, 5u, 1000u}) {
      std::string bytes;
      std::vector<std::string> expected(count), got;
      // Few values ahead, so that the order is decided late.
      for (std::string& record : expected) {
        for (uint32_t i = 0; i < size; i++)
          record +=
              static_cast<char>(numbers.Below(i < 15 && size > 1 ? 2 : 256));
        bytes += record;
      }
      const HeapText text(bytes), scratch(std::string(size, 0));
      HeapSortInline(text.view().pointer, count, size,
                     size == 1 ? ByFirst : md5cmp, scratch.view().pointer);
      for (uint32_t i = 0; i < count; i++)
        got.push_back(text.str().substr(i * size, size));
      for (uint32_t i = 1; i < count; i++)
        EXPECT_LE(got[i - 1].compare(0, 16, got[i], 0, 16), 0);
      std::sort(got.begin(), got.end());
      std::sort(expected.begin(), expected.end());
      EXPECT_EQ(expected, got);
    }
}

}  // namespace
