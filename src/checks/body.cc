// What the analysis of text and HTML counted, turned into points: bad HTML,
// structure, hidden words, mail that is nothing but a picture. Each check is a
// filter; checkHtmlMeta serves the white and the word checks. Words that hide
// are in hidden_words.cc, mail around an advertisement in embed_spam.cc. Tested
// by tests/mail/body.eml.

#include "base/wildcard.h"
#include "content/random_string.h"
#include "message/part_iter.h"
#include "regex/regex.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kManyBadTags = 20;
const int32_t kManyStyleAnomalies = 11;
const int32_t kMaxStylePoints = 200;
const int32_t kMaxInvisiblePoints = 95;
const int32_t kMaxCommentPoints = 200;

// A picture up to this height may be the head of a letter.
const int32_t HeadingImgHeight = 200;
// Pixels of an advertisement.
const uint32_t kMinSpamWidth = 201, kMaxSpamWidth = 599;
const uint32_t kMinSpamHeight = 321, kMaxSpamHeight = 619;

// Longer messages hold code and tables.
const uint32_t kMaxBadStringMessage = 9999;
const int32_t kMinBadSeq = 3;
const int32_t kManyBadSeqs = 10;
const int32_t kMaxBadSeqs = 50;

int32_t Least(int32_t a, int32_t b) {
  return a < b ? a : b;
}

// Whether HTML that was opened stays open, or was never opened.
bool IsUnpaired(uint32_t flags, uint32_t opened, uint32_t closed) {
  return ((flags & opened) != 0) != ((flags & closed) != 0);
}

// A picture in a part with a plain name and the size of an advertisement.
bool IsSpamPicture(const BLOCKPART& part) {
  if (part.contentId.empty() || part.displayName.empty() ||
      part.displayName.ends("jpg"))
    return false;
  TBLOCK rest = part.displayName;
  const TBLOCK name = TBLOCK::BlockBeforeChar(rest, '.', 0, 0);
  return name.allIn(bitAlpha) && part.width >= kMinSpamWidth &&
         part.width <= kMaxSpamWidth && part.height >= kMinSpamHeight &&
         part.height <= kMaxSpamHeight;
}

// Bad triples of the words that have three or more; none where a greeting card
// or a signed header is quoted.
int32_t CountBadStrings(const TBLOCKVECT& words) {
  static const char* const kExempt[] = {"card", "birthday",
                                        "DomainKey-Signature"};
  int32_t total = 0;
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    if (word.findByte('.') >= 0 || word.findByte('@') >= 0) continue;
    for (const char* exempt : kExempt)
      if (word.find(exempt) >= 0) return 0;
    const int32_t bad = BadSeqCount(word);
    if (bad >= kMinBadSeq) total += bad;
  }
  return total;
}

// Whether the body begins with what stands at the head of a part: a date and
// the version of MIME.
bool IsForgedPart(const TBLOCKVECT& lines) {
  if (lines.count() < 3 || !lines.get(1).equals("MIME-Version: 1.0") ||
      lines.get(0).empty())
    return false;
  BLOCKDATE date;
  date.parseFrom(lines.get(0));
  return date.utc > 0;
}

}  // namespace

void TQMMSG::checkHtml() {
  checkHtmlTags();
  checkHtmlComments();
}

// Scores: 100 "Many bad html tags", 20 "incorrect <html> tag", 20 "incorrect
// <body> tag". What was cut off or left out may have had the closing tags.
void TQMMSG::checkHtmlTags() {
  checkCond(htmlContext.badTags.count >= kManyBadTags, 100,
            "Many bad html tags");
  if (truncated || answersRemoved) return;
  const uint32_t flags = htmlContext.flags;
  checkCond(IsUnpaired(flags, hcfHtmlOpened, hcfHtmlClosed), 20,
            "incorrect <html> tag");
  checkCond(IsUnpaired(flags, hcfBodyOpened, hcfBodyClosed), 20,
            "incorrect <body> tag");
}

// Scores: the lines of "HtmlComments", and up to 200 "Antibayes Comment" for
// padding in comments.
void TQMMSG::checkHtmlComments() {
  const bool listed = dico.findSection("HtmlComments") != nullptr;
  if (listed) dico.clearMatchCount("HtmlComments");
  const TBLOCKVECT& comments = htmlContext.comments;
  int32_t padding = 0;
  for (int32_t i = 0; i < comments.count(); i++) {
    if (listed) dico.scanString("HtmlComments", comments.get(i), 0);
    padding += checkAntiBayesBlock(comments.get(i), 5, 20, 10);
  }
  if (listed) addSectionScore("HtmlComments", 0, "");
  if (padding > 0)
    addToSpamScore(Least(padding * 10, kMaxCommentPoints), "Antibayes Comment",
                   1);
}

// Scores: 80 "Empty body", 51 "Only one part", 30 "Multipart error".
void TQMMSG::checkMsgStructure() {
  if (headerOnly) return;
  checkCond(msgContext.emptyBody, 80, "Empty body");
  checkCond(
      message.type.equals("multipart/alternative") && message.parts.len() == 1,
      51, "Only one part");
  checkCond((message.flags & pfNestedAlternative) != 0, 30, "Multipart error");
}

