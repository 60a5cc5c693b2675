// What one pass over a body collects: TMSGCONTEXT for the message as a whole,
// THTMLCONTEXT for its HTML, TTEXTCONTEXT for its plain text. They score
// nothing; checks and rule fields read them. Cleared by each load.
//
// Views point into the text that was parsed, into the output, or into buffers
// of the context: all must outlive the reading.
//
//   html_context.cc    the walk over the items, and the text
//   html_anchor.cc     links and what belongs to them
//   html_collect.cc    what is collected of tags and attributes
//   html_pattern.cc    the two patterns of the structure
//   html_parse.cc      the whole of a body: items, charset, URLs that show
//   html_style.cc      properties, sizes, style elements
//   html_visibility.cc the open tags, and what cannot be seen
//   text_parse.cc      plain text

#ifndef CONTENT_CONTEXTS_H_
#define CONTENT_CONTEXTS_H_

#include <stdint.h>

#include "base/block.h"
#include "base/hash_count.h"
#include "base/hashtab.h"
#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "content/html_item.h"
#include "content/html_style.h"
#include "content/links.h"
#include "content/text_set.h"
#include "message/charset.h"

class REGEXPOOL;
class TQMDICO;
struct TTOKEN;  // of html_pattern.cc

// The attributes of one tag that have a value, in order.
struct TTAGPARAMS {
  static const uint32_t kMost = 32;
  TBLOCK names[kMost];
  TBLOCK values[kMost];
  uint32_t count;
  TBLOCK rest;  // of the tag, behind them: still to be walked
};

struct TMSGCONTEXT {
  int32_t emptyBody = 0;  // 1: neither text nor HTML, nor any attachment

  void clear() { emptyBody = 0; }
};

// THTMLCONTEXT::flags
enum : uint32_t {
  hcfNotEmpty = 0x1,           // text with a byte that is not blank was output
  hcfAnchor = 0x2,             // an A with a usable href is open
  hcfHtmlOpened = 0x4,         // <HTML>
  hcfHtmlClosed = 0x8,         // </HTML>
  hcfBodyOpened = 0x10,        // the first <BODY>
  hcfBodyClosed = 0x20,        // </BODY>
  hcfWord = 0x40,              // the next text would go on with a word
  hcfPendingSpace = 0x80,      // to be written ahead of the next text
  hcfPendingLine = 0x100,      // likewise
  hcfNoLinkText = 0x200,       // visible text outside of every anchor
  hcfHideImgUrl = 0x400,       // an IMG hides a second URL
  hcfHideHrefUrl = 0x800,      // a link does
  hcfInvisibleChars = 0x1000,  // text of now cannot be seen
  hcfUselessChars = 0x2000,    // text of now is tiny filler inside a word
  hcfEmptyLink = 0x8000,       // the open anchor has no content yet
  hcfEncodedScript = 0x10000,
  hcfIFrame = 0x20000,
  hcfHttpObject = 0x40000,   // an OBJECT whose data is a URL
  hcfVoidText = 0x80000,     // inside SELECT: text is ignored
  hcfStyleSheet = 0x100000,  // a LINK to a style sheet
  hcfBodyBackground = 0x200000,
  hcfBodyEmbedBackground = 0x400000,  // it is a part of the message
  hcfEmbed = 0x1000000,
  hcfPreformatted = 0x10000000  // inside PRE: text keeps its lines
};

// Rows of HtmlMetaTokens.
enum : int32_t {
  hmTitle,
  hmPublisher,
  hmKeywords,
  hmReplyTo,
  hmCategory,
  hmRobots,
  hmDescription,
  hmRevisitAfter,
  hmAuthor,
  hmCopyright,
  hmGenerator,
  hmAbstract,
  hmIdentifierUrl,
  hmCount
};
extern const char* const HtmlMetaTokens[hmCount];

