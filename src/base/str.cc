// Strings and their tokens. Tested by str_test.cc.

#include "base/str.h"

#include <new>

namespace {

// Added to the capacity, at least, when an append does not fit.
const int32_t kGrowth = 32768;

int32_t TextLength(const char* s) {
  const size_t n = strlen(s);
  return n > INT32_MAX - 1 ? INT32_MAX - 1 : static_cast<int32_t>(n);
}

// The text of all empty strings of capacity 1.
const char kNothing[1] = "";

// The order of two characters: folded, as signed chars.
int CompareChars(char a, char b) {
  return static_cast<signed char>(AsciiUpper(static_cast<unsigned char>(a))) -
         static_cast<signed char>(AsciiUpper(static_cast<unsigned char>(b)));
}

}  // namespace

unsigned char AsciiUpper(unsigned char c) {
  return c >= 'a' && c <= 'z' ? static_cast<unsigned char>(c - 0x20) : c;
}

unsigned char AsciiLower(unsigned char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 0x20) : c;
}

bool AsciiIsSpace(unsigned char c) {
  return c == ' ' || (c >= 0x09 && c <= 0x0D);
}

int CompareNoCase(const char* a, const char* b) {
  if (!a) a = "";
  if (!b) b = "";
  for (; *a || *b; a++, b++) {
    const int difference = CompareChars(*a, *b);
    if (difference != 0) return difference;
  }
  return 0;
}

// ---- STR. Text is replaced by building the new array first and freeing the
// old one last, so that a source may lie inside it.

STR::STR() : text(const_cast<char*>(kNothing)), capacity(1), length(-1) {}

STR::STR(const STR& other) : text(nullptr), capacity(0), length(0) {
  assign(other.c_str(), other.len(), other.capacity);
}

STR::STR(const char* s) : text(nullptr), capacity(0), length(0) {
  const int32_t n = s ? TextLength(s) : 0;
  assign(s ? s : "", n, n + 1);
  if (!s && text) length = -1;
}

STR::STR(int32_t n) : text(nullptr), capacity(0), length(0) {
  if (n < 0) n = 0;
  if (n == INT32_MAX) return;
  assign("", 0, n + 1);
  if (text) length = -1;
}

STR::~STR() {
  release();
}

// A text with capacity 0 is not ours to free, nor is the shared one.
void STR::release() {
  if (capacity != 0 && text != kNothing) delete[] text;
  text = nullptr;
  capacity = length = 0;
}

// Replaces the text by n bytes in a new array. Without memory the string is
// left null, with capacity and length 0.
void STR::assign(const char* p, int32_t n, int32_t newCapacity) {
  if (newCapacity <= n) newCapacity = n + 1;
  if (newCapacity == 1) {
    release();
    text = const_cast<char*>(kNothing);
    capacity = 1;
    return;
  }
  char* fresh = new (std::nothrow) char[static_cast<uint32_t>(newCapacity)];
  if (fresh) {
    if (n > 0) memcpy(fresh, p, static_cast<size_t>(n));
    fresh[n] = 0;
  }
  release();
  text = fresh;
  capacity = fresh ? newCapacity : 0;
  length = fresh ? n : 0;
}

STR& STR::operator=(const STR& other) {
  if (this != &other) assign(other.c_str(), other.len(), other.capacity);
  return *this;
}

STR& STR::operator=(const char* s) {
  if (s && s == text) return *this;
  const int32_t n = s ? TextLength(s) : 0;
  assign(s ? s : "", n, n + 1);
  return *this;
}

STR& STR::operator=(char c) {
  assign(&c, 1, 2);
  return *this;
}

STR& STR::operator=(TBLOCK view) {
  const int32_t n = view.empty() || view.length >= INT32_MAX
                        ? 0
                        : static_cast<int32_t>(view.length);
  assign(reinterpret_cast<const char*>(view.pointer), n, n + 1);
  if (text) length = -1;  // a NUL may stand inside
  return *this;
}

void STR::renew(int32_t n) {
  if (n < capacity && text != kNothing) {
    text[0] = 0;
    length = 0;
  } else {
    assign("", 0, n < INT32_MAX ? n + 1 : INT32_MAX);
  }
}

int32_t STR::len() const {
  if (length < 0) length = text ? TextLength(text) : 0;
  return length;
}

void STR::add(const char* p, int32_t n) {
  insert(p, n, len());
}

void STR::addLeft(const char* p, int32_t n) {
  insert(p, n, 0);
}

// Puts n bytes in front of index `at`, in a new array when they do not fit the
// old one or lie in it. When that cannot be had the string is left null, with
// capacity and length 0.
void STR::insert(const char* p, int32_t n, int32_t at) {
  const int32_t old = len();
  if (!p || n < 0 || (n == 0 && text)) return;
  const int64_t sum = static_cast<int64_t>(old) + n;
  const uintptr_t place = reinterpret_cast<uintptr_t>(p);
  const uintptr_t own = reinterpret_cast<uintptr_t>(text);
  const bool fits = text && sum < capacity;
  if (fits && (place < own || place > own + static_cast<uint32_t>(old))) {
    if (at < old)
      memmove(text + at + n, text + at, static_cast<size_t>(old - at));
    memcpy(text + at, p, static_cast<size_t>(n));
  } else {
    int64_t wanted = capacity;
    if (!fits) wanted += n > kGrowth ? n : kGrowth;
    if (wanted <= sum) wanted = sum + 1;
    if (wanted > INT32_MAX) wanted = INT32_MAX;
    char* fresh = nullptr;
    if (wanted > sum)
      fresh = new (std::nothrow) char[static_cast<uint32_t>(wanted)];
    if (!fresh) {
      release();
      return;
    }
    if (at > 0) memcpy(fresh, text, static_cast<size_t>(at));
    memcpy(fresh + at, p, static_cast<size_t>(n));
    if (old > at)
      memcpy(fresh + at + n, text + at, static_cast<size_t>(old - at));
    release();
    text = fresh;
    capacity = static_cast<int32_t>(wanted);
  }
  length = static_cast<int32_t>(sum);
  text[length] = 0;
}

