// Body preparation: from the raw body to what the checks read. Entry:
// TQMMSG::parse, and parseWords for the checks that need words. The order of
// the steps is part of their meaning: each works on what the ones before it
// left of the text. Tested by body_preparation_test.cc and
// answers_seam_test.cc.

#include <string.h>

#include "content/adn.h"
#include "content/html_parse.h"
#include "content/phone.h"
#include "content/random_string.h"
#include "content/text_parse.h"
#include "content/unsub_text.h"
#include "content/words.h"
#include "scan/tqmmsg.h"

namespace {

// Room behind a text that a parser rewrites, for what it may add.
const uint32_t kParseReserve = 128;
// Words of a body: of more than these the first and the last are kept, so that
// nobody can hide words behind a long text.
const int32_t kMaxBodyWords = 1023;
const int32_t kFirstBodyWords = 512;

// White space off, and odd characters by plain ones. WRITES.
void Fold(TBLOCK& source) {
  source.trim();
  source.convert(TBLOCK::AlphaConvTable);
}

// A copy of the text with spare room for a parser; empty when memory is short.
TBLOCK CopyToParse(TBLOCK source, BLOCK& store) {
  store.reset();
  const uint32_t n = source.empty() ? 0 : source.length;
  if (!store.addSpace(n + kParseReserve) || !store.add(source.pointer, n))
    return TBLOCK();
  memset(store.data + n, 0, kParseReserve);
  return TBLOCK(store.data, n + kParseReserve);
}

// The first, last and last but one line that are not blank. There are no
// blank lines at both ends.
void TakeOuterLines(const TBLOCKVECT& lines, STR& first, STR& last,
                    STR& lastButOne) {
  const int32_t count = lines.count();
  first = lines.get(0);
  last = lines.get(count - 1);
  lastButOne = "";
  for (int32_t i = count - 2; i >= 0; i--) {
    TBLOCK shown = lines.get(i);
    shown.trim();
    if (shown.empty()) continue;
    lastButOne = lines.get(i);
    return;
  }
}

// Names joined by commas; one that could be taken for several has quotes around
// it.
void JoinNames(const TBLOCKVECT& names, STR& list) {
  list = "";
  for (int32_t i = 0; i < names.count(); i++) {
    const TBLOCK name = names.get(i);
    bool quoted = false;
    for (uint32_t k = 0; k < name.length; k++)
      quoted |= memchr(" \t\",", name[k], 4) != nullptr;
    if (i > 0) list += ',';
    if (quoted) list += '"';
    list += name;
    if (quoted) list += '"';
  }
}

// Whether a letter of lineAdn stands for a kind that is divided further.
bool IsDividedLine(char letter) {
  return (letter >= '1' && letter <= '9') || (letter >= 'A' && letter <= 'D');
}

// The first byte of the name of the first pattern that the line matches; "#"
// when there is none.
char LetterOfLine(TQMDICO& dico, const TQKSECTION* section, TBLOCK line) {
  line.trim();
  const TQKLINE* found = nullptr;
  if (!dico.compareNamedRegex(section, line, found)) return '#';
  const unsigned char first = dico.lineBlock(found)[0];
  return first == ':' ? '#' : static_cast<char>(first);
}

// Keeps the ends of a list that is too long.
void DropMiddleWords(TBLOCKVECT& words) {
  const int32_t count = words.count();
  if (count <= kMaxBodyWords) return;
  const int32_t moved = count - kMaxBodyWords;
  for (int32_t i = kFirstBodyWords; i < kMaxBodyWords; i++)
    words.set(words.get(i + moved), i);
  words.setMaxCount(kMaxBodyWords);
  words.maxCount = 0;  // for the next message
}

}  // namespace

void TQMMSG::parse(int filterHeader) {
  parseHeader();
  if (filterHeader) {
    checkHeaderFilter();
    if (isBailout()) return;
  }
  parseBody();
}

void TQMMSG::parseBody() {
  if (bodyParsed) return;
  parseHeader();
  bodyParsed = 1;
  message.parsePart();
  message.decodeContent();
  message.decoded.trim();
  body.clear();
  bodyIsHtml = 0;
  prepareText();
  prepareHtml();
  prepareLinks();
  prepareImages();
  buildBodyLines();
  removeAntiVirusFooter();
  removeAntiVirusHtml();
  GetBlockCharAdn(body, charCounts, charPresence);
  TakeOuterLines(bodyLines, firstLine, lastLine, lastButOneLine);
  parseBodyTokens();
  prepareCharsets();
  buildTypeAdn();
  describeParts();
  prepareIds();
  checkEmptyBody();
  prepareUnsub();
  getAdnFromBlock(kFieldAdnText, body, bodyAdn);
  setTags();
  BlockParsePhones(body, phones, PO_DEFAULTOPTIONS);
  getAdnCounts();
  getAdnFromBlock(kFieldAdnHtml, htmlContext.htmlPattern.view(), htmlAdn);
  JoinNames(htmlContext.fontNames, fontList);
  getDatesAdn(datesAdn);
  dropRegexFields();
}

