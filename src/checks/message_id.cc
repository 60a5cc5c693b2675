// What forges identifiers: arithmetic that does not fit the message's date,
// names of the wrong party, and the recipient's address in disguise. Entry
// points: TQMMSG::checkIdFromMTA, checkMessageId and checkThreadIndex. Each
// cause is a condition of its own; all are tried, in this order, since they
// tell of different senders. Tested by message_id_test.cc and, for the causes,
// by tests/mail/message_id.eml.

#include "checks/message_id.h"

#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

// An identifier is searched for those of relays up to here. Bounds what many
// relay lines cost; real identifiers stay below 200.
const uint32_t kMaxSearchedId = 256;
// Longer ones are not decoded: an address is shorter.
const uint32_t kMaxCodedBytes = 1024;

const int64_t kDaySeconds = 86400;
const int64_t kHourSeconds = 3600;
// Recipients with shorter addresses are not looked for.
const uint32_t kMinAddress = 5;
// A number of more digits is cut to this.
const int64_t kHugeStamp = 1000000000000000000;
// Counters of identifiers that one mail program does not reach.
const int32_t kHighSequence = 4096;
const uint32_t kPrivateNetwork = 0xC0A80000;  // 192.168

// Relay lines of machines that send themselves, with no server of theirs.
const char* const kDirectTemplates[] = {
    "from IP (helo host) by dom with esmtp ([] []) id for @;DATE",
    "from IP (helo host) by dom with esmtp () id for @;DATE",
    "from IP (helo dom) by dom with esmtp () id for @;DATE",
    "from IP (helo dom) by dom with esmtp ([] []) id for @;DATE"};

bool IsDayOff(int64_t a, int64_t b) {
  return TimeDistance(a, b) > kDaySeconds;
}

// Whether `text` begins with `local` and an at sign.
bool IsLocalPart(TBLOCK local, TBLOCK text, const unsigned char* table) {
  return text.begins(local, table) && text.length > local.length &&
         text[local.length] == '@';
}

bool IsRelayMark(unsigned char c) {
  return c == ';' || c == '(' || c == ')' || TBLOCK::Is(c, bitWhiteSpace);
}

TBLOCK BeforeByte(TBLOCK text, char byte) {
  return TBLOCK::BlockBeforeChar(text, byte, 0, 0);
}

}  // namespace

bool IsRelayHost(TBLOCK relayLine, TBLOCK host) {
  const int32_t by = relayLine.find("by ");
  if (by < 0) return false;
  const uint32_t at = static_cast<uint32_t>(by);
  const unsigned char before = at > 0 ? relayLine[at - 1] : ' ';
  if (before != ' ' && before != ']' && before != ')') return false;
  TBLOCK word = relayLine.from(at + 3);
  while (!word.empty() && IsRelayMark(word[0])) word.skip(1);
  uint32_t n = 0;
  while (n < word.length && !IsRelayMark(word[n])) n++;
  return word.head(n).begins(host);
}

// The part in front has no at sign, so the two first at signs must fall
// together; a search for the address could cost the square of its length.
bool EndsInAddress(TBLOCK id, TBLOCK email) {
  const int32_t idAt = id.findByte('@');
  const int32_t emailAt = email.findByte('@');
  if (emailAt < 0 || idAt <= emailAt || !id.ends(email)) return false;
  TBLOCK front = id.head(static_cast<uint32_t>(idAt - emailAt));
  if (!id.from(front.length).begins(email)) return false;
  front.trimLeft(bitAlpha | bitDigit);
  return front.empty();
}

bool HasDigitBehindW(TBLOCK adn) {
  for (uint32_t i = 0; i + 1 < adn.length; i++)
    if (adn[i] == 'w' || adn[i] == 'W') return TBLOCK::Is(adn[i + 1], bitDigit);
  return false;
}

bool AreClocksTwins(const FILETIME& a, const FILETIME& b) {
  const uint32_t kMinute = 60000;
  const uint32_t first = ModHoursAsMilliSeconds(&a);
  const uint32_t second = ModHoursAsMilliSeconds(&b);
  return first % kMinute == second % kMinute &&
         first / kMinute % 30 == second / kMinute % 30;
}

// In a zone without an offset the local time is no sign. There only a program
// known to count from 0 gives itself away.
bool IsLocalClock(const TMIMEOLEID& id, const BLOCKDATE& date,
                  bool fromExpress) {
  if (!id.isOle) return false;
  const FILETIME clock = id.fileTime();
  const int32_t time = win2posix_time(&clock);
  return time == date.local &&
         (time != date.utc || (fromExpress && id.sequence >= kHighSequence));
}

