// The line is written once a second, and not in the first one.

#include "progress.h"

#include <unistd.h>

#include <string>

namespace {

const size_t kBarWidth = 40;

}  // namespace

Progress::Progress(FILE* report, size_t total, const char* noun)
    : active_(isatty(STDERR_FILENO) && !(report && isatty(fileno(report)))),
      total_(total),
      noun_(noun) {}

void Progress::step() {
  ++count_;
  if (!active_) return;
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  if (now.tv_sec == shownAt_) return;
  if (shownAt_ != 0) show();
  shownAt_ = now.tv_sec;
}

void Progress::show() {
  shown_ = true;
  if (total_ == 0) {
    fprintf(stderr, "\r%zu %s", count_, noun_);
    return;
  }
  const size_t done = count_ < total_ ? count_ : total_;
  const std::string bar(done * kBarWidth / total_, '#');
  fprintf(stderr, "\r[%-*s] %zu of %zu %s", static_cast<int>(kBarWidth),
          bar.c_str(), done, total_, noun_);
}

void Progress::clear() {
  if (shown_) fputs("\r\033[K", stderr);
  shown_ = false;
}
