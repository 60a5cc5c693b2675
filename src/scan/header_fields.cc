// Header fields: from the header lines of the root to typed values. Entry:
// TQMMSG::parseHeader. Tested by header_fields_test.cc.

#include "scan/tqmmsg.h"

#include <new>

#include "message/field_piece.h"

namespace {

// A rest of the mailer field below this tells nothing.
const uint32_t kMinMailerName = 6;

// The date of a relay line that may be missing, or tell none.
void ReadRelayDate(const BLOCKRECEIVED* line, BLOCKDATE& date) {
  if (line && !line->date.empty()) date.parseFrom(line->date);
}

// The first of the dates that is there and could be read.
BLOCKDATE FirstGood(const BLOCKDATE* const* dates, int count) {
  for (int i = 0; i < count; i++)
    if (dates[i]->utc != 0 && dates[i]->error == 0) return *dates[i];
  return BLOCKDATE();
}

}  // namespace

void TQMMSG::clearHeader() {
  dropRegexFields();
  headerParsed = 0;
  fieldsRead = 0;
  headerEnd = 0;
  mailingListScore = 0;
  idFromMta = 0;
  TBLOCK* const values[] = {
      &from,         &to,          &cc,          &bcc,
      &subject,      &replyTo,     &returnPath,  &sender,
      &mailer,       &date,        &precedence,  &rawMessageId,
      &messageId,    &inReplyTo,   &contentType, &originalMessageId,
      &mimeOle,      &threadIndex, &userAgent,   &msMailPriority,
      &xSpamState,   &xSpamScore,  &xSpamAgent,  &xSpamCause,
      &xSpamSubject, &xSpamType,   &boundary,    &mailerName,
      &lastRelay};
  for (TBLOCK* value : values) value->clear();
  TMAILBOX* const boxes[] = {&fromBox, &replyToBox, &returnPathBox, &senderBox,
                             &recipientBox};
  for (TMAILBOX* box : boxes) *box = TMAILBOX();
  fromCharset.clear();
  headerCharset.clear();
  subjectCharset.clear();
  receivedFields.clear();
  freeReceived();
  deliveredTo.clear();
  sourceIpBlock.clear();
  sourceIp.clear();
  addressWords.clear();
  toList.clear();
  ccList.clear();
  mimeOleId.clear();
  inReplyId.clear();
  mimeOleBound.clear();
  threadInfo.clear();
  clearDates();
  STR* const texts[] = {
      &recipientDomain64, &hdrAdn,       &tabAdn,  &subjectAdn, &threadIndexAdn,
      &boundaryAdn,       &messageIdAdn, &fromAdn, &byIdAdn,    &rcvdFromAdn,
      &rcvdByAdn,         &rcvdWithAdn,  &recipAdn};
  for (STR* value : texts) *value = "";
}

void TQMMSG::changeHeader(TBLOCK source) {
  if (source.empty() || !(message.flags & pfParsed)) return;
  const TBLOCK lines = BLOCKPART::trimPart(source);
  int anomaly = 0;
  TBLOCK::BlockParseHeader(lines, message.fields, 1, anomaly);
  message.noteFieldNames();
  if (anomaly) message.flags |= pfBadStructure;
  clearHeader();
  parseHeader();
}

int TQMMSG::takeFieldValue(TBLOCK line, TBLOCK& value, int strip) {
  value = line;
  value.trim();
  TBLOCK::BlockUnquote(value, strip);
  fieldsRead++;
  return 1;
}

int TQMMSG::readHeaderField(const char* name, TBLOCK& value, int strip) {
  TBLOCK found;
  const int32_t i = message.firstField(TBLOCK(name), found);
  if (i >= 0) return takeFieldValue(found, value, strip);
  value.clear();
  return 0;
}

int TQMMSG::readLastHeaderField(const char* name, TBLOCK& value, int strip) {
  TBLOCK found;
  const int32_t i = message.lastField(TBLOCK(name), found);
  if (i >= 0) return takeFieldValue(found, value, strip);
  value.clear();
  return 0;
}

TBLOCK TQMMSG::getHeaderFieldParam(const char* field, const char* param) {
  TBLOCK rest;
  if (!readHeaderField(field, rest, 1)) return TBLOCK();
  while (!rest.empty()) {
    TBLOCK piece = NextPiece(rest, ';');
    if (TBLOCK::BlockToken(piece, param, '=')) return piece;
  }
  return TBLOCK();
}

int TQMMSG::readMimeField(const char* name, TBLOCK& value, BLOCK& store) {
  return readMimeFieldWithCharset(name, value, store, headerCharset);
}

int TQMMSG::readMimeFieldWithCharset(const char* name, TBLOCK& value,
                                     BLOCK& store, TCharset& charset) {
  if (!readHeaderField(name, value, 1)) return 0;
  DecodeInlineCharset(value, &charset, store);
  value = store.view();
  return 1;
}

// An identifier without the angle brackets around it.
int TQMMSG::readBareField(const char* name, TBLOCK& value) {
  const int found = readHeaderField(name, value, 1);
  StripAngleBrackets(value);
  return found;
}

