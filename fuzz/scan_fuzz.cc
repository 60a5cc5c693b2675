// Whole scans through the exported functions, with a record of any shape in
// memory of exactly its size. The input begins with 13 bytes, each a choice, so
// that a letter or a digit makes a good one; then come seven texts, each up to
// a byte 1F, and the message. See CASE.
//
// A record is scanned with room for everything, then with the buffers that it
// asks for, then as its switches say: with a context or without, from a file
// or from memory. All answers have to agree.
//
// The linker hands what a scan asks of the machine to this file: the clock
// stands still, and there is nothing below /etc and /var, so that no list of
// the machine is read and no line logged.

#include <errno.h>
#include <limits.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>

#include "api/quaymarsh.h"
#include "base/score.h"
#include "fuzz_util.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

// ==== The machine. See CMakeLists.txt.

static bool IsHidden(const char* path) {
  const bool hidden = path && (strncmp(path, "/etc/", 5) == 0 ||
                               strncmp(path, "/var/", 5) == 0);
  if (hidden) errno = ENOENT;
  return hidden;
}

extern "C" {
int __real_open64(const char* path, int flags, mode_t mode);
FILE* __real_fopen64(const char* path, const char* mode);
int __real_stat64(const char* path, struct stat* about);
int __real_mkdir(const char* path, mode_t mode);

int __wrap_open64(const char* path, int flags, mode_t mode) {
  return IsHidden(path) ? -1 : __real_open64(path, flags, mode);
}
FILE* __wrap_fopen64(const char* path, const char* mode) {
  return IsHidden(path) ? nullptr : __real_fopen64(path, mode);
}
int __wrap_stat64(const char* path, struct stat* about) {
  return IsHidden(path) ? -1 : __real_stat64(path, about);
}
int __wrap_mkdir(const char* path, mode_t mode) {
  return IsHidden(path) ? -1 : __real_mkdir(path, mode);
}
time_t __wrap_time(time_t* now) {
  const time_t fixed = 1200000000;  // 2008-01-10 21:20:00 UTC
  if (now) *now = fixed;
  return fixed;
}
}

namespace {

// ==== The input

// Words that are easy to hit, in sections that decide how a scan goes on. What
// the input adds stands behind them and takes precedence; other sections are in
// the dictionary that is built in.
const char kSections[] =
    "[^no-spam]\n(Subject=nospam)\n[^everwhiteregex]\n(Subject=everwhite)\n"
    "[^=headerregex]\n<60>h:(Hdr=Q)\n<&7>(To=,)\n"
    "[^=spamregexbeforewhite]\n<101>b:(Subject=before)\n"
    "[^=spamregex]\n<30>s:(Url=a)&(Url=b)\n<&5>@chain:(Words=a)\n"
    "<1>@fields:(Subject=f)\n[^chain]\n<5>c:(Body=b)\n"
    "[^=uceregex]\n<20>u:(sort(User)=ab)|(alpha(Subject)=viagra)\n"
    "[^regexcount]\nchain=3\n[^=whiteregex]\n<-30>w:(Subject=white)\n"
    "[^no-ce]\n(Subject=noce)\n[^dce-regex]\n<10>d:(Subject=dce)\n"
    "[^pce-regex]\n<11>p:(Subject=pce)\n[^mce-regex]\n<12>m:(Subject=mce)\n"
    "[suspectemail-words]\n<9>loan\n[^extendedspamcause]\n(Subject=a)\n"
    "[&scamgroups]\n<100>scam\n<50>+Deep\n[scam-group]\n<50>bank\n<50>loan\n"
    "[scam-words]\n<30>money\n[&scam]\n+sub\n[^deep-groupregex]\n"
    "<100>(Words=x)\n[&deep]\nsub\nsub\n[blackwords]\n<20>viagra\n<&9>pill?s\n"
    "<15>buy+now\n<10>a>b\n<5>~c\n[whitewords]\n<-10>meeting\n"
    "[#attachext]\n<&9>exe\n[#attachheader]\n<9>*=*b*\n"
    "[#forgeddomains]\n*.bank.example\n[^phishingselect]\nsel:(Url=login)\n"
    "[$blackemailaddr]\n<9>a@shop.example\n[^profils]\nProf:(Subject=prof)\n"
    "[^embedfilterregex]\n<140>(Subject=wrap)\n[$hivirusext]\nexe\nscr\n"
    "[^=alwaysregexvirus]\nV1:(Subject=virus)\n[^no-notification]\n"
    "(Subject=nonot)\n[notification-subject]\n<50>undeliver*\n<100>away\n"
    "[#asiancharset]\n<9>big5\n";

const uint8_t kSeparator = 0x1F;

// These and a section "fields" with a rule for each field of the language.
std::string AllSections() {
  std::string all = std::string(kSections) + "[^fields]\n";
  TBLOCK names(_REGEXFIELDNAMES);
  while (!names.empty())
    all += "(" + Str(TBLOCK::BlockBeforeChar(names, ',', 1, 0)) + "=q\\.q)\n";
  return all;
}

// One input, taken apart.
struct CASE {
  const uint8_t* at;
  const uint8_t* const end;

