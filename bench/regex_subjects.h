// What regex_bench matches: pieces of mail in two sizes, made up from a seed
// or cut from real messages. None holds a tab, a carriage return or a NUL, and
// none ends in a line feed, so that "." and "$" mean the same to all engines.

#ifndef BENCH_REGEX_SUBJECTS_H_
#define BENCH_REGEX_SUBJECTS_H_

#include <stdint.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

struct Subjects {
  std::vector<std::string> headers;  // 60 to 64 bytes each
  std::vector<std::string> bodies;   // 3,700 to 4,000 bytes each
};

static const size_t kHeaderBytes = 60, kHeaderSpread = 5;
static const size_t kBodyBytes = 3700, kBodySpread = 301;

// The size of the n-th piece.
inline size_t PieceBytes(size_t n, size_t least, size_t spread) {
  return least + n * 7 % spread;
}

inline void Tidy(std::string* text) {
  text->erase(std::remove(text->begin(), text->end(), '\r'), text->end());
  for (char& c : *text) {
    if (static_cast<uint8_t>(c) < 0x20 && c != '\n') c = ' ';
  }
  if (!text->empty() && text->back() == '\n') text->back() = '.';
}

// Mail that nobody wrote.
class MailMaker {
 public:
  explicit MailMaker(uint32_t seed) : state_(seed) {}

  std::string header(size_t size) {
    std::string out = headerShape();
    while (out.size() < size) out += std::string(" ") + word();
    out.resize(size);
    Tidy(&out);
    return out;
  }

  std::string body(size_t size) {
    bool html = below(3) == 0;
    std::string out = html ? "<html><body bgcolor=\"#ffffff\">\n" : "";
    while (out.size() < size) {
      std::string text = paragraph();
      if (html) {
        out += "<p>" + text + "<br>\n<a href=\"http://www." + name() +
               ".example.com/" + digits(4) + "/" + name() + ".html\">" +
               word() + "</a></p>\n";
      } else {
        out += (below(5) == 0 ? "> " : "") + text + "\n\n";
      }
    }
    out.resize(size);
    Tidy(&out);
    return out;
  }

 private:
  uint32_t below(uint32_t n) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    return static_cast<uint32_t>(state_ >> 33) % n;
  }

  const char* word() {
    static const char* const kWords[] = {
        "the",      "of",       "and",     "to",        "in",       "we",
        "that",     "is",       "it",      "for",       "you",      "with",
        "on",       "are",      "this",    "as",        "at",       "have",
        "from",     "but",      "not",     "or",        "by",       "one",
        "all",      "there",    "so",      "our",       "they",     "will",
        "meeting",  "project",  "garden",  "weather",   "report",   "station",
        "Monday",   "Thursday", "March",   "Anna",      "Peter",    "London",
        "table",    "morning",  "file",    "version",   "build",    "patch",
        "question", "answer",   "kernel",  "driver",    "train",    "ticket",
        "hotel",    "window",   "letter",  "please",    "thanks",   "could",
        "would",    "should",   "because", "although",  "between",  "another",
        "release",  "address",  "server",  "mail",      "list",     "message",
        "order",    "account",  "price",   "number",    "week",     "year",
        "children", "school",   "music",   "concert",   "river",    "mountain",
        "bread",    "coffee",   "kitchen", "bicycle",   "engine",   "paper",
        "attached", "draft",    "chapter", "figure",    "results",  "measured",
        "quickly",  "slowly",   "perhaps", "yesterday", "tomorrow", "again",
        "house",    "street",   "city",    "people",    "group",    "change",
        "remember", "forget",   "bring",   "write",     "read",     "send"};
    return kWords[below(sizeof kWords / sizeof *kWords)];
  }

  // What the patterns are after, now and then.
  const char* bait() {
    static const char* const kBaits[] = {
        "Click here to unsubscribe",
        "LIMITED TIME OFFER!!!",
        "save up to 70% off",
        "only $19.95 per month",
        "call 1-800-555-0123 today",
        "your account has been suspended",
        "please confirm your details within 24 hours",
        "http://192.0.2.17/login.php?id=3",
        "no prescription needed",
        "V1agra 100 mg x 30 pills $1.20",
        "the sum of $12,500,000.00 USD",
        "my name is Mrs. Amina",
        "100% satisfaction guaranteed",
        "visit our web site at www.example.biz",
        "work at home, no experience needed",
        "All rights reserved. Privacy policy",
        "best regards",
        "----- Original Message -----",
        "sales@shop.example.net",
        "Tel. +44 20 7946 0123",
        "<img src=\"http://pics.example.org/1.gif\" width=\"1\">",
        "&nbsp;&nbsp;",
        "On 12/03/2021 at 10:15 he wrote:"};
    return kBaits[below(sizeof kBaits / sizeof *kBaits)];
  }

  std::string digits(int n) {
    std::string out;
    while (n-- > 0) out += static_cast<char>('0' + below(10));
    return out;
  }

  std::string hex(int n) {
    std::string out;
    while (n-- > 0) out += "0123456789ABCDEF"[below(16)];
    return out;
  }

  std::string name() {
    std::string out;
    for (uint32_t n = 4 + below(7); n > 0; n--) out += 'a' + below(26);
    return out;
  }

  std::string sentence() {
    std::string out;
    uint32_t n = 5 + below(12);
    for (uint32_t i = 0; i < n; i++) {
      std::string next = below(90) == 0 ? bait() : word();
      if (i == 0) next[0] = static_cast<char>(next[0] & ~0x20);
      out += (i == 0 ? "" : below(12) == 0 ? ", " : " ") + next;
    }
    return out + (below(8) == 0 ? "? " : ". ");
  }

  // Broken into lines of up to 72 bytes.
  std::string paragraph() {
    std::string out;
    for (uint32_t n = 2 + below(4); n > 0; n--) out += sentence();
    size_t line = 0, blank = 0;
    for (size_t i = 0; i < out.size(); i++) {
      if (out[i] == ' ') {
        if (i - line > 72 && blank > line) {
          out[blank] = '\n';
          line = blank + 1;
        }
        blank = i;
      }
    }
    return out;
  }

  std::string headerShape() {
    switch (below(12)) {
      case 0:
        return "<" + hex(8) + "." + digits(7) + "@" + name() + ".example.com>";
      case 1:
        return "<" + digits(14) + "." + digits(5) + "@mail." + name() + ".org>";
      case 2:
        return "from " + name() + ".example.net (" + name() + " [192.0.2." +
               digits(2) + "]) by mx.example.org (Postfix)";
      case 3:
        return "\"" + name() + " " + name() + "\" <" + name() +
               "@example.com>, ";
      case 4:
        return "Tue, " + digits(1) + " Mar 20" + digits(2) + " 1" + digits(1) +
               ":31:05 +0100 (CET) ";
      case 5:
        return "multipart/mixed; boundary=\"----=_NextPart_000_" + hex(4) +
               "_" + hex(8) + "." + hex(8) + "\"";
      case 6:
        return "----=_NextPart_000_" + hex(4) + "_" + hex(8) + "." + hex(8);
      case 7:
        return "http://www." + name() + ".example.com/" + name() + "/" +
               name() + ".html?id=" + digits(6);
      case 8:
        return "Re: " + sentence();
      case 9:
        return std::string("Subject: ") + bait() + " ";
      default:
        return sentence();
    }
  }

  uint64_t state_;
};

