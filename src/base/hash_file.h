// HASHFILE: a hash table that owns its keys and a record of fixed size for
// each, and can be read from a file image.
//
// The image, made by HASHTAB::save4File and read by load...: a letter, "H" for
// the little-endian order of this machine or "N" for the other one; twelve
// 32-bit words (hash_file.cc lists them); the slots, 16 bytes each; the bytes
// of the keys; the records. Entries are read back at the slots at which they
// were saved. An image that is damaged or does not fit its own figures gives
// an empty table and an empty result, whatever it holds.
//
// Pointers to keys and records stay valid until the next insert. Records may
// stand at any address, so read and write their words by memcpy. What
// deleteEntry removes stays in the stores until clear.

#ifndef BASE_HASH_FILE_H_
#define BASE_HASH_FILE_H_

#include "base/block.h"
#include "base/hashtab.h"

class HASHFILE : public HASHTAB {
 public:
  BLOCK keys;     // copies of the keys; not those of a loadFromConstBuf
  BLOCK records;  // recSize bytes an entry; likewise

  explicit HASHFILE(int32_t initial = 0, int32_t mode = hashExact);

  void clear() override;

  // Bytes of a record. 1, or 0, with nothing changed, when there are entries,
  // n is below 0 or the table has a size of its own.
  int setRecSize(int32_t n);

  // As HASHTAB::insert, with a copy of the key and a record of zeros. `record`
  // is set for a new entry only: null when the record size is 0.
  int32_t insert(TBLOCK key);
  int32_t insertData(TBLOCK key, void*& record);
  int32_t insertString(const BLOCK& key) { return insert(key.view()); }
  int32_t insertStringData(const BLOCK& key, void*& record) {
    return insertData(key.view(), record);
  }

  // 1, or 0 when the file or the memory cannot be had or it is no image. What
  // follows the image in the file is ignored.
  int saveToFile(const char* path);
  int loadFromFile(const char* path);

  // Replace the table by that of an image at the front of the buffer. The
  // result is what follows the image, for the next one: its pointer is null
  // when the load failed, and only then. The second leaves keys and records in
  // the buffer, which must outlive the table and is never written to; records
  // in the other byte order and counts are copied all the same.
  TBLOCK loadFromBuf(TBLOCK buffer) { return load(buffer, true); }
  TBLOCK loadFromConstBuf(TBLOCK buffer) { return load(buffer, false); }

 protected:
  // Not 0: the only record size there may be, also in a file; the records are
  // written to, so that a load always copies them.
  int32_t ownRecSize;

 private:
  TBLOCK load(TBLOCK buffer, bool copy);
  bool append(BLOCK& store, const void* bytes, uint32_t n);
  void rebase(uintptr_t old, uint32_t used, const BLOCK& store);
};

#endif  // BASE_HASH_FILE_H_
