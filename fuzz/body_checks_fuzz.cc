// What the body checks count, at its limits: tags, comments, hidden words,
// pictures of any size, padding, words in pieces, links around a picture. The
// first byte of the input is a set of switches, among them the kind of body;
// of the rest each byte below 0x80 stands for itself and each other one for a
// row of kPieces. Behind 0x80 comes a number, and what follows it is repeated
// that often times 32. Only the filters of these checks run.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kPieces[] = {
    "",  // repeats
    // Tags that are counted, and those that come in pairs.
    "<html>", "</html>", "<body bgcolor=\"#ffffff\" text=white>", "</body>",
    "<qx>", "<zz><zy><zx><zw>", "<br>", "<table><tr><td>", "</table>",
    "<script language=\"JScript.Encode\">x</script>", "<p>",
    "<meta name=generator content=\"Pad 2.1\">",
    "<meta name=Keywords content=pad>",
    // Comments and styles.
    "<!-- special offer -->", "<!-- ", " -->", "<style>", "</style>",
    "one two {three four} ", "p {color: red} ", "span {display:none} ",
    // Text that nobody sees.
    "<font color=\"#ffffff\">", "<font color=\"#000001\" size=1>", "</font>",
    "<span style=\"display:none\">", "</span>", "\xC2\xA0", "\x01",
    // Pictures.
    "<img src=\"cid:a@x\" width=99999999999 height=-1>",
    "<img src=\"http://www.shop.example/a.gif\" width=600 height=400>",
    "<img src=\"http://pics.example.net/remove.gif\" height=200>",
    "<img src=\"http://pics.example.net/nomore.d/re.gif\" usemap=#m>",
    "<img width=0x7fffffff height=2147483648>",
    // Links.
    "<a href=\"http://www.shop.example/x\">", "<a href=\"http://", "\">",
    "</a>", "a-shop.example/buy", "b-shop.example/buy", "c-shop.example/buy",
    "d-shop.example/buy", "www.example.org/", "https://", "mailto:a@x.example",
    // Words.
    "garden window orange ", "seventy ", "fifty ", "ten ", "TEMPLE ",
    "se=enty ", "one two, three four . ", ", ", " . ", ".", "'", "@",
    "xqzkvwjb ", "card ", "vi ag ra ", "ci ", "alis ", "abcd efghijk ",
    "VIxAGyRA ", "VIA", "v.i.a ", "offer ", "the ", "\r\n", "\n",
    "abcdefghijklmnopqrstuvwxyz", "Thu, 10 Jan 2008 20:00:00 +0000\n",
    "MIME-Version: 1.0\n", "!%IMG%!", "\n----Original Message\n",
    // Parts.
    "\n\n--b\n\n", "\n\n--b--\n", "\n\n--b\nContent-Type: text/html\n\n",
    "\n\n--b\nContent-Type: text/plain\n\n",
    "\n\n--b\nContent-Type: multipart/alternative; boundary=c\n\n",
    "\n\n--c\nContent-Type: text/html\n\n",
    "\n\n--b\nContent-Type: image/gif; name=\"horse.gif\"\nContent-ID: <a@x>\n"
    "Content-Transfer-Encoding: base64\n\n",
    "\n\n--b\nContent-Type: image/png\nContent-ID: <b@x>\n"
    "Content-Transfer-Encoding: base64\n\n",
    "R0lGODlhLAGQAQAAADs=", "R0lGODlh/////wAAADs=",
    "iVBORw0KGgoAAAANSUhEUgAA//8AAP//CAYAAAA="};
const uint32_t kPieceCount = sizeof kPieces / sizeof *kPieces;
static_assert(kPieceCount <= 128, "a byte tells which");

