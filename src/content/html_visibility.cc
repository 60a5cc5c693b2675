// The open tags, and with them the colour, background and size in force: text
// that arrives while colour and background look the same, or at size 0, cannot
// be seen. Entries: THTMLCONTEXT::pushTag, popTag, addInvisible. Tested by
// html_style_test.cc.

#include "content/contexts.h"
#include "message/charset.h"

namespace {

const uint32_t kRecordStep = 4096;  // bytes

// Pixels of a heading; unchanged for other tags.
void GetHeadingSize(THTMLTAG tag, int16_t& size) {
  switch (tag) {
    case htH1:
      size = 36;
      break;
    case htH2:
      size = 24;
      break;
    case htH3:
      size = 18;
      break;
    case htH4:
      size = 16;
      break;
    case htH5:
      size = 12;
      break;
    case htH6:
      size = 10;
      break;
    default:
      break;
  }
}

// Bytes of words: letters, and the marks of letters of other scripts.
bool IsWordByte(unsigned char byte) {
  if (TBLOCK::Is(byte, bitAlpha | bitAccent)) return true;
  switch (byte) {
    case CHUNK_CHAR:
    case CHUNK:
    case CHUNK_CYRILLIC:
    case CHUNK_GREEK:
    case CHUNK_ASIAN:
    case CHUNK_ARABIC:
      return true;
    default:
      return false;
  }
}

bool SeparatesWords(unsigned char byte) {
  return byte == ',' || byte == '.' || TBLOCK::Is(byte, bitWhiteSpace);
}

// Words of at least two bytes that consist of letters alone.
int32_t CountLetterWords(TBLOCK text) {
  int32_t count = 0;
  uint32_t i = 0;
  while (i < text.length) {
    const uint32_t begin = i;
    bool letters = true;
    for (; i < text.length && !SeparatesWords(text[i]); i++)
      if (!IsWordByte(text[i])) letters = false;
    if (letters && i - begin >= 2) count++;
    i++;
  }
  return count;
}

}  // namespace

// ---- The stack

const uint16_t TTAGSTACK::kNone;

TTAGSTACK::TTAGSTACK() : records(0, kRecordStep) {
  clear();
}

void TTAGSTACK::clear() {
  records.empty();
  spare = kNone;
  for (uint16_t& first : newestOfTag) first = kNone;
  for (uint16_t& first : newestOf) first = kNone;
  used = 0;
  pushes = 0;
}

int32_t TTAGSTACK::count() const {
  return used;
}

TTAGSTACK::RECORD& TTAGSTACK::record(uint16_t i) const {
  return reinterpret_cast<RECORD*>(records.data)[i];
}

// A record that is not in use, or kNone.
uint16_t TTAGSTACK::takeRecord() {
  if (spare != kNone) {
    const uint16_t at = spare;
    spare = record(at).olderOfTag;
    return at;
  }
  const uint32_t n = records.length / static_cast<uint32_t>(sizeof(RECORD));
  const RECORD fresh = {};
  if (n >= static_cast<uint32_t>(kMaxTagStack) ||
      !records.add(&fresh, sizeof fresh))
    return kNone;
  return static_cast<uint16_t>(n);
}

void TTAGSTACK::push(const TTAGSTYLE& style) {
  const uint16_t at = takeRecord();
  if (at == kNone) return;
  RECORD& fresh = record(at);
  fresh.style = style;
  fresh.number = ++pushes;
  fresh.olderOfTag = newestOfTag[style.tag];
  newestOfTag[style.tag] = at;
  const bool sets[tsListCount] = {true, style.color != kStyleUnset,
                                  style.background != kStyleUnset,
                                  style.fontSize != kStyleUnset};
  for (uint32_t list = 0; list < tsListCount; list++) {
    fresh.older[list] = fresh.newer[list] = kNone;
    if (!sets[list]) continue;
    fresh.older[list] = newestOf[list];
    if (newestOf[list] != kNone) record(newestOf[list]).newer[list] = at;
    newestOf[list] = at;
  }
  used++;
}

// REQUIRES: the record is the newest of its tag.
uint32_t TTAGSTACK::remove(uint16_t at) {
  RECORD& gone = record(at);
  uint32_t lost = 0;
  for (uint32_t list = 0; list < tsListCount; list++) {
    const uint16_t older = gone.older[list];
    const uint16_t newer = gone.newer[list];
    if (newer == kNone && newestOf[list] != at) continue;  // is not in it
    lost |= 1u << list;
    if (newer == kNone)
      newestOf[list] = older;
    else
      record(newer).older[list] = older;
    if (older != kNone) record(older).newer[list] = newer;
  }
  newestOfTag[gone.style.tag] = gone.olderOfTag;
  gone.olderOfTag = spare;
  spare = at;
  used--;
  return lost;
}

bool TTAGSTACK::isNewer(THTMLTAG tag, uint32_t number) const {
  return newestOfTag[tag] != kNone && record(newestOfTag[tag]).number > number;
}

