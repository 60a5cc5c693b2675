// How far a long run has come, on a terminal.
#ifndef QUAYMARSH_TOOLS_PROGRESS_H_
#define QUAYMARSH_TOOLS_PROGRESS_H_

#include <time.h>

#include <cstdio>

class Progress {
 public:
  // Silent when results are written to `report` all the time and that is a
  // terminal, too: they show it already. Null: results come at the end. With a
  // total there is a bar, else a count; `noun` is what is counted.
  explicit Progress(FILE* report, size_t total = 0,
                    const char* noun = "messages");
  ~Progress() { clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void step();
  // Makes room for an error message.
  void clear();

 private:
  void show();

  const bool active_;
  const size_t total_;
  const char* const noun_;
  bool shown_ = false;
  size_t count_ = 0;
  time_t shownAt_ = 0;
};

#endif  // QUAYMARSH_TOOLS_PROGRESS_H_
