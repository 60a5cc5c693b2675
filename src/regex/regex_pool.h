// REGEXPOOL: the table from pattern text to compiled pattern, which owns both.
// Patterns that differ in case are two.
//
// The pool of a speedup context is filled while that is built and only read by
// scans, so that any number of them may share it. A scan without a context has
// a pool of its own, which learns: a pattern is compiled where it is first used
// and kept for the rest of that scan.

#ifndef REGEX_REGEX_POOL_H_
#define REGEX_REGEX_POOL_H_

#include <stdint.h>

#include "base/hashtab.h"
#include "base/vectors.h"

struct zr_regex;

class REGEXPOOL : public HASHTAB {
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

  explicit REGEXPOOL(int32_t learnsPatterns = 0);
  ~REGEXPOOL() override;
  // Releases the compiled form of an entry that goes.
  void clearKey(HASHKEY* entry) override;

  // Compiles a copy of the pattern, unless it is there already. `error` is the
  // engine's code; a pattern that is refused leaves nothing behind. An empty
  // one adds nothing and is no error.
  void addCompiledRegex(TBLOCK pattern, int& error);
  // The same for the patterns that the code itself uses, mail programs last.
  void addAllHardCodedRegexes();

  // The compiled form, owned by the pool; null when it is not there.
  zr_regex* findRegex(TBLOCK pattern) const;
  // The same for a use; a pool that learns compiles what is not there.
  zr_regex* useRegex(TBLOCK pattern);

 private:
  bool keep(TBLOCK pattern, zr_regex* regex);

  const int32_t learns;  // 1: belongs to one scan
  STRVECT texts;         // of the patterns: what the keys point at
};

// Mail programs by the text that names them; see GetAdnAgent.
struct AdnAgentRow {
  const char* code;  // two digits
  const char* pattern;
};
static const uint32_t kAdnAgentCount = 53;
extern const AdnAgentRow _Adn_Agent_Table[kAdnAgentCount];

#endif  // REGEX_REGEX_POOL_H_
