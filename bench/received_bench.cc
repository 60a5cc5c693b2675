// The speed of reading relay lines and of judging them, their share of a scan,
// what the patterns of templates cost, and how the cost grows on lines that
// were written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target received_bench
//   build/native/bench/received_bench [FOLDER|FILE...]
//
// With paths, at most 1000 of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message, the bytes of its relay lines a second, and the share
// of a scan, of
//
//   clauses   BLOCKRECEIVED of all relay lines
//   template  RECEIVEDWARE::getReceivedAdn of them
//   check     TQMMSG::checkReceived
//   scan      parsing and check
//
// Then the microseconds of making a RECEIVEDWARE from a pool that knows its
// patterns and from one that does not. Then a row for each hostile shape: the
// milliseconds of reading and checking a header, at four sizes, each twice the
// one before, and the ratio of each doubling. Ratios above kWorstRatio are
// marked, and are worth a second run. Time is the thread's own, and the best
// of the rounds counts. Always exits 0.

#include <stdio.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "bench_util.h"
#include "regex/regex_pool.h"

namespace {

const double kWorstRatio = 2.4;

typedef size_t N;
typedef std::string S;

// ---- Real mail

void Clauses(TQMMSG& m) {
  for (int32_t i = 0; i < m.receivedFields.count(); i++) {
    const BLOCKRECEIVED line(m.receivedFields.get(i), nullptr, m.pool);
    g_sink = g_sink + line.from.length;
  }
}

void Templates(TQMMSG& m) {
  STR adn(256);
  for (int32_t i = 0; i < m.receivedFields.count(); i++) {
    m.receivedWare.getReceivedAdn(m.receivedFields.get(i), adn, 0);
    g_sink = g_sink + adn.len();
  }
}

uint64_t Parse(TQMMSG& m) {
  m.parseHeader();
  uint64_t bytes = 0;
  for (int32_t i = 0; i < m.receivedFields.count(); i++)
    bytes += m.receivedFields.get(i).length;
  return bytes;
}

void ReadMail(const std::vector<S>& files) {
  size_t lines = 0;
  std::vector<MAILROW> rows = {
      {"clauses",
       [&](TQMMSG& m) {
         const uint64_t bytes = Parse(m);
         lines += static_cast<size_t>(m.receivedFields.count());
         return bytes;
       },
       Clauses},
      {"template", Parse, Templates},
      {"check", Parse, [](TQMMSG& m) { m.checkReceived(); }},
  };
  MeasureMail(files, rows, false);
  printf("%zu messages, %zu relay lines, %.3f MB\n", files.size(),
         lines / kRounds, double(rows[0].bytes) / 1e6);
  PrintMail(rows, files.size(), 10, 2);
}

// ---- Patterns

void MeasurePatterns() {
  REGEXPOOL known;
  known.addAllHardCodedRegexes();
  for (REGEXPOOL* pool : {&known, static_cast<REGEXPOOL*>(nullptr)}) {
    const int kTimes = 200;
    const double best = BestOf([&] {
      for (int i = 0; i < kTimes; i++) {
        const auto ware = std::make_unique<RECEIVEDWARE>(pool);
        g_sink = g_sink + reinterpret_cast<intptr_t>(ware.get());
      }
    });
    printf("patterns %s: %.3f us\n", pool ? "looked up" : "compiled",
           best / kTimes * 1e6);
  }
}

// ---- Hostile shapes

// The unit again and again, up to n bytes.
S Units(N n, const S& unit, const S& tail = "") {
  return Repeat(n, "", unit, tail);
}

const char kServer[] = "Sun Java System Messaging Server ";

// In as many comments as templates follow.
S Nested(const S& text) {
  return S(32, '(') + text + S(32, ')');
}

const struct {
  const char* name;
  S (*make)(N n);  // what follows "Received:"
} kShapes[] = {
    {"(", [](N n) { return Units(n, "("); }},
    {"( and )", [](N n) { return Units(n / 2, "(") + Units(n / 2, ")"); }},
    {"()", [](N n) { return Units(n, "()"); }},
    {"(()", [](N n) { return Units(n, "(()"); }},
    {"[", [](N n) { return Units(n, "["); }},
    {"[]", [](N n) { return Units(n, "[]"); }},
    {"<", [](N n) { return Units(n, "<"); }},
    {"mixed brackets", [](N n) { return Units(n, "([<\""); }},
    {"quotes", [](N n) { return Units(n, "\""); }},
    {"escaped quotes", [](N n) { return Units(n, "\"\\"); }},
    {";", [](N n) { return Units(n, ";"); }},
    {"; and dates", [](N n) { return Units(n, ";1 Jan 2007 10:00:00 "); }},
    {"; and digits", [](N n) { return Units(n, ";1 1 1 1 1 1 1 1 1 1 "); }},
    {"= and words", [](N n) { return Units(n, "=by=1"); }},
    {"one word", [](N n) { return Units(n, "a"); }},
    {"one word of digits", [](N n) { return Units(n, "1"); }},
    {"one word of dots", [](N n) { return Units(n, "a."); }},
    {"one word of \"@\"", [](N n) { return Units(n, "a@"); }},
    {"one word of tabs", [](N n) { return "a" + Units(n, "\t", "a"); }},
    {"words of 1000 letters",
     [](N n) { return Units(n, S(1000, 'a') + ". "); }},
    {"words of 1000 dots",
     [](N n) { return Units(n, Units(1000, "a.") + " "); }},
    {"addresses", [](N n) { return Units(n, "from 192.0.2.1 by a.org "); }},
    {"near addresses", [](N n) { return "from " + Units(n, "1.2.3 "); }},
    {"keywords", [](N n) { return Units(n, "from by via with id for "); }},
    {"<> of for", [](N n) { return Units(n, "for <<<a@b.org>>> "); }},
    {"comments of digits",
     [](N n) { return Units(n, "(" + S(8000, '1') + ") "); }},
    {"comments of versions",
     [](N n) { return Units(n, "(" + Units(8000, "1.1.1/1.1.") + ") "); }},
    {"nested comments of versions",
     [](N n) { return Units(n, Nested(Units(7900, "1.1.11/1.1."))); }},
    {"nested comments of digits",
     [](N n) { return Units(n, Nested(S(7900, '1'))); }},
    {"nested comments of a server",
     [](N n) {
       return Units(n, Nested(Units(4000, kServer) + Units(3900, "(built")));
     }},
    {"short nested comments",
     [](N n) {
       return Units(n, Nested("Microsoft Exchange Internet Mail Service"));
     }},
    {"near dates", [](N n) { return Units(n, "Mon, 3"); }},
    {"by and versions",
     [](N n) { return "by " + Units(n, "(8.8.8", " id A"); }},
    {"id and blanks",
     [](N n) {
       return "by (Sun Java System Messaging Server 6 id " + Units(n, "( ");
     }},
    {"id of digits", [](N n) { return "id " + Units(n, "1"); }},
    {"a web mail line",
     [](N n) { return "from x with DAV; " + Units(n, "1"); }},
    {"a service's version",
     [](N n) {
       return "with Microsoft SMTPSVC(" + Units(n, "SMTPSVC(1.1.1.");
     }},
    {"fields, one byte", [](N n) { return "x" + Units(n, "\nReceived:x"); }},
    {"fields",
     [](N n) {
       return "x" + Units(n,
                          "\nReceived: from a (b [192.0.2.1]) by c; "
                          "Mon, 3 Mar 2008 10:00:00 +0100");
     }},
    {"fields of long templates",
     [](N n) { return "x" + Units(n, "\nReceived: " + Units(140, "1 ")); }},
};

void MeasureShape(const char* name, S (*make)(N), REGEXPOOL& pool) {
  printf("%-28s", name);
  const auto seconds = [&](size_t size) {
    const S mail = "Received: " + make(size - 30) + "\n\nx";
    double best = 1e9;
    for (int round = 0; round < kRounds; round++) {
      TQMMSG m(&pool, nullptr, nullptr, 0, 0);
      m.loadFromBlock(TBLOCK(mail.data(), static_cast<uint32_t>(mail.size())),
                      nullptr, 0);
      const double start = Now();
      m.parseHeader();
      m.checkReceived();
      best = std::min(best, Now() - start);
    }
    return best;
  };
  MeasureGrowth(seconds, 9, kWorstRatio);
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  const std::vector<S> files = MailFiles(argc - 1, argv + 1);
  if (!files.empty()) ReadMail(files);
  MeasurePatterns();
  REGEXPOOL pool;
  pool.addAllHardCodedRegexes();
  PrintSizes("milliseconds at bytes", 28, 9);
  for (const auto& shape : kShapes) MeasureShape(shape.name, shape.make, pool);
  return 0;
}
