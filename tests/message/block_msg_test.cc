#include <gtest/gtest.h>

#include "dump/dump.h"
#include "message/short_mail.h"

namespace {

const std::string kMixed = "T:multipart/mixed;boundary=b~~";
const std::string kOther = "T:multipart/mixed;boundary=c~~";

struct Row {
  std::string mail;
  const char* dump;
};

// The dump without type, class and choices.
TEST(BlockMsgTest, SplitsMultiparts) {
  const Row rows[] = {
      // Preamble and text behind the closing line are dropped.
      {kMixed + "pre|T:a/b~~x~~--b--~behind~",
       "[noTerminator]{a/b 6[] size=1}"},
      // Blank lines behind it are none; typed text and files are parts.
      {"A:~" + kMixed + "|T:a/b~~x|~ \t~", "[]{a/b 6[] size=1}"},
      {kMixed + "||T:a/b~~x", "[]{a/b 6[] size=1}"},
      {kMixed + "|~begin 644 x~!",
       "[noTerminator]{- -1[attachment] display=x size=14}"},
      // An empty piece does not count for the missing blank line.
      {kMixed + "--b~--b~~a|", "[]{- -1[decoded] size=1}"},
      {kMixed + "--b~~a~--b", "[noBlankBeforeBoundary]{- -1[decoded] size=1}"},
      // Nothing in it, no body at all, and such a piece inside another.
      {kMixed + "This is a multi-part message in MIME format",
       "[decoded,mimePreamble]"
       "{multipart/mixed -1[decoded,mimePreamble] size=43}"},
      {kMixed, "[]"},
      {kMixed + "|" + kOther + "x|" + kOther + "y",
       "[noTerminator]{multipart/mixed -1[decoded] size=1}"},
      {"T:multipart/alternative;boundary=b~~|T:multipart/alternative;"
       "boundary=c~~--c~~x~~--c--|T:multipart/related;boundary=c~~--c~~y~~--c|",
       "[nestedAlternative]{- -1[decoded] size=1}{- -1[] size=1}"},
      {"T:multipart/related;charset=x;boundary=b~~|T:a~~a|T:multipart"
       "/alternative;boundary=c~~--c~T:a;charset=y~~b~~--c|",
       "[relatedChild]{a 6[] charset=x size=1}{a 6[] charset=y size=1}"}};
  for (const Row& row : rows) {
    std::string dump = DumpTree(ShortMail(row.mail).m);
    dump.erase(0, dump.find('['));
    const size_t choices = dump.find(" text=");
    dump.erase(choices, dump.find(" ", dump.find("embedded=")) + 1 - choices);
    EXPECT_EQ(row.dump, dump) << row.mail;
  }
}

// Places of text, HTML and embedded message.
TEST(BlockMsgTest, ChoosesTheBodies) {
  const std::string plain = "|T:text/plain~~p", html = "|T:text/html~~h";
  const std::string image = "|T:image/gif~~i", see = "<<Message.txt>>~ ~";
  const std::string fileP = "|D:attachment~T:a/plain~~p";
  const std::string fileH = "|D:attachment~T:text/html~~h";
  const Row rows[] = {
      {kMixed + html + plain, "10-"},
      {kMixed + "|D:attachment~T:text/plain~~x" + html, "-1-"},
      {kMixed + html + "|T:text/calendar~~x|", "10-"},
      {kMixed + image + "|" + kOther + "x|", "1--"},
      {kMixed + html + "|" + kOther + "x|", "-0-"},
      // An attachment when there is nothing else: the first one.
      {kMixed + fileH + fileP, "-0-"},
      {kMixed + fileP + fileH, "0--"},
      {"D:attachment~T:foo/bar~~x", "0--"},
      // HTML in disguise, right behind line ends.
      {"T:text/plain~~~~<!DocType x>", "-0-"},
      {"T:text/plain~~ <html>", "0--"},
      {kMixed + "|T:text/plain~~<HTML>" + html, "01-"},
      // A mail as a file that the text speaks of.
      {kMixed + plain + see + "|T:a/b; name=MESSAGE.txt~~x", "0-1"},
      {kMixed + plain + see + ".|T:a/b; name=message.txt~~x", "0--"},
      {kMixed + image + "|T:text/plain;name=message.txt~~" + see, "1--"}};
  for (const Row& row : rows) {
    const std::string dump = DumpTree(ShortMail(row.mail).m);
    std::string places;
    for (const char* label : {"text=", "html=", "embedded="})
      places += dump[dump.find(label) + strlen(label)];
    EXPECT_EQ(row.dump, places) << row.mail;
  }
}

TEST(BlockMsgTest, CollectsAndClears) {
  ShortMail mail(
      "T:multipart/report; report-type=x;boundary=b~~|T:text/plain; "
      "charset=Unicode~~ ~a~|~untyped|T:message/Delivery-Status~~S: 1|T:message"
      "/delivery-status~~S: 2|D:inline~~x|behind");
  BLOCKMSG& m = mail.m;
  EXPECT_EQ("x", Str(m.reportType));
  EXPECT_EQ("S: 1", Str(m.dsn.content));
  EXPECT_TRUE((m.flags & pfReport) && m.multipartType == 3);
  EXPECT_EQ(1, m.unicode);
  EXPECT_EQ("a", Str(m.textPart->decoded));
  EXPECT_EQ(" \r\na", Str(m.getTextBlock()));
  EXPECT_EQ(1, m.attachments.len());
  // Nothing is parsed anew until it is cleared.
  HeapText other("\r\n\xFF\xFEz");
  m.parse(other.view());
  EXPECT_EQ(5, m.parts.len());
  m.textPart->flags |= pfReserved;
  m.partLocate();
  EXPECT_EQ("untyped", Str(m.getTextBlock()));
  m.parts.purge(&m);
  EXPECT_EQ(nullptr, m.textPart);
  m.clear();
  EXPECT_EQ(0, m.parts.len() + m.attachments.len() + m.contentTypes.count());
  m.parse(other.view());
  EXPECT_EQ(&m, m.textPart);
  EXPECT_EQ(1, m.unicode);
}

TEST(BlockMsgTest, NestingAndNumberOfPartsAreLimited) {
  std::string nested, wide;
  for (int i = 0; i < 10000; i++) {
    const std::string b = "b" + std::to_string(i);
    nested += "T:multipart/x; boundary=" + b + "~--" + b + "~";
  }
  const ShortMail deep(nested);
  EXPECT_EQ(66, deep.m.contentTypes.count());
  EXPECT_NE(std::string::npos,
            DumpTree(deep.m).find("{multipart/x 0[badStruc"));

  for (int i = 0; i < 20000; i++) wide += "~x~--b~";
  const ShortMail many(kOther + "--c~" + kMixed + "--b~" + wide +
                       "~y~--c~~z~--c");
  ASSERT_EQ(kMaxParts, many.m.parts.len());
  OITER walk(&many.m.parts);
  const BLOCKPART* last = nullptr;
  while (const void* item = walk.next())
    last = static_cast<const BLOCKPART*>(item);
  EXPECT_EQ((20000u - kMaxParts + 1) * 10 + 1, last->content.length);
}

}  // namespace
