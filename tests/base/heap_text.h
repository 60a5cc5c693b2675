// Text under test: a heap copy of exactly these bytes, so that a sanitizer
// sees a read or a write one byte too far; and readable forms of results.

#ifndef TESTS_BASE_HEAP_TEXT_H_
#define TESTS_BASE_HEAP_TEXT_H_

#include <string.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/vectors.h"

class HeapText {
 public:
  HeapText(const void* bytes, size_t size)
      : size_(static_cast<uint32_t>(size)), bytes_(new unsigned char[size_]) {
    if (size_) memcpy(bytes_.get(), bytes, size_);
  }
  explicit HeapText(const std::string& text)
      : HeapText(text.data(), text.size()) {}
  TBLOCK view() const { return TBLOCK(bytes_.get(), size_); }
  std::string_view chars() const {
    return {reinterpret_cast<const char*>(bytes_.get()), size_};
  }
  // The bytes as they are now.
  std::string str() const {
    return std::string(bytes_.get(), bytes_.get() + size_);
  }

 private:
  const uint32_t size_;
  const std::unique_ptr<unsigned char[]> bytes_;
};

inline std::string Str(TBLOCK view) {
  return view.empty() ? std::string()
                      : std::string(reinterpret_cast<const char*>(view.pointer),
                                    view.length);
}

// A row of most tables: a text and what is expected of it.
template <typename T>
struct Case {
  const char* text;
  T want;
};

// The members, each followed by "|".
inline std::string Join(const TBLOCKVECT& members) {
  std::string out;
  for (int32_t i = 0; i < members.count(); i++)
    out += Str(members.get(i)) + "|";
  return out;
}

// The pieces of a text that `by` parts.
inline std::vector<std::string> Split(const std::string& text, char by) {
  std::vector<std::string> pieces;
  size_t from = 0, at;
  for (; (at = text.find(by, from)) != std::string::npos; from = at + 1)
    pieces.push_back(text.substr(from, at - from));
  pieces.push_back(text.substr(from));
  return pieces;
}

inline std::string Times(uint32_t n, const std::string& text) {
  std::string all;
  while (n-- > 0) all += text;
  return all;
}

// The number `index` of all texts of `length` letters of an alphabet; false
// behind the last one.
inline bool NthText(uint32_t index, uint32_t length, const char* alphabet,
                    std::string& text) {
  const uint32_t letters = static_cast<uint32_t>(strlen(alphabet));
  text.clear();
  for (uint32_t i = 0; i < length; i++) {
    text += alphabet[index % letters];
    index /= letters;
  }
  return index == 0;
}

// A sequence that is the same in every run.
class Numbers {
 public:
  explicit Numbers(uint32_t seed) : state_(seed) {}
  uint32_t Below(uint32_t n) {
    state_ = state_ * 1664525u + 1013904223u;
    return (state_ >> 8) % n;
  }
  const std::string& Pick(const std::vector<std::string>& list) {
    return list[Below(static_cast<uint32_t>(list.size()))];
  }

 private:
  uint32_t state_;
};

#endif  // TESTS_BASE_HEAP_TEXT_H_
