// What is collected of tags and attributes: META, comments, sizes of images,
// unknown tags, distinct tags and those of their attributes that mail programs
// do not write. Tested by html_context_test.cc.

#include <string.h>

#include "content/contexts.h"
#include "content/html_tag_facts.h"

namespace {

const char kCid[] = "cid:";
const char kMailto[] = "mailto:";

// ---- Names of attributes

// What a byte of a tag means to the words in it.
enum : unsigned char { kLetter, kBlank, kQuote, kEquals, kMaybeH };

struct TAGBYTES {
  unsigned char of[256];
};

constexpr TAGBYTES MakeTagBytes() {
  TAGBYTES bytes = {};
  for (const char* p = "\t\n\r "; *p; p++)
    bytes.of[static_cast<unsigned char>(*p)] = kBlank;
  for (const char* p = "\"'"; *p; p++)
    bytes.of[static_cast<unsigned char>(*p)] = kQuote;
  for (const char* p = "hH"; *p; p++)
    bytes.of[static_cast<unsigned char>(*p)] = kMaybeH;
  for (uint32_t i = 0x80; i < 256; i++) bytes.of[i] = kMaybeH;
  bytes.of[uint32_t{'='}] = kEquals;
  return bytes;
}

constexpr TAGBYTES kTagBytes = MakeTagBytes();

bool StartsHttp(TBLOCK tag, uint32_t at) {
  return tag.from(at).begins("http");
}

// Whether a value follows a name that ends at that place.
bool StartsValue(TBLOCK tag, uint32_t at) {
  while (at < tag.length && kTagBytes.of[tag[at]] == kBlank) at++;
  return at < tag.length &&
         (tag[at] == '=' || tag[at] == '"' || StartsHttp(tag, at));
}

// The numbers of all names that GetTagParamValue can find in the tag; some
// others may be among them. It finds a name where a word begins behind white
// space or a quote, if a value follows: behind the word, or inside of it when
// it holds "http". So nearly all words inside of values are ruled out. Tells
// also whether there are line ends.
uint64_t NameBits(TBLOCK tag, bool& lines) {
  const unsigned char* const p = tag.pointer;
  const uint32_t n = tag.length;
  uint64_t bits = 0;
  uint32_t begin = n;  // of the word, if a name can begin there
  bool holdsHttp = false;
  lines = false;
  for (uint32_t i = 1; i <= n; i++) {
    // The end of the tag ends a word.
    unsigned char kind = kEquals;
    if (i < n) kind = kTagBytes.of[p[i]];
    if (kind == kLetter) continue;
    if (kind == kMaybeH) {
      if (i > begin && !holdsHttp) holdsHttp = StartsHttp(tag, i);
      continue;
    }
    if (i >= begin + 2 && (holdsHttp || StartsValue(tag, i)))
      bits |= uint64_t{1} << THTMLCONTEXT::NameBit(
                  TBLOCK::LowerConvTable[p[begin]],
                  TBLOCK::LowerConvTable[p[begin + 1]]);
    begin = kind == kEquals ? n : i + 1;
    holdsHttp = false;
    if (kind == kBlank && (p[i] == '\n' || p[i] == '\r')) lines = true;
  }
  return bits;
}

// ---- Attributes that tell nothing

// `known` is in small letters.
bool Is(TBLOCK text, const char* known, uint32_t size) {
  if (text.length != size) return false;
  for (uint32_t i = 0; i < size; i++)
    if (TBLOCK::LowerConvTable[text[i]] != static_cast<unsigned char>(known[i]))
      return false;
  return true;
}

bool Begins(TBLOCK text, const char* known, uint32_t size) {
  return text.length >= size && Is(TBLOCK(text.pointer, size), known, size);
}

bool IsUsualParam(TBLOCK name) {
  static const char* const kUsual[] = {
      "id",     "src",    "alt",    "href",   "name",    "text",
      "cite",   "class",  "title",  "width",  "value",   "height",
      "lowsrc", "action", "coords", "usemap", "content", "tableid"};
  // Where the names of each length begin; the last ends them.
  static const unsigned char kBegin[] = {0, 0, 0, 1, 3, 7, 11, 16, 18};
  if (Begins(name, "on", 2) || Begins(name, "xmlns", 5)) return true;
  if (name.length + 1 >= sizeof kBegin) return false;
  for (uint32_t i = kBegin[name.length]; i < kBegin[name.length + 1]; i++)
    if (Is(name, kUsual[i], name.length)) return true;
  return false;
}

bool HasSlash(TBLOCK value) {
  for (uint32_t i = 0; i < value.length; i++)
    if (value[i] == '/' || value[i] == '\\') return true;
  return false;
}

// Addresses, with which every value differs.
bool IsAddress(TBLOCK value) {
  return Begins(value, kMailto, sizeof kMailto - 1) ||
         Begins(value, kCid, sizeof kCid - 1);
}

bool IsWord(TBLOCK text) {
  return !text.empty() && text.allIn(bitAlpha);
}

bool IsUsualProp(TBLOCK name, TBLOCK value) {
  return Is(name, "width", 5) || Is(name, "height", 6) ||
         Begins(name, "mso-", 4) || Begins(value, "image", 5) ||
         IsAddress(value);
}

unsigned char* Put(unsigned char* out, TBLOCK text) {
  if (text.length) memcpy(out, text.pointer, text.length);
  return out + text.length;
}

// Rows that stand for families of tags.
bool IsFamily(THTMLTAG tag) {
  return tag == htUnknown || tag == htOColon || tag == htXDash || tag == htCf;
}

void JoinLines(TBLOCK text) {
  for (uint32_t i = 0; i < text.length; i++)
    if (text[i] == '\r' || text[i] == '\n') text.pointer[i] = ' ';
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
  value.stripQuotes();
  return true;
}

}  // namespace

