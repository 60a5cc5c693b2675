// Files are read through once, an mbox line by line with one line of
// look-ahead, so that an archive may be larger than memory. Directories are
// walked with a stack of paths. Entries are VisitMails and ReadFile. Tested by
// tests/tools/cli_test.sh.

#include "mail_source.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands.h"

namespace {

const char kSeparator[] = "From ";
const size_t kSeparatorLength = sizeof(kSeparator) - 1;
const char kTooLarge[] = "larger than 512 MiB";

bool StartsWith(const std::string& text, const char* what) {
  return text.compare(0, strlen(what), what) == 0;
}

bool IsEmptyLine(const std::string& line) {
  return line == "\n" || line == "\r\n";
}

// A field name of printable ASCII with a ":" behind it, or a separator that an
// earlier hop has quoted.
bool IsHeaderField(const std::string& line) {
  if (StartsWith(line, ">From ")) return true;
  size_t pos = 0;
  while (pos < line.size() && line[pos] > ' ' && line[pos] < 0x7F &&
         line[pos] != ':') {
    ++pos;
  }
  return pos > 0 && pos < line.size() && line[pos] == ':';
}

int CodeForOpenError(int error) {
  switch (error) {
    case EACCES:
    case ELOOP:
    case ENAMETOOLONG:
    case ENODEV:
    case ENOENT:
    case ENOTDIR:
    case ENXIO:
    case EPERM:
      return kExitNoInput;
    default:
      return kExitIo;
  }
}

std::string ErrorText(int error) {
  return error != 0 ? strerror(error) : "read error";
}

// Appends all that is left of `file`. False on an error or above the limit.
bool ReadRest(FILE* file, std::string* bytes, int* code, std::string* what) {
  char chunk[65536];
  size_t got;
  errno = 0;
  while ((got = fread(chunk, 1, sizeof(chunk), file)) > 0) {
    if (bytes->size() + got > kMaxMailBytes) {
      *code = kExitData;
      *what = kTooLarge;
      return false;
    }
    bytes->append(chunk, got);
  }
  if (!ferror(file)) return true;
  *code = kExitIo;
  *what = ErrorText(errno);
  return false;
}

// Reads one stream and visits what is in it.
class StreamReader {
 public:
  StreamReader(FILE* file, const std::string& name, const std::string& path,
               MailVisitor* visitor)
      : file_(file), name_(name), path_(path), visitor_(visitor) {}
  ~StreamReader() { free(line_); }
  StreamReader(const StreamReader&) = delete;
  StreamReader& operator=(const StreamReader&) = delete;

  void read();

 private:
  void readMbox(std::string separator, std::string line);
  bool readLine(std::string* line);
  void addLine(const std::string& line);
  void startMail(const std::string& separator);
  void finishMail(bool last);
  void visitWhole(std::string bytes);

  FILE* file_;
  const std::string& name_;
  const std::string& path_;
  MailVisitor* visitor_;
  char* line_ = nullptr;
  size_t lineCapacity_ = 0;

