// Plain text: what is copied, what is counted, and ways out of mailings.

#include "content/text_parse.h"

#include <gtest/gtest.h>

#include "base/heap_text.h"
#include "content/unsub_text.h"

namespace {

struct Parsed {
  std::string text, urls;
  int32_t tags, hidden;
  bool html;
};

Parsed Parse(const std::string& text, uint32_t room) {
  const HeapText source(text), output(std::string(room, '#'));
  TTEXTCONTEXT context;
  const uint32_t n =
      QmTextParse(source.view(), output.view(), context, nullptr, nullptr);
  EXPECT_EQ(n, context.length);
  Parsed parsed = {output.str().substr(0, n), "", context.tagCount,
                   context.hiddenUrlCount, context.isHtml};
  for (int32_t i = 0; i < context.links.count(); i++)
    parsed.urls += Str(context.links.get(i)->url.url) + "|";
  return parsed;
}

TEST(TextParseTest, Copying) {
  const struct {
    const char *text, *output;
    int32_t tags;
  } rows[] = {
      {"> a > b | c\r> d\n\r|>| e\n", " a > b | c\r d\n\r e\n", 0},
      // A blank ends the start of a line.
      {" > a\n\xA0> b", " > a\n > b", 0},
      {"<a@b.c> <a@b c> <a@\n>", "<a@b.c> <a@b c> <a@\n", 0},
      {"<<a@b.c>>", "<<a@b.c>>", 0},
      {"\n<a@b>> c", "\n<a@b>> c", 0},
      {"<font>a</FONT ><br/>\n<b>> c", "a\n c", 4},
      {"<unknowntag> <o:p> <!-- x --> <> < b>", "", 0},
      {"<unknowntag\n>x", "<unknowntag\nx", 0},
      {"<xx <b>c", "<xx c", 1},
      {"</blockquotes></blockquote>", "</blockquotes>", 1},
      // No text that a reader sees goes with a tag.
      {"<script> a > b </script>c<style>d", " a > b cd", 3},
      {"Dear\n<Title>x</title>\nbye", "Dear\nx\nbye", 2},
      {"<a href=\"x>all, 2 < 3 \"b\">", "all, 2 < 3 \"b\">", 1},
      {"<a t='<b>'>c<a t='\n<b", "'>c", 2},
      {"<title <title a>b</title>c<title </title>", "bc", 4},
      {"1 <b 2 <i>", "1 ", 2},
      {"a <<message.txt>> <<MESSAGE.TXT>>\n<<message.txt>> <<message.txt>", "",
       0},
      {"<", "<", 0},
      {"", "", 0}};
  for (const auto& row : rows) {
    const Parsed parsed = Parse(row.text, 100);
    const bool kept = !row.output[0] && row.tags == 0;
    EXPECT_EQ(kept ? row.text : row.output, parsed.text) << row.text;
    EXPECT_EQ(row.tags, parsed.tags) << row.text;
  }
  EXPECT_TRUE(Parse("<html x>", 9).html);
  EXPECT_FALSE(Parse("</html><xhtml>", 9).html);
  // An address of 320 bytes, and a tag.
  const std::string address = "<b/" + std::string(315, 'a') + "@c>";
  EXPECT_EQ(address, Parse(address, 400).text);
  EXPECT_EQ("", Parse("<b/a" + address.substr(3), 400).text);
}

TEST(TextParseTest, FullOutputLosesTextButNoLinks) {
  const std::string text =
      "<<message.txt>> <a@b.c> <b>x</b>\xA0http://a.org http%3A//b.org "
      "www.a%62.org?x= <http://c\r\n .org/<=\"> www.A\x62.ORG?x";
  const std::string whole = Parse(text, 200).text;
  for (uint32_t room = 0; room <= whole.size() + 1; room++) {
    const Parsed parsed = Parse(text, room);
    EXPECT_EQ(whole.substr(0, room), parsed.text);
    EXPECT_EQ("http://a.org|http://b.org|www.ab.org?x|http://c.org/|",
              parsed.urls);
    EXPECT_EQ(1, parsed.hidden);
    EXPECT_EQ(2, parsed.tags);
  }
  const HeapText source(text);
  TTEXTCONTEXT context;
  QmTextParse(source.view(), TBLOCK(), context, nullptr, nullptr);
  EXPECT_EQ(4, context.links.count());
}

std::string List(const STRVECT& list) {
  std::string out;
  for (int32_t i = 0; i < list.count(); i++)
    out += std::string(list.text(i)) + "|";
  return out;
}

TEST(UnsubTextTest, Lines) {
  const struct {
    const char *text, *list, *last;
  } rows[] = {
      {"Remove: A@b.org\n\nc@d.org", "a@b.org|", "Remove: A@b.org"},
      {"To opt out\r\nwrite to c@d.org\r\nor e@f.org", "c@d.org|",
       "To opt out"},
      {"D\xE9sinscription (WWW.A.ORG), or www.a.org",
       "desinscription|"
       "www.a.org|or|",
       "D\xE9sinscription (WWW.A.ORG), or www.a.org"},
      {"unsub a@b.org, PS: click http://c.org/. d@e.org f@g f@@g.org",
       "click|http://c.org/|d@e.org|",
       "unsub a@b.org, PS: click http://c.org/. d@e.org f@g f@@g.org"},
      {"PS:\n'\"a@b.org\"' c@d.org... e@f.org/g h@.org i@org. \"'@' '@j..",
       "a@b.org|c@d.org|", "PS:"},
      // An address in a URL is no word.
      {"unsub mailto:a@b.org?c, www.d.org/e=f@g.org",
       "mailto:a@b.org?c,|www.d.org/e=f@g.org|a@b.org|",
       "unsub mailto:a@b.org?c, www.d.org/e=f@g.org"},
      {"https://a.org www.b.org", "", ""},
      {"https://a.org ps:www.b.org", "www.b.org|",
       "https://a.org ps:www.b.org"},
      {"tps:www.b.org", "www.b.org|", "tps:www.b.org"},
      {"unsub www. www.b http://", "unsub|www.b|http://|",
       "unsub www. www.b http://"},
      // 25 bytes and 26.
      {"unsub 1234567890123456789012345 www.45678901234567890123456",
       "1234567890123456789012345|",
       "unsub 1234567890123456789012345 www.45678901234567890123456"},
      {"unsub 12345678901234567890123456 www.456789012345678901234 www",
       "www.456789012345678901234|",
       "unsub 12345678901234567890123456 www.456789012345678901234 www"},
      {"", "", ""}};
  for (const auto& row : rows) {
    const HeapText text(row.text);
    STRVECT list(0, 64);
    list.add("old");
    GetUnsubText(text.view(), list);
    EXPECT_EQ(row.list, List(list)) << row.text;
    EXPECT_EQ(row.last, Str(LastUnsubLine(text.view())));
  }
  std::string many;
  for (int i = 0; i < 100; i++) many += "a" + std::to_string(i) + "@b.org ";
  const HeapText line(many);
  STRVECT list(0, 64);
  AddUnsubText(line.view(), list);
  EXPECT_EQ(kMaxUnsubTexts, list.count());
}

TEST(UnsubTextTest, Pattern) {
  const HeapText text(
      "\n \t\r\nmsn. a.COM\nyahoo.fr\r\na.biz\n.net aol.x\nlast.info");
  STR pattern("old");
  GetTextPattern(text.view(), pattern);
  EXPECT_STREQ("eexudxd", pattern.c_str());
  const HeapText lines(std::string(3000, '\n'));
  GetTextPattern(lines.view(), pattern);
  EXPECT_EQ(kMaxPatternLines, pattern.len());
}

}  // namespace
