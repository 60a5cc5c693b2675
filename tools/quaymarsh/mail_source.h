// Where the messages of a command line come from: files, directories, mbox
// files and stdin, one after the other.
#ifndef QUAYMARSH_TOOLS_MAIL_SOURCE_H_
#define QUAYMARSH_TOOLS_MAIL_SOURCE_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// The largest message that is taken into memory. It bounds what an endless
// device or pipe can cost.
const size_t kMaxMailBytes = 512u << 20;

// One message. For one out of an mbox, `text` is the message as it was before
// it was stored there; the other members put the stored bytes together again.
struct Mail {
  std::string name;  // its file; "FILE:N" from an mbox of several, N from 1
  std::string path;  // its file; empty for stdin
  std::string text;  // empty when the library is to read the file
  std::string separator;  // the mbox "From " line with its line end, or empty
  std::vector<size_t> quotes;  // offsets in `text` where a ">" was taken out
  std::string trailer;  // the empty line between it and the next separator

  // The stored bytes from offset `begin` of `text` on.
  std::string storedFrom(size_t begin) const;
};

class MailVisitor {
 public:
  virtual ~MailVisitor() {}
  virtual void visitMail(const Mail& mail) = 0;
  // Something could not be read; `code` is the exit code for it. Reading goes
  // on with what is next.
  virtual void visitError(int code, const std::string& name,
                          const std::string& what) = 0;
};

// Visits every message of `inputs`, in order. An input is
//   - "-", for stdin;
//   - a directory: all regular files below it, sorted by the bytes of their
//     paths a level at a time; symbolic links to directories are not followed;
//   - any other file. When it begins with an mbox separator it is an mbox: it
//     is split at each one, and they are taken off.
// A separator is a line that begins with "From ", stands at the start or behind
// an empty line, and has a header field behind it. A message without bytes is
// an error. With `pathsOnly` files are neither read nor split, and `text` stays
// empty; "-" is then not allowed.
void VisitMails(const std::vector<std::string>& inputs, bool pathsOnly,
                MailVisitor* visitor);

// Reads the whole of a file. On failure returns false and sets `code` to
// kExitNoInput, kExitIo or kExitData, and `what` to the reason.
bool ReadFile(const std::string& path, std::string* bytes, int* code,
              std::string* what);

#endif  // QUAYMARSH_TOOLS_MAIL_SOURCE_H_
