// ADN: the shape of a value without its content, as a short text. Two values
// that one generator made have one ADN. doc/signatures.md tells the alphabet.

#ifndef CONTENT_ADN_H_
#define CONTENT_ADN_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "message/block_date.h"

class TQMDICO;

// How AdnFromBlock works.
enum : uint32_t {
  adnRepeat = 1,   // a letter for each byte of a run, so that lengths survive
  adnRandom = 2,   // look for random runs, and split mixed ones
  adnUrl = 4,      // recognise URLs
  adnNoSpace = 8,  // leave out blanks
  adnIp = 16,      // recognise IPv4 addresses
  adnMail = 32     // recognise mail addresses
};

// The times that runs of digits are compared with.
struct TADNCLOCK {
  const BLOCKDATE* date;  // of the message; null: dates are not looked for
  int64_t now;            // present time, in seconds since 1970
};

// Characters to reserve for the fingerprint of a text: few have more than it.
int32_t AdnRoom(TBLOCK text);

// Replaces `adn` by the shape of the text. `keep`, or null, is a list of words
// joined by commas that are copied; a "*" at an end stands for anything.
// `known`, or null, is a list of texts that are replaced by their index; its
// views lose what is no letter or digit at the front.
void AdnFromBlock(TBLOCK text, STR& adn, const char* keep, uint32_t flags,
                  const TADNCLOCK& clock, TBLOCKVECT* known);
// Appends the letter or letters of one run of letters and digits.
void _AdnFromSubBlock(STR& adn, TBLOCK run, uint32_t flags,
                      const TADNCLOCK& clock);
// Replaces `out` by a pattern for mail addresses of that shape.
void GetEmailRegex(TBLOCK text, TQMDICO* dico, STR& out, int64_t now);

// A digit for a count below `limit`, else 'x'.
char GetCountAdn(uint32_t count, uint32_t limit);
// Base 62, 61 and more as 'z'.
char GetCountChar(uint32_t count);
// Replaces both texts: of each byte from 20 to 7E how often the text has it,
// and whether.
void GetBlockCharAdn(TBLOCK text, STR& counts, STR& presence);

// Replaces `out` by year to second in UTC, 14 digits; empty for -1.
void Tt2Adn(int32_t time, STR& out);
void Ft2Adn(const FILETIME* time, STR& out);
// A letter for the seconds from b to a.
char ttAdnChar(int32_t a, int32_t b);
// The same, which also tells differences of less than a second.
char ftAdnChar(const FILETIME& a, const FILETIME& b);

#endif  // CONTENT_ADN_H_
