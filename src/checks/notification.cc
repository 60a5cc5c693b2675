// Automatic mail: delivery reports, answers of somebody who is away, warnings
// of virus scanners. Entry: TQMMSG::checkNotification; what it looks for stands
// in the sections "NOTIFICATION-..." of the dictionary. Beside it whether a
// message is a post of a mailing list. Content-IDs are checked in part_ids.cc.
// Tested by notification_test.cc and tests/mail/notification.eml.

#include "base/wildcard.h"
#include "message/part_iter.h"
#include "scan/tqmmsg.h"

namespace {

// From this score on no further test is needed.
const int32_t kSure = 100;
const int32_t kReportScore = 10000;
const int32_t kForwardScore = 10201;

// Larger parts are no short notes.
const uint32_t kMaxNoteBytes = 4095;

// What checkMailingList knows.
enum : uint32_t {
  mlSender = 0x02,
  mlReplyTo = 0x04,
  mlPrecedence = 0x08,
  mlLoop = 0x10,
  mlSequence = 0x20,
  mlListId = 0x40,
  mlUnsubscribe = 0x100,
  mlBeenThere = 0x200,
  // Two sets of marks that list software leaves.
  mlLoopMarks = mlPrecedence | mlLoop | mlSequence | mlListId,
  mlListMarks = mlPrecedence | mlListId | mlUnsubscribe,
  mlAddresses = mlSender | mlReplyTo | mlBeenThere
};

bool Fits(TBLOCK pattern, TBLOCK value) {
  pattern.trim();
  value.trim();
  return MatchWildcard(pattern, value, wmLiteral);
}

}  // namespace

// Reads: sender, subject, bodies, parts. Writes: notificationScore, the state.
// Scores: the score of the last test that hit, as "Notification". Returns:
// whether one did.
bool TQMMSG::checkNotification(const QMGLOBALSETUP* globalSetup,
                               const QMUSERSETUP* userSetup) {
  if (!BothWant(globalSetup, userSetup, QM_CHECK_NOTIFICATION) ||
      testRuleSection("No-Notification"))
    return false;
  notificationScore = 0;
  notificationText = "";
  _checkDsn();
  // Who writes to himself is no machine.
  if (notificationScore < kSure && !fromBox.email.equals(toList.get(0).email))
    _checkMailBox4Notification("NOTIFICATION-FROM", fromBox);
  // A forwarded subject is somebody else's.
  const bool forwarded = subjectAdn.view().findByte('F') >= 0;
  if (notificationScore < kSure && !forwarded)
    _checkSubject("NOTIFICATION-SUBJECT");
  if (notificationScore < kSure && !forwarded)
    _checkNotificationSubjectBegin("NOTIFICATION-SUBJECT-BEGIN");
  if (notificationScore < kSure) _checkBody("NOTIFICATION-BODY");
  if (notificationScore < kSure) _checkHtml("NOTIFICATION-HTML");
  PARTITER walk(message.parts);
  while (notificationScore < kSure) {
    BLOCKPART* part = walk.next();
    if (!part) break;
    _checkNotificationAttachment(part);
  }
  if (notificationScore < kSure) checkNotifMimeType();
  if (notificationScore == 0) return false;
  ledger.state = ssNotification;
  addToSpamScore(notificationScore, "Notification", 1);
  return true;
}

void TQMMSG::_checkDsn() {
  if (message.flags & pfReport) notificationScore = kReportScore;
}

// Lines with an "@" are for the address, others for the name. The first that
// fits decides.
void TQMMSG::_checkMailBox4Notification(const char* section,
                                        const TMAILBOX& box) {
  const TQKSECTION* found = dico.findSection(section);
  const uint32_t n = dico.image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(found, i);
    const TBLOCK pattern = dico.lineBlock(line);
    if (pattern.empty()) continue;
    if (!Fits(pattern, pattern.findByte('@') >= 0 ? box.email : box.name))
      continue;
    notificationScore = line->score;
    return;
  }
}

void TQMMSG::_checkSubject(const char* section) {
  const TQKLINE* line = nullptr;
  if (dico.findFirstKeyword(section, subjectWords, recipientBox.email, line))
    notificationScore = line->score;
}

void TQMMSG::_checkNotificationSubjectBegin(const char* section) {
  const TQKLINE* line = nullptr;
  if (dico.beginByKeywords(section, subjectWords, recipientBox.email, line))
    notificationScore = line->score;
}

