// What of a message is taken for a worm: attachments, archives, recipients, and
// messages inside of it.

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
    "[$HiVirusExt]\nscr\nexe\nxl*\n[$LoVirusExt]\ndoc\n"
    "[:HdrAdnContentType]\nr:(?i)^multipart/related\na:^multipart/alt\n"
    "Z:(?i)/zip$\nu:/octet-stream$\n"
    "[^=RegexNoVirus]\nspared:(@X-Test=spared)\n"
    "[^=AlwaysRegexVirus]\nAlways:(@X-Test=always|spared)\n"
    "[^=RegexVirus]\nShape:(@X-Test=shape)\n";

std::unique_ptr<TQMMSG> Load(const std::string& mail) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, kSections));
  const HeapText text(mail);
  m->loadFromBlock(text.view(), "", 1);
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

// A mail of these parts, each a header and a text behind it.
std::string Mixed(std::initializer_list<std::string> parts,
                  const std::string& header = "", const char* kind = "mixed") {
  std::string mail = "From: ann@example.org\nTo: bob@example.com\n" + header +
                     "Content-Type: multipart/" + kind +
                     "; boundary=b\n\n--b\n\nhello\n";
  for (const std::string& part : parts) mail += "--b\n" + part + "\n";
  return mail + "--b--\n";
}

std::string File(const std::string& name,
                 const std::string& type = "application/octet-stream") {
  return "Content-Type: " + type +
         "\nContent-Disposition: attachment; filename=\"" + name + "\"\n\nMZ";
}

// One that can stand inside of another.
const std::string kWorm =
    "From: ann@example.org\nTo: bob@example.com\n"
    "Content-Type: multipart/mixed; boundary=worm\n\n--worm\n" +
    File("a.txt.exe") + "\n--worm--\n";

TEST(VirusTest, OneAttachment) {
  // Disposition, name and type, then the result and the name that was judged.
  for (const TextRow& row :
       TextRows("attachment|a.scr|application/octet-stream => 2 a.scr\n"
                "ATTACHMENT|a.SCR|image/png => 1 a.SCR\n"
                "inline|a.doc|application/x-msdownload => 1 a.doc\n"
                "inline|a.doc| => 1 a.doc\n"
                "inline|a.doc|text/plain => 0 a.doc\n"
                "inline|a.xlt| application / MIXED => 2 a.xlt\n"
                "inline|a.txt|application/download => 0 a.txt\n"
                "inline|a.txt|image/png => -1 a.txt\n"
                "inline|a.txt|application => -1 a.txt\n"
                "inline|a.scr|octet-stream/application => 1 a.scr\n"
                "inline|a|application/mixed => 0 a\n"
                "form-data|a.scr| => 0 \n"
                "|a.scr| => 0 \n"
                "inline||application/mixed => 0 \n")) {
    const auto m = Load("\n");
    TBLOCK rest(row.input.c_str());
    BLOCKPART part;
    part.disposition = TBLOCK::BlockBeforeChar(rest, '|', 0, 0);
    part.displayName = TBLOCK::BlockBeforeChar(rest, '|', 0, 0);
    part.type = rest;
    const int32_t dot = part.displayName.findLastByte('.');
    if (dot >= 0)
      part.extension = part.displayName.from(static_cast<uint32_t>(dot) + 1);
    TBLOCK name("old");
    const int result = m->checkAttPart(&part, name);
    EXPECT_EQ(row.expected, std::to_string(result) + " " + Str(name))
        << row.input;
  }
}

TEST(VirusTest, Archives) {
  // A listing, then the result and the name that was judged.
  for (const TextRow& row :
       TextRows(" => 2 f.zip\n"
                "@f.zip: => 2 f.zip\n"
                "@f.zip:1a.txt => 0 f.zip\n"
                "@f.zip:1a.scr => 2 a.scr\n"
                "@f.zip:1a.xla => 2 a.xla\n"
                "@f.zip:1a.vbs => 1 a.vbs\n"
                "@f.zip:0a.VBS => 2 a.VBS\n"
                "@f.zip:1a.b.zip => 1 a.b.zip\n"
                "@f.zip:2a.zip => 1 a.zip\n"
                "@f.zip:1a.doc => 0 f.zip\n"
                "@f.zip:1zip => 0 f.zip\n"
                "@f.zip:1a. => 0 f.zip\n"
                "@f.zip:0 => 0 f.zip\n"
                // The last one decides.
                "@f.zip:1a.scr,1b.vbs => 1 b.vbs\n"
                "@f.zip:1b.vbs,1a.scr,1c.txt => 2 a.scr\n"
                "@f.zip:1a.scr,1b,1c,1d => 0 f.zip\n"
                // A program, a page and its folder.
                "@f.zip:1a.htm,0b.zip,1c.exe => 2 c.exe\n"
                "@f.zip:1c.exe,1a.html,0b.zip => 2 b.zip\n"
                "@f.zip:1c.exe,1a.htm,1b.zip => 1 b.zip\n"
                "@f.zip:1c.txt/,1a.htm,1b.txt => 0 f.zip\n")) {
    const auto m = Load("\n");
    BLOCKPART part;
    part.attachKind = akArchive;
    part.disposition = TBLOCK("attachment");
    part.displayName = TBLOCK("f.zip");
    part.type = TBLOCK("image/png");  // not looked at
    part.archiveText = row.input.c_str();
    TBLOCK name;
    const int result = m->checkAttPart(&part, name);
    EXPECT_EQ(row.expected, std::to_string(result) + " " + Str(name))
        << row.input;
  }
}

