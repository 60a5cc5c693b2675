// What was seen of a character set, as one line of ASCII:
//
//   utf-8 3/0 control=1 letter=20 cyrillic=3 marks=2
//
// The name, or "-" without one; family and index; each zone that was seen; the
// marks that were replaced, if there were any.

#include "dump/dump.h"
#include "message/charset.h"

std::string DumpZones(const TCharset& charset) {
  static const char* const kNames[czCount] = {
      "control",  "letter", "sign",  "digit",  "rare",
      "cyrillic", "greek",  "asian", "arabic", "other"};
  std::string line = charset.name.empty() ? "-" : EscapeBytes(charset.name);
  line += ' ' + std::to_string(charset.family) + '/' +
          std::to_string(charset.index);
  for (uint32_t zone = 0; zone < czCount; zone++)
    if (charset.zoneCounts[zone])
      line += std::string(" ") + kNames[zone] + '=' +
              std::to_string(charset.zoneCounts[zone]);
  if (charset.markCount) line += " marks=" + std::to_string(charset.markCount);
  return line;
}