bool IsWholeHoursOff(int32_t a, int32_t b) {
  const int64_t off = TimeDistance(a, b);
  const int64_t rest = off % kHourSeconds;
  return off > 60 && (rest < 2 || rest == kHourSeconds - 1);
}

bool ComesFromHost(TBLOCK relayLine, TBLOCK host, unsigned char behind) {
  const TBLOCK from("from ");
  if (!relayLine.begins(from)) return false;
  relayLine.skip(from.length);
  return relayLine.begins(host) && relayLine.length > host.length &&
         TBLOCK::LowerConvTable[relayLine[host.length]] ==
             TBLOCK::LowerConvTable[behind];
}

bool IsStampForged(TBLOCK id, TBLOCK idAdn, TBLOCK mailer, TBLOCK userAgent,
                   int32_t utc, bool reply, REGEXPOOL* pool) {
  if (!BlockMatchRegex(idAdn, REGEXPOOL::_LUCIE_PREFIX, pool)) return false;
  const bool off = IsDayOff(HexNumber(id.head(8)), utc);
  if (mailer.begins("Mozilla")) return off;
  if (userAgent.begins("Mozilla") || userAgent.begins("Thunderbird"))
    return utc != 0 && off && !reply;
  return off && BlockMatchRegex(idAdn, REGEXPOOL::_LUCIE2, pool);
}

bool ReadSquirrelStamp(TBLOCK id, int64_t& stamp) {
  const int32_t at = id.find(".squirrel@");
  if (at < 0) return false;
  TBLOCK number = id.head(static_cast<uint32_t>(at));
  number.skip(static_cast<uint32_t>(number.findLastByte('.') + 1));
  const bool minus = !number.empty() && number[0] == '-';
  if (!number.empty() && TBLOCK::Is(number[0], bitSign)) number.skip(1);
  stamp = 0;
  for (; !number.empty() && TBLOCK::Is(number[0], bitDigit); number.skip(1)) {
    stamp = stamp * 10 + (number[0] - '0');
    if (stamp > kHugeStamp / 10) {
      stamp = kHugeStamp;
      break;
    }
  }
  if (minus) stamp = -stamp;
  return true;
}

bool HidesAddressInHexa(TBLOCK id, TBLOCK email) {
  const TBLOCK part = BeforeByte(BeforeByte(id, '@'), '$');
  if (email.length < kMinAddress ||
      part.length < 2 * uint64_t{email.length} + 2)
    return false;
  bool digit = false, letter = false;
  for (uint32_t i = 0; i < part.length; i++) {
    if (!TBLOCK::Is(part[i], bitHexa) || TBLOCK::Is(part[i], bitLower))
      return false;
    (TBLOCK::Is(part[i], bitDigit) ? digit : letter) = true;
  }
  if (!digit || !letter) return false;
  const uint32_t key = HexNumber(part.head(2));
  for (uint32_t i = 0; i < email.length; i++) {
    const uint32_t byte = HexNumber(part.from(2 * i + 2).head(2)) - key;
    if (TBLOCK::LowerConvTable[byte & 0xFF] != TBLOCK::LowerConvTable[email[i]])
      return false;
  }
  return true;
}

// The decoder leaves a NUL at the end where nothing was encoded, so that the
// address is a beginning of the result.
bool HidesAddressInBase64(TBLOCK id, TBLOCK email) {
  const TBLOCK local = BeforeByte(id, '@');
  const uint64_t once = 4 * ((uint64_t{email.length} + 2) / 3);
  if (email.length < kMinAddress || local.length > kMaxCodedBytes ||
      local.length < 4 * ((once + 2) / 3))
    return false;
  BLOCK coded(local.length, 0);
  if (!coded.add(local)) return false;
  BLOCK* const inner = coded.decode64();
  BLOCK* const address = inner ? inner->decode64() : nullptr;
  const bool hides = address && address->view().begins(email);
  delete inner;
  delete address;
  return hides;
}

