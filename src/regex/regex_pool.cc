// The pool of compiled patterns.

#include "regex/regex_pool.h"

void REGEXPOOL::addAllHardCodedRegexes() {}
