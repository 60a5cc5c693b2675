// What is collected of tags and attributes: META, comments, sizes of images,
// unknown tags, distinct tags and those of their attributes that mail programs
// do not write. Tested by html_context_test.cc.

#include <string.h>

#include "content/contexts.h"

namespace {

const char kCid[] = "cid:";
const char kMailto[] = "mailto:";

// ---- Names of attributes

// A number below 64 for the first two letters of a name.
uint32_t NameBit(unsigned char first, unsigned char second) {
  const unsigned char* const fold = TBLOCK::LowerConvTable;
  return ((fold[first] * 256u + fold[second]) * 0x9E3779B1u) >> 26;
}

// The numbers of all places of a tag at which GetTagParamValue can find a
// name; some others may be among them.
uint64_t NameBits(TBLOCK tag) {
  uint64_t bits = 0;
  for (uint32_t i = 2; i + 1 < tag.length; i++)
    if (TBLOCK::Is(tag[i - 1], bitWhiteSpace | bitQuote))
      bits |= uint64_t{1} << NameBit(tag[i], tag[i + 1]);
  return bits;
}

// ---- Attributes that tell nothing

struct PARAMNAME {
  uint32_t length;
  const char* name;
};

const PARAMNAME kUsualParams[] = {
    {4, "href"},  {3, "src"},    {5, "class"},   {2, "id"},     {5, "title"},
    {3, "alt"},   {4, "name"},   {7, "content"}, {5, "width"},  {6, "height"},
    {5, "value"}, {6, "lowsrc"}, {6, "action"},  {6, "coords"}, {7, "tableid"},
    {4, "text"},  {4, "cite"},   {6, "usemap"}};

bool IsUsualParam(TBLOCK name) {
  for (const PARAMNAME& usual : kUsualParams)
    if (name.length == usual.length &&
        name.equals(TBLOCK(usual.name, usual.length)))
      return true;
  return name.begins("on") || name.begins("xmlns");
}

bool IsWord(TBLOCK text) {
  for (uint32_t i = 0; i < text.length; i++)
    if (!TBLOCK::Is(text[i], bitAlpha)) return false;
  return !text.empty();
}

bool IsUsualProp(TBLOCK name, TBLOCK value) {
  return name.equals("width") || name.equals("height") || name.begins("mso-") ||
         value.begins("image") || value.begins(kMailto) || value.begins(kCid);
}

// Rows that stand for families of tags.
bool IsFamily(THTMLTAG tag) {
  return tag == htUnknown || tag == htOColon || tag == htXDash || tag == htCf;
}

// ---- META

// Reads "key = value" anywhere in the text, up to a space outside of quotes.
bool ReadSetting(TBLOCK text, const char* key, bool endsAtSemicolon,
                 TBLOCK& value) {
  const int32_t at = text.find(key);
  if (at < 0) return false;
  TBLOCK rest = text.from(static_cast<uint32_t>(at + strlen(key)));
  rest.trimLeft();
  if (rest.length < 2 || rest[0] != '=') return false;
  rest.skip(1);
  unsigned char quote = 0;
  uint32_t n = 0;
  for (; n < rest.length; n++) {
    const unsigned char byte = rest[n];
    if (quote) {
      if (byte == quote) quote = 0;
    } else if (byte == '"' || byte == '\'') {
      quote = byte;
    } else if (byte == ' ' || (byte == ';' && endsAtSemicolon)) {
      break;
    }
  }
  value = rest.head(n);
  value.trim();
  if (value.length >= 2 && (value[0] == '"' || value[0] == '\'') &&
      value[value.length - 1] == value[0])
    value = TBLOCK(value.pointer + 1, value.length - 2);
  return true;
}

}  // namespace

// ---- Attributes

void THTMLCONTEXT::noteTag(TBLOCK tag) {
  notedTag = tag;
  notedNames = NameBits(tag);
}

int THTMLCONTEXT::tagParam(TBLOCK tag, const char* name, TBLOCK& value) const {
  if (tag.pointer == notedTag.pointer && tag.length == notedTag.length) {
    const uint32_t bit = NameBit(static_cast<unsigned char>(name[0]),
                                 static_cast<unsigned char>(name[1]));
    if (!(notedNames >> bit & 1)) {
      value.clear();
      return 0;
    }
  }
  return GetTagParamValue(tag, name, value);
}

// A URL of the tag without disguise. What is decoded may look like another
// attribute.
TBLOCK THTMLCONTEXT::cleanUrl(TBLOCK tag, TBLOCK url) {
  const uint32_t before = url.length;
  const TBLOCK clean = DecodeUrl(url, hiddenUrlCount);
  if (clean.length != before) noteTag(tag);
  return clean;
}

void THTMLCONTEXT::addTagValue(TBLOCK tag, const char* name, TBLOCKVECT& list) {
  TBLOCK value;
  if (tagParam(tag, name, value)) list.add(value, 0, 0);
}

void THTMLCONTEXT::parseMeta(TBLOCK tag) {
  TBLOCK kind, content, value;
  if (!tagParam(tag, "http-equiv", kind)) {
    if (!tagParam(tag, "name", kind) || !tagParam(tag, "content", content))
      return;
    for (int32_t row = 0; row < hmCount; row++)
      if (kind.equals(HtmlMetaTokens[row])) metaValues[row] = content;
    return;
  }
  const bool isType = kind.equals("content-type");
  if (isType) charset.clear();
  if (!tagParam(tag, "content", content)) return;
  if (isType) {
    if (ReadSetting(content, "charset", true, value)) charset.setName(value);
  } else if (kind.equals("refresh")) {
    if (ReadSetting(content, "url", false, value) && !value.empty())
      links.add(value, TBLOCK(HttpRefresh));
  }
}

