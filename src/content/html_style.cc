// Style properties and font sizes, and the rules of style elements: the little
// of style sheets that says which text can be seen. Rules are folded as they
// are read; getStyleValues looks up what they come to. A style element that
// holds prose instead of rules is an anomaly. Entries: the readers of
// html_style.h, THTMLCONTEXT::parseStyle and getStyleValues. Tested by
// html_style_test.cc.

#include <new>

#include "base/count.h"
#include "content/contexts.h"
#include "content/digits.h"

const int16_t FontSizes[kFontSizeCount] = {7, 10, 12, 14, 18, 24, 36};
const char* const szFontSizesStr[kFontSizeCount] = {
    "xx-small", "x-small", "small", "medium", "large", "x-large", "xx-large"};

namespace {

// Sizes in pixels stop here.
const int32_t kMaxFontSize = 72;
// Size of an attribute that is counted from.
const int32_t kBaseSize = 3;
// Pixels of one em.
const int32_t kEmSize = 10;
// Parts of a pixel that are counted. More digits decide nothing.
const int64_t kParts = 1000000;

const uint32_t kEntryStep = 4096;  // bytes
const uint32_t kLeastSlots = 64;
// Room for copies of selectors.
const uint32_t kLeastChunk = 4096;  // bytes

bool IsSign(unsigned char byte) {
  return byte == '-' || byte == '+';
}

bool DropEnd(TBLOCK& text, const char* end) {
  if (!text.ends(end)) return false;
  text.cut(text.length - static_cast<uint32_t>(strlen(end)));
  return true;
}

int16_t Limited(int64_t pixels) {
  return static_cast<int16_t>(
      pixels < 0 ? 0 : (pixels > kMaxFontSize ? kMaxFontSize : pixels));
}

// Whether a sign may stand ahead of digits, with the marks of fractions.
bool IsNumber(TBLOCK text, bool fraction) {
  bool digit = false;
  for (uint32_t i = 0; i < text.length; i++) {
    if (TBLOCK::Is(text[i], bitDigit))
      digit = true;
    else if (!(i == 0 && IsSign(text[i])) &&
             !(fraction && (text[i] == '.' || text[i] == ',')))
      return false;
  }
  return digit;
}

// A comma ends the number: "1,5" is 1.
void ParsePixels(TBLOCK text, int32_t factor, int16_t& size) {
  if (!IsNumber(text, true)) return;
  const bool negative = text[0] == '-';
  if (IsSign(text[0])) text.skip(1);
  int64_t number = TakeNumber(text) * kParts;
  if (!text.empty() && text[0] == '.') {
    text.skip(1);
    for (int64_t part = kParts / 10;
         part > 0 && !text.empty() && TBLOCK::Is(text[0], bitDigit);
         part /= 10) {
      number += part * (text[0] - '0');
      text.skip(1);
    }
  }
  if (negative) number = 0;  // the smallest size
  size = Limited((number * factor + kParts / 2) / kParts);
}

bool IsPicture(TBLOCK value) {
  return value.find("url(") >= 0;
}

// The property that a name means; spCount when it is of no interest.
uint32_t PropertyOf(TBLOCK name) {
  switch (name.length) {
    case 5:
      if (name.equals("color")) return TSTYLEPROPS::spColor;
      break;
    case 7:
      if (name.equals("display")) return TSTYLEPROPS::spDisplay;
      break;
    case 9:
      if (name.equals("font-size")) return TSTYLEPROPS::spFontSize;
      break;
    case 10:
      if (name.equals("background")) return TSTYLEPROPS::spBackground;
      break;
    case 16:
      if (name.equals("background-color"))
        return TSTYLEPROPS::spBackgroundColor;
      if (name.equals("background-image"))
        return TSTYLEPROPS::spBackgroundImage;
      break;
    default:
      break;
  }
  return TSTYLEPROPS::spCount;
}

// The row of a name, whole.
THTMLTAG FindTag(TBLOCK name) {
  if (name.empty()) return htUnknown;
  const unsigned char* const fold = TBLOCK::LowerConvTable;
  const unsigned char first = fold[name[0]];
  for (THTMLTAG row = 0; row < htUnknown; row++) {
    const char* const known = TagInfos[row].name;
    if (fold[static_cast<unsigned char>(known[0])] == first &&
        name.equals(known))
      return row;
  }
  return htUnknown;
}

TBLOCK LettersInside(TBLOCK text) {
  while (!text.empty() && !TBLOCK::Is(text[0], bitLetter)) text.skip(1);
  while (!text.empty() && !TBLOCK::Is(text[text.length - 1], bitLetter))
    text.cut(text.length - 1);
  return text;
}

// The content of a style element, without what hides it from old readers.
TBLOCK StyleContent(TBLOCK block) {
  block.trim();
  if (block.begins("<style")) {
    const int32_t end = block.findByte('>');
    block.skip(end < 0 ? block.length : static_cast<uint32_t>(end) + 1);
  }
  const int32_t close = block.find("</style>");
  if (close >= 0) block.cut(static_cast<uint32_t>(close));
  block.trim();
  if (block.begins("<!--")) block.skip(4);
  DropEnd(block, "-->");
  block.trim();
  return block;
}

// Whether a comment begins at that byte.
bool OpensComment(TBLOCK text, uint32_t i) {
  return text[i] == '/' && i + 1 < text.length && text[i + 1] == '*';
}

// Copies what stands outside of comments; one that is not closed has no end.
uint32_t CopyOutsideComments(TBLOCK text, unsigned char* out) {
  uint32_t length = 0;
  for (uint32_t i = 0; i < text.length; i++) {
    if (!OpensComment(text, i)) {
      out[length++] = text[i];
      continue;
    }
    i += 2;
    while (i < text.length &&
           !(text[i] == '*' && i + 1 < text.length && text[i + 1] == '/'))
      i++;
    i++;
  }
  return length;
}

bool HasComment(TBLOCK text) {
  for (int32_t at = text.findByte('/'); at >= 0;
       at = text.findByte('/', static_cast<uint32_t>(at) + 1))
    if (OpensComment(text, static_cast<uint32_t>(at))) return true;
  return false;
}

// What TSTYLERULES tells apart.
enum : uint32_t { kClassScope = 0x100, kIdScope = 0x200 };

uint32_t MixScope(uint32_t hash, uint32_t scope) {
  hash = (hash ^ scope) * 0x85EBCA77u;
  return hash ^ hash >> 15;
}

}  // namespace

