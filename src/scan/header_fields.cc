// Header fields: from the header lines of the root to typed values. Entry:
// TQMMSG::parseHeader. Tested by header_fields_test.cc.
//
// Encoded words are not decoded, dates and relay lines not parsed yet.

#include "scan/tqmmsg.h"

namespace {

// Whether a header line is the field of that name. The ":" must follow the
// name directly: "Subject :" is no subject.
bool IsField(TBLOCK line, TBLOCK name) {
  return line.length > name.length && line[name.length] == ':' &&
         line.begins(name);
}

// Trims, and removes one pair of "<" and ">".
void StripAngleBrackets(TBLOCK& value) {
  value.trim();
  if (!value.empty() && value.length >= 2 && value[0] == '<' &&
      value[value.length - 1] == '>')
    value = TBLOCK(value.pointer + 1, value.length - 2);
}

}  // namespace

int TQMMSG::takeFieldValue(TBLOCK line, TBLOCK& value, int strip) {
  value = line;
  value.trim();
  TBLOCK::BlockUnquote(value, strip);
  fieldsRead++;
  return 1;
}

int TQMMSG::readHeaderField(const char* name, TBLOCK& value, int strip) {
  const TBLOCK wanted(name);
  const int32_t n = message.fields.count();
  for (int32_t i = 0; i < n; i++) {
    const TBLOCK line = message.fields.get(i);
    if (IsField(line, wanted))
      return takeFieldValue(line.from(wanted.length + 1), value, strip);
  }
  value.clear();
  return 0;
}

int TQMMSG::readLastHeaderField(const char* name, TBLOCK& value, int strip) {
  const TBLOCK wanted(name);
  for (int32_t i = message.fields.count(); i-- > 0;) {
    const TBLOCK line = message.fields.get(i);
    if (IsField(line, wanted))
      return takeFieldValue(line.from(wanted.length + 1), value, strip);
  }
  value.clear();
  return 0;
}

// An identifier without the angle brackets around it.
void TQMMSG::readBareField(const char* name, TBLOCK& value) {
  if (readHeaderField(name, value, 1)) StripAngleBrackets(value);
}

void TQMMSG::parseHeader() {
  if (headerParsed) return;
  headerParsed = 1;
  _parseHeaderZero();
  _parseHeaderOne();
  _parseHeaderTwo();
  _parseHeaderThree();
}

// The addresses and the subject.
void TQMMSG::_parseHeaderZero() {
  message.parseHeader(msgView);
  headerEnd = static_cast<uint32_t>(message.header.end() - msgView.pointer);
  fieldsRead = 0;
  readHeaderField("from", from, 1);
  readHeaderField("to", to, 1);
  readHeaderField("cc", cc, 1);
  readHeaderField("bcc", bcc, 1);
  // The subject as it was before an earlier filter tagged it.
  if (!readHeaderField("x-spam-subject", subject, 0))
    readHeaderField("subject", subject, 0);
}

// All other fields that are read as they stand.
void TQMMSG::_parseHeaderOne() {
  readHeaderField("reply-to", replyTo, 1);
  readHeaderField("return-path", returnPath, 1);
  readHeaderField("x-mailer", mailer, 1);
  readHeaderField("sender", sender, 1);
  if (sender.empty()) readHeaderField("x-sender", sender, 1);
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
  readHeaderField("User-Agent", userAgent, 1);
}

// The relay chain.
void TQMMSG::_parseHeaderTwo() {}

// Values that are made of several fields.
void TQMMSG::_parseHeaderThree() {
  fromBox = ParseMailBox(from);
  replyToBox = ParseMailBox(replyTo);
  returnPathBox = ParseMailBox(returnPath);
  senderBox = ParseMailBox(sender);
  readBareField("x-message-id", messageId);
  if (messageId.empty()) {
    messageId = rawMessageId;
    StripAngleBrackets(messageId);
  }
  readBareField("X-Original-Message-ID", originalMessageId);
  readHeaderField("x-mimeole", mimeOle, 1);
  readHeaderField("x-msmail-priority", msMailPriority, 1);
  readBareField("in-Reply-To", inReplyTo);
}
