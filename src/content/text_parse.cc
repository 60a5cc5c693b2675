// Plain-text bodies. Nothing is taken out of a text yet.

#include "content/text_parse.h"

#include <string.h>

void TTEXTCONTEXT::clear() {
  length = 0;
  output.clear();
  links.clear();
  tagCount = 0;
  hiddenUrlCount = 0;
  isHtml = false;
}

uint32_t QmTextParse(TBLOCK src, TBLOCK dest, TTEXTCONTEXT& /*context*/,
                     REGEXPOOL* /*pool*/, TQMDICO* /*dico*/) {
  if (src.empty() || dest.empty()) return 0;
  const TBLOCK kept = src.head(dest.length);
  memmove(dest.pointer, kept.pointer, kept.length);
  return kept.length;
}
