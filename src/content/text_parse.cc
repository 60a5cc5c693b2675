// Plain-text bodies. Nothing is taken out of a text yet.

#include "content/text_parse.h"

#include <string.h>

uint32_t QmTextParse(TBLOCK src, TBLOCK dest, TTEXTCONTEXT& /*context*/,
                     REGEXPOOL* /*pool*/, TQMDICO* /*dico*/) {
  if (src.empty() || dest.empty()) return 0;
  const TBLOCK kept = src.head(dest.length);
  memmove(dest.pointer, kept.pointer, kept.length);
  return kept.length;
}
