// Tests of the dictionary's lines: messages, and what each must or must not
// hit. The format is told in doc/writing-rules.md.
#ifndef QUAYMARSH_TOOLS_RULE_CASES_H_
#define QUAYMARSH_TOOLS_RULE_CASES_H_

#include <stdint.h>

#include <string>
#include <vector>

struct RuleClaim {
  enum Kind { kHit, kMiss, kState, kCause, kNoCause };
  Kind kind = kHit;
  std::string text;     // "SECTION: LINE", or a state's or a cause's name
  uint32_t number = 0;  // the line in the file, from 1
};

struct RuleCase {
  std::string file;
  uint32_t number = 0;  // of its first claim
  std::vector<RuleClaim> claims;
  std::string message;  // complete, with the fields that the test left out
};

// When the messages are scanned, and when those without a date were written:
// 2026-01-15 12:00:00 UTC.
const int64_t kRuleCaseNow = 1768478400;

// Reads a file of tests; false, with the error told, when it has none or is
// faulty.
bool ReadRuleCases(const std::string& path, std::vector<RuleCase>* cases,
                   int* exitCode);

#endif  // QUAYMARSH_TOOLS_RULE_CASES_H_
