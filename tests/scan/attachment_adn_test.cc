// Fingerprints of attachments, from whole files and from damaged ones.

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

// A `rawLength` of 0 stands for the text's own.
std::string Adn(int32_t kind, const std::string& bytes, uint32_t rawLength = 0,
                uint32_t flags = pfDecoded) {
  static REGEXPOOL pool;
  int error;
  pool.addCompiledRegex(TBLOCK(REGEXPOOL::_PDF_STUFF), error);
  static TQMMSG scan(&pool, nullptr, nullptr, 0, 0);
  const HeapText text(bytes);
  BLOCKPART part;
  part.attachKind = kind;
  part.flags = flags;
  part.content = text.view();
  if (flags & pfDecoded) part.decoded = part.content;
  part.rawLength = rawLength ? rawLength : part.content.length;
  STR out("before");
  const std::string result = scan.getAdnFromAttach(&part, out);
  EXPECT_EQ(result, Str(out.view()));
  return result;
}

const char kExploit[] = "%/../../../../../../WINDOWS/system32";
const char kPdf[] =
    "%PDF-1.4\r\n%\xE2 1 0 obj\n1 0 obj <</Type/MaBox[] /I // /Ab1Cd>>\n"
    "endobj 2 0 obj<</Length 3/Filter /FlateDecode>>\nSTREAM\n/No endstream "
    "EndObj3 0 obj null endobj x1 0 obj/A 1 0 Obj/B 4  obj /C 5 0 object/P 6 0 "
    "obj/Q";

TEST(AttachmentAdnTest, FingerprintsOfWholeAndDamagedFiles) {
  const std::string pdf = "%PDF-1.4 ", zeros(120, '0'), html = "a<SCRIPT>";
  const std::string sync = "\xFF\xFB\x90\x64",
                    noise = "\xFF\xDF" + zeros + "12";
  const std::string frame =
      "MPEG1.0!Layer3!128!44100!JS Stereo!None!Original!NonCopyright";
  const struct {
    int32_t kind;
    std::string text, adn;
    uint32_t rawLength;
  } rows[] = {
      {akPdf, kPdf, "PDF:4/Typ,MB,I,Ab/Len,Fil,FD!//P,Q", 0},
      {akPdf, "%PDF-1.4", "PDF:4", 0},
      {akPdf, std::string("%pdf-1. \t4\0x 1 0 obj/A", 22), "PDF:4/A", 0},
      // The head of an object may have 256 bytes.
      {akPdf, pdf + zeros + " " + zeros + "00000000000 obj/A", "PDF:4/A", 0},
      {akPdf, pdf + zeros + " " + zeros + "000000000000 obj/A", "PDF:4", 0},
      {akPdf, kExploit, "PDF:Exploit", 20479},
      {akPdf, kExploit, "PDF:Error", 20480},
      {akMp3, sync, frame, 184000},
      {akMp3, sync, "", 184001},
      // A false sync ends the search when fewer than 128 bytes follow it.
      {akMp3, noise + "3" + sync, frame, 0},
      {akMp3, noise + sync, "", 0},
      {akMp3, "\xFF\xF2\xA9\x89",
       "MPEG2.0!Layer3!160 (96)!16000!DC Stereo!50/15 ms!NonOriginal!Copyright",
       0},
      {akMp3, "\xFF\xEE\xEC\x0E",
       "Reserved!Layer1!448!0!Stereo!Reserved!Original!Copyright", 0},
      {akHtml, html, "Html::Javascript", 8191},
      {akHtml, html, "", 8192},
      {akHtml, "<sCRIPT http-equiv='refresh'", "", 0},
      {akHtml, "http-equiv=''refresh''", "Html::Javascript", 0},
      {akArchive, kPdf, "", 0}};
  for (const auto& row : rows)
    EXPECT_EQ(row.adn, Adn(row.kind, row.text, row.rawLength)) << row.text;
  EXPECT_EQ("PDF:Exploit", Adn(akPdf, kExploit, 0, 0));
  // In base64, which is decoded once only.
  const char coded[] = "JS8uLi8uLi8uLi8uLi8uLi8uLi9XaW5kb3dzL3N5c3RlbTMy";
  EXPECT_EQ("PDF:Exploit", Adn(akPdf, coded, 0, pfBase64Checked));
  EXPECT_EQ("PDF:Error", Adn(akPdf, coded, 0, pfBase64Checked | pfDecoded));

  Numbers numbers(5);
  for (const std::string& text : {std::string(kPdf), noise + "3" + sync})
    for (uint32_t i = 0; i < 10000; i++) {
      // Every truncation first, then up to six wrong bytes.
      std::string bad = text.substr(0, i);
      for (int k = i > text.size() ? numbers.Below(6) : -1; k >= 0; k--)
        bad[numbers.Below(bad.size())] = static_cast<char>(
            numbers.Below(2) ? numbers.Below(256) : "/1 \xFF"[k % 4]);
      Adn(text[0] == '%' ? akPdf : akMp3, bad);
    }
}

}  // namespace