  size_t recordBytes;
  uint32_t flags;
  int bailout;
  uint8_t global, own;  // flags of the setups; 0x80: none
  uint8_t dictionary;   // which keyword file
  uint8_t nulls;        // which texts are not there
  int versionSize, paramsOutSize;
  uint8_t causeChoice, headerChoice;
  uint8_t roads;  // which other scans there are
  std::string user, globalList, userList, params, profile, tag, source, message;
  std::string image;  // what the keyword file holds

  CASE(const uint8_t* bytes, size_t size);
  bool has(uint8_t road) const { return (roads & road) != 0; }
  bool isNull(uint8_t which) const { return (nulls & which) != 0; }

 private:
  uint8_t byte() { return at < end ? *at++ : '@'; }
  std::string takeText();
  void buildMessage(uint8_t repeat);
  void buildImage();
};

// Bits of CASE::roads.
enum : uint8_t {
  rdContext = 1,       // the first scans have one
  rdOtherContext = 2,  // one more scan, the other way round
  rdOtherSource = 4,   // and one from a file in place of memory, or back
};

// Bits of CASE::nulls.
enum : uint8_t {
  nuUser = 1,
  nuLists = 2,
  nuParams = 4,
  nuProfile = 8,
  nuTag = 16,
  nuBuffers = 32,
  nuMessage = 128,
};

// Values of CASE::dictionary; the others stand for none.
enum : uint8_t {
  kdSections = 1,  // kSections and the source
  kdSource = 2,
  kdRaw = 3,  // the source's bytes
  kdMissing = 4,
  kdDirectory = 5,
  kdEmptyName = 6,
};

CASE::CASE(const uint8_t* bytes, size_t size) : at(bytes), end(bytes + size) {
  const size_t second = offsetof(QMINFO, bailout);
  const size_t third = offsetof(QMINFO, params);
  const size_t sizes[] = {
      sizeof(QMINFO), 0,     second - 1,         second,
      third - 1,      third, sizeof(QMINFO) - 1, sizeof(QMINFO) + 80};
  const int bailouts[] = {0, 99, 100, 150, 1000, INT_MAX, INT_MIN, 101};
  const int lengths[] = {200, 0, 1, 2, 20, 41, -1, 300};
  recordBytes = sizes[byte() % 8];
  flags = byte() & 0x3F;
  bailout = bailouts[byte() % 8];
  global = byte();
  own = byte();
  dictionary = byte() % 8;
  nulls = byte();
  versionSize = lengths[byte() % 8];
  paramsOutSize = lengths[byte() % 8];
  causeChoice = byte() % 8;
  headerChoice = byte() % 8;
  roads = byte();
  const uint8_t repeat = byte();
  std::string* const texts[] = {&user,    &globalList, &userList, &params,
                                &profile, &tag,        &source};
  for (std::string* text : texts) *text = takeText();
  buildMessage(repeat);
  buildImage();
}

std::string CASE::takeText() {
  const uint8_t* const from = at;
  while (at < end && *at != kSeparator) at++;
  return std::string(from, at < end ? at++ : at);
}

// From F0 on the message's second half stands there 2, 4, 8, ... times.
void CASE::buildMessage(uint8_t repeat) {
  message.assign(at, end);
  if (repeat < 0xF0) return;
  const std::string half = message.substr(message.size() / 2);
  for (uint32_t n = 1u << (repeat & 15); n > 0; n--) {
    if (message.size() + half.size() > kMaxMessageBytes + 100) break;
    message += half;
  }
}

void CASE::buildImage() {
  // Sections begin with a name.
  const size_t from = std::min(source.find('['), source.size());
  if (dictionary == kdSections) {
    static const std::string* const all = new std::string(AllSections());
    static const std::string* const ready =
        new std::string(CompileSource(*all));
    Check(ready->compare(0, 4, "QMKW") == 0);
    image = from == source.size() ? *ready
                                  : CompileSource(*all + source.substr(from));
  } else if (dictionary == kdSource) {
    image = CompileSource(source.substr(from));
  } else if (dictionary == kdRaw) {
    image = source;
  }
}

// ==== Memory of exactly the size that is told

class ROOM {
 public:
  const int size;
  const std::unique_ptr<char[]> bytes;

