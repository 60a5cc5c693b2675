// What a mail reader would not show: colours, font sizes and style elements.
//
// THTMLCONTEXT keeps the colour, background and size in force (contexts.h);
// here are the readers of single values, and what the context stores.

#ifndef CONTENT_HTML_STYLE_H_
#define CONTENT_HTML_STYLE_H_

#include <stdint.h>

#include "base/block.h"
#include "base/tblock.h"
#include "content/html_item.h"

// Values of colours and sizes that are none.
const int32_t kStyleUnset = -1;
const int32_t kStyleUnknown = -2;  // a picture; a rule that may not apply
// Start values of a parse; a colour starts unset.
const int32_t kStartBackground = 0xFFFFFF;
const int16_t kStartFontSize = 16;
// Tags that are open at one time; more are not remembered.
const int32_t kMaxTagStack = 4096;

// 0xRRGGBB, or kStyleUnset.
int32_t ParseHtmlColor(TBLOCK text);
// Walk "name:value;" declarations, without white space around both: 1, or 0
// at the end. What has no ":" is passed over.
int GetFirstStyleProp(TBLOCK& cursor, TBLOCK& name, TBLOCK& value);
int GetNextStyleProp(TBLOCK& cursor, TBLOCK& name, TBLOCK& value);

// What an open tag sets; kStyleUnset where it sets nothing.
struct TTAGSTYLE {
  THTMLTAG tag;
  int32_t color;
  int32_t background;
  int16_t fontSize;
};

// The open tags, the newest last.
class TTAGSTACK : public BLOCK {
 public:
  TTAGSTACK() : BLOCK(0, 4096) {}
};

// The rules of style elements, one selector each.
class TSTYLEITEMVECT : public BLOCK {
 public:
  TSTYLEITEMVECT() : BLOCK(0, 4096) {}
};

// The same, folded by what they name.
class TSTYLERULES {};

#endif  // CONTENT_HTML_STYLE_H_
