#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "base/text_rows.h"
#include "content/html_parse.h"
#include "content/style_model.h"

namespace {

std::string Hex(int32_t value) {
  char text[16];
  snprintf(text, sizeof text, value < 0 ? "%d" : "%X",
           static_cast<unsigned>(value));
  return value == kNothingSet ? "-" : text;
}

struct Row {
  explicit Row(const TextRow& row) : text(row.input), result(row.expected) {}
  HeapText text;
  std::string result;
};

// From "text => result ~ text => result".
std::list<Row> Rows(const char* table) {
  std::list<Row> rows;
  for (const TextRow& row : TextRows(table, " ~ ")) rows.emplace_back(row);
  return rows;
}

// ---- Values

TEST(HtmlStyleTest, Colors) {
  for (const Row& row : Rows(
           " => -1 ~ # => -1 ~  #FF8000  => FF8000 ~ ff8000 => FF8000 ~ "
           "##FF8000 => -1 ~ F00 => F00000 ~ FF => FFF000 ~ 1 => 100000 ~ "
           "1234 => 123400 ~ 12345 => 123450 ~ 1234567 => 124570 ~ "
           "123456789ABC => 12569A ~ FF800G => -1 ~ FF 00 => -1 ~ "
           "rgb(1,2,3) => 10203 ~ #RGB( 255 , +16 ,\t0 )  => FF1000 ~ "
           "rgb (1,2,3) => -1 ~ rgb(1,2) => -1 ~ rgb(1,2,) => -1 ~ "
           "rgb(1,2,3,4) => -1 ~ rgb(1,2,3 => -1 ~ rgb( => -1 ~ "
           "rgb(1,2,-) => -1 ~ rgb(1,2,%) => -1 ~ rgb(1,2,+3%) => -1 ~ "
           "rgb(999,-7,99999999999) => FF00FF ~ rgb(100%,50%,1%) => FF7F02 ~ "
           "rgb(300%,150%,99999999999%) => FFFFFF ~ red => FF0000 ~ "
           "#White => FFFFFF ~ YELLOWGREEN => 9ACD32 ~ lightgray => -1 ~ "
           "windowtext => 0 ~ mediumpurple => 9370D8 ~ re => -1 ~ redd => -1 ~ "
           // Their rows end in a blank, which a value never does.
           "Indigo  => -1 ~ IndianRed => -1")) {
    EXPECT_EQ(row.result, Hex(ParseHtmlColor(row.text.view())))
        << row.text.str();
  }
  EXPECT_EQ(kNone, ParseHtmlColor(HeapText(std::string("red\0", 4)).view()));
}

TEST(HtmlStyleTest, Sizes) {
  for (const Row& row :
       Rows("1 => 7 ~ 3 => 12 ~ 7 => 36 ~ 9 => 36 ~ 0 => 7 ~ +1 => 14 ~ "
            "-1 => 10 ~ -2 => 7 ~ -9 => 7 ~ +4 => 36 ~ 99999999999 => 36 ~ "
            "-99999999999 => 7 ~  => -7 ~ + => -7 ~ 3px => -7 ~ 1.5 => -7 ~ "
            "+-1 => -7")) {
    int16_t size = kNothingSet;
    ParseHtmlFontSize(row.text.view(), size);
    EXPECT_EQ(row.result, std::to_string(size)) << row.text.str();
  }
  for (const Row& row :
       Rows("font-size:0 => 0 ~ FONT-SIZE : 12PX  => 12 ~ font-size:12pt => 12 "
            "~ "
            "font-size:200px => 72 ~ font-size:72.4px => 72 ~ "
            "font-size:50% => -7 ~ font-size:0% => -7 ~ font-size:0.4px => 0 ~ "
            "font-size:0.5px => 1 ~ font-size:.4999999999px => 0 ~ "
            "font-size:0.5em => 5 ~ font-size:0.05em => 1 ~ "
            "font-size:0.04999999em => 0 ~ font-size:1empx => 10 ~ "
            "font-size:1pxem => -7 ~ font-size:1pxpt => -7 ~ "
            "font-size:2rem => -7 ~ font-size:-5px => 0 ~ "
            "font-size:-0.6px => 0 ~ font-size:+5 => 5 ~ font-size:1,5 => 1 ~ "
            "font-size:1,5.7 => 1 ~ font-size:1.6.9 => 2 ~ "
            "font-size:99999999999.9em => 72 ~ font-size:px => -7 ~ "
            "font-size:. => -7 ~ font-size:- => -7 ~ font-size: => -7 ~ "
            "font-size:12 px => -7 ~ font-size:5-5 => -7 ~ "
            "font-size:12px !important => -7 ~ font-size:Medium => 14 ~ "
            "font-size:xx-small => 7 ~ font-size:xx-large => 36 ~ "
            "font-size:larger => -7 ~ font-size:9px;font-size:0 => 9 ~ "
            "font-size:9px;display:None => 0 ~ display:none !important => -7 ~ "
            "display:block;display:none => -7 ~ nodisplay:none => -7")) {
    int16_t size = kNothingSet;
    TSTYLEPROPS(row.text.view()).getFontSize(size);
    EXPECT_EQ(row.result, std::to_string(size)) << row.text.str();
  }
}

TEST(HtmlStyleTest, ColorsOfStyles) {
  for (const Row& row :
       Rows("color:red => FF0000 - ~ ;;color;a:b; Color : #00f  => FF0 - ~ "
            "color:x;color:red => - - ~ background:blue => - FF ~ "
            "background-color:blue;color:inherit => - FF ~ "
            "background:blue none => - - ~ background:URL(x) => - -2 ~ "
            "background:red url(x);background-color:blue => - FF ~ "
            "background-color:x;background:blue => - - ~ "
            "background-color:blue;background-image:url(x) => - -2 ~ "
            "background-image:none;background:blue => - FF ~ "
            "background-image:blue => - -")) {
    int32_t color = kNothingSet, background = kNothingSet;
    TSTYLEPROPS(row.text.view()).getColor(color);
    TSTYLEPROPS(row.text.view()).getBackground(background);
    EXPECT_EQ(row.result, Hex(color) + " " + Hex(background)) << row.text.str();
  }
}

// ---- Rules

// Asks what the rules of style elements say of a tag.
class Rules {
 public:
  void style(const std::string& text) {
    texts_.push_back(std::make_unique<HeapText>(text));
    c.parseStyle(texts_.back()->view());
  }
  // "color background size", where "-" is what nobody sets.
  std::string of(const std::string& tag) {
    const HeapText text(tag);
    TBLOCK cursor = text.view();
    THITEM item;
    GetFirstHtmlItem(cursor, item);
    int32_t color = kNothingSet, background = kNothingSet;
    int16_t size = kNothingSet;
    c.getStyleValues(item, item.block, color, background, size);
    return Hex(color) + " " + Hex(background) + " " + Hex(size);
  }
  THTMLCONTEXT c;