inline Subjects MadeUp(size_t headers, size_t bodies) {
  MailMaker maker(20031);
  Subjects out;
  for (size_t i = 0; i < headers; i++) {
    out.headers.push_back(
        maker.header(PieceBytes(i, kHeaderBytes, kHeaderSpread)));
  }
  for (size_t i = 0; i < bodies; i++)
    out.bodies.push_back(maker.body(PieceBytes(i, kBodyBytes, kBodySpread)));
  return out;
}

// One header piece and one body piece of the n-th message, if it has them.
inline void AddMail(std::string mail, size_t n, Subjects* out) {
  Tidy(&mail);
  size_t end = mail.find("\n\n");
  if (end == std::string::npos) return;
  // Another one of the long lines in every message, without the name of its
  // field in every second.
  size_t size = PieceBytes(n, kHeaderBytes, kHeaderSpread);
  size_t at = n * 13 % 7;
  for (size_t line = 0; line < end; line = mail.find('\n', line) + 1) {
    size_t from = n % 2 == 0 ? line : mail.find(": ", line) + 2;
    size_t to = std::min(mail.find('\n', line), end);
    if (from > to || to - from < size || at-- > 0) continue;
    out->headers.push_back(mail.substr(from, size));
    break;
  }
  size = PieceBytes(n, kBodyBytes, kBodySpread);
  if (mail.size() - end - 2 < size) return;
  out->bodies.push_back(mail.substr(end + 2, size));
  Tidy(&out->bodies.back());
}

// At most that many of each; messages spread over all that `folder` holds, in
// the order of their paths.
inline Subjects FromMail(const std::string& folder, size_t headers,
                         size_t bodies) {
  std::vector<std::string> paths;
  std::error_code error;
  std::filesystem::recursive_directory_iterator walk(folder, error), last;
  for (; !error && walk != last; walk.increment(error)) {
    if (walk->is_regular_file(error)) paths.push_back(walk->path().string());
  }
  std::sort(paths.begin(), paths.end());
  // A stride that has no factor in common with the number visits all of them.
  const size_t kStride = 7919;
  Subjects out;
  for (size_t i = 0; i < paths.size(); i++) {
    std::ifstream in(paths[i * kStride % paths.size()], std::ios::binary);
    AddMail({std::istreambuf_iterator<char>(in), {}}, i, &out);
  }
  out.headers.resize(std::min(out.headers.size(), headers));
  out.bodies.resize(std::min(out.bodies.size(), bodies));
  return out;
}

#endif  // BENCH_REGEX_SUBJECTS_H_
