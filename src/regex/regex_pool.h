// REGEXPOOL: the table from pattern text to compiled pattern. It is filled
// while a speedup context is built and only read by scans. Empty until the
// pattern engine is there: no pattern is known, and nothing matches.

#ifndef REGEX_REGEX_POOL_H_
#define REGEX_REGEX_POOL_H_

class REGEXPOOL {
 public:
  // Compiles the patterns that the code itself uses into the pool.
  void addAllHardCodedRegexes();
};

#endif  // REGEX_REGEX_POOL_H_
