// TCharset: the character set of a text and, once texts are decoded, what its
// characters say about its language. A small value, copied freely. `name`
// must point into the message or a block that lives as long as the scan.

#ifndef MESSAGE_CHARSET_H_
#define MESSAGE_CHARSET_H_

#include "base/tblock.h"

struct TCharset {
  TBLOCK name;  // as the message gives it; empty when it gives none

  void clear() { *this = TCharset(); }
};

#endif  // MESSAGE_CHARSET_H_
