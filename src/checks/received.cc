// Relay lines that nobody's server wrote. Each server that is known here tells
// the time in the identifiers it gives: what does not look like one, or tells
// another time than the line, is forged. Two more marks are a pair of lines
// that forging tools write, and a web mail service whose fields contradict each
// other. Entry: TQMMSG::checkReceived. Tested by received_test.cc and
// tests/mail/received.eml.

#include "scan/tqmmsg.h"

#include <limits.h>
#include <time.h>

#include "regex/regex.h"
#include "regex/regex_pool.h"

namespace {

const int64_t kDaySeconds = 86400;
// How far a server's clock may be off.
const int64_t kSendmailSlack = 35 * kDaySeconds;
const int64_t kSunJavaSlack = kDaySeconds;
const int64_t kGmailSlack = kDaySeconds / 2;

// A value that is longer matches no pattern. Bounds their cost: some search
// from every digit on.
const uint32_t kMaxPatternBytes = 8192;

const char kBase62[] =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
const char kBase36[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

// Oldest lines that forging tools write, when the line of the server that takes
// the message tells the same address.
const char* const kForgedPairs[] = {
    "from [IP] by host;DATE",
    "from [IP] by host;NUM NUM",
    "from [IP] by dom;DATE",
    "from [IP] by dom;NUM NUM",
    "from (IP) by host with smtp for <@>;DATE",
    "from (IP) by dom with smtp for <@>;DATE",
    "from [IP] (port=NUM helo=IP) by host with esmtp id for @;DATE",
    "from [IP] (port=NUM helo=IP) by dom with esmtp id for @;DATE",
    "from [IP] (port=NUM helo=host) by host with esmtp id for @;DATE",
    "from [IP] (port=NUM helo=host) by dom with esmtp id for @;DATE",
    "from host (helo [IP]) by host () with id for <@>;DATE",
    "from host (helo [IP]) by dom () with id for <@>;DATE",
    "from [IP] by host with smtp;DATE",
    "from [IP] by dom with smtp;DATE",
    "from [IP] (port=helo=host) by host with esmtp id for @;DATE",
    "from [IP] (port=helo=host) by dom with esmtp id for @;DATE",
    "from [IP] (port=helo=IP) by host with esmtp id for @;DATE",
    "from [IP] (port=helo=IP) by dom with esmtp id for @;DATE",
    "from IP by host;DATE",
    "from IP by dom;DATE",
    "from IP by with smtp;DATE"};

bool Matches(TBLOCK text, const char* pattern, REGEXPOOL* pool) {
  return text.length <= kMaxPatternBytes && REGEX(pattern, pool).match(text);
}

bool MatchDetails(REGEX& regex, TBLOCK text) {
  return text.length <= kMaxPatternBytes && regex.matchWithDetails(text) > 0;
}

// The digits at the front; 0 without one.
int64_t Number(TBLOCK text) {
  int64_t number = 0;
  for (uint32_t i = 0; i < text.length && TBLOCK::Is(text[i], bitDigit); i++)
    if (number < LLONG_MAX / 100) number = number * 10 + text[i] - '0';
  return number;
}

// Place of the character in the alphabet, from 1 on; 0 when it is not there.
int pos(unsigned char c, const char* alphabet) {
  const char* const at = c ? strchr(alphabet, c) : nullptr;
  return at ? static_cast<int>(at - alphabet) + 1 : 0;
}

int64_t AddBase36(int64_t number, unsigned char c) {
  return number * 36 + pos(c, kBase36) - 1;
}

// What a line says of its identifier.
struct RCVDCLAIM {
  const BLOCKRECEIVED& line;
  TBLOCK idPart;  // the identifier ahead of a comment, with a blank that stands
                  // between them, at which patterns fail on purpose
  int64_t stamp;  // time of the line, else of the message; 0 or -1: none
  REGEXPOOL* pool;

  bool id(const char* pattern) const { return Matches(idPart, pattern, pool); }
};

enum RCVDVERDICT { rvNotMine, rvGenuine, rvForged };
// Appends the server's name to the cause when the line claims to be of it.
typedef RCVDVERDICT RCVDJUDGE(const RCVDCLAIM& claim, STR& cause);

RCVDVERDICT Verdict(bool forged) {
  return forged ? rvForged : rvGenuine;
}

// The minor version, as the line or the identifier tell it; 0 for others.
int64_t SendmailVersion(const RCVDCLAIM& claim) {
  REGEX version(REGEXPOOL::_SENDMAIL_VERSION, claim.pool);
  if (MatchDetails(version, claim.line.by)) return Number(version.capture(1));
  return claim.id(REGEXPOOL::_SENDMAIL_ID_10_PLUS) ? 10 : 0;
}

// A character each for year, month, day, hour, minute and second.
int64_t SendmailTime(TBLOCK id) {
  struct tm t = {};
  t.tm_year = pos(id[0], "abcdefghijklmnopqrstuvwxyz") + 95;
  t.tm_mon = pos(id[1], "0123456789AB") - 1;
  t.tm_mday = pos(id[2], "123456789ABCDEFGHIJKLMNOPQRSTUV");
  t.tm_hour = pos(id[3], "0123456789ABCDEFGHIJKLMN") - 1;
  t.tm_min = pos(id[4], kBase62) - 1;
  t.tm_sec = pos(id[5], kBase62) - 1;
  return timegm(&t);
}

RCVDVERDICT JudgeSendmail(const RCVDCLAIM& claim, STR& cause) {
  const int64_t version = SendmailVersion(claim);
  if (version == 0) return rvNotMine;
  cause += "Sendmail";
  if (claim.id(REGEXPOOL::_SENDMAIL_ID_EXIM) ||
      claim.id(REGEXPOOL::_SENDMAIL_ID_LEG1) ||
      Matches(claim.line.by, REGEXPOOL::_SENDMAIL_BY_LEG2, claim.pool))
    return rvGenuine;
  if (version < 10) return Verdict(!claim.id(REGEXPOOL::_SENDMAIL_8_9_OK));
  if (!claim.id(REGEXPOOL::_SENDMAIL_10_13_OK) || claim.stamp == 0 ||
      claim.stamp == -1)
    return rvForged;
  if (TimeDistance(SendmailTime(claim.idPart), claim.stamp) > kSendmailSlack)
    return rvForged;
  return Verdict(version == 13 && !claim.id(REGEXPOOL::_SENDMAIL_13_OK));
}

// Appends the number, highest digit first; nothing for one that is not above 0.
void AddBase62(int64_t number, STR& out) {
  char digits[16];
  int n = 0;
  for (; number > 0; number /= 62) digits[n++] = kBase62[number % 62];
  while (n > 0) out += digits[--n];
}

// Genuine identifiers begin with the time in base 62. Here only its digits
// above the last three are compared, and without regard to case although that
// makes a difference between digits. What passes goes on to the other servers.
RCVDVERDICT JudgeExim(const RCVDCLAIM& claim, STR& cause) {
  const int64_t kLastThreeDigits = 62 * 62 * 62;
  const TBLOCK with = claim.line.with;
  if (with.find("(Gmexim") >= 0 || claim.line.id.equals("1AlnuQ-0007hv-00"))
    return rvGenuine;
  if (with.find("(Exim") < 0 && !claim.id(REGEXPOOL::_ID_EXIM))
    return rvNotMine;
  cause += "Exim";
  STR time;
  AddBase62(claim.stamp / kLastThreeDigits, time);
  const bool fits = !time.empty() && claim.idPart.begins(time.view());
  return fits ? rvNotMine : rvForged;
}

// Identifiers of version 3 tell no time, those of version 4 tell seconds.
RCVDVERDICT JudgeNetscape(const RCVDCLAIM& claim, STR& cause) {
  static const char* const kVersions[] = {"3.0", "3.01", "3.5",  "3.52", "3.54",
                                          "3.6", "3.61", "3.62", "4.0",  "4.05",
                                          "4.1", "4.15", "4.0b2"};
  const int kCount = 13, kFirstOf4 = 8, kBeta = 12;
  const TBLOCK name("(Netscape Messaging Server ");
  const int32_t at = claim.line.by.find(name);
  if (at < 0) return rvNotMine;
  cause += "Netscape";
  TBLOCK rest = claim.line.by.from(static_cast<uint32_t>(at) + name.length);
  rest.trim();
  rest = TBLOCK::BlockBeforeChar(rest, ')', 0, 0);
  const TBLOCK version = TBLOCK::BlockBeforeChar(rest, ' ', 0, 0);
  if (!Matches(version, REGEXPOOL::_NMS_VERSION, claim.pool)) return rvNotMine;
  int i = 0;
  while (i < kCount && !version.equals(kVersions[i])) i++;
  if (i == kCount) return rvForged;
  if (i < kFirstOf4) return Verdict(!claim.id(REGEXPOOL::_NMS_3XX));
  if (i == kBeta || !claim.id(REGEXPOOL::_NMS_4XX)) return rvGenuine;
  int64_t seconds = 0;
  for (uint32_t k = 0; k < 6; k++)
    seconds = AddBase36(seconds, claim.idPart[k]);
  return Verdict(seconds / 1000 != claim.stamp / 1000);
}

// The digits of the time stand in two places.
RCVDVERDICT JudgeSunJava(const RCVDCLAIM& claim, STR& cause) {
  const uint32_t kIdLength = 16;
  const uint32_t kDigitPlaces[] = {1, 2, 3, 9, 10, 11};
  if (claim.line.by.find("(Sun Java System Messaging Server 6") < 0)
    return rvNotMine;
  cause += "Sun Java";
  TBLOCK rest = claim.line.id, id;
  TBLOCK::BlockLeftTrimChars(rest, "() \t\r\n");
  TBLOCK::BlockBeforeSetOfChars(rest, id, "() \t\r\n", 1);
  if (id.length >= 2 && id[0] == '<' && id[id.length - 1] == '>') {
    id = id.head(id.length - 1).from(1);
    id.trim();
  }
  uint32_t n = 0;
  for (; n < id.length && TBLOCK::Is(id[n], bitAlpha | bitDigit); n++)
    if (TBLOCK::Is(id[n], bitLower)) return rvForged;
  if (n != kIdLength) return rvForged;
  int64_t seconds = 0;
  for (uint32_t place : kDigitPlaces) seconds = AddBase36(seconds, id[place]);
  return Verdict(TimeDistance(seconds, claim.stamp) > kSunJavaSlack);
}

// Year to second, each a group of the pattern; -1 when one is out of range. A
// month may be one too high and a day 0: timegm knows what that means.
int64_t GmailCivilTime(const REGEX& regex) {
  struct tm t = {};
  t.tm_year = static_cast<int>(Number(regex.capture(3))) - 1900;
  t.tm_mon = static_cast<int>(Number(regex.capture(4))) - 1;
  t.tm_mday = static_cast<int>(Number(regex.capture(5)));
  t.tm_hour = static_cast<int>(Number(regex.capture(6)));
  t.tm_min = static_cast<int>(Number(regex.capture(7)));
  t.tm_sec = static_cast<int>(Number(regex.capture(8)));
  if (t.tm_sec >= 60 || t.tm_min >= 60 || t.tm_hour >= 24 || t.tm_mday >= 32 ||
      t.tm_mon >= 13)
    return -1;
  return timegm(&t);
}

// The time stands in the identifier, as a date or in seconds.
RCVDVERDICT JudgeGmail(const RCVDCLAIM& claim, STR& cause) {
  REGEX regex(REGEXPOOL::_GMAIL_ID, claim.pool);
  if (!MatchDetails(regex, claim.idPart)) return rvNotMine;
  cause = "Gmail";
  const int64_t seconds = claim.id(REGEXPOOL::_GMAIL_ID_ESMTP)
                              ? GmailCivilTime(regex)
                              : Number(regex.capture(9));
  return Verdict(TimeDistance(seconds, claim.stamp) > kGmailSlack);
}

// How a line of one server lacks what a real one has: 2 when the version is
// missing, 1 when it says more than that server does.
int SmtpSrvVerdict(const BLOCKRECEIVED& line, REGEXPOOL* pool) {
  if (line.with.find("Microsoft SMTPSVC(") < 0) return 0;
  if (!line.forAddress.empty() || line.from.begins("unknown (")) return 1;
  return Matches(line.with, REGEXPOOL::_SMTPSVC, pool) ? 0 : 2;
}

// ---- A web mail service

// How a message came to it, by the line that it wrote.
enum HOTMAILKIND { hkNone, hkHttp, hkDav };

// The tests, by what they find wrong.
enum HOTMAILERROR {
  heNoSender,
  heNoEmail,
  heOtherEmail,
  heNoIp,
  heBadIp,
  heNoArrival,
  heBadArrival,
  heArrivalTime,
  heNoPickup,
  heNotPickup,
  heFromNoIp,
  heNoGmt,
  heNoServer,
  heServerPair,
  heServerNumber,
  heServerId,
  heNotUtc,
  heNoDavServer,
  heDavServerId
};

// Counts a failure when the outcome is 0; returns the outcome.
int hmTest(HOTMAILERROR /*test*/, int& failures, int outcome) {
  if (!outcome) failures++;
  return outcome;
}

// A field that may be missing.
struct OPTFIELD {
  TBLOCK value;
  int present = 0;

  void read(TQMMSG& message, const char* name) {
    present = message.readHeaderField(name, value, 1);
  }
};

struct HOTMAILCLAIM {
  const BLOCKRECEIVED& first;
  const BLOCKRECEIVED* second;
  OPTFIELD sender, email, ip, arrival;
  TBLOCK messageId;
  int64_t today;  // in days
  REGEXPOOL* pool;
};

// The fields that the service always writes.
void TestHotmailFields(const HOTMAILCLAIM& claim, TIP& ip, int& failures) {
  hmTest(heNoSender, failures, claim.sender.present);
  hmTest(heNoEmail, failures, claim.email.present);
  const TBLOCK sender = claim.sender.value, email = claim.email.value;
  hmTest(heOtherEmail, failures,
         email.length == sender.length + 2 && email.begins("[") &&
             email.ends("]") &&
             email.from(1).head(sender.length).equals(sender));
  hmTest(heNoIp, failures, claim.ip.present);
  ip.setBlock(claim.ip.value);
  hmTest(heBadIp, failures, !ip.invalid);
  hmTest(heNoArrival, failures, claim.arrival.present);

  const int32_t kFirstDay = 7305;  // 1990-01-01
  const int64_t kDaysAhead = 1000;
  REGEX regex(REGEXPOOL::_X_ORIGINAL_ARRIVAL_TIME, claim.pool);
  if (!hmTest(heBadArrival, failures, MatchDetails(regex, claim.arrival.value)))
    return;
  const FILETIME time = {HexNumber(regex.capture(2)),
                         HexNumber(regex.capture(3))};
  const int32_t day = win2posix_days(&time);
  hmTest(heArrivalTime, failures,
         day >= kFirstDay && day < claim.today + kDaysAhead);
}

// The lines that the service writes, whatever the way in.
void TestHotmailLines(const HOTMAILCLAIM& claim, TIP& ip, int& failures) {
  if (hmTest(heNoPickup, failures, claim.second != nullptr))
    hmTest(heNotPickup, failures,
           claim.second->text.begins("from mail pickup service by"));
  TBLOCK source = claim.first.text;
  const int32_t by = source.find("by");
  if (by >= 0) source.cut(static_cast<uint32_t>(by));
  const int32_t from = source.find("from");
  source = from < 0 ? TBLOCK() : source.from(static_cast<uint32_t>(from) + 4);
  source.trim();
  ip.setBlock(source);
  hmTest(heFromNoIp, failures, !ip.invalid);
}

// Through a browser. The line is held against the pattern of another field,
// on purpose: no genuine line fits, and all begin with this failure.
void TestHotmailHttp(const HOTMAILCLAIM& claim, int& failures) {
  const TBLOCK text = claim.first.text;
  hmTest(heNoGmt, failures, text.find("GMT") >= 0);
  REGEX regex(REGEXPOOL::_X_ORIGINAL_ARRIVAL_TIME, claim.pool);
  if (!hmTest(heNoServer, failures, MatchDetails(regex, text))) return;
  const int64_t server = Number(regex.capture(1));
  hmTest(heServerPair, failures, server == Number(regex.capture(2)));
  hmTest(heServerNumber, failures,
         (server >= 1 && server < 30) || (server >= 100 && server < 200));
  REGEX id(REGEXPOOL::_HOTMAIL_TYPE_1, claim.pool);
  hmTest(heServerId, failures,
         MatchDetails(id, claim.messageId) && Number(id.capture(1)) == server);
}

// Through a mail program.
void TestHotmailDav(const HOTMAILCLAIM& claim, int& failures) {
  const TBLOCK text = claim.first.text;
  hmTest(heNotUtc, failures, text.ends("+0000"));
  REGEX regex(REGEXPOOL::_HOTMAIL_TYPE_2, claim.pool);
  hmTest(heNoDavServer, failures, MatchDetails(regex, text));
  hmTest(heDavServerId, failures,
         !claim.messageId.begins("BAY") ||
             claim.messageId.begins(regex.capture(1)));
}

HOTMAILKIND HotmailKind(TBLOCK text, REGEXPOOL* pool) {
  if (text.find("with DAV;") >= 0) return hkDav;
  const bool http = text.find("with HTTP") >= 0 &&
                    Matches(text, REGEXPOOL::_HOTMAIL_WITH_HTTP, pool);
  return http ? hkHttp : hkNone;
}

int HotmailFailures(const HOTMAILCLAIM& claim, HOTMAILKIND kind) {
  int failures = 0;
  TIP ip;
  TestHotmailFields(claim, ip, failures);
  TestHotmailLines(claim, ip, failures);
  if (kind == hkDav)
    TestHotmailDav(claim, failures);
  else
    TestHotmailHttp(claim, failures);
  return failures;
}

}  // namespace

// Reads: the relay lines, fields of the web mail service, messageId,
//        messageDate; sections "No-ForgedRcvdLabo", "No-ForgedExim"
// Scores: 303 "Forged rcvd/labo", "Forged rcvd NAME", "Forged labo NAME";
//         200 "Fgd Hotmail"; 60 "LoSMTPSVC"; 200 "HiSMTPSVC"
void TQMMSG::checkReceived() {
  if (receivedFields.count() == 0) return;
  if (!testRuleSection("No-ForgedRcvdLabo"))
    checkCond(checkForgedReceivedLabo(firstReceived, secondReceived), 303,
              "Forged rcvd/labo");
  STR cause;
  const bool firstForged = checkForgedReceived(firstReceived, cause);
  checkCond(firstForged, 303, "Forged rcvd", cause.c_str());
  const bool secondForged = checkForgedReceived(secondReceived, cause);
  checkCond(secondForged, 303, "Forged labo", cause.c_str());
  checkWebMail();
  const int smtpSrv = checkSmtpSrv(firstReceived);
  checkCond(smtpSrv == 1, 60, "LoSMTPSVC");
  checkCond(smtpSrv == 2, 200, "HiSMTPSVC");
}

// A tool that forges a line writes its own address into it, which the server
// that it talks to writes down too.
int TQMMSG::checkForgedReceivedLabo(const BLOCKRECEIVED* first,
                                    const BLOCKRECEIVED* second) {
  if (!first || !second || first->fromIp.empty() || second->fromIp.empty())
    return 0;
  if (!first->fromIp.equals(second->fromIp) ||
      first->fromIp.equals("127.0.0.1"))
    return 0;
  for (const char* forged : kForgedPairs)
    if (strcmp(first->adn.c_str(), forged) == 0) return 1;
  return 0;
}

// The first server that has a verdict decides. Where the dictionary spares
// Exim, no server behind it is asked either, on purpose.
bool TQMMSG::checkForgedReceived(const BLOCKRECEIVED* line, STR& cause) {
  cause = "";
  if (!line || line->id.empty()) return false;
  RCVDCLAIM claim = {*line, line->id, messageDate.utc, pool};
  const int32_t comment = line->id.findByte('(');
  if (comment >= 0) claim.idPart.cut(static_cast<uint32_t>(comment));
  if (!line->date.empty()) {
    BLOCKDATE written;
    written.parseFrom(line->date);
    claim.stamp = written.utc;
  }
  const RCVDVERDICT sendmail = JudgeSendmail(claim, cause);
  if (sendmail != rvNotMine) return sendmail == rvForged;
  if (testRuleSection("No-ForgedExim")) return false;
  RCVDJUDGE* const judges[] = {JudgeExim, JudgeNetscape, JudgeSunJava,
                               JudgeGmail};
  for (RCVDJUDGE* judge : judges) {
    const RCVDVERDICT verdict = judge(claim, cause);
    if (verdict != rvNotMine) return verdict == rvForged;
  }
  return false;
}

int TQMMSG::checkSmtpSrv(const BLOCKRECEIVED* line) {
  return line ? SmtpSrvVerdict(*line, pool) : 0;
}

int TQMMSG::checkHotmail() {
  if (!firstReceived) return 0;
  const HOTMAILKIND kind = HotmailKind(firstReceived->text, pool);
  if (kind == hkNone) return 0;
  HOTMAILCLAIM claim = {*firstReceived,
                        secondReceived,
                        {},
                        {},
                        {},
                        {},
                        messageId,
                        presentTime() / kDaySeconds,
                        pool};
  claim.sender.read(*this, "x-sender");
  claim.email.read(*this, "x-originating-email");
  claim.ip.read(*this, "x-originating-ip");
  claim.arrival.read(*this, "x-originalArrivalTime");
  return HotmailFailures(claim, kind);
}

int TQMMSG::checkWebMail() {
  return checkCond(checkHotmail() > 1, 200, "Fgd Hotmail");
}