  // Filled with a byte that no answer holds.
  explicit ROOM(int n)
      : size(n > 0 ? n : 0), bytes(new char[static_cast<size_t>(size)]) {
    if (size) memset(bytes.get(), kPoison, static_cast<size_t>(size));
  }
  explicit ROOM(const std::string& text) : ROOM(static_cast<int>(text.size())) {
    if (size) memcpy(bytes.get(), text.data(), text.size());
  }

  char* get() const { return bytes.get(); }
  std::string str() const {
    return std::string(bytes.get(), static_cast<size_t>(size));
  }
  bool isUntouched() const {
    return str() == std::string(static_cast<size_t>(size), kPoison);
  }
  // A text, and zeros up to the end.
  bool holdsText() const {
    const size_t n = strnlen(get(), static_cast<size_t>(size));
    return n < static_cast<size_t>(size) &&
           str().find_first_not_of('\0', n) == std::string::npos;
  }

 private:
  static const char kPoison = 0x02;
};

// A text as hosts hand it over: up to its first NUL.
class CTEXT {
 public:
  CTEXT(const std::string& text, bool isNull)
      : room(std::string(text.c_str(),
                         text.size() ? strlen(text.c_str()) + 1 : 1)),
        text(isNull ? nullptr : room.get()) {}

 private:
  const ROOM room;

 public:
  const char* const text;
};

// A file that has a path.
class FILEOF {
 public:
  explicit FILEOF(const std::string& bytes) : file(memfd_create("scan", 0)) {
    Check(file >= 0 && write(file, bytes.data(), bytes.size()) ==
                           static_cast<ssize_t>(bytes.size()));
    path = "/proc/self/fd/" + std::to_string(file);
  }
  ~FILEOF() { close(file); }

  std::string path;

 private:
  const int file;
};

// ==== One scan

const int kUnwritten = 0x02020202;

bool IsState(int n) {
  return n == QM_STATE_CLEAN || n == QM_STATE_SPAM || n == QM_STATE_VIRUS ||
         n == QM_STATE_NOTIFICATION || n == QM_STATE_SUSPECT ||
         n == QM_STATE_COMMERCIAL_P || n == QM_STATE_COMMERCIAL_M ||
         n == QM_STATE_COMMERCIAL_D;
}

// A scan and all that came of it.
struct SCAN {
  const CASE& c;
  const bool fromFile;
  const ROOM cause, header, version, paramsOut;
  QMINFO info;
  int result;

  SCAN(const CASE& input, void* context, bool fromAFile, int causeSize,
       int headerSize);
  bool ran() const { return result >= 0 && (fromFile || !c.message.empty()); }
  bool wants(uint32_t flag) const { return (c.flags & flag) != 0; }
  std::string answer() const;

