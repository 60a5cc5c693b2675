// The walk over the items of an HTML body: what a reader sees goes to the
// output, what he does not see is kept apart, and links, images and tags are
// collected on the way. Entries: doItem and endParsing, for QmHtmlParse. Tested
// by html_context_test.cc.

#include <new>

#include "base/count.h"
#include "content/digits.h"
#include "content/html_tag_facts.h"

const char* const HtmlMetaTokens[hmCount] = {
    "Title",     "Publisher",   "Keywords",      "Reply-to", "Category",
    "Robots",    "Description", "Revisit-after", "Author",   "Copyright",
    "Generator", "Abstract",    "IdentifierUrl"};

namespace {

const uint32_t kViewStep = 4096;  // bytes

const char kCid[] = "cid:";
// What stands in the output for an image.
const char kImgMark[] = "!%IMG%!";
const char kCidImgMark[] = "!%CID%!";
const char kNewLine[] = "\r\n";
const char kFillerMark = '~';
// Attributes of an IMG in which a second URL is no news.
const char kImgAllowed[] =
    "src,dynsrc,longdesc,lowsrc,alt,name,title,id,onclick,onmouse*";

// Filler: text of so few pixels, a single letter of a few more, inside a word
// of ordinary size.
const int16_t kFillerSize = 7;
const int16_t kFillerLetterSize = 10;
const int16_t kMinWordSize = 13;
const int16_t kTinySize = 4;
const int16_t kMediumSize = 10;

// -1 for what is no number.
int32_t ReadPixels(TBLOCK text) {
  const bool negative = !text.empty() && text[0] == '-';
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.skip(1);
  if (text.empty() || !text.allIn(bitDigit)) return -1;
  const int32_t value = TakeNumber(text);
  return negative ? -value : value;
}

// How deep a tag stands in a table; -1 for tags that are no part of one. BODY
// stands where TBODY might be looked for, and TBODY counts for nothing: both
// are deliberate.
int32_t tableTagLevel(THTMLTAG tag) {
  switch (tag) {
    case htTABLE:
      return 0;
    case htBODY:
      return 1;
    case htTR:
      return 2;
    case htTD:
    case htTH:
      return 3;
    default:
      return -1;
  }
}
const int32_t kCellLevel = 3;

// Between the first ">" and the last "<".
TBLOCK InsideOf(TBLOCK element) {
  const int32_t begin = element.findByte('>');
  const int32_t end = element.findLastByte('<');
  if (begin < 0 || end <= begin) return TBLOCK();
  return element.head(static_cast<uint32_t>(end))
      .from(static_cast<uint32_t>(begin) + 1);
}

// Of the element only its open tag is asked: scripts hold all kinds of text.
bool IsEncodedScript(TBLOCK element) {
  TBLOCK language;
  return GetTagParamValue(element.head(HtmlTagLength(element)), "language",
                          language) &&
         language.begins("jscript.encode");
}

}  // namespace

THTMLCONTEXT::THTMLCONTEXT()
    : linkWords(0),
      altTexts(0),
      invisibleTexts(0),
      imgSizes(0, kViewStep),
      comments(0),
      classNames(0),
      elementNames(0),
      tagTexts(0),
      tagParams(0, kViewStep),
      backgroundImages(0),
      fontNames(0),
      tagTable(kMaxTagTexts),
      tagFacts(0, kViewStep),
      paramTable(kMaxTagParams),
      paramText(0, kViewStep),
      rooms(new (std::nothrow) TROOMS),
      viewStore(0, kViewStep) {
  TBLOCKVECT* const lists[] = {&linkWords, &altTexts,   &invisibleTexts,
                               &comments,  &classNames, &elementNames,
                               &tagTexts,  &fontNames,  &backgroundImages};
  for (TBLOCKVECT* list : lists) list->step = kViewStep;
  clear();
}

THTMLCONTEXT::~THTMLCONTEXT() {
  delete rooms;
}

