// The recipient's own white lists: sender domains and sender addresses, one a
// line, in two files of the recipient's mail directory. Tested by
// white_lists_test.cc.

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "scan/tqmmsg.h"

namespace {

const char kUserListRoot[] = "/etc/oakrun/Mail/";
const int kMaxListLine = 4096;  // bytes, the NUL included

// Whether a part of an address may be a directory name. The address is the
// envelope's, so anybody may have written it.
bool IsSafeName(const char* name) {
  if (!name || !*name || strcmp(name, ".") == 0 || strcmp(name, "..") == 0)
    return false;
  for (const char* p = name; *p; p++) {
    const unsigned char c = static_cast<unsigned char>(*p);
    if (c == '/' || c < 0x20 || c == 0x7F) return false;
  }
  return true;
}

bool HasLine(const STRVECT& lines, TBLOCK value) {
  if (value.empty()) return false;
  STR text;
  text = value;
  // A text with a NUL inside is nobody's address.
  if (static_cast<uint32_t>(text.len()) != value.length) return false;
  for (int32_t i = 0; i < lines.count(); i++)
    if (text.streq(lines.text(i))) return true;
  return false;
}

}  // namespace

void TQMMSG::_LoadListFromUserFile(STRVECT& lines, const char* domain,
                                   const char* localPart, const char* name) {
  lines.clear();
  if (!IsSafeName(domain) || !IsSafeName(localPart)) return;
  STR path;
  const char* const parts[] = {kUserListRoot, domain, "/",
                               localPart,     "/",    name};
  if (!path.join(parts, 6)) return;
  struct stat info;
  if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return;
  FILE* file = fopen(path.c_str(), "r");
  if (!file) return;
  char buffer[kMaxListLine];
  while (fgets(buffer, sizeof buffer, file)) {
    TBLOCK line(buffer);
    line.trim();
    STR text;
    text = line;
    text.toLower();
    lines.insSorted(text.c_str());
  }
  fclose(file);
}

bool TQMMSG::isWhiteForUser(const char* recipient) {
  TBLOCK address(recipient);
  if (!address.empty() && address[0] == '<') address.skip(1);
  if (!address.empty() && address[address.length - 1] == '>') address.length--;
  const int32_t at = address.findByte('@');
  if (at < 0) return false;
  STR domain, localPart;
  domain = address.from(static_cast<uint32_t>(at) + 1);
  localPart = address.head(static_cast<uint32_t>(at));

  STRVECT lines(0, BLOCK::_DEFALLOCSIZE);
  _LoadListFromUserFile(lines, domain.c_str(), localPart.c_str(),
                        "whitedomains");
  if (HasLine(lines, fromBox.host)) return true;
  _LoadListFromUserFile(lines, domain.c_str(), localPart.c_str(),
                        "whiteaddresses");
  return HasLine(lines, fromBox.email);
}
