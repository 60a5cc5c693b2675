// Heap sort of records of a fixed size, in place, for lists of digests in
// files. Never more than n log n steps, whatever the order at the start; equal
// records may change places.

#ifndef BASE_HEAP_SORT_H_
#define BASE_HEAP_SORT_H_

#include <stdint.h>

// Sorts `count` records of `size` bytes each in ascending order. `compare`
// gets two records and answers below 0, 0 or above 0; `scratch` holds one
// record. Nothing happens for null pointers or a size of 0. REQUIRES: count *
// size bytes fit in memory.
void HeapSortInline(unsigned char* records, uint32_t count, uint32_t size,
                    int (*compare)(void*, void*), unsigned char* scratch);

// One step of it: of the heap of `end` records, whose largest stands first,
// all but record `root` are in order; moves that one down to its place.
void HeapSortInline_descend(unsigned char* records, uint32_t root, uint32_t end,
                            uint32_t size, int (*compare)(void*, void*),
                            unsigned char* scratch);

// Order of two digests of 16 bytes.
int md5cmp(void* a, void* b);

#endif  // BASE_HEAP_SORT_H_
