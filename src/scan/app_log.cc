// The daily log. A line is put together in memory and goes out in one write to
// a file opened to append, so that lines of parallel scans stay whole without
// a lock. When there is room for a part of it only, that part is taken back.
// Entry points: APPLOG's members. Tested by app_log_test.cc.

#include "scan/app_log.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <new>

#include "scan/read_dir.h"

// Between two looks of one object at old files.
static const int64_t kCheckNanoseconds = 60000000000;
// Milliseconds beyond this many seconds do not fit into 32 bits: the clock was
// set, so the last look says nothing.
static const int64_t kCheckMaxSeconds = 4294966;
static const int32_t kWindowSeconds = 600;  // of the daily purge
static const uint32_t kLineBytes = 1024;    // longer ones take memory
static const mode_t kDirectoryMode = 0775;
static const mode_t kFileMode = 0666;  // less the host's mask

static APPLOG::Moment Now() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return {now.tv_sec, static_cast<int32_t>(now.tv_nsec)};
}

const APPLOG::Host APPLOG::kMachine = {"/var/log/", Now};

static tm LocalTime(APPLOG::Moment moment) {
  const time_t seconds = static_cast<time_t>(moment.seconds);
  tm local;
  if (!localtime_r(&seconds, &local)) memset(&local, 0, sizeof local);
  return local;
}

// The text up to its first control character, which TAB may not be.
static TBLOCK Printable(const char* text, bool allowTab) {
  if (!text) text = "";
  uint32_t n = 0;
  while (static_cast<unsigned char>(text[n]) >= 0x20 ||
         (allowTab && text[n] == '\t'))
    n++;
  return TBLOCK(text, n);
}

APPLOG::APPLOG(const char* directoryName, const char* name, int32_t files,
               const Host* host)
    : dirName(directoryName),
      logName(name),
      keepFiles(files),
      lastCheck(host->now()),
      host_(host) {
  STR path;
  if (directory(path)) mkdir(path.c_str(), kDirectoryMode);
}

// 0 when memory is short: a part of a path would lead elsewhere.
int APPLOG::directory(STR& path) const {
  if (!dirName.text || !logName.text) return 0;
  const char* const parts[] = {host_->root, dirName.c_str()};
  return path.join(parts, 2);
}

int APPLOG::fileSpec(const tm& today, STR& path) const {
  char date[48];
  snprintf(date, sizeof date, "-%04d%02d%02d.log", today.tm_year + 1900,
           today.tm_mon + 1, today.tm_mday);
  const char* const parts[] = {
      host_->root, dirName.c_str(), "/", dirName.c_str(),
      "-",         logName.c_str(), date};
  return path.join(parts, 7);
}

void APPLOG::getCurrentLogSpec(STR& path) const {
  fileSpec(LocalTime(host_->now()), path);
}

void APPLOG::log(const char* text) {
  write("", TBLOCK(), text);
}

void APPLOG::log(const char* a, const char* b) {
  write(a, TBLOCK("\t"), b);
}

void APPLOG::log(const char* a, int32_t n, const char* b) {
  char number[16];
  snprintf(number, sizeof number, "\t%d", n);
  write(a, TBLOCK(number), b);
}

// Without O_NONBLOCK a pipe in the file's place would hold up the scan.
int APPLOG::_open(const tm& today) const {
  STR path;
  if (!fileSpec(today, path)) return -1;
  return open(path.c_str(),
              O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY,
              kFileMode);
}

void APPLOG::_close(int file) {
  close(file);
  _doHouseKeeping();
}

// A write beyond the process's limit on file sizes raises SIGXFSZ, which would
// end the host: it is held back from this thread and taken away.
static ssize_t WriteOnce(int file, const char* line, uint32_t length) {
  sigset_t limit, pending, before;
  sigemptyset(&limit);
  sigaddset(&limit, SIGXFSZ);
  sigemptyset(&pending);
  sigpending(&pending);
  if (pthread_sigmask(SIG_BLOCK, &limit, &before) != 0) return -1;
  ssize_t written;
  do {
    written = ::write(file, line, length);
  } while (written < 0 && errno == EINTR);
  const timespec now = {0, 0};
  if (written < 0 && errno == EFBIG && !sigismember(&pending, SIGXFSZ))
    sigtimedwait(&limit, nullptr, &now);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return written;
}

