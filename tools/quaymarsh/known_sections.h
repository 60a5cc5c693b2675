// The sections of a dictionary that the library reads by name.
#ifndef QUAYMARSH_TOOLS_KNOWN_SECTIONS_H_
#define QUAYMARSH_TOOLS_KNOWN_SECTIONS_H_

#include <string>

struct KnownSection {
  const char* name;
  const char* prefix;  // as in the source; of words also "&" will do
  bool scores;         // its lines need scores: one of 0 does nothing
};

// By name, in any case; null for a name that the library does not know. Those
// that a dictionary names itself, such as groups, are not among them, but
// switches are: "No-Phishing", "Only-Html", "No-BlackWords".
const KnownSection* FindKnownSection(const std::string& name);

#endif  // QUAYMARSH_TOOLS_KNOWN_SECTIONS_H_
