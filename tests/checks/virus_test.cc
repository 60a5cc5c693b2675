// What of a message is taken for a worm: attachments, archives, recipients, and
// messages inside of it. Whole messages: tests/mail/virus.eml.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "rules/source_util.h"
#include "scan/forward_lines.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[$HiVirusExt]\nscr\nxl*\n[$LoVirusExt]\ndoc\narj\n"
    "[:HdrAdnContentType]\nr:/related\na:/alt\nZ:/zip$\nu:/octet-stream$\n"
    "[^=RegexNoVirus]\nspared:(@X-Test=spared)\n"
    "[^=AlwaysRegexVirus]\nAlways:(@X-Test=always|spared)\n"
    "[^=RegexVirus]\nShape:(@X-Test=shape)\n"
    "[#Some]\na*\n*z\n[#Any]\n*\n[*Digest]\nexe\n";
const std::string kDouble = "unknown: double file extension";

std::unique_ptr<TQMMSG> Load(const std::string& mail) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, kSections));
  m->loadFromBlock(HeapText(mail).view(), "", 1);
  return m;
}

// What the two tests of a message leave, as "NAME: REASON", with "!" behind it
// for one that was found in an inner message. "" when there is nothing.
std::string VirusIn(const std::string& mail) {
  const auto m = Load(mail);
  const bool hit = m->checkAttachVirus() || m->checkForwardedVirus();
  std::string text = Str(m->virusName.view());
  const std::string reason = Str(m->virusReason.view());
  if (!reason.empty()) text += ": " + reason;
  if (m->virusSure) text += "!";
  EXPECT_EQ(!text.empty(), m->virusFound != 0);
  return hit == !text.empty() ? text : "not told: " + text;
}

// A mail of two parts, each a header and a text behind it.
std::string Mixed(const std::string& first, const std::string& second = "",
                  const std::string& header = "", const char* b = "b") {
  const std::string line = std::string("--") + b;
  return header + "To: bob@example.com\nContent-Type: multipart/mixed; " +
         "boundary=" + b + "\n\n" + line + "\n" + first + "\n" + line + "\n" +
         second + "\n" + line + "--\n";
}

std::string File(const std::string& name) {
  return "Content-Disposition: attachment; filename=\"" + name + "\"\n\nMZ";
}

const std::string kMessage = "Content-Type: message/rfc822\n\n";
const std::string kWorm = Mixed(File("a.txt.scr"), "", "", "worm");

// Disposition, name and type or, of an archive, the listing; then the result
// and the name that was judged.
TEST(VirusTest, Attachments) {
  for (const TextRow& row :
       TextRows("attachment|a.scr|application/octet-stream => 2 a.scr\n"
                "ATTACHMENT|a.SCR|image/png => 1 a.SCR\n"
                "inline|a.doc|application/x-msdownload => 1 a.doc\n"
                "inline|a.doc| => 1 a.doc\ninline|a.doc|text/plain => 0 a.doc\n"
                "inline|a.xlt| application / MIXED => 2 a.xlt\n"
                "inline|a.txt|application/download => 0 a.txt\n"
                "inline|a.txt|application => -1 a.txt\n"
                "inline|a.scr|octet-stream/application => 1 a.scr\n"
                "form-data|a.scr| => 0 \n|a.scr| => 0 \n"
                "inline||application/mixed => 0 \n"
                "inline|f.z|@f.z: => 2 f.z\ninline|f.z|@f.z:1a.doc => 0 f.z\n"
                "inline|f.z|@f.z:1a.xla => 2 a.xla\n"
                "inline|f.z|@f.z:1a.vbs => 1 a.vbs\n"
                "inline|f.z|@f.z:0a.VBS => 2 a.VBS\n"
                "inline|f.z|@f.z:2a.b.zip => 1 a.b.zip\n"
                "inline|f.z|@f.z:1zip => 0 f.z\ninline|f.z|@f.z:1a. => 0 f.z\n"
                "inline|f.z|@f.z:0 => 0 f.z\n"
                // The last one decides.
                "inline|f.z|@f.z:1a.scr,1b.vbs => 1 b.vbs\n"
                "inline|f.z|@f.z:1b.vbs,1a.scr,1c.txt => 2 a.scr\n"
                "inline|f.z|@f.z:1a.scr,1b,1c,1d => 0 f.z\n"
                // A program, a page and its folder, which has to have a dot.
                "inline|f.z|@f.z:1c.exe,1a.htm,1b.d/ => 2 c.exe\n"
                "inline|f.z|@f.z:1b.d\\,1c.EXE,1a.HTML => 2 c.EXE\n"
                "inline|f.z|@f.z:1c.exe,1a.htm,1b/ => 1 c.exe\n"
                "inline|f.z|@f.z:1c.exe,1a.htm,1a.htm => 1 c.exe\n"
                "inline|f.z|@f.z:1c.exe,1b.d/,1b.d/ => 1 c.exe\n"
                "inline|f.z|@f.z:1a.htm,1b.d/ => 0 f.z\n")) {
    TBLOCK rest(row.input.c_str());
    BLOCKPART part;
    part.disposition = TBLOCK::BlockBeforeChar(rest, '|', 0, 0);
    part.displayName = TBLOCK::BlockBeforeChar(rest, '|', 0, 0);
    part.type = rest;
    if (rest.findByte('@') == 0) part.attachKind = akArchive;
    part.archiveText = rest;
    part.extension = part.displayName.from(
        static_cast<uint32_t>(part.displayName.findLastByte('.') + 1));
    TBLOCK name("old");
    const int result = Load("\n")->checkAttPart(&part, name);
    EXPECT_EQ(row.expected, std::to_string(result) + " " + Str(name))
        << row.input;
  }
}

