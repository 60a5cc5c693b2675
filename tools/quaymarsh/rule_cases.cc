// Lines that begin with "%%" are claims; the text behind them, up to the next
// claim, is their message. Tested by tests/tools/test_test.sh.

#include "rule_cases.h"

#include <cctype>
#include <cstddef>

#include "commands.h"
#include "mail_source.h"

namespace {

const char kMark[] = "%%";

struct ClaimWord {
  const char* word;
  RuleClaim::Kind kind;
};
const ClaimWord kClaimWords[] = {{"hit", RuleClaim::kHit},
                                 {"miss", RuleClaim::kMiss},
                                 {"state", RuleClaim::kState},
                                 {"cause", RuleClaim::kCause},
                                 {"no-cause", RuleClaim::kNoCause}};

// What a letter has that nobody minds.
const char* const kUsualFields[] = {
    "Received: from mail.example.net (mail.example.net [192.0.2.25])\n"
    "\tby mx.example.org (Postfix) with ESMTPS id 4DTbC21xNmz3k\n"
    "\tfor <lee@example.org>; Thu, 15 Jan 2026 11:59:58 +0000 (UTC)",
    "Date: Thu, 15 Jan 2026 11:59:50 +0000",
    "From: Robin Example <robin@example.net>",
    "To: Lee <lee@example.org>",
    "Subject: Today",
    "Message-ID: <7b3a91c2-51de-4c0e-9a63-0f2d6c1b8e47@example.net>",
    "MIME-Version: 1.0",
    "Content-Type: text/plain; charset=utf-8"};

std::string Trimmed(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

const char kUsualBody[] = "See you tomorrow, and bring the map.\n";

// Bytes of a field's name at the front of the text, ":" included; 0 for none.
// "http://" is none.
size_t FieldNameLength(const std::string& text) {
  size_t n = 0;
  while (n < text.size() &&
         (isalnum(static_cast<unsigned char>(text[n])) || text[n] == '-'))
    n++;
  const bool isName = n > 0 && n + 1 < text.size() && text[n] == ':' &&
                      isspace(static_cast<unsigned char>(text[n + 1]));
  return isName ? n + 1 : 0;
}

bool EqualNoCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++)
    if (tolower(static_cast<unsigned char>(a[i])) !=
        tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

bool HasField(const std::string& header, const std::string& name) {
  for (size_t at = 0; at < header.size(); at = header.find('\n', at) + 1) {
    if (EqualNoCase(header.substr(at, name.size()), name)) return true;
    if (header.find('\n', at) == std::string::npos) break;
  }
  return false;
}

// A text that does not begin with a field is a body; one that begins with a
// blank line is one, too.
std::string CompleteMessage(const std::string& text) {
  std::string header, body = text;
  if (FieldNameLength(text) > 0) {
    const size_t end = text.find("\n\n");
    header = end == std::string::npos ? text : text.substr(0, end + 1);
    body = end == std::string::npos ? "" : text.substr(end + 2);
  } else if (!text.empty() && text[0] == '\n') {
    body = text.substr(1);
  }
  if (Trimmed(body).empty()) body = kUsualBody;
  std::string message;
  for (const std::string field : kUsualFields) {
    if (!HasField(header, field.substr(0, FieldNameLength(field))))
      message += field + "\n";
  }
  return message + header + "\n" + body;
}

class CaseReader {
 public:
  CaseReader(const std::string& path, std::vector<RuleCase>* cases)
      : path_(path), cases_(cases) {}

  bool addLine(const std::string& line);
  void finish();

 private:
  bool addClaim(const std::string& claim);

  const std::string& path_;
  std::vector<RuleCase>* const cases_;
  RuleCase case_;
  std::string text_;
  uint32_t number_ = 0;
};

bool CaseReader::addClaim(const std::string& text) {
  const size_t end = text.find_first_of(" \t");
  RuleClaim claim;
  claim.number = number_;
  if (end != std::string::npos) claim.text = Trimmed(text.substr(end));
  for (const ClaimWord& row : kClaimWords) {
    if (text.substr(0, end) != row.word || claim.text.empty()) continue;
    claim.kind = row.kind;
    if (case_.claims.empty()) case_.number = number_;
    case_.claims.push_back(claim);
    return true;
  }
  PrintError(path_ + ":" + std::to_string(number_),
             "expected hit, miss, state, cause or no-cause, and what");
  return false;
}

bool CaseReader::addLine(const std::string& line) {
  number_++;
  if (line.compare(0, sizeof kMark - 1, kMark) != 0) {
    if (!case_.claims.empty()) text_ += line + "\n";
    return true;
  }
  if (!text_.empty()) finish();
  return addClaim(Trimmed(line.substr(sizeof kMark - 1)));
}

void CaseReader::finish() {
  if (!case_.claims.empty()) {
    case_.file = path_;
    case_.message = CompleteMessage(text_);
    cases_->push_back(case_);
  }
  case_ = RuleCase();
  text_.clear();
}

}  // namespace

bool ReadRuleCases(const std::string& path, std::vector<RuleCase>* cases,
                   int* exitCode) {
  std::string text, what;
  if (!ReadFile(path, &text, exitCode, &what)) {
    PrintError(path, what);
    return false;
  }
  *exitCode = kExitData;
  CaseReader reader(path, cases);
  for (size_t at = 0; at < text.size();) {
    const size_t end = text.find('\n', at);
    const size_t length = (end == std::string::npos ? text.size() : end) - at;
    // Messages are made of plain lines, whatever the editor made of them.
    const bool cr = length > 0 && text[at + length - 1] == '\r';
    if (!reader.addLine(text.substr(at, length - cr))) return false;
    at += length + 1;
  }
  reader.finish();
  return true;
}
