// A host of the shared library, for benchmarks that scan whole messages: all
// checks are asked for, cause and rewritten header too.

#ifndef BENCH_HOST_H_
#define BENCH_HOST_H_

#include <stdint.h>
#include <string.h>

#include <string>
#include <vector>

#include "api/quaymarsh.h"
#include "scan/tqmmsg.h"

// One for each thread.
class HOST {
 public:
  // The context is borrowed and may be shared. `flags` come on top, such as
  // QM_NO_BAILOUT.
  HOST(void* context, unsigned int flags) : context_(context), flags_(flags) {}

  // Returns the state.
  int scan(const std::string& message) {
    const uint32_t all = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION |
                         QM_CHECK_COMMERCIAL | QM_CHECK_SUSPECT;
    const QMGLOBALSETUP globalSetup = {8, all};
    const QMUSERSETUP userSetup = {20, -100, 200, 0, all};
    QMINFO info;
    memset(&info, 0, sizeof info);
    info.size = sizeof info;
    info.flags = QM_WANT_CAUSE | QM_REWRITE_HEADER | flags_;
    info.msg = reinterpret_cast<const unsigned char*>(message.data());
    info.msgLength = static_cast<unsigned>(message.size());
    info.user = "user@example.com";
    info.globalSetup = &globalSetup;
    info.userSetup = &userSetup;
    info.cause = cause_.data();
    info.causeSize = int(cause_.size());
    info.headerOut = header_.data();
    info.headerOutSize = int(header_.size());
    return QmScanMessageWithContext(&info, context_);
  }

 private:
  void* const context_;
  const unsigned int flags_;
  std::vector<char> cause_ = std::vector<char>(1 << 16);
  std::vector<char> header_ = std::vector<char>(2 * kMaxMessageBytes);
};

#endif  // BENCH_HOST_H_
