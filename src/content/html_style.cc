// Colours, sizes, style elements and the stack of open tags. Nothing is read of
// them yet.

#include "content/contexts.h"

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
