// Fingerprints of a message's values: short texts that are the same for mail
// made by one tool. The shapes of values are made by AdnFromBlock; here stands
// how it is asked for each rule field, and what counts and names are told
// letter by letter. Tested by fingerprints_test.cc.

#include <stdint.h>

#include "content/adn.h"
#include "message/mail_address.h"
#include "message/part_iter.h"
#include "scan/letters.h"
#include "scan/tqmmsg.h"

namespace {

// Of a body so much is described.
const uint32_t kMaxTextAdn = 2048;
// Of the structure of tables.
const uint32_t kMaxTableAdn = 50;
// Lines that count as one in the counts.
const int32_t kLinesPerCount = 80;

// Fields that need no more than these arguments of AdnFromBlock.
const struct {
  int32_t field;
  const char* keep;
  uint32_t flags;
  bool dated;  // runs of digits are compared with the message's date
} kShapes[] = {
    {kFieldAdnCid, nullptr, adnRepeat | adnRandom, true},
    {kFieldAdnById, nullptr, adnRepeat | adnRandom, true},
    {kFieldAdnBound, "nextpart,boundary", adnRepeat | adnRandom, false},
    {kFieldAdnText, nullptr, adnUrl | adnNoSpace | adnMail, false},
    {kFieldAdnUrl, "www,com,net,org,info,biz", adnRepeat, false},
    {kFieldAdnFilename, "gif,jpg,jpeg,png,pdf", adnRepeat | adnRandom, false},
    {kFieldAdnSubject, "RE,TR,FW,WG", adnRepeat | adnRandom, false},
    {kFieldAdnRcvdFrom, "localhost", adnIp, false},
    {kFieldAdnRcvdBy, nullptr, adnIp, false},
    {kFieldAdnRcvdWith,
     "SMTP,ESMTP,LMTP,ASMTP,XSMTP,HTTP,HTTPS,SMTPSVC,QMQP,NNFMP,LMTPA,LOCAL,"
     "Microsoft",
     0, false},
};
// Programs that write their name into the left part of an identifier.
const char kIdWords[] = "javamail,qmail,root,squirrel";

void AddHex(TBLOCK bytes, STR& out) {
  static const char kDigits[] = "0123456789ABCDEF";
  for (uint32_t i = 0; i < bytes.length; i++) {
    out += kDigits[bytes[i] >> 4];
    out += kDigits[bytes[i] & 15];
  }
}

// The bytes that the text stands for when all of it is in capitals, in
// hexadecimal. That half of the alphabet is lost is deliberate: texts that
// differ in case alone have one fingerprint.
void ThreadIndexAdn(TBLOCK text, STR& adn) {
  adn = "";
  if (text.empty()) return;
  BLOCK coded(text.length, 0), decoded(text.length, 0);
  if (!coded.add(text) || !decoded.data) return;
  for (uint32_t i = 0; i < coded.length; i++)
    coded.data[i] = AsciiUpper(coded.data[i]);
  TBLOCK out(decoded.data, decoded.capacity);
  TBLOCK::BlockUnbase64(coded.view(), out, 1);
  adn.renew(static_cast<int32_t>(2 * out.length));
  AddHex(out, adn);
}

// An identifier: the shape of what stands ahead of the last "@", then the host
// as it is.
void IdAdn(TBLOCK text, STR& adn, const TADNCLOCK& clock) {
  const int32_t at = text.findLastByte('@');
  const uint32_t left = at < 0 ? text.length : static_cast<uint32_t>(at);
  adn.renew(AdnRoom(text));
  AdnFromBlock(text.head(left), adn, kIdWords, adnRepeat, clock, nullptr);
  adn += text.from(left);
}

// The offset of the first "<" or "," outside quotes, or the length.
uint32_t EndOfName(TBLOCK mailbox) {
  bool quoted = false;
  for (uint32_t i = 0; i < mailbox.length; i++) {
    if (mailbox[i] == '"') quoted = !quoted;
    if (!quoted && (mailbox[i] == '<' || mailbox[i] == ',')) return i;
  }
  return mailbox.length;
}

void AddJoined(const STR& piece, STR& out) {
  if (piece.empty()) return;
  if (!out.empty()) out += ',';
  out += piece;
}

}  // namespace

