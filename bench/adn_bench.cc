// The speed of shapes of values, their share of a scan, and how their cost
// grows on text that was written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target adn_bench
//   build/native/bench/adn_bench [FOLDER|FILE...]
//
// With paths, at most 1000 of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message and the bytes a second of
//
//   text      the start of the body as the field AdnText has it
//   body      all of the body the same way
//   ids       the Message-ID, with the date
//   bounds    the boundary, with a look for random runs
//   subjects  the subject, the same
//   from      GetEmailRegex of From
//   bytes     GetBlockCharAdn of the body
//   scan      parsing and check, of which all but the second row are parts
//
// Then a row for each hostile shape: the milliseconds at four sizes, each twice
// the one before, and the ratio of each doubling. Ratios above kWorstRatio are
// marked, and are worth a second run. Time is the thread's own, and the best of
// the rounds counts. Always exits 0.

#include <stdio.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "content/adn.h"

namespace {

const int32_t kNow = 1700000000;
const double kWorstRatio = 2.4;
const uint32_t kTextFlags = adnUrl | adnNoSpace | adnMail;
const uint32_t kMaxTextAdn = 2048;

void Shape(TBLOCK text, const char* keep, uint32_t flags,
           const BLOCKDATE* date) {
  STR adn;
  AdnFromBlock(text, adn, keep, flags, {date, kNow}, nullptr);
  g_sink = g_sink + adn.len();
}

// ---- Real mail

// A row for the shape of a value.
MAILROW ShapeRow(const char* name, TBLOCK TQMMSG::*value, const char* keep,
                 uint32_t flags, uint32_t most, bool dated) {
  return {name,
          [=](TQMMSG& m) {
            ParseBody(m);
            return (m.*value).head(most).length;
          },
          [=](TQMMSG& m) {
            Shape((m.*value).head(most), keep, flags,
                  dated ? &m.messageDate : nullptr);
          }};
}

void ReadMail(const std::vector<std::string>& files) {
  const uint32_t all = UINT32_MAX, random = adnRepeat | adnRandom;
  const char* const ids = "javamail,qmail,root,squirrel";
  std::vector<MAILROW> rows = {
      ShapeRow("text", &TQMMSG::body, nullptr, kTextFlags, kMaxTextAdn, false),
      ShapeRow("body", &TQMMSG::body, nullptr, kTextFlags, all, false),
      ShapeRow("ids", &TQMMSG::messageId, ids, adnRepeat, all, true),
      ShapeRow("bounds", &TQMMSG::boundary, "nextpart,boundary", random, all,
               false),
      ShapeRow("subjects", &TQMMSG::subject, "RE,TR,FW,WG", random, all, false),
      {"from",
       [](TQMMSG& m) {
         ParseBody(m);
         return m.from.length;
       },
       [](TQMMSG& m) {
         STR out;
         GetEmailRegex(m.from, &m.dico, out, kNow);
       }},
      {"bytes", ParseBody,
       [](TQMMSG& m) {
         STR counts, presence;
         GetBlockCharAdn(m.body, counts, presence);
       }},
  };
  MeasureMail(files, rows, true);
  printf("%zu messages\n", files.size());
  PrintMail(rows, files.size(), 9, 1);
}

// ---- Hostile text

// What a shape is read with.
enum WAY { kPlain, kRandom, kText, kIp, kKnown, kKeep, kEmail };

struct Hostile {
  const char* name;
  WAY way;
  std::string head, unit;
};

const Hostile kHostile[] = {
    {"one word", kRandom, "", "a"},
    {"one word of capitals", kRandom, "", "aQzXj"},
    {"one number", kRandom, "", "1"},
    {"one hexadecimal number", kRandom, "", "1aB2"},
    {"one mixture", kRandom, "", "a1Zq"},
    {"a cut ahead", kRandom, "12345abc12", "z"},
    {"a cut behind", kRandom, "", "1a2b3c4d5e"},
    {"short runs", kRandom, "", "a1."},
    {"runs of numbers", kRandom, "", "202311 "},
    {"times", kRandom, "", "20231114 1700000000 65532F00 "},
    {"runs that are cut", kRandom, "", "12345abc12today "},
    {"at signs", kText, "", "@"},
    {"at signs and letters", kText, "", "a@"},
    {"addresses", kText, "", "a@b.c,"},
    {"dots", kText, "", "."},
    {"dots and letters", kText, "", "a."},
    {"slashes and letters", kText, "", "a/"},
    {"ends of hosts", kText, "", "a.com,"},
    {"URLs", kText, "", "http://a "},
    {"one word, in a text", kText, "", "a"},
    {"one hexadecimal number, in a text", kText, "", "1aB2"},
    {"numbers with dots", kIp, "", "1.1.1.256."},
    {"1,000 known texts", kKnown, "", "k"},
    {"1,000 known texts, words", kKnown, "", "k k k0 "},
    {"1,000 known texts, all there", kKnown, "", "k9k8k7k6"},
    {"words to keep", kKeep, "", "aab "},
    {"words to keep, one word", kKeep, "", "aab"},
    {"an address", kEmail, "", "info@a.com>"},
    {"an address of dots", kEmail, "", ".com>"},
};

void ReadHostile(WAY way, TBLOCK text, TBLOCKVECT& known) {
  static const char kKeepList[] = "*aaaab*,*aaaac*,*aaaad*,aaaae*,*aaaaf,x,y,z";
  BLOCKDATE date;
  date.utc = kNow;
  STR adn;
  switch (way) {
    case kRandom:
      return Shape(text, nullptr, adnRandom, &date);
    case kText:
      return Shape(text, nullptr, kTextFlags, nullptr);
    case kIp:
      return Shape(text, nullptr, adnIp, nullptr);
    case kKeep:
      return Shape(text, kKeepList, 0, nullptr);
    case kKnown:
      return AdnFromBlock(text, adn, nullptr, 0, {nullptr, kNow}, &known);
    default:
      return GetEmailRegex(text, nullptr, adn, kNow);
  }
}

void MeasureHostile(const Hostile& hostile, TBLOCKVECT& known) {
  printf("%-34s", hostile.name);
  const auto seconds = [&](size_t size) {
    const std::string text =
        Repeat(size + hostile.unit.size(), hostile.head, hostile.unit);
    const TBLOCK view(text.data(), static_cast<uint32_t>(size));
    return BestOf([&] { ReadHostile(hostile.way, view, known); });
  };
  MeasureGrowth(seconds, 8, kWorstRatio);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> files = MailFiles(argc - 1, argv + 1);
  if (!files.empty()) ReadMail(files);
  // Half of them numbers, half long texts with one front.
  std::vector<std::string> texts;
  for (int i = 0; i < 1000; i++)
    texts.push_back(i % 2 ? "k" + std::to_string(i)
                          : std::string(250, 'k') + std::to_string(i));
  TBLOCKVECT known(1000);
  for (const std::string& text : texts)
    known.add(TBLOCK(text.data(), static_cast<uint32_t>(text.size())), 0, 0);
  for (const Hostile& hostile : kHostile) MeasureHostile(hostile, known);
  return 0;
}
