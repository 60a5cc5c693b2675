// The speed of reading address fields and of judging senders, their share of a
// scan, and how the cost grows on fields that were written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target mailbox_bench
//   build/native/bench/mailbox_bench [FOLDER|FILE...]
//
// With paths, at most 1000 of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message, the bytes of its address fields a second, and the
// share of a scan, of
//
//   boxes    ParseEmailAddressesWithAdn of all address fields, which is more
//            than a scan does
//   judge    the judgements on the sender
//   From     TQMMSG::checkFrom
//   scan     parsing and check
//
// Then a row for each hostile shape: the milliseconds of reading a field,
// judging it as one mailbox and asking whether the list is sorted, at four
// sizes, each twice the one before, and the ratio of each doubling. Ratios
// above kWorstRatio are marked, and are worth a second run. Time is the
// thread's own, and the best of the rounds counts. Always exits 0.

#include <stdio.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "content/mailbox.h"
#include "content/sender_judge.h"

namespace {

const double kWorstRatio = 2.4;

void Judge(const TMAILBOX& box) {
  g_sink = g_sink + CheckForgedMailBox(box) + CheckEmailScheme(box) +
           GetFallScheme(box);
}

// ---- Real mail

const TBLOCK TQMMSG::*const kFields[] = {
    &TQMMSG::from,    &TQMMSG::to,         &TQMMSG::cc,    &TQMMSG::bcc,
    &TQMMSG::replyTo, &TQMMSG::returnPath, &TQMMSG::sender};

void ReadFields(TQMMSG& m) {
  for (const TBLOCK TQMMSG::*field : kFields) {
    TMAILBOXVECT boxes(0);
    STR shapes;
    g_sink = g_sink + ParseEmailAddressesWithAdn(m.*field, boxes, shapes);
  }
}

uint64_t Parse(TQMMSG& m) {
  m.parse(0);
  m.parseWords();
  uint64_t bytes = 0;
  for (const TBLOCK TQMMSG::*field : kFields) bytes += (m.*field).length;
  return bytes;
}

void ReadMail(const std::vector<std::string>& files) {
  std::vector<MAILROW> rows = {
      {"boxes", Parse, ReadFields},
      {"judge", Parse, [](TQMMSG& m) { Judge(m.fromBox); }},
      {"From", Parse, [](TQMMSG& m) { m.checkFrom(); }},
  };
  MeasureMail(files, rows, false);
  printf("%zu messages, %.3f MB of address fields\n", files.size(),
         double(rows[0].bytes) / 1e6);
  PrintMail(rows, files.size(), 6, 1);
}

// ---- Hostile fields

struct Shape {
  const char* name;
  std::string head, unit, tail;
};

const std::string k4k(4000, 'a'), k2k(2000, 'a');

const Shape kShapes[] = {
    {"recipients", "", "john@example.org,", ""},
    {"named recipients", "", "John Smith <jsmith@example.org>,", ""},
    {"one name", "", "ab ", "<a@b.org>"},
    {"one word", "", "a", "<a@b.org>"},
    {"\"a\" ahead of \"a\"", k4k + "b ", "a", "@b.org>"},
    {"local part", "<", "a", "@b.org>"},
    {"name of capitals", "", "aB", " <a@b.org>"},
    {"words of one letter", "a ", "a ", "<aaaaaaaaaaaaaaaa@b.org>"},
    {"overlaps", "", k2k + "b" + k2k + "c X <" + k4k + "@b.org>,", ""},
    {"address in the name", "", k2k + k2k + " <" + k2k + "b@b.org>,", ""},
    {"\"<\"", "", "<", ""},
    {"\">\"", "", ">", ""},
    {"\"<\" and \">\"", "", "<", ">"},
    {"\"<>\"", "", "<>", ""},
    {"\"(\"", "", "(", ")"},
    {"quotation marks", "", "\"", ""},
    {"pairs of both", "", "\"'", "\"'"},
    {"apostrophes and at signs", "", "'@", ""},
    {"commas", "", ",", ""},
    {"commas and letters", "", "a,", ""},
    {"at signs", "", "@", ""},
    {"dots", "a@", ".", "b"},
    {"labels", "a@", "a.", "b"},
    {"dots ahead of \"@\"", "<", ".", "@b.org>"},
    {"backslashes", "\"", "\\", "\" <a@b.org>"},
    {"roles nearly", "", "infnewpost", "<abcdef@b.org>"},
    {"digits", "", "1 ", "<abcdef@b.org>"},
};

void Read(TBLOCK text) {
  TMAILBOXVECT boxes(0);
  STR shapes;
  const TMAILBOX whole = ParseMailBox(text);
  g_sink = g_sink + ParseEmailAddressesWithAdn(text, boxes, shapes) +
           CheckSortedRecips(boxes, whole);
  Judge(whole);
}

void MeasureShape(const Shape& shape) {
  printf("%-24s", shape.name);
  const auto seconds = [&](size_t size) {
    const std::string field = Repeat(size, shape.head, shape.unit, shape.tail);
    const TBLOCK text(field.data(), static_cast<uint32_t>(field.size()));
    return BestOf([&] { Read(text); });
  };
  MeasureGrowth(seconds, 8, kWorstRatio);
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  const std::vector<std::string> files = MailFiles(argc - 1, argv + 1);
  if (!files.empty()) ReadMail(files);
  for (const Shape& shape : kShapes) MeasureShape(shape);
  return 0;
}
