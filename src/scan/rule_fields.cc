// Rule fields: what rules may ask of a message, by number. buildRegexField has
// a case for each of them, which puts the elements together from what the
// parsers left in the message. A field is built when a rule first asks for it,
// since rules ask thousands of times for a few. Entries: TQMMSG::regexFields,
// setRegexFields, dropRegexFields. TQMDICO::getRegexField knows the number of a
// name. Tested by rule_fields_test.cc.

#include <stdio.h>
#include <string.h>

#include <new>

#include "content/phone.h"
#include "message/part_iter.h"
#include "message/received.h"
#include "regex/regex.h"
#include "scan/tqmmsg.h"

// The elements of one field as they were last built. Elements have no white
// space around them.
struct RULEFIELD {
  TBLOCKVECT elements;
  STRVECT formed;  // texts made for the field, which `elements` views
  bool built;

  RULEFIELD() : elements(0), formed(0, kStep), built(false) {
    elements.step = kStep;
  }

  void clear() {
    elements.clear();
    formed.clear();
    built = false;
  }

  // Add an element; one that is empty only by the second.
  void add(TBLOCK text) { elements.add(text, 0, 1); }
  void addAny(TBLOCK text) { elements.add(text, 1, 1); }
  // Unless it is there already.
  void addUnique(TBLOCK text) { elements.addUnique(text, 0, 1); }
  void add(const STR& text) { add(text.view()); }
  void addAny(const STR& text) { addAny(text.view()); }
  void add(const TBLOCKVECT& texts) {
    for (int32_t i = 0; i < texts.count(); i++) add(texts.get(i));
  }
  void add(const STRVECT& texts) {
    for (int32_t i = 0; i < texts.count(); i++) add(texts.at(i)->view());
  }
  void addKeys(const HASHTAB& table) {
    for (int32_t slot = table.first(); slot >= 0; table.next(slot))
      add(table.getBlock(slot));
  }
  // Add a text that only the field has.
  void addCopy(const STR& text) {
    if (formed.add(text.view())) add(formed.at(formed.count() - 1)->view());
  }
  void addJoined(const STRVECT& texts);

 private:
  // Bytes by which a list grows: most have few elements.
  static const uint32_t kStep = 256;
};

void RULEFIELD::addJoined(const STRVECT& texts) {
  STR joined;
  for (int32_t i = 0; i < texts.count(); i++) {
    if (i > 0) joined += ',';
    joined += *texts.at(i);
  }
  addCopy(joined);
}

