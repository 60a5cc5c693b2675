// Lists of hosts and clients against messages with many links and recipients,
// and the words for and against such a message. The input is read by
// ScanPieces. What stands ahead of each 1E byte, up to four times, is a
// client's file, Tamarack's file, a host's list and a user's list; the rest is
// the message.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "rules/url_blacklist.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kPieces[] = {
    "",  // the byte that follows, whatever it is
    // Lists.
    "\x1e",
    "\n[url]\n",
    "\n[domain]\n",
    "\n[whitedomain]\n",
    "\n[from]\n",
    "\n[whitefrom]\n",
    "\n+",
    "\n-",
    "\n=",
    "\r\n",
    "\n\r",
    "*",
    "*@",
    "+*@example.com\n",
    "-192.0.2.*\n",
    "=*lists*\n",
    // Fields.
    "\nFrom: ",
    "\nTo: ",
    "\nCc: ",
    "\nReply-To: ",
    "\nReturn-Path: ",
    "\nSender: ",
    "\nSubject: ",
    "\nReceived: from a ([192.0.2.##]) by b; Thu, 10 Jan 2008 20:00:00 +0000",
    "\nPrecedence: list\nList-Id: <h.lists.example.org>\nList-Unsubscribe: x",
    "\nContent-Type: text/html",
    "\nContent-Type: text/plain; charset=iso-8859-#",
    "\nContent-Type: text/plain; charset=iso-2022-jp",
    "\nContent-Type: multipart/alternative; boundary=b",
    "\n\n",
    "\n\n--b\n\n",
    "\n\n--b\nContent-Type: text/html\n\n",
    "\n\n--b\nContent-Type: text/plain; name=a.exe\n\n",
    "\n-----Original Message-----\n",
    "<meta name=generator content=\"Quill #\">",
    // Mailboxes.
    "Bob Sample <bob.sample@example.com>, ",
    "Ann Other <ann.other@example.org>, ",
    "Bob Sample <x@example.com>, ",
    "ann@example.com, ",
    "bob@example.com, ",
    "team@lists.example.org, ",
    "^^@example.^^, ",
    "<bob@example.com>",
    // Links.
    "http://white.example/",
    "http://black.example/#",
    "http://host.example/bad",
    "https://feed.example/",
    "HTTP:\\\\feed.example/^",
    "blocked::http://u.example/",
    "http://192.0.2.#/",
    "mailto:a@black.example",
    "www.^^.example/",
    "white.example",
    "black.example",
    "feed.example",
    "host.example/b",
    "<a href=\"",
    "\">^</a> ",
    "<img src=\"",
    " ",
    // Words.
    "xq7Zk2vW9pJd ",
    "^^^#^^^#^^ ",
    "bargain ",
    "barga1n ",
    "b.a.r.g.a.i.n ",
    "raffle ",
    "fair ",
    "timetable ",
    "club ",
    "garden window orange silver basket castle temple engine ",
};
const uint32_t kPieceCount = sizeof kPieces / sizeof *kPieces;
static_assert(kPieceCount <= 128, "a byte tells which");

const char kSections[] =
    "[#BrackenUrls]\nhttp://u.example\n[$No-Bracken]\nann@example.com\n"
    "[#HamHeaderField]\n<-11>From=*example*\n[#AttachExt]\n<4>exe\n"
    "[#WhiteHtmlMeta]\n<-12>Generator=Quill*\n"
    "[#WhiteHtmlMetaSilent]\n<-13>Generator=*1\n"
    "[^=WhiteRegex]\n<-14>a:(Subject=a)\n[#WhiteSubject]\n<&-15>*a*\n"
    "[WhiteSubjectWords]\n<-17>timetable\n"
    "[NoAntiBayesWhiteWords]\n<-18>club\n[#WhiteContent]\n<-19>*fair*\n"
    "[WhiteWords]\n<&-21>timetable\n[!BodyAnswers]\n<1>^Original\n"
    "[BlackWords]\n<&30>bargain\n[BlackSubjectWords]\n<31>bargain\n"
    "[TipsWords]\n(~)<7>bargain\n[#PhrasesWithoutChars]\n<8>. bargain\n"
    "[#WordsWithoutChars]\n<9>. bargain\n[^No-Randomstring]\n<0>(Subject=b)\n"
    "[SuspectEmail-Words]\n<40>raffle\n[LegitEmail-Words]\n<-41>fair\n"
    "[^SuspectEmail-Regex]\n<2>b:(Subject=now)\n"
    "[^No-SuspectEmail]\n<0>(Subject=club)\n";

TBLOCK ViewOf(const std::string& text) {
  return TBLOCK(text.data(), static_cast<uint32_t>(text.size()));
}

// The lines of a list add up, one by one.
void CheckLines(TQMMSG& m, const std::string& list) {
  const int before = m.ledger.score;
  const int all = m.listFilter(ViewOf(list)) - before;
  TBLOCK rest = ViewOf(list);
  int sum = 0;
  while (!rest.empty()) {
    const TBLOCK line = TBLOCK::NextMailLine(rest);
    const int start = m.ledger.score;
    sum += m.listFilter(line) - start;
  }
  Check(sum == all && m.ledger.whiteScoring == 0);
}

std::string Verdict(FUZZDICO& shared, const std::string& input, uint8_t flags) {
  std::string texts[4], mail = input;
  for (std::string& text : texts) {
    const size_t end = mail.find('\x1e');
    if (end == std::string::npos) break;
    text = mail.substr(0, end);
    mail.erase(0, end + 1);
  }
  BLOCK client(0, 4096), tamarack(0, 4096);
  client.add(ViewOf(texts[0]));
  tamarack.add(ViewOf(texts[1]));
  UrlBlacklist lists(&shared.dico);
  lists.loadExternalBlackList(UrlBlacklist::ftClient, &client);
  lists.loadExternalBlackList(UrlBlacklist::ftTamarack, &tamarack);

  TQMMSG m(&shared.pool, shared.dico.stuff, &lists, 0, 0);
  m.fixedTime = 1200000000;
  m.setParams(flags & 1 ? "ForceWhiteList" : "");
  m.setProfileInfo(0, flags & 2 ? "CheckSuspect" : "");
  m.loadFromBlock(ViewOf(mail), "", 0);
  m.check(nullptr, nullptr, ViewOf(texts[2]), ViewOf(texts[3]), flags & 4, 1,
          nullptr, 0);
  const std::string verdict = ScoreAndCause(m);
  // What an early exit left out.
  m.parseBody();
  m.parseWords();
  m.ledger.reset();
  m.checkBlackAndWhite();
  const int judged = m.ledger.score;
  Check(judged == 0 || (judged >= -2010 && judged <= -2007) ||
        (judged >= 2007 && judged <= 2010));
  CheckLines(m, texts[2]);
  m.ledger.reset();
  m.checkWhite();
  Check(m.ledger.whiteScoring == 0 && m.ledger.blackScore == 0);
  m.checkTipsWords();
  m.checkRandom();
  return verdict + ScoreAndCause(m);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static FUZZDICO* const shared = new FUZZDICO(kSections);
  ScanPieces(bytes, size, kPieces, kPieceCount, *shared, Verdict);
  return 0;
}
