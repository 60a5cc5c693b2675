// Forged and listed senders. The checks gather mailboxes and hand them to the
// judgements below and in content/sender_judge.h. Entries: TQMMSG::checkFrom,
// checkEmails and, for the user's lists, _fromFilter and _ccFilter. Tested by
// sender_judge_test.cc, tests/checks/senders_test.cc and
// tests/mail/senders.eml.

#include "scan/tqmmsg.h"

#include "base/wildcard.h"
#include "content/address_scheme.h"
#include "regex/regex.h"
#include "regex/regex_pool.h"

namespace {

const int kForgedScore = 300;
// A From field above this is not held against patterns.
const uint32_t kMaxMatchedFrom = 8192;
// Bytes of recipients that are held against a line of a list: those of some
// hundred people.
const uint32_t kMaxListedRecipients = 32768;
const uint32_t kMinRecipientName = 4;
const uint32_t kMinRecipientEmail = 7;
const uint32_t kMinAddedPrefix = 3;

// The sections and labels of one colour of lists.
struct LISTNAMES {
  const char *regex, *addr, *domain, *replyTo, *alias;
  const char *domainLabel, *replyToLabel, *aliasLabel;
};
const LISTNAMES kBlackLists = {"blackEmailRegex",  "blackEmailAddr",
                               "blackEmailDomain", "blackReplyTo",
                               "blackAlias",       "black email domain:",
                               "black ReplyTo:",   "black Alias"};
const LISTNAMES kWhiteLists = {"whiteEmailRegex",  "whiteEmailAddr",
                               "whiteEmailDomain", "whiteReplyTo",
                               "whiteAlias",       "white email domain:",
                               "white ReplyTo:",   "white Alias"};

// The recipient's name with one letter behind it.
bool IsNameWithLetter(TBLOCK name, TBLOCK recipient) {
  return recipient.length >= kMinRecipientName &&
         name.length == recipient.length + 1 && name.begins(recipient) &&
         name.allIn(bitLetter);
}

// Small letters, then the recipient's own address.
bool IsPrefixedAddress(TBLOCK email, TBLOCK recipient) {
  return recipient.length >= kMinRecipientEmail &&
         email.length >= recipient.length + kMinAddedPrefix &&
         email.ends(recipient) &&
         email.head(email.length - recipient.length).allIn(bitLower);
}

// "John Smith" <JohnsonMiller@...>: the parts of such a name and address all
// come out of one list of names, and the first half of the address begins with
// a name that is not the sender's.
bool IsDrawnFromNames(TBLOCK from, const HASHTAB* names, REGEXPOOL* pool) {
  if (!names || from.length > kMaxMatchedFrom) return false;
  REGEX shape(REGEXPOOL::_CHECKFROM_MACHIN, pool);
  if (!shape.matchWithDetails(from)) return false;
  const TBLOCK first = shape.capture(3);
  const TBLOCK half = shape.capture(5);
  if (names->findKey(first) < 0 || names->findKey(shape.capture(4)) < 0 ||
      names->findKey(shape.capture(6)) < 0)
    return false;
  const uint32_t known = names->longestMatch(half).length;
  return known != 0 && known + 2 <= first.length && !half.ends("and");
}

// A pattern with "@" is one of addresses, any other one of names.
bool FitsBox(TBLOCK pattern, const TMAILBOX& box) {
  return FitsListPattern(pattern,
                         pattern.findByte('@') >= 0 ? box.email : box.name);
}

// The first boxes of a list; `bytesLeft` loses their lengths.
bool FitsAny(TBLOCK pattern, const TMAILBOXVECT& boxes, uint32_t& bytesLeft) {
  const int32_t n = boxes.count();
  for (int32_t i = 0; i < n; i++) {
    const TMAILBOX box = boxes.get(i);
    if (box.text.length > bytesLeft) return false;
    bytesLeft -= box.text.length;
    if (FitsBox(pattern, box)) return true;
  }
  return false;
}

// An IP address or a part of one, with or without stars around it.
bool IsIpPattern(TBLOCK pattern) {
  pattern.trim();
  if (!pattern.empty() && pattern[0] == '*') pattern.skip(1);
  if (!pattern.empty() && pattern[pattern.length - 1] == '*') pattern.length--;
  return !pattern.empty() && pattern.allIn(bitIpNumber);
}

// Adds the score of a line under the label and the line's text.
void AddLine(TQMMSG& message, const TQKLINE* line, const char* label) {
  STR text;
  STR whole(label);
  message.dico.getLineText(line, text, 0);
  whole += text;
  message.addToSpamScore(line->score, whole.c_str(), 1);
}

}  // namespace

