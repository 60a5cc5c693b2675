#include "rules/rule_expression.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/heap_text.h"
#include "regex/regex_pool.h"
#include "regex/zr_regex.h"
#include "rules/pattern_image_util.h"
#include "rules/qm_dico.h"
#include "rules/rule_book.h"

namespace {

std::string Range(int32_t from, int32_t to, const char* marks) {
  if (from < 0 && to < 0) return "";
  return std::string(1, marks[0]) + (from < 0 ? "" : std::to_string(from)) +
         "," + (to < 0 ? "" : std::to_string(to)) + marks[1];
}

// count, function, field number and name, range, section mark, operator, value;
// "none" for a leaf that is not well-formed.
std::string Dump(const TQMEXPR& leaf) {
  static const char* const kSigns[] = {"=", "<>", "==", "!="};
  if (!leaf.isRule) return "none";
  return Range(leaf.minCount, leaf.maxCount, "{}") +
         (leaf.func ? std::to_string(leaf.func) + ":" : "") +
         std::to_string(leaf.field) + " " + Str(leaf.fieldName) +
         Range(leaf.first, leaf.last, "[]") + (leaf.isSection ? "$" : "") +
         kSigns[leaf.op] + Str(leaf.value);
}

std::string Leaf(const std::string& text, const TQMDICO& dico) {
  const HeapText copy(text);
  TQMEXPR leaf;
  EXPECT_EQ(leaf.parse(copy.view(), dico), leaf.isRule);
  return Dump(leaf);
}

TEST(RuleLeafTest, IsReadFromLeftToRight) {
  TQMDICO dico(nullptr, nullptr);
  static const Case<const char*> rows[] = {
      {"Hdr=^FTSD", "101 Hdr=^FTSD"},
      {" url == a b ", "3 url== a b "},
      {"Url<>x", "3 Url<>x"},
      {"Url!=x", "3 Url!=x"},
      {"AdnFrom=<>$", "14 AdnFrom=<>$"},
      {"Url===", "3 Url==="},
      {"Url=$", "3 Url=$"},
      {"Hdr$=Spam", "101 Hdr$=Spam"},
      {"Hdr$<>Spam", "101 Hdr$<>Spam"},
      // What is no leaf.
      {"", "none"},
      {"Url", "none"},
      {"Url=", "none"},
      {"Url==", "none"},
      {"Url#=x", "none"},
      {"Url<x", "none"},
      {"Url>x", "none"},
      {"Url!x", "none"},
      {"Url$x", "none"},
      {"Url$ =x", "none"},
      {"Url$$=x", "none"},
      {"Url$", "none"},
      {"=x", "0 =x"},
      {"5", "none"},
      // Counts.
      {"1<Domain=.", "{2,}16 Domain=."},
      {"3>Filename=.", "{,2}34 Filename=."},
      {"2=Url<>x", "{2,2}3 Url<>x"},
      {"0=Url=x", "{0,0}3 Url=x"},
      {"0>Url=x", "{,0}3 Url=x"},
      {"1 <Url=x", "none"},
      {"7Url=x", "0 7Url=x"},
      {"99999999999999999999<Url=x", "{1000000001,}3 Url=x"},
      {"1==x", "{1,1}0 =x"},
      // Ranges.
      {"Url[2]=x", "3 Url[2,2]=x"},
      {"Url[0,3]=x", "3 Url[0,3]=x"},
      {"Url [ 3 , 1 ]=x", "3 Url[1,3]=x"},
      {"Url[-2,1]=x", "3 Url[,1]=x"},
      {"Url[1,-1]=x", "3 Url[1,]=x"},
      {"Url[]=x", "3 Url=x"},
      {"Url[99999999999]=x", "3 Url[1000000000,1000000000]=x"},
      {"Url[1=x", "0 Url[1=x"},
      {"Url]=x", "0 Url]=x"},
      // Functions.
      {"alpha(User)=x", "6:55 User=x"},
      {"ATSORT( Hdr )=x", "7:101 Hdr=x"},
      {"rev(Url[1])=x", "9:3 Url[1,1]=x"},
      {"rev(Url)[1]=x", "0 rev(Url)[1,1]=x"},
      {"upper(Url)=x", "3 Url=x"},
      {"len(rev(Url))=x", "8:0 rev(Url)=x"},
      {"Url)=x", "0 Url)=x"},
      {"len()=x", "8:0 =x"},
      // Names of header fields.
      {"@X-Originating-IP=x", "20 X-Originating-IP=x"},
      {"cvd(@ To[1])=x", "1:20 To[1,1]=x"},
      {"@=x", "20 =x"},
      {"Nonsense=x", "0 Nonsense=x"}};
  for (const auto& row : rows)
    EXPECT_EQ(row.want, Leaf(row.text, dico)) << row.text;
}

// A pattern for exactly this text.
std::string Quoted(const std::string& text) {
  std::string pattern;
  for (const char c : text) {
    if (!TBLOCK::Is(static_cast<unsigned char>(c), bitAlpha | bitDigit))
      pattern += '\\';
    pattern += c;
  }
  return pattern;
}

TEST(RuleLeafTest, FunctionsOnAnElement) {
  TQMDICO dico(nullptr, nullptr);
  static const struct {
    const char *function, *element, *result;
  } rows[] = {{"cvd", "aByY19-\xE9", "vCvVdd-\xE9"},
              {"sort", "cab B\xFF\x01", "\x01 Babc\xFF"},
              {"befat", "a@b@c", "a"},
              {"befat", "abc", "abc"},
              {"aftat", "a@b@c", "c"},
              {"aftat", "abc", "abc"},
              {"aftat", "a@", ""},
              {"class", "a.b.c", "a.b."},
              {"class", "abc", ""},
              {"alpha", "v.i-a g\xA0r_a", "viagra"},
              {"alpha", ".-.", ""},
              {"atsort", "cba@zy@x", "abc@zy@x"},
              {"atsort", "cba", "abc"},
              {"atsort", "@b", "@b"},
              {"len", "", "0"},
              {"len", "0123456789", "10"},
              // Of an even length the middle pair stays.
              {"rev", "", ""},
              {"rev", "a", "a"},
              {"rev", "ab", "ab"},
              {"rev", "abc", "cba"},
              {"rev", "abcd", "dbca"},
              {"none", "a.b", "a.b"}};
  BLOCK work(0, 16);
  for (const auto& row : rows) {
    const HeapText element(row.element);
    const HeapText text(std::string(row.function) + "(Url)=^" +
                        Quoted(row.result) + "$");
    TQMEXPR leaf;
    ASSERT_TRUE(leaf.parse(text.view(), dico));
    EXPECT_TRUE(leaf.checkBlock(element.view(), work))
        << row.function << " " << row.element;
    EXPECT_EQ(row.element, element.str());
  }
}

// Parts as joiner and what is inside, leaves as text, a stop as its reason and
// the text that is left.
std::string Dump(const TRULEPART* part, const TRULEPART* end) {
  static const char* const kReasons[] = {"",        "",          "",
                                         "!nopart", "!unclosed", "!toodeep"};
  std::string out;
  for (; part != end; part += part->span) {
    if (part->kind == TRULEPART::rkLeaf) out += Str(part->text);
    if (part->kind == TRULEPART::rkStop)
      out += kReasons[part->reason] + ("<" + Str(part->text)) + ">";
    if (part->kind == TRULEPART::rkGroup)
      out += part->joiner + ("{" + Dump(part + 1, part + part->span)) + "}";
  }
  return out;
}

std::string Parts(const std::string& text) {
  const HeapText copy(text);
  BLOCK store(0, 64);
  TQMRULE rule;
  EXPECT_TRUE(ParseRule(copy.view(), rule, store));
  const TRULEPART* parts = reinterpret_cast<const TRULEPART*>(store.data);
  const std::string name = Str(rule.name);
  return (name.empty() ? "" : name + ": ") + Dump(parts, parts + rule.count);
}

std::string Nested(uint32_t depth) {
  return std::string(depth, '(') + "A" + std::string(depth, ')');
}

TEST(RuleTest, DepthHasALimit) {
  const uint32_t limit = kMaxRuleDepth;
  EXPECT_EQ(std::string::npos, Parts(Nested(limit)).find('!'));
  const std::string deeper = Parts("(B)&(" + Nested(limit) + ")|(C)");
  EXPECT_NE(std::string::npos, deeper.find("!toodeep<(A)>"));
  EXPECT_EQ("|{C}", deeper.substr(deeper.size() - 4));
}

// Would not come to an end if parts were looked at once for each other part.
TEST(RuleTest, ManyParenthesesCostLittle) {
  const uint32_t n = 100000;
  std::string flat, joined;
  for (uint32_t i = 0; i < n; i++) flat += "()";
  for (const std::string& text :
       {flat, Nested(n), std::string(n, '('), std::string(n, ')'),
        std::string(n, '&'), "(" + flat + ")", flat + std::string(n, '(')}) {
    const HeapText copy(text);
    BLOCK store(0, BLOCK::_DEFALLOCSIZE);
    TQMRULE rule;
    EXPECT_TRUE(ParseRule(copy.view(), rule, store));
  }
}

TEST(RuleTest, PatternsAreCompiledAhead) {
  static const struct {
    const char *rule, *name, *pooled;
    int error;
    const char* faulty;
  } rows[] = {
      {"Url=p1", "", "p1", ZR_OK, ""},
      {"n:(Url=p2)&((Cc=p3)|(Nonsense<>p4))", "n", "p2 p3 p4", ZR_OK, ""},
      {"(Url=a1~b1)+(Url=~b2)", "", "a1 b1 b2", ZR_OK, ""},
      {"(Url=\\~c1)", "", "\\~c1", ZR_OK, ""},
      {"(Url#=d1)", "", "d1", ZR_OK, ""},
      {"(Url$=e1)|(Url=e2)", "", "e2", ZR_OK, ""},
      {"(Url=f1)&(Url=[)|(Url=f2)", "", "f1 f2", ZR_NOBRACKET, "["},
      {"(Url=g1~[)", "", "g1", ZR_NOBRACKET, "g1~["},
      {"(Url=h1)&(Url=h2", "", "h1", ZR_OK, ""},
      {"(Url?h3)", "", "", ZR_OK, ""},
      {"only:", "only", "", ZR_OK, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.rule);
    const HeapText text(row.rule);
    REGEXPOOL pool;
    TBLOCK name, faulty;
    EXPECT_EQ(row.error, _CheckRule(text.view(), name, &pool, &faulty));
    EXPECT_EQ(row.name, Str(name));
    EXPECT_EQ(row.faulty, Str(faulty));
    TBLOCKVECT expected(8);
    TBLOCK::GetBlockWordList(TBLOCK(row.pooled), expected, bitWhiteSpace);
    EXPECT_EQ(expected.count(), pool.count);
    for (int32_t i = 0; i < expected.count(); i++)
      EXPECT_NE(nullptr, pool.findRegex(expected.get(i)));
  }
}

}  // namespace
