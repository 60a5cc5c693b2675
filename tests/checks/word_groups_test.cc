#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[Plain-Group]\n<60>loan\n"
    "[Plain-Words]\n<50>cash\n<-30>garden\n"
    "[Alone-Words]\n<500>cash\n"
    "[^No-Barred-Regex]\n<0>(Subject=barred)\n[Barred-Group]\n<200>loan\n"
    "[Own-Group]\n<10>loan\n[Own-Words]\n<100>cash\n"
    "[Own-SubjectWords]\n<7>offer\n[Own-AliasWords]\n<9>sales\n"
    "[^Rules-GroupRegex]\n<&30>one:(Subject=offer)|(Subject=none)\n<40>"
    "(Subject=none)\n<0>(Subject=offer)\n"
    "[^Rules-Regex]\n<69>(Subject=offer)\n<1>(Subject=offer)\n"
    "[Zero-Group]\n<50>loan\n[^Zero-GroupRegex]\n<-50>(Subject=offer)\n"
    "[^Zero-Regex]\n<500>(Subject=offer)\n"
    "[&List]\nsub\n+far\nsub\nquiet\n"
    "[List\\sub-Group]\n<20>loan\n[List\\far-Group]\n<40>distant\n"
    "[List\\quiet-Words]\n<900>loan\n"
    "[&Deep]\nouter\n[&Deep\\outer]\ninner\n[Deep\\outer\\inner-Group]\n"
    "<70>loan\n[^Deep-GroupRegex]\n<3>(Subject=offer)\n"
    "[Deep\\outer-Words]\n<5>cash\n[Deep\\outer\\inner-Words]\n<6>cash\n"
    "[#String]\nsub\n[String\\sub-Group]\n<200>loan\n"
    "[Huge-Group]\n<1000000000>loan\n<1000000000>cash\n"
    "[&Many-Group]\nPlain-Group\nOwn-Group\n"
    "[^Top]\n";

// Padding that fills the first words of a body.
std::string Padding(int n) {
  std::string text;
  for (int i = 0; i < n; i++) text += "word ";
  return text;
}

class WordGroupsTest : public testing::Test {
 protected:
  WordGroupsTest() : m(nullptr, nullptr, nullptr, 0, 0) {}

  void load(const std::string& source, const std::string& body,
            const std::string& subject = "offer loan",
            const std::string& alias = "sales") {
    ASSERT_TRUE(LoadSource(m.dico, source));
    texts[0].reset(new HeapText(body));
    texts[1].reset(new HeapText(subject));
    texts[2].reset(new HeapText(alias));
    m.subject = texts[1]->view();
    TBLOCKVECT* words[] = {&m.bodyWords, &m.subjectWords, &m.aliasWords};
    for (int i = 0; i < 3; i++) {
      words[i]->clear();
      TBLOCK::GetBlockWordList(texts[i]->view(), *words[i], bitWhiteSpace);
    }
    m.dropRegexFields();
  }

  TQMMSG m;
  std::unique_ptr<HeapText> texts[3];
};

TEST_F(WordGroupsTest, Totals) {
  const struct {
    const char* name;
    int32_t start, total;
    bool result;
    const char* description;
  } rows[] = {
      {"None", 0, 0, false, ""},
      // "loan" in the body, "cash" there; the subject counts double, but only
      // for what "-Words" says.
      {"Plain", 0, 110, true, ""},
      {"plain", 0, 110, true, ""},
      // Without "+" the subject is not searched for the words of the group.
      {"+Plain", 0, 60 + 60 + 50, true, ""},
      // Words alone say nothing; a total that others made lets them.
      {"Alone", 0, 0, false, ""},
      {"Alone", 1, 501, true, ""},
      {"Own", 0, 10 + 100 + 7 + 9, true, ""},
      {"Rules", 0, 30 + 69 + 1, true, ""},
      {"Zero", 0, 0, false, ""},
      {"Zero", -1, 499, true, ""},
      // "sub" twice; "+far" finds what stands far back; "quiet" sees nothing,
      // since the group itself has no points; with points, the subject too.
      {"List", 0, 20 + 40 + 20, false, "sub-+far-sub"},
      {"+List", 0, 40 + 40 + 40, true, "sub-+far-sub"},
      {"List", 1, 1 + 20 + 40 + 20 + 900 + 1800, true, "quiet-sub-+far-sub"},
      {"Deep", 0, 3 + 70 + 6 + 5, false, "outer-inner"},
      {"String", 0, 0, false, ""},
      {"Huge", 0, 1000000000, true, ""},
      {"Many", 0, 60 + 10, false, ""},
  };
  load(kSections, "loan cash " + Padding(150) + "distant");
  for (const auto& row : rows) {
    int32_t total = row.start;
    STR description;
    EXPECT_EQ(row.result, m.checkWordGroup(row.name, total, &description))
        << row.name;
    EXPECT_EQ(row.total, total) << row.name << row.start;
    EXPECT_STREQ(row.description, description.c_str()) << row.name;
    total = row.start;
    EXPECT_EQ(row.result, m.checkWordGroup(row.name, total, nullptr));
    EXPECT_EQ(row.total, total) << row.name;
  }
  EXPECT_EQ(0, m.ledger.score);
}

