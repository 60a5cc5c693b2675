// Words of a text. Tested by words_test.cc.

#include "content/words.h"

int32_t NextWord(TBLOCK& cursor, TBLOCK& word) {
  cursor.clear();
  word.clear();
  return wkNone;
}
bool CheckWordMail(TBLOCK&, TBLOCK&) {
  return false;
}
bool CheckWordNumber(TBLOCK&, TBLOCK&) {
  return false;
}
bool CheckWordFile(TBLOCK&, TBLOCK&) {
  return false;
}
bool CheckWordUrl(TBLOCK&, TBLOCK&) {
  return false;
}
void BlockToWords(TBLOCK, TBLOCKVECT&, int32_t) {}
void ParseBlockWords(REGEXPOOL*, TBLOCK, TBLOCKVECT&, TBLOCKVECT*) {}
void ParseMergedWords(TBLOCKVECT&, uint32_t) {}
void ParseDashWords(TBLOCKVECT&, int32_t) {}
void ParseLinesWords(STR& lineAdn, REGEXPOOL*, const TBLOCKVECT&, TBLOCKVECT&,
                     TBLOCKVECT*) {
  lineAdn = "";
}
void BlockSubstRegexWithPad(TBLOCK, const char*, REGEXPOOL*, int32_t,
                            const char*) {}
