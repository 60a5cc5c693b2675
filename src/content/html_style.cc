// Colours, sizes, style elements and the stack of open tags. Nothing is read of
// them yet.

#include "content/contexts.h"

int32_t ParseHtmlColor(TBLOCK /*text*/) {
  return kStyleUnset;
}

int GetFirstStyleProp(TBLOCK& cursor, TBLOCK& name, TBLOCK& value) {
  return GetNextStyleProp(cursor, name, value);
}

int GetNextStyleProp(TBLOCK& cursor, TBLOCK& name, TBLOCK& value) {
  while (!cursor.empty()) {
    value = TBLOCK::BlockBeforeChar(cursor, ';', 0, 0);
    const int32_t colon = value.findByte(':');
    if (colon < 0) continue;
    name = value.head(static_cast<uint32_t>(colon));
    value.skip(static_cast<uint32_t>(colon) + 1);
    name.trim();
    value.trim();
    return 1;
  }
  return 0;
}

void THTMLCONTEXT::clearStyles() {
  curColor = bodyTextColor = bodyLinkColor = kStyleUnset;
  curBackground = kStartBackground;
  curFontSize = prevFontSize = kStartFontSize;
}

void THTMLCONTEXT::pushTag(const THITEM& /*item*/, const char* /*color*/,
                           const char* /*background*/, const char* /*size*/) {}

void THTMLCONTEXT::popTag(THTMLTAG /*tag*/) {}

void THTMLCONTEXT::parseStyle(TBLOCK /*block*/) {}

void THTMLCONTEXT::parseStyleBlock(TBLOCK /*selectors*/, TBLOCK /*body*/) {}

void THTMLCONTEXT::getStyleValues(const THITEM& /*item*/, TBLOCK /*tag*/,
                                  int32_t& /*color*/, int32_t& /*background*/,
                                  int16_t& /*size*/) {}

void THTMLCONTEXT::addInvisible(TBLOCK /*text*/) {}

void THTMLCONTEXT::clearInvisible() {
  invisibleLength = invisibleWordCount = 0;
  invisibleTexts.clear();
}
