// The cause behind an entry of a cause text, without what belongs to the one
// message: how often, how many, whose address.
#ifndef QUAYMARSH_TOOLS_CAUSE_NAME_H_
#define QUAYMARSH_TOOLS_CAUSE_NAME_H_

#include <string>

// "Link without text3x" -> "Link without text", "2 random string(s)" ->
// "# random string(s)", "IP=192.0.2.1" -> "IP=*". What the dictionary names
// stays: "24 hours in subject", "^Rule 7", "Hdr 12".
std::string CauseName(const std::string& label);

#endif  // QUAYMARSH_TOOLS_CAUSE_NAME_H_