void THTMLCONTEXT::clear() {
  flags = 0;
  output.clear();
  length = 0;
  imgCount = imgInLinkCount = usemapImgCount = imgInTableCount = 0;
  cidImgCount = imgAfterBodyCount = tableDepth = textLineCount = 0;
  linkExclamationCount = popupCount = unknownCharCount = formCount = 0;
  linkCount = invisibleLength = invisibleWordCount = uselessAlphaCount = 0;
  hiddenUrlCount = tinyAlphaCount = externalImgCount = emptyLinkCount = 0;
  mediumWordCount = styleAnomalyCount = 0;
  imgBeforeText = imgLinkBeforeText = 0;
  maxImgWidthBeforeText = maxImgHeightBeforeText = 0;
  for (TBLOCK& value : metaValues) value.clear();
  badTags.clear();
  htmlPattern = "";
  tablePattern = "";
  stylePattern = "";
  images.clear();
  links.clear();
  linkWords.clear();
  altTexts.clear();
  invisibleTexts.clear();
  imgSizes.clear();
  comments.clear();
  classNames.clear();
  elementNames.clear();
  tagTexts.clear();
  tagParams.clear();
  backgroundImages.clear();
  fontNames.clear();
  charset.clear();
  title.clear();
  bodyBackground.clear();
  lastLinkImg.clear();
  lastText.clear();
  lastAnchorText.clear();
  href.clear();
  anchorImg.clear();
  prevText.clear();
  linkStart = 0;
  orphanLength = 0;
  forgetTag();
  tagTable.clear();
  tagFacts.empty();
  paramTable.clear();
  lastPatternTag = lastTableTag = htUnknown;
  htmlTokensLength = tableTokensLength = 0;
  tableStackCount = 0;
  viewStore.reset();
  clearStyles();
}

// ---- Output

int THTMLCONTEXT::append(TBLOCK text, TBLOCK& copy) {
  if (text.empty() || text.length > output.length - length) return 0;
  copy = TBLOCK(output.pointer + length, text.length);
  memcpy(copy.pointer, text.pointer, text.length);
  length += text.length;
  return 1;
}

void THTMLCONTEXT::doSpaceAndLine() {
  TBLOCK copy;
  if (flags & hcfPendingLine) {
    append(TBLOCK(kNewLine), copy);
    flags &= ~(hcfPendingLine | hcfPendingSpace);
    lastText.clear();
  }
  if (flags & hcfPendingSpace) {
    append(TBLOCK(" "), copy);
    flags &= ~hcfPendingSpace;
  }
}

// ---- Items

void THTMLCONTEXT::doItem(THITEM& item, REGEXPOOL* /*pool*/,
                          const TQMDICO* dico) {
  switch (item.type) {
    case hitNone:
      return;
    case hitText:
      if (flags & hcfVoidText) return;
      if (!item.block.empty()) doText(item, dico);
      break;
    case hitOpenTag:
      meetTag(item);
      doOpenTag(item);
      if (item.tag != htUnknown) {
        addTagNames(item.block);
        if (!addTag(item)) addTagParams(item);
      }
      break;
    case hitCloseTag:
      doCloseTag(item);
      break;
    case hitComment:
      parseComment(item.block);
      break;
    case hitTitle:
      title = InsideOf(item.block);
      break;
    case hitScript:
      if (IsEncodedScript(item.block)) flags |= hcfEncodedScript;
      break;
    case hitStyle:
      parseStyle(item.block);
      break;
    default:
      break;
  }
  doTail(item);
}

