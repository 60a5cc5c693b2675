// Two outlines of a body, by which mail from one tool is known: htmlPattern
// has a token for each run of text, tag and comment, with the attributes that
// matter; tablePattern only for what makes up tables. A token that does not
// fit is left out. Entry: THTMLCONTEXT::addPattern. Tested by
// html_context_test.cc.

#include "content/html_tag_facts.h"

// One token, written where it will stand.
struct TTOKEN {
  char* bytes;
  uint32_t room;
  uint32_t length;  // beyond the room it does not fit

  TTOKEN(char* place, uint32_t most) : bytes(place), room(most), length(0) {}
  bool fits() const { return length <= room; }
  void add(char byte) {
    // A string would end at a NUL.
    if (byte == 0) return;
    if (length < room) bytes[length] = byte;
    length++;
  }
  void add(const char* text) {
    while (*text) add(*text++);
  }
  void add(TBLOCK text) {
    for (uint32_t i = 0; i < text.length && length <= room; i++)
      add(static_cast<char>(text[i]));
  }
  // Letters of a code in small ones: a closing tag.
  void addSmall(const char* code) {
    for (; *code; code++)
      add(static_cast<char>(
          TBLOCK::LowerConvTable[static_cast<unsigned char>(*code)]));
  }
};

namespace {

bool HasLetter(TBLOCK text) {
  return text.lengthUntil(bitLetter) < text.length;
}

// ---- Marks of attributes

void MarkSource(TBLOCK value, TTOKEN& token) {
  token.add(value.begins("cid") ? ",cid" : ",src");
}

void MarkBackground(TBLOCK value, TTOKEN& token) {
  token.add(",bac");
  TBLOCK url = value;
  if (value.begins("cid"))
    token.add("=cid");
  else if (value.begins("www.") ||
           TBLOCKURL::ParseBlockUrlProtocol(url) != upNone)
    token.add("=url");
}

void MarkAlign(TBLOCK value, TTOKEN& token) {
  static const struct {
    const char* name;
    char letter;
  } kAligns[] = {{"left", 'l'},   {"right", 'r'},  {"top", 't'},
                 {"bottom", 'b'}, {"middle", 'm'}, {"baseline", 's'},
                 {"center", 'c'}};
  const uint32_t n = value.lengthIn(bitAlpha);
  const TBLOCK name = value.head(n);
  char letter = value.empty() ? '_' : '#';
  for (const auto& align : kAligns)
    if (name.equals(align.name)) letter = align.letter;
  token.add(",al=");
  token.add(letter);
  if (value.length == n + 1 && value[n] == '=') token.add('!');
}

void MarkStyle(TBLOCK value, TTOKEN& token) {
  if (value.find("float") < 0) return;
  TBLOCK::BlockUnquote(value, 1);
  TBLOCK name, setting;
  int found = GetFirstStyleProp(value, name, setting);
  for (; found; found = GetNextStyleProp(value, name, setting))
    if (name.equals("float") && setting.equals("right")) token.add(",right");
}

void MarkParam(TBLOCK name, TBLOCK value, TTOKEN& token) {
  static const struct {
    const char* prefix;
    const char* mark;
  } kValued[] = {{"size", ",siz"},
                 {"color", ",col"},
                 {"bgColor", ",bgc"},
                 {"text", ",tex"}};
  if (name.equals("src")) {
    MarkSource(value, token);
  } else if (name.equals("align")) {
    MarkAlign(value, token);
  } else if (name.equals("style")) {
    MarkStyle(value, token);
  } else if (name.begins("background")) {
    MarkBackground(value, token);
  } else if (name.begins("onload")) {
    token.add(",onl");
  } else {
    for (const auto& valued : kValued) {
      if (!name.begins(valued.prefix)) continue;
      token.add(valued.mark);
      if (value.empty()) return;
      token.add('=');
      token.add(value);
      return;
    }
  }
}

// Codes of items that are no tags; null for those that have no token.
const char* CodeOf(uint32_t type) {
  switch (type) {
    case hitComment:
      return "CM";
    case hitTitle:
      return "TI";
    case hitScript:
      return "SC";
    case hitStyle:
      return "ST";
    case hitXml:
      return "XL";
    default:
      return nullptr;
  }
}

bool IsTablePart(THTMLTAG tag) {
  return tag == htTD || tag == htTR || tag == htTABLE;
}

}  // namespace

void THTMLCONTEXT::addPattern(const THITEM& item) {
  if (rooms && addHtmlToken(item)) addTableToken(item);
}

// 0 when there was a token and no room for it.
int THTMLCONTEXT::addHtmlToken(const THITEM& item) {
  const bool text = item.type == hitText;
  if (text && (lastPatternTag == htTEXT || !HasLetter(item.block))) return 1;
  const bool open = item.type == hitOpenTag;
  const bool tag = open || item.type == hitCloseTag;
  const char* const code =
      text ? TagInfos[htTEXT].code
           : (tag ? TagInfos[item.tag].code : CodeOf(item.type));
  if (!code) return 1;
  TTOKEN token(rooms->htmlTokens + htmlTokensLength,
               sizeof rooms->htmlTokens - htmlTokensLength);
  if (token.room < 2) return 0;
  TTAGFACTS* const facts =
      open && notedNumber >= 0 && item.block.pointer == notedTag.pointer
          ? FactsOf(tagFacts, notedNumber)
          : nullptr;
  if (facts && facts->tokenSize) {
    token.length = facts->tokenSize;
    if (token.fits())
      memcpy(token.bytes, rooms->htmlTokens + facts->tokenAt, token.length);
  } else {
    token.add('/');
    if (item.type == hitCloseTag)
      token.addSmall(code);
    else
      token.add(code);
    if (open) markParams(item.block, token);
  }
  if (!token.fits()) return 0;
  if (facts) {
    facts->tokenAt = htmlTokensLength;
    facts->tokenSize = token.length;
  }
  htmlTokensLength += token.length;
  lastPatternTag = text ? static_cast<THTMLTAG>(htTEXT) : htUnknown;
  return 1;
}

// A bare attribute, as the "/" that closes a tag, has no mark.
void THTMLCONTEXT::markParams(TBLOCK tag, TTOKEN& token) {
  walkParams(tag);
  TBLOCK name, value;
  for (TPARAMWALK walk(rooms->params); walk.next(name, value);)
    MarkParam(name, value, token);
}

void THTMLCONTEXT::addTableToken(const THITEM& item) {
  const bool text = item.type == hitText;
  const bool open = item.type == hitOpenTag;
  const bool part = IsTablePart(item.tag);
  if (text ? lastTableTag == htTEXT || !HasLetter(item.block)
           : !(open && (part || item.tag == htBR || item.tag == htIMG)) &&
                 !(item.type == hitCloseTag && part))
    return;
  TTOKEN token(rooms->tableTokens + tableTokensLength,
               sizeof rooms->tableTokens - tableTokensLength);
  if (tableTokensLength > 0) token.add('/');
  if (text) {
    token.add(TagInfos[htTEXT].code);
  } else if (open) {
    TBLOCK value;
    token.add(TagInfos[item.tag].code);
    if (tagParam(item.block, "colspan", value)) token.add(",col");
    if (tagParam(item.block, "rowspan", value)) token.add(",row");
  } else {
    token.addSmall(TagInfos[item.tag].code);
  }
  if (!token.fits()) return;
  tableTokensLength += token.length;
  lastTableTag = text ? static_cast<THTMLTAG>(htTEXT) : item.tag;
}