// ---- Attributes

// Begins an open tag. Most tags of a body have been there before.
void THTMLCONTEXT::meetTag(const THITEM& item) {
  walkedTag.clear();
  notedTag.clear();
  notedNumber = -1;
  if (item.tag == htUnknown) return;
  notedTag = item.block;
  notedHash = tagTable.hashOf(notedTag);
  notedNumber = tagTable.find(notedTag, notedHash);
  notedLines = false;
  notedNames = notedNumber >= 0 ? FactsOf(tagFacts, notedNumber)->names
                                : NameBits(notedTag, notedLines);
}

// The tag's text has changed.
void THTMLCONTEXT::noteTag(TBLOCK tag) {
  walkedTag.clear();
  if (tag.pointer != notedTag.pointer) return;
  notedHash = tagTable.hashOf(tag);
  notedNumber = tagTable.find(tag, notedHash);
  notedNames = NameBits(tag, notedLines);
}

void THTMLCONTEXT::forgetTag() {
  notedTag.clear();
  walkedTag.clear();
  notedNames = 0;
  notedHash = 0;
  notedNumber = -1;
  notedLines = false;
}

// What stands ahead of the first place with that name is no matter, except
// that there must be two bytes of it.
int THTMLCONTEXT::findParam(TBLOCK tag, const char* name, TBLOCK& value) {
  value.clear();
  const int32_t at = TTAGWORD(name).findIn(tag, 0);
  return at < 2 ? 0
                : GetTagParamValue(tag.from(static_cast<uint32_t>(at) - 2),
                                   name, value);
}

// A URL of the tag without disguise. What is decoded may look like another
// attribute.
TBLOCK THTMLCONTEXT::cleanUrl(TBLOCK tag, TBLOCK url) {
  const uint32_t before = url.length;
  const bool turned = url.findByte('\\') >= 0;
  const TBLOCK clean = DecodeUrl(url, hiddenUrlCount);
  if (turned || clean.length != before) noteTag(tag);
  return clean;
}

// Takes the attributes apart, for all who want them. REQUIRES: rooms.
void THTMLCONTEXT::walkParams(TBLOCK tag) {
  if (walkedTag.pointer == tag.pointer && walkedTag.length == tag.length)
    return;
  walkedTag = tag;
  TTAGPARAMS& params = rooms->params;
  params.count = 0;
  TBLOCK name, value;
  int found = GetFirstTagParam(tag, name, value);
  for (;;) {
    if (found) {
      params.names[params.count] = name;
      params.values[params.count++] = value;
    }
    if (tag.empty() || params.count == TTAGPARAMS::kMost) break;
    found = GetNextTagParam(tag, name, value);
  }
  params.rest = tag;
}

