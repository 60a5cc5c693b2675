// The engine and the model on the same pattern and subject.

#ifndef TESTS_REGEX_REGEX_DUEL_UTIL_H_
#define TESTS_REGEX_REGEX_DUEL_UTIL_H_

#include <stdint.h>

#include <memory>
#include <string>
#include <string_view>

#include "regex/regex_model_util.h"
#include "regex/zr_regex.h"

// Bytes as they are written in a C string, quoted.
std::string Quoted(std::string_view bytes);

// One pattern, compiled by both. Texts that are handed in are read in place,
// so that a sanitizer sees a read beyond them.
class RegexDuel {
 public:
  RegexDuel(std::string_view pattern, int flags);
  ~RegexDuel();
  RegexDuel(const RegexDuel&) = delete;
  RegexDuel& operator=(const RegexDuel&) = delete;

  // Compares the match without captures, with `nmatch` pairs, and with pairs
  // counted but not given; "" when nothing differs. Where the model has no
  // answer within its budget, only that the engine returns is seen.
  std::string compare(std::string_view subject, uint32_t nmatch);

  int code() const { return engineCode_; }
  bool compiled() const { return engineCode_ == 0; }
  const regex_model::Pattern& model() const { return model_; }
  const zr_regex* engine() const { return engine_; }

  // For the model, on one call.
  uint64_t budget = 50000;
  // How often the engine may be seen giving up: each time is slow.
  uint32_t giveUps = 2;
  // Calls with an answer, those of them with a match, those on which the
  // engine must give up, and those that the model has no answer for.
  uint64_t answered = 0, matched = 0, endless = 0, unanswered = 0;

 private:
  std::string compareOnce(std::string_view subject, uint32_t nmatch,
                          regex_model::Wanted wanted);
  std::string title(std::string_view subject) const;

  const std::string_view pattern_;
  const int flags_;
  zr_regex* engine_;
  int engineCode_;
  regex_model::Pattern model_;
};

#endif  // TESTS_REGEX_REGEX_DUEL_UTIL_H_
