// Walks the bytes one UTF-8 sequence at a time; a byte that does not begin a
// well-formed one stands alone. Tested by tests/tools/cli_test.sh.

#include "printable.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

// Length of the well-formed sequence at `pos`, with its code point; 0 for none.
// Overlong forms, surrogates and values above 0x10FFFF are not well-formed.
size_t SequenceAt(const std::string& text, size_t pos, uint32_t* codePoint) {
  const uint8_t first = static_cast<uint8_t>(text[pos]);
  if (first < 0x80) {
    *codePoint = first;
    return 1;
  }
  size_t length;
  uint32_t smallest;
  if (first >= 0xC2 && first <= 0xDF) {
    length = 2;
    smallest = 0x80;
  } else if (first >= 0xE0 && first <= 0xEF) {
    length = 3;
    smallest = 0x800;
  } else if (first >= 0xF0 && first <= 0xF4) {
    length = 4;
    smallest = 0x10000;
  } else {
    return 0;
  }
  if (text.size() - pos < length) return 0;
  uint32_t value = first & (0x7Fu >> length);
  for (size_t i = 1; i < length; ++i) {
    const uint8_t next = static_cast<uint8_t>(text[pos + i]);
    if ((next & 0xC0) != 0x80) return 0;
    value = (value << 6) | (next & 0x3F);
  }
  if (value < smallest || value > 0x10FFFF) return 0;
  if (value >= 0xD800 && value <= 0xDFFF) return 0;
  *codePoint = value;
  return length;
}

bool IsControl(uint32_t codePoint) {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F);
}

std::string Convert(const std::string& bytes, bool escapeControls) {
  std::string result;
  result.reserve(bytes.size());
  for (size_t pos = 0; pos < bytes.size();) {
    uint32_t codePoint = static_cast<uint8_t>(bytes[pos]);
    const size_t length = SequenceAt(bytes, pos, &codePoint);
    if (escapeControls && IsControl(codePoint)) {
      char escape[8];
      snprintf(escape, sizeof(escape), "\\x%02X",
               static_cast<unsigned>(codePoint));
      result += escape;
    } else if (length != 0) {
      result.append(bytes, pos, length);
    } else {
      result += static_cast<char>(0xC0 | (codePoint >> 6));
      result += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
    pos += length != 0 ? length : 1;
  }
  return result;
}

}  // namespace

std::string ToUtf8(const std::string& bytes) {
  return Convert(bytes, false);
}

std::string Printable(const std::string& bytes) {
  return Convert(bytes, true);
}