// What every item does, and how an open tag separates the text before it from
// what follows.
void THTMLCONTEXT::doTail(const THITEM& item) {
  addPattern(item);
  if (item.type != hitOpenTag) return;
  const uint32_t separates = TagInfos[item.tag].flags;
  if (!(separates & (tiNewLine | tiLineBreak | tiSpace))) return;
  flags &= ~hcfWord;
  if (separates & tiNewLine) {
    TBLOCK copy;
    append(TBLOCK(kNewLine), copy);
    flags &= ~hcfPendingLine;
  }
  if (separates & tiLineBreak) flags |= hcfPendingLine;
  if (separates & tiSpace) flags |= hcfPendingSpace;
  lastText.clear();
}

// ---- Text

void THTMLCONTEXT::doText(const THITEM& item, const TQMDICO* dico) {
  const TBLOCK text = item.block;
  lastText = text;
  flags &= ~hcfUselessChars;
  if ((flags & hcfWord) && prevFontSize > kMinWordSize && curFontSize >= 0 &&
      (curFontSize < kFillerSize ||
       (curFontSize < kFillerLetterSize && text.length == 1)))
    flags |= hcfUselessChars;
  const bool shows = !(flags & hcfInvisibleChars) ||
                     (item.flags & hifWhiteSpace) || (flags & hcfAnchor);
  if (shows && !(flags & hcfUselessChars)) outputText(item);
  // What an anchor brought to the output is listed all the same.
  if ((flags & hcfInvisibleChars) && text.length > 1) addInvisible(text);
  const int32_t dot = text.findByte('.');
  if (dot >= 0 && static_cast<uint32_t>(dot) + 1 < text.length)
    findTextUrls(text, dico);
  if (flags & hcfUselessChars) {
    if (text[0] != ' ') uselessAlphaCount += CountOf(text, bitLetter);
    TBLOCK copy;
    append(TBLOCK(&kFillerMark, 1), copy);
    flags &= ~hcfEmptyLink;
  }
  if (curFontSize > 0 && curFontSize <= kTinySize)
    tinyAlphaCount += CountOf(text, bitLetter);
}

void THTMLCONTEXT::outputText(const THITEM& item) {
  const TBLOCK text = item.block;
  doSpaceAndLine();
  if (!append(text, lastText)) lastText = text;
  flags &= ~(hcfEmptyLink | hcfWord);
  if (!(item.flags & hifWhiteSpace)) {
    flags |= hcfNotEmpty;
    if (!(flags & hcfAnchor)) flags |= hcfNoLinkText;
  }
  const unsigned char end = text[text.length - 1];
  if (end != ' ' && end != kFillerMark) flags |= hcfWord;
  unknownCharCount += CountByte(text, UNKNOWNCHAR);
  if (curFontSize == kMediumSize && prevFontSize == kMediumSize)
    mediumWordCount += CountWords(text);
  prevFontSize = curFontSize;
  lastAnchorText = flags & hcfAnchor ? lastText : TBLOCK();
}

// The item's own bytes are searched, which the search may rewrite; the walk
// over the output at the end then meets the same URLs as they were.
void THTMLCONTEXT::findTextUrls(TBLOCK text, const TQMDICO* dico) {
  while (!text.empty()) {
    const TBLOCK url = TBLOCKURL::FindUrl(text, dico);
    if (url.empty()) return;
    if (!(flags & hcfAnchor))
      links.add(url, TBLOCK(HttpTxtWithoutHref));
    else if (!TBLOCKURL::CompareUrl(href, url))
      links.add(url, TBLOCK(HttpTxtDiffFromHref));
  }
}

// ---- Tags

