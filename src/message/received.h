// Relay lines. BLOCKRECEIVED: one "Received" field, cut into its clauses;
// RECEIVEDWARE: what reduces a field to its template, a text in which hosts,
// addresses, numbers and dates have become words for what they are, so that
// lines that one program wrote have one template.

#ifndef MESSAGE_RECEIVED_H_
#define MESSAGE_RECEIVED_H_

#include <stdint.h>

#include "base/str.h"
#include "base/tblock.h"
#include "regex/regex.h"

class REGEXPOOL;

// The patterns of templates, compiled once for a scan. Not to be shared by
// threads.
class RECEIVEDWARE {
 public:
  // Patterns of comments, in the order in which they are tried.
  static const int32_t kCommentCount = 4;

  // `pool` is borrowed and may be null.
  explicit RECEIVEDWARE(REGEXPOOL* pool);

  // Replaces `adn` by the template of the text; returns its characters. With
  // `oneWord` all of the text is one word.
  const char* getReceivedAdn(TBLOCK text, STR& adn, int oneWord);

 private:
  void addTemplate(TBLOCK text, STR& adn, int32_t depth);
  void addBrackets(TBLOCK& text, uint32_t end, unsigned char close, STR& adn,
                   int32_t depth);
  void skipDate(TBLOCK& text, STR& adn);
  const char* commentWord(TBLOCK inside) const;

  REGEX date;
  REGEX exchange, lotus, netscape, sendmail;
  REGEX* comments[kCommentCount];
};

// Views into the field's value, which must outlive the record.
class BLOCKRECEIVED {
 public:
  STR adn;             // template: see RECEIVEDWARE; parse leaves it empty
  RECEIVEDWARE* ware;  // borrowed; may be null
  REGEXPOOL* pool;     // borrowed; may be null
  TBLOCK text;         // the whole value
  TBLOCK from;         // what follows each of these words
  TBLOCK by;
  TBLOCK via;  // "via" or "through"
  TBLOCK with;
  TBLOCK id;
  TBLOCK forAddress;       // without angle brackets
  TBLOCK date;             // behind the last ";"
  TBLOCK fromIp;           // first IPv4 address of `from`
  int32_t hasLeadingText;  // 1: text stands before the first of the words

  BLOCKRECEIVED(TBLOCK text, RECEIVEDWARE* ware, REGEXPOOL* pool);

  void clear();
  void parse(TBLOCK value);
  // Whether the field tells of no relay at all.
  int isSmtpComment() const;

 private:
  static TBLOCK nextAtom(TBLOCK& rest);
  void cutDate(TBLOCK& rest);
  void setBlockValue(int32_t field, TBLOCK value);
  void parseFromIp();
};

// Appends a word to a template, with a blank ahead of it where one is due.
void _AddToReceivedAdn(STR& adn, const char* word);

#endif  // MESSAGE_RECEIVED_H_
