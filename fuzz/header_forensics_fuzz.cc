// Whole scans of headers made of what the header checks know: forms of
// identifiers, relay lines, mail programs, boundaries, dates and senders. The
// input is read by ScanPieces: a seed is a byte of switches and a plain
// message.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kPieces[] = {
    "",  // the byte that follows, whatever it is
    // Fields.
    "\nReceived: ", "\nMessage-ID: ", "\nX-Message-ID: ",
    "\nX-Original-Message-ID: ", "\nIn-Reply-To: ", "\nThread-Index: ",
    "\nFrom: ", "\nTo: ", "\nCc: ", "\nReply-To: ", "\nReturn-Path: ",
    "\nSender: ", "\nX-Sender: ", "\nSubject: ", "\nDate: ", "\nResent-Date: ",
    "\nX-Mailer: ", "\nUser-Agent: ", "\nX-MimeOLE: ", "\nX-MSMail-Priority: ",
    "\nX-Priority: ", "\nX-OriginalArrivalTime: ", "\nX-Originating-IP: ",
    "\nX-Originating-Email: ", "\nX-PPT: ", "\nX-Spare: ", "\nContent-Type: ",
    "\nMIME-Version: 1.0", "\nContent-Transfer-Encoding: base64",
    "\nDelivered-To: ", "\nList-Id: ",
    // Identifiers, by the program that writes them so.
    "<00##01c8~~~~~$~~~~~~~~$~~00a8c0@desk###>",
    "<~~~~~~~~~~~~~$~~~~~~~~$~~~~~~~~@example.com>",
    "<~~~~~~~~-~~~~-11DC-9~~~-00~~~~~~~~~~@example.org>",
    "<20080110######.~~~~~~~~.ann.lee@example.org>",
    "<200801102055.m0AKt^^^######@mx.example.com>",
    "<####.192.0.2.#.12000#####.squirrel@mail.example.org>",
    "<4786~~~~.#0##0#0@example.org>", "<E1JD4^^-000###-^^@example.net>",
    "<BAY1##-DAV#@phx.example>", "<Pine.LNX.4.64.08011020550##@example.org>",
    "<^^^^^^^^^^^^@example.com>", " (added by postmaster@example.net)",
    "Ym9iQGV4YW1wbGUuY29t", "AchTyM~~~~~~~~~~~~~~~~~~~~~~AA==",
    // Relay lines.
    "from desk.example.org (desk.example.org [192.0.2.##])\n\tby ",
    "from [192.0.2.##] by ", "from unknown (HELO localhost) (192.0.2.##) by ",
    "from mail pickup service by bay1##.mail.example with Microsoft SMTPSVC; ",
    "mx.example.com (Postfix) with ESMTP id ~~~~~~~~~~\n\tfor "
    "<bob@example.com>; ",
    "mx.example.com (8.1#.#/8.1#.#) with ESMTP id m0AKt^^^######; ",
    "mx.example.com with esmtp (Exim 4.##)\n\tid 1JD4##-000###-^^; ",
    "mx.example.com (Netscape Messaging Server 4.15) with SMTP id "
    "JUGN##00.^##; ",
    "mx.example.com (Sun Java System Messaging Server 6.#-#.##) id "
    "<0JUG00^^^^^^^^@mx.example.com>; ",
    "mx.example.com with ESMTP id ^^^^^^^^#####.##.2008.01.10.12.##.##; ",
    "by1##fd.bay1##.example with HTTP;\n\t", "bay1##-DAV# with DAV;\n\t",
    "mx.example.com with Microsoft SMTPSVC(5.0.2195.####); ",
    "by web1####.mail.example.org via HTTP; ", " with NNFMP; ", "by 10.#.#.# ",
    "(qmail #### invoked by uid ###); ", "(port=#### helo=desk.example.org) ",
    // Mail programs.
    "Microsoft Outlook Express 6.00.2900.####",
    "Microsoft Outlook, Build 10.0.2616", "Microsoft Office Outlook 12.0",
    "Produced By Microsoft MimeOLE V6.00.2900.####", "Apple Mail (2.752.#)",
    "Sylpheed version 2.4.# (GTK+ 2.12; i686)", "SquirrelMail/1.4.##",
    "Mozilla/5.0 (Windows; U)", "Thunderbird 2.0.0.#", "The Bat! (v3.##)",
    "QUALCOMM Windows Eudora Version 7.1.0.#", "Microsoft-Entourage/11.#",
    // Boundaries.
    "multipart/alternative;\n\tboundary=\"", "multipart/mixed; boundary=",
    "text/plain; charset=", "----=_NextPart_000_000#_01C853C8.~~~~~~~~\"", "=_",
    "Apple-Mail-#-####",
    "\n\n--b\n\nx\n--b\nContent-Type: image/gif; name=a.exe\nA: #\n\nR0lG\n",
    // Dates.
    "Thu, 10 Jan 2008 20:55:## +0000", "Thu, 10 Jan 2008 15:##:00 -0500",
    "10 Jan 08 20:##:02 EST", "Fri, 13 Jul 2007 20:55:02 +0##0",
    "10 Jan 2008 20:55:##.#### (UTC) FILETIME=[~~~~~~~~:01C853C8]",
    "Sat, 26 Feb 203# 00:00:0# BST",
    // Subjects and bodies.
    "Re: ", "FW: ", "[list] ", "=?utf-8?q?", "=?koi8-r?b?", "?=", "dViAkGqReA ",
    "abcVdIAGRA ", "%%name%%", "coool moore annd ",
    // Senders.
    "\"Ann Lee\" <", "Carla Dunn <", "Dr. Mary Stone <", "bob <", "BobX <",
    "ann.book.lee@example.org", "xqzkvwjb@example.org", "MaryStone@example.org",
    "bob@example.com", "xyzbob@example.com", "ada@example.com, adb@example.com",
    ">, ", " (Ann Lee)", "undisclosed-recipients:;", "webmaster1@example.org",
    "*/S[I;O`E>&%M<&QE+F-O;0", "localhost", "[127.0.0.1]"};
