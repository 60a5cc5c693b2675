// The words of a message, and the letters of its lines.

#include <gtest/gtest.h>

#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

TEST(BodyWordsTest, LettersOfLinesAreDivided) {
  const HeapText mail(
      "From: \"Ann SueLee\" <ann@example.org>\n"
      "Subject: FreeWalk now\n\n"
      "  Dear Bob\n\n-----\nsee bob@example.com and Bob@Example.com\n"
      "one! two\n//ars old\nno: yes\nplain\n\n");
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  // The first that matches counts, though its name is empty; a line without a
  // colon is no pattern, and one that does not compile matches nothing.
  ASSERT_TRUE(LoadSource(m.dico,
                         "[:AdnLines]\ndear:^Dear\n@:[a-z]@[a-z]\nz:(\n"
                         ":!\n!:!\nn :  ^no:  \nd:^Dear\n"));
  ASSERT_TRUE(m.loadFromBlock(mail.view(), "", 1));
  m.parseWords();
  EXPECT_STREQ("20s42q21", m.lineAdn.c_str());
  EXPECT_STREQ("d0s@#qn#", m.lineAdnDetail.c_str());
  EXPECT_EQ("FreeWalk|now|Free|Walk|", Join(m.subjectWords));
  EXPECT_EQ("Ann|SueLee|Sue|Lee|", Join(m.aliasWords));
  EXPECT_EQ("bob@example.com|", Join(m.emails));
  EXPECT_EQ(
      "Dear|Bob|see|bob@example.com|and|Bob@Example.com|one!|two|no|yes|plain|",
      Join(m.bodyWords));
}

// Without the section each line with words has the same letter.
TEST(BodyWordsTest, NoPatternsForLines) {
  const HeapText mail("Subject: x\n\na b\n\n--\nc\n");
  TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
  ASSERT_TRUE(LoadSource(m.dico, "[:Other]\nx:.\n"));
  ASSERT_TRUE(m.loadFromBlock(mail.view(), "", 1));
  m.parseWords();
  EXPECT_STREQ("20s1", m.lineAdn.c_str());
  EXPECT_STREQ("#0s#", m.lineAdnDetail.c_str());
}

}  // namespace
