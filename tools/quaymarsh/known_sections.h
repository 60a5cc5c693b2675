// The sections of a dictionary that the library reads by name.
#ifndef QUAYMARSH_TOOLS_KNOWN_SECTIONS_H_
#define QUAYMARSH_TOOLS_KNOWN_SECTIONS_H_

#include <string>

// What the lines of a section have to look like to be of any use.
enum LineForm {
  kAnyForm,
  kFieldForm,      // "FIELD=VALUE"
  kMetaForm,       // "TOKEN=VALUE", the token one of those that HTML has
  kCountForm,      // "SECTION=THRESHOLD", above 0
  kCharsForm,      // "CHARS WORD"
  kPairForm,       // "HOST:HOST", or a star in place of either
  kHeaderKeyForm,  // letters, "@", six bytes or seven
  kSuffixForm,     // without a dot in front
  kDigitsForm,
  kOneWordForm  // a word pattern of one group of single words
};

// Flags of a section.
enum : unsigned {
  kScores = 1,     // a line that scores 0 does nothing
  kFirstOnly = 2,  // one line that fits is as good as two
  kLongText = 4,   // its patterns are held against all of a body
  kEarly = 8,      // its rules are asked when only the header is known
  kNoSwitch = 16,  // of words: rules [^No-NAME] are not asked
  // A star that is neither first nor last is an ordinary byte; or it ends what
  // is looked at. Elsewhere it stands for anything.
  kPlainStar = 32,
  kLastStar = 64
};

struct KnownSection {
  const char* name;
  // Those with which it is read, the usual one first; " " stands for none.
  const char* prefixes;
  unsigned flags = 0;
  LineForm form = kAnyForm;
  // What a hit of a rule or a word is worth where that is not its score.
  int points = 0;

  bool hasPrefix(const std::string& prefix) const;
};

// By name, in any case; null for a name that the library does not know. Those
// that a dictionary names itself, such as groups, are not among them, but
// switches are: "No-Phishing", "Only-Html", "No-BlackWords".
const KnownSection* FindKnownSection(const std::string& name);

#endif  // QUAYMARSH_TOOLS_KNOWN_SECTIONS_H_
