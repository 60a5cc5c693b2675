// The growable byte array, its files, and the conversions that give a new
// block. Tested by block_test.cc.

#include "base/block.h"

#include <stdio.h>
#include <sys/stat.h>

#include <new>

namespace {

const char _Tab64[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Value of a base64 character, -1 for any other byte. (The table of TBLOCK
// takes a byte's low seven bits, which is not wanted here.)
int _Index64(unsigned char c) {
  const unsigned char value = TBLOCK::Base64Value(c);
  return c >= 0x80 || value == 0xFF ? -1 : value;
}

// Opens a regular file; null for anything else. stat comes first, so that a
// pipe is never opened, which might block.
FILE* OpenRegular(const char* path) {
  struct stat info;
  if (!path || stat(path, &info) != 0 || !S_ISREG(info.st_mode)) return nullptr;
  return fopen(path, "rb");
}

// What a block grows by beyond the shortfall: its step, or half of what it has
// when that is more, which keeps appending in small pieces linear.
uint32_t GrowthOf(uint32_t step, uint32_t capacity) {
  const uint32_t half = capacity / 2;
  return capacity > BLOCK::_DEFALLOCSIZE && half > step ? half : step;
}

// A new block with `room` bytes reserved; null when that failed.
BLOCK* NewBlock(uint64_t room) {
  if (room > kMaxBlockBytes) return nullptr;
  BLOCK* block = new (std::nothrow)
      BLOCK(static_cast<uint32_t>(room), BLOCK::_DEFALLOCSIZE);
  if (block && block->data) return block;
  delete block;
  return nullptr;
}

}  // namespace

const uint32_t BLOCK::_DEFALLOCSIZE;

BLOCK::BLOCK(uint32_t initial, uint32_t growth)
    : step(growth), data(nullptr), capacity(0), length(0), uuCursor(0) {
  uuLine[0] = 0;
  if (initial) addSpace(initial);
}

BLOCK::BLOCK(const char* path) : BLOCK(0, _DEFALLOCSIZE) {
  uint32_t size = 0;
  if (!IsFile(path, size))
    addSpace(_DEFALLOCSIZE);
  else if (size > 0 && addSpace(size))
    loadFrom(path, size, 0);
}

BLOCK::~BLOCK() {
  delete[] data;
}

void BLOCK::reset() {
  delete[] data;
  data = nullptr;
  capacity = length = 0;
}

int BLOCK::addSpace(uint32_t n) {
  const uint64_t wanted = static_cast<uint64_t>(capacity) + n;
  if (wanted > kMaxBlockBytes) return 0;
  unsigned char* fresh = new (std::nothrow) unsigned char[wanted];
  if (!fresh) return 0;
  if (length) memcpy(fresh, data, length);
  delete[] data;
  data = fresh;
  capacity = static_cast<uint32_t>(wanted);
  return 1;
}

int BLOCK::add(const void* bytes, uint32_t n) {
  return add(length, bytes, n);
}

// Opens a gap and fills it. Bytes that lie in the block itself are copied out
// first: the gap moves them, and growing frees them.
int BLOCK::add(uint32_t position, const void* bytes, uint32_t n) {
  if (position > length || (!bytes && n)) return 0;
  if (n == 0) return 1;
  if (length > kMaxBlockBytes || n > kMaxBlockBytes - length) return 0;
  const unsigned char* source = static_cast<const unsigned char*>(bytes);
  unsigned char* copy = nullptr;
  const uintptr_t at = reinterpret_cast<uintptr_t>(source);
  const uintptr_t own = reinterpret_cast<uintptr_t>(data);
  if (data && at < own + capacity && own < at + n) {
    copy = new (std::nothrow) unsigned char[n];
    if (!copy) return 0;
    memcpy(copy, source, n);
    source = copy;
  }
  const int ok = n <= capacity - length || grow(n - (capacity - length));
  if (ok) {
    if (position < length)
      memmove(data + position + n, data + position, length - position);
    memcpy(data + position, source, n);
    length += n;
  }
  delete[] copy;
  return ok;
}

int BLOCK::grow(uint32_t shortfall) {
  const uint64_t n =
      static_cast<uint64_t>(shortfall) + GrowthOf(step, capacity);
  if (n <= kMaxBlockBytes && addSpace(static_cast<uint32_t>(n))) return 1;
  return addSpace(shortfall);
}

int BLOCK::remove(uint32_t position, uint32_t n) {
  if (n > length || position > length - n) return 0;
  if (n) memmove(data + position, data + position + n, length - position - n);
  length -= n;
  return 1;
}

void BLOCK::shiftLeft(uint32_t n) {
  remove(0, n < length ? n : length);
}

void BLOCK::removeEnd(uint32_t n) {
  if (n <= length) length -= n;
}

int BLOCK::has(const void* bytes, uint32_t n, uint32_t& position, uint32_t from,
               short /*unused*/) const {
  if (!bytes || n == 0 || n > length || from > length - n) return 0;
  const int32_t at = view().find(TBLOCK(bytes, n), from, TBLOCK::NoConvTable);
  if (at < 0) return 0;
  position = static_cast<uint32_t>(at);
  return 1;
}

int BLOCK::endsBy(const void* bytes, uint32_t n, short /*unused*/) const {
  return bytes && n && view().ends(TBLOCK(bytes, n), TBLOCK::NoConvTable);
}

int BLOCK::IsFile(const char* path, uint32_t& size) {
  FILE* file = OpenRegular(path);
  if (!file) return 0;
  off_t end = -1;
  if (fseeko(file, 0, SEEK_END) == 0) end = ftello(file);
  fclose(file);
  if (end < 0 || end > static_cast<off_t>(kMaxBlockBytes)) return 0;
  size = static_cast<uint32_t>(end);
  return 1;
}

int BLOCK::loadFrom(const char* path, uint32_t size, int append) {
  if (size == 0 && (!IsFile(path, size) || size == 0)) return 0;
  if (!append) empty();
  if (size > kMaxBlockBytes) return 0;
  FILE* file = OpenRegular(path);
  if (!file) return 0;
  unsigned char* buffer = new (std::nothrow) unsigned char[size];
  int ok = 0;
  if (buffer) {
    const size_t n = fread(buffer, 1, size, file);
    ok = !ferror(file) && add(buffer, static_cast<uint32_t>(n));
  }
  delete[] buffer;
  fclose(file);
  return ok;
}

int BLOCK::saveTo(const char* path, int append) const {
  FILE* file = path ? fopen(path, append ? "ab" : "wb") : nullptr;
  if (!file) return 0;
  const bool written = length == 0 || fwrite(data, 1, length, file) == length;
  return fclose(file) == 0 && written;
}

BLOCK* BLOCK::encode64() const {
  BLOCK* out = NewBlock(static_cast<uint64_t>(length) * 4 / 3 + 4);
  if (!out) return nullptr;
  unsigned char* p = out->data;
  for (uint32_t i = 0; i < length; i += 3) {
    const uint32_t n = length - i < 3 ? length - i : 3;
    const uint32_t group =
        static_cast<uint32_t>(data[i]) << 16 |
        (n > 1 ? static_cast<uint32_t>(data[i + 1]) << 8 : 0) |
        (n > 2 ? data[i + 2] : 0u);
    *p++ = static_cast<unsigned char>(_Tab64[group >> 18]);
    *p++ = static_cast<unsigned char>(_Tab64[group >> 12 & 63]);
    *p++ = n > 1 ? static_cast<unsigned char>(_Tab64[group >> 6 & 63]) : '=';
    *p++ = n > 2 ? static_cast<unsigned char>(_Tab64[group & 63]) : '=';
  }
  out->length = static_cast<uint32_t>(p - out->data);
  return out;
}

BLOCK* BLOCK::decode64() const {
  BLOCK* out = NewBlock(static_cast<uint64_t>(length) * 3 / 4 + 3);
  if (!out) return nullptr;
  unsigned char* p = out->data;
  uint32_t group = 0;
  uint32_t values = 0;
  for (uint32_t i = 0; i < length; i++) {
    const int value = _Index64(data[i]);
    if (value < 0) continue;
    group = group << 6 | static_cast<uint32_t>(value);
    if (++values < 4) continue;
    *p++ = static_cast<unsigned char>(group >> 16);
    *p++ = static_cast<unsigned char>(group >> 8);
    *p++ = static_cast<unsigned char>(group);
    group = values = 0;
  }
  // A rest of n values gives n bytes, on purpose: one more than the standard.
  if (values > 0) {
    group <<= 6 * (4 - values);
    for (uint32_t n = 0; n < values; n++)
      *p++ = static_cast<unsigned char>(group >> (16 - 8 * n));
  }
  out->length = static_cast<uint32_t>(p - out->data);
  return out;
}

// ---- uuencode

namespace {

// Bytes that a uuencoded line may hold.
const int kMaxUuBytes = 45;

unsigned char UuValue(unsigned char c) {
  return (c - 32) & 63;
}

// Decodes the characters that really stand in the line, whatever it claims;
// returns the number of bytes, at most kMaxUuBytes. `line` ends in a NUL.
uint32_t DecodeUuLine(const unsigned char* line, unsigned char* out) {
  if (line[0] == 0 || line[0] >= 0x61) return 0;
  const int bytes = UuValue(line[0]);
  if (bytes < 1 || bytes > kMaxUuBytes) return 0;
  const int rest = bytes % 3;
  const int characters = bytes / 3 * 4 + (rest ? rest + 1 : 0);
  uint32_t written = 0;
  uint32_t group = 0;
  int in = 0;
  while (in < characters && line[1 + in] != 0) {
    group = group << 6 | UuValue(line[1 + in]);
    in++;
    // The second, third and fourth of a group each complete a byte.
    const int place = in % 4;
    if (place == 2) out[written++] = static_cast<unsigned char>(group >> 4);
    if (place == 3) out[written++] = static_cast<unsigned char>(group >> 2);
    if (place == 0) out[written++] = static_cast<unsigned char>(group);
  }
  return written;
}

bool HasWordNearStart(const unsigned char* line, const char* word) {
  const size_t n = strlen(word);
  const char* text = reinterpret_cast<const char*>(line);
  return strncmp(text, word, n) == 0 ||
         (*text && strncmp(text + 1, word, n) == 0);
}

}  // namespace

// Copies the next line to uuLine and returns its number of characters: 0 for
// an empty line and at the end. Only CR LF and LF CR end a line; a line of 131
// characters ends there, and what follows is the next one.
uint32_t BLOCK::_uuNextLine() {
  uint32_t n = 0;
  while (uuCursor < length && n < sizeof uuLine - 1) {
    const unsigned char c = data[uuCursor];
    const unsigned char next = uuCursor + 1 < length ? data[uuCursor + 1] : 0;
    if ((c == '\r' && next == '\n') || (c == '\n' && next == '\r')) {
      uuCursor += 2;
      break;
    }
    uuLine[n++] = c;
    uuCursor++;
  }
  uuLine[n] = 0;
  return n;
}

BLOCK* BLOCK::uudecode() {
  if (!data || length == 0) return nullptr;
  BLOCK* out = NewBlock(static_cast<uint64_t>(length) * 3 / 4 + 4);
  if (!out) return nullptr;
  uuCursor = 0;
  bool begun = false;
  while (!begun && _uuNextLine() > 0)
    begun = HasWordNearStart(uuLine, "begin ");
  if (!begun) {
    delete out;
    return nullptr;
  }
  unsigned char bytes[kMaxUuBytes];
  while (_uuNextLine() > 0 && !HasWordNearStart(uuLine, "end"))
    out->add(bytes, DecodeUuLine(uuLine, bytes));
  return out;
}