// ---- Attributes

void ParseHtmlFontSize(TBLOCK value, int16_t& size) {
  if (!IsNumber(value, false)) return;
  const bool negative = value[0] == '-';
  const bool relative = IsSign(value[0]);
  if (relative) value.skip(1);
  int32_t number = TakeNumber(value);
  if (negative) number = -number;
  if (relative) number += kBaseSize;
  const int32_t last = kFontSizeCount;
  size = FontSizes[(number < 1 ? 1 : (number > last ? last : number)) - 1];
}

// ---- Style properties

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

TSTYLEPROPS::TSTYLEPROPS(TBLOCK style) : found(0) {
  TBLOCK name, value;
  while (GetNextStyleProp(style, name, value)) {
    const uint32_t property = PropertyOf(name);
    if (property == spCount || has(property)) continue;
    values[property] = value;
    found |= 1u << property;
  }
}

void TSTYLEPROPS::getColor(int32_t& color) const {
  if (has(spColor)) GetHtmlColor(values[spColor], color);
}

void TSTYLEPROPS::getBackground(int32_t& background) const {
  if (has(spBackgroundImage) && IsPicture(values[spBackgroundImage])) {
    background = kStyleUnknown;
  } else if (has(spBackgroundColor)) {
    GetHtmlColor(values[spBackgroundColor], background);
  } else if (has(spBackground)) {
    if (IsPicture(values[spBackground]))
      background = kStyleUnknown;
    else
      GetHtmlColor(values[spBackground], background);
  }
}

// The endings go in this order, one of each, so that "1empx" is "1em"; a blank
// ahead of one makes no number.
void TSTYLEPROPS::getFontSize(int16_t& size) const {
  if (has(spDisplay) && values[spDisplay].equals("none")) {
    size = 0;
    return;
  }
  if (!has(spFontSize)) return;
  TBLOCK text = values[spFontSize];
  if (text.empty() || text[text.length - 1] == '%') return;
  if (!TBLOCK::Is(text[0], bitDigit)) {
    for (uint32_t row = 0; row < kFontSizeCount; row++) {
      if (!text.equals(szFontSizesStr[row])) continue;
      size = FontSizes[row];
      return;
    }
  }
  if (!DropEnd(text, "px")) DropEnd(text, "pt");
  ParsePixels(text, DropEnd(text, "em") ? kEmSize : 1, size);
}

