// Two outlines of a body, by which mail from one tool is known: htmlPattern
// has a token for each run of text, tag and comment, with the attributes that
// matter; tablePattern only for what makes up tables. A token that does not
// fit is left out. Entry: THTMLCONTEXT::addPattern. Tested by
// html_context_test.cc.

#include "content/contexts.h"

namespace {

// ---- One token

struct TOKEN {
  uint32_t length;  // beyond the room it does not fit anywhere
  char bytes[kMaxHtmlPattern];

  TOKEN() : length(0) {}
  void add(char byte) {
    // A string would end at a NUL.
    if (byte == 0) return;
    if (length < sizeof bytes) bytes[length] = byte;
    length++;
  }
  void add(const char* text) {
    while (*text) add(*text++);
  }
  void add(TBLOCK text) {
    for (uint32_t i = 0; i < text.length && length <= sizeof bytes; i++)
      add(static_cast<char>(text[i]));
  }
  // Letters of a code in small ones: a closing tag.
  void addSmall(const char* code) {
    for (; *code; code++)
      add(static_cast<char>(
          TBLOCK::LowerConvTable[static_cast<unsigned char>(*code)]));
  }
};

bool HasLetter(TBLOCK text) {
  for (uint32_t i = 0; i < text.length; i++)
    if (TBLOCK::Is(text[i], bitLetter)) return true;
  return false;
}

// ---- Marks of attributes

void MarkSource(TBLOCK value, TOKEN& token) {
  token.add(value.begins("cid") ? ",cid" : ",src");
}

void MarkBackground(TBLOCK value, TOKEN& token) {
  token.add(",bac");
  TBLOCK url = value;
  if (value.begins("cid"))
    token.add("=cid");
  else if (value.begins("www.") ||
           TBLOCKURL::ParseBlockUrlProtocol(url) != upNone)
    token.add("=url");
}

void MarkAlign(TBLOCK value, TOKEN& token) {
  static const struct {
    const char* name;
    char letter;
  } kAligns[] = {{"left", 'l'},   {"right", 'r'},  {"top", 't'},
                 {"bottom", 'b'}, {"middle", 'm'}, {"baseline", 's'},
                 {"center", 'c'}};
  uint32_t n = 0;
  while (n < value.length && TBLOCK::Is(value[n], bitAlpha)) n++;
  const TBLOCK name = value.head(n);
  char letter = value.empty() ? '_' : '#';
  for (const auto& align : kAligns)
    if (name.equals(align.name)) letter = align.letter;
  token.add(",al=");
  token.add(letter);
  if (value.length == n + 1 && value[n] == '=') token.add('!');
}

void MarkStyle(TBLOCK value, TOKEN& token) {
  if (value.find("float") < 0) return;
  TBLOCK::BlockUnquote(value, 1);
  TBLOCK name, setting;
  int found = GetFirstStyleProp(value, name, setting);
  for (; found; found = GetNextStyleProp(value, name, setting))
    if (name.equals("float") && setting.equals("right")) token.add(",right");
}

void MarkParam(TBLOCK name, TBLOCK value, TOKEN& token) {
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

// A bare attribute, as the "/" that closes a tag, has no mark.
void MarkParams(TBLOCK tag, TOKEN& token) {
  TBLOCK name, value;
  int found = GetFirstTagParam(tag, name, value);
  for (; found || !tag.empty(); found = GetNextTagParam(tag, name, value))
    if (found) MarkParam(name, value, token);
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
  if (addHtmlToken(item)) addTableToken(item);
}

// 0 when there was a token and no room for it.
int THTMLCONTEXT::addHtmlToken(const THITEM& item) {
  const uint32_t room =
      kMaxHtmlPattern - static_cast<uint32_t>(htmlPattern.len());
  const bool text = item.type == hitText;
  if (text && (lastPatternTag == htTEXT || !HasLetter(item.block))) return 1;
  const bool tag = item.type == hitOpenTag || item.type == hitCloseTag;
  const char* const code =
      text ? TagInfos[htTEXT].code
           : (tag ? TagInfos[item.tag].code : CodeOf(item.type));
  if (!code) return 1;
  if (room < 2) return 0;
  TOKEN token;
  token.add('/');
  if (item.type == hitCloseTag)
    token.addSmall(code);
  else
    token.add(code);
  if (item.type == hitOpenTag) MarkParams(item.block, token);
  if (token.length > room) return 0;
  htmlPattern += TBLOCK(token.bytes, token.length);
  lastPatternTag = text ? static_cast<THTMLTAG>(htTEXT) : htUnknown;
  return 1;
}

void THTMLCONTEXT::addTableToken(const THITEM& item) {
  const bool open = item.type == hitOpenTag;
  const bool text = item.type == hitText;
  TOKEN token;
  if (tablePattern.len() > 0) token.add('/');
  if (text) {
    if (lastTableTag == htTEXT || !HasLetter(item.block)) return;
    token.add(TagInfos[htTEXT].code);
  } else if (open &&
             (IsTablePart(item.tag) || item.tag == htBR || item.tag == htIMG)) {
    TBLOCK value;
    token.add(TagInfos[item.tag].code);
    if (tagParam(item.block, "colspan", value)) token.add(",col");
    if (tagParam(item.block, "rowspan", value)) token.add(",row");
  } else if (item.type == hitCloseTag && IsTablePart(item.tag)) {
    token.addSmall(TagInfos[item.tag].code);
  } else {
    return;
  }
  if (token.length + static_cast<uint32_t>(tablePattern.len()) >
      static_cast<uint32_t>(kMaxTablePattern))
    return;
  tablePattern += TBLOCK(token.bytes, token.length);
  lastTableTag = text ? static_cast<THTMLTAG>(htTEXT) : item.tag;
}