STR& STR::grow(char c) {
  add(&c, 1);
  return *this;
}

STR& STR::operator+=(const char* s) {
  if (s) add(s, TextLength(s));
  return *this;
}

STR& STR::operator+=(const STR& other) {
  add(other.c_str(), other.len());
  return *this;
}

STR& STR::operator+=(TBLOCK view) {
  if (!view.empty() && view.length < INT32_MAX)
    add(reinterpret_cast<const char*>(view.pointer),
        static_cast<int32_t>(view.length));
  return *this;
}

STR& STR::operator+=(int32_t number) {
  char digits[12];
  char* p = digits + sizeof digits;
  uint32_t rest = number < 0 ? 0u - static_cast<uint32_t>(number)
                             : static_cast<uint32_t>(number);
  do *--p = static_cast<char>('0' + rest % 10);
  while ((rest /= 10) != 0);
  if (number < 0) *--p = '-';
  add(p, static_cast<int32_t>(digits + sizeof digits - p));
  return *this;
}

int STR::join(const char* const* parts, int32_t count) {
  uint64_t total = 0;
  for (int32_t i = 0; i < count; i++) total += strlen(parts[i]);
  STR whole(total < INT32_MAX ? static_cast<int32_t>(total) : INT32_MAX);
  if (whole.text)
    for (int32_t i = 0; i < count; i++) whole += parts[i];
  release();
  text = whole.text;
  capacity = whole.capacity;
  length = whole.length;
  whole.text = nullptr;
  whole.capacity = 0;
  return text != nullptr;
}

int STR::streq(const char* s) const {
  return s && CompareNoCase(c_str(), s) == 0;
}

int32_t STR::hasin(const char* s, int32_t from, int nocase) const {
  if (!s || from < 0) return -1;
  const int32_t n = TextLength(s);
  const int32_t last = len() - n;
  for (int32_t i = from; i <= last; i++) {
    int32_t k = 0;
    while (k < n && (nocase ? CompareChars(c_str()[i + k], s[k]) == 0
                            : c_str()[i + k] == s[k]))
      k++;
    if (k == n) return i;
  }
  return -1;
}

int32_t STR::hasin(char c, int32_t from, int nocase) const {
  if (from < 0) return -1;
  for (int32_t i = from; i <= len(); i++)
    if (nocase ? CompareChars(c_str()[i], c) == 0 : c_str()[i] == c) return i;
  return -1;
}

void STR::noFrontSpace() {
  int32_t n = 0;
  while (n < len() && AsciiIsSpace(static_cast<unsigned char>(text[n]))) n++;
  if (n > 0) memmove(text, text + n, static_cast<size_t>(len() - n) + 1);
  if (text) length = -1;
}

void STR::noTrailSpace() {
  int32_t n = len();
  while (n > 0 && AsciiIsSpace(static_cast<unsigned char>(text[n - 1]))) n--;
  if (!text) return;
  if (n < len()) text[n] = 0;
  length = -1;
}

bool STR::operator<(const char* s) const {
  if (!s) return false;
  const char* own = c_str();
  for (; *own && *s; own++, s++) {
    const int difference = CompareChars(*own, *s);
    if (difference != 0) return difference < 0;
  }
  return *own == 0;
}

void STR::toUpper() {
  for (int32_t i = 0; i < len(); i++)
    text[i] =
        static_cast<char>(AsciiUpper(static_cast<unsigned char>(text[i])));
}

void STR::toLower() {
  for (int32_t i = 0; i < len(); i++)
    text[i] =
        static_cast<char>(AsciiLower(static_cast<unsigned char>(text[i])));
}

void STR::reverse() {
  for (int32_t i = 0, k = len() - 1; i < k; i++, k--) {
    const char c = text[i];
    text[i] = text[k];
    text[k] = c;
  }
}

// ---- STRTOKEN

STRTOKEN::STRTOKEN(const char* textToCut, const char* separatorText)
    : text(textToCut),
      separator(separatorText),
      token(textToCut ? text.len() : int32_t{2}),
      position(0),
      count(0) {
  init();
  while (next()) count++;
  init();
}

void STRTOKEN::init() {
  const int32_t n = separator.len();
  position = n > 0 && text.hasin(separator.c_str(), 0, 0) == 0 ? n : 0;
}

const char* STRTOKEN::next() {
  // Emptied in place, so that the room reserved for it stays.
  token.renew(0);
  if (position >= text.len()) return nullptr;
  const int32_t at =
      separator.empty() ? -1 : text.hasin(separator.c_str(), position, 0);
  const int32_t stop = at < 0 ? text.len() : at;
  token.add(text.c_str() + position, stop - position);
  position = at < 0 ? text.len() : at + separator.len();
  return token.c_str();
}
