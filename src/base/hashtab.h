// HASHTAB: a map from byte strings to one machine word each.
//
// Open addressing over an array of HASHKEY with linear probing. The table owns
// the array and nothing else: the bytes of a key and whatever `data` points at
// belong to the caller and must outlive the entry. HASHFILE (hash_file.h) is
// the one that owns copies of its keys.
//
// Keys compare under the folding table that the low bits of `flags` choose. A
// slot is an index into the array; it stays valid until the next insert,
// compress or setCapacity. Reading operations are const and write nothing, so
// that any number of threads may read one table.
//
// An empty key is never in a table. Test for it before you use the result of
// insert as a slot: that result is 0, which is a slot as well.

#ifndef BASE_HASHTAB_H_
#define BASE_HASHTAB_H_

#include <stdint.h>

#include "base/tblock.h"

// Values of HASHKEY::home for a slot that holds no key.
const int32_t kHashFree = -1;
const int32_t kHashDeleted = -2;

struct HASHKEY {
  int32_t home;              // own index, kHashFree or kHashDeleted
  uint32_t length;           // of the key
  const unsigned char* key;  // borrowed
  void* data;                // the caller's word
};

// Bits of HASHTAB::flags.
enum : int32_t {
  hashExact = 0,       // bits 0-1: TBLOCK::NoConvTable,
  hashUpperLower = 1,  // UpperToLower,
  hashAscii = 2,       // AsciiConvTable,
  hashAsciiLower = 3,  // AsciiLowerTable
  hashFoldMask = 3,
  hashFixed = 4,      // no growth: an insert uses the slots that there are
  hashDuplicates = 8  // equal keys may be there several times
};

// Entries that setCapacity accepts; more count as an allocation failure.
const int32_t kMaxHashCapacity = 100000000;

// HASHTAB::maxProbes for keys out of message text. Whoever writes the message
// can make up keys that all want one slot, and the hash cannot be seeded, since
// files depend on it; each such key would then cost a walk over all others.
// With ordinary keys a table that grows never gets near this: at most 258 in a
// million numbers, digests, addresses or words.
const int32_t kHostileProbes = 1024;

class HASHTAB {
 public:
  double multiplier;    // of the hash: the golden ratio, below 1
  double slotFactor;    // slots for each entry of the capacity
  int32_t slotCount;    // slots in the array; 0 before the first insert
  int32_t capacity;     // entries at which the table grows
  int32_t count;        // entries
  HASHKEY* slots;       // owned; null when slotCount is 0
  uint32_t collisions;  // statistics: slots that inserts have looked at
  int32_t flags;        // hash... bits
  int32_t recSize;      // bytes of a record; 0 when `data` is a plain word
  int32_t maxProbes;    // slots that an insert may look at; 0: all of them

  // Allocates nothing for a capacity of 0.
  explicit HASHTAB(int32_t initial = 0, int32_t mode = hashExact);
  HASHTAB(const HASHTAB&) = delete;
  HASHTAB& operator=(const HASHTAB&) = delete;

  // Makes room for n entries, at least 32, and places all entries anew.
  // Ignored when n does not exceed the count. When memory is short the table
  // becomes empty, without slots.
  virtual void setCapacity(int32_t n);
  virtual ~HASHTAB();
  // Removes all entries; the slots stay.
  virtual void clear();
  // Called for each entry that deleteEntry or clear removes, ahead of its
  // marking: the place to release what `data` points at. Empties the fields.
  virtual void clearKey(HASHKEY* entry);
  // Turns the byte order of records between memory and a file of the other
  // order. This one turns every 32-bit word; a rest stays. `saving` is 1 on
  // the way to the file.
  virtual void dataConvert(unsigned char* records, int32_t bytes,
                           int32_t saving);

  // The slot of the new entry; -1 when the key is there already (unless
  // hashDuplicates), when no slot is left within maxProbes or memory is short;
  // 0, with nothing changed, for an empty key. An insert may grow the table
  // even if the key turns out to be there.
  int32_t insert(TBLOCK key, void* data);
  // The slot, with `data` set, or -1 with `data` unchanged.
  int32_t find(TBLOCK key, void*& data) const;
  // The slot or -1. Of equal keys it is the first on the way of the search.
  int32_t findKey(TBLOCK key) const;
  // The longest prefix of the text that is a key, as a view into the text;
  // empty when there is none.
  TBLOCK longestMatch(TBLOCK text) const;

  // Walks: the first entry in order of slots, the next one behind `slot`, the
  // next one with the key of the entry at `slot`. The last two advance `slot`.
  // -1 at the end, with `slot` set to -1.
  int32_t first() const;
  int32_t next(int32_t& slot) const;
  int32_t nextSame(int32_t& slot) const;

  // Null or empty where no entry is; any number is allowed as a slot.
  const HASHKEY* getKey(int32_t slot) const;
  TBLOCK getBlock(int32_t slot) const;
  unsigned char* getData(int32_t slot) const;
  // 1, or 0 where no entry is.
  int setData(int32_t slot, unsigned char* data);
  int deleteEntry(int32_t slot);
  // A new block (delete it) with the image of the table, see hash_file.h; null
  // when memory is short or the image would be too large. With recBytes > 0
  // each `data` points at a record of that size, or is null for one of zeros;
  // else it is a word, of which 32 bits are saved. `swapped` asks for the
  // other byte order.
  BLOCK* save4File(int32_t recBytes, int32_t swapped);

  // Gives up the marks of deleted entries and, unless hashFixed, spare room.
  // Changes nothing when memory is short.
  void compress();

 protected:
  // Where a search may end. No key in the table is longer than longestKey.
  uint32_t longestKey;
  int32_t deleted;  // slots marked kHashDeleted
  int32_t reach;    // no entry is this many slots behind its home slot

  const unsigned char* foldTable() const;
  // The slot at which the search for a hash begins.
  int32_t homeSlot(uint32_t hash) const;
  // n free slots, or null.
  static HASHKEY* allocKeys(int32_t n);
  // Frees the slots: an empty table with a capacity of 0.
  void dropSlots();

 private:
  bool rebuild(int32_t newCapacity);
  bool makeRoom();
  void noteProbes(int32_t probes);
  int32_t search(TBLOCK key, uint32_t hash) const;
};

#endif  // BASE_HASHTAB_H_
