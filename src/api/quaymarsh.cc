// The exported functions, and the one way through a scan that they share.
// Tested by record_test.c, which drives them as a host does.

#include "api/quaymarsh.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "api/letter_pairs.h"
#include "api/speedup_context.h"
#include "base/str.h"
#include "base/tblock.h"
#include "regex/regex_pool.h"
#include "scan/app_log.h"
#include "scan/header.h"
#include "scan/tqmmsg.h"

namespace {

// The record is a binary interface.
#define QM_AT(field, offset)                                             \
  static_assert(sizeof(void*) != 4 || offsetof(QMINFO, field) == offset, \
                "QMINFO." #field " has moved")
QM_AT(size, 0);
QM_AT(flags, 4);
QM_AT(msgLength, 8);
QM_AT(msg, 12);
QM_AT(msgPath, 16);
QM_AT(user, 20);
QM_AT(globalListLength, 24);
QM_AT(globalList, 28);
QM_AT(userListLength, 32);
QM_AT(userList, 36);
QM_AT(keywordFile, 40);
QM_AT(headerOut, 44);
QM_AT(headerOutSize, 48);
QM_AT(userSetup, 52);
QM_AT(globalSetup, 56);
QM_AT(headerLength, 60);
QM_AT(headerOutLength, 64);
QM_AT(subjectTag, 68);
QM_AT(state, 72);
QM_AT(score, 76);
QM_AT(cause, 80);
QM_AT(causeSize, 84);
QM_AT(reserved, 88);
QM_AT(version, 92);
QM_AT(versionSize, 96);
QM_AT(bailout, 100);
QM_AT(profile, 104);
QM_AT(params, 108);
QM_AT(paramsOut, 112);
QM_AT(paramsOutSize, 116);
#undef QM_AT
static_assert(sizeof(void*) != 4 || sizeof(QMINFO) == 120, "QMINFO");
static_assert(sizeof(QMGLOBALSETUP) == 8, "QMGLOBALSETUP");
static_assert(sizeof(QMUSERSETUP) == 20, "QMUSERSETUP");
static_assert(sizeof(int) == 4, "the records hold 32-bit integers");

const QMGLOBALSETUP kDefaultGlobalSetup = {8, 0};
const QMUSERSETUP kDefaultUserSetup = {20, -100, 200, 0, 0};
// Setups of the calls without a record that check for viruses and
// notifications.
const QMGLOBALSETUP kCheckingGlobalSetup = {
    8, QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION};
const QMUSERSETUP kCheckingUserSetup = {20, -100, 200, 0,
                                        QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION};

const char kLogDirectory[] = "quaymarsh";
const char kLogName[] = "qmspamstate";
const int32_t kLogFiles = 31;
const char kLogPurgeTime[] = "04:01";

const char kAgentField[] = "X-ANTISPAM-AGENT";
const char kScoreField[] = "X-SPAM-SCORE";

// 0 for a record that is too small, else 1, 2 or 3.
int RecordVersion(uint32_t size) {
  if (size < offsetof(QMINFO, bailout)) return 0;
  if (size < offsetof(QMINFO, params)) return 1;
  return size < sizeof(QMINFO) ? 2 : 3;
}

bool IsBuffer(const char* buffer, int32_t size) {
  return buffer != nullptr && size > 0;
}

// Zeroes a buffer over its whole size and copies what fits ahead of a NUL.
void FillBuffer(TBLOCK text, char* buffer, int32_t size) {
  memset(buffer, 0, static_cast<size_t>(size));
  const TBLOCK part = text.head(static_cast<uint32_t>(size - 1));
  if (!part.empty()) memcpy(buffer, part.pointer, part.length);
}

void FillEncoded(TBLOCK text, char* buffer, int32_t size) {
  memset(buffer, 0, static_cast<size_t>(size));
  EncodeLetterPairs(text, buffer, size);
}

void WriteVersion(const TQMMSG& message, QMINFO* info) {
  if (!IsBuffer(info->version, info->versionSize)) return;
  STR text;
  message.getQMVersion(text);
  FillBuffer(text.view(), info->version, info->versionSize);
}

void WriteParams(const TQMMSG& message, QMINFO* info) {
  if (!(info->flags & QM_WANT_CAUSE) ||
      !IsBuffer(info->paramsOut, info->paramsOutSize))
    return;
  FillEncoded(message.params.view(), info->paramsOut, info->paramsOutSize);
}

// The version text is built anew: with noBailout in force it says so only
// here, since the flag reaches the message with the scan.
void WriteCause(TQMMSG& message, QMINFO* info) {
  const uint32_t kUsualReport = 512;
  if (!(info->flags & QM_WANT_CAUSE) || !IsBuffer(info->cause, info->causeSize))
    return;
  BLOCK report(message.ledger.cause.length + kUsualReport, kUsualReport);
  STR text;
  message.getQMVersion(text);
  report.add(text.view());
  report.add("; ");
  report.add(message.ledger.cause.view());
  if (message.testRuleSection("ExtendedSpamCause")) {
    message.appendExtendedCause(report);
  }
  if (message.ledger.state == ssVirus)
    FillBuffer(report.view(), info->cause, info->causeSize);
  else
    FillEncoded(report.view(), info->cause, info->causeSize);
}

// Takes the marks of an earlier scan off the header, puts ours on and tags the
// subject. A buffer of exactly the length gets headerOutLength but no text:
// the copy wants room for its NUL.
void WriteHeader(TQMMSG& message, QMINFO* info) {
  if (!(info->flags & QM_REWRITE_HEADER)) return;
  if (!message.header) {
    info->headerOutLength = 0;
    return;
  }
  HEADER& header = *message.header;
  header.removeEntry(kAgentField);
  header.removeEntry(kScoreField);
  if (IsBuffer(info->version, info->versionSize)) {
    // The host's buffer may have been shared with another one meanwhile, so
    // its end is not taken on trust.
    STR agent;
    const size_t size = static_cast<size_t>(info->versionSize);
    const int32_t length = static_cast<int32_t>(strnlen(info->version, size));
    agent.renew(length);
    agent.add(info->version, length);
    header.appendEntry(kAgentField, agent.c_str());
  }
  char points[16];
  snprintf(points, sizeof points, "%d", message.ledger.score);
  header.appendEntry(kScoreField, points);

  STR subject, value;
  header.getEntryValue("Subject", value);
  const int32_t kUsualTag = 63;
  const TBLOCK tag(message.ledger.state != ssClean ? info->subjectTag : "");
  subject.renew(value.len() + kUsualTag);
  subject += tag;
  subject += value;
  header.setEntryValue("Subject", subject.c_str());

  const int32_t length = header.length();
  if (!info->headerOut || info->headerOutSize < length) {
    info->headerOutSize = length;
    info->headerOutLength = 0;
    return;
  }
  header.copyTo(info->headerOut, info->headerOutSize);
  info->headerOutLength = length;
}

void LogState(const TQMMSG& message, const char* user) {
  APPLOG log(kLogDirectory, kLogName, kLogFiles);
  char verdict[32];
  snprintf(verdict, sizeof verdict, "%d\t%d", message.ledger.state,
           message.ledger.score);
  log.log(user, verdict);
  log.forceHouseKeepingAt(kLogPurgeTime);
}

// Loads the record's message. 0, or what the scan returns instead; `done` is
// set when there is nothing to scan.
int LoadMessage(TQMMSG& message, const QMINFO* info, bool& done) {
  done = true;
  if (info->flags & QM_FROM_FILE) {
    if (!message.loadFromFile(info->msgPath, info->user, 0))
      return QM_ERROR_FILE;
  } else {
    if (!info->msg) return QM_ERROR_RECORD;
    if (info->msgLength == 0) return 0;
    // Without memory for the copy there is no message.
    if (!message.loadFromBlock(TBLOCK(info->msg, info->msgLength), info->user,
                               0))
      return QM_ERROR_RECORD;
  }
  done = false;
  return 0;
}

int ScanRecord(TQMMSG& message, QMINFO* info, int version) {
  if (version >= 2) message.setProfileInfo(info->bailout, info->profile);
  if (version >= 3) {
    message.setParams(info->params);
    WriteParams(message, info);
  }
  WriteVersion(message, info);
  if (info->keywordFile && *info->keywordFile &&
      !message.dico.loadKeywordsFromFile(info->keywordFile))
    return QM_ERROR_KEYWORDS;
  message.wantHeader = (info->flags & QM_REWRITE_HEADER) != 0;
  bool done;
  const int result = LoadMessage(message, info, done);
  if (done) return result;
  message.check(info->globalSetup ? info->globalSetup : &kDefaultGlobalSetup,
                info->userSetup ? info->userSetup : &kDefaultUserSetup,
                TBLOCK(info->globalList, info->globalListLength),
                TBLOCK(info->userList, info->userListLength),
                (info->flags & QM_NO_BAILOUT) != 0,
                (info->flags & QM_SKIP_EMAILS) != 0, info->user,
                (info->flags & QM_FLAG_BIT5) != 0);
  info->headerLength = static_cast<int>(message.headerLength());
  LogState(message, info->user);
  info->state = message.ledger.state;
  info->score = message.ledger.score;
  WriteCause(message, info);
  WriteHeader(message, info);
  return message.ledger.state;
}

// A message that is scanned without a context. Patterns that the scan needs are
// compiled once, into a pool of its own.
struct LONEMESSAGE {
  REGEXPOOL pool;
  TQMMSG message;

  LONEMESSAGE() : pool(1), message(&pool, nullptr, nullptr, 0, 0) {}
};

int QmScanAsBestYouCan(QMINFO* info, const SPEEDUPCONTEXT* context) {
  if (!info) return QM_ERROR_RECORD;
  const int version = RecordVersion(info->size);
  if (version == 0) return QM_ERROR_RECORD;
  if (!context) {
    LONEMESSAGE lone;
    return ScanRecord(lone.message, info, version);
  }
  TQMMSG message(context->pool, context->stuff, context->blacklist, 0, 0);
  if (!context->profile.empty()) message.profile = context->profile;
  return ScanRecord(message, info, version);
}

// A scan without a record; false without memory for the message. `user`
// reaches only the load, so no white list of the recipient is read.
bool ScanStandalone(TQMMSG& message, const unsigned char* msg,
                    unsigned long length, const char* user,
                    const char* globalList, const char* userList,
                    const QMGLOBALSETUP* globalSetup,
                    const QMUSERSETUP* userSetup) {
  const uint32_t bytes =
      length > kMaxBlockBytes ? kMaxBlockBytes : static_cast<uint32_t>(length);
  if (!message.loadFromBlock(TBLOCK(msg, bytes), user, 0)) return false;
  message.check(globalSetup, userSetup, TBLOCK(globalList), TBLOCK(userList), 0,
                0, nullptr, 0);
  return true;
}

}  // namespace

int QmScanMessage(QMINFO* info) {
  return QmScanAsBestYouCan(info, nullptr);
}

int QmScanMessageWithContext(QMINFO* info, void* context) {
  return QmScanAsBestYouCan(info, static_cast<SPEEDUPCONTEXT*>(context));
}

void* QmCreateSpeedupContext(void) {
  return QmCreateSpeedupContextWith(nullptr);
}

void* QmCreateSpeedupContextWith(const char* directory) {
  return CreateSpeedupContext(directory);
}

void QmReleaseSpeedupContext(void* context) {
  delete static_cast<SPEEDUPCONTEXT*>(context);
}

int qmStandaloneScan(const unsigned char* msg, unsigned long length,
                     const char* user, const char* globalList,
                     const char* userList, int* score) {
  if (!msg || !score) return QM_ERROR_RECORD;
  LONEMESSAGE lone;
  TQMMSG& message = lone.message;
  if (!ScanStandalone(message, msg, length, user, globalList, userList,
                      &kDefaultGlobalSetup, &kDefaultUserSetup))
    return QM_ERROR_RECORD;
  *score = message.ledger.score;
  return message.ledger.state;
}

int qmStandaloneScanWithCause(const unsigned char* msg, unsigned long length,
                              const char* /*ignored*/, const char* globalList,
                              const char* userList, int* score, char* cause,
                              int causeSize) {
  if (!msg || !score) return QM_ERROR_RECORD;
  LONEMESSAGE lone;
  TQMMSG& message = lone.message;
  if (!ScanStandalone(message, msg, length, "", globalList, userList,
                      &kCheckingGlobalSetup, &kCheckingUserSetup))
    return QM_ERROR_RECORD;
  *score = message.ledger.score;
  if (IsBuffer(cause, causeSize))
    FillBuffer(message.ledger.cause.view(), cause, causeSize);
  return message.ledger.state;
}

int QuayMarshNotes(const unsigned char* msg, unsigned long length,
                   const char* user, const char* globalList,
                   const char* userList) {
  if (!msg) return QM_ERROR_RECORD;
  if (length == 0) return 0;
  LONEMESSAGE lone;
  TQMMSG& message = lone.message;
  if (!ScanStandalone(message, msg, length, user, globalList, userList,
                      &kCheckingGlobalSetup, &kCheckingUserSetup))
    return QM_ERROR_RECORD;
  return message.ledger.score;
}