namespace {

const uint32_t kMaxTableAdn = 50;
const int32_t kFirstWideState = 10;

// ---- Header fields by name

// Without white space and one pair of equal quotes around it.
TBLOCK BareValue(TBLOCK value) {
  value.trim();
  value.stripQuotes();
  return value;
}

// The first field of that name, where BLOCKPART finds the last; empty when
// there is none. What checks count as fields read does not change.
TBLOCK FirstHeaderValue(const BLOCKPART& part, TBLOCK name) {
  TBLOCK value;
  part.firstField(name, value);
  return BareValue(value);
}

// "@Hdr": the header is that of the message or of one of its bodies.
void AddHeaderField(const TQMMSG& m, TBLOCK name, RULEFIELD& f) {
  const struct {
    const char* prefix;
    const BLOCKPART* part;
  } bodies[] = {{"text-", m.message.textPart}, {"html-", m.message.htmlPart}};
  const BLOCKPART* part = &m.message;
  for (const auto& body : bodies) {
    if (!name.begins(body.prefix)) continue;
    part = body.part;
    name.skip(static_cast<uint32_t>(strlen(body.prefix)));
    break;
  }
  if (!part || name.empty()) return;
  if (name.equals("All"))
    f.add(part->fields);
  else
    f.add(FirstHeaderValue(*part, name));
}

// ---- Addresses

TBLOCK LocalPart(TBLOCK address) {
  const int32_t at = address.findLastByte('@');
  return at < 0 ? address : address.head(static_cast<uint32_t>(at));
}

// Of what stands before the "@" each capital with the small letters behind it,
// where these are two or more.
void AddAddressWords(TQMMSG& m, RULEFIELD& f) {
  TBLOCK rest = LocalPart(m.fromBox.email);
  while (!rest.empty()) {
    const uint32_t small =
        TBLOCK::Is(rest[0], bitUpper) ? rest.from(1).lengthIn(bitLower) : 0;
    if (small >= 2) f.add(rest.head(1 + small));
    rest.skip(1 + small);
  }
}

// ---- Parts

void AddFileNames(TQMMSG& m, RULEFIELD& f) {
  PARTITER walk(m.message.parts);
  while (const BLOCKPART* part = walk.next()) f.add(part->displayName);
}

void AddMimeTypes(TQMMSG& m, RULEFIELD& f) {
  PARTITER walk(m.message.parts);
  while (const BLOCKPART* part = walk.next()) f.add(part->type);
}

// The files in archives, without the byte that tells how each is packed.
void AddArchives(TQMMSG& m, RULEFIELD& f) {
  PARTITER walk(m.message.parts);
  while (const BLOCKPART* part = walk.next()) {
    TBLOCK listing = part->archiveText.view();
    // Behind the archive's own name.
    const int32_t colon = listing.findByte(':');
    if (colon < 0) continue;
    listing.skip(static_cast<uint32_t>(colon) + 1);
    while (!listing.empty())
      f.add(TBLOCK::BlockBeforeChar(listing, ',', 0, 0).from(1));
  }
}

// What kinds of files are attached: of an archive what is in it.
void AddExtensions(TQMMSG& m, RULEFIELD& f) {
  PARTITER walk(m.message.parts);
  while (const BLOCKPART* part = walk.next()) {
    const bool body = part == m.message.textPart || part == m.message.htmlPart;
    if (body || part->displayName.empty()) continue;
    if (part->archiveNames.count() > 0)
      f.add(part->archiveNames);
    else
      f.add(part->displayName);
  }
}

void AddCharsets(TQMMSG& m, RULEFIELD& f) {
  const BLOCKPART* const parts[] = {&m.message, m.message.textPart,
                                    m.message.htmlPart};
  f.addUnique(m.headerCharset.name);
  for (const BLOCKPART* part : parts)
    if (part) f.addUnique(part->charset.name);
  f.addUnique(m.htmlContext.charset.name);
}

// ---- Links and pictures

// Protocols: all of them.
const int32_t kAnyProto = -1;

typedef TBLOCK TBLOCKURL::*UrlPart;

void AddUrlPart(const TBLOCKURL& url, UrlPart part, bool once, RULEFIELD& f) {
  if (once)
    f.addUnique(url.*part);
  else
    f.add(url.*part);
}

void AddLinks(TQMMSG& m, RULEFIELD& f, UrlPart part, bool once,
              int32_t protocols) {
  for (int32_t i = 0; m.links && i < m.links->count(); i++) {
    const TBLOCKURL& url = m.links->get(i)->url;
    if (url.proto & protocols) AddUrlPart(url, part, once, f);
  }
}

void AddImages(TQMMSG& m, RULEFIELD& f, UrlPart part, bool once,
               int32_t protocols) {
  const TIMGVECT& images = m.htmlContext.images;
  for (int32_t i = 0; i < images.count(); i++) {
    const TBLOCKURL& url = images.get(i)->url;
    if (url.proto & protocols) AddUrlPart(url, part, once, f);
  }
}

// Links as one types them into a browser.
void AddWebAddresses(TQMMSG& m, RULEFIELD& f) {
  for (int32_t i = 0; m.links && i < m.links->count(); i++) {
    const TBLOCKURL& url = m.links->get(i)->url;
    if (!(url.proto & (upNone | upHttp))) continue;
    const bool spelled = url.url.begins("http://");
    f.add(url.url.from(spelled ? 7 : 0));
  }
}

// Also the words that stand in place of a text.
void AddLinkTexts(TQMMSG& m, RULEFIELD& f) {
  for (int32_t i = 0; m.links && i < m.links->count(); i++) {
    const TBLOCKVECT* texts = m.links->get(i)->texts;
    for (int32_t k = 0; texts && k < texts->count(); k++)
      f.addUnique(texts->get(k));
  }
}

// The suffix of a country has two letters.
void AddCountries(TQMMSG& m, RULEFIELD& f) {
  for (int32_t i = 0; m.links && i < m.links->count(); i++) {
    const TBLOCK suffix = m.links->get(i)->url.tld;
    const int32_t dot = suffix.findLastByte('.');
    const TBLOCK label = suffix.from(static_cast<uint32_t>(dot + 1));
    if (label.length == 2 && label.lengthIn(bitAlpha) == 2) f.addUnique(label);
  }
}

void AddLinkAdns(TQMMSG& m, RULEFIELD& f) {
  STR adn;
  for (int32_t i = 0; m.links && i < m.links->count(); i++) {
    m.getAdnFromBlock(kFieldAdnUrl, m.links->get(i)->url.url, adn);
    f.addCopy(adn);
  }
}

void AddTagParamAdns(TQMMSG& m, RULEFIELD& f) {
  STR adn;
  const STRVECT& texts = m.htmlContext.tagParams;
  for (int32_t i = 0; i < texts.count(); i++) {
    m.getAdnFromBlock(kFieldAdnTagParam, texts.at(i)->view(), adn);
    f.addCopy(adn);
  }
}

// ---- Relay lines. Of a line that is not there all clauses are empty.

TBLOCK ClauseOf(const BLOCKRECEIVED* line, TBLOCK BLOCKRECEIVED::*clause) {
  return line ? line->*clause : TBLOCK();
}

TBLOCK TemplateOf(const BLOCKRECEIVED* line) {
  return line ? line->adn.view() : TBLOCK();
}

void AddTemplates(TQMMSG& m, RULEFIELD& f) {
  OITER walk(&m.received);
  while (const void* line = walk.next())
    f.add(static_cast<const BLOCKRECEIVED*>(line)->adn);
}

// Without any relay line there is no element, not even an empty one.
void AddFirstRelay(TQMMSG& m, RULEFIELD& f) {
  if (m.receivedFields.count() > 0)
    f.addAny(ClauseOf(m.firstReceived, &BLOCKRECEIVED::text));
}

// ---- Others

TBLOCK MailerOf(const TQMMSG& m) {
  return m.mailer.empty() ? m.userAgent : m.mailer;
}

void AddAgent(TQMMSG& m, RULEFIELD& f) {
  STR code;
  GetAdnAgent(code, MailerOf(m), m.pool);
  f.addCopy(code);
}

void AddPhones(TQMMSG& m, RULEFIELD& f) {
  OITER walk(&m.phones);
  while (const void* phone = walk.next())
    f.add(static_cast<const BLOCKPHONE*>(phone)->digits);
}

void AddState(TQMMSG& m, RULEFIELD& f) {
  if (m.ledger.state >= kFirstWideState) return;
  STR digit;
  digit += m.ledger.state;
  f.addCopy(digit);
}

void AddStateWord(TQMMSG& m, RULEFIELD& f) {
  static const struct {
    int32_t state;
    const char* word;
  } kWords[] = {{ssClean, "ham"},       {ssSpam, "spam"},
                {ssVirus, "virus"},     {ssNotification, "notification"},
                {ssSuspect, "suspect"}, {ssCommercialP, "PCE"},
                {ssCommercialM, "MCE"}, {ssCommercialD, "DCE"}};
  for (const auto& row : kWords)
    if (row.state == m.ledger.state) f.add(TBLOCK(row.word));
}

void AddScores(TQMMSG& m, RULEFIELD& f) {
  char line[48];
  snprintf(line, sizeof line, "%.4d;%.4d;%.4d", m.ledger.score,
           m.ledger.whiteScore, m.ledger.blackScore);
  f.addCopy(STR(line));
}

// Fields that are built each time they are asked for: points change them, or
// they depend on a name.
bool IsFleeting(int32_t field) {
  return field == kFieldHdr || IsLedgerField(field);
}

}  // namespace

