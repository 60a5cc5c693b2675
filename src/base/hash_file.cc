// HASHFILE, and the image of a hash table in a file: HASHTAB::save4File writes
// it, HASHFILE's load... read it. An image is outside data: every figure is
// checked against the buffer, in 64 bits, before a slot is made of it. Tested
// by hash_file_test.cc and fuzz/hash_image_fuzz.cc.

#include "base/hash_file.h"

#include <assert.h>

#include <new>

#include "base/byte_order.h"

namespace {

// The words of the header. Sizes and offsets are in bytes; offsets and the
// size of the body count from behind the letter.
enum Word {
  wordBody,  // all that follows the letter
  wordFlags,
  wordSlotCount,
  wordCapacity,
  wordCount,
  wordRecSize,  // 0: the data word of a slot is data, not an offset
  wordSlotsAt,
  wordSlotsSize,
  wordKeysAt,
  wordKeysSize,
  wordRecordsAt,
  wordRecordsSize,
  kWords
};

// The words of a slot: home, length, key offset, data.
const uint32_t kSlotBytes = 16;
const uint32_t kHeaderBytes = 4 * kWords;
const uint32_t kStoreStep = 4096;

uint32_t WordAt(const unsigned char* p, bool swapped) {
  return swapped ? Big32(p) : Little32(p);
}

void PutWord(unsigned char* p, uint32_t word, bool swapped) {
  if (swapped)
    PutBig32(p, word);
  else
    PutLittle32(p, word);
}

// An image that has passed the checks of its header.
struct Image {
  uint32_t words[kWords];
  const unsigned char* body;
  bool swapped;

  // A part of no bytes may claim any offset.
  TBLOCK part(Word offset, Word size) const {
    return words[size] ? TBLOCK(body + words[offset], words[size]) : TBLOCK();
  }
};

// Whether a part lies in the body, behind the header.
bool PartFits(const Image& image, Word offset, Word size) {
  const uint64_t at = image.words[offset];
  const uint64_t n = image.words[size];
  return n == 0 || (at >= kHeaderBytes && at + n <= image.words[wordBody]);
}

bool ReadHeader(TBLOCK buffer, Image& image) {
  if (buffer.empty() || buffer.length < 1 + kHeaderBytes) return false;
  if (buffer[0] != 'H' && buffer[0] != 'N') return false;
  image.swapped = buffer[0] == 'N';
  image.body = buffer.pointer + 1;
  for (int i = 0; i < kWords; i++)
    image.words[i] = WordAt(image.body + 4 * i, image.swapped);

  const uint32_t* const w = image.words;
  const uint64_t slotBytes = uint64_t{w[wordSlotCount]} * kSlotBytes;
  if (w[wordBody] > buffer.length - 1 || w[wordSlotsSize] != slotBytes ||
      slotBytes + w[wordKeysSize] + w[wordRecordsSize] + kHeaderBytes !=
          w[wordBody] ||
      w[wordRecSize] > kMaxBlockBytes)
    return false;
  // A table that never had an entry has no slots at all.
  if (w[wordSlotCount] == 0 ? w[wordCapacity] != 0
                            : w[wordCapacity] >= w[wordSlotCount])
    return false;
  return PartFits(image, wordSlotsAt, wordSlotsSize) &&
         PartFits(image, wordKeysAt, wordKeysSize) &&
         PartFits(image, wordRecordsAt, wordRecordsSize);
}

// Reads slot `index`, given the places of the keys and the records. False when
// it is none that a table could have.
bool ReadSlot(const Image& image, int32_t index, TBLOCK keys, TBLOCK records,
              HASHKEY& slot) {
  const unsigned char* const p = image.body + image.words[wordSlotsAt] +
                                 static_cast<uint32_t>(index) * kSlotBytes;
  slot = HASHKEY{static_cast<int32_t>(WordAt(p, image.swapped)),
                 WordAt(p + 4, image.swapped), nullptr, nullptr};
  if (slot.home == kHashFree || slot.home == kHashDeleted) {
    slot.length = 0;
    return true;
  }
  const uint32_t key = WordAt(p + 8, image.swapped);
  const uint32_t data = WordAt(p + 12, image.swapped);
  const uint32_t recordSize = image.words[wordRecSize];
  if (slot.home != index || slot.length == 0 ||
      uint64_t{key} + slot.length > keys.length)
    return false;
  slot.key = keys.pointer + key;
  if (recordSize == 0) {
    slot.data = reinterpret_cast<void*>(uintptr_t{data});
    return true;
  }
  if (uint64_t{data} + recordSize > records.length) return false;
  slot.data = records.pointer + data;
  return true;
}

// Reads all slots. False when one is impossible or their number is not that of
// the header. `longest` gets the length of the longest key, `deleted` the
// number of slots that are marked so.
bool ReadSlots(const Image& image, TBLOCK keys, TBLOCK records, HASHKEY* slots,
               uint32_t& longest, int32_t& deleted) {
  uint32_t entries = 0;
  for (uint32_t i = 0; i < image.words[wordSlotCount]; i++) {
    HASHKEY& slot = slots[i];
    if (!ReadSlot(image, static_cast<int32_t>(i), keys, records, slot))
      return false;
    entries += slot.home >= 0;
    deleted += slot.home == kHashDeleted;
    if (slot.length > longest) longest = slot.length;
  }
  return entries == image.words[wordCount];
}

// Writes entries behind each other into the parts of an image.
class EntryWriter {
 public:
  EntryWriter(unsigned char* body, const uint32_t* words, bool swapped)
      : slot_(body + words[wordSlotsAt]),
        keys_(body + words[wordKeysAt]),
        records_(body + words[wordRecordsAt]),
        recordSize_(words[wordRecSize]),
        swapped_(swapped),
        key_(0),
        record_(0) {}