void TQMMSG::setUserFromHeaderXField(const char* name) {
  TBLOCK value;
  if (readHeaderField(name, value, 1)) user = value;
}

const char* TQMMSG::getUserEmail(STR& address) const {
  address = ParseMailBox(user.view()).email;
  return address.c_str();
}

void TQMMSG::parseHeader() {
  if (headerParsed) return;
  headerParsed = 1;
  _parseHeaderZero();
  _parseHeaderOne();
  _parseHeaderTwo();
  _parseHeaderThree();
  dropRegexFields();
}

// Reads the root's header. The host's editable copy is made of exactly the
// bytes that headerLength tells, as they were before the parser edits them:
// where a header ends early, the host then replaces what the engine took for
// one. White space that was trimmed ahead of the header stays out. Without
// memory for the copy there is none: an empty one would cost the host its
// header.
void TQMMSG::readRootFields() {
  BLOCK asLoaded(0, 0);
  const bool copied = wantHeader && !header && copyAsLoaded(asLoaded);
  message.parseHeader(msgView);
  headerEnd = static_cast<uint32_t>(message.header.end() - msgView.pointer);
  if (message.content.empty()) skipTrimmedLines();
  if (copied)
    header = new (std::nothrow)
        HEADER(asLoaded.view()
                   .head(headerLength())
                   .from(static_cast<uint32_t>(message.header.pointer -
                                               msgView.pointer)));
}

// The message as the host has it, with the dots that unstuffing took.
int TQMMSG::copyAsLoaded(BLOCK& copy) const {
  const uint32_t dots = static_cast<uint32_t>(takenDots.count());
  uint32_t done = 0;
  if (!copy.addSpace(msgView.length + dots)) return 0;
  for (int32_t i = 0; i < takenDots.count(); i++) {
    const uint32_t at = static_cast<uint32_t>(takenDots.get(i));
    if (!copy.add(msgView.head(at).from(done)) || !copy.add(".")) return 0;
    done = at;
  }
  return copy.add(msgView.from(done));
}

uint32_t TQMMSG::headerLength() const {
  int32_t dots = 0;
  while (dots < takenDots.count() &&
         static_cast<uint32_t>(takenDots.get(dots)) < headerEnd)
    dots++;
  return headerEnd + static_cast<uint32_t>(dots);
}

// A header that was trimmed and that nothing follows has lost the end of its
// last line and the blank line, which are no body.
void TQMMSG::skipTrimmedLines() {
  TBLOCK rest = msgView.from(headerEnd);
  for (bool last = true; !rest.empty(); last = false) {
    const TBLOCK line = TBLOCK::NextMailLine(rest);
    TBLOCK seen = line;
    seen.trim();
    if (!seen.empty()) return;
    headerEnd = static_cast<uint32_t>(rest.pointer - msgView.pointer);
    if (line.empty() && !last) return;
  }
}

// The addresses and the subject.
void TQMMSG::_parseHeaderZero() {
  readRootFields();
  fieldsRead = 0;
  readMimeFieldWithCharset("from", from, fromStore, fromCharset);
  readMimeField("to", to, toStore);
  readMimeField("cc", cc, ccStore);
  readMimeField("bcc", bcc, bccStore);
  readSubjectField(subject, subjectStore);
}

// All other fields.
void TQMMSG::_parseHeaderOne() {
  readMimeField("reply-to", replyTo, replyToStore);
  readMimeField("return-path", returnPath, returnPathStore);
  readMimeField("x-mailer", mailer, mailerStore);
  readMimeField("sender", sender, senderStore);
  if (sender.empty()) readMimeField("x-sender", sender, senderStore);
  readLastHeaderField("date", date, 1);
  readHeaderField("precedence", precedence, 1);
  readLastHeaderField("message-id", rawMessageId, 1);
  readHeaderField("content-type", contentType, 1);
  readHeaderField("x-spam-state", xSpamState, 1);
  readHeaderField("x-spam-score", xSpamScore, 1);
  readHeaderField("x-spam-agent", xSpamAgent, 1);
  readHeaderField("x-spam-cause", xSpamCause, 1);
  readHeaderField("x-spam-subject", xSpamSubject, 1);
  if (!readHeaderField("X-SPAM-TYPE", xSpamType, 1))
    readHeaderField("X-QMSPAM-TYPE", xSpamType, 1);
  readHeaderField("Thread-Index", threadIndex, 1);
  getAdnFromBlock(kFieldAdnThid, threadIndex, threadIndexAdn);
  readHeaderField("User-Agent", userAgent, 1);
  readReceivedAndLists();
  boundary = getHeaderFieldParam("Content-type", "Boundary");
  getAdnFromBlock(kFieldAdnBound, boundary, boundaryAdn);
}

