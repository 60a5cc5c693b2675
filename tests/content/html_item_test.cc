#include "content/html_item.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/heap_text.h"
#include "message/charset.h"

namespace {

// Type, code of the tag and bytes of an item; "+" where the next one keeps its
// leading space, "n" for a line break.
std::string Dump(const THITEM& item) {
  static const char* const kTypes[] = {"text",    "open",  "/",
                                       "comment", "title", "script",
                                       "style",   "xml",   "area"};
  std::string out = kTypes[item.type];
  if (item.tag != htUnknown) out += std::string(".") + TagInfos[item.tag].code;
  out += "[" + Str(item.block) + "]";
  if (item.flags & hifAllowLeadingSpace) out += "+";
  if (item.flags & hifNewLine) out += "n";
  return out;
}

// All items. `forget` makes the walk search again for what is not there.
std::string Items(const std::string& text, bool forget = false) {
  const HeapText copy(text);
  TBLOCK cursor = copy.view();
  std::string out;
  THITEM item;
  for (GetFirstHtmlItem(cursor, item); item.type != hitNone;
       GetNextHtmlItem(cursor, item)) {
    out += (out.empty() ? "" : " ") + Dump(item);
    if (forget) item.flags &= hifAbsent - 1;
  }
  return out;
}

TEST(HtmlItemTest, Items) {
  const Case<const char*> rows[] = {
      {" \x01\n", ""},
      {"a < b", "text[a ] text[< b]+"},
      {"<1<", "text[<1]+ text[<]+"},
      {"<a", "text[<a]+"},
      {"<a ", "open.A[<a ]"},
      {"</>x", "/[</>] text[x]+"},
      {"<a href=x<b>", "open.A[<a href=x] open.B[<b>]"},
      {"<a title=it's>'", "open.A[<a title=it's>] text[']+"},
      {"<a title='it's>'b", "open.A[<a title='it's>] text['b]+"},
      {"<a t=\"<'>\"><b 'x", "open.A[<a t=\"<'>\">] open.B[<b 'x]"},
      {"<?a:b>", "open.XO[<?a:b>]"},
      // White space goes at the start, behind blanks and behind line breaks.
      {" a<b> c</b><p> d",
       "text[a]+ open.B[<b>]+ text[ c]+ /.B[</b>]+ "
       "open.P[<p>]n text[d]+"},
      {"a \n<b> c", "text[a \n] open.B[<b>] text[c]+"},
      {"a<td> b</p> c",
       "text[a]+ open.TD[<td>]+ text[ b]+ /.P[</p>]+ "
       "text[ c]+"},
      {"<h5> a<dd> b", "open.H5[<h5>]n text[a]+ open.DD[<dd>]+ text[ b]+"},
      // Comments.
      {"<!-- a > b -->c", "comment[<!-- a > b -->] text[c]+"},
      {"<!-->a<!--->b", "comment[<!-->] text[a]+ comment[<!--->]+ text[b]+"},
      {"<!-- a > b", "comment[<!-- a >] text[b]+"},
      {"<!-- a <b>", "comment[<!-- a <b>]"},
      {"<!-- a <b", "text[<!-- a ] text[<b]+"},
      {"<!--", "text[<!--]+"},
      {"<!x\">y", "comment[<!x\">] text[y]+"},
      // Elements.
      {"<TITLE>a</TITLEX></</title\t>b",
       "title.TI[<TITLE>a</TITLEX></</title\t>] text[b]+"},
      {"<title></title</title\rx>", "title.TI[<title></title</title\rx>]"},
      {"<title></title <b", "title.TI[<title>] /.TI[</title ] text[<b]+"},
      {"<style x='</style>'>a", "style.ST[<style x='</style>'>] text[a]+"},
      {"<comment><b></comment>", "comment.CM[<comment><b></comment>]"},
      {"<script/><i></SCRIPT>", "script.SC[<script/><i></SCRIPT>]"},
      {"<xml><xml></xml>", "xml.XL[<xml><xml></xml>]"},
      {"<textarea", "area.XA[<textarea]"},
      {"</title>", "/.TI[</title>]"}};
  for (const auto& row : rows) EXPECT_EQ(row.want, Items(row.text));
}

TEST(HtmlItemTest, Counts) {
  const TBLOCK text("a<p>b<p><b></p><!x>");
  const struct {
    uint32_t type;
    THTMLTAG tag;
    uint32_t count;
  } rows[] = {{hitNone, htUnknown, 7},   {hitOpenTag, htUnknown, 3},
              {hitOpenTag, htP, 2},      {hitCloseTag, htB, 0},
              {hitText, htUnknown, 2},   {hitText, htP, 2},
              {hitComment, htUnknown, 1}};
  for (const auto& row : rows) {
    const THITEM like = {TBLOCK(), 0, row.type, row.tag};
    EXPECT_EQ(row.count, HtmlItemCount(text, like)) << row.type;
  }
}

TEST(HtmlItemTest, Entities) {
  const struct {
    const char* text;
    int byte;
    uint32_t taken;
  } rows[] = {{"&", '&', 1},
              {"&lt", '&', 1},
              {"&lt;", '<', 4},
              {"&lt x", '<', 3},
              {"&lt;;", '<', 4},
              {"&;lt;", '&', 1},
              {"&4lt;", '&', 1},
              {"&eacutes", 0xE9, 7},
              {"&Eacute;", 0xC9, 8},
              {"&EACUTE;", '&', 1},
              {"&sup2;", 143, 4},
              {"&ordm;", 143, 3},
              {"&notin;", 143, 7},
              {"&noti;", 172, 4},
              {"&thetasym", 143, 9},
              {"&thetasy", 143, 6},
              {"&zwnj;", 143, 6},
              {"&AElig;", 0xC6, 7},
              {"&nbsp;", ' ', 6},
              {"&Prime;", '"', 7},
              {"&prime;", '\'', 7},
              {"&Mu;a", 'M', 4},
              {"&mu;a", 0xB5, 4},
              {"&nu;a", 'v', 4},
              {"&euro;", 0x80, 6},
              {"&sim;", '~', 5},
              {"&#65;", 'A', 5},
              {"&#65x", 'A', 4},
              {"&#65", 'A', 4},
              {"&#6", '&', 1},
              {"&#0;a", '&', 1},
              {"&#;aa", '&', 1},
              {"&#x41;", 'A', 6},
              {"&#X4aG", 0x40, 5},
              {"&#x4F;", 0x45, 6},
              {"&#xA;", '&', 1},
              {"&#xg;", '&', 1},
              {"&#xB", 1, 4},
              {"&#8364;", 0x80, 7},
              {"&#4294967361;", 143, 13},
              {"&#x100000041;", 143, 13},
              {"&#65535;", UNKNOWNCHAR, 8}};
  for (const auto& row : rows) {
    const HeapText copy(row.text);
    TBLOCK cursor = copy.view();
    EXPECT_EQ(row.byte, DecodeEntity(cursor, nullptr)) << row.text;
    EXPECT_EQ(strlen(row.text) - row.taken, cursor.length) << row.text;
  }
  // A number has a script; a name has not.
  TCharset charset;
  for (const auto& row : {std::make_pair("&#955;", CHUNK_GREEK),
                          std::make_pair("&lambda;", CHUNK)}) {
    TBLOCK cursor(row.first);
    EXPECT_EQ(row.second, DecodeEntity(cursor, &charset));
  }
}

TEST(HtmlItemTest, Text) {
  const struct {
    const char *text, *collapsed, *kept;
    const char* noHead;  // of DecodeBlockEntities
    uint32_t white;      // flags of the collapsed text
  } rows[] = {{"a", "a", "a", "a", 0},
              {" \t a\r\n b ", " a b ", "   a\r\n b ", "a b ", 0},
              {"a\xA0\xA0z\x1F\x0B\x0C\x08.\x7F", "a z.\x7F", "a  z.\x7F",
               "a z.\x7F", 0},
              {"&nbsp; &nbsp;x", "  x", "   x", "  x", 0},
              {"&#7;&#10;&amp;lt;", "\a\n&lt;", "\a\n&lt;", "\a\n&lt;", 0},
              {"a&", "a&", "a&", "a&", 0},
              {"\n", " ", "\n", "", hifWhite | hifWhiteSpace},
              {" &#7;\x7F", " \a\x7F", " \a\x7F", "\a\x7F", hifWhite},
              {"\x02", "", "", "", 0}};
  for (const auto& row : rows) {
    for (int keep = 0; keep < 2; keep++) {
      const HeapText copy(row.text);
      THITEM item = {copy.view(), hifWhite | hifAllowLeadingSpace, hitText,
                     htUnknown};
      DecodeText(item, nullptr, keep);
      const std::string want = keep ? row.kept : row.collapsed;
      EXPECT_EQ(want, Str(item.block)) << row.text;
      EXPECT_EQ(std::string(strlen(row.text) - want.size(), ' '),
                copy.str().substr(want.size()));
      if (keep) continue;
      EXPECT_EQ(row.white | hifAllowLeadingSpace, item.flags);
    }
    const HeapText copy(row.text);
    EXPECT_EQ(row.noHead, Str(DecodeBlockEntities(copy.view(), nullptr)));
  }
  const HeapText tag("<a &lt;>");
  THITEM item = {tag.view(), 0, hitOpenTag, htA};
  DecodeText(item, nullptr, 0);
  EXPECT_EQ("<a &lt;>", Str(item.block));
}

TEST(HtmlItemTest, ParamByName) {
  const struct {
    const char *tag, *name;
    const char* value;  // null: not found
  } rows[] = {{"<img src=x>", "src", "x"},
              {"<img SRC = \" a>b \" c>", "src", "a>b"},
              {"<img alt=\" src=x\">", "src", "x"},
              {"<img xsrc=1>", "src", nullptr},
              {"<img xsrc=1 src='2\"", "src", "2\""},
              {"<img srcsrc= src=2>", "src", nullptr},  // the match is too near
              {"<img srcset= src=2>", "src", "2"},
              {"<img src\"http://a\">", "src", "http://a"},
              {"<img src http://a b>", "src", "http://a"},
              {"<img src htt://a>", "src", nullptr},
              {"<img 'src=a'b>", "src", "a"},
              {"<img src=>", "src", ""},
              {"<img src", "src", nullptr},
              {"<img src=", "src", ""},
              {"src=1 src=2", "src", nullptr},
              {"<\tsrc=1", "src", "1"},
              {" src=1 src=2", "src", nullptr},
              {"<m http-equiv=a>", "http~equiv", "a"},
              {"<m width=a>", "~idth", "a"},
              {"", "src", nullptr}};
  for (const auto& row : rows) {
    const HeapText copy(row.tag);
    TBLOCK value("old");
    EXPECT_EQ(row.value != nullptr,
              GetTagParamValue(copy.view(), row.name, value))
        << row.tag;
    EXPECT_EQ(row.value ? row.value : "", Str(value)) << row.tag;
  }
}

TEST(HtmlItemTest, Urls) {
  const struct {
    const char *url, *result;
    int hidden;
  } rows[] = {{" http://a/b \n", "http://a/b", 0},
              {"http://a/%41", "http://a/A", 1},
              {"a%2Fb%2", "a/b%2", 0},
              {"%00%4", "%00%4", 0},
              {"a\tb\r\nc d", "abc d", 0},
              {"a\x01%41", "a", 0},
              {"%41@b", "A@b", 0},
              {"%41%40", "A@", 0},
              {"%41.IngDirect.com", "A.IngDirect.com", 0},
              {"%41/ticketmasters", "A/ticketmasters", 0},
              {"&#65;b&amp;c&", "Ab&c&", 1},
              {"a&amp;b?c&amp;d", "a&b?c&amp;d", 0},
              {"a%3F&#65;", "a?&#65;", 0},
              {"a&#63;&#65;", "a?&#65;", 0},
              {"a?%42", "a?B", 1},
              {"http:\\/a\\b", "http://a\\b", 1},
              {"http:/\\\\a", "http:///a", 1},
              {"FILE:/\\a%2e", "FILE://a.", 0},
              // Behind something shorter the place keeps what stood there.
              {"%20bc\\d", " bcbd", 0},
              {"a\\", "a\\", 0}};
  for (const auto& row : rows) {
    const HeapText copy(row.url);
    TBLOCK url = copy.view();
    int32_t hidden = 5;
    EXPECT_EQ(row.result, Str(DecodeUrl(url, hidden))) << row.url;
    EXPECT_EQ(5 + row.hidden, hidden) << row.url;
    const size_t rest = url.length - strlen(row.result);
    EXPECT_EQ(std::string(rest, ' '), Str(url.from(url.length - rest)));
  }
}

}  // namespace
