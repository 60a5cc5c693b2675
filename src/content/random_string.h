// Whether a text reads as language or as the output of a generator. The tests
// look up letter triples in tables; they allocate nothing, and each takes time
// in proportion to its text. An empty view gives false or 0.

#ifndef CONTENT_RANDOM_STRING_H_
#define CONTENT_RANDOM_STRING_H_

#include <stdint.h>

#include "base/tblock.h"

class HASHCOUNT;
struct TBLOCKURL;

// Letter triples that the table does not have; tables are those of
// data/letter_triples.h.
int32_t Wsc(TBLOCK text, const unsigned char* table);
int32_t BadSeqCount(TBLOCK text);
// Sum of how rare the triples are, 0 to 3 each.
int32_t DibitWordScore(TBLOCK text);
// Counts each bad triple in `counts`; how many distinct ones it then has. They
// are taken as they stand, so `counts` decides whether case tells them apart.
int32_t HashSeqCount(TBLOCK text, HASHCOUNT& counts,
                     const unsigned char* table);
// Digits, changes of case, and changes from a digit to a letter. All stop at
// 65,535.
void EdgeCount(TBLOCK text, uint16_t& digits, uint16_t& caseEdges,
               uint16_t& digitEdges);
// Whether the text ends in the count of what stands before: "abcd-4".
bool IsSpamSign(TBLOCK text);
bool IsRandomString(TBLOCK text);
// Words that are random; adds their bytes to `length`.
int32_t RandomStringCount(TBLOCK text, int32_t& length);
bool CheckRandomUrl(const TBLOCKURL& url);
// Share of distinct bytes from 80 up among all distinct bytes above 20, in
// percent; 0 for a text below 11 bytes.
int32_t HighCharCount(TBLOCK text);
// Whether a word's triples are rare; whether a text has such a word.
bool IsRandomBlock(TBLOCK word);
bool CheckRandomWords(TBLOCK text);

#endif  // CONTENT_RANDOM_STRING_H_
