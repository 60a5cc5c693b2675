// The source of a dictionary of full size, 440 sections and 36,080 lines of all
// types, made from numbers. For benchmarks.

#ifndef BENCH_FULL_DICTIONARY_H_
#define BENCH_FULL_DICTIONARY_H_

#include <stdint.h>

#include <string>
#include <vector>

const int32_t kFullSections = 440, kFullLines = 82;

struct FullSection {
  char prefix;  // a blank for none
  std::string name;
  std::vector<std::string> words;  // the line's score is its place + 1

  // The line's source.
  std::string line(size_t i) const;
  // The section's, as a patch with what stands in for its lines.
  std::string source() const;
  std::string patch(const std::string& lines) const;
  // The plain search: the place of the word + 1, or 0.
  int32_t find(const std::string& word) const;
};

std::vector<FullSection> MakeFullDictionary();

#endif  // BENCH_FULL_DICTIONARY_H_