// In the order of numbers, which rules and dictionaries rely on: one long
// switch, so that everybody finds his field. Those that are missing have a
// name and nothing behind it: 21 Lang, 29 List, 32 FullText, 33 Locu, 56 md5,
// 70 Virus, 71 Disponible, 74 Cause.
void TQMMSG::buildRegexField(int32_t field, TBLOCK name, RULEFIELD& f) {
  switch (field) {
    case 1:  // Id
      return f.addAny(messageId);
    case 2:  // Bound
      return f.addAny(boundary);
    case 3:  // Url
      return AddLinks(*this, f, &TBLOCKURL::url, false, kAnyProto);
    case 4:  // Img
      return AddImages(*this, f, &TBLOCKURL::url, false, ~upCid);
    case 5:  // Cid
      return f.addKeys(hiddenIds);
    case 6:  // FromDom
      return f.add(fromBox.domain);
    case 7:  // Subject
      return f.addAny(subject);
    case 8:  // Html
      return f.add(htmlContext.htmlPattern);
    case 9:  // Table
      return f.add(htmlContext.tablePattern);
    case 10:  // Class
      return f.add(htmlContext.classNames);
    case 11:  // Name
      return f.add(htmlContext.elementNames);
    case 12:  // From
      return f.addAny(from);
    case 13:  // Generator
      return f.add(htmlContext.metaValues[hmGenerator]);
    case 14:  // AdnFrom
      return f.add(fromAdn);
    case 15:  // Charset
      return AddCharsets(*this, f);
    case 16:  // Domain
      return f.addKeys(domains);
    case 17:  // Content
      return f.addAny(body);
    case 18:  // FirstLine
      return f.addAny(firstLine);
    case 19:  // LastLine
      return f.addAny(lastLine);
    case kFieldHdr:  // @Hdr
      return AddHeaderField(*this, name, f);
    case 22:  // Mailer
      return f.addAny(MailerOf(*this));
    case 23:  // ContentType
      return f.addAny(contentType);
    case 24:  // MimeType
      return f.addAny(message.type);
    case 25:  // Multipart
      return f.addAny(message.subType);
    case 26:  // Tags
      return f.addAny(tags);
    case 27:  // Host
      return AddLinks(*this, f, &TBLOCKURL::host, false, kAnyProto);
    case 28:  // HttpHost
      return AddLinks(*this, f, &TBLOCKURL::host, false, upHttp | upHttps);
    case 30:  // SpamState
      return AddState(*this, f);
    case 31:  // SpamCause
      return f.add(ledger.cause.view());
    case 34:  // Filename
      return AddFileNames(*this, f);
    case 35:  // Received
      return f.add(receivedFields);
    case 36:  // AdnRec
      return AddTemplates(*this, f);
    case 37:  // Rcvd
      return AddFirstRelay(*this, f);
    case 38:  // AdnRcvd
      return f.addAny(TemplateOf(firstReceived));
    case 39:  // Labo
      return f.addAny(ClauseOf(secondReceived, &BLOCKRECEIVED::text));
    case 40:  // AdnLabo
      return f.addAny(TemplateOf(secondReceived));
    case 41:  // AdnId
      return f.addAny(messageIdAdn);
    case 42:  // AdnCid
      return f.add(idAdns);
    case 43:  // AdnBound
      return f.add(boundaryAdn);
    case 44:  // AdnHtml
      return f.add(htmlAdn);
    case 45:  // AdnTable
      return f.add(htmlContext.tablePattern.view().head(kMaxTableAdn));
    case 46:  // AdnText
      return f.add(bodyAdn);
    case 47:  // Unsub
      return f.add(unsubLines);
    case 48:  // XSpamStatus
      return f.add(FirstHeaderValue(message, TBLOCK("X-SPAM-STATUS")));
    case 49:  // Thid
      return f.add(threadIndex);
    case 50:  // AdnThid
      return f.add(threadIndexAdn);
    case 51:  // ById
      return f.add(ClauseOf(firstReceived, &BLOCKRECEIVED::id));
    case 52:  // AdnById
      return f.add(byIdAdn);
    case 53:  // Addr
      return f.add(fromBox.email);
    case 54:  // Alias
      return f.add(fromBox.name);
    case 55:  // User
      return f.add(LocalPart(fromBox.email));
    case 57:  // UrlParam
      return AddLinks(*this, f, &TBLOCKURL::query, false, kAnyProto);
    case 58:  // Comments
      return f.add(htmlContext.comments);
    case 59:  // Date
      return f.add(date);
    case 60:  // Agent
      return AddAgent(*this, f);
    case 61:  // To
      return f.add(to);
    case 62:  // Phone
      return AddPhones(*this, f);
    case 63:  // AdnRecip
      return f.add(recipAdn);
    case 64:  // Counts
      return f.add(countsAdn);
    case 65:  // AddrWords
      return AddAddressWords(*this, f);
    case 66:  // http
      return AddWebAddresses(*this, f);
    case 67:  // HtmlTags
      return f.add(htmlContext.tagTexts);
    case 68:  // Replyto
      return f.add(replyToBox.email);
    case 69:  // Encoding
      return f.add(message.transferField);
    case 72:  // ImgSize
      return f.add(imageSizes);
    case 73:  // BadTag
      return f.addKeys(htmlContext.badTags);
    case 75:  // AdnUrl
      return AddLinkAdns(*this, f);
    case 76:  // AdnFilename
      return f.add(attachAdns);
    case 77:  // TagParam
      return f.add(htmlContext.tagParams);
    case 78:  // AdnTagParam
      return AddTagParamAdns(*this, f);
    case 79:  // Emails
      return f.add(emails);
    case 80:  // AdnSubject
      return f.add(subjectAdn);
    case 81:  // Ole
      return f.add(mimeOle);
    case 82:  // UrlPath
      return AddLinks(*this, f, &TBLOCKURL::path, true, kAnyProto);
    case 83:  // ImgPath
      return AddImages(*this, f, &TBLOCKURL::path, true, kAnyProto);
    case 84:  // Ip
      return f.add(sourceIpBlock);
    case 85:  // RcvdFrom
      return f.addAny(ClauseOf(firstReceived, &BLOCKRECEIVED::from));
    case 86:  // AdnRcvdFrom
      return f.add(rcvdFromAdn);
    case 87:  // RcvdBy
      return f.addAny(ClauseOf(firstReceived, &BLOCKRECEIVED::by));
    case 88:  // AdnRcvdBy
      return f.add(rcvdByAdn);
    case 89:  // RcvdWith
      return f.addAny(ClauseOf(firstReceived, &BLOCKRECEIVED::with));
    case 90:  // AdnRcvdWith
      return f.add(rcvdWithAdn);
    case 91:  // Words
      f.add(bodyWords);
      return f.add(htmlContext.linkWords);
    case 92:  // SpamType
      return AddStateWord(*this, f);
    case 93:  // AdnDates
      return f.add(datesAdn);
    case 94:  // AdnLines
      return f.add(lineAdnDetail);
    case 95:  // LineWords
      return f.add(lineAdn);
    case 96:  // AdnTab
      return f.add(tabAdn);
    case 97:  // CharCounts
      return f.add(charCounts);
    case 98:  // AdnCharCounts
      return f.add(charPresence);
    case 99:  // Lines
      return f.add(bodyLines);
    case 100:  // ImgWeight
      return f.add(imageWeights);
    case 101:  // Hdr
      return f.add(hdrAdn);
    case 102:  // Tokens
      return f.add(fieldTokens);
    case 103:  // AttExt
      return AddExtensions(*this, f);
    case 104:  // Linktext
      return AddLinkTexts(*this, f);
    case 105:  // Score
      return AddScores(*this, f);
    case 106:  // Cc
      return f.add(cc);
    case 107:  // Invisible
      return f.add(htmlContext.invisibleTexts);
    case 108:  // AdnParts
      return f.addAny(typeAdn);
    case 109:  // For
      return f.add(deliveredTo);
    case 110:  // Style
      return f.add(htmlContext.stylePattern);
    case 111:  // AdnAttach
      return f.add(attachContentAdns);
    case 112:  // PartMimeType
      return AddMimeTypes(*this, f);
    case 113:  // LinkTags
      return f.add(urlTextAdns);
    case 114:  // ImgFile
      return AddImages(*this, f, &TBLOCKURL::file, true, kAnyProto);
    case 115:  // ImgLink
      return f.addJoined(imageAdns);
    case 116:  // Zip
      return AddArchives(*this, f);
    case 117:  // AdnUrl2
      return f.addJoined(urlAdns);
    case 118:  // Country
      return AddCountries(*this, f);
    case 119:  // Profil
      return f.add(profiles);
    case 120:  // Param
      return f.add(paramLines);
    case 121:  // ImgDomain
      return AddImages(*this, f, &TBLOCKURL::domain, true, kAnyProto);
    default:
      return;
  }
}

const TBLOCKVECT& TQMMSG::regexFields(int32_t number, TBLOCK name) {
  const int64_t wanted = number < 0 ? -int64_t{number} : number;
  if (wanted < 1 || wanted > kRuleFieldCount) return noElements;
  const int32_t field = static_cast<int32_t>(wanted);
  RULEFIELD*& f = ruleFields[field];
  if (!f) f = new (std::nothrow) RULEFIELD;
  if (!f) return noElements;
  if (f->built && !IsFleeting(field)) return f->elements;
  f->clear();
  buildRegexField(field, name, *f);
  f->built = true;
  return f->elements;
}

void TQMMSG::setRegexFields(int field, TBLOCK name, TBLOCKVECT& list) {
  const TBLOCKVECT& elements = regexFields(field, name);
  list.clear();
  for (int32_t i = 0; i < elements.count(); i++)
    list.add(elements.get(i), 1, 0);
}

void TQMMSG::dropRegexFields() {
  ruleWork.answers.empty();
  for (RULEFIELD* field : ruleFields)
    if (field) field->clear();
}

void TQMMSG::freeRegexFields() {
  for (RULEFIELD* field : ruleFields) delete field;
}