  void add(const HASHKEY& entry) {
    memset(slot_, 0, kSlotBytes);
    PutWord(slot_, static_cast<uint32_t>(entry.home), swapped_);
    if (entry.home >= 0) addKey(entry);
    slot_ += kSlotBytes;
  }

 private:
  void addKey(const HASHKEY& entry) {
    const uintptr_t data = reinterpret_cast<uintptr_t>(entry.data);
    assert(recordSize_ || data <= UINT32_MAX);  // a pointer cannot be saved
    PutWord(slot_ + 4, entry.length, swapped_);
    PutWord(slot_ + 8, key_, swapped_);
    PutWord(slot_ + 12, recordSize_ ? record_ : static_cast<uint32_t>(data),
            swapped_);
    memcpy(keys_ + key_, entry.key, entry.length);
    key_ += entry.length;
    if (!recordSize_) return;
    memset(records_ + record_, 0, recordSize_);
    if (entry.data) memcpy(records_ + record_, entry.data, recordSize_);
    record_ += recordSize_;
  }

  unsigned char* slot_;
  unsigned char* keys_;
  unsigned char* records_;
  uint32_t recordSize_;
  bool swapped_;
  uint32_t key_;  // offsets of what comes next
  uint32_t record_;
};

}  // namespace

// ---- Writing

BLOCK* HASHTAB::save4File(int32_t recBytes, int32_t swapped) {
  const uint64_t recordSize =
      recBytes > 0 ? static_cast<uint64_t>(recBytes) : 0;
  const uint64_t slotBytes = static_cast<uint64_t>(slotCount) * kSlotBytes;
  const uint64_t recordBytes = recordSize * static_cast<uint64_t>(count);
  uint64_t keyBytes = 0;
  for (int32_t i = first(); i >= 0; next(i)) keyBytes += slots[i].length;
  const uint64_t keysAt = kHeaderBytes + slotBytes;
  const uint64_t recordsAt = keysAt + keyBytes;
  const uint64_t body = recordsAt + recordBytes;
  if (body >= kMaxBlockBytes) return nullptr;

  const uint32_t size = static_cast<uint32_t>(body) + 1;
  BLOCK* const image = new (std::nothrow) BLOCK(size, kStoreStep);
  if (!image || image->capacity < size) {
    delete image;
    return nullptr;
  }
  const uint64_t values[kWords] = {body,
                                   static_cast<uint32_t>(flags & ~hashFixed),
                                   static_cast<uint32_t>(slotCount),
                                   static_cast<uint32_t>(capacity),
                                   static_cast<uint32_t>(count),
                                   recordSize,
                                   kHeaderBytes,
                                   slotBytes,
                                   keysAt,
                                   keyBytes,
                                   recordsAt,
                                   recordBytes};
  image->length = size;
  image->data[0] = swapped ? 'N' : 'H';
  uint32_t words[kWords];
  for (int i = 0; i < kWords; i++) {
    words[i] = static_cast<uint32_t>(values[i]);
    PutWord(image->data + 1 + 4 * i, words[i], swapped != 0);
  }
  EntryWriter writer(image->data + 1, words, swapped != 0);
  for (int32_t i = 0; i < slotCount; i++) writer.add(slots[i]);
  if (swapped && recordBytes)
    dataConvert(image->data + 1 + recordsAt, static_cast<int32_t>(recordBytes),
                1);
  return image;
}

int HASHFILE::saveToFile(const char* path) {
  BLOCK* const image = save4File(recSize, 0);
  const int saved = image ? image->saveTo(path, 0) : 0;
  delete image;
  return saved;
}

// ---- Reading

