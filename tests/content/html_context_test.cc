#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/heap_text.h"
#include "content/html_parse.h"

namespace {

// One body, parsed. Text and output are exactly as long as they say.
class Body {
 public:
  explicit Body(const std::string& html) : Body(html, html.size() + 128) {}
  Body(const std::string& html, size_t room)
      : source_(html), output_(std::string(room, '#')) {
    length_ = QmHtmlParse(source_.view(), output_.view(), c, nullptr, nullptr);
  }
  std::string text() const { return output_.str().substr(0, length_); }
  // "url[text|text|]previous " for each link.
  std::string links() const {
    std::string out;
    for (int32_t i = 0; i < c.links.count(); i++) {
      const TLINKRECORD* link = c.links.get(i);
      out += Str(link->url.url) + "[" + Join(*link->texts) + "]" +
             Str(link->prevText) + " ";
    }
    return out;
  }
  std::string strings(const STRVECT& list) const {
    std::string out;
    for (int32_t i = 0; i < list.count(); i++)
      out += std::string(list.text(i)) + "|";
    return out;
  }

  THTMLCONTEXT c;

 private:
  HeapText source_;
  HeapText output_;
  uint32_t length_;
};

std::string Repeat(const std::string& piece, int times) {
  std::string out;
  for (int i = 0; i < times; i++) out += piece;
  return out;
}

// ---- Text

TEST(HtmlContextTest, VisibleText) {
  const Case<const char*> rows[] = {
      {"", ""},
      {"a<b>b</b>&lt;c&gt;", "ab<c>"},
      {"a<br>b<hr>c", "a\r\nb----\r\nc"},
      // A line that is pending is written ahead of text, and takes the space
      // with it; only opening tags separate.
      {"a<p>b</p> c</tr>d<td>e<tr><td>f", "a\r\nb cd e\r\nf"},
      {"a<p>", "a"},
      {"<h5>a<h4>b", "\r\na\r\nb"},
      {"a</body>b", "a\r\nb"},
      {"a<select>b<option>c</select>d", "a d"},
      {"<pre>a\r\nb</pre>c\r\n\r\nd", "a\r\nbc d"},
      {"a<title>t</title><!-- c --><script>s</script>b", "ab"},
      {"a<img src=i>b", "a!%IMG%! b"},
      {"a<p><img src=CID:i>", "a\r\n!%CID%!"},
      {"a<img src=''>b", "a b"},
      // A space is pending longer than a line end that is written at once.
      {"a<img><br>b", "a\r\n b"}};
  for (const auto& row : rows)
    EXPECT_EQ(row.want, Body(row.text).text()) << row.text;
}

// What does not fit is left out as a whole, and later pieces may fit again.
TEST(HtmlContextTest, OutputThatIsFull) {
  const std::string html = "abc<br>de<hr>f<img src=i>g<p>h";
  const char* const texts[] = {"",     "f",       "\r\n",     "abc",
                               "abcf", "abc\r\n", "abc\r\nf", "abc\r\nde"};
  for (size_t room = 0; room < 8; room++)
    EXPECT_EQ(texts[room], Body(html, room).text()) << room;
  for (size_t room = 8; room < 40; room++)
    EXPECT_LE(Body(html, room).text().size(), room);
  // Source and reserve are no bound of the output.
  const Body ruler(Repeat("<hr>", 1000));
  EXPECT_EQ(Repeat("----\r\n", 688), ruler.text());
  EXPECT_EQ(688, ruler.c.textLineCount);
}

// Feeds single texts under colours and sizes that are set by hand.
class Texts {
 public:
  Texts() : room_(std::string(100, '#')) { c.output = room_.view(); }
  void add(const char* bytes) {
    texts_.push_back(new HeapText(bytes));
    THITEM item;
    ClearHtmlItem(item, 0);
    item.block = texts_.back()->view();
    item.type = hitText;
    DecodeText(item, nullptr, 0);
    c.doItem(item, nullptr, nullptr);
  }
  ~Texts() {
    for (HeapText* text : texts_) delete text;
  }
  std::string text() const { return room_.str().substr(0, c.length); }

  THTMLCONTEXT c;

