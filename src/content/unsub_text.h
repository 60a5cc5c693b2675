// Lines that offer a way out of a mailing: the words and addresses that stand
// there, which rules and checks compare whole; and the shape of a text as one
// letter for each line.

#ifndef CONTENT_UNSUB_TEXT_H_
#define CONTENT_UNSUB_TEXT_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"

// Texts that a list takes, and lines that get a letter.
const int32_t kMaxUnsubTexts = 32;
const int32_t kMaxPatternLines = 1000;

// Empties the list, then does AddUnsubText for each line that offers a way out
// or follows one that does, if it holds an address or a URL.
void GetUnsubText(TBLOCK text, STRVECT& list);
// Adds what stands in the line behind a first "ps:": for each URL the word
// ahead of it and the URL itself, and all mail addresses. In small letters,
// each once, as long as the list has room.
void AddUnsubText(TBLOCK line, STRVECT& list);
// The last line that offers a way out; empty when there is none.
TBLOCK LastUnsubLine(TBLOCK text);

// Replaces `pattern` by a letter for each line: e empty, d with a domain, x
// with a domain and a free-mail name, u any other.
void GetTextPattern(TBLOCK text, STR& pattern);

#endif  // CONTENT_UNSUB_TEXT_H_