 private:
  std::vector<std::unique_ptr<HeapText>> texts_;
};

TEST(HtmlStyleTest, RulesOfTags) {
  const Case<const char*> rows[] = {
      {"<p>", " => - - -"},
      {"<p>", "p{color:1} => 100000 - -"},
      {"<td>", "p{color:1} => - - -"},
      {"<P class=x>", "p{color:1;font-size:16} => 100000 - 10"},
      {"<p>", "p{color:1}p{color:2}p{background:3} => 200000 300000 -"},
      // Classes go over tags and ids over classes, wherever they stand.
      {"<p class=C>", ".c{color:1}p{color:2} => 100000 - -"},
      {"<p class=c id=I>", "#i{color:1}.c{color:2}p{color:3} => 100000 - -"},
      {"<p class=c>", "p.c{color:1}.c{color:2} => 200000 - -"},
      {"<p class=c>", ".c{color:2}p.c{color:1} => 100000 - -"},
      {"<p class=c>", "p.c{color:1}.c{background:2} => 100000 200000 -"},
      {"<p class=c>", "td.c{color:1} => - - -"},
      // A rule for a class of a tag is none for the tag.
      {"<p>", "p.c{color:1}p#i{color:2} => - - -"},
      {"<p id=i>", ".c#i{color:1} => 100000 - -"},
      // One class is looked for, not one of several.
      {"<p class='c d'>", ".c{color:1} => - - -"},
      {"<p class=''>", "p{color:1}.{color:2} => 100000 - -"},
      {"<b>", ".a b{color:white} => -2 - -"},
      {"<p>", "p:x{background:1}p{color:2} => 200000 -2 -"},
      {"<p>", "p{color:2}p:x{color:x} => 200000 - -"},
      {"<p>", "p:x{display:none}p{font-size:9} => - - 9"},
      {"<p>", "a,p , td{color:1} => 100000 - -"},
      {"<p>", "@media x{p{color:1}p{color:2}} => 200000 - -"},
      {"<p>", "/*a,*/p/**/{color:1} => 100000 - -"},
      {"<p>", "p/*{color:1} => 100000 - -"},
      {"<p>", "/*/p*/td{color:1} => - - -"},
      {"<p class=ab>", ".a/**/b{color:1} => 100000 - -"},
      {"<p>", " <STYLE type=x> <!-- p{color:1}--> </Style> => 100000 - -"},
      {"<p>", "<style>p{color:1}</style>p{color:2} => 100000 - -"},
      {"<p>", "<style>@import 'x.CSS';p{color:1} => - - -"},
      {"<p>", "<style p{color:1} => - - -"},
      {"<p>", "p{color:1 => - - -"},
      {"<td>", "p{}p{color}td{color:1} => 100000 - -"}};
  for (const auto& test : rows) {
    const std::list<Row> parsed = Rows(test.want);
    const Row& row = parsed.front();
    Rules rules;
    rules.style(row.text.str());
    EXPECT_EQ(row.result, rules.of(test.text)) << test.want << " " << test.text;
  }
}

// Names from copies without comments outlive later elements.
TEST(HtmlStyleTest, NamesOfManyElements) {
  Rules rules;
  for (int i = 0; i < 3000; i++)
    rules.style("/**/.c" + std::to_string(i) + "," + std::string(i % 7, 'x') +
                "{color:" + std::to_string(i % 9 + 1) + "}");
  rules.style("/**/." + std::string(9000, 'y') + "{color:3}");
  for (int i = 0; i < 3000; i += 100)
    EXPECT_EQ(std::to_string(i % 9 + 1) + "00000 - -",
              rules.of("<p class=C" + std::to_string(i) + ">"));
  EXPECT_EQ("300000 - -", rules.of("<p class=" + std::string(9000, 'Y') + ">"));
  EXPECT_EQ(4096, rules.c.styleItems.count());
  rules.c.clear();
  EXPECT_EQ("- - -", rules.of("<p class=c7>"));
  rules.style(".c7{color:1}");
  EXPECT_EQ("100000 - -", rules.of("<p class=c7>"));
}

TEST(HtmlStyleTest, FoldedRulesAreTheWalks) {
  std::mt19937 random(6);
  const char* const kNames[] = {"", "a", "A", "b", "c", "cc", "d", "\xE9\xC9"};
  const THTMLTAG kTags[] = {htUnknown, htP, htTD, htA};
  const auto value = [&random] {
    return random() % 3 ? kNone : static_cast<int32_t>(random() % 70) - 2;
  };
  for (int round = 0; round < 300; round++) {
    std::vector<TSTYLEITEM> rules;
    TSTYLERULES folded;
    for (uint32_t count = random() % 40; count > 0; count--) {
      TSTYLEITEM rule((TBLOCK()));
      rule.tag = kTags[random() % 4];
      rule.className = TBLOCK(kNames[random() % 8]);
      if (random() % 2) rule.idName = TBLOCK(kNames[random() % 8]);
      rule.color = value();
      rule.background = value();
      rule.fontSize = static_cast<int16_t>(value());
      rule.flags = random() % 4 ? 0 : random() % 4;
      rules.push_back(rule);
      folded.add(rule);
    }
    for (int ask = 0; ask < 64; ask++) {
      const THTMLTAG tag = kTags[ask % 4];
      const TBLOCK className(kNames[ask / 4 % 8]);
      const TBLOCK idName(kNames[random() % 8]);
      int32_t values[] = {kNothingSet, kNothingSet, kNothingSet};
      WalkRules(rules.data(), rules.size(), tag, className, idName, values);
      int32_t color = kNothingSet, background = kNothingSet;
      int16_t size = kNothingSet;
      folded.apply(tag, className, idName, color, background, size);
      ASSERT_EQ(values[0], color) << round;
      ASSERT_EQ(values[1], background) << round;
      ASSERT_EQ(values[2], size) << round;
    }
  }
}

// ---- The stack

TEST(HtmlStyleTest, StackThatIsFull) {
  TTAGSTACK stack;
  const TTAGSTYLE last = {htP, 2, kNone, 9};
  for (int i = 0; i < kMaxTagStack; i++)
    stack.push({htFONT, i == 0 ? 1 : kNone, kNone, 9});
  stack.push(last);
  EXPECT_EQ(kMaxTagStack, stack.count());
  EXPECT_EQ(0u, stack.pop(htP));
  EXPECT_EQ(1, stack.newest(TTAGSTACK::tsColor));
  EXPECT_NE(0u, stack.pop(htFONT));
  stack.push(last);
  EXPECT_EQ(2, stack.newest(TTAGSTACK::tsColor));
}

// ---- Visibility

// Texts are "hid" or "see", as they are; more letters may follow.
TEST(HtmlStyleTest, InvisibleText) {
  for (const char* html :
       {"<body bgcolor=white><font color=white>hid</font>see",
        "<font color=white>hid</font>see", "<font color=#E8E8E8>hid",
        "<body bgcolor=black><font color=black>see",
        "<body bgcolor=#ff0000 text=red>hid<font color=#0f0>see</font>hid",
        "<body bgcolor=red><body bgcolor=white><font color=red>hid",
        "<body background=x bgcolor=white><font color=white>see",
        "<body background='' style='background:white'>"
        "<font color=white>see",
        "<style>body:x{background:white}</style>"
        "<body style='background:white'><font color=white>see",
        // Outside of a table a cell counts for nothing.
        "<table><tr><td background=x><font color=white>see",
        "<td background=x><font color=white>hid",
        "<table><tr><td bgcolor=x><font color=white>hid",
        "<table><tr><td bgcolor=#f0f0f0><font color=white>hid</td>see",
        "<body link=white>see<a name=x>hid</a>see",
        "<body text=white><table><tr><td><font color=red>see</font>hid",
        "<body text=white><font color=red>see<table><tr><td>hid",
        // The style attribute goes over that for colours, a size attribute
        // over it.
        "<font color=white style='color:red'>see",
        "<font color=red style='color:white'>hid",
        "<font color=white style='color:inherit'>hid",
        "<font size=1 style='font-size:0'>see", "<font style='font-size:0'>hid",
        "<style>.h{color:white}p{color:red}</style><p class=h>hid<p>see",
        "<style>.h{display:none}</style><div class=h>hid</div>",
        "<style>x .h{color:white}</style><p class=h>see",
        // Size 0 is not asked for again when something closes.
        "<div style='display:none'>hid<font>hid</font>see<font>hid</div>see",
        "<div style='display:none'>hid</p>see",
        "<div style='display:none'>hid</div>see<font>see",
        // The newest value that is set comes back, not that of the parent.
        "<font color=white>hid<span>hid<font color=red>see</font>hid</span>"
        "hid</font>see",
        "<font color=white>hid<div>hid</font>see</div>see",
        "<span style='color:white'>hid<font color=red>see</span>see</font>"
        "see",
        "<table><tr><td><font color=white><div>hid</td>see",
        "<table bgcolor=red><tr><td bgcolor=white><font color=red>see</td>"
        "<font color=red>hid",
        // Paragraphs do not nest.
        "<p style='color:white'>hid<p>see",
        // A background that nothing sets any more is none.
        "<span style='background:red'></span><font color=white>see",
        // Ahead of the body nothing counts; nor does a single byte.
        "<font color=white>head</font><body>see",
        "<font color=white>h<b></b>hid",
        "<font color=white><a href=u>hid, but see</a>"}) {
    THTMLCONTEXT c;
    const HeapText source(html), output(std::string(300, '#'));
    QmHtmlParse(source.view(), output.view(), c, nullptr, nullptr);
    const std::string text = html;
    int32_t hidden = 0, length = 0;
    for (size_t at = 0; (at = text.find("hid", at)) != std::string::npos; at++)
      hidden++;
    EXPECT_EQ(hidden, c.invisibleTexts.count()) << html;
    for (int32_t i = 0; i < c.invisibleTexts.count(); i++) {
      EXPECT_EQ("hid", Str(c.invisibleTexts.get(i)).substr(0, 3)) << html;
      length += static_cast<int32_t>(c.invisibleTexts.get(i).length);
    }
    EXPECT_EQ(length, c.invisibleLength) << html;
    EXPECT_EQ(text.find("see") == std::string::npos,
              output.str().find("see") == std::string::npos)
        << html;
  }
}

TEST(HtmlStyleTest, SizesInForce) {
  for (const Row& row :
       Rows(" => 16 ~ <h1> => 36 ~ <h2> => 24 ~ <h3> => 18 ~ <h4> => 16 ~ "
            "<h5> => 12 ~ <h6> => 10 ~ <h6 style='font-size:50%'> => 10 ~ "
            "<h1></h1> => 16 ~ <font size=1> => 7 ~ <font size=1><div> => 7 ~ "
            "<font size=1><div></font> => 7 ~ "
            "<font size=1><div></font></div> => 16 ~ "
            "<style>p:x{font-size:3}</style><p><div> => -2 ~ "
            "<style>p:x{font-size:3}</style><p></p> => 16 ~ <span size=1> => "
            "16")) {
    THTMLCONTEXT c;
    QmHtmlParse(row.text.view(), TBLOCK(), c, nullptr, nullptr);
    EXPECT_EQ(row.result, std::to_string(c.curFontSize)) << row.text.str();
  }
}

}  // namespace
