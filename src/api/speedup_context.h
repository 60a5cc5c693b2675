// SPEEDUPCONTEXT: what scans share, built once. It does not change between its
// creation and its destruction, so any number of threads may scan with it.

#ifndef API_SPEEDUP_CONTEXT_H_
#define API_SPEEDUP_CONTEXT_H_

#include "base/str.h"
#include "base/tblock.h"

class HSTUFF;
class REGEXPOOL;
class UrlBlacklist;

struct SPEEDUPCONTEXT {
  REGEXPOOL* pool;          // owned; every pattern, compiled
  HSTUFF* stuff;            // owned; indexes of the dictionary
  UrlBlacklist* blacklist;  // owned
  STR profile;              // first line of the profile file; may be empty

  SPEEDUPCONTEXT();
  ~SPEEDUPCONTEXT();
  SPEEDUPCONTEXT(const SPEEDUPCONTEXT&) = delete;
  SPEEDUPCONTEXT& operator=(const SPEEDUPCONTEXT&) = delete;
};

// Builds a context; null when there is no memory for it. Without memory for
// the pool it has only a profile. For `directory` see LoadPatchedKeywords.
SPEEDUPCONTEXT* CreateSpeedupContext(const char* directory);

// The first line of a regular file, trimmed; empty when there is none.
void ReadProfileFile(const char* path, STR& profile);

#endif  // API_SPEEDUP_CONTEXT_H_
