#include "content/mailbox.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/heap_text.h"
#include "content/address_scheme.h"

namespace {

// "TEXT => WANTED": the text as a heap copy, and what is wanted of it.
struct Row {
  explicit Row(const std::string& row)
      : text(row.substr(0, row.find(" => "))),
        wanted(row.substr(row.find(" => ") + 4)) {}
  const HeapText text;
  const std::string wanted;
};

// "email|name|host|flags".
TEST(ParseMailBoxTest, Rows) {
  const char* const rows[] = {
      " => |||0", " a@b.org  => a@b.org||b.org|0",
      "\"Doe, John\" <jd@a.org> => jd@a.org|Doe, John|a.org|3",
      "jd@a.org (John Doe) => jd@a.org|John Doe|a.org|0",
      "<a@b.org> <c@d.org> => c@d.org|<a@b.org>|d.org|1",
      "X <<a@b.org>> => a@b.org|X <|b.org|1",
      "undisclosed-recipients:; => |undisclosed-recipients:;||0",
      "no at sign <here> => |no at sign||1", "<here> => |here||1",
      "a@nodot => |a@nodot||0", "a@b.org> => |a@b.org>||1", ") => |)||0",
      "( => |(||0", "> => |>||1", "<> => |||1", "() => |||0",
      "x (a) b (c) => |c||0", "'jd@a.org' => |jd@a.org||2",
      "' \"J\" ' <jd@a.org> => jd@a.org|J|a.org|3",
      "<\"a b@c\"@d.org> => \"a b@c\"@d.org||d.org|1",
      "<a b@d.org> => |a b@d.org||1",
      // Blanks inside the brackets cost the address, others do not.
      "X < a@b.org > => |X||1", " a@b.org  ( X )  => a@b.org|X|b.org|0",
      "<@b.org> => @b.org||b.org|1", "<a@b.org.> => a@b.org.||b.org.|1",
      "\"<a@b.org> => a@b.org|\"|b.org|1", "<a@b_c.org> => |a@b_c.org||1",
      "o'neil@a.org => |o'neil@a.org||0",
      "<x+a=b.org@c.org> => |x+a=b.org@c.org||1"};
  for (const char* line : rows) {
    const Row row(line);
    const TMAILBOX box = ParseMailBox(row.text.view());
    EXPECT_EQ(row.wanted, Str(box.email) + "|" + Str(box.name) + "|" +
                              Str(box.host) + "|" + std::to_string(box.flags))
        << line;
  }
}

// The letter for the address has no room behind 30 others.
TEST(SetMailboxAdnTest, EndsAtThirtyLetters) {
  std::string words;
  for (int i = 1; i < 40; i++) {
    words += "x ";
    const HeapText text(words + "<q@b.org>");
    EXPECT_EQ((std::string(static_cast<size_t>(i), 'l') + "b").substr(0, 30),
              ParseMailBox(text.view()).adn);
  }
}

// "SCHEME LOCAL NAME".
TEST(ParseRecipientSchemeTest, Rows) {
  const char* const rows[] = {
      "1 jsmith John Smith", "1 jsmith99.- John Smith",
      // One byte may stand between the words.
      "1 j.smith John Smith", "5 j..smith John Smith", "1 jSmith JOHN SMITH",
      "2 smithj John Smith", "2 smith.john John Smith", "3 smithers John Smith",
      "4 carpenter.x Jo Carpenters", "3 carpx.y Jo Carp", "0 carpab Jo Carpx",
      "5 bigsmith John Smith", "0 bigsmith John Smit", "6 jd John Doe",
      "7 jd Doe John", "0 jxd John Doe", "8 jde John Doe", "6 jde John De",
      "0 jd A B C Doe", "5 amdupont X Anne Marie-Dupont",
      "1 adupont Anne Marie-Dupont", "0 john John", "0 j1 John Smith",
      "0 js js@a.org John Smith", "0 john.smith john.smith", "0 jsmith ",
      // Overlaps that a naive comparison reads too long or too short.
      "0 ababab Xx ababcd", "5 qqababab Xx ababab", "1 xaaa X Aaab"};
  for (const char* row : rows) {
    const std::string rest(row + 2);
    const size_t blank = rest.find(' ');
    const HeapText text(rest.substr(blank) + "<" + rest.substr(0, blank) +
                        "@a.org>");
    EXPECT_EQ(row[0] - '0', ParseMailBox(text.view()).scheme) << row;
  }
}

TEST(TMAILBOXVECTTest, RecordsByPlace) {
  const HeapText text("a@b.org,c@d.org"), more("<e@f.org>, \"\"");
  TMAILBOXVECT boxes(1);
  STR adn;
  EXPECT_EQ(2, ParseEmailAddressesWithAdn(text.view(), boxes, adn));
  // A second list is added to the first, and so are its shapes.
  EXPECT_EQ(4, ParseEmailAddressesWithAdn(more.view(), boxes, adn));
  EXPECT_STREQ("e,e,b,", adn.c_str());
  EXPECT_EQ(2, boxes.pos(boxes.get(2)));
  EXPECT_EQ(-1, boxes.pos(TMAILBOX()));
  EXPECT_EQ(1, boxes.ins(boxes.get(2), 0) + boxes.ins(boxes.get(0), 6));
  EXPECT_EQ(1, boxes.set(boxes.get(2), 4));
  EXPECT_EQ(1, boxes.del(1));
  EXPECT_EQ("e@f.org", Str(boxes.get(0).email));
  EXPECT_EQ("c@d.org", Str(boxes.get(3).email));
  for (int32_t i : {-1, 4, INT32_MAX, INT32_MIN}) {
    EXPECT_TRUE(boxes.get(i).email.empty() && boxes.get(i).adn[0] == 0) << i;
    EXPECT_EQ(0, boxes.set(TMAILBOX(), i) + boxes.del(i)) << i;
  }
}

// "RESULT LIST", and the user's address behind the list.
TEST(CheckSortedRecipsTest, Rows) {
  const char* const rows[] = {
      "0 aa@x.org,ab@x.org,ac@x.org,ad@x.org",
      "1 aa@x.org,ab@x.org,ac@x.org,ad@x.org,ae@x.org",
      // Doubles and what is no address don't count.
      "0 aa@x.org,ab@x.org,ac@x.org,ad@x.org,AD@x.org",
      "0 aa@x.org,ab@x.org,ac@x.org,ad@x.org,ae",
      "1 a@x.org,b@x.org,c@X.com,d@x.net,e@x.a.b",
      "0 a@x.org,b@x.org,c@x.org,e@x.org,d@x.org",
      "0 a@x.org,b@x.org,c@x.org,d@x.org,e@y.org",
      // Only the shorter length is compared.
      "1 ab@x.org,a@x.org,abc@x.org,ab@x.com,b@x.org",
      // One name in all domains, in any case.
      "1 joe@a.org,JOE@b.org,joe@c.org,joe@d.org,joe@e.org",
      "0 joe@a.org,joe@b.org,joe@c.org,joe@d.org,jo@e.org",
      "0 joe@.org,joe@.com,joe@.net,joe@.a,joe@.b",
      // A user of the domain who is not in the list, and one who is.
      "0 a@x.org,b@x.org,c@x.org,d@x.org,e@x.org z@X.org",
      "1 a@x.org,b@x.org,c@x.org,d@x.org,e@x.org C@x.org",
      "1 a@x.org,b@x.org,c@x.org,d@x.org,e@x.org z@y.org",
      "1 a@x.org,ab@x.org,ac@x.org,ad@x.org,ae@x.org z@x.org"};
  for (const char* row : rows) {
    const HeapText text(row + 2);
    TBLOCK user = text.view();
    const TBLOCK list = TBLOCK::BlockBeforeChar(user, ' ', 0, 0);
    TMAILBOXVECT boxes(0);
    ParseEmailAddresses(list, boxes);
    EXPECT_EQ(row[0] - '0', CheckSortedRecips(boxes, ParseMailBox(user)))
        << row;
  }
}

}  // namespace
