// Text of any bytes, made fit for a terminal or for JSON. Mail brings bytes in
// every encoding, and control bytes that would take a terminal over.
#ifndef QUAYMARSH_TOOLS_PRINTABLE_H_
#define QUAYMARSH_TOOLS_PRINTABLE_H_

#include <string>

// Well-formed UTF-8 stays; any other byte becomes the character whose code
// point is the byte's value. The result is well-formed UTF-8.
std::string ToUtf8(const std::string& bytes);

// The same, with control characters (below 0x20, 0x7F to 0x9F) as "\xNN".
std::string Printable(const std::string& bytes);

#endif  // QUAYMARSH_TOOLS_PRINTABLE_H_
