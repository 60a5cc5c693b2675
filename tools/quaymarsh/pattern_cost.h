// Patterns that cost a scan more than they should.
#ifndef QUAYMARSH_TOOLS_PATTERN_COST_H_
#define QUAYMARSH_TOOLS_PATTERN_COST_H_

#include "base/tblock.h"

// Why the pattern is costly, or null; null, too, for one that does not compile.
// `longText`: it is held against whole bodies or each word of one.
const char* CostOfPattern(TBLOCK pattern, bool longText);

#endif  // QUAYMARSH_TOOLS_PATTERN_COST_H_
