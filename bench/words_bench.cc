// The speed of cutting bodies into words, its share of a scan, and how its cost
// grows on text that was written to be expensive.
//
//   cmake --preset native
//   cmake --build --preset native --target words_bench
//   build/native/bench/words_bench [FOLDER|FILE...]
//
// With paths, at most 1000 of the messages below them, from all over
// the list, with the library's dictionary and its rules prepared. Prints the
// microseconds a message and the bytes of the bodies a second of
//
//   cutter   all words by a WORDCUTTER for each line
//   NextWord the same by NextWord
//   lines    ParseLinesWords
//   doubled  MultiLowersWordCount of what that gives
//   words    TQMMSG::parseWords, with the subject, the display name and the
//            patterns for lines
//   scan     parsing and check, of which all but the second row are parts
//
// Then a row for each hostile shape, of ParseLinesWords and of NextWord: the
// milliseconds at four sizes, each twice the one before, and the ratio of each
// doubling. Ratios above kWorstRatio are marked, and are worth a second run.
// Time is the thread's own, and the best of the rounds counts. Always exits 0.

#include <stdio.h>

#include <string>
#include <vector>

#include "bench_util.h"
#include "content/word_tests.h"
#include "content/words.h"

namespace {

const double kWorstRatio = 2.4;

// ---- Real mail

void CutAll(const TQMMSG& m) {
  TBLOCK word;
  for (int32_t i = 0; i < m.bodyLines.count(); i++) {
    WORDCUTTER cutter(m.bodyLines.get(i));
    while (const int32_t kind = cutter.next(word)) g_sink = g_sink + kind;
  }
}

void NextAll(const TQMMSG& m) {
  TBLOCK word;
  for (int32_t i = 0; i < m.bodyLines.count(); i++) {
    TBLOCK rest = m.bodyLines.get(i);
    while (const int32_t kind = NextWord(rest, word)) g_sink = g_sink + kind;
  }
}

void CutLines(const TBLOCKVECT& lines) {
  TBLOCKVECT words(1024), mails(16);
  STR letters;
  ParseLinesWords(letters, nullptr, lines, words, &mails);
  g_sink = g_sink + words.count();
}

void ReadMail(const std::vector<std::string>& files) {
  std::vector<MAILROW> rows = {
      {"cutter", ParseBody, CutAll},
      {"NextWord", ParseBody, NextAll},
      {"lines", ParseBody, [](TQMMSG& m) { CutLines(m.bodyLines); }},
      {"doubled",
       [](TQMMSG& m) {
         const uint64_t bytes = ParseBody(m);
         m.parseWords();
         return bytes;
       },
       [](TQMMSG& m) {
         g_sink = g_sink + MultiLowersWordCount(m.bodyWords, 3);
       }},
      {"words", ParseBody, [](TQMMSG& m) { m.parseWords(); }},
  };
  MeasureMail(files, rows, false);
  printf("%zu messages, %.1f MB of bodies\n", files.size(),
         double(rows[0].bytes) / 1e6);
  PrintMail(rows, files.size(), 9, 1);
}

// ---- Hostile text, all in one line

struct Shape {
  const char* name;
  std::string head, unit;
};

const Shape kShapes[] = {
    {"one word", "", "a"},
    {"short words", "", "a "},
    {"quotation marks", "", "a\""},
    {"quotation marks, at sign ahead", "", "a\"a\"a\"a\"a\"a\"a\"a@b_"},
    {"at signs", "", "@"},
    {"addresses", "", "a@b.c "},
    {"quoted addresses", "", "\"a@b.c\" "},
    {"capitals", "", "A"},
    {"capitals and not", "", "aB"},
    {"short words of capitals", "", "aB "},
    {"dashes", "", "-"},
    {"dashes and letters", "", "a-"},
    {"words of dashes", "", "aa-bb "},
    {"dots", "", "."},
    {"commas and dots", "", ",.a"},
    {"commas", "", "a,"},
    {"commas, no URL ahead", "", "a,a,a,a,a,a,a,a,a.com!"},
    {"letters and commas", "", "aB,-c,"},
    {"ends of hosts", "", ".com,"},
    {"URLs", "", "www.a "},
    {"one URL", "http://", "a"},
    {"drives", "", "a:"},
    {"backslashes", "", "a:\\b"},
    {"numbers", "", "1 "},
    {"digits", "", "1,"},
    {"currency", "", "$1"},
    {"separators", "", "("},
    {"marks", "", "!%IMG%!"},
    {"half marks", "", "!%IMG"},
    {"exclamation marks", "", "!"},
    {"apostrophes", "", "l'a "},
};

void MeasureShape(const Shape& shape, bool byNextWord) {
  printf("%-9s %-31s", byNextWord ? "NextWord" : "lines", shape.name);
  const auto seconds = [&](size_t size) {
    const std::string text =
        Repeat(size + shape.unit.size(), shape.head, shape.unit);
    const TBLOCK line(text.data(), static_cast<uint32_t>(size));
    TBLOCKVECT lines(1);
    lines.add(line, 0, 0);
    return BestOf([&] {
      if (!byNextWord) return CutLines(lines);
      TBLOCK rest = line, word;
      while (const int32_t kind = NextWord(rest, word)) g_sink = g_sink + kind;
    });
  };
  MeasureGrowth(seconds, 8, kWorstRatio);
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> files = MailFiles(argc - 1, argv + 1);
  if (!files.empty()) ReadMail(files);
  for (const Shape& shape : kShapes) {
    MeasureShape(shape, false);
    MeasureShape(shape, true);
  }
  return 0;
}