// Limits of what one body leaves behind.
const int32_t kMaxHtmlPattern = 4096;
const int32_t kMaxTablePattern = 2048;
const int32_t kMaxStylePattern = 1024;
const int32_t kMaxImgSizes = 32;
const int32_t kMaxTagTexts = 1000;
const int32_t kMaxTagParams = 2000;
const int32_t kMaxBadTags = 2000;
const int32_t kMaxFontNames = 64;
const int32_t kMaxStyleItems = 4096;
const uint32_t kMaxOrphanBytes = 100;
// Parts of tables that are open at one time; more are not remembered.
const int32_t kMaxTableStack = 2048;

class THTMLCONTEXT {
 public:
  uint32_t flags;   // hcf...
  TBLOCK output;    // where text goes: the whole room
  uint32_t length;  // bytes written of it

  int32_t imgCount;
  int32_t imgInLinkCount;  // inside an anchor; plus those with "usemap"
  int32_t usemapImgCount;
  int32_t imgInTableCount;
  int32_t cidImgCount;  // whose source is a part of the message
  int32_t imgAfterBodyCount;
  int32_t tableDepth;            // tables open now
  int32_t textLineCount;         // lines of the output that are not blank
  int32_t linkExclamationCount;  // "!" in link texts
  int32_t popupCount;
  int32_t unknownCharCount;  // UNKNOWNCHAR in the output
  int32_t formCount;
  int32_t linkCount;        // anchors, areas and forms with a URL
  int32_t invisibleLength;  // bytes
  int32_t invisibleWordCount;
  int32_t uselessAlphaCount;  // letters of filler
  int32_t hiddenUrlCount;     // URLs in disguise
  int32_t tinyAlphaCount;     // letters of 1 to 4 pixels
  int32_t externalImgCount;   // anchors whose image lies elsewhere
  int32_t emptyLinkCount;
  int32_t mediumWordCount;    // words of 10 pixels behind such text
  int32_t styleAnomalyCount;  // above 0: more prose than rules in styles

  // Images ahead of all text.
  int32_t imgBeforeText, imgLinkBeforeText;
  int32_t maxImgWidthBeforeText, maxImgHeightBeforeText;

  TBLOCK metaValues[hmCount];
  HASHCOUNT badTags;              // unknown tags
  STR htmlPattern, tablePattern;  // set by endParsing
  STR stylePattern;
  TIMGVECT images;
  TLINKVECT links;
  TBLOCKVECT linkWords;  // of link texts
  TBLOCKVECT altTexts;   // alt of images and areas, title of anchors
  TBLOCKVECT invisibleTexts;
  STRVECT imgSizes;  // "WxH", sorted, unique
  TBLOCKVECT comments;
  TBLOCKVECT classNames;
  TBLOCKVECT elementNames;      // values of name and id
  TBLOCKVECT tagTexts;          // distinct tags
  STRVECT tagParams;            // distinct "tag.name=value"
  TBLOCKVECT backgroundImages;  // content ids
  TBLOCKVECT fontNames;         // distinct faces of FONT
  TCharset charset;             // that META names
  TBLOCK title;
  TBLOCK bodyBackground;  // content id of the body's picture
  TBLOCK lastLinkImg;     // last image inside a link

  THTMLCONTEXT();
  ~THTMLCONTEXT();
  THTMLCONTEXT(const THTMLCONTEXT&) = delete;
  THTMLCONTEXT& operator=(const THTMLCONTEXT&) = delete;

  void clear();
  // Takes one item of the body; text is decoded already. WRITES to URLs and
  // line ends inside of tags. The dictionary, which may be null, knows the
  // suffixes of URLs that are pulled apart.
  void doItem(THITEM& item, REGEXPOOL* pool, const TQMDICO* dico);
  void endParsing();

  // ==== Output: html_context.cc. What does not fit is left out as a whole.

  // 1 with `copy` a view of the bytes in the output, or 0.
  int append(TBLOCK text, TBLOCK& copy);
  void doSpaceAndLine();