// ---- Selectors

TSTYLEITEM::TSTYLEITEM(TBLOCK selector)
    : tag(htUnknown),
      color(kStyleUnset),
      background(kStyleUnset),
      fontSize(kStyleUnset),
      flags(0) {
  selector.trim();
  // Other white space joins nothing: deliberate.
  for (uint32_t i = selector.length; i-- > 0;) {
    if (selector[i] != ' ' && selector[i] != '+' && selector[i] != '>')
      continue;
    selector.skip(i + 1);
    flags |= ssfMulti;
    break;
  }
  const int32_t colon = selector.findByte(':');
  if (colon >= 0) {
    selector.cut(static_cast<uint32_t>(colon));
    flags |= ssfPseudo;
  }
  uint32_t begin = 0;
  for (uint32_t i = 1; i < selector.length; i++) {
    if (selector[i] != '.' && selector[i] != '#') continue;
    setSelector(TBLOCK(selector.pointer + begin, i - begin));
    begin = i;
  }
  setSelector(selector.from(begin));
}

void TSTYLEITEM::setSelector(TBLOCK piece) {
  while (!piece.empty() && (piece[0] == ',' || piece[0] == ';' ||
                            TBLOCK::Is(piece[0], bitWhiteSpace)))
    piece.skip(1);
  if (piece.empty()) return;
  switch (piece[0]) {
    case '.':
      className = piece.from(1);
      break;
    case '#':
      idName = piece.from(1);
      break;
    case ':':
    case '@':
      break;
    default:
      tag = FindTag(piece);
      break;
  }
}

int32_t TSTYLEITEMVECT::count() const {
  return static_cast<int32_t>(length / sizeof(TSTYLEITEM));
}

const TSTYLEITEM& TSTYLEITEMVECT::at(int32_t i) const {
  return reinterpret_cast<const TSTYLEITEM*>(data)[i];
}

int TSTYLEITEMVECT::add(const TSTYLEITEM& item) {
  return BLOCK::add(&item, sizeof item);
}

// ---- Rules, folded

TSTYLERULES::TSTYLERULES()
    : entries(0, kEntryStep), slots(0, kEntryStep), ruleCount(0) {
  clear();
}

void TSTYLERULES::clear() {
  memset(tags, 0, sizeof tags);
  entries.empty();
  slots.empty();
  ruleCount = 0;
}

// Differs from object to object, so that nobody can write names that collide.
uint32_t TSTYLERULES::hashOf(TBLOCK name) const {
  uint32_t hash =
      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(this) >> 4) ^
      0x9E3779B1u;
  for (uint32_t i = 0; i < name.length; i++) {
    hash = (hash ^ TBLOCK::AsciiLowerTable[name[i]]) * 0x9E3779B1u;
    hash ^= hash >> 15;
  }
  return hash;
}

TSTYLERULES::ENTRY* TSTYLERULES::entry(uint32_t i) const {
  return reinterpret_cast<ENTRY*>(entries.data) + i;
}

// The slot of an entry, or the free one where it belongs.
uint32_t TSTYLERULES::slotOf(TBLOCK name, uint32_t hash, uint32_t scope) const {
  const uint32_t* const numbers = reinterpret_cast<uint32_t*>(slots.data);
  const uint32_t mask =
      slots.length / static_cast<uint32_t>(sizeof(uint32_t)) - 1;
  uint32_t i = hash & mask;
  for (; numbers[i]; i = (i + 1) & mask) {
    const ENTRY* const known = entry(numbers[i] - 1);
    if (known->hash == hash && known->scope == scope &&
        known->name.equals(name, TBLOCK::AsciiLowerTable))
      break;
  }
  return i;
}

bool TSTYLERULES::growSlots() {
  const uint32_t bytes =
      slots.length ? slots.length * 2
                   : kLeastSlots * static_cast<uint32_t>(sizeof(uint32_t));
  if (slots.capacity < bytes && !slots.addSpace(bytes - slots.capacity))
    return false;
  memset(slots.data, 0, bytes);
  slots.length = bytes;
  uint32_t* const numbers = reinterpret_cast<uint32_t*>(slots.data);
  const uint32_t mask = bytes / static_cast<uint32_t>(sizeof(uint32_t)) - 1;
  const uint32_t count = entries.length / static_cast<uint32_t>(sizeof(ENTRY));
  for (uint32_t n = 0; n < count; n++) {
    uint32_t i = entry(n)->hash & mask;
    while (numbers[i]) i = (i + 1) & mask;
    numbers[i] = n + 1;
  }
  return true;
}