const char kSections[] =
    "[#htmlcomments]\n<7>*offer*\n<&2>a*\n[^noinvisiblewords]\n"
    "<0>(Subject=hidden)\n[#imgsize]\n<6>600x400\n<&3>*x-1\n"
    "[^no-sadwords]\n<0>(Subject=syllables)\n"
    "[#sadwords]\nviagra cialis\nabcdefghijk\n[hardwords]\n<1>viagra\n"
    "<1>*abcde\n[^embedfilterregex]\n<140>(Subject=wrapped)\n"
    "<0>(Subject=maybe)\n[^embedspamregex]\n<130>(Subject=again)\n"
    "<0>(Subject=listed)\n[#meta]\n<5>generator=pad*\n<6>keywords=\n"
    "[#words]\n<5>.- via\n<7>x cialis\n<-3>. none\n"
    "[#phrases]\n<4>. ^via\n<6>e garden\n[#bodyanswers]\n<1>original\n";

const char* const kTypes[] = {"text/plain", "text/html",
                              "multipart/alternative; boundary=b",
                              "multipart/related; boundary=b"};
const char kPadding[] =
    "garden window orange silver basket castle temple engine pepper cotton";
const char* const kSubjects[] = {"hidden syllables", "maybe",   "maybe again",
                                 "maybe listed",     "wrapped", kPadding};

void AddPiece(uint8_t byte, std::string& out) {
  if (byte < 0x80)
    out += static_cast<char>(byte);
  else
    out += kPieces[(byte - 0x80) % kPieceCount];
}

std::string MailOf(const uint8_t* at, const uint8_t* end, uint8_t flags) {
  std::string mail = "From: ann@example.org\nTo: bob@example.com\n";
  mail += flags & 1 ? "Cc: ada@example.net\n" : "";
  mail += std::string("Subject: ") + kSubjects[(flags >> 3) % 6] +
          "\nReceived: from a.example.org ([192.0.2.1]) by b.example.com; Thu, "
          "10 Jan 2008 20:00:00 +0000\nContent-Type: " +
          kTypes[flags >> 1 & 3] + "\n\n";
  while (at < end && mail.size() < kMaxMessageBytes) {
    const uint8_t byte = *at++;
    if (byte != 0x80) {
      AddPiece(byte, mail);
      continue;
    }
    if (end - at < 2) break;
    for (uint32_t n = at[0] * 32u; n > 0 && mail.size() < kMaxMessageBytes; n--)
      AddPiece(at[1], mail);
    at += 2;
  }
  return mail;
}

void RequireRange(int32_t value, int32_t least, int32_t most) {
  Check(value >= least && value <= most);
}

std::string Verdict(FUZZDICO& shared, const std::string& mail, uint8_t flags) {
  TQMMSG m(&shared.pool, shared.dico.stuff, nullptr, 0, 0);
  m.fixedTime = 1200000000;
  m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())), "",
                  0);
  m.parse(1);
  m.parseWords();
  m.attachScored = flags >> 6 & 1;
  if (flags & 128) m.ledger.whiteScoring = 1;
  m.addToSpamScore(-40, "white", 1);
  m.ledger.whiteScoring = 0;
  static const int kFilters[] = {33, 10, 18, 22, 17, 27, 24, 23, 30};
  for (int filter : kFilters) m.checkFilter(filter, nullptr, nullptr, 0);
  RequireRange(m.bodyAntiBayesCount, 0, 204800);
  RequireRange(TQMMSG::CheckSad(&m.dico, m.bodyWords, 2), 0, 2);
  RequireRange(m.checkWordsWithoutChars("Words", m.body), -3, 12);
  RequireRange(m.checkPhrasesWithoutChars("Phrases", m.body), 0, 6);
  // Runs of a lower minimum count more.
  Check(TQMMSG::checkAntiBayesBlock(m.body, 5, 20, 10) <=
        TQMMSG::checkAntiBayesBlock(m.body, 5, 20, 6));
  m.checkHtmlMeta("Meta", flags & 1);
  RequireRange(m.ledger.score, -40, 204800);
  return ScoreAndCause(m);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static FUZZDICO* const shared = new FUZZDICO(kSections);
  if (size == 0) return 0;
  const std::string mail = MailOf(bytes + 1, bytes + size, bytes[0]);
  const std::string verdict = Verdict(*shared, mail, bytes[0]);
  // A scan leaves nothing behind in what it shares.
  Check(size % 8 != 0 || Verdict(*shared, mail, bytes[0]) == verdict);
  return 0;
}
