// One-line dumps of what one pass over an HTML body leaves behind; see dump.h.

#ifndef DUMP_HTML_CONTEXT_H_
#define DUMP_HTML_CONTEXT_H_

#include <string>

#include "content/contexts.h"

// The flags that are set, then the counters that are not 0, by name.
std::string DumpHtmlState(const THTMLCONTEXT& context);
// "URL xN [text|text] <previous text": N uses, where there are several.
std::string DumpLink(const TLINKRECORD& link);
// "URL xN ->LINK alt=TEXT", the parts that are there.
std::string DumpImage(const TIMGRECORD& image);

#endif  // DUMP_HTML_CONTEXT_H_
