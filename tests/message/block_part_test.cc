#include "message/block_part.h"

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "dump/dump.h"

namespace {

// A leaf, which a message does not let us make.
class Part : public BLOCKPART {
 public:
  Part() {}
};

// "field|field|...#body", and "!" for a broken header.
std::string Dump(const BLOCKPART& part) {
  return Join(part.fields) + "#" + Str(part.content) +
         (part.flags & pfBadStructure ? "!" : "");
}

TEST(BlockPartTest, SplitsTheHeaderOff) {
  struct Row {
    std::string text;
    const char* dump;
  };
  const Row rows[] = {
      {"A: 1\r\nB: 2\r\n\r\nbody\r\n", "A: 1|B: 2|#body\r\n"},
      {"", "#"},
      {"\r\nA: 1\r\n\r\nbody", "#A: 1\r\n\r\nbody"},
      {"  \r\n Received: x\r\n\r\nbody\r\n", "Received: x|#body"},
      {"  \r\n Sent: x\r\n\r\nbody\r\n", "Sent: x|#body\r\n"},
      {"A: 1\r\n--b\r\n", "A: 1|#--b\r\n!"},
      {"A: 1\r\nThis is a Multipart message\r\n",
       "A: 1|#This is a Multipart message\r\n!"},
      {"A: 1\r\n\tmore\r\n\r\n", "A: 1 more|#"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    HeapText text(row.text);
    Part part;
    part.parseHeader(text.view());
    EXPECT_EQ(row.dump, Dump(part));
    EXPECT_EQ(part.content.length, part.rawLength);
    EXPECT_EQ(part.raw.length, part.header.length + part.content.length);
  }
}

TEST(BlockPartTest, FindsTheLastFieldOfAName) {
  HeapText text(
      "X: \"a\" \"b\"\r\nx: 1\r\nXY: 2\r\nX : 3\r\nY: '\"q\"'\r\nZ: \"\r\n"
      "E:\r\nContent-Id: a <b> c>\r\nEnd");
  Part part;
  part.parseHeader(text.view());
  struct Row {
    const char* name;
    int32_t index;
    const char* value;
  };
  const Row rows[] = {
      {"X", 1, "1"}, {"xy", 2, "2"},  {"Y", 4, "\"q\""}, {"Z", 5, "\""},
      {"E", 6, ""},  {"End", -1, ""}, {"", -1, ""},
  };
  for (const Row& row : rows) {
    TBLOCK value("old");
    EXPECT_EQ(row.index, part.headerFieldIndex(row.name, value)) << row.name;
    EXPECT_EQ(row.value, Str(value)) << row.name;
  }
  EXPECT_EQ("b", Str(part.contentId));
}

// What the fields make of a part, as "class type charset boundary name
// file flags", each in brackets.
std::string Fields(const BLOCKPART& part) {
  std::string out = std::to_string(part.contentClass);
  for (const TBLOCK& view :
       {part.type, part.charset.name, part.boundary, part.name, part.fileName})
    out += "(" + Str(view) + ")";
  if (part.flags & pfBadStructure) out += "B";
  if (part.flags & pfAttachment) out += "A";
  if (part.flags & pfInline) out += "I";
  if (part.flags & pfUnquotedFileName) out += "U";
  return out;
}

TEST(BlockPartTest, ReadsTypeAndDisposition) {
  struct Row {
    const char* type;
    const char* disposition;
    const char* dump;
  };
  const Row rows[] = {
      {"", "", "-1()()()()()"},
      {"text/plain; boundary=x", "", "1(text/plain)()(x)()()B"},
      {"multipart/mixed", "", "0(multipart/mixed)()()()()B"},
      {"multipart/mixed; boundary=\"\"", "", "0(multipart/mixed)()()()()B"},
      {"foo/HTML", "", "0(foo/HTML)()()()()"},
      {"; boundary=x", "", "1()()(x)()()B"},
      // The parameter "type" counts only while the class is unknown.
      {"foo; type=\"image/gif\"; type=text/x", "", "2(image/gif)()()()()"},
      {"text/x; type=a/b; name=\"a;b\"; NAME = 'c' ;", "",
       "0(text/x)()()(c)()"},
      {"text/x; name=\"it's\"; name2=y; x=\"'\"; charset=z", "",
       "0(text/x)(z)()(it's)()"},
      {"text/x; name=\"open; charset=z", "",
       "0(text/x)()()(\"open; charset=z)()"},
      {"a; charset=\"cp 1\" reply-type=x", "", "6(a)(cp 1)()()()"},
      {"a; charset=utf-8 (x)", "", "6(a)(utf-8)()()()"},
      {"a; charset= '\"b\"'", "", "6(a)(b)()()()"},
      {"a; charset=\"b c", "", "6(a)(\"b c)()()()"},
      {"a", "ATTACHMENT; filename=\"x\"", "6(a)()()()(x)A"},
      {"a", "inline;filename=x;", "6(a)()()()(x)IU"},
      {"a", "attachments; size=1; filename=\"x\"", "6(a)()()()(x)U"},
      {"a", "attachment; filename=\"x\"; filename=y", "6(a)()()()(y)A"},
      {"a", "attachment;", "6(a)()()()()A"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.type) + " # " + row.disposition);
    HeapText text("Content-Type: " + std::string(row.type) +
                  "\r\nContent-Disposition: " + row.disposition + "\r\n\r\n");
    Part part;
    part.parseHeader(text.view());
    EXPECT_EQ(row.dump, Fields(part));
  }
}

std::string Repeat(const std::string& piece, int n) {
  std::string out;
  while (n-- > 0) out += piece;
  return out;
}

// What a leaf is found to be, and what is left of it after decoding.
TEST(BlockPartTest, LooksAtWhatALeafIs) {
  const std::string base64 = "Content-Transfer-Encoding: Base64\r\n";
  const std::string zip = base64 + "Content-Type: application/x; name=a.ZIP";
  const std::string uu = "begin 644 a.htm\r\n#86)C\r\n`\r\nend\r\n";
  struct Row {
    const char* title;
    std::string text;
    const char* dump;  // from the flags on
  };
  const Row rows[] = {
      {"compacted; a single bad byte in a line passes",
       base64 + "Content-Type: a\r\n\r\nQU!JD\r\n RA= =\r\n",
       "[decoded,base64Checked] encoding=Base64 size=13>4"},
      {"two bad bytes: not base64, and only decoded up to the bad line",
       base64 + "Content-Type: a\r\n\r\nQUJD\r\nQ!!\r\n",
       "[decoded] encoding=Base64 size=9>6"},
      {"no type: decoded all the same", base64 + "\r\nQUJD\r\n",
       "[decoded,base64Checked] encoding=Base64"
       " size=4>3"},
      {"GIF of 258 by 1027",
       base64 + "Content-Type: image/gif\r\n\r\nR0lGODlhAgEDBAAA\r\n",
       "[decoded,base64Checked] encoding=Base64 image=G258x1027 size=16>12"},
      {"GIF cut inside its size",
       base64 + "Content-Type: image/gif\r\n\r\nR0lGODlhAgED\r\n",
       "[decoded,base64Checked] encoding=Base64 image=G0x0 size=12>9"},
      {"an archive is decoded whole", zip + "\r\n\r\n" + Repeat("AAAA", 500),
       "[decoded,base64Checked] encoding=Base64 name=a.ZIP display=a.ZIP"
       " kind=1 size=2000>1500"},
      {"an application only at its start",
       base64 + "Content-Type: application/x\r\n\r\n" + Repeat("AAAA", 500),
       "[decoded,base64Checked] encoding=Base64 size=2000>768"},
      {"but not a message",
       base64 + "Content-Type: application/x; name=x.eml\r\n\r\n" +
           Repeat("AAAA", 500),
       "[decoded,base64Checked] encoding=Base64 name=x.eml display=x.eml"
       " size=2000>1500"},
      {"a name alone makes no archive",
       "Content-Type: a; name=a.zip\r\n\r\nUEsDBBQA",
       "[decoded] name=a.zip display=a.zip size=8"},
      {"RAR under another name, the file name as a fallback",
       base64 + "Content-Type: a\r\nContent-Disposition: x;filename=\"y.rar\""
                "\r\n\r\nUmFyIRoH",
       "[decoded,base64Checked] encoding=Base64 filename=y.rar display=y.rar"
       " kind=1 size=8>6"},
      {"MP3 needs the name as well",
       base64 + "Content-Type: a; name=b.mp3\r\n\r\nTEFNRTMuOTk=",
       "[decoded,base64Checked] encoding=Base64 name=b.mp3 display=b.mp3"
       " kind=3 size=12>8"},
      {"the name has the last word",
       base64 + "Content-Type: a; name=\"b. Html \"\r\n\r\nUEsDBBQA",
       "[decoded,base64Checked] encoding=Base64 name=b. Html display=b. Html"
       " kind=4 size=8>6"},
      {"a uuencoded file that has a name, below a type",
       "Content-Type: text/x\r\n\r\n\r\n\n" + uu,
       "[attachment,decoded] display=a.htm kind=4 size=33"},
      {"without a type it is decoded", "\r\n\n" + uu,
       "[attachment,decoded] display=a.htm kind=4 size=33>3"},
      {"without a name it is no attachment",
       "\r\nbegin 7\r\n#86)C\r\n`\r\nend\r\n", "[decoded] size=24>3"},
      {"the mode is octal", "\r\nbegin 648 a\r\n#86)C\r\n",
       "[decoded] size=20"},
      {"the text ahead of a uuencoded file stays", "\r\nab\r\nbegin 644 x\r\n!",
       "[decoded] size=18>4"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    HeapText text(row.text);
    BLOCKMSG m(nullptr);
    m.parse(text.view());
    m.decodeContent();
    const std::string dump = DumpTree(m);
    const size_t part = dump.find('{');
    ASSERT_NE(std::string::npos, part);
    const size_t flags = dump.find('[', part);
    EXPECT_EQ(std::string(row.dump) + "}", dump.substr(flags));
    // What the message as a whole reads must not have changed its length.
    EXPECT_EQ(m.raw.length, m.header.length + m.rawLength);
  }
}

TEST(BlockPartTest, FreedBase64IsBlankAndBytesOfBinaryFilesStay) {
  HeapText text(
      "Content-Transfer-Encoding: base64\r\n"
      "Content-Type: application/x; name=a.zip; charset=utf-8\r\n\r\n"
      "gY2P\r\nkJ3D\r\nqcOp");
  BLOCKMSG m(nullptr);
  m.parse(text.view());
  EXPECT_EQ("gY2PkJ3DqcOp    ", Str(TBLOCK(m.content.pointer, m.rawLength)));
  EXPECT_EQ("\x81\x8D\x8F\x90\x9D\xC3\xA9\xC3\xA9", Str(m.decodeContent()));
  EXPECT_TRUE(m.contentStrPos("\xA9\xC3"));
  EXPECT_FALSE(m.contentStrPos("\xA9\xC2"));
}

}  // namespace
