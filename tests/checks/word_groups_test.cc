#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>

#include "base/heap_text.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

namespace {

const char kSections[] =
    "[Plain-Group]\n<60>loan\n[Plain-Words]\n<50>cash\n<-30>garden\n"
    "[Alone-Words]\n<500>cash\n[Zero-Group]\n<50>loan\n"
    "[^Zero-GroupRegex]\n<-50>(Subject=.)\n[^Zero-Regex]\n<500>(Subject=.)\n"
    "[&List]\nsub\n+far\nsub\nquiet\n[List\\sub-Group]\n<20>loan\n"
    "[List\\far-Group]\n<40>distant\n[List\\quiet-Words]\n<900>sand\n"
    "[&Deep]\nouter\n[&Deep\\outer]\ninner\n[Deep\\outer\\inner-Group]\n"
    "<70>loan\n[^Deep-GroupRegex]\n<3>(Subject=offer)\n"
    "[Deep\\outer-Words]\n<5>cash\n[Deep\\outer\\inner-Words]\n<6>cash\n"
    "[Huge-Group]\n<1000000000>loan\n<1000000000>cash\n";

int32_t Total(const std::string& source, const char* name, int32_t total,
              const std::string& bodyText, const char* subject,
              const char* alias, std::string& description) {
  auto m = std::make_unique<TQMMSG>(nullptr, nullptr, nullptr, 0, 0);
  EXPECT_TRUE(LoadSource(m->dico, source));
  HeapText texts[] = {HeapText(bodyText), HeapText(subject), HeapText(alias)};
  TBLOCKVECT* words[] = {&m->bodyWords, &m->subjectWords, &m->aliasWords};
  for (int i = 0; i < 3; i++)
    TBLOCK::GetBlockWordList(texts[i].view(), *words[i], bitWhiteSpace);
  m->subject = texts[1].view();
  STR names;
  const bool result = m->checkWordGroup(name, total, &names);
  EXPECT_TRUE(!result || total > 99) << name;
  description = names.c_str();
  return total;
}

// Subgroups end at depth 16; when they are named over and over, at a number.
TEST(WordGroupsTest, KnotsEnd) {
  for (const int times : {1, 40}) {
    std::string source, lines, name = "k", description;
    for (int i = 0; i < times; i++) lines += "a\n";
    for (int depth = 0; depth < 20; depth++, name += "\\a")
      source += "[&" + name + "]\n" + lines + "[" + name + "-Group]\n<1>loan\n";
    const int32_t total = Total(source, "k", 0, "loan", "", "", description);
    EXPECT_LE(16, total);
    EXPECT_GE(times == 1 ? 16 : 1000, total);
  }
}

TEST(WordGroupsTest, Newsletters) {
  const struct {
    const char* body;
    // Hosts; links to the first one with and without this query.
    int hosts, asked, plain;
    const char* query;
    bool result;
  } rows[] = {{"our letter", 10, 0, 0, "", true},
              {"your letter", 10, 0, 0, "", false},
              {"our letter", 9, 0, 0, "", false},
              {"our letter", 0, 0, 0, "", false},
              {"our letter", 2, 5, 0, "?a=1", true},
              {"our letter", 2, 4, 9, "?a=1", false},
              {"our letter", 2, 5, 0, "", false}};
  for (const auto& row : rows) {
    TQMMSG m(nullptr, nullptr, nullptr, 0, 0);
    ASSERT_TRUE(LoadSource(m.dico, "[#Newsletters]\nour*\n"));
    m.body = TBLOCK(row.body);
    m.links = &m.htmlContext.links;
    std::deque<HeapText> urls;
    const auto add = [&](int host, int n, const char* query) {
      urls.emplace_back("http://h" + std::to_string(host) + ".example/" +
                        std::to_string(n) + query);
      m.links->add(urls.back().view(), TBLOCK());
    };
    for (int i = 0; i < row.hosts; i++) add(i, 0, "");
    for (int i = 0; i < row.asked; i++) add(0, i, row.query);
    for (int i = 0; i < row.plain; i++) add(0, i, "");
    m.linkCount = m.links->count();
    EXPECT_EQ(row.result, m.checkNewsletter()) << row.body << row.asked;
  }
}

}  // namespace
