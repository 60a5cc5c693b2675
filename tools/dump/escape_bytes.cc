// Bytes of a message as one line of ASCII.

#include <cstdio>

#include "dump/dump.h"

std::string EscapeBytes(TBLOCK text) {
  std::string out;
  for (uint32_t i = 0; !text.empty() && i < text.length; i++) {
    const unsigned char byte = text[i];
    if (byte == '\\') {
      out += "\\\\";
    } else if (byte >= 0x20 && byte < 0x7F) {
      out += static_cast<char>(byte);
    } else {
      char hex[5];
      snprintf(hex, sizeof hex, "\\x%02X", static_cast<unsigned>(byte));
      out += hex;
    }
  }
  return out;
}
