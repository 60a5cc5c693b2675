// APPLOG: a log of one file a day that keeps its newest files. Best effort:
// nothing that goes wrong with it reaches a scan. It writes nothing yet.

#ifndef SCAN_APP_LOG_H_
#define SCAN_APP_LOG_H_

#include <stdint.h>

#include "base/str.h"

class APPLOG {
 public:
  STR dirName;        // directory below /var/log/
  STR logName;        // name of the log within it
  int32_t keepFiles;  // files to keep

  // Creates the directory.
  APPLOG(const char* dirName, const char* logName, int32_t keepFiles);

  // Appends "time TAB a TAB b"; null is the empty text.
  void log(const char* a, const char* b);
  // Deletes old files when the local time is within ten minutes from "hh:mm".
  void forceHouseKeepingAt(const char* time);
};

#endif  // SCAN_APP_LOG_H_
