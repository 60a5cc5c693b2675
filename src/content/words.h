// Text as words: what stands between separators, but with addresses, numbers,
// file names and URLs in one piece. word_tests.h judges the words.

#ifndef CONTENT_WORDS_H_
#define CONTENT_WORDS_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"

class REGEXPOOL;

// Kinds of words. The numbers are kept: other code may compare them.
enum : int32_t {
  wkNone = 0,  // the text is used up
  wkUrl = 1,
  wkMail = 2,
  wkPlain = 3,
  wkFile = 4,
  wkNumber = 5
};

// Lines that get a letter.
const int32_t kMaxLetteredLines = 1000;

// Takes the next word off the cursor; its kind.
int32_t NextWord(TBLOCK& cursor, TBLOCK& word);
// True, with the word taken off, when one of that kind stands at the cursor;
// else nothing changes.
bool CheckWordMail(TBLOCK& cursor, TBLOCK& word);
bool CheckWordNumber(TBLOCK& cursor, TBLOCK& word);
bool CheckWordFile(TBLOCK& cursor, TBLOCK& word);
bool CheckWordUrl(TBLOCK& cursor, TBLOCK& word);

// Adds what stands between separators until the vector has `limit` entries; 0
// sets no limit.
void BlockToWords(TBLOCK text, TBLOCKVECT& words, int32_t limit);
// Adds the words of a text, then the pieces of those that are joined by
// capitals. Mail addresses also go to `mails`, each once, unless it is null.
void ParseBlockWords(REGEXPOOL* pool, TBLOCK text, TBLOCKVECT& words,
                     TBLOCKVECT* mails);
// Adds the pieces of words that are joined by capitals, each at least
// `minLength` bytes.
void ParseMergedWords(TBLOCKVECT& words, uint32_t minLength);
// Adds the pieces of words with dashes, up to `limit` entries; 0 sets none.
void ParseDashWords(TBLOCKVECT& words, int32_t limit);
// The words of a message: adds those of all lines and then their pieces, and
// replaces `lineAdn` by a letter for each of the first kMaxLetteredLines
// lines. Mail addresses also go to `mails`, each once, unless it is null.
void ParseLinesWords(STR& lineAdn, REGEXPOOL* pool, const TBLOCKVECT& lines,
                     TBLOCKVECT& words, TBLOCKVECT* mails);

// Overwrites a group of each match of the pattern by a text, set to the right
// and padded with blanks. WRITES.
void BlockSubstRegexWithPad(TBLOCK block, const char* pattern, REGEXPOOL* pool,
                            int32_t group, const char* text);

#endif  // CONTENT_WORDS_H_