  // ==== Attributes of a tag: html_collect.cc

  // GetTagParamValue. For the tag of the present item it knows at once of most
  // names that they are not there. REQUIRES: a name in small letters.
  int tagParam(TBLOCK tag, const char* name, TBLOCK& value) const {
    const uint32_t bit = NameBit(static_cast<unsigned char>(name[0]),
                                 static_cast<unsigned char>(name[1]));
    if (tag.pointer == notedTag.pointer && tag.length == notedTag.length &&
        !(notedNames >> bit & 1)) {
      value.clear();
      return 0;
    }
    return findParam(tag, name, value);
  }
  // A number below 64 for the first two letters of a name.
  static constexpr uint32_t NameBit(unsigned char first, unsigned char second) {
    return ((first * 256u + second) * 0x9E3779B1u) >> 26;
  }

  // ==== Links: html_anchor.cc

  // Cleans the URL in that attribute: 1, or 0 when there is none to follow.
  int parseUrl(TBLOCK tag, const char* name, TBLOCK& url);
  // Whether the tag has a second URL, ahead of `url`, in an attribute whose
  // name is not on the list.
  static bool detectHideUrl(TBLOCK tag, const char* allowed, TBLOCK url);
  void closeAnchor();
  // The words of a link's text, letters that stand apart joined.
  void addTextLink(TBLOCK text);
  // Whether the picture of a link lies on the domain that it leads to.
  void checkExternalImg();

  // ==== Collections: html_collect.cc

  void parseMeta(TBLOCK tag);
  void parseComment(TBLOCK block);
  void parseBackgroundImg(const THITEM& item);
  void addBadTag(TBLOCK tag);
  void addFontNames(TBLOCK tag);
  void addImgSize(TBLOCK width, TBLOCK height);
  // 1 when the very same tag was met before.
  int addTag(const THITEM& item);
  void addTagParams(const THITEM& item);
  void addTagParamValue(TBLOCK prefix, TBLOCK name, TBLOCK value);

  // ==== Structure: html_pattern.cc

  void addPattern(const THITEM& item);

  // ==== Open parts of tables: html_context.cc

  void pushTableItem(const THITEM& item);
  void popTableItem(const THITEM& item);

  // ==== Styles: html_style.cc, html_visibility.cc

  int32_t curColor, curBackground;  // in force
  int16_t curFontSize, prevFontSize;
  int32_t bodyTextColor, bodyLinkColor;  // that BODY names
  TTAGSTACK tagStack;
  TSTYLEITEMVECT styleItems;
  TSTYLERULES styleRules;

  // What clear does for them; endParsing and doItem need nothing of the kind.
  void clearStyles();
  // A tag opens. Attribute names may be empty. Both set or clear
  // hcfInvisibleChars.
  void pushTag(const THITEM& item, const char* colorAttribute,
               const char* backgroundAttribute, const char* sizeAttribute);
  // A tag closes: its newest record goes, if there is any.
  void popTag(THTMLTAG tag);
  // Reads a STYLE element, and one rule of it.
  void parseStyle(TBLOCK block);
  void parseStyleBlock(TBLOCK selectors, TBLOCK body);
  // What the rules say of a tag; leaves what they don't set.
  void getStyleValues(const THITEM& item, TBLOCK tag, int32_t& color,
                      int32_t& background, int16_t& size);
  void addInvisible(TBLOCK text);
  void clearInvisible();