 private:
  void call(void* context);
  void check() const;
  void checkCause() const;
  void checkHeader() const;
};

SCAN::SCAN(const CASE& input, void* context, bool fromAFile, int causeSize,
           int headerSize)
    : c(input),
      fromFile(fromAFile),
      cause(causeSize),
      header(headerSize),
      version(input.versionSize),
      paramsOut(input.paramsOutSize) {
  memset(&info, 0x02, sizeof info);
  info.size = static_cast<unsigned>(c.recordBytes);
  info.flags = (c.flags & ~QM_FROM_FILE) | (fromFile ? QM_FROM_FILE : 0);
  info.bailout = c.bailout;
  const bool buffers = !c.isNull(nuBuffers);
  info.cause = buffers ? cause.get() : nullptr;
  info.causeSize = causeSize;
  info.headerOut = buffers ? header.get() : nullptr;
  info.headerOutSize = headerSize;
  info.version = buffers ? version.get() : nullptr;
  info.versionSize = c.versionSize;
  info.paramsOut = buffers ? paramsOut.get() : nullptr;
  info.paramsOutSize = c.paramsOutSize;
  call(context);
  check();
}

void SCAN::call(void* context) {
  const ROOM message(c.message),
      lists[] = {ROOM(c.globalList), ROOM(c.userList)};
  const CTEXT user(c.user, c.isNull(nuUser));
  const CTEXT params(c.params, c.isNull(nuParams));
  const CTEXT profile(c.profile, c.isNull(nuProfile));
  const CTEXT tag(c.tag, c.isNull(nuTag));
  const FILEOF file(c.message), keywords(c.image);
  const bool withLists = !c.isNull(nuLists);
  const QMGLOBALSETUP global = {8, c.global};
  const QMUSERSETUP own = {20, -100, 200, 0, c.own};
  info.msgLength = static_cast<unsigned>(c.message.size());
  info.msg = c.isNull(nuMessage)
                 ? nullptr
                 : reinterpret_cast<unsigned char*>(message.get());
  info.msgPath = c.isNull(nuMessage) ? nullptr : file.path.c_str();
  info.user = user.text;
  info.globalListLength = static_cast<unsigned>(lists[0].size);
  info.globalList =
      withLists ? reinterpret_cast<unsigned char*>(lists[0].get()) : nullptr;
  info.userListLength = static_cast<unsigned>(lists[1].size);
  info.userList =
      withLists ? reinterpret_cast<unsigned char*>(lists[1].get()) : nullptr;
  info.keywordFile = c.dictionary == kdEmptyName   ? ""
                     : c.dictionary == kdMissing   ? "/nowhere/at/all"
                     : c.dictionary == kdDirectory ? "/proc"
                     : c.dictionary >= kdSections && c.dictionary <= kdRaw
                         ? keywords.path.c_str()
                         : nullptr;
  info.globalSetup = c.global & 0x80 ? nullptr : &global;
  info.userSetup = c.own & 0x80 ? nullptr : &own;
  info.subjectTag = tag.text;
  info.profile = profile.text;
  info.params = params.text;
  // An older host has a shorter record, a newer one a longer one.
  std::string bytes(reinterpret_cast<char*>(&info), sizeof info);
  bytes.resize(std::max(c.recordBytes, sizeof info.size), 0x02);
  const ROOM record(bytes);
  QMINFO* const asked = reinterpret_cast<QMINFO*>(record.get());
  result =
      context ? QmScanMessageWithContext(asked, context) : QmScanMessage(asked);
  memcpy(&info, record.get(), std::min(sizeof info, bytes.size()));
  Check(message.str() == c.message && lists[0].str() == c.globalList &&
        lists[1].str() == c.userList);
}

void SCAN::check() const {
  const bool readable = c.recordBytes >= offsetof(QMINFO, bailout);
  Check(IsState(result) || result == QM_ERROR_RECORD ||
        result == QM_ERROR_KEYWORDS || result == QM_ERROR_FILE);
  Check(readable || result == QM_ERROR_RECORD);
  const bool buffers = !c.isNull(nuBuffers);
  Check(readable && buffers && version.size ? version.holdsText()
                                            : version.isUntouched());
  if (!readable || c.recordBytes < sizeof(QMINFO) || !buffers ||
      !wants(QM_WANT_CAUSE) || !paramsOut.size)
    Check(paramsOut.isUntouched());
  else
    Check(paramsOut.holdsText());
  if (!ran()) {
    Check(info.state == kUnwritten && info.score == kUnwritten &&
          info.headerLength == kUnwritten &&
          info.headerOutLength == kUnwritten && cause.isUntouched() &&
          header.isUntouched());
    return;
  }
  Check(info.state == result);
  Check(info.score <= kMaxScore && info.score >= -kMaxScore);
  Check(info.headerLength >= 0 &&
        static_cast<size_t>(info.headerLength) <= c.message.size());
  checkCause();
  checkHeader();
}

// In plain text, which only a virus has, bytes of the message may stand that
// end it early.
void SCAN::checkCause() const {
  if (!wants(QM_WANT_CAUSE) || c.isNull(nuBuffers) || !cause.size)
    Check(cause.isUntouched());
  else if (result == QM_STATE_VIRUS)
    Check(cause.get()[cause.size - 1] == 0);
  else
    Check(cause.holdsText());
}

void SCAN::checkHeader() const {
  if (!wants(QM_REWRITE_HEADER)) {
    Check(info.headerOutLength == kUnwritten && header.isUntouched());
    return;
  }
  const int length = info.headerOutLength;
  if (length == 0) {
    Check(header.isUntouched());
    return;
  }
  Check(length > 0 && length <= header.size);
  if (length < header.size)
    Check(strnlen(header.get(), static_cast<size_t>(header.size)) <=
          static_cast<size_t>(length));
}

// All that the host sees, but the buffers whose sizes differ among the scans.
std::string SCAN::answer() const {
  std::string text;
  const int numbers[] = {result, info.state, info.score, info.headerLength};
  for (int n : numbers) text += std::to_string(n) + ";";
  return text + version.str() + paramsOut.str();
}

// ==== Several scans of one input

const int kWide = 1 << 16;

// The size for a buffer of which `needed` bytes were used.
int SizeFor(uint8_t choice, int needed) {
  const int sizes[] = {kWide,      needed, needed + 1, needed - 1,
                       needed / 2, 0,      1,          -5};
  return sizes[choice];
}

bool IsPrefix(const ROOM& part, const ROOM& whole) {
  return part.size == 0 || strncmp(part.get(), whole.get(),
                                   static_cast<size_t>(part.size) - 1) == 0;
}

// From a file dots stay as they are, and a whole message may count as cut.
bool CanComeFromBoth(const CASE& c) {
  return !c.message.empty() && c.message.size() < kMaxMessageBytes &&
         !c.isNull(nuMessage) &&
         (c.isNull(nuParams) || !strcasestr(c.params.c_str(), "proxy"));
}

void CheckSame(const SCAN& a, const SCAN& b) {
  Check(a.answer() == b.answer());
  Check(a.cause.str() == b.cause.str() && a.header.str() == b.header.str() &&
        a.info.headerOutSize == b.info.headerOutSize &&
        a.info.headerOutLength == b.info.headerOutLength);
}

void ScanAll(const CASE& c, void* shared) {
  void* const context = c.has(rdContext) ? shared : nullptr;
  const bool fromFile = (c.flags & QM_FROM_FILE) != 0;
  const SCAN wide(c, context, fromFile, kWide, kWide);
  const bool rewritten = wide.ran() && wide.wants(QM_REWRITE_HEADER);
  const int needed = !rewritten                  ? 0
                     : wide.info.headerOutLength ? wide.info.headerOutLength
                                                 : wide.info.headerOutSize;
  const int causeSize =
      SizeFor(c.causeChoice,
              static_cast<int>(strnlen(wide.cause.get(), size_t{kWide})));
  const int headerSize = SizeFor(c.headerChoice, needed);
  const SCAN narrow(c, context, fromFile, causeSize, headerSize);
  Check(wide.answer() == narrow.answer());
  if (wide.ran()) Check(IsPrefix(narrow.cause, wide.cause));
  if (rewritten)
    Check(headerSize >= needed && !c.isNull(nuBuffers)
              ? narrow.info.headerOutLength == needed
              : narrow.info.headerOutSize == needed);
  if (c.has(rdOtherContext))
    CheckSame(narrow, SCAN(c, context ? nullptr : shared, fromFile, causeSize,
                           headerSize));
  if (c.has(rdOtherSource) && CanComeFromBoth(c))
    CheckSame(narrow, SCAN(c, context, !fromFile, causeSize, headerSize));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const int zone = setenv("TZ", "UTC0", 1);  // needs no file
  static void* const context = QmCreateSpeedupContext();
  Check(zone == 0 && context);
  ScanAll(CASE(bytes, size), context);
  return 0;
}
