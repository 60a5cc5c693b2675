// Entries are joined by ";", but a label may hold one, too, and so may the
// profile in the version. So an entry ends only behind " (NUMBER)", and the
// version only behind its bailout score. A label that quotes " (1);" from a
// mail is still cut in two: nothing in the text tells the difference. The one
// entry is SplitCauseText. Tested by tests/tools/cli_test.sh.

#include "cause_text.h"

#include <cstddef>

namespace {

const char kProduct[] = "Quay Marsh ";
const char kBailout[] = "; Bailout: ";
const char kDetails[] = "; Hdr=";

bool StartsWith(const std::string& text, size_t pos, const std::string& what) {
  return text.compare(pos, what.size(), what) == 0;
}

size_t SkipDigits(const std::string& text, size_t pos) {
  while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') ++pos;
  return pos;
}

// Offset behind the number at `pos`, with its sign; `pos` when there is none.
size_t SkipNumber(const std::string& text, size_t pos) {
  const size_t digits = pos < text.size() && text[pos] == '-' ? pos + 1 : pos;
  const size_t end = SkipDigits(text, digits);
  return end == digits ? pos : end;
}

// Length of the version in front of the entries, without the "; " that ends it;
// npos when the text does not begin with one.
size_t VersionLength(const std::string& text) {
  if (!StartsWith(text, 0, kProduct)) return std::string::npos;
  const std::string key = kBailout;
  size_t pos = 0;
  while ((pos = text.find(key, pos)) != std::string::npos) {
    pos += key.size();
    const size_t end =
        StartsWith(text, pos, "N/A") ? pos + 3 : SkipNumber(text, pos);
    if (end > pos && StartsWith(text, end, "; ")) return end;
  }
  return std::string::npos;
}

// Finds the end of the entry at `pos`: the first " (NUMBER)" with ";" or
// nothing behind it. Returns the offset of the "(", or npos.
size_t FindPoints(const std::string& text, size_t pos) {
  while ((pos = text.find(" (", pos)) != std::string::npos) {
    const size_t number = pos + 2;
    const size_t end = SkipNumber(text, number);
    if (end > number && end < text.size() && text[end] == ')' &&
        (end + 1 == text.size() || text[end + 1] == ';')) {
      return pos + 1;
    }
    pos = number;
  }
  return std::string::npos;
}

}  // namespace

CauseText SplitCauseText(const std::string& text) {
  CauseText cause;
  const size_t versionLength = VersionLength(text);
  if (versionLength != std::string::npos) {
    cause.version = text.substr(0, versionLength);
    cause.plain = text.substr(versionLength + 2);
  } else {
    cause.plain = text;
  }
  const std::string& plain = cause.plain;
  size_t pos = 0;
  while (pos < plain.size()) {
    if (StartsWith(plain, pos, kDetails)) {
      cause.details = plain.substr(pos + 2);
      break;
    }
    if (pos != 0) ++pos;  // the ";" between two entries
    const size_t points = FindPoints(plain, pos);
    if (points == std::string::npos) {
      if (pos < plain.size()) cause.entries.push_back({plain.substr(pos), ""});
      break;
    }
    const size_t end = SkipNumber(plain, points + 1);
    cause.entries.push_back({plain.substr(pos, points - 1 - pos),
                             plain.substr(points + 1, end - points - 1)});
    pos = end + 1;
  }
  return cause;
}
