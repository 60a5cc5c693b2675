// How scans scale with threads on one context: messages a second by the wall
// clock with 1, 2, 4... threads, each of which scans all messages, beginning
// with another one; the ratio to one thread; and the processor's microseconds a
// message, which grow where threads wait in turns or share a cache line.
//
//   threads_bench [--threads N] [--passes N] FOLDER...
//
// Takes at most 1000 messages from all over the folders and holds them in
// memory. The best of the passes counts, and all threads begin together. Above
// 8 threads (or N) it stops. Exit 1: a thread got another state than the first
// thread alone; 64: usage.
//
// Figures mean something on a machine that does nothing else, and only up to
// the number of its processors, which is printed.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench_util.h"
#include "host.h"

namespace {

struct MAIL {
  std::string text;
  int state;
};

struct FIGURES {
  double wall = 1e9, cpu = 0;  // of the best pass; of all of its threads
};

double Wall() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// One pass in so many threads. `wrong` counts states that differ.
FIGURES RunPass(const std::vector<MAIL>& mails, void* context, size_t count,
                std::atomic<long>& wrong) {
  std::atomic<size_t> ready(0);
  std::atomic<bool> go(false);
  std::vector<double> cpu(count);
  std::vector<std::thread> threads;
  for (size_t t = 0; t < count; t++) {
    threads.emplace_back([&, t] {
      HOST host(context, 0);
      host.scan(mails[t % mails.size()].text);  // warms up
      ready++;
      while (!go) std::this_thread::yield();
      const double start = Now();
      long differing = 0;
      for (size_t i = 0; i < mails.size(); i++) {
        const MAIL& mail = mails[(i + t * mails.size() / count) % mails.size()];
        if (host.scan(mail.text) != mail.state) differing++;
      }
      cpu[t] = Now() - start;
      wrong += differing;
    });
  }
  while (ready < count) std::this_thread::yield();
  FIGURES figures;
  const double start = Wall();
  go = true;
  for (std::thread& thread : threads) thread.join();
  figures.wall = Wall() - start;
  for (double each : cpu) figures.cpu += each;
  return figures;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

int main(int argc, char** argv) {
  size_t most = 8;
  int passes = 3, i = 1;
  for (; i + 1 < argc && strncmp(argv[i], "--", 2) == 0; i += 2) {
    const int value = std::max(atoi(argv[i + 1]), 1);
    if (strcmp(argv[i], "--threads") == 0) {
      most = static_cast<size_t>(value);
    } else if (strcmp(argv[i], "--passes") == 0) {
      passes = value;
    } else {
      break;
    }
  }
  void* context = QmCreateSpeedupContext();
  std::vector<MAIL> mails;
  HOST host(context, 0);
  for (const std::string& file : MailFiles(argc - i, argv + i)) {
    const std::string text = ReadFile(file);
    if (!text.empty()) mails.push_back({text, host.scan(text)});
  }
  if (mails.empty()) {
    fprintf(stderr,
            "usage: threads_bench [--threads N] [--passes N] FOLDER...\n");
    return 64;
  }
  printf("%zu messages, %d bits, %u processors, best of %d passes\n\n",
         mails.size(), int(8 * sizeof(void*)),
         std::thread::hardware_concurrency(), passes);
  printf("%8s %14s %8s %16s\n", "threads", "messages/s", "ratio",
         "us of processor");
  std::atomic<long> wrong(0);
  double one = 0;
  for (size_t count = 1; count <= most; count *= 2) {
    FIGURES best;
    for (int pass = 0; pass < passes; pass++) {
      const FIGURES figures = RunPass(mails, context, count, wrong);
      if (figures.wall < best.wall) best = figures;
    }
    const double scans = double(count * mails.size());
    const double rate = scans / best.wall;
    if (count == 1) one = rate;
    printf("%8zu %14.0f %8.2f %16.1f\n", count, rate, rate / one,
           best.cpu / scans * 1e6);
    fflush(stdout);
  }
  QmReleaseSpeedupContext(context);
  if (wrong) fprintf(stderr, "states that differ: %ld\n", wrong.load());
  return wrong ? 1 : 0;
}