// Reads: messageId, mimeOleId, received, receivedFields, fromBox, replyToBox.
// Writes: messageId, when a relay says in it that it was the one. Returns: 1
// when a relay seems to have written the identifier.
int TQMMSG::checkIdFromMTA() {
  if (messageId.empty()) return 1;
  if (mimeOleId.isOle) return 0;
  const int32_t added = messageId.find("(added by ");
  if (added >= 0) {
    messageId.cut(static_cast<uint32_t>(added));
    StripAngleBrackets(messageId);
    return 1;
  }
  const TBLOCK searched = messageId.head(kMaxSearchedId);
  OITER lines(&received);
  while (const void* item = lines.next()) {
    const TBLOCK id = static_cast<const BLOCKRECEIVED*>(item)->id;
    if (!id.empty() && searched.find(id) >= 0) return 1;
  }
  TBLOCK host = messageId;
  TBLOCK::BlockBeforeChar(host, '@', 0, 0);
  if (host.findByte('.') < 0 || fromBox.host.equals(host) ||
      replyToBox.host.equals(host))
    return 0;
  for (int32_t i = receivedFields.count(); i-- > 0;)
    if (IsRelayHost(receivedFields.get(i), host)) return 1;
  return 0;
}

namespace {

// Group 1 of a match, or false.
bool FirstGroup(const char* pattern, TBLOCK text, TBLOCK& group,
                REGEXPOOL* pool) {
  REGEX regex(pattern, pool);
  return regex.match(text, group, 1);
}

// The recipient as sender, and in an identifier behind some letters.
bool IsSmi(const TQMMSG& m) {
  return !m.fromBox.email.empty() &&
         m.fromBox.email.equals(m.recipientBox.email) &&
         EndsInAddress(m.messageId, m.fromBox.email);
}

// A mail program that writes its own host, with the recipient's.
bool IsForgedAppleId(const TQMMSG& m) {
  TBLOCK host;
  return !m.fromBox.host.empty() && !m.recipientBox.host.empty() &&
         !m.fromBox.host.equals(m.recipientBox.host) &&
         m.mailer.begins("Apple Mail") &&
         FirstGroup(REGEXPOOL::_APPLE_MAIL_MSG_ID, m.rawMessageId, host,
                    m.pool) &&
         host.equals(m.recipientBox.host);
}

bool IsDirect(const BLOCKRECEIVED* line) {
  if (!line) return false;
  for (const char* adn : kDirectTemplates)
    if (line->adn.view().equals(TBLOCK(adn), TBLOCK::NoConvTable)) return true;
  return false;
}

// The sender's name for a host.
bool IsSmi2(const TQMMSG& m) {
  TBLOCK name;
  return !m.fromBox.name.empty() && IsDirect(m.firstReceived) &&
         FirstGroup(REGEXPOOL::_SMI2_MESSAGE_ID, m.rawMessageId, name,
                    m.pool) &&
         m.fromBox.name.begins(name) &&
         IsLocalPart(name, m.fromBox.email, TBLOCK::LowerConvTable) &&
         (m.replyTo.empty() || m.from.empty() || !m.replyTo.equals(m.from));
}

bool IsSmi4(const TQMMSG& m) {
  TBLOCK name;
  return !m.fromBox.name.empty() &&
         FirstGroup(REGEXPOOL::_4COX_MSG_ID, m.rawMessageId, name, m.pool) &&
         IsLocalPart(name, m.fromBox.email, TBLOCK::NoConvTable);
}

// The sender's local part for a host, and a sender with a first name and, or
// without, a last name: points for the two.
int Smi3Points(const TQMMSG& m) {
  const char kNames[] = "EmailNames";
  if (m.fromBox.name.empty() || HasDigitBehindW(m.fromAdn.view()) ||
      !m.inReplyId.id.empty() || !m.dico.hashedSection(kNames))
    return 0;
  REGEX id(REGEXPOOL::_SMI3_MESSAGE_ID, m.pool);
  REGEX sender(REGEXPOOL::_SMI3_AUX_MESSAGE_ID, m.pool);
  TBLOCK host, first, last;
  if (!id.match(m.rawMessageId, host, 2) || !sender.match(m.from, first, 3) ||
      !sender.match(m.from, last, 4) ||
      !IsLocalPart(host, m.fromBox.email, TBLOCK::LowerConvTable))
    return 0;
  const TQKLINE* line = nullptr;
  last.trim();
  if (!m.dico.hashedFind(kNames, first, line)) return 0;
  if (last.empty()) return 50;
  return m.dico.hashedFind(kNames, last, line) ? 300 : 0;
}

// No thread that vouches for the message, and an identifier of the family, of
// this message or of the one it answers, that its program cannot have written.
bool IsNatch2(const TTHREADINDEX& thread, const TMIMEOLEID& id,
              const TMIMEOLEID& reply) {
  if (thread.present && !thread.error) return false;
  const uint32_t e = reply.errors;
  const uint32_t kAllWrong = moMalformed | moBadDate | moNotRounded;
  const bool replyGood = e == 0 || e == moNotRounded || e == moBadDate ||
                         e == moBadAddress || e == kAllWrong;
  return id.errors != 0 || !replyGood;
}

bool IsNatch5(const TQMMSG& m) {
  const TMIMEOLEID& id = m.mimeOleId;
  TBLOCK host;
  if (!id.isOle || id.sequence != 0 ||
      (id.ip.network & 0xFFFF0000) != kPrivateNetwork ||
      !FirstGroup(REGEXPOOL::_NATCH5, m.messageId, host, m.pool))
    return false;
  // The byte behind the host belongs to what is compared, on purpose: the
  // closing bracket, as a rule. The end of the message counts as a NUL.
  const bool inside =
      host.pointer >= m.msgView.pointer && host.end() < m.msgView.end();
  const unsigned char behind = inside ? *host.end() : 0;
  return !m.firstReceived ||
         !ComesFromHost(m.firstReceived->text, host, behind);
}

// A program that has written both an identifier and a boundary has written
// them one after the other, and counts on.
void ScoreExpressIds(TQMMSG& m) {
  const TMIMEOLEID& id = m.mimeOleId;
  const TMIMEOLEBOUND& bound = m.mimeOleBound;
  if (!id.isOle || !bound.isOle || !m.replyTo.empty()) return;
  const bool fresh = id.sequence == 0 && bound.sequence == 1;
  m.checkCond(AreClocksTwins(id.fileTime(), bound.fileTime()), 300, "Jfk");
  m.checkCond(fresh && m.message.type.equals("multipart/alternative"), 300,
              "Jfk2");
  m.checkCond(fresh && m.headerDate.zone == -500, 300, "Mlk");
}

}  // namespace

