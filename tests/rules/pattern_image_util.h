// A dictionary put together call by call, where a test's rows give the parts;
// it becomes source, see source_util.h.

#ifndef TESTS_RULES_PATTERN_IMAGE_UTIL_H_
#define TESTS_RULES_PATTERN_IMAGE_UTIL_H_

#include <string>

#include "rules/source_util.h"

class PatternImage {
 public:
  // Starts a section of lines.
  PatternImage& section(const std::string& name, uint16_t type) {
    static const char* const kPrefixes[] = {"",  "",  "#", "%", "^",
                                            ":", "!", "*", "@", "&"};
    source_ += std::string("[") + kPrefixes[type] + name + "]\n";
    return *this;
  }
  // A line of the last section; of `flags` only KWLINEFLAGMULTI.
  PatternImage& text(const std::string& line, uint32_t flags, int32_t score) {
    source_ += (flags ? "<&" : "<") + std::to_string(score) + ">" + line + "\n";
    return *this;
  }
  PatternImage& pattern(const std::string& line, uint32_t flags,
                        int32_t score) {
    return text(line, flags, score);
  }
  // Makes it the dictionary of `dico`; false when that fails.
  bool load(TQMDICO& dico) const { return LoadSource(dico, source_); }

 private:
  std::string source_;
};

#endif  // TESTS_RULES_PATTERN_IMAGE_UTIL_H_