// With a program that no section names each of the three counts once.
TEST(VirusTest, ProgramPageAndFolder) {
  for (const TextRow& row :
       TextRows("1c.exe,1a.htm,1b.d/ => 2\n1c.EXE,1a.HTML,1b.d\\ => 2\n"
                // A folder is known by what stands behind a dot.
                "1c.exe,1a.htm,1b/ => 1\n1c.exe,1a.htm,1a.htm => 1\n"
                "1c.exe,1b.d/,1b.d/ => 1\n1a.htm,1b.d/ => 0\n")) {
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    ASSERT_TRUE(LoadSource(m.dico, "[$HiVirusExt]\nscr\n"));
    BLOCKPART part;
    part.attachKind = akArchive;
    part.disposition = TBLOCK("inline");
    part.displayName = TBLOCK("f.zip");
    part.archiveText = ("@f:" + row.input).c_str();
    TBLOCK name;
    EXPECT_EQ(row.expected, std::to_string(m.checkAttPart(&part, name)))
        << row.input;
  }
}

TEST(VirusTest, WhoIsAddressed) {
  for (const TextRow& row :
       TextRows("bob@example.com => Shape\n"
                " => Shape\n"
                "bob@example.com, ann@example.com => \n"
                "Bob <bob@example.com>, BOB <ann@example.com> => Shape\n"
                "Bob <bob@example.com>, ann@example.com => \n"
                "Bob <bob@example.com>, bo <bob@example.com> => \n"
                "BOB <bob@example.com> => Shape\n"
                "Bob Lee <bob@example.com> => \n"
                // Digits ahead of the core and all behind it don't count.
                "12bob34xyz <7Bob99x@example.com> => Shape\n"
                "12bo3b <bob@example.com> => \n"
                "x <7bob@example.com> => \n"
                "x <123@example.com> => Shape\n"
                "123 <bob@example.com> => \n"
                "Contact <joe@example.com> => Shape\n"
                "joe@example.com <JOE@example.com> => Shape\n"
                "joe@example.org <joe@example.com> => \n")) {
    const auto m = Load("X-Test: shape\nTo: " + row.input +
                        "\nContent-Type: multipart/mixed; boundary=b\n\n");
    EXPECT_EQ(!row.expected.empty(), m->checkVirusByHeader() != 0) << row.input;
    EXPECT_EQ(row.expected, Str(m->virusName.view())) << row.input;
  }
}

TEST(VirusTest, FormsOfMessages) {
  const std::string related = "Content-Type: multipart/related; ";
  const std::string body = "boundary=b\n\n--b\nContent-Type: ";
  const std::string zip = body + "application/zip\n\nx\n--b--\n";
  const struct {
    std::string mail;
    bool hit;
  } rows[] = {
      {"Content-Type: MULTIPART/MIXEDX\n\n", true},
      {"Content-Type: text/plain\n\n", false},
      {related + "type=\"multipart/alternative\"; boundary=b\n\n", true},
      {related + "type=multipart/alternative; boundary=b\n\n", false},
      {related + zip, true},
      {related + body + "text/plain\n\nx\n--b--\n", false},
      {"Content-Type: multipart/alternative; " + zip, true},
      {"Content-Type: multipart/report; " + zip, false},
      {"Content-Type: application/octet-stream\n\nx", true},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.hit ? "Shape: RegexVirus" : "",
              VirusIn("X-Test: shape\n" + row.mail))
        << row.mail;
    EXPECT_EQ("Always: RegexVirus", VirusIn("X-Test: always\n" + row.mail));
    EXPECT_EQ("", VirusIn("X-Test: spared\n" + row.mail));
  }
}