void TQMMSG::_checkBody(const char* section) {
  const TQKLINE* line = nullptr;
  if (dico.findFirstKeyword(section, bodyWords, recipientBox.email, line))
    notificationScore = line->score;
}

void TQMMSG::_checkHtml(const char* section) {
  const TQKLINE* line = nullptr;
  if (dico.matchRegex(section, message.getHtmlBlock(), line))
    notificationScore = line->score;
}

// Its header, its name, its content when it is short, and what it packs. Each
// test but the first is for a score that is still 0.
void TQMMSG::_checkNotificationAttachment(BLOCKPART* part) {
  if (part == message.htmlPart || part == message.textPart) return;
  const TQKSECTION* headers = dico.findSection("NOTIFICATION-ATTACH-HEADER");
  const uint32_t n = dico.image().lineCountOf(headers);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(headers, i);
    TBLOCK pattern = dico.lineBlock(line);
    STR field;
    field = TBLOCK::BlockBeforeChar(pattern, '=', 1, 0);
    TBLOCK value;
    if (part->headerFieldIndex(field.c_str(), value) >= 0 &&
        Fits(pattern, value))
      notificationScore = line->score;
  }
  const TQKLINE* line = nullptr;
  if (notificationScore == 0 &&
      dico.scanBlock("NOTIFICATION-ATTACH-NAME", part->displayName, line, 0))
    notificationScore = line->score;
  if (notificationScore == 0 && part->rawLength <= kMaxNoteBytes &&
      dico.scanBlock("NOTIFICATION-ATTACH-CONTENT", part->decodeContent(), line,
                     0)) {
    notificationScore = line->score;
    return;
  }
  TBLOCK listing = part->archiveText.view();
  const int32_t colon = listing.findByte(':');
  if (colon < 0) return;
  listing.skip(static_cast<uint32_t>(colon) + 1);
  while (notificationScore == 0 && !listing.empty()) {
    // Behind the byte that tells how it is packed.
    const TBLOCK name = TBLOCK::BlockBeforeChar(listing, ',', 0, 0).from(1);
    if (dico.scanBlock("NOTIFICATION-ATTACH-NAME", name, line, 0))
      notificationScore = line->score;
  }
}

// A message in place of a body was sent on by a machine.
void TQMMSG::checkNotifMimeType() {
  if (message.type.equals("message/rfc822")) notificationScore = kForwardScore;
}

// Reads: the fields that list software writes. Returns: 1 for a post.
int TQMMSG::checkMailingList() {
  TBLOCK loop, listId, beenThere, ignored;
  const struct {
    const char* name;
    TBLOCK* value;
    uint32_t bit;
  } fields[] = {{"Precedence", &ignored, mlPrecedence},
                {"X-loop", &loop, mlLoop},
                {"X-Sequence", &ignored, mlSequence},
                {"List-id", &listId, mlListId},
                {"List-Unsubscribe", &ignored, mlUnsubscribe},
                {"X-BeenThere", &beenThere, mlBeenThere}};
  uint32_t facts = 0;
  for (const auto& field : fields)
    if (readHeaderField(field.name, *field.value, 1)) facts |= field.bit;
  if (!senderBox.email.empty()) facts |= mlSender;
  if (!replyToBox.email.empty()) facts |= mlReplyTo;
  if ((facts & mlLoopMarks) == mlLoopMarks && _CompareListId(loop, listId))
    return 1;
  if ((facts & mlListMarks) != mlListMarks || !(facts & mlAddresses)) return 0;
  const TBLOCK addresses[] = {senderBox.email, replyToBox.email, beenThere};
  for (const TBLOCK address : addresses)
    if (_CompareListId(address, listId)) return 1;
  return 0;
}

// Whether "name@host", or the address to which its bounces go, belongs to a
// List-Id "... <name.host>". Without an address it does not.
int TQMMSG::_CompareListId(TBLOCK address, TBLOCK listId) {
  if (address.empty()) return 0;
  TBLOCK host = address;
  TBLOCK local = TBLOCK::BlockBeforeChar(host, '@', 0, 0);
  const int32_t bounces = local.find("-bounces");
  if (bounces >= 0) local.cut(static_cast<uint32_t>(bounces));
  STR ending(static_cast<int32_t>(host.length + 1));
  ending += host;
  ending.length = -1;  // a NUL may stand inside
  ending += '>';
  return listId.find(local) >= 0 && listId.ends(ending.view());
}
