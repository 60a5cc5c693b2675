// Asks a dictionary everything, for images of which only "no crash, no read
// outside, no endless work" can be said. For tests and the fuzz target.

#ifndef TESTS_RULES_ASK_DICTIONARY_H_
#define TESTS_RULES_ASK_DICTIONARY_H_

#include "rules/qm_dico.h"
#include "rules/url_blacklist.h"

inline void AskSection(TQMDICO& dico, const char* name, TBLOCK text,
                       const TBLOCKVECT& words) {
  const TQKSECTION* section = dico.findSection(name);
  const TQKLINE* line = nullptr;
  TBLOCK part;
  STR out;
  int32_t at = 0;
  unsigned char digest[16] = {1};
  dico.scanBlock(name, text, line, 0);
  dico.scanString(name, text, 0);
  dico.searchString(section, text, line);
  dico.compareString(section, text, line, 0);
  dico.comparePattern(section, text, line, 0);
  dico.matchRegex(name, text, line);
  dico.matchFirstNamedLine(name, text, part);
  dico.stringValue(name, "version");
  dico.replaceRegexMacro(name, text, out, "<", ">");
  dico.hashedFind(name, text, line);
  dico.matchSection(name, text, line);
  dico.hashedFindMD5Key(name, TBLOCK(digest, 16), line);
  dico.findFirstHashed(name, words, line);
  dico.findSortedMd5(name, digest, at);
  dico.findKeywords(section, words, text, 0, 100, at);
  dico.sectionScore(name);
  dico.getSectionScore(name, 3);
  dico.lineIndex(name, line);
  dico.getLineText(line, out, 1);
}

// `names` are those of the sections in the sound image.
inline void AskDictionary(TQMDICO& dico, const char* const* names,
                          uint32_t count, TBLOCK text) {
  TBLOCKVECT words(8);
  TBLOCK::GetBlockWordList(text, words, bitWhiteSpace);
  for (uint32_t i = 0; i < count; i++) AskSection(dico, names[i], text, words);
  STR out;
  const uint32_t lines = dico.image().lineCount;
  for (uint32_t i = 0; i < lines && i < 100; i++)
    dico.getLineText(dico.image().line(i), out, 0);
  UrlBlacklist list(&dico);
}

#endif  // TESTS_RULES_ASK_DICTIONARY_H_
