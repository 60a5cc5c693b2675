// Walks through a directory that hand what they find to a client: READDIR the
// files whose names match a wildcard, DIRITER the directories. PURGER and
// DIRLISTER are clients.
//
// A path is the directory, "/" unless it ends in one, and the name. Entries
// come in the directory's own order. Symbolic links count as what they lead
// to; one that leads nowhere is passed over. What cannot be read is an empty
// directory to these walks; none of them reports an error.

#ifndef SCAN_READ_DIR_H_
#define SCAN_READ_DIR_H_

#include <stdint.h>

#include "base/str.h"
#include "base/vectors.h"

class APPLOG;
class DIRITER;
class READDIR;

class READDIRCLIENT {
 public:
  // The path lives as long as the call. 0 ends the walk; the base returns 1.
  virtual int foundFile(READDIR* walk, const char* path);

 protected:
  ~READDIRCLIENT() {}
};

class DIRITERCLIENT {
 public:
  // The path lives as long as the call; the result is not looked at. The base
  // returns 1.
  virtual int foundDir(DIRITER* walk, const char* path);

 protected:
  ~DIRITERCLIENT() {}
};

class READDIR {
 public:
  // Walks here and now. In the wildcard "*" stands for any run of characters
  // and "?" for one. It has to match from the start of a name but not to its
  // end, on purpose: "*.log" finds "a.log.gz" as well. Other characters but
  // "." go into a pattern of the engine as they are: one such as "(" may give
  // a pattern that does not compile, and then nothing is found. Nothing is
  // done when an argument is null.
  READDIR(READDIRCLIENT* client, const char* directory, const char* wildcard);
};

class DIRITER {
 public:
  // Walks here and now; "." and ".." are left out. Nothing is done when an
  // argument is null.
  DIRITER(DIRITERCLIENT* client, const char* directory);
};

// Collects what a log may have to delete.
class PURGER final : public READDIRCLIENT {
 public:
  APPLOG* log;    // borrowed
  STRVECT paths;  // in the order of CompareNoCase, each once

  explicit PURGER(APPLOG* owner);
  int foundFile(READDIR* walk, const char* path) override;
};

// Deletes a directory with all that is in it; for hosts, nothing in the
// library does so. To use it, fill it by both walks:
//
//   DIRLISTER lister(directory);
//   READDIR files(&lister, directory, "*");
//   DIRITER folders(&lister, directory);
//   lister.deleteAll();
//
// A link is deleted and never entered. A link that leads nowhere stays, and
// with it the directory that holds it.
class DIRLISTER final : public READDIRCLIENT, public DIRITERCLIENT {
 public:
  static const int32_t kMaxDepth = 128;  // what lies deeper stays

  STR directory;
  STRVECT files;
  STRVECT directories;

  // `depth` is that of the directory below the outermost one.
  explicit DIRLISTER(const char* directory, int32_t depth = 0);
  int foundFile(READDIR* walk, const char* path) override;
  int foundDir(DIRITER* walk, const char* path) override;
  // Best effort: nothing is checked.
  void deleteAll();

 private:
  int32_t depth_;
};

#endif  // SCAN_READ_DIR_H_
