// BLOCK: an owned, growable array of bytes.
//
// The buffer is created and freed as an array; growing copies. Nothing throws:
// an allocation that fails is reported by a result of 0 or null and leaves the
// block as it was. No block grows past kMaxBlockBytes. Classes that keep an
// array of machine words in the bytes (STRVECT, TBLOCKVECT, INTVECT) derive
// from it.
//
// A source pointer handed to an operation may point into the block itself.

#ifndef BASE_BLOCK_H_
#define BASE_BLOCK_H_

#include <stdint.h>

#include "base/tblock.h"

// Sizes are 32-bit; a request above this is refused as an allocation failure.
const uint32_t kMaxBlockBytes = 0x7FFFFFFF;

class BLOCK {
 public:
  // Growth step wherever there is no better figure.
  static const uint32_t _DEFALLOCSIZE = 32000;

  uint32_t step;        // bytes requested on top of the shortfall when growing;
                        // a large block requests half its size if that is more
  unsigned char* data;  // owned; null while nothing was allocated
  uint32_t capacity;    // bytes allocated
  uint32_t length;      // bytes in use, <= capacity
  uint32_t uuCursor;    // read position of _uuNextLine
  unsigned char uuLine[132];  // current line of _uuNextLine, NUL-terminated

  // Reserves `initial` bytes when it is not 0.
  BLOCK(uint32_t initial, uint32_t growth);
  // Reads a whole regular file into exactly its size, with step
  // _DEFALLOCSIZE. What is no file that can be read gives an empty block with
  // _DEFALLOCSIZE bytes reserved.
  explicit BLOCK(const char* path);
  virtual ~BLOCK();
  BLOCK(const BLOCK&) = delete;
  BLOCK& operator=(const BLOCK&) = delete;

  TBLOCK view() const { return TBLOCK(data, length); }

  // Frees the buffer; the step stays.
  void reset();
  // Sets the length to 0 and keeps the buffer.
  void empty() { length = 0; }
  // Raises the capacity by n. 1, or 0 when that failed.
  int addSpace(uint32_t n);
  // Appends n bytes. 1, or 0 when the allocation failed.
  int add(const void* bytes, uint32_t n);
  int add(TBLOCK text) { return add(text.pointer, text.length); }
  int add(const char* text) { return add(TBLOCK(text)); }
  // Inserts n bytes at a position, moving the tail up. 0 also when the
  // position is beyond the length.
  int add(uint32_t position, const void* bytes, uint32_t n);
  // Removes n bytes. 0, with nothing changed, when the range passes the end.
  int remove(uint32_t position, uint32_t n);
  // Drops the first n bytes, or all of them.
  void shiftLeft(uint32_t n);
  // Shortens by n when n is at most the length; otherwise does nothing.
  void removeEnd(uint32_t n);

  // Plain forward search from byte `from`; stores the position and returns 1.
  // Returns 0, with `position` unchanged, when absent, for null bytes, for n
  // of 0, or when from + n passes the end. The last argument is ignored.
  int has(const void* bytes, uint32_t n, uint32_t& position, uint32_t from,
          short unused) const;
  // 1 when the last n bytes equal `bytes`; 0 for null bytes or n of 0. The
  // last argument is ignored.
  int endsBy(const void* bytes, uint32_t n, short unused) const;

  // Size of a regular file that can be opened for reading. 1 with `size` set,
  // or 0 with `size` unchanged: directories and devices count as not there.
  static int IsFile(const char* path, uint32_t& size);
  // Reads up to `size` bytes of a regular file; 0 means all of it, and then a
  // file that is empty or cannot be measured gives 0, with nothing changed.
  // Without `append` the block is emptied before the file is opened. 1, or 0
  // when the file or the memory cannot be had.
  int loadFrom(const char* path, uint32_t size, int append);
  // Writes the bytes in use, creating or appending. 1 when all were written.
  int saveTo(const char* path, int append) const;

  // These three return a new block, owned by the caller (delete), or null.

  // Standard base64 with "=" padding and without line breaks.
  BLOCK* encode64() const;
  // Skips every character outside the alphabet. A rest at the end is kept, on
  // purpose: 1 value gives 1 byte, 2 give 2, 3 give 3, so "TQ==" decodes to
  // two bytes. TBLOCK::BlockUnbase64 treats the rest differently.
  BLOCK* decode64() const;
  // The first uuencoded file in the bytes; null when there is no "begin "
  // line. Lines end at CR LF or LF CR; text with bare LF is read in pieces of
  // 131 bytes. A line yields what its characters hold, whatever it claims.
  BLOCK* uudecode();

 private:
  int grow(uint32_t shortfall);
  uint32_t _uuNextLine();
};

#endif  // BASE_BLOCK_H_
