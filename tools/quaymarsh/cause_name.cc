// Tested by tests/tools/corpus_test.sh.

#include "cause_name.h"

#include <cctype>
#include <cstddef>
#include <cstring>

namespace {

// What follows these is out of the message or its envelope.
const char* const kDetailBehind[] = {"Alias:",
                                     "black email domain:",
                                     "white email domain:",
                                     "black ReplyTo:",
                                     "white ReplyTo:",
                                     "IP=",
                                     "From=",
                                     "Sender=",
                                     "Reply-To=",
                                     "Return-Path=",
                                     "Copy to "};

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsWordByte(char c) {
  return isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// "Nx" at the end. A name that ends in a digit keeps that.
std::string WithoutFactor(const std::string& label) {
  if (label.empty() || label.back() != 'x') return label;
  size_t digits = label.size() - 1;
  while (digits > 0 && IsDigit(label[digits - 1])) --digits;
  if (digits == 0 || digits == label.size() - 1) return label;
  return label.substr(0, digits);
}

// Numbers that stand alone become "#".
std::string WithoutNumbers(const std::string& label) {
  std::string name;
  for (size_t i = 0; i < label.size();) {
    size_t end = i;
    while (end < label.size() && IsDigit(label[end])) ++end;
    if (end == i) {
      name += label[i++];
      continue;
    }
    const bool bound =
        (i > 0 && (IsWordByte(label[i - 1]) || label[i - 1] == '$')) ||
        (end < label.size() && IsWordByte(label[end]));
    name += bound ? label.substr(i, end - i) : "#";
    i = end;
  }
  return name;
}

}  // namespace

std::string CauseName(const std::string& label) {
  const std::string name = WithoutFactor(label);
  if (!name.empty() && name[0] == '^') return name;
  for (const char* prefix : kDetailBehind) {
    if (name.compare(0, strlen(prefix), prefix) == 0)
      return std::string(prefix) + "*";
  }
  return WithoutNumbers(name);
}
