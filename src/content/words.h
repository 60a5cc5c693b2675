// Text as words: what stands between separators, but with addresses, numbers,
// file names and URLs in one piece. word_tests.h judges the words.
//
// Words are views into the text that was cut.

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
// Up to so many words of a message the pieces of words with dashes are added.
const int32_t kMaxDashWords = 1024;
// Longest runs that are looked at as one, against text that would be read anew
// from each of its words. A longer address is none; URLs and file names are cut
// there.
const int32_t kMaxMailWord = 320;
const int32_t kMaxUrlWord = 2048;
const int32_t kMaxFileWord = 260;

// Cuts a text from its start to its end in a time that grows with its length,
// whatever it holds: it remembers what it has seen ahead. So all words of a
// text are better taken from one of these than by NextWord.
class WORDCUTTER {
 public:
  explicit WORDCUTTER(TBLOCK text);
  // Takes the next word; its kind.
  int32_t next(TBLOCK& word);
  // Take the word at this very place if it is of that kind. A file name may
  // have white space ahead of it.
  bool takeMail(TBLOCK& word);
  bool takeNumber(TBLOCK& word);
  bool takeFile(TBLOCK& word);
  bool takeUrl(TBLOCK& word);
  // Goes on n bytes further. REQUIRES: as many are left.
  void skip(uint32_t n) { at += static_cast<int32_t>(n); }
  // What is left.
  TBLOCK rest() const { return text.from(static_cast<uint32_t>(at)); }

 private:
  // What is known of the run of one class of bytes: those from the cursor up to
  // `seen` are in it. Offsets of the last two bytes that matter among all ever
  // seen, -1 without them.
  struct RUN {
    int32_t seen, last, lastButOne;

    void note(int32_t i) {
      lastButOne = last;
      last = i;
    }
  };

  TBLOCK text;
  int32_t at, size;
  RUN mails;    // of bitEmail; at signs
  RUN urls;     // of bitUrl; dots ahead of the last name of a host
  RUN files;    // of all but white space; backslashes
  int32_t bad;  // offset of the last at sign with no domain behind it

  bool takeSimple(TBLOCK& word);
  int32_t lookForMail();
  int32_t lookForUrl();
  int32_t lookForFile();
  bool endsHost(int32_t dot) const;
  bool take(int32_t end, TBLOCK& word);
};

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
// Adds the words of a text, then the pieces of all members that are joined by
// capitals. Mail addresses also go to `mails`, each once, unless it is null.
// The pool is not used.
void ParseBlockWords(REGEXPOOL* pool, TBLOCK text, TBLOCKVECT& words,
                     TBLOCKVECT* mails);
// Adds the pieces of words that are joined by capitals, each but the last at
// least `minLength` bytes; the words stay.
void ParseMergedWords(TBLOCKVECT& words, uint32_t minLength);
// Adds the pieces of words with dashes, and what stands behind "l'" and the
// like, up to `limit` entries; 0 sets none. The words stay.
void ParseDashWords(TBLOCKVECT& words, int32_t limit);
// The words of a message: adds those of all lines and then their pieces, and
// replaces `lineAdn` by a letter for each of the first kMaxLetteredLines
// lines. Mail addresses also go to `mails`, each once, unless it is null. The
// pool is not used. Letters:
//   0 1-9 A-D  number of words; D stands for 13 and more
//   i c b      only marks of images: of linked ones, of attached ones, of both
//   s          neither a letter nor a digit
//   q          the mark of a quotation at the start
// Lines of the last three rows have no words.
void ParseLinesWords(STR& lineAdn, REGEXPOOL* pool, const TBLOCKVECT& lines,
                     TBLOCKVECT& words, TBLOCKVECT* mails);

// Overwrites a group of each match of the pattern by a text, set to the right
// and padded with blanks; of a text that is too long the start. What is left
// behind a match is a subject of its own: "^" holds there. WRITES.
void BlockSubstRegexWithPad(TBLOCK block, const char* pattern, REGEXPOOL* pool,
                            int32_t group, const char* text);

#endif  // CONTENT_WORDS_H_
