// What benchmarks share that are tables of text: time, messages of a corpus,
// and how the cost of hostile text grows.

#ifndef BENCH_BENCH_UTIL_H_
#define BENCH_BENCH_UTIL_H_

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

#include "scan/tqmmsg.h"

const int kRounds = 5;

// Keeps what is computed from being left out.
extern volatile int64_t g_sink;

// The thread's own seconds, so that a busy machine does little harm.
double Now();
// The seconds of the fastest run. Above `least` runs it stops at `most`, or
// when all took `seconds`.
double BestOf(const std::function<void()>& work, int least = kRounds,
              int most = kRounds, double seconds = 0);
// Freed memory is kept: how often the system takes pages back and clears them
// anew jumps with the size.
void KeepMemory();

// ---- Real mail

// At most 1000 of the files below the paths, from all over the list.
std::vector<std::string> MailFiles(int paths, char** path);

// Parses it; returns the bytes of its body.
uint64_t ParseBody(TQMMSG& m);

struct MAILROW {
  const char* name;
  // Ahead of the work, not timed; returns the bytes that the work reads.
  std::function<uint64_t(TQMMSG&)> prepare;
  std::function<void(TQMMSG&)> work;
  double best = 1e9;  // seconds for all messages
  uint64_t bytes = 0;
};

// Does the work of each row on each message, kRounds times, with the library's
// dictionary and its rules prepared. A message is loaded for each row, or once
// for all of them when they leave it as it is. A last row is added: "scan",
// parsing and check of a message of its own, with the bytes of the row ahead.
void MeasureMail(const std::vector<std::string>& files,
                 std::vector<MAILROW>& rows, bool loadOnce);
// With names in so many columns, and decimals of the megabytes a second.
void PrintMail(const std::vector<MAILROW>& rows, size_t messages, int columns,
               int decimals);

// ---- Hostile text

const size_t kSizes[] = {25600, 51200, 102400, 204800};
const size_t kSizeCount = sizeof kSizes / sizeof *kSizes;

// `head`, then `unit` as often as it fits whole into n bytes ahead of `tail`.
std::string Repeat(size_t n, const std::string& head, const std::string& unit,
                   const std::string& tail = "");
// The same with "#" in the unit as a number, from 0 on.
std::string RepeatNumbered(size_t n, const std::string& head,
                           const std::string& unit,
                           const std::string& tail = "");

// The line ahead of such rows, with the columns of name and milliseconds.
void PrintSizes(const char* name, int columns, int width);
// Behind a name the rest of its row: the milliseconds at each size, the best of
// so many rounds over all sizes, and the ratio of each doubling. The row is
// marked when the last ratio, which it returns, is above `worst`.
double MeasureGrowth(const std::function<double(size_t)>& seconds, int width,
                     double worst, int rounds = 1);

#endif  // BENCH_BENCH_UTIL_H_