SECTIONLETTERS::SECTIONLETTERS(TQMDICO& dictionary, const char* sectionName,
                               int32_t mode)
    : dico(dictionary), section(sectionName), known(0, mode), ofEmpty(-1) {
  known.maxProbes = kHostileProbes;
}

char SECTIONLETTERS::lookUp(TBLOCK value) {
  char letter;
  if (section == kFieldLetterSection && dico.stuff &&
      dico.stuff->fieldLetters.find(value, letter))
    return letter;
  return SectionLetter(dico, section, value);
}

char SECTIONLETTERS::of(TBLOCK value) {
  if (value.empty()) {
    if (ofEmpty < 0)
      ofEmpty = static_cast<unsigned char>(SectionLetter(dico, section, value));
    return static_cast<char>(ofEmpty);
  }
  void* data = nullptr;
  if (known.find(value, data) >= 0)
    return static_cast<char>(reinterpret_cast<uintptr_t>(data));
  const char letter = lookUp(value);
  const uintptr_t word = static_cast<unsigned char>(letter);
  known.insert(value, reinterpret_cast<void*>(word));
  return letter;
}

void TQMMSG::getAdnFromBlock(int field, TBLOCK value, STR& adn,
                             TBLOCKVECT* known) {
  TADNCLOCK clock = {nullptr, presentTime()};
  const TADNCLOCK dated = {&messageDate, clock.now};
  switch (field) {
    case kFieldAdnFrom:
      return GetEmailRegex(value, &dico, adn, clock.now);
    case kFieldAdnRec:
    case kFieldAdnRcvd:
    case kFieldAdnLabo:
      receivedWare.getReceivedAdn(value, adn, 0);
      return;
    case kFieldAdnId:
      return IdAdn(value, adn, dated);
    case kFieldAdnHtml: {
      const int32_t at = value.find(TBLOCK("/BO"), 0, TBLOCK::NoConvTable);
      if (at > 0) value.skip(static_cast<uint32_t>(at));
      return dico.replaceRegexMacro("AdnHtmlMacros", value, adn, "", "");
    }
    case kFieldAdnTable:
      adn = value.head(kMaxTableAdn);
      return;
    case kFieldAdnThid:
      return ThreadIndexAdn(value, adn);
    case kFieldAdnText:
      value.cut(kMaxTextAdn);
      break;
  }
  for (const auto& shape : kShapes) {
    if (shape.field != field) continue;
    if (shape.dated) clock = dated;
    return AdnFromBlock(value, adn, shape.keep, shape.flags, clock,
                        field == kFieldAdnFilename ? known : nullptr);
  }
  AdnFromBlock(value, adn, nullptr, 0, clock, nullptr);
}

// Host and rest by their shapes, with the host's suffix as it is. Links over
// https and others have none.
void TQMMSG::getAdnFromUrl(const TBLOCKURL& url, STR& adn) {
  TBLOCK rest = url.url;
  adn.renew(AdnRoom(rest));
  if (url.proto != upHttp && url.proto != upNone) return;
  TBLOCKURL::ParseBlockUrlProtocol(rest);
  uint32_t end = 0;
  while (end < rest.length && rest[end] != '/' && rest[end] != '?') end++;
  TBLOCK host = rest.head(end);
  rest.skip(end);
  const TBLOCK suffix = extractUrlTld(url);
  const bool cut = !suffix.empty() && host.ends(suffix);
  if (cut) host.length -= suffix.length;

  const TADNCLOCK clock = {nullptr, presentTime()};
  AdnFromBlock(host, adn, "www", adnRepeat | adnIp, clock, nullptr);
  if (cut) adn += suffix;
  STR path;
  AdnFromBlock(rest, path, nullptr, adnRepeat, clock, nullptr);
  adn += path;
}