uint32_t TTAGSTACK::pop(THTMLTAG tag) {
  const uint16_t at = newestOfTag[tag];
  if (at == kNone) return 0;
  const uint32_t number = record(at).number;
  if (tag == htTD && (isNewer(htTR, number) || isNewer(htTABLE, number)))
    return 0;
  if (tag == htTR && isNewer(htTABLE, number)) return 0;
  uint32_t lost = 0;
  // From the newest on, each record is the newest of its tag.
  if (tag == htTD || tag == htTR || tag == htTABLE)
    while (newestOf[tsAll] != at) lost |= remove(newestOf[tsAll]);
  return lost | remove(at);
}

int32_t TTAGSTACK::newest(uint32_t list) const {
  if (newestOf[list] == kNone) return kStyleUnset;
  const TTAGSTYLE& style = record(newestOf[list]).style;
  switch (list) {
    case tsColor:
      return style.color;
    case tsBackground:
      return style.background;
    case tsFontSize:
      return style.fontSize;
    default:
      return kStyleUnset;
  }
}

// ---- What is in force

void THTMLCONTEXT::clearStyles() {
  curColor = bodyTextColor = bodyLinkColor = kStyleUnset;
  curBackground = kStartBackground;
  curFontSize = prevFontSize = kStartFontSize;
  tagStack.clear();
  styleItems.clear();
  styleRules.clear();
  styleText.clear();
  clearInvisible();
}

// What the tag itself says. Its own attribute stands behind the rules, and the
// style attribute behind that; only a size attribute comes last.
void THTMLCONTEXT::getTagStyle(const THITEM& item, const char* colorAttribute,
                               const char* backgroundAttribute,
                               const char* sizeAttribute, TTAGSTYLE& style) {
  const TBLOCK tag = item.block;
  TBLOCK value;
  bool picture = false;
  if (*backgroundAttribute) {
    if (tagParam(tag, "background", value))
      style.background = kStyleUnknown;
    else if (tagParam(tag, backgroundAttribute, value))
      GetHtmlColor(value, style.background);
    picture = style.background == kStyleUnknown;
  }
  getStyleValues(item, tag, style.color, style.background, style.fontSize);
  if (style.background == kStyleUnknown) picture = true;
  if (*colorAttribute && tagParam(tag, colorAttribute, value))
    GetHtmlColor(value, style.color);
  if (tagParam(tag, "style", value)) {
    const TSTYLEPROPS props(value);
    props.getColor(style.color);
    props.getBackground(style.background);
    props.getFontSize(style.fontSize);
  }
  if (picture) style.background = kStyleUnknown;
  if (*sizeAttribute && tagParam(tag, sizeAttribute, value))
    ParseHtmlFontSize(value, style.fontSize);
}

void THTMLCONTEXT::pushTag(const THITEM& item, const char* colorAttribute,
                           const char* backgroundAttribute,
                           const char* sizeAttribute) {
  TTAGSTYLE style = {item.tag, kStyleUnset, kStyleUnset, curFontSize};
  if (item.tag == htA)
    style.color = bodyLinkColor;
  else if (item.tag == htBODY || item.tag == htTD)
    style.color = bodyTextColor;
  GetHeadingSize(item.tag, style.fontSize);
  getTagStyle(item, colorAttribute, backgroundAttribute, sizeAttribute, style);
  tagStack.push(style);
  if (style.color != kStyleUnset) curColor = style.color;
  if (style.background != kStyleUnset) curBackground = style.background;
  if (style.fontSize != kStyleUnset) curFontSize = style.fontSize;
  flags &= ~hcfInvisibleChars;
  if (curFontSize == 0 || ColorCompare(curColor, curBackground))
    flags |= hcfInvisibleChars;
}

// Size 0 is not asked for again: what it hid may show once an element ends.
// That is deliberate, and so is the test when nothing was removed.
void THTMLCONTEXT::popTag(THTMLTAG tag) {
  const uint32_t lost = tagStack.pop(tag);
  if (lost >> TTAGSTACK::tsColor & 1)
    curColor = tagStack.newest(TTAGSTACK::tsColor);
  if (lost >> TTAGSTACK::tsBackground & 1)
    curBackground = tagStack.newest(TTAGSTACK::tsBackground);
  if (lost >> TTAGSTACK::tsFontSize & 1) {
    const int32_t size = tagStack.newest(TTAGSTACK::tsFontSize);
    curFontSize =
        size == kStyleUnset ? kStartFontSize : static_cast<int16_t>(size);
  }
  flags &= ~hcfInvisibleChars;
  if (ColorCompare(curColor, curBackground)) flags |= hcfInvisibleChars;
}

// ---- Text that cannot be seen

void THTMLCONTEXT::addInvisible(TBLOCK text) {
  invisibleLength += static_cast<int32_t>(text.length);
  invisibleTexts.add(text, 0, 0);
  invisibleWordCount += CountLetterWords(text);
}

void THTMLCONTEXT::clearInvisible() {
  invisibleLength = invisibleWordCount = 0;
  invisibleTexts.clear();
}