// Reads: the identifiers and their decoders, the mailboxes, the date, the
// mailer, firstReceived, the cause so far. Scores: one cause for each
// condition, 50 to 500.
void TQMMSG::checkMessageId() {
  if (rawMessageId.empty()) return;
  checkCond(IsSmi(*this), 300, "SMI");
  checkCond(IsForgedAppleId(*this), 300, "Fgd AMI");
  checkCond(IsSmi2(*this), 300, "SMI2");
  checkCond(IsSmi4(*this), 300, "SMI4");
  const int smi3 = Smi3Points(*this);
  checkCond(smi3 != 0, smi3, smi3 == 300 ? "SMI3" : "LowSMI3");
  // Lists that have judged the sender switch the next two off.
  if (ledger.cause.view().find("@!") < 0) {
    if (IsNatch2(threadInfo, mimeOleId, inReplyId))
      addToSpamScore(500, "Natch2", 1);
    else
      checkCond(mimeOleId.ip.reserved, 50, "Natch2 low");
  }
  const bool express = mailer.begins("Microsoft Outlook Express");
  if (express) ScoreExpressIds(*this);
  checkCond(IsLocalClock(mimeOleId, headerDate, express), 300, "Natch4");
  checkCond(IsNatch5(*this), 300, "Natch5");
  checkCond(mimeOleId.isOle && IsWholeHoursOff(headerDate.utc, mimeOleId.time),
            300, "Natch6");
  // A relay's identifier says nothing of the mail program's clock.
  checkCond(!idFromMta &&
                IsStampForged(messageId, messageIdAdn.view(), mailer, userAgent,
                              headerDate.utc, !inReplyId.id.empty(), pool),
            300, "Lucie");
  int64_t stamp;
  checkCond(headerDate.utc > 0 && ReadSquirrelStamp(messageId, stamp) &&
                IsDayOff(stamp, headerDate.utc) &&
                !testRuleSection("No-FdgSquirrelId"),
            200, "Forged Squirrel Id");
  checkCond(HidesAddressInHexa(messageId, recipientBox.email), 300, "Gabin");
  checkCond(HidesAddressInBase64(messageId, recipientBox.email), 300, "Gabin2");
}

// Reads: userAgent, mimeOle, firstLine, threadInfo. Scores: 200 "Forged thid".
// Returns: 1 when it did. Programs that are known to write odd values, and
// answers without a text of their own, are spared.
int TQMMSG::checkThreadIndex() {
  if (userAgent.begins("Microsoft-Entourage") || mimeOle.empty() ||
      mimeOle.ends("16545") || firstLine.empty() ||
      firstLine.view().equals("-----Original Message-----"))
    return 0;
  return checkCond(threadInfo.error, 200, "Forged thid");
}