  Mail mail_;
  int count_ = 0;             // messages begun
  bool inBody_ = false;       // of mail_
  size_t lastEmptyLine_ = 0;  // bytes of the empty line that ends mail_.text
  bool endsHeader_ = false;   // that line is the one that ends the header
  bool tooLarge_ = false;     // the rest of mail_ is skipped
  std::string error_;         // why readLine failed, or empty
};

// False at the end, and on an error, which `error_` then tells.
bool StreamReader::readLine(std::string* line) {
  errno = 0;
  const ssize_t length = getline(&line_, &lineCapacity_, file_);
  if (length > 0) {
    line->assign(line_, static_cast<size_t>(length));
    return true;
  }
  // Running out of memory leaves no mark in the stream, but is no end either.
  if (!feof(file_)) error_ = ErrorText(errno);
  return false;
}

void StreamReader::read() {
  // Not by line yet: a file without line ends should not fill the memory
  // twice.
  char start[kSeparatorLength];
  std::string first(start, fread(start, 1, sizeof(start), file_));
  if (first != kSeparator) {
    visitWhole(first);
    return;
  }
  std::string line;
  if (readLine(&line)) first += line;
  line.clear();
  if (readLine(&line) && IsHeaderField(line)) {
    readMbox(first, line);
  } else if (!error_.empty()) {
    visitor_->visitError(kExitIo, name_, error_);
  } else {
    // Prose that happens to begin with this word.
    visitWhole(first + line);
  }
}

void StreamReader::visitWhole(std::string bytes) {
  int code = kExitIo;
  std::string what;
  if (!ReadRest(file_, &bytes, &code, &what)) {
    visitor_->visitError(code, name_, what);
    return;
  }
  mail_.name = name_;
  mail_.path = path_;
  mail_.text.swap(bytes);
  if (mail_.text.empty()) {
    visitor_->visitError(kExitData, name_, "empty message");
  } else {
    visitor_->visitMail(mail_);
  }
}

// `line` is the first line behind the separator.
void StreamReader::readMbox(std::string separator, std::string line) {
  startMail(separator);
  bool more = true;
  while (more) {
    std::string next;
    more = readLine(&next);
    const bool separates = lastEmptyLine_ != 0 &&
                           StartsWith(line, kSeparator) && more &&
                           IsHeaderField(next);
    if (separates) {
      finishMail(false);
      startMail(line);
    } else {
      addLine(line);
    }
    line.swap(next);
  }
  if (!error_.empty()) {
    // What was read of the last message is not all of it.
    visitor_->visitError(kExitIo, name_, error_);
    return;
  }
  finishMail(true);
}

void StreamReader::startMail(const std::string& separator) {
  mail_ = Mail();
  mail_.separator = separator;
  mail_.path = path_;
  ++count_;
  inBody_ = false;
  lastEmptyLine_ = 0;
  endsHeader_ = false;
  tooLarge_ = false;
}

void StreamReader::addLine(const std::string& line) {
  lastEmptyLine_ = IsEmptyLine(line) ? line.size() : 0;
  if (mail_.text.size() + line.size() > kMaxMailBytes) tooLarge_ = true;
  if (tooLarge_) return;
  if (inBody_ && StartsWith(line, ">From ")) {
    mail_.quotes.push_back(mail_.text.size());
    mail_.text.append(line, 1, std::string::npos);
  } else {
    mail_.text += line;
  }
  endsHeader_ = lastEmptyLine_ != 0 && !inBody_;
  if (endsHeader_) inBody_ = true;
}

void StreamReader::finishMail(bool last) {
  mail_.name =
      last && count_ == 1 ? name_ : name_ + ":" + std::to_string(count_);
  if (tooLarge_) {
    visitor_->visitError(kExitData, mail_.name, kTooLarge);
    return;
  }
  if (!last && !endsHeader_) {
    mail_.trailer = mail_.text.substr(mail_.text.size() - lastEmptyLine_);
    mail_.text.resize(mail_.text.size() - lastEmptyLine_);
  }
  if (mail_.text.empty()) {
    visitor_->visitError(kExitData, mail_.name, "empty message");
  } else {
    visitor_->visitMail(mail_);
  }
}

void VisitFile(const std::string& path, bool pathsOnly, MailVisitor* visitor) {
  if (pathsOnly) {
    Mail mail;
    mail.name = path;
    mail.path = path;
    visitor->visitMail(mail);
    return;
  }
  FILE* file = fopen(path.c_str(), "rbe");
  if (!file) {
    const int error = errno;
    visitor->visitError(CodeForOpenError(error), path, strerror(error));
    return;
  }
  StreamReader(file, path, path, visitor).read();
  fclose(file);
}

// Stores the paths of a directory's entries, sorted. False after an error.
bool ListDirectory(const std::string& path, MailVisitor* visitor,
                   std::vector<std::string>* paths) {
  paths->clear();
  DIR* directory = opendir(path.c_str());
  if (!directory) {
    const int error = errno;
    visitor->visitError(CodeForOpenError(error), path, strerror(error));
    return false;
  }
  const std::string prefix = path.back() == '/' ? path : path + "/";
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(directory);
    if (!entry) break;
    const std::string name = entry->d_name;
    if (name != "." && name != "..") paths->push_back(prefix + name);
  }
  const int error = errno;
  closedir(directory);
  std::sort(paths->begin(), paths->end());
  if (error == 0) return true;
  visitor->visitError(kExitIo, path, strerror(error));
  return false;
}

void VisitDirectory(const std::string& root, bool pathsOnly,
                    MailVisitor* visitor) {
  bool anyResult = false;
  std::vector<std::string> left = {root};
  while (!left.empty()) {
    const std::string path = left.back();
    left.pop_back();
    struct stat link;
    struct stat target;
    if (path != root && lstat(path.c_str(), &link) != 0) continue;
    if (stat(path.c_str(), &target) != 0) continue;  // a link to nowhere
    const bool isLink = path != root && S_ISLNK(link.st_mode);
    if (S_ISREG(target.st_mode)) {
      anyResult = true;
      VisitFile(path, pathsOnly, visitor);
    } else if (S_ISDIR(target.st_mode) && !isLink) {
      std::vector<std::string> paths;
      if (!ListDirectory(path, visitor, &paths)) anyResult = true;
      left.insert(left.end(), paths.rbegin(), paths.rend());
    }
  }
  if (!anyResult) {
    visitor->visitError(kExitNoInput, root, "no files in this directory");
  }
}

}  // namespace

std::string Mail::storedFrom(size_t begin) const {
  std::string stored;
  for (size_t quote : quotes) {
    if (quote < begin) continue;
    stored.append(text, begin, quote - begin);
    stored += '>';
    begin = quote;
  }
  if (begin < text.size()) stored.append(text, begin, std::string::npos);
  return stored + trailer;
}

void VisitMails(const std::vector<std::string>& inputs, bool pathsOnly,
                MailVisitor* visitor) {
  for (const std::string& input : inputs) {
    if (input == "-") {
      StreamReader(stdin, input, "", visitor).read();
      clearerr(stdin);
      continue;
    }
    struct stat status;
    if (stat(input.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
      VisitDirectory(input, pathsOnly, visitor);
    } else {
      VisitFile(input, pathsOnly, visitor);
    }
  }
}

bool ReadFile(const std::string& path, std::string* bytes, int* code,
              std::string* what) {
  bytes->clear();
  FILE* file = fopen(path.c_str(), "rbe");
  if (!file) {
    *code = CodeForOpenError(errno);
    *what = strerror(errno);
    return false;
  }
  const bool done = ReadRest(file, bytes, code, what);
  fclose(file);
  return done;
}