const TSTYLERULES::SETTINGS* TSTYLERULES::find(TBLOCK name, uint32_t nameHash,
                                               uint32_t scope) const {
  const uint32_t i = slotOf(name, MixScope(nameHash, scope), scope);
  const uint32_t number = reinterpret_cast<uint32_t*>(slots.data)[i];
  return number ? &entry(number - 1)->settings : nullptr;
}

TSTYLERULES::SETTINGS* TSTYLERULES::findOrAdd(TBLOCK name, uint32_t scope) {
  const uint32_t count = entries.length / static_cast<uint32_t>(sizeof(ENTRY));
  // At most half of the slots are in use.
  if ((count + 1) * 2 * sizeof(uint32_t) > slots.length && !growSlots())
    return nullptr;
  const uint32_t hash = MixScope(hashOf(name), scope);
  const uint32_t i = slotOf(name, hash, scope);
  uint32_t* const numbers = reinterpret_cast<uint32_t*>(slots.data);
  if (!numbers[i]) {
    const ENTRY fresh = {name, hash, scope, {}};
    if (!entries.add(&fresh, sizeof fresh)) return nullptr;
    numbers[i] = count + 1;
  }
  return &entry(numbers[i] - 1)->settings;
}

// A rule that may not concern the tag makes what it sets unknown.
void TSTYLERULES::set(SETTINGS& settings, const TSTYLEITEM& item,
                      uint32_t when) {
  const bool sure = item.flags == 0;
  if (item.color != kStyleUnset)
    settings.color = {sure ? item.color : kStyleUnknown, when};
  if (item.background != kStyleUnset)
    settings.background = {sure ? item.background : kStyleUnknown, when};
  if (item.fontSize != kStyleUnset)
    settings.fontSize = {sure ? item.fontSize : kStyleUnknown, when};
}

void TSTYLERULES::add(const TSTYLEITEM& item) {
  const uint32_t when = ++ruleCount;
  if (item.className.empty() && item.idName.empty())
    set(tags[item.tag], item, when);
  if (!item.className.empty()) {
    SETTINGS* const known = findOrAdd(item.className, kClassScope | item.tag);
    if (known) set(*known, item, when);
  }
  if (!item.idName.empty()) {
    SETTINGS* const known = findOrAdd(item.idName, kIdScope | item.tag);
    if (known) set(*known, item, when);
  }
}

// Of each value the one that was set later. Either may be null.
void TSTYLERULES::choose(const SETTINGS* one, const SETTINGS* other,
                         int32_t& color, int32_t& background, int16_t& size) {
  static const SETTINGS kNothing = {};
  if (!one) one = &kNothing;
  if (!other) other = &kNothing;
  const auto later = [](const SETTING& a, const SETTING& b) {
    return a.when > b.when ? a : b;
  };
  const SETTING newColor = later(one->color, other->color);
  const SETTING newBackground = later(one->background, other->background);
  const SETTING newSize = later(one->fontSize, other->fontSize);
  if (newColor.when) color = newColor.value;
  if (newBackground.when) background = newBackground.value;
  if (newSize.when) size = static_cast<int16_t>(newSize.value);
}

void TSTYLERULES::apply(THTMLTAG tag, TBLOCK className, TBLOCK idName,
                        int32_t& color, int32_t& background,
                        int16_t& size) const {
  choose(&tags[tag], nullptr, color, background, size);
  if (slots.length == 0) return;
  const struct {
    TBLOCK name;
    uint32_t scope;
  } kNames[] = {{className, kClassScope}, {idName, kIdScope}};
  for (const auto& named : kNames) {
    if (named.name.empty()) continue;
    const uint32_t hash = hashOf(named.name);
    const SETTINGS* const any = find(named.name, hash, named.scope | htUnknown);
    const SETTINGS* const own = find(named.name, hash, named.scope | tag);
    if (any || own) choose(any, own, color, background, size);
  }
}

// ---- Copies of selectors

