// QmHtmlParse: from a decoded HTML body to the text that a reader sees.

#ifndef CONTENT_HTML_PARSE_H_
#define CONTENT_HTML_PARSE_H_

#include <stdint.h>

#include "base/tblock.h"
#include "content/contexts.h"

class REGEXPOOL;
class TQMDICO;

// Writes the visible text of `src` to dest.pointer, at most dest.length bytes,
// and returns how many. `context` is cleared, and afterwards tells all else;
// its views point into both texts. `src` and `dest` must not overlap. WRITES
// to `src`, which is parsed once. `dico` may be null.
uint32_t QmHtmlParse(TBLOCK src, TBLOCK dest, THTMLCONTEXT& context,
                     REGEXPOOL* pool, const TQMDICO* dico);

#endif  // CONTENT_HTML_PARSE_H_
