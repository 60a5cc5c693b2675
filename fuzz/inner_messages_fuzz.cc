// Scans of messages with messages inside: parts, copies in a text, archives of
// any shape. The input is read by ScanPieces: a seed is a byte of switches and
// a plain message.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kPieces[] = {
    "",  // the byte that follows, whatever it is
    // Messages and parts.
    "\nContent-Type: multipart/mixed; boundary=b\n\n--b\n",
    "\nContent-Type: multipart/digest; boundary=c\n\n--c\n",
    "Content-Type: multipart/related; type=\"multipart/alternative\";"
    " boundary=d\n\n--d\n",
    "\n--b\n", "\n--c\n", "\n--d\n", "\n--b--\n", "\n--c--\n",
    "Content-Type: message/rfc822\n\n",
    "Content-Type: message/delivery-status\n\nAction: failed\n\n",
    "Content-Type: text/plain; name=a.eml\n\n", "Content-Type: text/html\n\n",
    "Content-Disposition: attachment; filename=\"",
    "Content-Disposition: inline\n",
    "Content-Type: application/octet-stream; name=\"",
    "Content-Type: application/zip; name=f.zip\n",
    "Content-Transfer-Encoding: base64\n", "Content-ID: <",
    "From: daemon@example.org\n", "To: bob <bob@example.com>, ",
    "Subject: returned mail\n", "X-Spam-Flag: YES\n", "X-Mailer: Lotus Notes\n",
    "X-Test: ", "always", "shape", "spam",
    // Copies.
    "--- Below this line is a copy of the message.\n\n",
    "-- This is a copy of the message, including all the headers. --\n",
    "-- Original message follows --\n", "-- Original mail message --\n",
    "\r\n\r\nThis is a multi-part message in MIME format.\r\n--b\r\n",
    "\n\n--- Below this line is a copy of the message.\n-- This is a copy of "
    "the "
    "message, including all the headers.\n-- Original message follows --\n-- "
    "Original mail message --\nSubject: x\n\n",
    // Names and what loads them.
    "a.txt.exe\"\n", "a.doc     .scr\"\n", "a.crt.zip\"\n", "message.txt\"\n",
    "p1@example.org", "<iframe src=\"cid:", "<b>bounce</b>",
    // Identifiers.
    ">\n", "01c853c3$61997ac2$010200c0@", "part1.01020304.15060708@",
    "Message-ID: <00aa01c853c3$61997ac2$010200c0@pc>\n",
    // Archives.
    "PK\3\4\24__\10_______\3___\11___",
    "UEsDBBQAAAAIAAAAAAAAAAAAAwAAAAkAAAAFAAAAYS5leGVhYmM=", "Rar!\x1a\7"};
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

std::string Verdict(FUZZDICO& shared, const std::string& mail, uint8_t flags) {
  TQMMSG m(&shared.pool, shared.dico.stuff, nullptr, 0, 0);
  m.fixedTime = 1200000000;
  m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())),
                  flags & 2 ? "bob@example.com" : "", 0);
  const uint32_t wanted = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION;
  const QMGLOBALSETUP global = {8, wanted};
  const QMUSERSETUP own = {20, -100, 200, 0, flags & 1 ? wanted : 0};
  m.check(&global, &own, TBLOCK(), TBLOCK(), flags & 8, flags & 16, nullptr, 0);
  const TBLOCK cause = m.ledger.cause.view();
  if (m.ledger.state == ssVirus)
    Check(m.ledger.score == 9999 && cause.begins("VIRUS "));
  m.checkMailingList();
  m.checkPartsCid();
  return ScoreAndCause(m);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static FUZZDICO* const shared = new FUZZDICO(kSections);
  ScanPieces(bytes, size, kPieces, kPieceCount, *shared, Verdict);
  return 0;
}