void TQMMSG::getMailBoxAdn(TBLOCK mailbox, STR& adn) {
  const uint32_t end = EndOfName(mailbox);
  const TADNCLOCK clock = {nullptr, presentTime()};
  AdnFromBlock(mailbox.head(end), adn, nullptr, adnRandom, clock, nullptr);
  if (end == mailbox.length) return;
  TBLOCK behind = mailbox.from(end + 1);
  behind.trim();
  if (mailbox[end] == '<' || IsMailAddress(behind)) adn += '@';
}

// Hops, relay lines with an address, Cc, parts, lines, named parts, pictures,
// other attachments, To.
void TQMMSG::getAdnCounts() {
  int32_t hops = -1, addressed = 0;
  OITER relays(&received);
  while (const void* item = relays.next()) {
    const BLOCKRECEIVED& line = *static_cast<const BLOCKRECEIVED*>(item);
    if (!line.isSmtpComment()) hops++;
    if (!line.fromIp.empty()) addressed++;
  }
  int32_t leaves = 0, named = 0, pictures = 0, others = 0;
  PARTITER parts(message.parts);
  while (const BLOCKPART* part = parts.next()) {
    leaves++;
    if (!part->displayName.empty()) named++;
    if (part->contentClass == ccImage) pictures++;
  }
  PARTITER attached(message.attachments);
  while (const BLOCKPART* part = attached.next())
    if (part->contentClass != ccText && part->contentClass != ccImage) others++;
  const struct {
    char letter;
    int32_t count;
  } rows[] = {{'H', hops},
              {'I', addressed},
              {'C', ccList.count()},
              {'P', leaves},
              {'R', bodyLines.count() / kLinesPerCount},
              {'B', named},
              {'G', pictures},
              {'Z', others},
              {'A', toList.count()}};
  countsAdn.renew(2 * static_cast<int32_t>(sizeof rows / sizeof *rows));
  for (const auto& row : rows) {
    countsAdn += row.letter;
    countsAdn += getCountChar(row.count);
  }
}

char TQMMSG::getCountChar(int32_t count) {
  if (count > 9) return '+';
  return static_cast<char>('0' + (count < 0 ? 0 : count));
}

void TQMMSG::buildRecipAdn() {
  const int32_t kUsualRecipients = 63;
  TMAILBOXVECT userList(1);
  STR adn;
  recipAdn.renew(kUsualRecipients);
  ParseEmailAddressesWithAdn(to, toList, adn);
  AddJoined(adn, recipAdn);
  ParseEmailAddressesWithAdn(cc, ccList, adn);
  AddJoined(adn, recipAdn);
  ParseEmailAddressesWithAdn(user.view(), userList, adn);
  AddJoined(adn, recipAdn);
}

void TQMMSG::addCharsetToHdr() {
  const TBLOCK name = messageCharset.name;
  const char letter = SectionLetter(dico, "HdrAdnCharset", name);
  hdrAdn += name.empty() ? '0' : letter ? letter : '?';
}

void TQMMSG::buildTypeAdn() {
  const TBLOCKVECT& types = message.contentTypes;
  SECTIONLETTERS letters(dico, "HdrAdnContentType", hashExact);
  typeAdn.renew(types.count());
  for (int32_t i = 0; i < types.count(); i++) {
    const char letter = letters.of(types.get(i));
    typeAdn += letter ? letter : '?';
  }
}

// A letter for each thing that the message has, always in this order. "m" is
// read by other checks too; the rest serves rules.
void TQMMSG::setTags() {
  bool attached = false;
  PARTITER walk(message.parts);
  while (const BLOCKPART* part = walk.next())
    if (part->flags & pfAttachment) attached = true;
  const struct {
    char letter;
    bool present;
  } rows[] = {
      {'m', idFromMta != 0},
      {'H', message.htmlPart != nullptr},
      {'T', message.textPart != nullptr},
      {'A', attached},
      {'E', message.embeddedPart != nullptr},
      {'D', (message.flags & pfReport) != 0},
      {'Q', answersRemoved != 0},
      {'L', mailingListScore > 0},
  };
  tags.renew(static_cast<int32_t>(sizeof rows / sizeof *rows));
  for (const auto& row : rows)
    if (row.present) tags += row.letter;
}
