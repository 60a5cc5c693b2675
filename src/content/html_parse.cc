// HTML bodies. Nothing is read of them yet.

#include "content/html_parse.h"

uint32_t QmHtmlParse(TBLOCK /*src*/, TBLOCK /*dest*/, THTMLCONTEXT& /*context*/,
                     REGEXPOOL* /*pool*/, TQMDICO* /*dico*/) {
  return 0;
}
