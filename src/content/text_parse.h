// QmTextParse: from a decoded plain-text body to the text that checks read.

#ifndef CONTENT_TEXT_PARSE_H_
#define CONTENT_TEXT_PARSE_H_

#include <stdint.h>

#include "base/tblock.h"
#include "content/contexts.h"

class REGEXPOOL;
class TQMDICO;

// Writes what a reader sees of `src` to dest.pointer, at most dest.length
// bytes, and returns how many. `src` and `dest` may begin at the same place.
// Quote marks and stray tags still stay in the text: it is copied as it is.
uint32_t QmTextParse(TBLOCK src, TBLOCK dest, TTEXTCONTEXT& context,
                     REGEXPOOL* pool, TQMDICO* dico);

#endif  // CONTENT_TEXT_PARSE_H_
