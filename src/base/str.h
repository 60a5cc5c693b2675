// STR: an owned, NUL-terminated string, and STRTOKEN, which walks one by a
// separator.
//
// The length is a lazy cache: -1 means "not known", and any operation that
// needs it counts to the first NUL, also on a const string: one that threads
// share must have been counted before. Code outside may write into `text` and
// set `length` to -1. After a failed allocation the text is null with capacity
// and length 0, which reads as "" in every operation.
//
// Empty strings of capacity 1 share one NUL that nobody may write to: a scan
// makes hundreds of them, and most stay empty.
//
// Case is folded by ASCII rules, whatever the host's locale; where an order
// results, the folded bytes compare as signed chars, so 0x80-0xFF sort before
// ASCII. Pointers handed in may point into the string itself.

#ifndef BASE_STR_H_
#define BASE_STR_H_

#include <stdint.h>

#include "base/tblock.h"

// ASCII case folding, independent of the locale.
unsigned char AsciiUpper(unsigned char c);
unsigned char AsciiLower(unsigned char c);
// 09-0D and space.
bool AsciiIsSpace(unsigned char c);
// Order of two texts by AsciiUpper on signed chars: below 0, 0 or above 0. A
// null text counts as "".
int CompareNoCase(const char* a, const char* b);

class STR {
 public:
  char* text;              // owned unless capacity is 0 or it is the shared
                           // NUL; NUL-terminated while not null
  int32_t capacity;        // bytes allocated, the terminator included
  mutable int32_t length;  // characters in use; -1: count on demand

  STR();                        // empty, capacity 1
  STR(const STR& other);        // same capacity as the source
  explicit STR(const char* s);  // capacity strlen + 1; null: as STR()
  explicit STR(int32_t n);      // empty, room for n characters
  ~STR();

  STR& operator=(const STR& other);
  STR& operator=(const char* s);  // null gives the empty string
  STR& operator=(char c);
  // The bytes of a view; a NUL among them ends what operations see of it.
  STR& operator=(TBLOCK view);

  // Becomes empty, with room for n characters at least. For texts that are put
  // together of pieces: the first piece would else ask for 32 kilobytes.
  void renew(int32_t n);

  // Never null.
  const char* c_str() const { return text ? text : ""; }
  int32_t len() const;
  bool empty() const { return len() == 0; }
  // Valid until the next operation that changes the string.
  TBLOCK view() const { return TBLOCK(text, static_cast<uint32_t>(len())); }

  // Appends n bytes; nothing for a null p. When length + n reaches the capacity
  // that grows by the larger of n and 32768.
  void add(const char* p, int32_t n);
  STR& operator+=(char c) {
    if (length < 0 || length >= capacity - 1) return grow(c);
    text[length++] = c;
    text[length] = 0;
    return *this;
  }
  STR& operator+=(const char* s);
  STR& operator+=(const STR& other);
  STR& operator+=(TBLOCK view);
  // Appends the number in decimal.
  STR& operator+=(int32_t number);
  // Stores the texts one behind the other, or all of it fails: 1, or 0 with an
  // empty string when memory is short. An append that fails leaves "" behind,
  // to which the next one adds: not for paths and patterns.
  int join(const char* const* parts, int32_t count);
  // Like add, in front.
  void addLeft(const char* p, int32_t n);

  // Equal without regard to case. Null is equal to nothing.
  int streq(const char* s) const;
  // First index at or behind `from` at which s stands, or -1. An empty s is
  // found at `from` while that is at most the length.
  int32_t hasin(const char* s, int32_t from, int nocase) const;
  // The same for one character; NUL is found at the terminator.
  int32_t hasin(char c, int32_t from, int nocase) const;
  void noFrontSpace();
  void noTrailSpace();
  // Kept for its users; NOT an ordering, never sort by it: two equal texts
  // are "less" than each other, and "" is less than anything. Use
  // CompareNoCase for an order.
  bool operator<(const char* s) const;
  void toUpper();
  void toLower();
  void reverse();

 private:
  void release();
  void assign(const char* p, int32_t n, int32_t newCapacity);
  void insert(const char* p, int32_t n, int32_t at);
  STR& grow(char c);
};

// Walks the tokens of a text. One separator at the very start is skipped; two
// in a row give an empty token; one at the very end gives none ("a," is "a").
// An empty or null separator makes the whole text one token.
class STRTOKEN {
 public:
  STR text;
  STR separator;
  STR token;         // the current one
  int32_t position;  // where the next token begins
  int32_t count;     // number of tokens

  STRTOKEN(const char* text, const char* separator);
  // Back to the first token.
  void init();
  // The next token, valid until the next call; null at the end.
  const char* next();
};

#endif  // BASE_STR_H_
