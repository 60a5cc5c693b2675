// The HTML tokenizer: a walk over a text, item by item, that any bytes survive.
//
// Nothing allocates. The decoders write over the text that they read, so the
// text is the caller's own copy, and an item is decoded once. Rows of tags
// stand in html_tags.inc, names of entities in html_entities.inc.

#ifndef CONTENT_HTML_ITEM_H_
#define CONTENT_HTML_ITEM_H_

#include <stdint.h>

#include "base/tblock.h"

class TCharset;

// THITEM::type
enum THTMLITEMTYPE : uint32_t {
  hitText = 0,  // between tags
  hitOpenTag = 1,
  hitCloseTag = 2,
  hitComment = 3,  // from here on: with all that belongs to the element
  hitTitle = 4,
  hitScript = 5,
  hitStyle = 6,
  hitXml = 7,
  hitTextArea = 8,
  hitNone = 11  // nothing: the end of the text
};

// THITEM::flags
enum : uint32_t {
  hifAllowLeadingSpace = 0x1,  // the next item keeps its leading white space
  hifNewLine = 0x2,            // a tag that breaks the line
  hifWhite = 0x4,              // decoded text: nothing that shows
  hifWhiteSpace = 0x8,         // decoded text: nothing but white space
  // From here on, kept from item to item: what a search has shown to be absent
  // from the rest of the text, so that it is not searched for again.
  hifAbsent = 0x100
};

// A row of TagInfos; htUnknown when a name is none of them.
typedef uint32_t THTMLTAG;

// htA, htP, htDIV ...: the rows by name.
enum : THTMLTAG {
#define QM_TAG(member, name, code, flags) ht##member,
#include "content/html_tags.inc"
#undef QM_TAG
  htUnknown
};

// THTMLTAGINFO::flags
enum : uint32_t {
  tiClosed = 1,     // the element has a closing tag; nobody reads this
  tiSpace = 2,      // separates words
  tiLineBreak = 4,  // ends a line
  tiNewLine = 8     // writes a line end at once
};

struct THTMLTAGINFO {
  const char* name;  // in capitals; "*" stands for any bytes
  const char* code;  // two letters, for patterns
  uint32_t flags;    // ti...
};

// With the row of htUnknown behind the others.
extern const THTMLTAGINFO TagInfos[htUnknown + 1];

struct THITEM {
  TBLOCK block;    // all of the item, "<" and ">" included
  uint32_t flags;  // hif...
  uint32_t type;   // THTMLITEMTYPE
  THTMLTAG tag;    // of tags and elements; else htUnknown
};

void ClearHtmlItem(THITEM& item, uint32_t flags);
// Skips bytes below 0x21.
void HtmlLeftTrim(TBLOCK& cursor);
// Each takes the item off the front of the cursor.
void GetFirstHtmlItem(TBLOCK& cursor, THITEM& item);
void GetNextHtmlItem(TBLOCK& cursor, THITEM& item);
// At a "<": leaves hitNone, and the cursor where it is, when it is no tag.
void ParseTagItem(TBLOCK& cursor, THITEM& item);
// Bytes of the tag that the text begins with, "<" and ">" included.
uint32_t HtmlTagLength(TBLOCK text);
// At least one byte, whatever it is.
void ParseTextItem(TBLOCK& cursor, THITEM& item);
// Items of that type, tags also of that tag, in the rest of the text; hitNone
// counts all.
uint32_t HtmlItemCount(TBLOCK text, const THITEM& like);

// At a "&": takes the entity, or only the "&", and returns its byte.
// `charset`, which may be null, counts the zone of a numbered character.
unsigned char DecodeEntity(TBLOCK& cursor, TCharset* charset);
// Cleans a text item: entities decoded, control bytes dropped, white space
// collapsed or, with keepLines, kept. Shortens the item. WRITES.
void DecodeText(THITEM& item, TCharset* charset, int keepLines);
// The same for any block, collapsing; returns the shortened view. WRITES.
TBLOCK DecodeBlockEntities(TBLOCK text, TCharset* charset);

// Looks for an attribute by searching the tag's text, so that a name inside
// the value of another one is found too. 1 with the value, which may be empty.
int GetTagParamValue(TBLOCK tag, const char* name, TBLOCK& value);
// Walk the attributes: 1 with a name and its value; 0 for a bare attribute and
// at the end. A walk goes on while the cursor is not empty.
int GetFirstTagParam(TBLOCK& cursor, TBLOCK& name, TBLOCK& value);
int GetNextTagParam(TBLOCK& cursor, TBLOCK& name, TBLOCK& value);

// Takes the disguise off a URL: percent signs, entities, backslashes, control
// bytes. `hidden` grows by one for a URL that hid ordinary characters. Returns
// the shortened view. WRITES.
TBLOCK DecodeUrl(TBLOCK& url, int32_t& hidden);

#endif  // CONTENT_HTML_ITEM_H_
