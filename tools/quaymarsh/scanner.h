// Scans messages through the shared library, as a host would: one speedup
// context for all, and output buffers that grow until everything fits.
#ifndef QUAYMARSH_TOOLS_SCANNER_H_
#define QUAYMARSH_TOOLS_SCANNER_H_

#include <cstddef>
#include <string>
#include <vector>

#include "quaymarsh.h"

struct ScanSettings {
  std::string user;
  std::string profile;
  int bailout = 0;  // 0: the library's default
  bool noBailout = false;
  bool skipEmails = false;
  bool fromFile = false;
  bool context = true;
  std::string patchDirectory;  // empty: none
  std::string keywordFile;     // empty: the dictionary in the library
  std::string globalList;      // contents of the lists
  std::string userList;
  unsigned int globalFlags = 0;
  unsigned int userFlags = 0;
  bool hasSetups = false;  // false: none is handed over
  std::vector<std::string> params;
  std::string subjectTag;
  bool hasSubjectTag = false;
  bool wantHeader = false;
};

struct ScanResult {
  int returned = 0;  // what the library returned: a state or QM_ERROR_...
  // All the rest counts only when `returned` is not below 0.
  int state = 0;
  int score = 0;
  std::string cause;       // decoded, with the version in front
  bool causeCut = false;   // it was longer than the largest buffer
  int headerLength = 0;    // bytes that `header` stands for
  bool hasHeader = false;  // the library has written one
  std::string header;      // the rewritten header block
};

class Scanner {
 public:
  // Keeps a copy of the settings. Throws std::bad_alloc when there is no
  // memory for the context.
  explicit Scanner(const ScanSettings& settings);
  ~Scanner();
  Scanner(const Scanner&) = delete;
  Scanner& operator=(const Scanner&) = delete;

  // `path` is used with `fromFile`, else `text`, which must not be empty.
  ScanResult scan(const std::string& path, const std::string& text);

 private:
  void fillRecord(const std::string& path, const std::string& text,
                  QMINFO* info);
  bool growBuffers(const QMINFO& info);

  const ScanSettings settings_;
  std::string params_;
  QMGLOBALSETUP globalSetup_;
  QMUSERSETUP userSetup_;
  void* context_ = nullptr;
  std::vector<char> cause_;
  std::vector<char> header_;
  std::vector<char> version_;
};

// "clean", "spam" and so on; "unknown" for a number that is no state.
const char* StateName(int state);

#endif  // QUAYMARSH_TOOLS_SCANNER_H_