int HASHFILE::loadFromFile(const char* path) {
  BLOCK file(0, kStoreStep);
  const int read = file.loadFrom(path, 0, 0);
  return load(read ? file.view() : TBLOCK(), true).pointer != nullptr;
}

// Slots are always copied, keys and records if asked for; records in the other
// byte order as well, since their words have to be turned.
TBLOCK HASHFILE::load(TBLOCK buffer, bool copy) {
  clear();
  dropSlots();
  Image image;
  if (!ReadHeader(buffer, image)) return TBLOCK();
  if (ownRecSize &&
      image.words[wordRecSize] != static_cast<uint32_t>(ownRecSize))
    return TBLOCK();
  TBLOCK keyPart = image.part(wordKeysAt, wordKeysSize);
  TBLOCK recordPart = image.part(wordRecordsAt, wordRecordsSize);
  const bool copyRecords = copy || image.swapped || ownRecSize;
  if ((copy && !keys.add(keyPart)) ||
      (copyRecords && !records.add(recordPart))) {
    clear();
    return TBLOCK();
  }
  if (copy) keyPart = keys.view();
  if (copyRecords) recordPart = records.view();

  const int32_t n = static_cast<int32_t>(image.words[wordSlotCount]);
  slots = n ? allocKeys(n) : nullptr;
  if ((n && !slots) ||
      !ReadSlots(image, keyPart, recordPart, slots, longestKey, deleted)) {
    clear();
    dropSlots();
    return TBLOCK();
  }
  slotCount = n;
  capacity = static_cast<int32_t>(image.words[wordCapacity]);
  count = static_cast<int32_t>(image.words[wordCount]);
  flags = static_cast<int32_t>(image.words[wordFlags]) & ~hashFixed;
  recSize = static_cast<int32_t>(image.words[wordRecSize]);
  // Not worked out: searches of a table that was made well end at free slots.
  reach = slotCount;
  if (image.swapped && recordPart.length)
    dataConvert(records.data, static_cast<int32_t>(records.length), 0);
  return buffer.from(1 + image.words[wordBody]);
}

// ---- Keys and records

HASHFILE::HASHFILE(int32_t initial, int32_t mode)
    : HASHTAB(initial, mode),
      keys(0, kStoreStep),
      records(0, kStoreStep),
      ownRecSize(0) {}

void HASHFILE::clear() {
  HASHTAB::clear();
  keys.empty();
  records.empty();
}

int HASHFILE::setRecSize(int32_t n) {
  if (count != 0 || n < 0 || (ownRecSize && n != ownRecSize)) return 0;
  recSize = n;
  return 1;
}

int32_t HASHFILE::insert(TBLOCK key) {
  void* record = nullptr;
  return insertData(key, record);
}

int32_t HASHFILE::insertData(TBLOCK key, void*& record) {
  const int32_t slot = HASHTAB::insert(key, nullptr);
  if (key.empty() || slot < 0) return slot;
  const uint32_t size = static_cast<uint32_t>(recSize);
  if (!append(keys, key.pointer, key.length) ||
      (size && !append(records, nullptr, size))) {
    deleteEntry(slot);
    return -1;
  }
  slots[slot].key = keys.data + keys.length - key.length;
  slots[slot].data = size ? records.data + records.length - size : nullptr;
  record = slots[slot].data;
  return slot;
}

// Appends n bytes, zeros for a null pointer. A store that moves takes along
// what points into it; stores grow by half their size, so that this is rare.
bool HASHFILE::append(BLOCK& store, const void* bytes, uint32_t n) {
  const uintptr_t old = reinterpret_cast<uintptr_t>(store.data);
  const uint32_t used = store.length;
  if (bytes) {
    if (!store.add(bytes, n)) return false;
  } else {
    const uint32_t spare = used / 2 > kStoreStep ? used / 2 : kStoreStep;
    if (n > store.capacity - used && !store.addSpace(n + spare) &&
        !store.addSpace(n))
      return false;
    memset(store.data + used, 0, n);
    store.length = used + n;
  }
  if (used && old != reinterpret_cast<uintptr_t>(store.data))
    rebase(old, used, store);
  return true;
}

// Pointers elsewhere, as to the buffer of loadFromConstBuf, stay.
void HASHFILE::rebase(uintptr_t old, uint32_t used, const BLOCK& store) {
  for (int32_t i = first(); i >= 0; next(i)) {
    const uintptr_t key = reinterpret_cast<uintptr_t>(slots[i].key) - old;
    const uintptr_t data = reinterpret_cast<uintptr_t>(slots[i].data) - old;
    if (&store == &keys && key < used) slots[i].key = keys.data + key;
    if (&store == &records && data < used) slots[i].data = records.data + data;
  }
}