TEST(VirusTest, FileNames) {
  for (const TextRow& row :
       TextRows("a.txt.exe => unknown: double file extension\n"
                "a.JPEG.scr => unknown: double file extension\n"
                "a.b.exe => \n"
                "a.exe => \n"
                "a.exe.txt => \n"
                "a.b.c.htm.exe => unknown: double file extension\n"
                "a.abc   .exe => unknown: forged file extension\n"
                "a.abcd.  exe => unknown: forged file extension\n"
                "a.txt .exe => unknown: forged file extension\n"
                "a.abcde .exe => \n"
                "a.ab .exe => \n")) {
    EXPECT_EQ(row.expected, VirusIn(Mixed({File(row.input)}))) << row.input;
  }
  // A name without a verdict.
  EXPECT_EQ("not told: Certificat SSL", VirusIn(Mixed({File("a.crt.exe")})));
  const std::string other = File("b.dat"), worm = File("a.txt.exe");
  const std::string found = "unknown: double file extension";
  EXPECT_EQ(found, VirusIn(Mixed({other, worm})));
  EXPECT_EQ("", VirusIn(Mixed({other, worm, other})));
  EXPECT_EQ("", VirusIn(Mixed({worm}, "", "alternative")));
  EXPECT_EQ("Always: RegexVirus", VirusIn(Mixed({worm}, "X-Test: always\n")));
  // Only the first suspect one is looked at.
  EXPECT_EQ("", VirusIn(Mixed({File("b.exe"), worm})));
}

TEST(VirusTest, PartsThatTheReaderLoads) {
  const std::string id = "Content-ID: <X1@y>\n", png = "image/png; name=a.";
  const std::string program = "Content-Type: image/png; name=a.scr\n";
  const std::string html =
      "Content-Type: text/html\n\n<iframe src=\"cid:x1@Y\"></iframe>";
  const std::string other =
      "Content-Type: text/html\n\n<iframe src=\"cid:x1@Yz\"></iframe>";
  const std::string used = "unknown: HTML use file";
  const std::string hidden = "unknown: CID whitout content disposition";
  const std::string shown = "Content-Disposition: inline\n";
  const struct {
    std::string result, header, page, part;
  } rows[] = {
      {used, "", html, program + id},
      {used, "X-Mailer: Lotus Notes\n", html, program + id + shown},
      {"", "", html, program},
      {"", "", html, "Content-Type: image/png; name=a.png\n" + id},
      {hidden, "", other, program + id},
      {hidden, "", other, "Content-Type: image/png; name=a.doc\n" + id},
      {"", "", other, program + id + shown},
      {"", "X-Mailer: my LOTUS notes 5\n", other, program + id},
      {"", "X-Mailer: Microsoft Outlook, Build 11.0\n", other, program + id},
      {"", "X-Mailer: Microsoft Windows Mail 6\n", other, program + id},
      {hidden, "X-Mailer: Outlook\n", other, program + id},
      {"", "Subject: thread-topic\n", other, program + id},
      {"", "Thread-Topic: x\n", other, program + id},
  };
  for (const auto& row : rows)
    EXPECT_EQ(row.result,
              VirusIn(Mixed({row.page, row.part + "\nMZ"}, row.header)))
        << row.header << row.part;
}

TEST(VirusTest, ForwardedParts) {
  const std::string hit = "unknown: double file extension!";
  const std::string head = "Content-Type: message/rfc822\n\n";
  const std::string worm = head + kWorm, clean = head + "Subject: x\n\nx\n";
  const std::string eml = "Content-Type: text/plain; name=a.EML\n\n" + kWorm;
  EXPECT_EQ(hit, VirusIn(Mixed({worm})));
  EXPECT_EQ(hit, VirusIn(Mixed({eml}, "", "report")));
  EXPECT_EQ("", VirusIn(Mixed({"Content-Type: text/plain\n\n" + kWorm})));
  // The last one decides, and takes back what the others were found to be.
  EXPECT_EQ(hit, VirusIn(Mixed({clean, worm})));
  EXPECT_EQ("", VirusIn(Mixed({worm, clean})));
  // A part that is scanned in place of the message is left to that scan.
  const std::string place =
      "Content-Type: message/rfc822; name=message.txt\n\n" + kWorm;
  EXPECT_EQ(hit, VirusIn(Mixed({place})));
  std::string marked = Mixed({place});
  marked.replace(marked.find("hello"), 5, "<<message.txt>>");
  EXPECT_EQ("", VirusIn(marked));
  // The message itself is not one of its parts.
  EXPECT_EQ("", VirusIn("Content-Type: message/rfc822\n\n" + kWorm));
}