// Reads: from, fromBox, recipientBox, aliasWords, what checkEmails reads.
// Scores: 60 "missing FROM field"; by line "Alias:TEXT", "TEXT in sender" and
// "TEXTEmail words"; 300 each "Forged e-mail", "Forged email2", "$FE3".
void TQMMSG::checkFrom() {
  checkCond(from.empty(), 60, "missing FROM field");
  checkEmails(0);
  const TQKLINE* line = nullptr;
  if (dico.hashedFind("BlackAlias", fromBox.name, line))
    AddLine(*this, line, "Alias:");
  checkKeywordBlockList("SenderWords", aliasWords, 0, 0, "=%s in sender");
  checkCond(IsNameWithLetter(fromBox.name, recipientBox.name), kForgedScore,
            "Forged e-mail");
  checkCond(recipientBox.name.empty() && fromBox.scheme == 0 &&
                IsPrefixedAddress(fromBox.email, recipientBox.email),
            kForgedScore, "Forged email2");
  checkKeywordBlockList("AddrWords", regexFields(kFieldAddrWords, TBLOCK()), 0,
                        0, "Email words");
  checkCond(IsDrawnFromNames(from, dico.hashedSection("EmailNames"), pool),
            kForgedScore, "$FE3");
}

// Reads: addressWords, replyToBox, fromBox. Scores: what rules and lists say,
// as "RTA", "COLOUR email domain:TEXT", "COLOUR ReplyTo:TEXT", "COLOUR Alias".
void TQMMSG::checkEmails(int white) {
  const LISTNAMES& names = white ? kWhiteLists : kBlackLists;
  checkRuleSection(names.regex, 0);
  const TQKLINE* line = nullptr;
  const int32_t n = addressWords.count();
  if (dico.hashedFindFromBlockList(names.addr, addressWords, n, line, 0))
    addToSpamScore(line->score, "RTA", 1);
  if (dico.hashedFindFromBlockList(names.domain, addressWords, n, line, 1))
    AddLine(*this, line, names.domainLabel);
  if (dico.hashedFind(names.replyTo, replyToBox.email, line))
    AddLine(*this, line, names.replyToLabel);
  if (dico.hashedFind(names.alias, fromBox.email, line))
    addToSpamScore(line->score, names.aliasLabel, 1);
}

void TQMMSG::checkSenderAddr(TMAILBOX& box) {
  if (FindText(box.email, user.view()) < 0) return;
  box.email.clear();
  addToSpamScore(50, "Invalid address", 1);
}

// Scores: the given points, "LABEL=PATTERN".
int TQMMSG::_mbFilter(TBLOCK pattern, const TMAILBOX& box, int score,
                      const char* label) {
  if (!FitsBox(pattern, box)) return 0;
  STR cause(label);
  cause += '=';
  cause += pattern;
  addToSpamScore(score, cause.c_str(), 1);
  return 1;
}

// Reads: the four sender boxes, sourceIpBlock. Scores: the given points,
// "FIELD=PATTERN" or "IP=ADDRESS".
int TQMMSG::_fromFilter(TBLOCK pattern, int score) {
  if (IsIpPattern(pattern)) {
    if (!FitsListPattern(pattern, sourceIpBlock)) return 0;
    STR cause("IP=");
    cause += sourceIpBlock;
    addToSpamScore(score, cause.c_str(), 1);
    return 1;
  }
  return _mbFilter(pattern, fromBox, score, "From") ||
         _mbFilter(pattern, returnPathBox, score, "Return-Path") ||
         _mbFilter(pattern, replyToBox, score, "Reply-To") ||
         _mbFilter(pattern, senderBox, score, "Sender");
}

// Reads: toList, ccList. Scores: the given points, "Copy to PATTERN", once.
int TQMMSG::_ccFilter(TBLOCK pattern, int score) {
  uint32_t bytesLeft = kMaxListedRecipients;
  if (!FitsAny(pattern, toList, bytesLeft) &&
      !FitsAny(pattern, ccList, bytesLeft))
    return 0;
  STR cause("Copy to ");
  cause += pattern;
  addToSpamScore(score, cause.c_str(), 1);
  return 1;
}

// Without a recipient nobody proves anything: all four are 1.
void TQMMSG::_checkValidSender(int& fromValid, int& replyToValid,
                               int& returnPathValid, int& senderValid) {
  const TBLOCK recipient = recipientBox.email;
  fromValid = FindText(fromBox.email, recipient) < 0;
  replyToValid = FindText(replyToBox.email, recipient) < 0;
  returnPathValid = FindText(returnPathBox.email, recipient) < 0;
  senderValid = FindText(senderBox.email, recipient) < 0;
}