 private:
  // html_context.cc
  void doText(const THITEM& item, const TQMDICO* dico);
  void outputText(const THITEM& item);
  void findTextUrls(TBLOCK text, const TQMDICO* dico);
  void doOpenTag(const THITEM& item);
  void doCloseTag(const THITEM& item);
  void doTail(const THITEM& item);
  void openBody(const THITEM& item);
  void openImg(TBLOCK tag);
  void addImgSource(TBLOCK tag, TBLOCK src, TBLOCK alt);
  void noteImgBeforeText(int32_t width, int32_t height, bool linked);
  void popTableUntil(int32_t level);
  // html_anchor.cc
  void openAnchor(const THITEM& item);
  void openLink(TBLOCK tag, const char* name, bool counts);
  void flushOrphans(uint32_t begin, bool dropped);
  // html_collect.cc
  void meetTag(const THITEM& item);
  void forgetTag();
  void noteTag(TBLOCK tag);
  void walkParams(TBLOCK tag);
  static int findParam(TBLOCK tag, const char* name, TBLOCK& value);
  TBLOCK cleanUrl(TBLOCK tag, TBLOCK url);
  void addTagValue(TBLOCK tag, const char* name, TBLOCKVECT& list);
  void addTagNames(TBLOCK tag);
  void addStyleParams(TBLOCK prefix, TBLOCK style);
  // html_pattern.cc
  int addHtmlToken(const THITEM& item);
  void markParams(TBLOCK tag, TTOKEN& token);
  void addTableToken(const THITEM& item);
  // html_style.cc
  TBLOCK cleanSelectors(TBLOCK text);
  void addStylePattern(TBLOCK selectors, TBLOCK body);
  // html_visibility.cc
  void getTagStyle(const THITEM& item, const char* colorAttribute,
                   const char* backgroundAttribute, const char* sizeAttribute,
                   TTAGSTYLE& style);
  // html_parse.cc
  void decodeOutput();
  void keepViews();

  TBLOCK lastText;        // the run of text right before this item
  TBLOCK lastAnchorText;  // the last run, if it was inside an anchor
  // Of the open anchor.
  TBLOCK href, anchorImg, prevText;
  uint32_t linkStart;  // where its text begins in the output
  // Letters of link texts that stood alone, joined.
  unsigned char orphans[kMaxOrphanBytes];
  uint32_t orphanLength;

  // Of the present open tag. A tag that was met before is known at once.
  TBLOCK notedTag;      // empty when it is of no known type
  uint64_t notedNames;  // pairs of letters that its attributes may begin with
  uint32_t notedHash;
  bool notedLines;      // it has line ends
  int32_t notedNumber;  // in tagTable, or -1
  TBLOCK walkedTag;     // whose attributes are in rooms->params

  TEXTSET tagTable;    // of tagTexts
  BLOCK tagFacts;      // of each of them
  TEXTSET paramTable;  // of tagParams
  BLOCK paramText;     // scratch
  THTMLTAG lastPatternTag, lastTableTag;
  uint32_t htmlTokensLength, tableTokensLength;
  int32_t tableStackCount;

  // Owned; null without memory, and then patterns and the stack stay empty.
  struct TROOMS {
    char htmlTokens[kMaxHtmlPattern];
    char tableTokens[kMaxTablePattern];
    unsigned char tableStack[kMaxTableStack];  // rows of tags
    TTAGPARAMS params;                         // of walkedTag
  };
  TROOMS* rooms;

  TSTYLETEXT styleText;  // selectors that had comments
  BLOCK viewStore;       // texts that had to leave the output

  friend uint32_t QmHtmlParse(TBLOCK src, TBLOCK dest, THTMLCONTEXT& context,
                              REGEXPOOL* pool, const TQMDICO* dico);
};

class TTEXTCONTEXT {
 public:
  uint32_t length;  // bytes written
  TBLOCK output;    // where text goes
  TLINKVECT links;
  int32_t tagCount;        // HTML tags in the plain text
  int32_t hiddenUrlCount;  // URLs in disguise
  bool isHtml;             // the text opens an HTML document

  TTEXTCONTEXT() { clear(); }
  void clear();
  // Cleans a URL that was found, and adds it. WRITES to it.
  void addUrl(TBLOCK url);
};

#endif  // CONTENT_CONTEXTS_H_