// The relay lines, and whatever tells of a mailing list.
void TQMMSG::readReceivedAndLists() {
  const TBLOCK fieldName("received");
  const TBLOCKVECT& fields = message.fields;
  const TQKSECTION* const lists = dico.findSection("HdrMailingList");
  for (int32_t i = 0; i < fields.count(); i++) {
    TBLOCK value = fields.get(i);
    const TQKLINE* match = nullptr;
    if (i < kMaxMatchedFields && dico.compareRegex(lists, value, match, 0))
      mailingListScore = ClampScore(int64_t{mailingListScore} + match->score);
    if (!TakeFieldName(value, fieldName)) continue;
    value.trim();
    value.stripQuotes();
    if (receivedFields.count() == 0 || value.find("from ") >= 0)
      lastRelay = value;
    receivedFields.add(value, 1, 0);
  }
}

// The relay chain.
void TQMMSG::_parseHeaderTwo() {
  parseReceivedFields();
}

// Values that are made of several fields.
void TQMMSG::_parseHeaderThree() {
  parseDates();
  fromBox = ParseMailBox(from);
  replyToBox = ParseMailBox(replyTo);
  returnPathBox = ParseMailBox(returnPath);
  senderBox = ParseMailBox(sender);
  const TMAILBOX* const boxes[] = {&fromBox, &replyToBox, &returnPathBox,
                                   &senderBox};
  for (const TMAILBOX* box : boxes) addressWords.addUnique(box->email, 0, 1);
  if (!readBareField("x-message-id", messageId)) {
    messageId = rawMessageId;
    StripAngleBrackets(messageId);
  }
  const int64_t now = presentTime();
  mimeOleId.parse(messageId, &headerDate, now);
  idFromMta = checkIdFromMTA();
  getAdnFromBlock(kFieldAdnId, messageId, messageIdAdn);
  readBareField("X-Original-Message-ID", originalMessageId);
  readHeaderField("x-mimeole", mimeOle, 1);
  readHeaderField("x-msmail-priority", msMailPriority, 1);
  mimeOleBound.parse(boundary, &headerDate, headerDate.zoneSeconds, now);
  if (readBareField("in-Reply-To", inReplyTo))
    inReplyId.parse(inReplyTo, &headerDate, now);
  threadInfo.parse(threadIndex, headerDate, now);
  buildHeaderAdn(hdrAdn);
  getTabAdn(tabAdn);
  parseMailer();
  buildRecipAdn();
  getAdnFromBlock(kFieldAdnFrom, from, fromAdn);
  recipientBox = toList.get(0);
  encodeRecipientDomain();
  buildProfils();
}

void TQMMSG::clearDates() {
  BLOCKDATE* const dates[] = {&headerDate,         &firstReceivedDate,
                              &secondReceivedDate, &lastReceivedDate,
                              &lastRecordDate,     &messageDate,
                              &relayDate};
  for (BLOCKDATE* d : dates) d->clear();
}

void TQMMSG::parseDates() {
  clearDates();
  ReadRelayDate(firstReceived, firstReceivedDate);
  ReadRelayDate(secondReceived, secondReceivedDate);
  ReadRelayDate(lastReceived, lastReceivedDate);
  const BLOCKRECEIVED* newest = nullptr;
  OITER records(&received);
  while (const void* item = records.next())
    newest = static_cast<const BLOCKRECEIVED*>(item);
  ReadRelayDate(newest, lastRecordDate);
  if (!date.empty()) headerDate.parseFrom(date);
  const BLOCKDATE* const written[] = {&headerDate, &firstReceivedDate,
                                      &secondReceivedDate, &lastReceivedDate};
  messageDate = FirstGood(written, 4);
  const BLOCKDATE* const relayed[] = {&lastReceivedDate, &firstReceivedDate,
                                      &headerDate};
  relayDate = FirstGood(relayed, 3);
}

// Of all rests behind a word the one behind the first word is the longest, and
// when that is nothing but digits and dots so are the others. A word may stand
// in brackets.
void TQMMSG::parseMailer() {
  TBLOCK rest = mailer;
  rest.trimLeft();
  if (!rest.empty() && (rest[0] == '(' || rest[0] == '[')) {
    const int32_t end = rest.findByte(rest[0] == '(' ? ')' : ']');
    rest.skip(end < 0 ? 1 : static_cast<uint32_t>(end) + 1);
  } else {
    rest.trimLeft(bitWordSep);
    while (!rest.empty() && !TBLOCK::Is(rest[0], bitWordSep)) rest.skip(1);
  }
  rest.trim();
  TBLOCK letters = rest;
  letters.trimLeft(bitDigit | bitDot);
  if (rest.length >= kMinMailerName && !letters.empty()) mailerName = rest;
}

void TQMMSG::encodeRecipientDomain() {
  const TBLOCK domain = recipientBox.domain;
  if (domain.empty()) return;
  // A mailbox ends with the field it stands in, so this is bounded by that.
  BLOCK room((domain.length + 2) / 3 * 4 + 1, 0);
  TBLOCK out(room.data, room.capacity);
  if (!room.data) return;
  out.length = TBLOCK::BlockBase64(domain, out, 0, nullptr, '=');
  out.trim();
  recipientDomain64 = out;
}