TEST(VirusTest, ForwardedTexts) {
  const std::string hit = "unknown: double file extension!";
  const std::string head = "Subject: failure\n\nIt failed.\n\n";
  for (int32_t i = 0; i < kForwardTextLines; i++) {
    const std::string line = _ForwardTextLines[i];
    EXPECT_EQ(hit, VirusIn(head + line + "\n" + kWorm)) << line;
    EXPECT_EQ("", VirusIn(head + line.substr(1) + "\n" + kWorm)) << line;
    EXPECT_EQ("", VirusIn(head + line));
  }
  const std::string first = std::string(_ForwardTextLines[0]) + "\n";
  const std::string last = std::string(_ForwardTextLines[3]) + "\n";
  // In any case, and each line in turn.
  EXPECT_EQ(hit, VirusIn(head + "-- ORIGINAL mail message --\n" + kWorm));
  EXPECT_EQ(hit, VirusIn(head + last + kWorm + first + "Subject: x\n\nx\n"));
  // Not in mail that has parts.
  EXPECT_EQ("", VirusIn(Mixed({File("b.dat")}) + first + kWorm));
}

// A copy of a multipart without its header; not where a line told of a copy.
TEST(VirusTest, ForwardedMultipart) {
  const std::string opening =
      "\r\nThis is a multi-part message in MIME format.\r\n";
  const std::string part = "X-Test: always\r\n\r\nx\r\n";
  const std::string hit = "Always: RegexVirus!";
  const std::string head = "Subject: failure\r\n\r\nIt failed.";
  EXPECT_EQ(hit, VirusIn(head + opening + "--b\r\n" + part));
  EXPECT_EQ(hit, VirusIn(head + opening + part));
  EXPECT_EQ("", VirusIn(head + opening + "-b\r\n\r\n" + part));
  EXPECT_EQ("", VirusIn(head + opening.substr(2) + "--b\r\n" + part));
  EXPECT_EQ("", VirusIn(head + _ForwardTextLines[1] + "\r\nSubject: x\r\n" +
                        opening + "--b\r\n" + part));
}

TEST(VirusTest, DepthAndNumberOfInnerMessages) {
  std::string nested = kWorm;
  for (int32_t depth = 1; depth <= kMaxScanDepth + 1; depth++) {
    nested = "Content-Type: multipart/digest; boundary=c" +
             std::to_string(depth) + "\n\n--c" + std::to_string(depth) +
             "\nContent-Type: message/rfc822\n\n" + nested + "\n--c" +
             std::to_string(depth) + "--\n";
    EXPECT_EQ(depth <= kMaxScanDepth, VirusIn(nested) != "") << depth;
  }
  const std::string head = "--b\nContent-Type: message/rfc822\n\n";
  std::string many = "Content-Type: multipart/digest; boundary=b\n\n";
  for (int32_t i = 1; i < kMaxInnerMessages; i++)
    many += head + "Subject: x\n\nx\n";
  const std::string worm = head + "X-Test: always\n\nx\n";
  EXPECT_NE("", VirusIn(many + worm + "--b--\n"));
  EXPECT_EQ("", VirusIn(many + head + "Subject: x\n\nx\n" + worm + "--b--\n"));

  // One budget for all depths: each of these has another one inside.
  const std::string pair = head +
                           "Content-Type: multipart/digest; boundary=c\n\n--c\n"
                           "Content-Type: message/rfc822\n\n\n--c--\n";
  many = "Content-Type: multipart/digest; boundary=b\n\n";
  for (int32_t i = 2; i < kMaxInnerMessages; i += 2) many += pair;
  EXPECT_NE("", VirusIn(many + worm + "--b--\n"));
  EXPECT_EQ("", VirusIn(many + pair + worm + "--b--\n"));
}

TEST(VirusTest, ExtensionsOfEachKindOfSection) {
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico,
                         "[$Hash]\nexe\n[#Wild]\na*\n*z\n*\n"
                         "[#Some]\na*\n*z\n[*Digest]\nexe\n"));
  for (const TextRow& row :
       TextRows("Hash exe => 1\nHash  EXE  => 1\nHash ex => 0\nWild x => 1\n"
                "Wild  => 0\nWild   => 0\nSome abc => 1\nSome bcZ => 1\nSome "
                "bc => 0\n"
                "Digest exe => 1\nDigest exx => 0\nNone exe => 0\n")) {
    const size_t blank = row.input.find(' ');
    const HeapText word(row.input.substr(blank + 1));
    EXPECT_EQ(row.expected,
              std::to_string(m.checkDicoExt(
                  word.view(), row.input.substr(0, blank).c_str())))
        << row.input;
  }
}

}  // namespace
