// QmTextParse: from a decoded plain-text body to the text that checks read,
// with its links.

#ifndef CONTENT_TEXT_PARSE_H_
#define CONTENT_TEXT_PARSE_H_

#include <stdint.h>

#include "base/tblock.h"
#include "content/contexts.h"

class REGEXPOOL;
class TQMDICO;

// Writes `src` without quote marks and stray tags to dest.pointer, at most
// dest.length bytes, and returns how many; what does not fit is dropped. Then
// collects the URLs of `src`, all of them, which WRITES to it: the context's
// links are views of it. `src` and `dest` must not overlap. Clears the context
// first. Without a dictionary no URL is found that is pulled apart; the pool
// is not asked.
uint32_t QmTextParse(TBLOCK src, TBLOCK dest, TTEXTCONTEXT& context,
                     REGEXPOOL* pool, const TQMDICO* dico);

#endif  // CONTENT_TEXT_PARSE_H_
