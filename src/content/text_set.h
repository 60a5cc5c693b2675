// TEXTSET: texts of a body, each once, byte for byte. Made for lookups by the
// ten thousand: HASHTAB reads a text byte by byte, and the order of its slots
// is part of its files; this one has neither to keep.
//
// Owns no text: the views must stay as they are until clear.

#ifndef CONTENT_TEXT_SET_H_
#define CONTENT_TEXT_SET_H_

#include <stdint.h>

#include "base/block.h"
#include "base/tblock.h"

class TEXTSET {
 public:
  // Takes at most so many texts, fewer than 32,768.
  explicit TEXTSET(uint32_t most);

  int32_t count() const;
  // Differs from set to set, by their addresses.
  uint32_t hashOf(TBLOCK text) const;
  // The text's number, in order of addition, or -1.
  int32_t find(TBLOCK text, uint32_t hash) const;
  // Adds a text that is not there: its number, or -1 when the set is full or
  // memory is short.
  int32_t add(TBLOCK text, uint32_t hash);
  void clear();

 private:
  uint32_t limit;
  uint32_t slotMask;
  BLOCK texts;  // views with their hashes
  BLOCK slots;  // numbers + 1, two bytes each; 0 for a free slot

  bool makeRoom();
};

#endif  // CONTENT_TEXT_SET_H_
