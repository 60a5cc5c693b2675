// Dictionaries for tests, compiled from source text: "[name]" with the prefix
// of its type, or "[+name]" for a patch, and its lines below. A line may be
// empty only as "<0>".

#ifndef TESTS_RULES_SOURCE_UTIL_H_
#define TESTS_RULES_SOURCE_UTIL_H_

#include <string>

#include "rules/kw_obj.h"
#include "rules/qm_dico.h"

// Adds the sections; the first error, or "".
std::string AddSource(TKwObj& object, const std::string& source);
// The image, or the error.
std::string CompileSource(const std::string& source);
// Makes it the dictionary of the reader; false when it does not compile.
bool LoadSource(TQMDICO& dico, const std::string& source);

#endif  // TESTS_RULES_SOURCE_UTIL_H_
