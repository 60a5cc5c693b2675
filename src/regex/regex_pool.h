// REGEXPOOL: the table from pattern text to compiled pattern. It is filled
// while a speedup context is built and only read by scans, so that any number
// of them may share it.

#ifndef REGEX_REGEX_POOL_H_
#define REGEX_REGEX_POOL_H_

#include <stdint.h>

class REGEXPOOL {
 public:
// The patterns that the code itself uses, NUL-terminated.
#define QM_PATTERN(member, text) static const char member[];
#include "regex/regex_patterns.inc"
#undef QM_PATTERN

  // The same as a list.
  struct Member {
    const char* name;
    const char* pattern;
  };
  static const uint32_t kMemberCount = 63;
  static const Member kMembers[kMemberCount];

  // Compiles the patterns that the code itself uses into the pool.
  void addAllHardCodedRegexes();
};

// Mail programs by the text that names them; see GetAdnAgent.
struct AdnAgentRow {
  const char* code;  // two digits
  const char* pattern;
};
static const uint32_t kAdnAgentCount = 53;
extern const AdnAgentRow _Adn_Agent_Table[kAdnAgentCount];

#endif  // REGEX_REGEX_POOL_H_
