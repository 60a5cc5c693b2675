// STRVECT, TBLOCKVECT and INTVECT: vectors whose elements stand in a BLOCK.
//
// Reads out of range give null, the empty view or 0; writes out of range are
// ignored. An element that cannot be stored for lack of memory is lost, and
// the vector stays sound. `length`, `capacity` and `step` of the block count
// bytes; count() counts elements.

#ifndef BASE_VECTORS_H_
#define BASE_VECTORS_H_

#include <stdint.h>
#include <string.h>

#include "base/block.h"
#include "base/str.h"

// Owns its strings.
class STRVECT : public BLOCK {
 public:
  STRVECT(uint32_t initial, uint32_t growth) : BLOCK(initial, growth) {}
  ~STRVECT() override;

  int32_t count() const;
  // The string itself, owned by the vector; null out of range.
  STR* at(int32_t i) const;
  // Its text; null out of range.
  const char* text(int32_t i) const;
  // Appends a copy of the text. 1, or 0, also for null.
  int add(const char* text);
  int add(TBLOCK text);
  // Inserts a copy ahead of element i; i at the count appends. 1, or 0.
  int ins(const char* text, int32_t i);
  // Inserts in its place by CompareNoCase; a text that is already there is
  // dropped. REQUIRES: the vector is in that order. 1 when inserted.
  int insSorted(const char* text);
  // Deletes element i. 1, or 0 out of range.
  int del(int32_t i);
  // Deletes all strings and keeps the buffer.
  void clear();
};

// Owns the array of views and nothing that they point at.
class TBLOCKVECT : public BLOCK {
 public:
  static const uint32_t kStep = 128000;  // bytes, growth and default capacity
  // A growth for lists that mostly hold few members.
  static const uint32_t kSmallStep = 512;
  // Members from which on addUnique keeps hashes instead of walking.
  static const int32_t kHashFrom = 64;

  unsigned char separator;  // "/"
  TBLOCK separatorView;     // of that byte
  int32_t maxCount;         // 0: no limit

  // Reserves kStep bytes: for the few vectors that grow to thousands.
  TBLOCKVECT();
  // Reserves room for n elements.
  explicit TBLOCKVECT(int32_t n);
  // The lines of a text, those that are not empty. A line ends at CR LF, LF CR
  // or LF; a lone CR stays inside.
  TBLOCKVECT(TBLOCK text, int trim);
  ~TBLOCKVECT() override;

  int32_t count() const {
    return static_cast<int32_t>(length / sizeof(TBLOCK));
  }
  // Empty out of range.
  TBLOCK get(int32_t i) const {
    TBLOCK value;
    if (static_cast<uint32_t>(i) < length / sizeof value)
      memcpy(&value, data + static_cast<uint32_t>(i) * sizeof value,
             sizeof value);
    return value;
  }
  // Appends; with `trim` without the white space on both sides. An empty value
  // needs `allowEmpty`; at the limit the value is dropped. 1 when appended.
  int add(TBLOCK value, int allowEmpty, int trim);
  // The same, but drops a value that is already there (equal through
  // LowerConvTable). The cost is constant on average: past kHashFrom members
  // a side table of hashes is kept, for which the text of the members must
  // stay as it is.
  int addUnique(TBLOCK value, int allowEmpty, int trim);
  int del(int32_t i);
  // Sets the limit and deletes from the end down to it: 0 deletes all members
  // and leaves no limit.
  void setMaxCount(int32_t n);
  // Inserts ahead of element i, as it is and whatever the limit; at or past
  // the count it is add(value, 0, 1). 1, or 0.
  int ins(TBLOCK value, int32_t i);
  int set(TBLOCK value, int32_t i);
  void clear();

  // How many members match the pattern, both without the white space around
  // them: see MatchWildcard, with a star in the middle allowed to overlap.
  int patternCount(TBLOCK pattern) const;
  int patternStrCount(const char* pattern) const;

  // Empties, then adds the pieces between `sep`, empty ones left out.
  void fillFromBigBlock(TBLOCK text, char sep, int trim);
  // Appends a copy of each member.
  void fillStringList(STRVECT& strings) const;
  // Empties, then adds a view of each text, trimmed. The strings must outlive
  // the vector.
  void loadFromStrings(const STRVECT& strings);

 protected:
  // The hashes would not see these: elements come and go as elements only.
  using BLOCK::empty;
  using BLOCK::loadFrom;
  using BLOCK::remove;
  using BLOCK::removeEnd;
  using BLOCK::reset;
  using BLOCK::shiftLeft;

 private:
  bool contains(TBLOCK value);
  bool extendHash();
  void dropHash();
  uint32_t* slotOf(TBLOCK value) const;

  // Open addressing: element index + 1 by the hash of its folded bytes, 0 for
  // a free slot; of equal elements only the first. Covers the first `hashed`
  // elements; owned, null when not kept.
  uint32_t* slots;
  uint32_t slotCount;  // a power of two
  uint32_t seed;       // of the hashes
  int32_t hashed;
};

class INTVECTGURU {
 public:
  virtual ~INTVECTGURU() {}
  // Below 0, 0 or above 0; the base gives the difference, or the nearest int.
  virtual int compare(int a, int b);
};

class INTVECT : public BLOCK {
 public:
  INTVECT(uint32_t initial, uint32_t growth) : BLOCK(initial, growth) {}

  int32_t count() const;
  int32_t get(int32_t i) const;
  void set(int32_t value, int32_t i);
  int add(int32_t value);
  // Inserts ahead of element i, 0 to count. 1, or 0.
  int ins(int32_t value, int32_t i);
  int del(int32_t i);
  // Sorts the elements lo to hi, both included, by the guru; never quadratic
  // and never deep, whatever the data. Ties may change places.
  void _sort(int lo, int hi, INTVECTGURU* guru);
};

#endif  // BASE_VECTORS_H_
