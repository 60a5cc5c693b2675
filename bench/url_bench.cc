// How the cost of plain text, of its URLs and of the lists of links grows on
// text that was written to be expensive. Each shape is built at four sizes,
// each twice the one before, up to what a scan looks at; the best of several
// runs counts. Prints a row for each shape with the milliseconds and the ratio
// of each doubling, and marks a row whose last ratio is above kWorstRatio.
// Always exits 0.
//
//   cmake --preset native
//   cmake --build --preset native --target url_bench
//   build/native/bench/url_bench [PART OF A SHAPE'S NAME]
//
// Time is the thread's own, so that a busy machine does little harm; a marked
// row is worth a second run all the same.

#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "bench_util.h"
#include "content/text_parse.h"
#include "content/unsub_text.h"
#include "rules/qm_dico.h"

namespace {

const double kWorstRatio = 2.3;
const int kTurns = 3;  // of all sizes
const int kRuns = 15;  // of one size in one turn

typedef size_t N;
typedef std::string S;

// A body is parsed and asked for its ways out; or each of its lines is added
// to the links, or the links are asked whether they know it, in turn.
enum KIND { kText, kLinks };

struct Shape {
  const char* name;
  KIND kind;
  S (*make)(N n);
};

const Shape kShapes[] = {
    {"words", kText, [](N n) { return Repeat(n, "", "Some words. More\n"); }},
    {"dots", kText, [](N n) { return Repeat(n, "", "."); }},
    {"dots and letters", kText, [](N n) { return Repeat(n, "", "a."); }},
    {"dots and blanks", kText, [](N n) { return Repeat(n, "", ". "); }},
    {"suffixes", kText, [](N n) { return Repeat(n, "", ".com"); }},
    {"suffixes and blanks", kText,
     [](N n) { return Repeat(n, "", " .  c  o  m"); }},
    {"domains", kText, [](N n) { return Repeat(n, "", "ab.com "); }},
    {"domains, all different", kText,
     [](N n) { return RepeatNumbered(n, "", "ab#.com "); }},
    {"domains of a mail address", kText,
     [](N n) { return Repeat(n, "", "ab.com:", "@"); }},
    {"domains, then \"@\"", kText,
     [](N n) { return Repeat(n, "", Repeat(2000, "", "ab.com:", "@")); }},
    {"spread-out letters", kText, [](N n) { return Repeat(n, "", "a "); }},
    {"spread-out domains", kText,
     [](N n) { return Repeat(n, "", "p i l l s . c o m "); }},
    {"spread-out, far apart", kText,
     [](N n) {
       return Repeat(n, "", "a        .        c        o        m");
     }},
    {"spread-out, never a suffix", kText,
     [](N n) { return Repeat(n, "", "a b c d . x x x x "); }},
    {"\"http:\"", kText, [](N n) { return Repeat(n, "", "http:"); }},
    {"\"http:\", a dot at the end", kText,
     [](N n) { return Repeat(n, "", "http:", "."); }},
    {"\"http:/_/.a\"", kText, [](N n) { return Repeat(n, "", "http:/_/.a"); }},
    {"\"http://a.b\"", kText, [](N n) { return Repeat(n, "", "http://a.b "); }},
    {"\"www.\"", kText, [](N n) { return Repeat(n, "", "www."); }},
    {"\"www.?\"", kText, [](N n) { return Repeat(n, "", "www.?"); }},
    {"\"www. \"", kText, [](N n) { return Repeat(n, "", "www. "); }},
    {"\"h\"", kText, [](N n) { return Repeat(n, "", "h"); }},
    {"\"<http\"", kText, [](N n) { return Repeat(n, "", "<http"); }},
    {"\"<http\" and URLs", kText,
     [](N n) { return Repeat(n, "", "<http://a.b "); }},
    {"\"<http\" in brackets", kText,
     [](N n) { return Repeat(n, "", "<http://a.b>"); }},
    {"\"<\"", kText, [](N n) { return Repeat(n, "", "<"); }},
    {"\"<\" and a far \">\"", kText,
     [](N n) { return Repeat(n, "", "<", "@>"); }},
    {"\"<\" and near \">\"", kText,
     [](N n) { return Repeat(n, "", S(310, '<') + ">"); }},
    {"\"<a@b\"", kText, [](N n) { return Repeat(n, "", "<a@b"); }},
    {"known tags", kText, [](N n) { return Repeat(n, "", "<b x"); }},
    {"unknown tags", kText, [](N n) { return Repeat(n, "", "<zz y"); }},
    {"unknown tags in quotes", kText,
     [](N n) { return Repeat(n, "", "\"<a\" "); }},
    {"known tags in quotes", kText,
     [](N n) { return Repeat(n, "", "\"<b\" "); }},
    {"comments", kText, [](N n) { return Repeat(n, "", "<!--a>"); }},
    {"scripts", kText, [](N n) { return Repeat(n, "", "<script>a"); }},
    {"\"unsub www.\"", kText, [](N n) { return Repeat(n, "unsub ", "www. "); }},
    {"\"https:\" before \"ps:\"", kText,
     [](N n) { return Repeat(n, "", "https:a@b "); }},
    {"percent signs", kText,
     [](N n) { return Repeat(n, "http://a.b/", "%41"); }},
    {"links, all different", kLinks,
     [](N n) { return RepeatNumbered(n, "", "http://a#.org\n"); }},
    {"links, alike at the front", kLinks,
     [](N n) {
       return RepeatNumbered(n, "", "http://" + S(80, 'a') + "#.org\n");
     }},
    {"links, one protocol each", kLinks,
     [](N n) {
       return RepeatNumbered(n, "", "ftp://a#\nmailto:a#\nhttps://a#\na#\n");
     }},
    {"links, the same", kLinks,
     [](N n) { return Repeat(n, "", "http://a.org\n"); }},
};

void RunText(TBLOCK text, TBLOCK output, const TQMDICO& dico) {
  TTEXTCONTEXT context;
  STRVECT list(0, 64);
  STR pattern;
  GetUnsubText(text, list);
  AddUnsubText(text, list);
  GetTextPattern(text, pattern);
  QmTextParse(text, output, context, nullptr, &dico);
}

void RunLinks(TBLOCK text) {
  TLINKVECT links;
  for (bool ask = false; !text.empty(); ask = !ask) {
    const TBLOCK url = TBLOCK::BlockNextLine(text);
    if (ask && links.knows(url)) continue;
    links.add(url, TBLOCK());
  }
}

double BestSeconds(KIND kind, const S& text, const TQMDICO& dico) {
  double best = 1e9;
  S copy, output(text.size() + 128, 0);
  for (int run = 0; run < kRuns; run++) {
    copy = text;
    const TBLOCK view(&copy[0], static_cast<uint32_t>(copy.size()));
    const double start = Now();
    if (kind == kText)
      RunText(view, TBLOCK(&output[0], static_cast<uint32_t>(output.size())),
              dico);
    else
      RunLinks(view);
    best = std::min(best, Now() - start);
  }
  return best;
}

// Prints the row of a shape; returns the ratio of the last doubling.
double RunShape(const Shape& shape, const TQMDICO& dico) {
  printf("%-30s", shape.name);
  const auto seconds = [&](size_t size) {
    return BestSeconds(shape.kind, shape.make(size), dico);
  };
  return MeasureGrowth(seconds, 9, kWorstRatio, kTurns);
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  const TQMDICO dico(nullptr, nullptr);
  PrintSizes("milliseconds at bytes", 30, 9);
  double worst = 0;
  const char* worstName = "none";
  for (const Shape& shape : kShapes) {
    if (argc > 1 && !strstr(shape.name, argv[1])) continue;
    const double ratio = RunShape(shape, dico);
    if (ratio <= worst) continue;
    worst = ratio;
    worstName = shape.name;
  }
  printf("worst last doubling: %.2f (%s)\n", worst, worstName);
  return 0;
}
