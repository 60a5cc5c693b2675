#include "content/sender_judge.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <initializer_list>

#include "base/heap_text.h"

namespace {

// Holds the judgement of "RESULT MAILBOX" rows against what they say.
void Judge(int (*judge)(const TMAILBOX&),
           std::initializer_list<const char*> rows) {
  for (const char* row : rows) {
    char* rest;
    const long result = strtol(row, &rest, 10);
    const HeapText text(rest);
    EXPECT_EQ(result, judge(ParseMailBox(text.view()))) << row;
  }
}

TEST(CheckCommonEmailTest, Rows) {
  Judge(CheckCommonEmail, {"1 a <Info-12.@a.org>", "1 newsletter@a.org",
                           "1 NoReply99@a.org", "0 inf@a.org", "0 1info@a.org",
                           "0 x@info.org", "1 mktg@a.org", "0 info"});
}

TEST(CheckEmailSchemeTest, Rows) {
  Judge(CheckEmailScheme,
        {"0 xyz@a.org", "0 John Smith", "0 ",
         // Telephone numbers, of nine digits or more.
         "1 (012) 345 678 <xyz@a.org>", "-1 (012) 345 67 <xyz@a.org>",
         "-1 012-345-678 <xyz@a.org>", "1 a.org team <xyz@a.org>",
         "0 a.or team <xyz@a.org>", "1 jose <josep99@a.org>",
         "0 joh <jo.x@a.org>",
         // Either holds the other, from one letter on.
         "1 re xyz@a.org <xyz@a.org>", "1 q <xqz@a.org>", "1 Org <xyz@a.org>",
         // One word, by what it shares with either end.
         "1 Smithers <smithson@a.org>", "0 Smipers <smitson@a.org>",
         "1 Smithers <bigsmith@a.org>", "0 Smitters <bigsmih@a.org>",
         "1 12 Smithers <smithson@a.org>", "1 John Smith <jsmith7@a.org>",
         "0 John Smith <qzkpxw@a.org>", "-1 12 ?? <xyz@a.org>",
         "1 John 12 Smith <jsmith@a.org>"});
}

TEST(CheckForgedMailBoxTest, Rows) {
  Judge(
      CheckForgedMailBox,
      {// No judgement: short, a digit at the end, other bytes, the Web, roles.
       "0 \"qzkxw\" <qzkxw@a.org>", "0 Jane Doe <qzkxwvb1@a.org>",
       "0 Jane Doe <qzk.xwvb@a.org>", "0 Jane Doe <qzkwebxw@a.org>",
       "0 Jane Doe <qzkMAILxw@a.org>", "0 Jane Doe <infoqzkxwvb@a.org>",
       "0 qzkxwvbq@a.org (Jane Qzkxwvb)", "2 Jane Doe <qzkxwvbq@a.org>",
       "2 qzkxwvbq@a.org", "2 Jane Doe <q1zkxwvbq@a.org>",
       // Three bad triples are too few but where the name is the address.
       "0 Jane Doe <qzkxab@a.org>", "3 \"qzkxab\" <qzkxab@a.org>",
       "3 \"QZKXAB\" <qzkxab@a.org>", "0 \"qzkxab\" <QZKXAB@a.org>",
       "0 qzkxab <qzkxab@a.org>", "0 \"marian\" <marian@a.org>",
       "1 \"42\" <marian@a.org>",
       // Plain names of which nothing is language.
       "4 \"Jane Qzkxwv\" <marian@a.org>", "0 \"Jane Qzkxw\" <marian@a.org>",
       "0 Jane Qzkxwvb <marian@a.org>", "0 \"Jane Marley\" <horton@a.org>",
       "5 \"qzk xwvbq\" <marian@a.org>", "0 \"qzk xwzk\" <marian@a.org>",
       // A triple counts once, in whatever case it is met again.
       "0 \"qzk xwzk\" <ma1QZK1r@a.org>", "5 \"qzk xwzk\" <ma1qzx1r@a.org>",
       "0 \"jane marley\" <horton@a.org>"});
}

TEST(GetFallSchemeTest, Rows) {
  Judge(
      GetFallScheme,
      {"0 John Smith <abc@a.org>", "0 abcd@a.org",
       "0 John Contact <qqqjohncontact@a.org>",
       "0 John Smith <qqsalesjohnsmith@a.org>", "0 Smith <qqqsmithqqq@a.org>",
       "0 John 99 <qqqjohn99qqq@a.org>", "0 John Smith <john.smith@a.org>",
       "1 John Smith <qqjohn.smithq@a.org>",
       "1 John R. Smith <qJOHNqsmithq@a.org>",
       "-1 John Smith <qjohnsmithr@a.org>", "2 John Smith <qsmithqjohnq@a.org>",
       "-1 Jo Smith <qqjoqqsmithqq@a.org>",
       "-1 John Smith <qqjohnsmit.hqq@a.org>",
       "-1 Anna Nath <qqannathqqq@a.org>",
       "-1 John Smith <qqqqqqqqqqqqqq@a.org>"});
}

}  // namespace