// A disk may have room for a part of the line. That part goes again, unless
// somebody has written behind it meanwhile: the next line would be glued to it.
static void AppendWhole(int file, const char* line, uint32_t length) {
  const ssize_t written = WriteOnce(file, line, length);
  if (written <= 0 || static_cast<uint32_t>(written) == length) return;
  const off_t end = lseek(file, 0, SEEK_CUR);
  struct stat about;
  if (fstat(file, &about) == 0 && about.st_size == end &&
      ftruncate(file, end - written) != 0)
    return;  // the part stays
}

static char* Append(char* to, TBLOCK text) {
  if (text.length) memcpy(to, text.pointer, text.length);
  return to + text.length;
}

void APPLOG::write(const char* a, TBLOCK middle, const char* b) {
  const TBLOCK front = Printable(a, false), back = Printable(b, true);
  const tm now = LocalTime(host_->now());
  char time[40];
  snprintf(time, sizeof time, "%02d:%02d:%02d\t", now.tm_hour, now.tm_min,
           now.tm_sec);
  char shortLine[kLineBytes];
  char* line = shortLine;
  const uint64_t length =
      strlen(time) + uint64_t{front.length} + middle.length + back.length + 1;
  if (length > INT32_MAX) return;
  if (length > kLineBytes) line = new (std::nothrow) char[length];
  const int file = line ? _open(now) : -1;
  if (file >= 0) {
    char* end = Append(line, TBLOCK(time));
    end = Append(Append(Append(end, front), middle), back);
    *end = '\n';
    AppendWhole(file, line, static_cast<uint32_t>(length));
    _close(file);
  }
  if (line != shortLine) delete[] line;
}

// A scan has an APPLOG of its own, which does not live long enough to purge
// here: it does so by forceHouseKeepingAt.
void APPLOG::_doHouseKeeping() {
  const Moment now = host_->now();
  if (lastCheck.seconds != 0 || lastCheck.nanoseconds != 0) {
    const int64_t seconds = now.seconds - lastCheck.seconds;
    if (seconds > kCheckMaxSeconds) {
      lastCheck = {0, 0};
      return;
    }
    const int64_t passed =
        seconds * 1000000000 + now.nanoseconds - lastCheck.nanoseconds;
    if (passed < kCheckNanoseconds) return;
    lastCheck = {0, 0};
    _purgeNow();
  }
  lastCheck = now;
}

// "hh:mm" as seconds, or -1.
static int32_t SecondOfDay(const char* time) {
  if (!time || strlen(time) != 5 || time[2] != ':') return -1;
  for (int i = 0; i < 5; i++) {
    if (i != 2 && (time[i] < '0' || time[i] > '9')) return -1;
  }
  const int32_t hours = (time[0] - '0') * 10 + time[1] - '0';
  const int32_t minutes = (time[3] - '0') * 10 + time[4] - '0';
  return hours * 3600 + minutes * 60;
}

void APPLOG::forceHouseKeepingAt(const char* time) {
  const int32_t from = SecondOfDay(time);
  if (from < 0) return;
  const tm local = LocalTime(host_->now());
  const int32_t now = local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec;
  if (now >= from && now <= from + kWindowSeconds) _purgeNow();
}

// The date is in the name, so the first of the sorted files is the oldest.
void APPLOG::_purgeNow() {
  STR path, wildcard;
  const char* const parts[] = {dirName.c_str(), "-", logName.c_str(), "-*.log"};
  if (!directory(path) || !wildcard.join(parts, 4)) return;
  PURGER purger(this);
  READDIR walk(&purger, path.c_str(), wildcard.c_str());
  const int32_t count = purger.paths.count();
  for (int32_t i = 0; i < count && count - int64_t{i} > keepFiles; i++)
    unlink(purger.paths.text(i));
}
