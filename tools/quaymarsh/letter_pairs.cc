// A byte is split into its quotient and its remainder by 17, and each of them
// is a letter; every second byte has the two letters the other way round. The
// one entry is DecodeLetterPairs. Tested by tests/tools/cli_test.sh.

#include "letter_pairs.h"

namespace {

const int kBase = 17;  // 16 quotients, 17 remainders

}  // namespace

LetterPairsResult DecodeLetterPairs(const std::string& letters,
                                    std::string* text, size_t* badAt) {
  text->clear();
  text->reserve(letters.size() / 2);
  for (size_t pos = 0; pos + 1 < letters.size(); pos += 2) {
    const bool swapped = pos % 4 != 0;
    const int remainder = letters[swapped ? pos + 1 : pos] - 'f';
    const int quotient = letters[swapped ? pos : pos + 1] - 'b';
    const int value = quotient * kBase + remainder;
    // With a quotient of 15 only the remainder 0 is left.
    if (remainder < 0 || remainder >= kBase || quotient < 0 || value > 255) {
      *badAt = pos;
      return kPairsBad;
    }
    *text += static_cast<char>(value);
  }
  return letters.size() % 2 == 0 ? kPairsOk : kPairsCut;
}