struct TSTYLETEXT::CHUNK {
  CHUNK* older;
  BLOCK bytes;

  explicit CHUNK(CHUNK* olderChunk, uint32_t size)
      : older(olderChunk), bytes(size, 0) {}
};

unsigned char* TSTYLETEXT::room(uint32_t n) {
  if (!newest || newest->bytes.capacity - newest->bytes.length < n) {
    CHUNK* const chunk =
        new (std::nothrow) CHUNK(newest, n > kLeastChunk ? n : kLeastChunk);
    if (!chunk) return nullptr;
    newest = chunk;
    if (!chunk->bytes.data) return nullptr;
  }
  return newest->bytes.data + newest->bytes.length;
}

void TSTYLETEXT::keep(uint32_t n) {
  if (newest) newest->bytes.length += n;
}

void TSTYLETEXT::clear() {
  while (newest) {
    CHUNK* const chunk = newest;
    newest = chunk->older;
    delete chunk;
  }
}

// ---- Style elements

// A selector list without comments.
TBLOCK THTMLCONTEXT::cleanSelectors(TBLOCK text) {
  if (HasComment(text)) {
    unsigned char* const copy = styleText.room(text.length);
    const uint32_t n = copy ? CopyOutsideComments(text, copy) : 0;
    text = TBLOCK(copy, n);
    styleText.keep(n);
  }
  text.trim();
  return text;
}

void THTMLCONTEXT::parseStyle(TBLOCK block) {
  TBLOCK rest = StyleContent(block);
  if (rest.find(".css") >= 0) return;  // only tells of a sheet elsewhere
  for (;;) {
    const int32_t open = rest.findByte('{');
    if (open < 0) return;
    TBLOCK selectors = cleanSelectors(rest.head(static_cast<uint32_t>(open)));
    rest.skip(static_cast<uint32_t>(open) + 1);
    const bool closed = rest.findByte('}') >= 0;
    TBLOCK body = TBLOCK::BlockBeforeChar(rest, '}', 0, 0);
    body.trim();
    if (closed && body.findByte(':') >= 0) {
      styleAnomalyCount -= CountWords(selectors) + CountWords(body);
      parseStyleBlock(selectors, body);
    } else {
      styleAnomalyCount += CountWords(LettersInside(selectors)) +
                           CountWords(LettersInside(body));
    }
  }
}

void THTMLCONTEXT::parseStyleBlock(TBLOCK selectors, TBLOCK body) {
  addStylePattern(selectors, body);
  const TSTYLEPROPS props(body);
  int32_t color = kStyleUnset;
  int32_t background = kStyleUnset;
  int16_t size = kStyleUnset;
  props.getColor(color);
  props.getBackground(background);
  props.getFontSize(size);
  while (!selectors.empty()) {
    const TBLOCK selector = TBLOCK::BlockBeforeChar(selectors, ',', 1, 0);
    if (selector.findByte('@') >= 0) continue;
    TSTYLEITEM item(selector);
    item.color = color;
    item.background = background;
    item.fontSize = size;
    styleRules.add(item);
    if (styleItems.count() < kMaxStyleItems) styleItems.add(item);
  }
}

// The limit leaves out one of the bytes that are added: deliberate.
void THTMLCONTEXT::addStylePattern(TBLOCK selectors, TBLOCK body) {
  const uint32_t used = static_cast<uint32_t>(stylePattern.len());
  const uint32_t most = kMaxStylePattern;
  if (selectors.length > most || body.length > most ||
      used + selectors.length + body.length + 2 > most)
    return;
  const TBLOCK pieces[] = {selectors, TBLOCK("{"), body, TBLOCK("} ")};
  char text[kMaxStylePattern + 1];
  int32_t n = 0;
  for (TBLOCK piece : pieces)
    for (uint32_t i = 0; i < piece.length; i++)
      // A string would end at a NUL.
      if (piece[i] != 0) text[n++] = static_cast<char>(piece[i]);
  stylePattern.add(text, n);
}

void THTMLCONTEXT::getStyleValues(const THITEM& item, TBLOCK tag,
                                  int32_t& color, int32_t& background,
                                  int16_t& size) {
  if (styleRules.empty()) return;
  TBLOCK className, idName;
  tagParam(tag, "class", className);
  tagParam(tag, "id", idName);
  styleRules.apply(item.tag, className, idName, color, background, size);
}
