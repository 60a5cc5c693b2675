#include "message/block_part.h"

#include <gtest/gtest.h>

#include "message/short_mail.h"

namespace {

struct Row {
  const char *mail, *dump;
};

TEST(BlockPartTest, SplitsTheHeaderOff) {
  // "field|field|#body", and "!" for a broken header.
  const Row rows[] = {{"A: 1~B: 2~~body~", "A: 1|B: 2|#body\r\n"},
                      {"~A: 1~~body", "#A: 1\r\n\r\nbody"},
                      {"  ~ Received: x~~body~", "Received: x|#body"},
                      {"  ~ Sent: x~~body~", "Sent: x|#body\r\n"},
                      {"A: 1~--b~", "A: 1|#--b\r\n!"}};
  for (const Row& row : rows) {
    HeapText text(Expand(row.mail) + std::string(2, '\0'));
    BLOCKMSG m(nullptr);
    m.parseHeader(text.view());
    EXPECT_EQ(row.dump, Join(m.fields) + "#" + Str(m.content) +
                            (m.flags & pfBadStructure ? "!" : ""));
    EXPECT_EQ(m.content.length, m.rawLength);
    EXPECT_EQ(m.raw.length, m.header.length + m.content.length);
  }
}

TEST(BlockPartTest, FindsTheLastFieldOfAName) {
  const ShortMail mail(
      "X: \"a\" \"b\"~x: 1~XY: 2~X : 3~Y: '\"q\"'~Z: \"~O:~Content-Id: <b~end~"
      "A:b: 7");
  std::string found;
  for (const char* name : {"X", "xy", "Y", "Z", "O", "End", "A", "a:B"}) {
    TBLOCK value("old");
    found += std::to_string(mail.m.headerFieldIndex(name, value));
    found += Str(value) + " ";
  }
  EXPECT_EQ("11 22 4\"q\" 5\" 6 -1 9b: 7 97 ", found);
  EXPECT_EQ("<b", Str(mail.m.contentId));
  EXPECT_EQ("b", Str(ShortMail("Content-Id: a <b> c>").m.contentId));
}

// Class, (type)(charset)(boundary)(name)(file name), and what is wrong or
// said of the disposition: B pfBadStructure, U pfUnquotedFileName, A, I.
std::string Fields(const BLOCKPART& part) {
  std::string out = std::to_string(part.contentClass);
  for (const TBLOCK& view :
       {part.type, part.charset.name, part.boundary, part.name, part.fileName})
    out += "(" + Str(view) + ")";
  if (part.flags & pfBadStructure) out += "B";
  if (part.flags & pfUnquotedFileName) out += "U";
  return out + (part.flags & pfAttachment ? "A" : "") +
         (part.flags & pfInline ? "I" : "");
}

TEST(BlockPartTest, ReadsTypeAndDisposition) {
  const Row rows[] = {
      {"", "-1()()()()()"},
      {"T:text/plain; boundary=x", "1(text/plain)()(x)()()B"},
      {"T:multipart/mixed; boundary=\"\"", "0(multipart/mixed)()()()()B"},
      {"T:; boundary=x", "1()()(x)()()B"},
      // The parameter "type" counts only while the class is unknown.
      {"T:foo; type=\"image/x\"; type=text/x", "2(image/x)()()()()"},
      {"T:text/x; type=a; name=\"a;b\"; NAME = 'c' ;", "0(text/x)()()(c)()"},
      {"T:a; name=\"it's\"; x=\"'\"; charset=z", "6(a)(z)()(it's)()"},
      {"T:a; name=\"open; charset=z", "6(a)()()(\"open; charset=z)()"},
      {"T:a; charset=\"cp 1\" reply-type=x", "6(a)(cp 1)()()()"},
      {"T:a~D:ATTACHMENT; filename=\"x\"", "6(a)()()()(x)A"},
      {"T:a~D:inline;filename=x;", "6(a)()()()(x)UI"},
      {"T:a~D:attachments; size=1; filename=\"x\"", "6(a)()()()(x)U"},
      {"T:a~D:attachment; filename=\"x\"; filename=y", "6(a)()()()(y)A"}};
  for (const Row& row : rows)
    EXPECT_EQ(row.dump, Fields(ShortMail(row.mail).m)) << row.mail;
}

// Kind, file name, size of the body > what is left of it after decoding, B for
// verified base64, A for an attachment.
std::string Leaf(BLOCKPART& part) {
  part.decodeContent();
  std::string out = std::to_string(part.attachKind) + " ";
  if (part.imageKind)
    out += part.imageKind + std::to_string(part.width) + "x" +
           std::to_string(part.height) + " ";
  return out + Str(part.displayName) + " " + std::to_string(part.rawLength) +
         ">" + std::to_string(part.content.length) +
         (part.flags & pfBase64Checked ? "B" : "") +
         (part.flags & pfAttachment ? "A" : "");
}

TEST(BlockPartTest, LooksAtWhatALeafIs) {
  const Row rows[] = {
      // One bad byte in a line passes; two end what is decoded.
      {"E:~T:a~~QU!JD~ RA= =~", "0  13>4B"},
      {"E:~T:a~~QUJD~Q!!~", "0  9>6"},
      {"E:~~QUJD~", "0  4>3B"},
      {"E:~~R0lGODlhAgEDBAAA", "0 G258x1027  16>12B"},
      {"E:~~R0lGODlhAgED", "0 G0x0  12>9B"},
      {"E:~T:a; name=x.zip~~R0lGODlhAgED", "0 G0x0 x.zip 12>9B"},
      // Of an application only the start, but for archives and messages.
      {"E:~T:application/x~~%", "0  2000>768B"},
      {"E:~T:application/x; name=a.ZIP~~%", "1 a.ZIP 2000>1500B"},
      {"T:a; name=a.zip~~UEsDBBQA", "0 a.zip 8>8"},
      {"E:~T:a~D:x;filename=\"y.rar\"~~UmFyIRoH", "1 y.rar 8>6B"},
      {"E:~T:a; name=x~D:x;filename=\"y.pdf\"~~JVBERi0x", "2 x 8>6B"},
      {"E:~T:a; name=b.mp3~~TEFNRTMuOTk=", "3 b.mp3 12>8B"},
      {"E:~T:a; name=\"b. Html \"~~UEsDBBQA", "4 b. Html 8>6B"},
      // Uuencoded files: with a type, without one, without a name, with a mode
      // that is none, behind other text.
      {"T:text/x~~~begin 644,a.htm~!80``~`~end~", "4 a.htm 32>32A"},
      {"~~begin 644 a.htm~!80``~`~end~", "4 a.htm 34>1A"},
      {"~begin 7~!80``~`~end~", "0  24>1"},
      {"~ab~begin 644 x~!", "0  18>4"}};
  for (const Row& row : rows) {
    ShortMail mail(row.mail);
    EXPECT_EQ(row.dump, Leaf(mail.m)) << row.mail;
  }
}

TEST(BlockPartTest, FreedBase64IsBlankAndBytesOfBinaryFilesStay) {
  for (const char* name : {"zip", "pdf"}) {
    ShortMail mail("E:~T:application/x;charset=utf-8;name=x." +
                   std::string(name) + "~~gY2P~kJ3D~qcOp");
    EXPECT_EQ("gY2PkJ3DqcOp    ",
              Str(TBLOCK(mail.m.content.pointer, mail.m.rawLength)));
    EXPECT_EQ("\x81\x8D\x8F\x90\x9D\xC3\xA9\xC3\xA9",
              Str(mail.m.decodeContent()));
    EXPECT_TRUE(mail.m.contentStrPos("\xA9\xC3"));
    EXPECT_FALSE(mail.m.contentStrPos("\xA9\xE3"));
  }
}

}  // namespace