void THTMLCONTEXT::doOpenTag(const THITEM& item) {
  const TBLOCK tag = item.block;
  TBLOCK value;
  switch (item.tag) {
    case htFONT:
      addFontNames(tag);
      pushTag(item, "color", "", "size");
      break;
    case htP:
      popTag(htP);
      pushTag(item, "", "", "");
      break;
    case htDIV:
    case htSPAN:
    case htSTRONG:
    case htSMALL:
    case htLI:
    case htUL:
    case htH1:
    case htH2:
    case htH3:
    case htH4:
    case htH5:
    case htH6:
      pushTag(item, "", "", "");
      break;
    case htTD:
    case htTR:
    case htTABLE:
    case htTH:
      pushTableItem(item);
      parseBackgroundImg(item);
      break;
    case htTBODY:
      pushTableItem(item);
      break;
    case htA:
      openAnchor(item);
      break;
    case htIMG:
      openImg(tag);
      break;
    case htBODY:
      openBody(item);
      break;
    case htHTML:
      flags |= hcfHtmlOpened;
      break;
    case htMETA:
      parseMeta(tag);
      break;
    case htHR:
      append(TBLOCK("----"), value);
      break;
    case htLINK:
      if (tagParam(tag, "type", value) && value.ends("/css"))
        flags |= hcfStyleSheet;
      break;
    case htAREA:
      openLink(tag, "href", true);
      addTagValue(tag, "alt", altTexts);
      break;
    case htFORM:
      formCount++;
      openLink(tag, "action", true);
      break;
    case htBASE:
      openLink(tag, "href", false);
      break;
    case htEMBED:
      flags |= hcfEmbed;
      openLink(tag, "src", false);
      break;
    case htIFRAME:
      flags |= hcfIFrame;
      openLink(tag, "src", false);
      break;
    case htOBJECT:
      if (tagParam(tag, "data", value) &&
          (value.begins("www.") ||
           TBLOCKURL::ParseBlockUrlProtocol(value) != upNone))
        flags |= hcfHttpObject;
      break;
    case htPRE:
      flags |= hcfPreformatted;
      break;
    case htSELECT:
      flags |= hcfVoidText;
      break;
    case htUnknown:
      addBadTag(tag);
      break;
    default:
      break;
  }
}

void THTMLCONTEXT::doCloseTag(const THITEM& item) {
  switch (item.tag) {
    case htFONT:
    case htP:
    case htDIV:
    case htSPAN:
    case htSTRONG:
    case htSMALL:
    case htLI:
    case htUL:
    case htH1:
    case htH2:
    case htH3:
    case htH4:
    case htH5:
    case htH6:
    case htTHEAD:
    case htTFOOT:
      popTag(item.tag);
      break;
    case htTD:
    case htTR:
    case htTABLE:
    case htTBODY:
    case htTH:
      popTableItem(item);
      break;
    case htA:
      closeAnchor();
      popTag(item.tag);
      break;
    case htBODY:
      popTag(item.tag);
      flags |= hcfBodyClosed | hcfPendingLine;
      break;
    case htHTML:
      flags |= hcfHtmlClosed;
      break;
    case htPRE:
      flags &= ~hcfPreformatted;
      break;
    case htSELECT:
      flags &= ~hcfVoidText;
      break;
    default:
      break;
  }
}

// Only the first BODY sets colours. What could not be seen ahead of it does
// not count: it is the head's.
void THTMLCONTEXT::openBody(const THITEM& item) {
  TBLOCK value;
  if (tagParam(item.block, "onload", value) && value.find("open(") > 0)
    popupCount++;
  if (flags & hcfBodyOpened) return;
  if (tagParam(item.block, "link", value))
    bodyLinkColor = ParseHtmlColor(value);
  if (tagParam(item.block, "text", value))
    bodyTextColor = ParseHtmlColor(value);
  clearInvisible();
  pushTag(item, "", "bgcolor", "");
  parseBackgroundImg(item);
  flags |= hcfBodyOpened;
}

// ---- Images