 private:
  HeapText room_;
  std::vector<HeapText*> texts_;
};

// Tiny letters dropped into a word leave a mark; elsewhere they are text.
TEST(HtmlContextTest, Filler) {
  const struct {
    const char* word;
    int16_t size;
    const char *filler, *text;
    int32_t useless, tiny;
  } rows[] = {
      {"Via", 6, "x1y", "Via~", 2, 0},   {"Via", 7, "xy", "Viaxy", 0, 0},
      {"Via", 9, "x", "Via~", 1, 0},     {"Via", 10, "x", "Viax", 0, 0},
      {"Via ", 4, "xy", "Via xy", 0, 2}, {"Via", 1, " x", "Via~", 0, 1},
      {"Via~", 1, "x", "Via~x", 0, 1},   {"Via", 0, "xy", "Via~", 2, 0},
      {"Via", -2, "xy", "Viaxy", 0, 0}};
  for (const auto& row : rows) {
    Texts t;
    t.add(row.word);
    t.c.curFontSize = row.size;
    t.add(row.filler);
    EXPECT_EQ(row.text, t.text());
    EXPECT_EQ(row.useless, t.c.uselessAlphaCount) << row.text;
    EXPECT_EQ(row.tiny, t.c.tinyAlphaCount) << row.text;
  }
}

// ---- Links

TEST(HtmlContextTest, Links) {
  const struct {
    const char *html, *links;
    int32_t counted, emptyLinks;
  } rows[] = {
      {"<a href=u>t</a>v", "u[t|] ", 1, 0},
      {"<a href=u>t", "u[t|] ", 1, 0},
      {"<a>t</a><a href='#x'>t</a><a href=''>t</a>", "", 0, 0},
      {"<a href=x><a href=y>text</a>", "y[text|] ", 2, 1},
      {"<a href=u></a></a></a>", "", 1, 1},
      {"s<a href=u> </a>", "u[ |]s ", 1, 0},
      // A text begins with what was pending.
      {"s<p><a href=u>t</a>", "u[\r\nt|] ", 1, 0},
      {"<a href=u>t<img src=i></a>", "u[t!%IMG%!|] ", 1, 0},
      {"<a href=u><img src=i>t</a>", "u[ t|] ", 1, 0},
      {"<a href=u><img src=i></a>", "u[|] ", 1, 0},
      {"<a href=u><img></a>", "u[|] ", 1, 0},
      // The text ahead, unless a tag separates them; that of the first time.
      {"p<b><a href=u>t</a>", "u[t|]p ", 1, 0},
      {"p<br><a href=u>t</a>", "u[t|] ", 1, 0},
      {"p<a href=u>t</a>q<a href=U>v</a>", "u[t|v|]p ", 2, 0},
      // Other tags that lead somewhere.
      {"<area href=a alt=b><form action=f><base href=b><embed src=e>"
       "<iframe src=i><form><area href='#m'>",
       "a[|] f[|] b[|] e[|] i[|] ", 2, 0},
      {"<meta http-equiv=Refresh content='0;URL =\"r;s\" x'>",
       "r;s[HttpRefresh|] ", 0, 0},
      // URLs in the text.
      {"go http://a.com/ now", "http://a.com/[HttpTxtWithoutHref|] ", 0, 0},
      {"<a href=http://a.com/x?y>www.a.com</a>",
       "http://a.com/x?y[www.a.com|] ", 1, 0},
      {"<a href=http://a.com/>http://b.com/</a>",
       "http://b.com/[HttpTxtDiffFromHref|] http://a.com/[http://b.com/|] ", 1,
       0},
      {"http://d.<b>com/</b>", "http://d.com/[HttpTxtHide|] ", 0, 0},
      {"http://d.<b>com/</b> <a href=http://d.com/e>f</a>",
       "http://d.com/e[f|]  ", 1, 0},
      {"<a href=u>", "", 1, 1}};
  for (const auto& row : rows) {
    const Body body(row.html);
    EXPECT_EQ(row.links, body.links()) << row.html;
    EXPECT_EQ(row.counted, body.c.linkCount) << row.html;
    EXPECT_EQ(row.emptyLinks, body.c.emptyLinkCount) << row.html;
  }
}

TEST(HtmlContextTest, WordsOfLinks) {
  const Case<const char*> rows[] = {{" Click  here! ", "Click|here!|"},
                                    {"F R E E pills a b", "FREE|pills|ab|"},
                                    {"httpx y", ""},
                                    {"see WWW.x", ""},
                                    {"joe.d@a.com", ""},
                                    {"\"j d@\"@a.com", ""},
                                    {"joe@localhost", "joe@localhost|"},
                                    {"\"j@a.com", "j@a.com|"},
                                    {"joe d@a.com", "joe|d@a.com|"},
                                    {"@a.com", ""},
                                    {"o'neil@a.com", ""},
                                    {"joe@a.com!", "joe@a.com!|"}};
  for (const auto& row : rows) {
    THTMLCONTEXT c;
    const HeapText text(row.text);
    c.addTextLink(text.view());
    EXPECT_EQ(row.want, Join(c.linkWords)) << row.text;
  }
  THTMLCONTEXT c;
  const std::string letters = Repeat("x ", 60);
  const HeapText first(letters + "word" + Repeat(" y", 41) + " !word! z");
  c.addTextLink(first.view());
  // A run that does not fit leaves its room to the next one.
  EXPECT_EQ(std::string(60, 'x') + "|word|!word!|z|", Join(c.linkWords));
  EXPECT_EQ(2, c.linkExclamationCount);
  const HeapText second(Repeat("y ", 39));
  c.addTextLink(second.view());
  EXPECT_EQ(5, c.linkWords.count());
  c.addTextLink(second.view());
  EXPECT_EQ(5, c.linkWords.count());
}

// ---- Images

TEST(HtmlContextTest, Images) {
  const Body body(
      "<img src=a width=+7 height=9999999999><a href=u><img src=b width=8px "
      "height=3 alt=B></a><table><tr><td><img src=A USEMAP=#m width=8px "
      "height=3>t<img src=cid:c width=500 height=500 dynsrc='xwindow.open'>"
      "</table></body><img src=d width=1 dynsrc=window.open>");
  const THTMLCONTEXT& c = body.c;
  EXPECT_EQ(5, c.imgCount);
  EXPECT_EQ(2, c.imgInLinkCount);
  EXPECT_EQ(1, c.usemapImgCount);
  EXPECT_EQ(2, c.imgInTableCount);
  EXPECT_EQ(1, c.cidImgCount);
  EXPECT_EQ(1, c.imgAfterBodyCount);
  EXPECT_EQ(1, c.popupCount);
  EXPECT_EQ(1, c.imgBeforeText);
  EXPECT_EQ(1, c.imgLinkBeforeText);
  EXPECT_EQ(7, c.maxImgWidthBeforeText);
  EXPECT_LE(99999999, c.maxImgHeightBeforeText);
  EXPECT_EQ("+7x9999999999|500x500|8pxx3|", body.strings(c.imgSizes));
  ASSERT_EQ(4, c.images.count());
  EXPECT_EQ(1, c.images.get(0)->useCount);
  EXPECT_EQ("u", Str(c.images.get(1)->href.url));
  EXPECT_EQ("B|", Join(c.altTexts));
  EXPECT_EQ(0, Body("t<img src=a width=5>").c.imgBeforeText);
}

// ---- Tables

TEST(HtmlContextTest, OpenTables) {
  const struct {
    std::string html;
    int32_t depth;
  } rows[] = {{"<tr><td><tbody>", 0},
              {"</table><table>", 1},
              {"<table><table>", 1},
              {"<table><tr><table>", 1},
              {"<table><tr><td><table>", 2},
              {"<table><tr><th><table><tr><td></td></tr></table>", 1},
              // Rows and cells of no use close nothing.
              {"<table><tr><td></tbody></td></td></tr></tr><tr>", 1},
              {"<table><tr><td><table></td><table>", 2},
              {Repeat("<table><tr><td>", 3000), 683},
              {Repeat("<table><tr><td>", 3000) + Repeat("</table>", 683), 0}};
  for (const auto& row : rows)
    EXPECT_EQ(row.depth, Body(row.html).c.tableDepth)
        << row.html.substr(0, 100);
}

// ---- Tags and attributes

TEST(HtmlContextTest, Flags) {
  const Case<uint32_t> rows[] = {
      {"<html><body></body></html>", hcfHtmlOpened | hcfBodyOpened |
                                         hcfBodyClosed | hcfHtmlClosed |
                                         hcfPendingLine},
      {"<body background=cid:x>",
       hcfBodyOpened | hcfBodyBackground | hcfBodyEmbedBackground},
      {"<body background=x>", hcfBodyOpened | hcfBodyBackground},
      {"<body><body background=x>", hcfBodyOpened},
      {"<script language=JScript.Encode>x</script>", hcfEncodedScript},
      {"<script title=\"a>b\" language=JScript.Encode>x</script>",
       hcfEncodedScript},
      {"<script language=JScript.Encode <b>", hcfEncodedScript},
      {"<script>language=jscript.encode</script>", 0},
      {"<iframe>", hcfIFrame | hcfPendingSpace},
      {"<embed>", hcfEmbed | hcfPendingSpace},
      {"<object data=www.x>", hcfHttpObject | hcfPendingSpace},
      {"<object data='http:x'>", hcfHttpObject | hcfPendingSpace},
      {"<object data=x>", hcfPendingSpace},
      {"<link type=text/CSS>", hcfStyleSheet},
      {"<link type=text/css2>", 0},
      {"<pre>", hcfPreformatted},
      {"<select>", hcfVoidText | hcfPendingSpace}};
  for (const auto& row : rows)
    EXPECT_EQ(row.want, Body(row.text).c.flags) << row.text;
  EXPECT_EQ(1, Body("<body onload='x;open(1)'>").c.popupCount);
  EXPECT_EQ(0, Body("<body onload='open(1)'>").c.popupCount);
  const Body images("<td background=cid:a><body background=cid:b>");
  EXPECT_EQ("a|b|", Join(images.c.backgroundImages));
  EXPECT_EQ("b", Str(images.c.bodyBackground));
}

// The text is decoded; what looks into it is decoded apart.
TEST(HtmlContextTest, CharsetOfTheBody) {
  const std::string meta = "<meta http-equiv=content-type content='charset=";
  const Body utf8(meta + "utf-8'>caf\xC3\xA9 <a href=u>th\xC3\xA9 vert</a>" +
                  Repeat("\xC3\xA9", 9) + " <a href=v>\xC3\xA9</a>");
  EXPECT_EQ("caf\xE9 th\xE9 vert\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9\xE9 \xE9",
            utf8.text());
  EXPECT_EQ("u[th\xE9 vert|]caf\xE9  v[\xE9|]" + Repeat("\xE9", 9) + "  ",
            utf8.links());
  EXPECT_EQ("th\xE9|vert|", Join(utf8.c.linkWords).substr(0, 9));
  const Body utf7(meta + "utf-7'>+AGEAYg- <a href=u>+AGM-d</a>");
  EXPECT_EQ("ab cd", utf7.text());
  EXPECT_EQ("u[cd|]ab  ", utf7.links());
  const Body koi8(meta + "koi8-r'>a<a href=u>b\xC1</a>");
  EXPECT_EQ("aba", koi8.text());
  EXPECT_EQ("u[ba|]a ", koi8.links());
  EXPECT_EQ("caf\xC3\xA9", Body("caf\xC3\xA9").text());
}

TEST(HtmlContextTest, ListsAreCapped) {
  std::string html;
  for (int i = 0; i < 2500; i++) {
    const std::string n = std::to_string(i);
    html += "<p dir=" + n + "><z" + n + "><font face=" + n +
            "><img width=" + n + " height=1>";
  }
  const Body body(html);
  EXPECT_EQ(1000, body.c.tagTexts.count());
  EXPECT_EQ(2000, body.c.tagParams.count());
  EXPECT_EQ(2000, body.c.badTags.count);
  EXPECT_EQ(64, body.c.fontNames.count());
  EXPECT_EQ(32, body.c.imgSizes.count());
  EXPECT_LE(body.c.htmlPattern.len(), 4096);
  EXPECT_GE(body.c.htmlPattern.len(), 4094);
}

// The shortcuts for the present tag must not change what a search of it finds,
// wherever its URL was rewritten.
TEST(HtmlContextTest, AttributesByName) {
  static const char* const kPieces[] = {
      "src",  "id",  "=", "\"",   "'",     " ",  "x",     "name",  "%20",
      "\r\n", "alt", "-", "http", "title", "\\", "class", "&#32;", "usemap"};
  static const char* const kNames[] = {"src",   "id",    "name", "alt",
                                       "title", "class", "http"};
  Numbers numbers(7);
  for (int round = 0; round < 30000; round++) {
    std::string tag = numbers.Below(2) ? "<img" : "<a href=";
    for (uint32_t n = 1 + numbers.Below(12); n > 0; n--)
      tag += kPieces[numbers.Below(18)];
    tag += ">";
    const HeapText text(tag);
    THTMLCONTEXT c;
    THITEM item;
    TBLOCK cursor = text.view();
    GetFirstHtmlItem(cursor, item);
    c.doItem(item, nullptr, nullptr);
    for (const char* name : kNames) {
      TBLOCK value, quick;
      const int found = GetTagParamValue(item.block, name, value);
      ASSERT_EQ(found, c.tagParam(item.block, name, quick)) << tag << name;
      ASSERT_EQ(Str(value), Str(quick)) << tag << name;
    }
  }
}

// ---- Patterns

TEST(HtmlContextTest, Patterns) {
  const struct {
    const char *html, *pattern, *table;
  } rows[] = {
      {"<html><!--c--><title>t</title><style>s</style><script>s</script>"
       "<xml>x</xml><textarea>x</textarea></html>",
       "/HT/CM/TI/ST/SC/XL/ht", ""},
      {"1 <b>a</b>b<br>2<i>\xE9<!--c-->d", "/B/TX/b/TX/BR/I/TX/CM/TX",
       "TX/BR/TX"},
      {"<zz><x-a></zz>", "/NO/X/no", ""},
      {"<br/><br / ><img src>", "/BR/BR/IM", "BR/BR/IM"},
      {"<table><tr><td colspan=2 rowspan=1>a</td></tr></table><tbody><th>",
       "/TA/TR/TD/TX/td/tr/ta/TB/TH", "TA/TR/TD,col,row/TX/td/tr/ta"},
      {"<img src=cid:x><img SRC='cidx'><img src=x>", "/IM,cid/IM,cid/IM,src",
       "IM/IM/IM"},
      {"<body background=cid:x onload=f bgcolor=red text=><td "
       "background=www.x><td backgroundx=http://x><td background=x>",
       "/BO,bac=cid,onl,bgc=red,tex/TD,bac=url/TD,bac=url/TD,bac", "TD/TD/TD"},
      {"<font size=+1 color=#F00 sizes=2>", "/FT,siz=+1,col=#F00,siz=2", ""},
      {"<p align=LEFT><p align=center=><p align=x><p align=''><p align=12>"
       "<p align=middle==>",
       "/P,al=l/P,al=c!/P,al=#/P,al=_/P,al=#/P,al=m", ""},
      {"<p style='a:b;FLOAT: Right'><p style=float:left>", "/P,right/P", ""},
      // A tag that was met before has the same marks.
      {"<b><font size=1></b><font size=1><b><font size=1>",
       "/B/FT,siz=1/b/FT,siz=1/B/FT,siz=1", ""},
      {"a<select>b</select>c", "/TX/SE/se/TX", "TX"}};
  for (const auto& row : rows) {
    const Body body(row.html);
    EXPECT_EQ(row.pattern, Str(body.c.htmlPattern.view())) << row.html;
    EXPECT_EQ(row.table, Str(body.c.tablePattern.view())) << row.html;
  }
}

// A token that does not fit is left out, with that of the table; a smaller one
// may fit.
TEST(HtmlContextTest, PatternsThatAreFull) {
  const std::string full = Repeat("<br>", 1364);  // 4,092 bytes
  const struct {
    const char* more;
    int32_t html, table;
  } rows[] = {{"<td>", 4095, 2048},
              {"<td><a>", 4095, 2048},
              {"<a><a>", 4096, 2048},
              {"<a><td><a>", 4096, 2048},
              {"<td width=1 size=1>", 4092, 2048}};
  for (const auto& row : rows) {
    const Body body(full + row.more);
    EXPECT_EQ(row.html, body.c.htmlPattern.len()) << row.more;
    EXPECT_LE(body.c.tablePattern.len(), row.table) << row.more;
  }
  const std::string tags = Repeat("<b>", 2043);  // 4,086 bytes
  EXPECT_EQ(
      "TD",
      Str(Body(tags + "<td size=1><td size=12345>").c.tablePattern.view()));
}

}  // namespace