// Scores: up to 95 "Invisible words", unless a rule of "NoInvisibleWords"
// matches; 51 "External img"; 50 "Unsubscribe image" for each word that the
// last picture in a link has; up to 200 "Style anomaly".
void TQMMSG::checkHtmlContext() {
  if (message.getHtmlBlock().empty()) return;
  const THTMLCONTEXT& c = htmlContext;
  if (c.invisibleTexts.count() > 0 && !testRuleSection("NoInvisibleWords"))
    checkCond(c.invisibleLength > 0,
              Least(c.invisibleWordCount * 10, kMaxInvisiblePoints),
              "Invisible words");
  checkCond(c.externalImgCount == 1 && c.imgCount == 1, 51, "External img");
  const TBLOCK picture = c.lastLinkImg;
  if (!picture.empty()) {
    checkCond(picture.ends("/re.gif"), 50, "Unsubscribe image");
    static const char* const kNames[] = {"/remove.", "/nothanks.", "/nomore.",
                                         "/dontmailme."};
    for (const char* name : kNames)
      checkCond(picture.find(name) >= 0, 50, "Unsubscribe image");
  }
  const int32_t anomalies = c.styleAnomalyCount;
  checkCond(anomalies >= kManyStyleAnomalies, Least(anomalies, kMaxStylePoints),
            "Style anomaly");
}

// Scores: 50 "Encoded javascript".
void TQMMSG::checkJavascript() {
  if (!message.getHtmlBlock().empty() && (htmlContext.flags & hcfEncodedScript))
    addToSpamScore(50, "Encoded javascript", 1);
}

// Scores: the lines of "ImgSize" that the pictures of the HTML have.
void TQMMSG::checkImgSize() {
  dico.clearMatchCount("ImgSize");
  const STRVECT& sizes = htmlContext.imgSizes;
  for (int32_t i = 0; i < sizes.count(); i++) {
    const TQKLINE* line = nullptr;
    dico.scanBlock("ImgSize", sizes.at(i)->view(), line, 0);
  }
  addSectionScore("ImgSize", 0, " img size");
}

// Scores: "ImgSize"; for mail without visible text outside of links 50
// "Clickable image only message", 50 "image only message" or 51 "Embed image
// only message"; for text below a linked picture 50 "Heading clickable img";
// 150 "Spam img" for each such part.
void TQMMSG::checkImg() {
  checkImgSize();
  const THTMLCONTEXT& c = htmlContext;
  // Set by visible text outside of links, whatever its name says.
  const bool hasText = (c.flags & hcfNoLinkText) != 0;
  if (attachScored) {
    // An attached file explains what there is to see.
  } else if (!hasText && c.imgInLinkCount > 0) {
    addToSpamScore(50, "Clickable image only message", 1);
  } else if (!hasText && c.imgCount > 0) {
    if (c.imgCount != c.cidImgCount)
      addToSpamScore(50, "image only message", 1);
    else
      addToSpamScore(51, "Embed image only message", 1);
  } else if (hasText && c.imgLinkBeforeText) {
    const bool isHeading =
        c.textLineCount > 1 && c.maxImgHeightBeforeText <= HeadingImgHeight;
    checkCond(!isHeading, 50, "Heading clickable img");
  }
  const TBLOCK counts = countsAdn.view();
  if (!c.imgBeforeText || !(c.flags & hcfNotEmpty) ||
      !(counts.begins("H0I1C1P3") || counts.begins("H0I0C1P3")))
    return;
  PARTITER walk(message.parts);
  while (const BLOCKPART* part = walk.next())
    checkCond(IsSpamPicture(*part), 150, "Spam img");
}

// Scores: up to 500 "bad strings" in a short mail around a linked picture; 75
// "Forged Html part"; what checkSliceAndDice finds; 200 "DotOnly".
void TQMMSG::checkMsgByNature() {
  const bool hasHtml = !message.getHtmlBlock().empty();
  if (hasHtml && htmlContext.imgInLinkCount > 0 &&
      htmlContext.cidImgCount == 0 && msgView.length <= kMaxBadStringMessage) {
    const int32_t bad = CountBadStrings(bodyWords);
    checkCond(bad >= kManyBadSeqs, Least(bad, kMaxBadSeqs) * 10, "bad strings");
  }
  if (IsForgedPart(bodyLines)) addToSpamScore(75, "Forged Html part", 1);
  checkSliceAndDice();
  checkCond(hasHtml && body.equals(TBLOCK("."), TBLOCK::NoConvTable), 200,
            "DotOnly");
}

// Scores: each line "token=pattern" that the META value of that name fits, as
// "token:pattern" or, when `silent`, without a label.
void TQMMSG::checkHtmlMeta(const char* section, int silent) {
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    TBLOCK pattern = dico.lineBlock(line);
    const TBLOCK token = TBLOCK::BlockBeforeChar(pattern, '=', 0, 0);
    for (int32_t row = 0; row < hmCount; row++) {
      if (!token.equals(HtmlMetaTokens[row])) continue;
      TBLOCK value = htmlContext.metaValues[row];
      bool fits = false;
      if (found->type == stRegex) {
        fits = BlockMatchRegex(value, pattern, pool, nullptr);
      } else if (found->type == stString) {
        pattern.trim();
        value.trim();
        fits = MatchWildcard(pattern, value, wmPrefix);
      }
      if (!fits) continue;
      STR label;
      if (!silent) {
        label = token;
        label += ':';
        label += pattern;
      }
      addToSpamScore(line->score, label.c_str(), 1);
    }
  }
}
