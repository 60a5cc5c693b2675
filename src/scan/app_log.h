// APPLOG: a log of one file a day that keeps its newest files; the scan writes
// a line for each message with it. doc/state-log.md describes the files.
//
// Best effort: nothing that goes wrong with it reaches a scan. A line that
// cannot be written whole is lost without a word. An object serves one thread;
// any number of objects, also in other processes, may write to the same log.

#ifndef SCAN_APP_LOG_H_
#define SCAN_APP_LOG_H_

#include <stdint.h>
#include <time.h>

#include "base/str.h"

class APPLOG {
 public:
  // Seconds since 1970 and nanoseconds.
  struct Moment {
    int64_t seconds;
    int32_t nanoseconds;
  };

  // What a log takes from the machine it runs on; a test has its own.
  struct Host {
    const char* root;  // parent of log directories, with "/" at its end
    Moment (*now)();   // the real-time clock
  };
  static const Host kMachine;

  STR dirName;        // directory below the root; no "/" at its end
  STR logName;        // name of the log within it
  int32_t keepFiles;  // files to keep
  Moment lastCheck;   // last look at old files; 0, 0: none yet

  // Creates the directory, but not its parents. `host` is borrowed.
  APPLOG(const char* dirName, const char* logName, int32_t keepFiles,
         const Host* host = &kMachine);
  virtual ~APPLOG() {}
  APPLOG(const APPLOG&) = delete;
  APPLOG& operator=(const APPLOG&) = delete;

  // Append "time TAB" and: text; a TAB b; a TAB n b. Null is the empty text.
  // So that a text cannot forge a line or a column, `a` ends ahead of its
  // first byte below 20, the other texts ahead of the first one but TAB.
  void log(const char* text);
  void log(const char* a, const char* b);
  void log(const char* a, int32_t n, const char* b);
  // The path of today's file; empty when memory is short.
  void getCurrentLogSpec(STR& path) const;
  // Deletes the oldest files beyond keepFiles when the local time is "hh:mm"
  // or up to ten minutes later; nothing for a time in any other form.
  void forceHouseKeepingAt(const char* time);

 private:
  void write(const char* a, TBLOCK middle, const char* b);
  int _open(const struct tm& today) const;
  void _close(int file);
  void _doHouseKeeping();
  void _purgeNow();
  int directory(STR& path) const;
  int fileSpec(const struct tm& today, STR& path) const;

  const Host* host_;
};

#endif  // SCAN_APP_LOG_H_
