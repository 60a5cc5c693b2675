// How a local part is put together from the words of a display name, the way
// address books and list generators do it: "jsmith", "john.smith", "smithj".

#ifndef CONTENT_ADDRESS_SCHEME_H_
#define CONTENT_ADDRESS_SCHEME_H_

#include <stdint.h>

#include "base/tblock.h"
#include "base/vectors.h"

// Words of a name that take part, and bytes in which they are looked for. All
// pairs of words are tried, so this bounds the work on one name.
const int32_t kMaxNameWords = 32;
const uint32_t kMaxNameBytes = 4096;

// What stands ahead of the first "@".
TBLOCK LocalPart(TBLOCK email);
// The local part without the dots, digits and dashes at its end.
TBLOCK AddressStem(TBLOCK email);
// Offset of the part in the text, or -1. An empty part stands nowhere, where
// TBLOCK::find has it at the start.
int32_t FindText(TBLOCK text, TBLOCK part);

// The words of a name, kMaxNameWords at most. Views; no copies.
class NAMEWORDS : public TBLOCKVECT {
 public:
  explicit NAMEWORDS(TBLOCK name);
  ~NAMEWORDS() override;
};

// How much of a stem one word makes up.
struct WORDFIT {
  uint32_t prefix;  // bytes that both begin with
  uint32_t suffix;  // bytes that end the stem and begin the word
};
// REQUIRES: a word of at most kMaxNameBytes.
WORDFIT FitWord(TBLOCK stem, TBLOCK word);

// The scheme by which two of the words make up the stem, 1 to 8; that of the
// first pair that has one, or 0.
int32_t SchemeOfWords(TBLOCK stem, const TBLOCKVECT& words);

#endif  // CONTENT_ADDRESS_SCHEME_H_
