// The stages of a scan and what each costs, for scan_bench.

#ifndef BENCH_SCAN_STAGES_H_
#define BENCH_SCAN_STAGES_H_

#include <stdint.h>

#include <string>
#include <vector>

#include "api/speedup_context.h"
#include "scan/app_log.h"
#include "scan/tqmmsg.h"

struct STAGE {
  std::string group, name;
  double seconds = 0;  // of all messages in this pass
  long runs = 0;       // messages that it ran for
  std::vector<double> passes;
};

struct VERDICT {
  int32_t state = -1, score = 0;
};

// A walk through the steps of a scan with cause and rewritten header, each
// timed. It repeats the order that stands in scan/driver.cc, parseBody and
// api/quaymarsh.cc, private steps included; whoever uses it has to hold its
// verdicts against those of the library.
class STAGEWALK {
 public:
  // The log goes below `logRoot`, which ends in "/". Both are borrowed.
  STAGEWALK(const SPEEDUPCONTEXT* context, const char* logRoot);

  VERDICT scan(const std::string& message, const char* user,
               const QMGLOBALSETUP* globalSetup, const QMUSERSETUP* userSetup);
  // Forgets what was measured; keeps the seconds of a pass.
  void startPasses();
  void endPass();

  std::vector<STAGE> stages;  // in the order of a scan

 private:
  void begin();
  void done(int stage);
  void parse(TQMMSG& m);
  void parseBody(TQMMSG& m);
  void runChecks(TQMMSG& m, const char* user);
  void checkSpam(TQMMSG& m);
  void checkBlack(TQMMSG& m, bool runWhite);
  void report(TQMMSG& m, const char* user);

  const SPEEDUPCONTEXT* context_;
  const APPLOG::Host log_;
  const QMGLOBALSETUP* globalSetup_ = nullptr;
  const QMUSERSETUP* userSetup_ = nullptr;
  double start_ = 0;      // of the stage in hand
  double clockCost_ = 0;  // of one look at the clock
  std::vector<char> out_;
};

#endif  // BENCH_SCAN_STAGES_H_
