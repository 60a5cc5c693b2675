// Every answer of the engine beside the model's. Entry point: RegexDuel.

#include "regex/regex_duel_util.h"

#include <stdio.h>

#include <vector>

using regex_model::Answer;
using regex_model::Wanted;

std::string Quoted(std::string_view bytes) {
  std::string out = "\"";
  for (const char c : bytes) {
    const unsigned byte = static_cast<unsigned char>(c);
    char text[8];
    if (byte < 0x20 || byte > 0x7E)
      snprintf(text, sizeof text, "\\x%02X", byte);
    else if (c == '"')
      snprintf(text, sizeof text, "\\%c", c);
    else
      snprintf(text, sizeof text, "%c", c);
    out += text;
  }
  return out + "\"";
}

RegexDuel::RegexDuel(std::string_view pattern, int flags)
    : pattern_(pattern),
      flags_(flags),
      engine_(zr_regalloc()),
      engineCode_(engine_
                      ? zr_regcomp_len(engine_, pattern.data(), flags,
                                       static_cast<uint32_t>(pattern.size()))
                      : ZR_NOMEMORY),
      model_(engineCode_ == 0 ? regex_model::ReadPattern(*engine_)
                              : regex_model::Pattern()) {}

RegexDuel::~RegexDuel() {
  zr_regfree(engine_);
}

std::string RegexDuel::title(std::string_view subject) const {
  return Quoted(pattern_) + " flags " + std::to_string(flags_) + " on " +
         Quoted(subject);
}

// What the engine leaves in `count` pairs that held -7 before.
static std::vector<zr_pair> ExpectedPairs(const Answer& answer, size_t count) {
  std::vector<zr_pair> pairs(count, zr_pair{-7, -7});
  if (count == 0) return pairs;
  if (answer.code != 0) {
    pairs[0] = {-1, -1};
    return pairs;
  }
  size_t n = 0;
  for (; n < answer.pairs.size() && n < count; n++)
    pairs[n] = {answer.pairs[n].first, answer.pairs[n].second};
  if (n + 1 < count) pairs[n] = {-1, -1};
  return pairs;
}

static std::string Text(int code, const std::vector<zr_pair>& pairs) {
  std::string text = std::to_string(code);
  for (const zr_pair& pair : pairs)
    text += " (" + std::to_string(pair.start) + "," + std::to_string(pair.end) +
            ")";
  return text;
}

std::string RegexDuel::compareOnce(std::string_view subject, uint32_t nmatch,
                                   Wanted wanted) {
  Answer expected = regex_model::Match(model_, subject, wanted, budget);
  const bool givesUp =
      expected.code == regex_model::kNoAnswer || expected.code == 10;
  if (givesUp) {
    ++(expected.code == 10 ? endless : unanswered);
    if (giveUps == 0) return "";
    giveUps--;
  }
  std::vector<zr_pair> pairs(wanted == Wanted::kCaptures ? nmatch : 0,
                             zr_pair{-7, -7});
  const int code = zr_regexec_len(engine_, subject.data(),
                                  wanted == Wanted::kNothing ? 0 : nmatch,
                                  pairs.empty() ? nullptr : pairs.data(), 0,
                                  static_cast<uint32_t>(subject.size()));
  if (expected.code == regex_model::kNoAnswer) {
    if (code == 0 || code == 1 || code == 10 || code == 11) return "";
    return title(subject) + ": engine answers " + std::to_string(code);
  }
  if (!givesUp) answered++;
  matched += expected.code == 0;
  const std::string engine = Text(code, pairs);
  const std::string model =
      Text(expected.code, ExpectedPairs(expected, pairs.size()));
  if (engine == model) return "";
  static const char* const kModes[] = {" without captures", " pairs not given",
                                       " with captures"};
  return title(subject) + kModes[static_cast<int>(wanted)] + ": engine " +
         engine + ", model " + model;
}

std::string RegexDuel::compare(std::string_view subject, uint32_t nmatch) {
  if (!compiled()) return "";
  std::string text = compareOnce(subject, nmatch, Wanted::kNothing);
  if (!text.empty() || nmatch == 0) return text;
  text = compareOnce(subject, nmatch, Wanted::kCaptures);
  if (!text.empty()) return text;
  // Only a tail that settles the answer tells this from captures.
  if (pattern_.empty() || pattern_.back() != '$') return text;
  return compareOnce(subject, nmatch, Wanted::kFullList);
}