void THTMLCONTEXT::addTagValue(TBLOCK tag, const char* name, TBLOCKVECT& list) {
  TBLOCK value;
  if (tagParam(tag, name, value)) list.add(value, 0, 0);
}

void THTMLCONTEXT::addTagNames(TBLOCK tag) {
  if (notedNames == 0) return;
  addTagValue(tag, "class", classNames);
  addTagValue(tag, "name", elementNames);
  addTagValue(tag, "id", elementNames);
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
  STR size(static_cast<int32_t>(width.length + 1 + height.length));
  size += width;
  size.length = -1;  // a NUL may stand inside
  size += 'x';
  size += height;
  imgSizes.insSorted(size.c_str());
}

int THTMLCONTEXT::addTag(const THITEM& item) {
  if (item.tag == htUnknown) return 0;
  const TBLOCK text = item.block;
  const bool full = tagTexts.count() >= kMaxTagTexts;
  if (text.pointer != notedTag.pointer) meetTag(item);
  if (notedLines && !full) {
    JoinLines(text);
    notedHash = tagTable.hashOf(text);
    notedNumber = tagTable.find(text, notedHash);
  }
  if (notedNumber >= 0) return 1;
  if (full) return 0;
  const TTAGFACTS facts = {notedNames, 0, 0};
  if (!tagFacts.add(&facts, sizeof facts)) return 0;
  notedNumber = tagTable.add(text, notedHash);
  if (notedNumber < 0)
    tagFacts.removeEnd(sizeof facts);
  else
    tagTexts.add(text, 0, 0);
  return 0;
}

void THTMLCONTEXT::addTagParams(const THITEM& item) {
  if (!rooms || IsFamily(item.tag) || tagParams.count() >= kMaxTagParams)
    return;
  unsigned char owner[32];  // the name of the tag, in small letters
  const TBLOCK tagName(TagInfos[item.tag].name);
  TBLOCK prefix(owner, static_cast<uint32_t>(Put(owner, tagName) - owner));
  prefix.convert(TBLOCK::LowerConvTable);
  walkParams(item.block);
  TBLOCK name, value;
  for (TPARAMWALK walk(rooms->params); walk.next(name, value);) {
    if (!IsWord(name) || IsUsualParam(name) || HasSlash(value) ||
        IsAddress(value))
      continue;
    if (Is(name, "style", 5))
      addStyleParams(prefix, value);
    else
      addTagParamValue(prefix, name, value);
  }
}

void THTMLCONTEXT::addStyleParams(TBLOCK prefix, TBLOCK style) {
  unsigned char text[48];
  const TBLOCK owner(
      text,
      static_cast<uint32_t>(Put(Put(text, prefix), TBLOCK(".style")) - text));
  TBLOCK name, value;
  int found = GetFirstStyleProp(style, name, value);
  for (; found; found = GetNextStyleProp(style, name, value))
    if (!IsUsualProp(name, value)) addTagParamValue(owner, name, value);
}

void THTMLCONTEXT::addTagParamValue(TBLOCK prefix, TBLOCK name, TBLOCK value) {
  if (tagParams.count() >= kMaxTagParams) return;
  const uint32_t bytes = prefix.length + name.length + value.length + 3;
  if (paramText.capacity < bytes && !paramText.addSpace(bytes)) return;
  unsigned char* out = Put(paramText.data, prefix);
  *out++ = '.';
  out = Put(out, name);
  *out++ = '=';
  out = Put(out, value);
  *out = 0;
  const char* const string = reinterpret_cast<const char*>(paramText.data);
  // A NUL in the value ends it.
  const TBLOCK text(string);
  const uint32_t hash = paramTable.hashOf(text);
  if (paramTable.find(text, hash) >= 0 || !tagParams.add(string)) return;
  const int32_t last = tagParams.count() - 1;
  if (paramTable.add(tagParams.at(last)->view(), hash) < 0) tagParams.del(last);
}
