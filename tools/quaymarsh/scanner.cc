// A scan whose outputs did not fit is done again with larger buffers. That
// costs a second line in the library's log, so the first sizes are generous.
// Tested by tests/tools/cli_test.sh.

#include "scanner.h"

#include <cstring>
#include <new>

#include "letter_pairs.h"

namespace {

const size_t kFirstCauseBytes = 256 << 10;
const size_t kMaxCauseBytes = 64 << 20;  // a longer cause is shown cut
const size_t kFirstHeaderBytes = 64 << 10;
// The profile is the only part of the version without a fixed length. It comes
// from the command line or from one line, of at most 10 KiB, of a file.
const size_t kVersionBytes = 16 << 10;

const char* OrNull(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

const unsigned char* Bytes(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

const char* StateName(int state) {
  switch (state) {
    case QM_STATE_CLEAN:
      return "clean";
    case QM_STATE_SPAM:
      return "spam";
    case QM_STATE_VIRUS:
      return "virus";
    case QM_STATE_NOTIFICATION:
      return "notification";
    case QM_STATE_SUSPECT:
      return "suspect";
    case QM_STATE_COMMERCIAL_P:
      return "commercial PCE";
    case QM_STATE_COMMERCIAL_M:
      return "commercial MCE";
    case QM_STATE_COMMERCIAL_D:
      return "commercial DCE";
    default:
      return "unknown";
  }
}

Scanner::Scanner(const ScanSettings& settings)
    : settings_(settings),
      cause_(kFirstCauseBytes),
      header_(settings.wantHeader ? kFirstHeaderBytes : 0),
      version_(kVersionBytes + settings.profile.size()) {
  for (const std::string& param : settings_.params) {
    if (!params_.empty()) params_ += '\n';
    params_ += param;
  }
  globalSetup_.value = 8;
  globalSetup_.flags = settings_.globalFlags;
  userSetup_.value1 = 20;
  userSetup_.value2 = -100;
  userSetup_.value3 = 200;
  userSetup_.value4 = 0;
  userSetup_.flags = settings_.userFlags;
  if (!settings_.context) return;
  context_ = QmCreateSpeedupContextWith(OrNull(settings_.patchDirectory));
  if (!context_) throw std::bad_alloc();
}

Scanner::~Scanner() {
  QmReleaseSpeedupContext(context_);
}

void Scanner::fillRecord(const std::string& path, const std::string& text,
                         QMINFO* info) {
  memset(info, 0, sizeof(*info));
  info->size = sizeof(*info);
  info->flags = QM_WANT_CAUSE;
  if (settings_.wantHeader) info->flags |= QM_REWRITE_HEADER;
  if (settings_.noBailout) info->flags |= QM_NO_BAILOUT;
  if (settings_.skipEmails) info->flags |= QM_SKIP_EMAILS;
  if (settings_.fromFile) {
    info->flags |= QM_FROM_FILE;
    info->msgPath = path.c_str();
  } else {
    info->msg = Bytes(text);
    info->msgLength = static_cast<unsigned int>(text.size());
  }
  info->user = OrNull(settings_.user);
  info->globalList = Bytes(settings_.globalList);
  info->globalListLength =
      static_cast<unsigned int>(settings_.globalList.size());
  info->userList = Bytes(settings_.userList);
  info->userListLength = static_cast<unsigned int>(settings_.userList.size());
  info->keywordFile = OrNull(settings_.keywordFile);
  if (settings_.wantHeader) {
    info->headerOut = header_.data();
    info->headerOutSize = static_cast<int>(header_.size());
  }
  if (settings_.hasSetups) {
    info->userSetup = &userSetup_;
    info->globalSetup = &globalSetup_;
  }
  if (settings_.hasSubjectTag) info->subjectTag = settings_.subjectTag.c_str();
  info->cause = cause_.data();
  info->causeSize = static_cast<int>(cause_.size());
  info->version = version_.data();
  info->versionSize = static_cast<int>(version_.size());
  info->bailout = settings_.bailout;
  info->profile = OrNull(settings_.profile);
  info->params = OrNull(params_);
}

// True when a buffer was too small; it has then grown.
bool Scanner::growBuffers(const QMINFO& info) {
  bool grown = false;
  // A buffer that is full to its last byte may have been cut.
  if (strlen(cause_.data()) + 1 == cause_.size() &&
      cause_.size() < kMaxCauseBytes) {
    cause_.resize(cause_.size() * 2);
    grown = true;
  }
  if (!settings_.wantHeader) return grown;
  // A block as long as the buffer is reported as written, but is not: there
  // was no room for its NUL.
  int needed = info.headerOutLength;
  if (needed == 0) needed = info.headerOutSize;
  const bool fits = info.headerOutLength == 0
                        ? needed <= static_cast<int>(header_.size())
                        : needed < static_cast<int>(header_.size());
  if (!fits) {
    header_.resize(static_cast<size_t>(needed) + 1);
    grown = true;
  }
  return grown;
}

ScanResult Scanner::scan(const std::string& path, const std::string& text) {
  ScanResult result;
  QMINFO info;
  do {
    fillRecord(path, text, &info);
    cause_[0] = '\0';
    result.returned = QmScanMessageWithContext(&info, context_);
    if (result.returned < 0) return result;
  } while (growBuffers(info));

  result.state = info.state;
  result.score = info.score;
  const std::string cause = cause_.data();
  result.causeCut = cause.size() + 1 == cause_.size();
  size_t badAt = 0;
  // A virus is told in plain words.
  if (info.state == QM_STATE_VIRUS ||
      DecodeLetterPairs(cause, &result.cause, &badAt) == kPairsBad) {
    result.cause = cause;
  }
  result.headerLength = info.headerLength;
  if (settings_.wantHeader && info.headerOutLength > 0) {
    result.hasHeader = true;
    result.header.assign(header_.data(),
                         static_cast<size_t>(info.headerOutLength));
  }
  return result;
}