TEST_F(WordGroupsTest, WhereWordsAreLookedFor) {
  const struct {
    const char *name, *body, *subject, *alias;
    int before;  // words ahead of the body
    int32_t total;
  } rows[] = {
      {"Barred", "loan", "barred", "", 0, 0},
      {"Barred", "loan", "free", "", 0, 200},
      {"Plain", "loan", "", "", 149, 60},
      {"Plain", "loan", "", "", 150, 0},
      {"+Plain", "loan", "", "", 150, 60},
      {"Plain", "", "loan", "loan", 0, 0},
      {"+Plain", "", "loan", "loan", 0, 120},
      // "-Words" counts twice in a field without words of its own.
      {"Plain", "loan cash", "cash", "garden", 0, 60 + 50 + 100 - 60},
      {"Plain", "loan", "x cash", "", 0, 160},
      {"Own", "loan", "cash offer", "cash sales", 0, 10 + 7 + 9},
      // The fields are searched to their end.
      {"+Own", "loan", "", "", 150, 10},
  };
  for (const auto& row : rows) {
    load(kSections, Padding(row.before) + row.body, row.subject, row.alias);
    int32_t total = 0;
    EXPECT_EQ(row.total > 99, m.checkWordGroup(row.name, total, nullptr));
    EXPECT_EQ(row.total, total) << row.name << "|" << row.body;
  }
}

// A dictionary that names the same subgroups over and over costs no more than
// its lines; and names grow no further than sections go.
TEST_F(WordGroupsTest, KnotsEnd) {
  std::string lines, source, name = "k";
  for (int i = 0; i < 40; i++) lines += "a\n";
  for (int depth = 0; depth < 20; depth++, name += "\\a")
    source += "[&" + name + "]\n" + (depth < 19 ? lines : "") + "[" + name +
              "-Group]\n<1>loan\n";
  std::string chain;
  name = "c";
  for (int depth = 0; depth < 20; depth++, name += "\\a")
    chain += "[&" + name + "]\na\n[" + name + "-Group]\n<1>loan\n";
  load(source + chain + "[&self]\n\n\n\n[#x]\n" + std::string(3000, 'x'),
       "loan");
  int32_t total = 0;
  m.checkWordGroup("k", total, nullptr);
  EXPECT_GT(total, 40);
  EXPECT_LT(total, 2000);
  total = 0;
  m.checkWordGroup("c", total, nullptr);
  EXPECT_EQ(16, total);
  EXPECT_FALSE(
      m.checkWordGroup(std::string(3000, 'c').c_str(), total, nullptr));
}

// Each row begins with a ledger of that score.
TEST_F(WordGroupsTest, Sections) {
  load(std::string(kSections) +
           "[&Groups]\n<30>Plain\n<40>Deep\n<50>+List\n<0>Own\n<60>Plain\n"
           "[&Strong]\n<100>Plain\n<5>Own\n",
       "loan cash " + Padding(150) + "distant");
  const struct {
    const char* section;
    int32_t before;
    int result, score, state;
    const char* cause;
  } rows[] = {
      {"Absent", -7, 0, -7, 0, "was (-7)"},
      // Each hit clears what the one before it left.
      {"Groups", 50, 1, 60, 0, "*Plain (60)"},
      {"Groups", 100, 1, 240, 1,
       "was (100);*Plain (30);*+List-sub-+far-sub (50);*Plain (60)"},
      {"Strong", -500, 1, 105, 1, "*Plain (100);*Own (5)"},
  };
  for (const auto& row : rows) {
    m.ledger.reset();
    m.addToSpamScore(row.before, "was", 1);
    EXPECT_EQ(row.result, m.checkWordGroups(row.section)) << row.section;
    EXPECT_EQ(row.score, m.ledger.score) << row.section;
    EXPECT_EQ(row.state, m.ledger.state) << row.section;
    EXPECT_EQ(row.cause, Str(m.ledger.cause.view())) << row.section;
  }
}

TEST_F(WordGroupsTest, Newsletters) {
  load("[#Newsletters]\n*monthly*\n", "");
  const struct {
    const char* body;
    int own, parameters, others;
    bool result;
  } rows[] = {
      {"our monthly news", 5, 5, 0, true},
      {"our monthly news", 4, 4, 0, false},
      {"our weekly news", 5, 5, 0, false},
      {"our monthly news", 5, 4, 3, false},
      {"our monthly news", 9, 5, 8, true},
      {"our monthly news", 0, 0, 9, false},
      {"our monthly news", 0, 0, 10, true},
      {"our monthly news", 0, 0, 0, false},
  };
  for (const auto& row : rows) {
    HeapText body(row.body);
    m.body = body.view();
    TLINKVECT list;
    std::string urls;
    for (int i = 0; i < row.own; i++)
      urls += "http://own.example/" + std::to_string(i) +
              (i < row.parameters ? "?a=1\n" : "\n");
    for (int i = 0; i < row.others; i++)
      urls += "http://other" + std::to_string(i) + ".example/?b\n";
    HeapText text(urls);
    TBLOCKVECT lines(text.view(), 1);
    for (int i = 0; i < lines.count(); i++) list.add(lines.get(i), TBLOCK());
    m.links = &list;
    m.linkCount = list.count();
    EXPECT_EQ(row.result, m.checkNewsletter()) << row.own << row.others;
  }
  m.links = nullptr;
}

}  // namespace
