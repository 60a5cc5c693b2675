// A decoded cause text taken apart: "VERSION; LABEL (POINTS);LABEL (POINTS)",
// with an optional "; Hdr=...; From=...; Domain=...;" behind it.
#ifndef QUAYMARSH_TOOLS_CAUSE_TEXT_H_
#define QUAYMARSH_TOOLS_CAUSE_TEXT_H_

#include <string>
#include <vector>

struct CauseEntry {
  std::string label;   // with the factor, such as "Link without text3x"
  std::string points;  // in decimal, as it stands; empty when there are none
};

struct CauseText {
  std::string version;              // "Quay Marsh ...; Bailout: ..." or empty
  std::string plain;                // all that follows the version
  std::vector<CauseEntry> entries;  // in the order in which they scored
  std::string details;              // "Hdr=...; From=...; Domain=...;" or empty
};

CauseText SplitCauseText(const std::string& text);

#endif  // QUAYMARSH_TOOLS_CAUSE_TEXT_H_
