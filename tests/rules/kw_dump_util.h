// A dictionary on one line, for comparison in tests.

#ifndef TESTS_RULES_KW_DUMP_UTIL_H_
#define TESTS_RULES_KW_DUMP_UTIL_H_

#include <string>

#include "rules/kw_obj.h"

// Sections joined by "; ", each "type/flags: lines". A string line is
// [!action] score[&]=text, digests in hexadecimal; a pattern line
// [!action] score[/options]KEY{words|words}joiner{...}, "-" for no key.
std::string DumpImage(const KWIMAGE& image);
std::string DumpObject(TKwObj& object);

#endif  // TESTS_RULES_KW_DUMP_UTIL_H_
