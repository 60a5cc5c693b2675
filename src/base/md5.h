// MD5: the digest of RFC 1321, by which the sections and entries of rule images
// are found. It keeps nobody out: two texts with one digest are easily made.

#ifndef BASE_MD5_H_
#define BASE_MD5_H_

#include <stdint.h>

#include "base/tblock.h"

class MD5 {
 public:
  static const uint32_t kDigestBytes = 16;
  static const uint32_t kBlockBytes = 64;

  uint64_t bits;                       // of the text so far
  uint32_t state[4];                   // chaining words
  unsigned char buffer[kBlockBytes];   // the bytes behind the last whole block
  unsigned char digest[kDigestBytes];  // valid when finalized is 1
  int finalized;

  // The state of an empty text.
  MD5();
  // Appends n bytes; in any pieces the digest is that of the whole. Ignored
  // for a null pointer and behind finalize.
  void add(const unsigned char* bytes, uint32_t n);
  void add(TBLOCK text) { add(text.pointer, text.length); }
  // Ends the text. Later calls change nothing.
  void finalize();
  // The 16 bytes, which live as long as this; ends the text if need be.
  const unsigned char* get();

 private:
  void transform(const unsigned char* block);
};

#endif  // BASE_MD5_H_