void TQMMSG::prepareText() {
  TBLOCK source = message.getTextBlock();
  if (source.empty()) return;
  Fold(source);
  removeAnswers(source, answerCount);
  const TBLOCK copy = CopyToParse(source, textStore);
  text = copy.head(QmTextParse(source, copy, textContext, pool, &dico));
  text.trim();
  body = text;
  if (!message.htmlPart && textContext.isHtml) {
    message.htmlPart = message.textPart;
    message.textPart = nullptr;
  }
}

// An HTML body is the body even when it shows no text at all. When nothing is
// left ahead of the answers, they are all that there is to read: parsing writes
// to what it reads, so a copy of the whole is kept behind the output for that.
void TQMMSG::prepareHtml() {
  TBLOCK source = message.getHtmlBlock();
  if (source.empty()) return;
  bodyIsHtml = 1;
  Fold(source);
  TBLOCK own = source;
  answersRemoved = removeAnswers(own, answerCount);
  const uint32_t room = source.length + kParseReserve;
  htmlStore.reset();
  if (htmlStore.addSpace(answersRemoved ? room + source.length : room)) {
    TBLOCK whole(htmlStore.data + room, source.length);
    if (answersRemoved) memcpy(whole.pointer, source.pointer, source.length);
    TBLOCK output(htmlStore.data, own.length + kParseReserve);
    output.length = QmHtmlParse(own, output, htmlContext, pool, &dico);
    if (output.length == 0 && answersRemoved) {
      output.length = room;
      output.length = QmHtmlParse(whole, output, htmlContext, pool, &dico);
    }
    html = output;
  }
  body = html;
}

// Decoding has counted the letters of an encoded body before; that they count
// again here, with those of a body in plain bytes, is deliberate.
void TQMMSG::prepareCharsets() {
  if (bodyIsHtml) {
    messageCharset = message.charset;
    if (message.htmlPart)
      messageCharset.addZoneCounts(message.htmlPart->charset);
    messageCharset.addZoneCounts(htmlContext.charset);
  } else if (message.textPart) {
    messageCharset = message.textPart->charset;
  }
  const int32_t shares[] = {HighCharCount(text), HighCharCount(html)};
  highChars = shares[0] > shares[1] ? shares[0] : shares[1];
  messageCharset.zoneUpdate(body);
  subjectCharset.zoneUpdate(subject);
  addCharsetToHdr();
}

// A message of attachments alone is not empty.
void TQMMSG::checkEmptyBody() {
  if (headerOnly || !message.getTextBlock().empty() ||
      !message.getHtmlBlock().empty())
    return;
  msgContext.emptyBody = 1;
  OITER walk(&message.parts);
  while (const void* part = walk.next())
    if (part != message.htmlPart && part != message.textPart)
      msgContext.emptyBody = 0;
}

// Of HTML only the last line that offers to unsubscribe is looked at.
void TQMMSG::prepareUnsub() {
  if (bodyIsHtml)
    AddUnsubText(LastUnsubLine(body), unsubLines);
  else
    GetUnsubText(text, unsubLines);
}

void TQMMSG::parseWords() {
  dico.forgetWords();
  ParseBlockWords(pool, subject, subjectWords, nullptr);
  ParseBlockWords(pool, fromBox.name, aliasWords, nullptr);
  ParseLinesWords(lineAdn, pool, bodyLines, bodyWords, &emails);
  lineAdnDetail = lineAdn;
  const TQKSECTION* const patterns = dico.findSection("AdnLines");
  for (int32_t i = 0; i < lineAdnDetail.len(); i++) {
    if (!IsDividedLine(lineAdnDetail.text[i])) continue;
    lineAdnDetail.text[i] = LetterOfLine(dico, patterns, bodyLines.get(i));
  }
  DropMiddleWords(bodyWords);
  const TBLOCKVECT* const searched[] = {&bodyWords, &subjectWords, &aliasWords};
  for (const TBLOCKVECT* list : searched) dico.keepWords(*list);
  dropRegexFields();
}