// Comments of the head, and those that are for one mail program, are left out.
void THTMLCONTEXT::parseComment(TBLOCK block) {
  uint32_t begin = 0;
  uint32_t end = block.length;
  const auto isAngle = [&block](uint32_t i) {
    return block[i] == '<' || block[i] == '>';
  };
  const auto isFrame = [&block](uint32_t i) {
    return block[i] == '-' || TBLOCK::Is(block[i], bitWhiteSpace);
  };
  while (begin < end && isAngle(begin)) begin++;
  while (end > begin && isAngle(end - 1)) end--;
  if (begin < end) begin++;  // the "!"
  while (begin < end && isFrame(begin)) begin++;
  while (end > begin && isFrame(end - 1)) end--;
  if ((flags & hcfHtmlOpened) && !(flags & hcfBodyOpened)) return;
  const TBLOCK text(block.pointer + begin, end - begin);
  if (text.find("[if ") < 0 && text.find("<xml>") < 0) comments.add(text, 0, 0);
}

void THTMLCONTEXT::parseBackgroundImg(const THITEM& item) {
  TBLOCK value;
  if (!tagParam(item.block, "background", value)) return;
  const bool body = item.tag == htBODY;
  if (body) flags |= hcfBodyBackground;
  if (!value.begins(kCid)) return;
  value.skip(sizeof kCid - 1);
  backgroundImages.add(value, 0, 0);
  if (!body) return;
  flags |= hcfBodyEmbedBackground;
  bodyBackground = value;
}

// ---- Tags

void THTMLCONTEXT::addBadTag(TBLOCK tag) {
  if (tag.findByte('@') >= 0 || tag.findByte('=') >= 0) return;
  if (badTags.count >= kMaxBadTags && badTags.findKey(tag) < 0) return;
  badTags.incBlockCount(tag, 1);
}

void THTMLCONTEXT::addFontNames(TBLOCK tag) {
  TBLOCK names;
  if (!tagParam(tag, "face", names)) return;
  while (!names.empty() && fontNames.count() < kMaxFontNames)
    fontNames.addUnique(TBLOCK::BlockBeforeChar(names, ',', 1, 0), 0, 1);
}

void THTMLCONTEXT::addImgSize(TBLOCK width, TBLOCK height) {
  if (imgSizes.count() >= kMaxImgSizes) return;
  STR size;
  size = width;
  size += 'x';
  size += height;
  imgSizes.insSorted(size.c_str());
}

int THTMLCONTEXT::addTag(const THITEM& item) {
  const TBLOCK text = item.block;
  const bool full = tagTexts.count() >= kMaxTagTexts;
  if (!full)
    for (uint32_t i = 0; i < text.length; i++)
      if (text[i] == '\r' || text[i] == '\n') text.pointer[i] = ' ';
  if (tagTable.findKey(text) >= 0) return 1;
  if (!full && tagTable.insert(text, nullptr) >= 0) tagTexts.add(text, 0, 0);
  return 0;
}

void THTMLCONTEXT::addTagParams(const THITEM& item) {
  if (IsFamily(item.tag) || tagParams.count() >= kMaxTagParams) return;
  unsigned char lower[16];  // no name of a tag is that long
  TBLOCK prefix(TagInfos[item.tag].name);
  memcpy(lower, prefix.pointer, prefix.length);
  prefix.pointer = lower;
  prefix.convert(TBLOCK::LowerConvTable);
  TBLOCK cursor = item.block;
  TBLOCK name, value;
  int found = GetFirstTagParam(cursor, name, value);
  for (; found || !cursor.empty();
       found = GetNextTagParam(cursor, name, value)) {
    if (!found) continue;
    name.trim();
    value.trim();
    if (!IsWord(name) || IsUsualParam(name) || value.findByte('/') >= 0 ||
        value.findByte('\\') >= 0 || value.begins(kMailto) ||
        value.begins(kCid))
      continue;
    if (name.equals("style"))
      addStyleParams(prefix, value);
    else
      addTagParamValue(prefix, name, value);
  }
}

void THTMLCONTEXT::addStyleParams(TBLOCK prefix, TBLOCK style) {
  static const char kStyle[] = ".style";
  unsigned char text[32];
  memcpy(text, prefix.pointer, prefix.length);
  memcpy(text + prefix.length, kStyle, sizeof kStyle - 1);
  const TBLOCK owner(text, prefix.length + sizeof kStyle - 1);
  TBLOCK name, value;
  int found = GetFirstStyleProp(style, name, value);
  for (; found; found = GetNextStyleProp(style, name, value))
    if (!IsUsualProp(name, value)) addTagParamValue(owner, name, value);
}

void THTMLCONTEXT::addTagParamValue(TBLOCK prefix, TBLOCK name, TBLOCK value) {
  if (tagParams.count() >= kMaxTagParams) return;
  paramText.empty();
  paramText.add(prefix);
  paramText.add(".");
  paramText.add(name);
  paramText.add("=");
  paramText.add(value);
  TBLOCK text = paramText.view();
  // A string ends at a NUL.
  const int32_t nul = text.findByte(0);
  if (nul >= 0) text.cut(static_cast<uint32_t>(nul));
  if (paramTable.findKey(text) >= 0 || !tagParams.add(text)) return;
  const int32_t last = tagParams.count() - 1;
  if (paramTable.insert(tagParams.at(last)->view(), nullptr) < 0)
    tagParams.del(last);
}