void THTMLCONTEXT::openImg(TBLOCK tag) {
  imgCount++;
  TBLOCK width, height, src, alt, value;
  const int hasWidth = tagParam(tag, "width", width);
  const int hasHeight = tagParam(tag, "height", height);
  bool linked = false;
  if (flags & hcfAnchor) {
    flags &= ~hcfEmptyLink;
    imgInLinkCount++;
    linked = true;
  }
  if (TTAGWORD("usemap").findIn(tag, 0) >= 0) {
    imgInLinkCount++;
    usemapImgCount++;
    linked = true;
  }
  if (!(flags & hcfNotEmpty))
    noteImgBeforeText(hasWidth ? ReadPixels(width) : 0,
                      hasHeight ? ReadPixels(height) : 0, linked);
  if (flags & hcfBodyClosed) imgAfterBodyCount++;
  if (tableDepth > 0) imgInTableCount++;
  if (tagParam(tag, "src", src)) src = cleanUrl(tag, src);
  tagParam(tag, "alt", alt);
  if (!src.empty()) addImgSource(tag, src, alt);
  if (hasWidth && hasHeight) addImgSize(width, height);
  altTexts.add(alt, 0, 0);
  if (tagParam(tag, "dynsrc", value) && value.find("window.open") > 0)
    popupCount++;
}

void THTMLCONTEXT::noteImgBeforeText(int32_t width, int32_t height,
                                     bool linked) {
  imgBeforeText = 1;
  if (linked) imgLinkBeforeText = 1;
  if (width > maxImgWidthBeforeText) maxImgWidthBeforeText = width;
  if (height > maxImgHeightBeforeText) maxImgHeightBeforeText = height;
}

void THTMLCONTEXT::addImgSource(TBLOCK tag, TBLOCK src, TBLOCK alt) {
  images.add(src, href, alt);
  doSpaceAndLine();
  const bool cid = src.begins(kCid);
  if (cid) cidImgCount++;
  TBLOCK copy;
  append(TBLOCK(cid ? kCidImgMark : kImgMark), copy);
  if (flags & hcfAnchor) {
    anchorImg = lastLinkImg = src;
    // The mark is no text of the link when nothing stands ahead of it.
    if (lastText.empty()) linkStart = length;
  }
  if (detectHideUrl(tag, kImgAllowed, src)) flags |= hcfHideImgUrl;
}

// ---- Open parts of tables

void THTMLCONTEXT::pushTableItem(const THITEM& item) {
  const int32_t level = tableTagLevel(item.tag);
  if (level < 0 || !rooms) return;
  const bool table = item.tag == htTABLE;
  if (tableStackCount == 0) {
    if (!table) return;
  } else {
    // A table inside of a cell leaves that open.
    const THTMLTAG top = rooms->tableStack[tableStackCount - 1];
    if (!table || tableTagLevel(top) != kCellLevel) popTableUntil(level);
  }
  if (tableStackCount == kMaxTableStack) return;
  rooms->tableStack[tableStackCount++] = static_cast<unsigned char>(item.tag);
  pushTag(item, "", "bgcolor", "");
  if (table) tableDepth++;
}

void THTMLCONTEXT::popTableItem(const THITEM& item) {
  popTableUntil(tableTagLevel(item.tag));
}

void THTMLCONTEXT::popTableUntil(int32_t level) {
  if (level < 0) return;
  while (tableStackCount > 0) {
    const THTMLTAG top = rooms->tableStack[tableStackCount - 1];
    const int32_t topLevel = tableTagLevel(top);
    if (topLevel < level) return;
    tableStackCount--;
    popTag(top);
    if (top == htTABLE && tableDepth > 0) tableDepth--;
    if (topLevel == level) return;
  }
}

// ---- The end

void THTMLCONTEXT::endParsing() {
  closeAnchor();
  textLineCount = 0;
  TBLOCK rest(output.pointer, length);
  while (!rest.empty()) {
    TBLOCK line = TBLOCK::NextMailLine(rest);
    line.trim();
    if (!line.empty()) textLineCount++;
  }
  tagTable.clear();
  tagFacts.empty();
  forgetTag();
  if (!rooms) return;
  htmlPattern = TBLOCK(rooms->htmlTokens, htmlTokensLength);
  tablePattern = TBLOCK(rooms->tableTokens, tableTokensLength);
}
