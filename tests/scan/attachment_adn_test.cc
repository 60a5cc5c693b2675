// Fingerprints of attachments, from whole files and from damaged ones.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "scan/tqmmsg.h"

namespace {

// The fingerprint of a part whose body had `rawLength` bytes before decoding;
// 0 takes the text's own length.
std::string Adn(int32_t kind, const std::string& bytes, uint32_t rawLength = 0,
                uint32_t flags = pfDecoded) {
  static TQMMSG scan(nullptr, nullptr, nullptr, 0, 0);
  const HeapText text(bytes);
  BLOCKPART part;
  part.attachKind = kind;
  part.flags = flags;
  part.content = text.view();
  if (flags & pfDecoded) part.decoded = part.content;
  part.rawLength = rawLength ? rawLength : part.content.length;
  STR out("before");
  const char* result = scan.getAdnFromAttach(&part, out);
  EXPECT_EQ(out.c_str(), result);
  EXPECT_EQ(out.len(), static_cast<int32_t>(strlen(result)));
  return result;
}

const char kPdf[] =
    "%PDF-1.4\r\n%\xE2\xE3 1 0 obj\n"
    "1 0 obj <</Type/Catalog /MediaBox[] /I /ID // /Ab1Cd>>\nendobj\n"
    "2 0 obj<</Length 3/Filter /FlateDecode>>\nSTREAM\n/Not\nendstream EndObj"
    "3 0 obj null endobj 4  0 obj /No 5 0 object/P";

TEST(AttachmentAdnTest, Fingerprints) {
  const std::string zeros(120, '0');
  const std::string exploit = "x%/../../../../../../WINDOWS/system32";
  const std::string sync = "\xFF\xFB\x90\x64";
  const std::string frame =
      "MPEG1.0!Layer3!128!44100!JS Stereo!None!Original!"
      "NonCopyright";
  const struct {
    int32_t kind;
    std::string text;
    std::string adn;
    uint32_t rawLength;
  } rows[] = {
      {akPdf, kPdf, "PDF:4/Typ,Cat,MB,I,ID,Ab/Len,Fil,FD!//P", 0},
      {akPdf, "%PDF-1.4", "PDF:4", 0},
      {akPdf, "%pdf-1. \t4x y", "PDF:4x", 0},
      {akPdf, std::string("%PDF-1.4\0x 1 0 obj/A", 20), "PDF:4/A", 0},
      {akPdf, "%PDF-1.", "PDF:", 0},
      {akPdf, "%PDF-1", "PDF:Error", 0},
      {akPdf, "", "PDF:Error", 0},
      {akPdf, "%PDF-1.4 1 0 obj/A stream/B", "PDF:4/A!", 0},
      // The head of an object may have 256 bytes, and a digit is where it is.
      {akPdf, "%PDF-1.4 " + zeros + "0 " + zeros + "0000000000 obj/A",
       "PDF:4/A", 0},
      {akPdf, "%PDF-1.4 " + zeros + "0 " + zeros + "00000000000 obj/A", "PDF:4",
       0},
      {akPdf, "%PDF-1.4 x1 0 obj/A 1 obj/B 1 0 Obj/C 1 0  obj/D", "PDF:4", 0},
      {akPdf, exploit, "PDF:Exploit", 20479},
      {akPdf, exploit, "PDF:Error", 20480},
      {akMp3, sync, frame, 184000},
      {akMp3, sync, "", 184001},
      {akMp3, sync.substr(0, 3), "", 0},
      {akMp3, zeros, "", 0},
      {akMp3, "\xFF", "", 0},
      // A false sync gives up when fewer than 128 bytes follow it.
      {akMp3, "\xFFx" + zeros + "123" + sync, frame, 0},
      {akMp3, "\xFFx" + zeros + "12" + sync, "", 0},
      {akMp3, std::string("\xFF\xE0\0\xC3", 4),
       "MPEG2.5!Reserved!free!11025!Mono!CCIT J.17!NonOriginal!NonCopyright",
       0},
      {akMp3, "\xFF\xF2\xA9\x89",
       "MPEG2.0!Layer3!160 (96)!16000!DC Stereo!50/15 ms!NonOriginal!Copyright",
       0},
      {akMp3, "\xFF\xEE\xEC\x0E",
       "Reserved!Layer1!448!0!Stereo!Reserved!Original!Copyright", 0},
      {akMp3, "\xFF\xFC\xB4\x04",
       "MPEG1.0!Layer2!224!48000!Stereo!None!Original!NonCopyright", 0},
      {akHtml, "a<SCRIPT>", "Html::Javascript", 8191},
      {akHtml, "a<SCRIPT>", "", 8192},
      {akHtml, "a<sCRIPT>", "", 0},
      {akHtml, "http-equiv=''refresh'' <script", "Html::Javascript", 0},
      {akHtml, "http-equiv=\"refresh\"", "Html::Javascript", 0},
      {akHtml, "http-equiv='refresh'", "", 0},
      {akArchive, kPdf, "", 0},
      {akNone, "<script", "", 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(row.adn, Adn(row.kind, row.text, row.rawLength));
  }
  // "%/../../../../../../Windows/system32": searched in what it decodes to,
  // and once only.
  const std::string coded = "JS8uLi8uLi8uLi8uLi8uLi8uLi9XaW5kb3dzL3N5c3RlbTMy";
  EXPECT_EQ("PDF:Exploit", Adn(akPdf, coded, 0, pfBase64Checked));
  EXPECT_EQ("PDF:Error", Adn(akPdf, coded, 0, pfBase64Checked | pfDecoded));
}

TEST(AttachmentAdnTest, CutAndDamaged) {
  Numbers numbers(5);
  const std::string whole[] = {
      kPdf, "ID3\xFF\x01" + std::string(130, 'm') + "\xFF\xFF\xFB\x90\x64"};
  for (const std::string& text : whole) {
    const int32_t kind = text[0] == '%' ? akPdf : akMp3;
    for (size_t n = 0; n <= text.size(); n++) Adn(kind, text.substr(0, n));
    for (int i = 0; i < 10000; i++) {
      std::string bad = text;
      for (int k = numbers.Below(6); k >= 0; k--)
        bad[numbers.Below(text.size())] = static_cast<char>(
            numbers.Below(2) ? numbers.Below(256) : "/1 \xFF"[k % 4]);
      Adn(kind, bad);
    }
  }
}

}  // namespace
