// Scans of messages with messages inside: parts, copies in a text, archives of
// any shape. The first byte of the input is a set of switches; of the rest
// each byte below 0x80 stands for itself and each other one for a row of
// kPieces, so that a seed is a plain message.

#include <stdint.h>

#include <string>

#include "base/score.h"
#include "regex/regex_pool.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kPieces[] = {
    "",  // the byte that follows, whatever it is
    // Messages and parts.
    "\nContent-Type: multipart/mixed; boundary=b\n\n--b\n",
    "\nContent-Type: multipart/digest; boundary=c\n\n--c\n",
    "Content-Type: multipart/related; type=\"multipart/alternative\";"
    " boundary=d\n\n--d\n",
    "\n--b\n",
    "\n--c\n",
    "\n--d\n",
    "\n--b--\n",
    "\n--c--\n",
    "Content-Type: message/rfc822\n\n",
    "Content-Type: message/delivery-status\n\nAction: failed\n\n",
    "Content-Type: text/plain; name=a.eml\n\n",
    "Content-Type: text/html\n\n",
    "Content-Disposition: attachment; filename=\"",
    "Content-Disposition: inline\n",
    "Content-Type: application/octet-stream; name=\"",
    "Content-Type: application/zip; name=f.zip\n",
    "Content-Transfer-Encoding: base64\n",
    "Content-ID: <",
    "From: daemon@example.org\n",
    "To: bob <bob@example.com>, ",
    "Subject: returned mail\n",
    "X-Spam-Flag: YES\n",
    "X-Mailer: Lotus Notes\n",
    "X-Test: ",
    "always",
    "shape",
    "spam",
    // Copies.
    "--- Below this line is a copy of the message.\n\n",
    "-- This is a copy of the message, including all the headers. --\n",
    "-- Original message follows --\n",
    "-- Original mail message --\n",
    "\r\n\r\nThis is a multi-part message in MIME format.\r\n--b\r\n",
    "\n\n--- Below this line is a copy of the message.\n-- This is a copy of "
    "the "
    "message, including all the headers.\n-- Original message follows --\n-- "
    "Original mail message --\nSubject: x\n\n",
    // Names and what loads them.
    "a.txt.exe\"\n",
    "a.doc     .scr\"\n",
    "a.crt.zip\"\n",
    "message.txt\"\n",
    "p1@example.org",
    "<iframe src=\"cid:",
    "<b>bounce</b>",
    // Identifiers.
    ">\n",
    "01c853c3$61997ac2$010200c0@",
    "part1.01020304.15060708@",
    "Message-ID: <00aa01c853c3$61997ac2$010200c0@pc>\n",
    // Archives.
    "PK\3\4\24__\10_______\3___\11___",
    "UEsDBBQAAAAIAAAAAAAAAAAAAwAAAAkAAAAFAAAAYS5leGVhYmM=",
    "Rar!\x1a\7",
};
const uint32_t kPieceCount = sizeof kPieces / sizeof *kPieces;

const char kSections[] =
    "[$HiVirusExt]\nexe\nscr\n[$LoVirusExt]\nzip\n*m\n"
    "[:HdrAdnContentType]\nr:/related\na:/alt\nZ:/zip$\nu:/octet\n"
    "[^=AlwaysRegexVirus]\nA:(@X-Test=always)\n"
    "[^=RegexVirus]\nB:(@X-Test=shape)\n"
    "[^=SpamRegexBeforeWhite]\n<150>C:(@X-Test=spam)\n"
    "[#NOTIFICATION-FROM]\n<11>daemon@*\n"
    "[NOTIFICATION-SUBJECT]\n<21>returned mail\n"
    "[NOTIFICATION-BODY]\n<41>not delivered\n"
    "[!NOTIFICATION-HTML]\n<51><b>bounce\n"
    "[#NOTIFICATION-ATTACH-HEADER]\n<61>X-Test=s*\n"
    "[#NOTIFICATION-ATTACH-NAME]\n<71>*.txt\n"
    "[!NOTIFICATION-ATTACH-CONTENT]\n<81>^x\n";

struct Shared {
  REGEXPOOL pool;
  TQMDICO dico;
  Shared() : dico(&pool, nullptr) {
    if (!LoadSource(dico, kSections)) __builtin_trap();
    dico.precompileRegexesIntoPool();
    dico.prepareRules();
  }
};

std::string MailOf(const uint8_t* at, const uint8_t* end) {
  std::string mail;
  while (at < end && mail.size() < kMaxMessageBytes) {
    const uint8_t byte = *at++;
    if (byte < 0x80)
      mail += static_cast<char>(byte);
    else if (byte == 0x80)
      mail += static_cast<char>(at < end ? *at++ : 0);
    else
      mail += kPieces[(byte - 0x80) % kPieceCount];
  }
  return mail;
}

std::string Verdict(Shared& shared, const std::string& mail, uint8_t flags) {
  TQMMSG m(&shared.pool, shared.dico.stuff, nullptr, 0, 0);
  m.fixedTime = 1200000000;
  m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())),
                  flags & 2 ? "bob@example.com" : "", 0);
  const uint32_t wanted = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION;
  const QMGLOBALSETUP global = {8, wanted};
  const QMUSERSETUP own = {20, -100, 200, 0, flags & 1 ? wanted : 0};
  m.check(&global, &own, TBLOCK(), TBLOCK(), flags & 8, flags & 16, nullptr, 0);
  const TBLOCK cause = m.ledger.cause.view();
  if (m.ledger.state == ssVirus &&
      (m.ledger.score != 9999 || !cause.begins("VIRUS ")))
    __builtin_trap();
  m.checkMailingList();
  m.checkPartsCid();
  if (m.ledger.score > kMaxScore || m.ledger.score < -kMaxScore)
    __builtin_trap();
  return std::to_string(m.ledger.score) +
         std::string(reinterpret_cast<const char*>(cause.pointer),
                     cause.empty() ? 0 : cause.length);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static Shared* const shared = new Shared;
  if (size == 0) return 0;
  const std::string mail = MailOf(bytes + 1, bytes + size);
  const std::string verdict = Verdict(*shared, mail, bytes[0]);
  // A scan leaves nothing behind in what it shares, and reads nothing that
  // nobody wrote.
  if ((bytes[0] & 64) && Verdict(*shared, mail, bytes[0]) != verdict)
    __builtin_trap();
  return 0;
}
