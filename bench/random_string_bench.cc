// The speed of the tests for random strings and of the search for phone
// numbers, their share of a scan, and how their cost grows on text that was
// written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target random_string_bench
//   build/native/bench/random_string_bench [FOLDER|FILE...]
//
// With paths, at most 1000 of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message and the bytes of the bodies a second of
//
//   phones   BlockParsePhones
//   random   RandomStringCount: IsRandomString of each word
//   triples  BadSeqCount of the whole body
//   rare     IsRandomBlock of each word
//   scan     parsing and check; the first row is a part of it
//
// Then a row for each hostile shape and function: the milliseconds at four
// sizes, each twice the one before, and the ratio of each doubling. Ratios
// above kWorstRatio are marked, and are worth a second run. Time is the
// thread's own, and the best of the rounds counts. Always exits 0.

#include <stdio.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "content/phone.h"
#include "content/random_string.h"

namespace {

const double kWorstRatio = 2.4;

void FindPhones(TBLOCK text) {
  OLIST phones;
  BlockParsePhones(text, phones, PO_DEFAULTOPTIONS);
  g_sink = g_sink + phones.len();
  while (phones.first) {
    const BLOCKPHONE* phone =
        static_cast<const BLOCKPHONE*>(phones.first->item);
    phones.remove(phone);
    delete phone;
  }
}

void CountRandom(TBLOCK text) {
  int32_t length = 0;
  g_sink = g_sink + RandomStringCount(text, length);
}

void CountTriples(TBLOCK text) {
  g_sink = g_sink + BadSeqCount(text);
}

void CountRare(TBLOCK text) {
  TBLOCKVECT words(1024);
  TBLOCK::GetBlockWordList(text, words, bitWordSep);
  for (int32_t i = 0; i < words.count(); i++)
    g_sink = g_sink + IsRandomBlock(words.get(i));
}

struct Work {
  const char* name;
  void (*run)(TBLOCK text);
};

const Work kWorks[] = {{"phones", FindPhones},
                       {"random", CountRandom},
                       {"triples", CountTriples},
                       {"rare", CountRare}};

// ---- Real mail

void ReadMail(const std::vector<std::string>& files) {
  std::vector<MAILROW> rows;
  for (const Work& work : kWorks)
    rows.push_back(
        {work.name, ParseBody, [&](TQMMSG& m) { work.run(m.body); }});
  MeasureMail(files, rows, true);
  printf("%zu messages, %.1f MB of bodies\n", files.size(),
         double(rows[0].bytes) / 1e6);
  PrintMail(rows, files.size(), 8, 1);
}

// ---- Hostile text, all in one line

struct Shape {
  const char* name;
  std::string unit;
};

const Shape kShapes[] = {
    {"digits", "1"},
    {"near-digits", "l"},
    {"a digit and near-digits", "1 llllllllllllllllllllllllllllllllll"},
    {"blanks", " "},
    {"dots", "."},
    {"single digits", "1 "},
    {"dotted digits", "1."},
    {"digits and letters", "1a"},
    {"digits and near-digits", "1l"},
    {"long groups", "12345678901234 "},
    {"one number", "206 555-1234, "},
    {"numbers, far apart", "0123456789!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!"},
    {"addresses", "192.0.2.1 "},
    {"plus signs", "+(+("},
    {"URLs of digits", "http:0123456789,,,,"},
    {"digits of a URL", "0123456789,,,,"},
    {"dates", "2007-04-05 17, "},
    {"letters", "qzxvbn"},
    {"words", "qzxvbn "},
    {"one letter", "a"},
    {"dashes", "-"},
    {"backslashes", "\\a"},
    {"half marks", "smtRzneJK9"},
};

void MeasureShape(const Shape& shape, const Work& work) {
  printf("%-8s %-24s", work.name, shape.name);
  const auto seconds = [&](size_t size) {
    const std::string text = Repeat(size + shape.unit.size(), "", shape.unit);
    const TBLOCK view(text.data(), static_cast<uint32_t>(size));
    return BestOf([&] { work.run(view); });
  };
  MeasureGrowth(seconds, 8, kWorstRatio);
}

// Distinct numbers, more than a list takes; and the same few again.
void MeasureNumbers() {
  for (int distinct : {250, 100000}) {
    Shape shape = {distinct == 250 ? "250 numbers in turn" : "all different",
                   ""};
    for (int i = 0; shape.unit.size() < kSizes[3]; i++)
      shape.unit += std::to_string(10000000000 + i % distinct) + "; ";
    MeasureShape(shape, kWorks[0]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> files = MailFiles(argc - 1, argv + 1);
  if (!files.empty()) ReadMail(files);
  for (const Work& work : kWorks)
    for (const Shape& shape : kShapes) MeasureShape(shape, work);
  MeasureNumbers();
  return 0;
}