const uint32_t kPieceCount = sizeof kPieces / sizeof *kPieces;
static_assert(kPieceCount <= 128, "a byte tells which");

const char kSections[] =
    "[$blackalias]\n<20>Carla Dunn\n<21>bob@example.com\n"
    "[senderwords]\n<22>lee\n[addrwords]\n<23>example\n"
    "[^blackemailregex]\n<24>(From=xq)\n"
    "[$blackemailaddr]\n<25>xqzkvwjb@example.org\n"
    "[$blackemaildomain]\n<26>example.net\n[$blackreplyto]\n<27>bob@example."
    "com\n"
    "[$emailnames]\nmary\nstone\ncarla\nlee\n"
    "[#blacksubject]\n<5>*list*\n[hardwords]\n<1>viagra\n"
    "[#spamheaderfield]\n<8>X-Spare=a*\n<9>*=*b*\n<7>X-None=\n"
    "[!attachheader]\n<4>A=[1-5]\n<3>*=~image\n[#attachext]\n<&6>exe\n"
    "[#attachcontent]\n<2>b.exe=GIF\n[!substregex]\n<17>%%[a-z]+%%\n"
    "[:hdrfieldnames]\nF:(?i)^from$\nT:(?i)^to$\nD:(?i)^date$\nx:(?i)^x-\n"
    "R:(?i)^received$\n[$spamhdr]\n<12>FTD@000000\n"
    "[^no-duplicatelowers]\n<0>(@X-Spare=d)\n"
    "[^no-fdgsquirrelid]\n<0>(@X-Spare=q)\n[^no-forgedexim]\n<0>(@X-Spare=e)\n"
    "[^no-forgedrcvdlabo]\n<0>(@X-Spare=l)\n[^no-dates]\n<0>(@X-Spare=t)\n"
    "[^no-spam]\n<0>(@X-Spare=nospam)\n[^only-fall]\n<0>(From=.)\n";

// Score and cause of a scan, and then of what no scan calls yet.
std::string Verdict(FUZZDICO& shared, const std::string& mail, uint8_t flags) {
  TQMMSG m(&shared.pool, shared.dico.stuff, nullptr, flags & 1, 0);
  m.fixedTime = 1200000000;
  const char* user = flags & 2 ? "bob@example.com" : "";
  m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())), user,
                  0);
  QMGLOBALSETUP global = {8, flags};
  QMUSERSETUP own = {20, -100, 200, 0, flags};
  m.check(flags & 4 ? &global : nullptr, flags & 4 ? &own : nullptr, TBLOCK(),
          TBLOCK(), flags & 8, flags & 16, user, 0);
  m.checkAttach();
  m.checkThreadIndex();
  m.checkEmails(1);
  m._fromFilter(TBLOCK("*@example.org"), 1);
  m._fromFilter(TBLOCK("192.*"), 1);
  m._ccFilter(TBLOCK("bob*"), 1);
  int valid[4];
  m._checkValidSender(valid[0], valid[1], valid[2], valid[3]);
  for (int v : valid) Check(v == 0 || v == 1);
  return ScoreAndCause(m);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static FUZZDICO* const shared = new FUZZDICO(kSections);
  ScanPieces(bytes, size, kPieces, kPieceCount, *shared, Verdict);
  return 0;
}
