// What the checks of links and of phishing make of a message full of links:
// see ScanPieces. The first switch makes the body plain text, the others choose
// sender and subject, which rules read. Only these checks run.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kPieces[] = {
    // Links, with quotes left open where the next piece goes on.
    "<a href=\"http://", "<a href=\"https://", "<a href=\"", "\">", "</a>",
    "\">http://", "\">https://", "\">www.", "\">eBay.", "<a href='mailto:",
    "<a href='javascript:", "<a href='cid:", "<base href=\"http://",
    "<area href=http://", "<form action=http://", "<iframe src=http://",
    "<meta http-equiv=refresh content=\"0; url=http://",
    "<img src=http://pics.example.net/btnrespondNow.gif>",
    "<img src=\"http://x.test/a.gif\" alt=\"dispute thread\">",
    "<img src=", "http://", "https://", "www.", "blocked::http://", "://", "//",
    // Hosts and their parts.
    "192.0.2.#", "#.#.#.#", "##-##-##-##.dsl.x", "mybank.test", "mybonk.test",
    "nybank-login", "-mybank-", "www.shop.test", "click.test", "a.shop.co.uk",
    "b.shop.uk", "ebay.com", "ebay.x.test", "ebaydesc.test", "signin.ebay.",
    "rebay.example", "homes.example", "img.", "cdn", "~~~~~~~~~~~~.test",
    "localhost", "bob:pw@", "@", ":8080", "..", ".", "-", "^",
    // Paths and queries.
    "/", "/ws/eBayISAPI.dll", "/ebaylsapl.dll", "/servlets/mms",
    "/search?q=cache:", "/cgi-bin/mark.cgi", "/IDXv4/searchForms/ARMLS.asp",
    "/login/account/is/here", "/http://", "?", "&", ";", "=", "url=http://",
    "?e=bob.smith77@example.com", "bob.smith77", "bob.smith77--example.com",
    "Ym9iLnNtaXRoNzdAZXhhbXBsZS5jb20", "?x=1234567890123", "?me=", "%2e%68",
    "%", ".<", "> .", " . ", "\\", "\x01", "\xE4",
    // Words and markup.
    "Dispute Thread ", "verify your account ", "click here ", "F R E E ", "<p>",
    "<br>", "</p>", "<table><tr><td>", "<!-- ", " -->", "\r\n", " ",
    "<font color=white>", "</font>", "unsubscribe: ", "\"", "'"};
const uint32_t kPieceCount = sizeof kPieces / sizeof *kPieces;
static_assert(kPieceCount <= 127, "a byte tells which");

const char kSections[] =
    "[$TLD]\n<-3>test\n<2>uk\nco.uk\n<5>unknown\ncom\nnet\n"
    "[#ForgedDomains]\n*bank.test\n*shop*\n[#PhishingSenders]\n*@mybank.test\n"
    "[#NoPhishing4]\nwww.shop.test:click.test\nmybank*.test\n"
    "[^PhishingSelect]\n(Subject=^select)\nshop.co.uk:(Subject=^name)\n"
    "[^PhishingRules]\n(Url=^ftp)\n[PhishingWords]\n(=) account\n"
    "[#DeepPhishing]\n<120>Deep\n<0>Deep2\n[^Deep]\n<1>(Url=\\.\\.)\n"
    "[^Deep2]\n<&2>(Linktext=verify)\n[HrefWords]\n<20>ebay\n<30>login\n"
    "[DomainWords]\n<11>login\n[!DomainsRegex]\n<12>^ebay\n"
    "[!SummerRegex]\n<13>[0-9]{3}\n[$BlackHost]\n<14>click.test\n"
    "[LinkWords]\n<7>free\n[#LinkText]\n<8>*click*\n"
    "[#WhiteHrefUrl]\n<-1>*shop*\n[#WhiteHrefDomain]\n<-2>*.uk\n";

const char* const kSenders[] = {"x@mybank.test", "x@ebay.login.test",
                                "x@rebay.example", "x@shop.co.uk"};
const char* const kSubjects[] = {"select", "name", "none", "zero"};

std::string Verdict(FUZZDICO& shared, const std::string& body, uint8_t flags) {
  const std::string mail =
      std::string("From: ") + kSenders[flags >> 1 & 3] +
      "\nTo: bob.smith77@example.com\nSubject: " + kSubjects[flags >> 3 & 3] +
      (flags & 1 ? "\n\n" : "\nContent-Type: text/html\n\n") + body;
  TQMMSG m(&shared.pool, shared.dico.stuff, nullptr, 0, 0);
  m.fixedTime = 1200000000;
  m.loadFromBlock(HeapText(mail).view(), "", 1);
  m.parseWords();
  const int32_t links = m.links->count();
  m.checkPhishing();
  // Verdicts: 400 of the brand, 120 or 0 of the rules, 400 of a candidate. A
  // lie without them is none.
  const int32_t score = m.ledger.score, rest = score % 400;
  Check(score <= 800 && (rest == 0 || rest == 90 || rest == 120));
  Check(m.phishing ? !m.causeText.empty() : score == 0 || score == 90);
  m.checkBlackLinks();
  m.checkSpamDomains();
  m.checkWhiteLinks();
  m.checkTld();
  m.checkHiddenUrl();
  m.checkLinkText();
  m.checkAlt();
  m.checkUnsub();
  bool tracked = false;
  for (int32_t i = 0; i < links; i++)
    tracked |= m.checkUrlTracking(m.links->get(i)->url) &&
               m.links->get(i)->url.proto & (upHttp | upHttps);
  Check(m.checkTracking() || !tracked);
  Check(m.links->count() == links);
  return ScoreAndCause(m) + Str(m.causeText.view());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static FUZZDICO* const shared = new FUZZDICO(kSections);
  ScanPieces(bytes, size, kPieces, kPieceCount, *shared, Verdict);
  return 0;
}
