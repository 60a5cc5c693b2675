#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "dump/dump.h"
#include "message/block_part.h"

namespace {

// A message of one multipart with the boundary "b"; a line of `body` that is
// "--" becomes a boundary line.
std::string Multipart(const std::string& type, const std::string& body) {
  std::string out = "Content-Type: " + type + "; boundary=b\r\n\r\n";
  for (size_t at = 0; at < body.size(); at++)
    out += body[at] == '|' ? "\r\n\r\n--b\r\n" : std::string(1, body[at]);
  return out;
}

std::string Typed(const std::string& type, const std::string& body) {
  return "Content-Type: " + type + "\r\n\r\n" + body;
}

TEST(BlockMsgTest, SplitsMultiparts) {
  const std::string mixed = "multipart/mixed";
  const std::string alternative = "multipart/alternative";
  struct Row {
    const char* title;
    std::string text;
    const char* dump;
  };
  const Row rows[] = {
      {"preamble and text behind the closing line are dropped",
       Multipart(mixed, "pre|" + Typed("text/plain", "a") +
                            "\r\n\r\n--b--\r\nepilogue\r\n"),
       "multipart/mixed 1[noTerminator] text=0 html=- embedded=- "
       "{text/plain 0[decoded] size=1}"},
      {"blank lines behind it are none; the last boundary may be missing",
       Multipart(mixed, "|" + Typed("text/html", "a") + "|\r\n \t\r\n"),
       "multipart/mixed 1[] text=- html=0 embedded=- "
       "{text/html 0[decoded] size=1}"},
      {"typed text behind the closing line is a part",
       Multipart(mixed, "||" + Typed("a/b", "x") + "\r\n"),
       "multipart/mixed 1[] text=- html=- embedded=- {a/b 6[] size=1}"},
      {"so is a uuencoded file", Multipart(mixed, "|\r\nbegin 644 x\r\n!\r\n"),
       "multipart/mixed 1[noTerminator] text=- html=- embedded=- "
       "{- -1[attachment] display=x size=14}"},
      {"no blank line ahead of the boundary; an empty piece does not count",
       Multipart(mixed, "\r\n--b\r\n--b\r\n\r\nx\r\n--b--\r\n"),
       "multipart/mixed 1[noBlankBeforeBoundary] text=0 html=- embedded=- "
       "{- -1[decoded] size=1}"},
      {"nothing in it: text",
       Multipart(mixed, "This is a multi-part message in MIME format\r\n"),
       "multipart/mixed -1[decoded,mimePreamble] text=0 html=- embedded=- "
       "{multipart/mixed -1[decoded,mimePreamble] size=43}"},
      {"no body at all", Multipart(mixed, ""),
       "multipart/mixed 1[] text=- html=- embedded=- "},
      {"an empty multipart inside: a leaf without a class",
       Multipart(mixed, "|" + Typed(mixed + ";boundary=c", "x") + "|"),
       "multipart/mixed 1[] text=0 html=- embedded=- "
       "{multipart/mixed -1[decoded] size=1}"},
      {"related and nested alternatives",
       Multipart(alternative,
                 "|" +
                     Typed(alternative + "; boundary=c",
                           "--c\r\n\r\nx\r\n\r\n--c--") +
                     "|" +
                     Typed("multipart/related; boundary=c",
                           "--c\r\nContent-Type: text/html; charset=l\r\n\r\ny"
                           "\r\n--c--") +
                     "|"),
       "multipart/alternative 1[nestedAlternative,noBlankBeforeBoundary] text=0"
       " html=1 embedded=- {- -1[decoded] size=1}{text/html 0[decoded] "
       "charset=l size=1}"},
      {"the charset of the message is that of parts without one",
       Multipart("multipart/related; charset=x",
                 "|" + Typed("text/plain", "a") + "|" +
                     Typed("text/html; charset=y", "b") + "|"),
       "multipart/related 1[relatedChild] text=0 html=1 embedded=- "
       "{text/plain 0[decoded] charset=x size=1}"
       "{text/html 0[decoded] charset=y size=1}"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    HeapText text(row.text);
    BLOCKMSG m(nullptr);
    m.parse(text.view());
    EXPECT_EQ(row.dump, DumpTree(m));
  }
}

// One letter a part: what it is taken for, by its place.
TEST(BlockMsgTest, ChoosesTheBodies) {
  const char attached[] = "\r\nContent-Disposition: attachment";
  const std::string plain = Typed("text/plain", "p"),
                    html = Typed("text/html", "h");
  const std::string fileP = Typed(std::string("a/plain") + attached, "p");
  const std::string fileH = Typed(std::string("text/html") + attached, "h");
  const std::string image = Typed("image/gif", "i");
  const std::string mixed = "multipart/mixed";
  const auto parts = [&](const std::string& a, const std::string& b) {
    return Multipart(mixed, "|" + a + "|" + b + "|");
  };
  struct Row {
    const char* title;
    std::string text;
    const char* choice;
  };
  const Row rows[] = {
      {"plain and HTML", parts(html, plain), "text=1 html=0 embedded=-"},
      {"a plain attachment is no text",
       parts(Typed(std::string("text/plain") + attached, "x"), html),
       "text=- html=1 embedded=-"},
      {"other text next to HTML", parts(html, Typed("text/calendar", "x")),
       "text=1 html=0 embedded=-"},
      {"a part without type next to HTML", parts(html, "\r\nx"),
       "text=1 html=0 embedded=-"},
      {"a multipart without pieces",
       parts(image, Typed(mixed + ";boundary=c", "x")),
       "text=1 html=- embedded=-"},
      {"but not next to HTML", parts(html, Typed(mixed + ";boundary=c", "x")),
       "text=- html=0 embedded=-"},
      {"an attachment when there is nothing else: the first",
       parts(fileH, fileP), "text=- html=0 embedded=-"},
      {"in their order", parts(fileP, fileH), "text=0 html=- embedded=-"},
      {"nothing", parts(image, image), "text=- html=- embedded=-"},
      {"a single part of no known class, even attached",
       Typed(std::string("foo/bar") + attached, "x"),
       "text=0 html=- embedded=-"},
      {"a single image", image, "text=- html=- embedded=-"},
      {"HTML in disguise", Typed("text/plain", "\r\n\r\n<!DocType x>"),
       "text=- html=0 embedded=-"},
      {"only behind line ends", Typed("text/plain", " <html>"),
       "text=0 html=- embedded=-"},
      {"a mail as a file",
       parts(Typed("text/plain", "see <<Message.txt>>\r\n."), image),
       "text=0 html=- embedded=-"},
      {"a mail as a file",
       parts(Typed("text/plain", "see <<Message.txt>>"),
             Typed("a/b; name=MESSAGE.txt", "x")),
       "text=0 html=- embedded=1"},
      {"named otherwise",
       parts(Typed("text/plain", "<<message.txt>>"),
             Typed("a/b; name=message2.txt", "x")),
       "text=0 html=- embedded=-"},
      {"the other way round",
       parts(Typed("a/b; name=message.txt", "x"),
             Typed("text/plain", "<<message.txt>>")),
       "text=1 html=- embedded=-"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.title);
    HeapText text(row.text);
    BLOCKMSG m(nullptr);
    m.parse(text.view());
    const std::string dump = DumpTree(m);
    const size_t at = dump.find("text=");
    EXPECT_EQ(row.choice, dump.substr(at, dump.find(" {") - at)) << dump;
    EXPECT_EQ(m.textPart ? Str(m.textPart->content) : "",
              Str(m.getTextBlock()));
    EXPECT_EQ(m.htmlPart ? Str(m.htmlPart->content) : "",
              Str(m.getHtmlBlock()));
  }
}

TEST(BlockMsgTest, CollectsReportsAttachmentsAndTypes) {
  HeapText text(
      Multipart("multipart/report; report-type=x",
                "|" + Typed("text/plain; charset=Unicode", " \r\na\r\n") +
                    "|\r\nuntyped|" + Typed("message/Delivery-Status", "S: 1") +
                    "|" + Typed("message/delivery-status", "S: 2") +
                    "|Content-Disposition: inline\r\n\r\nx|epilogue"));
  BLOCKMSG m(nullptr);
  m.parse(text.view());
  EXPECT_EQ("x", Str(m.reportType));
  EXPECT_NE(0u, m.flags & pfReport);
  EXPECT_EQ("S: 1", Str(m.dsn.content));
  EXPECT_EQ(3, m.multipartType);
  EXPECT_EQ(1, m.unicode);
  EXPECT_EQ("a", Str(m.textPart->decoded));
  ASSERT_EQ(1, m.attachments.len());
  EXPECT_EQ(m.parts.first->next->next->next->next->item,
            m.attachments.first->item);
  EXPECT_EQ(
      "multipart/report|text/plain||message/Delivery-Status|"
      "message/delivery-status|||",
      Join(m.contentTypes));
}

TEST(BlockMsgTest, ASecondParseWaitsForClear) {
  HeapText first(Multipart("multipart/mixed", "|\r\n1|\r\n2|") +
                 std::string(3, '\0'));
  HeapText second("\xFF\xFEz");
  BLOCKMSG m(nullptr);
  m.parse(first.view());
  m.parse(second.view());
  EXPECT_EQ(2, m.parts.len());
  EXPECT_EQ("1", Str(m.getTextBlock()));
  m.clear();
  EXPECT_EQ(0, m.parts.len());
  EXPECT_EQ(nullptr, m.textPart);
  m.parse(second.view());
  EXPECT_EQ(1, m.parts.len());
  EXPECT_EQ(&m, m.textPart);
  m.partLocate();
  EXPECT_EQ(&m, m.textPart);
}

TEST(BlockMsgTest, NestingAndNumberOfPartsAreLimited) {
  std::string nested;
  for (int i = 0; i < 10000; i++) {
    const std::string b = "b" + std::to_string(i) + "\r\n";
    nested += "Content-Type: multipart/x; boundary=" + b + "\r\n--" + b;
  }
  HeapText deep(nested);
  BLOCKMSG m(nullptr);
  m.parse(deep.view());
  EXPECT_EQ(66, m.contentTypes.count());
  ASSERT_EQ(1, m.parts.len());
  const BLOCKPART* leaf = static_cast<const BLOCKPART*>(m.parts.first->item);
  EXPECT_EQ(ccText, leaf->contentClass);
  EXPECT_NE(0u, leaf->flags & pfBadStructure);

  std::string wide = Multipart("multipart/mixed", "|");
  for (int i = 0; i < 20000; i++) wide += "\r\nx\r\n--b\r\n";
  HeapText many(wide);
  m.clear();
  m.parse(many.view());
  ASSERT_EQ(kMaxParts, m.parts.len());
  OITER walk(&m.parts);
  uint32_t last = 0;
  while (const void* item = walk.next())
    last = static_cast<const BLOCKPART*>(item)->content.length;
  EXPECT_EQ((20000u - kMaxParts + 1) * 10 - 4, last);
}

TEST(BlockMsgTest, EveryTruncationIsRead) {
  const std::string whole = Multipart(
      "multipart/mixed",
      "|" +
          Typed("multipart/related; boundary=\"b c\"",
                "--b c\r\nContent-Transfer-Encoding: base64\r\n"
                "Content-Type: image/gif; name=\"a.gif\"\r\n\r\nR0lGODlh\r\n"
                "AgEDBAAA\r\n--b c--") +
          "|\r\nbegin 644 a.txt\r\n#86)C\r\n`\r\nend\r\n|" +
          Typed("text/plain; charset=\"utf-8\"\r\n"
                "Content-Transfer-Encoding: quoted-printable",
                "=C3=A9=\r\n"));
  for (size_t n = 0; n <= whole.size(); n++) {
    HeapText text(whole.substr(0, n));
    BLOCKMSG m(nullptr);
    m.parse(text.view());
    OITER walk(&m.parts);
    while (const void* item = walk.next()) {
      BLOCKPART* part = static_cast<BLOCKPART*>(const_cast<void*>(item));
      const TBLOCK body = part->decodeContent();
      if (body.empty()) continue;
      EXPECT_GE(body.pointer, text.view().pointer) << n;
      EXPECT_LE(body.end(), text.view().end()) << n;
    }
  }
}

}  // namespace
