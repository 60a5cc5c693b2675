// Messages of tests, written short.

#ifndef TESTS_MESSAGE_SHORT_MAIL_H_
#define TESTS_MESSAGE_SHORT_MAIL_H_

#include <string>

#include "base/heap_text.h"
#include "message/block_part.h"

// "~" is a line end, "|" one with a blank line and the boundary line "--b", "%"
// 2000 times "A"; ahead of ":" "T" is Content-Type, "D" Content-Disposition,
// and "E:" base64 as the encoding.
inline std::string Expand(const std::string& shorthand) {
  std::string out;
  for (size_t i = 0; i < shorthand.size(); i++) {
    const std::string two = shorthand.substr(i, 2);
    if (two == "T:") out += "Content-Type";
    if (two == "D:") out += "Content-Disposition";
    if (two == "E:") out += "Content-Transfer-Encoding: base64", i++;
    if (two[0] == '~') out += "\r\n";
    if (two[0] == '|') out += "\r\n\r\n--b\r\n";
    if (two[0] == '%') out += std::string(2000, 'A');
    if (!strchr("~|%", two[0]) && !(two[1] == ':' && strchr("TDE", two[0])))
      out += two[0];
  }
  return out;
}

struct ShortMail {
  HeapText text;
  BLOCKMSG m;

  explicit ShortMail(const std::string& shorthand)
      : text(Expand(shorthand)), m(nullptr) {
    m.parse(text.view());
  }
};

#endif  // TESTS_MESSAGE_SHORT_MAIL_H_
