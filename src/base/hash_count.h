// HASHCOUNT: how often each of many strings occurs, and the strings in order of
// that.
//
// Counts stop at the largest number. The strings may come from a message, so
// that the search for a place is bounded (kHostileProbes): of strings that were
// made up to collide, all but about a thousand go uncounted.

#ifndef BASE_HASH_COUNT_H_
#define BASE_HASH_COUNT_H_

#include "base/hash_file.h"
#include "base/vectors.h"

class HASHCOUNT : public HASHFILE, public INTVECTGURU {
 public:
  INTVECT order;  // slots in the order of the last sort

  explicit HASHCOUNT(int32_t initial = 0, int32_t mode = hashExact);

  void clear() override;

  // Adds n occurrences. The count that results; 0 when the string is empty or
  // could not be taken in.
  uint32_t incBlockCount(TBLOCK key, uint32_t n);
  uint32_t incCount(const BLOCK& key, uint32_t n) {
    return incBlockCount(key.view(), n);
  }

  // 0 where nothing is.
  uint32_t counts(int32_t slot) const;
  uint32_t stringCount(const BLOCK& key) const {
    return counts(findKey(key.view()));
  }

  // Sets `order`, the highest count first, equal counts in any order. 1, or 0
  // with an empty order when memory is short. A new string, deleteEntry and
  // compress make the order void.
  int sort();
  // Number i of the order; 0, an empty block or an empty view past its end.
  uint32_t getSortedCount(int32_t i) const;
  void getSortedString(int32_t i, BLOCK& text) const;
  TBLOCK getSortedBlock(int32_t i) const;

  // Order of two slots: below 0 when the first has the higher count.
  int compare(int a, int b) override;

 private:
  int32_t sortedSlot(int32_t i) const;
};

#endif  // BASE_HASH_COUNT_H_
