// Fingerprints of a message's values: short texts that are the same for mail
// made by one tool. Those that are told letter by letter are made here; the
// shapes of values are not computed yet and come out empty.
//
// Tested by fingerprints_test.cc.

#include "scan/tqmmsg.h"

namespace {

// First letter of the line's name in a section of "letter:pattern" lines that
// matches the value, or '?'.
char LetterOf(TQMDICO& dico, const char* section, TBLOCK value) {
  TBLOCK name;
  if (!dico.matchFirstNamedRegex(section, value, name) || name.empty())
    return '?';
  return static_cast<char>(name[0]);
}

}  // namespace

void TQMMSG::getAdnFromBlock(int /*field*/, TBLOCK /*value*/, STR& adn,
                             TBLOCKVECT* /*known*/) {
  adn = "";
}

void TQMMSG::getAdnFromUrl(const TBLOCKURL& /*url*/, STR& adn) {
  adn = "";
}

void TQMMSG::getMailBoxAdn(TBLOCK /*mailbox*/, STR& adn) {
  adn = "";
}

void TQMMSG::getAdnCounts() {}

char TQMMSG::getCountChar(int32_t /*count*/) {
  return '0';
}

void TQMMSG::buildRecipAdn() {}

void TQMMSG::addCharsetToHdr() {
  hdrAdn += messageCharset.name.empty()
                ? '0'
                : LetterOf(dico, "HdrAdnCharset", messageCharset.name);
}

void TQMMSG::buildTypeAdn() {
  const TBLOCKVECT& types = message.contentTypes;
  for (int32_t i = 0; i < types.count(); i++)
    typeAdn += LetterOf(dico, "HdrAdnContentType", types.get(i));
}

// A letter for each thing that the message has, always in this order. "m" is
// read by other checks too; the rest serves rules.
void TQMMSG::setTags() {
  bool attached = false;
  OITER walk(&message.parts);
  while (const void* part = walk.next())
    if (static_cast<const BLOCKPART*>(part)->flags & pfAttachment)
      attached = true;
  const struct {
    char letter;
    bool present;
  } rows[] = {
      {'m', idFromMta != 0},
      {'H', message.htmlPart != nullptr},
      {'T', message.textPart != nullptr},
      {'A', attached},
      {'E', message.embeddedPart != nullptr},
      {'D', (message.flags & pfReport) != 0},
      {'Q', answersRemoved != 0},
      {'L', mailingListScore > 0},
  };
  tags = "";
  for (const auto& row : rows)
    if (row.present) tags += row.letter;
}
