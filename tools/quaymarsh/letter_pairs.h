// The encoding of cause and parameter texts: two letters a byte. The format is
// described in doc/letter-pairs.md.
#ifndef QUAYMARSH_TOOLS_LETTER_PAIRS_H_
#define QUAYMARSH_TOOLS_LETTER_PAIRS_H_

#include <cstddef>
#include <string>

enum LetterPairsResult {
  kPairsOk,
  kPairsCut,  // half a pair at the end: all bytes before it are decoded
  kPairsBad,  // a pair that no byte has; `badAt` is its offset
};

// Decodes `letters`, which holds nothing but letters. `text` receives the bytes
// decoded so far in every case; `badAt` is written for kPairsBad only.
LetterPairsResult DecodeLetterPairs(const std::string& letters,
                                    std::string* text, size_t* badAt);

#endif  // QUAYMARSH_TOOLS_LETTER_PAIRS_H_