TEST(VirusTest, WhoIsAddressed) {
  for (const TextRow& row : TextRows(
           "bob@example.com => Shape\n => Shape\n"
           "bob@example.com, ann@example.com => \n"
           "Bob <bob@example.com>, BOB <ann@example.com> => Shape\n"
           "Bob <bob@example.com>, bo <bob@example.com> => \n"
           "BOB <bob@example.com> => Shape\nBob Lee <bob@example.com> => \n"
           // Digits ahead of the core and all behind it don't count.
           "12bob34xyz <7Bob99x@example.com> => Shape\n"
           "12bo3b <bob@example.com> => \nx <7bob@example.com> => \n"
           "x <123@example.com> => Shape\n123 <bob@example.com> => \n"
           "Contact <joe@example.com> => Shape\n"
           "joe@example.com <JOE@example.com> => Shape\n"
           "joe@example.org <joe@example.com> => \n")) {
    const auto m = Load("X-Test: shape\nTo: " + row.input +
                        "\nContent-Type: multipart/mixed; boundary=b\n\n");
    EXPECT_EQ(!row.expected.empty(), m->checkVirusByHeader() != 0);
    EXPECT_EQ(row.expected, Str(m->virusName.view())) << row.input;
  }
}

TEST(VirusTest, FileNames) {
  for (const TextRow& row :
       TextRows("a.txt.scr => double\na.JPEG.SCR => double\na.b.scr => \n"
                "a.scr => \na.b.c.htm.scr => double\na.abc   .scr => forged\n"
                "a.abcd.  scr => forged\na.txt .scr => forged\n"
                "a.abcde .scr => \na.ab .scr => \n")) {
    EXPECT_EQ(row.expected.empty()
                  ? ""
                  : "unknown: " + row.expected + " file extension",
              VirusIn(Mixed(File(row.input))))
        << row.input;
  }
  // A name without a verdict.
  EXPECT_EQ("not told: Certificat SSL", VirusIn(Mixed(File("a.crt.arj"))));
  // Only the first suspect one is looked at.
  const std::string worm = File("a.txt.scr");
  EXPECT_EQ(kDouble, VirusIn(Mixed(File("b.txt"), worm)));
  EXPECT_EQ("", VirusIn(Mixed(File("b.scr"), worm)));
}

TEST(VirusTest, ForwardedMessages) {
  const std::string clean = kMessage + "Subject: x\n\nx\n";
  const std::string worm = kMessage + kWorm, hit = kDouble + "!";
  EXPECT_EQ(hit,
            VirusIn(Mixed("\nx", "Content-Type: a/b; name=a.EML\n\n" + kWorm)));
  // The last one decides, and takes back what the others were found to be.
  EXPECT_EQ(hit, VirusIn(Mixed(clean, worm)));
  EXPECT_EQ("", VirusIn(Mixed(worm, clean)));
  // A part that is scanned in place of the message is left to that scan.
  const std::string named =
      "Content-Type: message/rfc822; name=message.txt\n\n" + kWorm;
  EXPECT_EQ(hit, VirusIn(Mixed("\nx", named)));
  EXPECT_EQ("", VirusIn(Mixed("\n<<message.txt>>", named)));
  EXPECT_EQ("", VirusIn(worm));
  // Each line in turn, the first found in the text first.
  const std::string first = std::string("\n") + _ForwardTextLines[0] + "\n";
  const std::string last = "\n-- ORIGINAL mail message --\n";
  EXPECT_EQ(hit, VirusIn("\n" + last + kWorm + first + "Subject: x\n\nx\n"));
  EXPECT_EQ("", VirusIn("\n" + first));
  EXPECT_EQ("", VirusIn(Mixed(File("b.dat")) + first + kWorm));
}

TEST(VirusTest, DepthAndNumberOfInnerMessages) {
  std::string nested = kWorm;
  for (int32_t depth = 1; depth <= kMaxScanDepth + 1; depth++) {
    const std::string boundary = "c" + std::to_string(depth);
    nested = Mixed(kMessage + nested, "", "", boundary.c_str());
    EXPECT_EQ(depth <= kMaxScanDepth, VirusIn(nested) != "") << depth;
  }
  // One budget for all depths: each of these has another one inside.
  const std::string line = "--b\n" + kMessage;
  const std::string worm = line + "X-Test: always\n\nx\n";
  const std::string pair = line + Mixed(kMessage, "", "", "c");
  std::string many = "Content-Type: multipart/digest; boundary=b\n\n";
  for (int32_t i = 2; i < kMaxInnerMessages; i += 2) many += pair;
  EXPECT_NE("", VirusIn(many + line + "\n" + worm));
  EXPECT_EQ("", VirusIn(many + pair + worm));
}

}  // namespace
