// Tested by tests/tools/corpus_test.sh.

#include "cause_name.h"

#include <cstddef>
#include <cstring>

namespace {

// What follows these is out of the message, or the host's lists.
const char* const kDetailBehind[] = {"Hard word ",  "IP=",       "From=",
                                     "Sender=",     "Reply-To=", "Copy to ",
                                     "Return-Path="};
// What stands in front of these is a number.
const char* const kCountAhead[] = {" random string(s)",
                                   " words with duplicate lowers"};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// "Nx" at the end. Rules count within their points, so that their names may end
// so.
std::string WithoutFactor(const std::string& label) {
  if (label.empty() || label.back() != 'x' || label[0] == '^') return label;
  size_t digits = label.size() - 1;
  while (digits > 0 && IsDigit(label[digits - 1])) --digits;
  if (digits == 0 || digits == label.size() - 1) return label;
  return label.substr(0, digits);
}

}  // namespace

std::string CauseName(const std::string& label) {
  const std::string name = WithoutFactor(label);
  for (const char* prefix : kDetailBehind) {
    if (name.compare(0, strlen(prefix), prefix) == 0)
      return std::string(prefix) + "*";
  }
  size_t digits = 0;
  while (digits < name.size() && IsDigit(name[digits])) ++digits;
  for (const char* rest : kCountAhead)
    if (digits > 0 && name.compare(digits, std::string::npos, rest) == 0)
      return std::string("#") + rest;
  return name;
}
