// Messages that are expensive to read: headers, structure, encodings, archives
// and character sets. Used by structure_bench, which loads and parses them, and
// hostile_bench, which scans them.

#include <memory>
#include <string>

#include "bench_util.h"
#include "shapes.h"

namespace {

std::string Chars(const char* text, size_t n) {
  return std::string(text, n);
}

// A message whose text is in this character set.
std::string TextIn(const std::string& charset,
                   const std::string& encoding = "8bit") {
  return "Subject: x\nContent-Type: text/plain; charset=" + charset +
         "\nContent-Transfer-Encoding: " + encoding + "\n\n";
}

const std::string kMixed =
    "Subject: x\nContent-Type: multipart/mixed; boundary=b\n\n";

// A message with an attachment of that name. Its type is none of those of which
// only the first bytes are decoded.
std::string Attached(const std::string& name, const std::string& encoding) {
  return kMixed + "--b\n\ntext\n--b\nContent-Type: x/y\n" +
         "Content-Disposition: attachment; filename=\"" + name + "\"\n" +
         "Content-Transfer-Encoding: " + encoding + "\n\n";
}

std::string Base64(const std::string& bytes, size_t line) {
  BLOCK block(0, BLOCK::_DEFALLOCSIZE);
  block.add(bytes.data(), static_cast<uint32_t>(bytes.size()));
  const std::unique_ptr<BLOCK> coded(block.encode64());
  const std::string all(reinterpret_cast<char*>(coded->data), coded->length);
  std::string out;
  for (size_t i = 0; i < all.size(); i += line)
    out += all.substr(i, line) + "\r\n";
  return out;
}

// The attachment whose content this is, in base64 and n bytes in all.
std::string AttachedBase64(size_t n, const std::string& name,
                           const std::string& content) {
  const std::string head = Attached(name, "base64");
  return (head + Base64(content, 76)).substr(0, n - 8) + "\r\n--b--";
}

// A ZIP entry without data: "PK" 3 4 and the lengths of name and extra.
std::string ZipEntry(const std::string& name) {
  return "PK" +
         Chars("\3\4\24\0\0\0\10\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24) +
         static_cast<char>(name.size()) + Chars("\0\0\0", 3) + name;
}

// A RAR block of type 0x74 that holds a name and no data.
std::string RarEntry(const std::string& name) {
  std::string block = Chars("\0\0\x74\0\0", 5);
  block += static_cast<char>(32 + name.size());
  block += Chars("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\24\60", 20);
  block += static_cast<char>(name.size());
  return block + Chars("\0\0\0\0\0", 5) + name;
}

const std::string kRarHead =
    Chars("Rar!\x1A\7\0\0\0\x73\0\0\15\0\0\0\0\0\0\0", 20);

typedef size_t N;
typedef std::string S;

}  // namespace

const SHAPE kStructureShapes[] = {
    // ---- structure
    {"nested multiparts",
     [](N n) {
       return RepeatNumbered(
           n, "Subject: x\n",
           "Content-Type: multipart/mixed; boundary=b#\n\n--b#\n");
     }},
    {"nested, one boundary",
     [](N n) {
       return Repeat(n, "Subject: x\n",
                     "Content-Type: multipart/mixed; boundary=b\n\n--b\n");
     }},
    {"nested 60 deep, then pieces",
     [](N n) {
       S head = "Subject: x\n";
       for (int i = 0; i < 60; i++)
         head += "Content-Type: multipart/mixed; boundary=b" +
                 std::to_string(i) + "\n\n--b" + std::to_string(i) + "\n";
       return Repeat(n, head, "--b59\n\nx\n");
     }},
    {"nested 60 deep, then text",
     [](N n) {
       S head = "Subject: x\n";
       for (int i = 0; i < 60; i++)
         head += "Content-Type: multipart/mixed; boundary=b" +
                 std::to_string(i) + "\n\n--b" + std::to_string(i) + "\n";
       return Repeat(n, head, "--b5\n--b\n");
     }},
    {"nested alternatives",
     [](N n) {
       return RepeatNumbered(
           n, "Subject: x\n",
           "Content-Type: multipart/alternative; boundary=b#\n\n--b#\n\nx\n"
           "--b#\n");
     }},
    {"empty pieces", [](N n) { return Repeat(n, kMixed, "--b\n"); }},
    {"pieces with a type",
     [](N n) {
       return Repeat(n, kMixed, "--b\nContent-Type: text/plain\n\nx\n");
     }},
    {"pieces in HTML",
     [](N n) {
       return Repeat(n, kMixed, "--b\nContent-Type: text/html\n\n<p>x\n");
     }},
    {"attachments",
     [](N n) {
       return RepeatNumbered(
           n, kMixed,
           "--b\nContent-Disposition: attachment; filename=\"a#.zip\"\n\nx\n");
     }},
    {"pictures",
     [](N n) {
       return Repeat(n, kMixed,
                     "--b\nContent-Type: image/gif; name=a.gif\n"
                     "Content-Transfer-Encoding: base64\n\n"
                     "R0lGODlhAQABAIAAAAAAAP\n");
     }},
    {"messages as pieces",
     [](N n) {
       return Repeat(n, kMixed,
                     "--b\nContent-Type: message/rfc822\n\nSubject: x\n\nx\n");
     }},
    {"delivery reports",
     [](N n) {
       return Repeat(n,
                     "Content-Type: multipart/report; boundary=b\n\n--b\n"
                     "Content-Type: message/delivery-status\n\n",
                     "Final-Recipient: rfc822; a@b.c\nAction: failed\n"
                     "Status: 5.1.1\n\n");
     }},
    {"near boundaries",
     [](N n) { return Repeat(n, kMixed, "--a\n--\n--c --b\n"); }},
    // ---- header
    {"header fields", [](N n) { return Repeat(n, "", "a:\n", "\nx"); }},
    {"header fields, all different",
     [](N n) { return RepeatNumbered(n, "", "X-#: #\r\n", "\r\nx"); }},
    {"Subject fields",
     [](N n) { return Repeat(n, "", "Subject: x\n", "\nx"); }},
    {"Content-Type fields",
     [](N n) {
       return Repeat(n, "", "Content-Type: text/plain; charset=utf-8\n", "\nx");
     }},
    {"Received fields",
     [](N n) {
       return RepeatNumbered(n, "",
                             "Received: from a# (b [192.0.2.1]) by c; "
                             "Mon, 3 Mar 2008 10:00:00 +0100\n",
                             "\nx");
     }},
    {"one header line", [](N n) { return Repeat(n, "Subject: ", "a"); }},
    {"one header line of blanks",
     [](N n) { return Repeat(n, "Subject: x", " ", "x"); }},
    {"one header line of CR", [](N n) { return Repeat(n, "X: ", "a\r"); }},
    {"no colon anywhere", [](N n) { return Repeat(n, "", "a b c "); }},
    {"folded Subject",
     [](N n) { return Repeat(n, "Subject: x\n", " y\n", "\nx"); }},
    {"folded, CR LF and white lines",
     [](N n) { return Repeat(n, "Subject: x\r\n", " \r\n\t\r\n", "\r\nx"); }},
    {"From of commas", [](N n) { return Repeat(n, "From: ", "a@b.c, "); }},
    {"From of angles", [](N n) { return Repeat(n, "From: ", "<"); }},
    {"From of quotes", [](N n) { return Repeat(n, "From: ", "\"a\" "); }},
    {"From of comments", [](N n) { return Repeat(n, "From: ", "(a "); }},
    {"From of \"@\"", [](N n) { return Repeat(n, "From: ", "a@"); }},
    {"X-Mailer of words",
     [](N n) { return Repeat(n, "X-Mailer: ", "Mozilla 5.0 "); }},
    {"Content-Type, unclosed quote",
     [](N n) { return Repeat(n, "Content-Type: text/plain; name=\"", "a; "); }},
    {"Content-Type, many quotes",
     [](N n) { return Repeat(n, "Content-Type: text/plain; ", "a=\"\\\"; "); }},
    {"Content-Type of parameters",
     [](N n) {
       return Repeat(n, "Content-Type: multipart/mixed; ",
                     "name=a; boundary=b; charset=c; ");
     }},
    {"Content-Type of semicolons",
     [](N n) { return Repeat(n, "Content-Type: ", ";"); }},
    {"file names",
     [](N n) {
       return Repeat(n, "Content-Disposition: attachment; ", "filename=a; ");
     }},
    // ---- dates
    {"Date, unclosed comments",
     [](N n) { return Repeat(n, "Date: Mon ", "("); }},
    {"Date, one long comment",
     [](N n) { return Repeat(n, "Date: (", "EST a "); }},
    {"Date of comments", [](N n) { return Repeat(n, "Date: ", "(EST) "); }},
    {"Date of words",
     [](N n) { return Repeat(n, "Date: ", "Mon Eastern Daylight Time "); }},
    {"Date of numbers", [](N n) { return Repeat(n, "Date: ", "1 99 2008 "); }},
    {"Date of times",
     [](N n) { return Repeat(n, "Date: ", "10:00:00 +01:00 "); }},
    {"Date, one long word", [](N n) { return Repeat(n, "Date: ", "1-"); }},
    // ---- encoded words
    {"unclosed encoded words",
     [](N n) { return Repeat(n, "Subject: ", "=?"); }},
    {"encoded words without text",
     [](N n) { return Repeat(n, "Subject: ", "=?utf-8?q?"); }},
    {"half-closed encoded words",
     [](N n) { return Repeat(n, "Subject: ", "=?utf-8?q", "?="); }},
    {"encoded words, q",
     [](N n) { return Repeat(n, "Subject: ", "=?utf-8?q?=C3=A4_b?= "); }},
    {"encoded words, b",
     [](N n) { return Repeat(n, "From: ", "=?koi8-r?b?w8fT?= "); }},
    {"encoded words, no known set",
     [](N n) { return Repeat(n, "Subject: ", "=?none?x?a?="); }},
    {"tags in the Subject",
     [](N n) { return Repeat(n, "Subject: ", "[spam]"); }},
    {"words in the Subject",
     [](N n) { return Repeat(n, "Subject: ", "spam: *** {spam?} "); }},
    {"open tags in the Subject",
     [](N n) { return Repeat(n, "Subject: ", "["); }},
    {"Re: in the Subject", [](N n) { return Repeat(n, "Subject: ", "Re: "); }},
    // ---- transfer encodings
    {"base64 body",
     [](N n) {
       return Repeat(n, TextIn("utf-8", "base64"),
                     "YWJjZGVmZ2hpamtsbW5vcHFy\n");
     }},
    {"base64 part, one line",
     [](N n) { return Repeat(n, Attached("a.txt", "base64"), "YWJj"); }},
    {"base64 part, one byte a line",
     [](N n) { return Repeat(n, Attached("a.txt", "base64"), "Y\n"); }},
    {"base64 part, wrong bytes",
     [](N n) {
       return Repeat(n, Attached("a.txt", "base64"), "=?YW\x80JjZ==\n");
     }},
    {"quoted-printable body",
     [](N n) {
       return Repeat(n, TextIn("utf-8", "quoted-printable"),
                     "=C3=A4=3D=\r\n=E9 =\n");
     }},
    {"uuencoded, lying lengths",
     [](N n) {
       return Repeat(n, "Subject: x\n\nbegin 644 a.txt\n", "~!\nM\n");
     }},
    {"uuencoded, honest",
     [](N n) {
       return Repeat(n, "Subject: x\n\nbegin 644 a.txt\r\n", "#86)C\r\n",
                     "`\r\nend\r\n");
     }},
    {"uuencoded files",
     [](N n) {
       return Repeat(n, "Subject: x\n\n", "begin 644 a\n#86)C\n`\nend\n");
     }},
    {"uuencoded, unfinished files",
     [](N n) { return Repeat(n, "Subject: x\n\n", "begin 644 a\n"); }},
    // ---- attachments
    {"PDF objects",
     [](N n) {
       return RepeatNumbered(
           n, Attached("a.pdf", "8bit") + "%PDF-1.4\n",
           "# 0 obj\n<< /Type /Page >>\nstream\nx\nendstream\nendobj\n");
     }},
    {"PDF objects without an end",
     [](N n) {
       return RepeatNumbered(n, Attached("a.pdf", "8bit") + "%PDF-1.4\n",
                             "# 0 obj\n<<\n");
     }},
    {"PDF of numbers",
     [](N n) {
       return Repeat(n, Attached("a.pdf", "8bit") + "%PDF-1.4\n", "1 ");
     }},
    {"PDF objects in base64",
     [](N n) {
       return AttachedBase64(n, "a.pdf",
                             RepeatNumbered(n, "%PDF-1.4\n", "# 0 obj\n<<\n"));
     }},
    {"ZIP entries",
     [](N n) {
       return AttachedBase64(n, "a.zip", Repeat(n, "", ZipEntry("a,b.exe")));
     }},
    {"ZIP of spanned marks",
     [](N n) { return AttachedBase64(n, "a.zip", Repeat(n, "", "PK00")); }},
    {"RAR entries",
     [](N n) {
       return AttachedBase64(n, "a.rar",
                             Repeat(n, kRarHead, RarEntry("a,b.exe")));
     }},
    {"RAR entries, names of commas",
     [](N n) {
       return AttachedBase64(n, "a.rar",
                             Repeat(n, kRarHead, RarEntry(S(200, ','))));
     }},
    {"RAR blocks",
     [](N n) {
       return AttachedBase64(n, "a.rar",
                             Repeat(n, kRarHead, Chars("\0\0\x73\0\0\7\0", 7)));
     }},
    {"MP3 without a frame",
     [](N n) {
       return AttachedBase64(n, "a.mp3",
                             Repeat(n, "LAME3.99", Chars("\xFF\0", 2)));
     }},
    {"JPEG segments",
     [](N n) {
       return AttachedBase64(
           n, "a.jpg",
           Repeat(n, Chars("\xFF\xD8", 2), Chars("\xFF\xE0\0\2", 4)));
     }},
    {"PNG",
     [](N n) {
       return AttachedBase64(
           n, "a.png",
           Repeat(n, Chars("\x89PNG\r\n\x1A\n\0\0\0\15IHDR", 16), "a"));
     }},
    // ---- bodies
    {"dash rulers", [](N n) { return Repeat(n, "Subject: x\n\n", "-----\n"); }},
    {"dash rulers and \"virus\"",
     [](N n) { return Repeat(n, "Subject: x\n\n", "-- virus\n"); }},
    {"short lines", [](N n) { return Repeat(n, "Subject: x\n\n", "a\n"); }},
    {"blank lines", [](N n) { return Repeat(n, "Subject: x\n\n", "\n", "x"); }},
    {"lines with names",
     [](N n) { return Repeat(n, "Subject: x\n\n", "Name: x\n"); }},
    {"quoted lines",
     [](N n) { return Repeat(n, "Subject: x\n\n", "> On x, y wrote:\n"); }},
    {"one line", [](N n) { return Repeat(n, "Subject: x\n\n", "ab "); }},
    {"bytes of 0",
     [](N n) { return Repeat(n, "Subject: x\n\n", Chars("\0a", 2)); }},
    {"HTML tags",
     [](N n) {
       return Repeat(n, "Content-Type: text/html\n\n", "<a href=x>y<table>");
     }},
    {"open angles",
     [](N n) { return Repeat(n, "Content-Type: text/html\n\n", "<"); }},
    {"open HTML comments",
     [](N n) { return Repeat(n, "Content-Type: text/html\n\n", "<!-- "); }},
    {"HTML in plain text",
     [](N n) { return Repeat(n, "Subject: x\n\n", "<html><body>"); }},
    // ---- character sets
    {"UTF-8",
     [](N n) { return Repeat(n, TextIn("utf-8"), "\xC3\xA4\xE3\x81\x82"); }},
    {"UTF-8, cut sequences",
     [](N n) { return Repeat(n, TextIn("utf-8"), "\xFC\xE3\x81\xC3"); }},
    {"UTF-7", [](N n) { return Repeat(n, TextIn("utf-7"), "+AOQ-a"); }},
    {"UTF-7, never closed",
     [](N n) { return Repeat(n, TextIn("utf-7") + "+", "AOQA5ADk"); }},
    {"UTF-7 of \"+\"", [](N n) { return Repeat(n, TextIn("utf-7"), "+"); }},
    {"ISO-2022-JP",
     [](N n) {
       return Repeat(n, TextIn("iso-2022-jp"), "\x1B$B$\"$$\x1B(B a");
     }},
    {"ISO-2022-JP of escapes",
     [](N n) { return Repeat(n, TextIn("iso-2022-jp"), "\x1B"); }},
    {"ISO-2022 without a name",
     [](N n) { return Repeat(n, "Subject: x\n\n", "\x1B$B$\"\x1B(B\n"); }},
    {"Big5", [](N n) { return Repeat(n, TextIn("big5"), "\xA4\xA4\xA4\xE5"); }},
    {"EUC-JP",
     [](N n) { return Repeat(n, TextIn("euc-jp"), "\xA4\xA2\x8E\xB1"); }},
    {"GB2312 of lead bytes",
     [](N n) { return Repeat(n, TextIn("gb2312"), "\xB0"); }},
    {"KOI8-R",
     [](N n) { return Repeat(n, TextIn("koi8-r"), "\xC1\xC2\xC3 "); }},
    {"Windows-1251",
     [](N n) { return Repeat(n, TextIn("windows-1251"), "\xE0\xE1\xE2 "); }},
    {"unknown set", [](N n) { return Repeat(n, TextIn("x-none"), "\xE0 "); }},
};
const size_t kStructureShapeCount =
    sizeof kStructureShapes / sizeof *kStructureShapes;
