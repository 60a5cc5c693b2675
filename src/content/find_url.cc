// URLs in running text. A text is looked at byte by byte: "<http" begins a URL
// in brackets, "h" and "w" may begin an ordinary one, and a dot may stand in a
// domain without protocol, which counts when dictionary section "Tld" knows
// what follows the dot. Writers who hide from link finders pull such a domain
// apart, so letters are gathered across what separates them, on both sides of
// the dot, and put together in the text when they make a domain.
//
// Nothing is looked at again and again: what a search has found out about the
// bytes ahead is kept, and all other searches have a limit. Entry: FindUrl.
// Tested by find_url_test.cc and fuzz/find_url_fuzz.cc.

#include <string.h>

#include "base/hashtab.h"
#include "content/block_url.h"
#include "rules/qm_dico.h"

namespace {

// Bytes of a URL in brackets, and of any other: the rest is text again.
const uint32_t kMaxBracketed = 4096;
const uint32_t kMaxRun = 2048;
// Bytes of a suffix, of the domain ahead of it, of what separates two pieces
// of one, and blanks inside of a protocol.
const uint32_t kMaxSuffix = 4;
const uint32_t kMaxDomain = 64;
const uint32_t kMaxSeparator = 8;
const uint32_t kMaxProtoBlanks = 3;

bool IsLetterOrDigit(unsigned char byte) {
  return TBLOCK::Is(byte, bitLetter | bitDigit);
}

bool IsOfDomain(unsigned char byte) {
  return TBLOCK::Is(byte, bitDomain | bitAccent);
}

bool EndsLine(unsigned char byte) {
  return byte == '\r' || byte == '\n';
}

// Behind a URL these belong to the sentence.
void DropPunctuation(TBLOCK& url) {
  while (!url.empty() && memchr(",.:;", url[url.length - 1], 4)) url.length--;
}

// What stands behind a dot, gathered: a public suffix.
struct SUFFIX {
  unsigned char letters[kMaxSuffix];
  uint32_t length;     // 0: there is none
  uint32_t pieces;     // that it was gathered from
  unsigned char* end;  // in the text

  TBLOCK view() const { return TBLOCK(letters, length); }
};

// What stands ahead of a dot, gathered from the right to the left.
struct DOMAIN_NAME {
  unsigned char letters[kMaxDomain];  // the last `length` of them
  uint32_t length;
  uint32_t pieces;
  unsigned char* start;  // in the text

  TBLOCK view() const { return TBLOCK(letters + kMaxDomain - length, length); }
};

// "." "<" "h" "w", of which the lower five bits are all different.
bool MayBeginUrl(unsigned char byte) {
  const uint32_t kBits =
      1u << ('.' & 31) | 1u << ('<' & 31) | 1u << ('h' & 31) | 1u << ('w' & 31);
  return kBits >> (byte & 31) & 1;
}

struct FINDER {
  unsigned char* const from;
  unsigned char* const end;
  const TQMDICO* const dico;
  const HASHTAB* tld;  // section "Tld", once it was asked for
  bool triedTld;
  // Up to here it is known:
  unsigned char* noGreater;  // from the last "<http" on, no ">"
  unsigned char* noHost;     // from the last "http" or "www." on, no byte but
                             // of a URL, and neither "." nor "?"
  unsigned char* mailUrl;    // from the last suffix on, a run with an "@"

  TBLOCK rest(const unsigned char* p) const {
    return TBLOCK(p, static_cast<uint32_t>(end - p));
  }
  TBLOCK runAt(const unsigned char* p) const;
  TBLOCK bracketedAt(unsigned char* p);
  TBLOCK ordinaryAt(unsigned char* p);
  TBLOCK domainAt(unsigned char* dot, unsigned char*& behind);

  bool isSuffix(TBLOCK text);
  void gatherSuffix(unsigned char* dot, SUFFIX& suffix);
  bool goesOn(const unsigned char* p) const;
  void gatherDomain(unsigned char* dot, DOMAIN_NAME& domain) const;
  bool isDomain(const DOMAIN_NAME& domain);
  bool isBareDomain(unsigned char* dot, const SUFFIX& suffix,
                    const DOMAIN_NAME& domain) const;
  unsigned char* skipBlanksBack(unsigned char* p) const;
  unsigned char* protocolStart(unsigned char* domain) const;
};

// The bytes from here on that a URL may hold.
TBLOCK FINDER::runAt(const unsigned char* p) const {
  const TBLOCK all = rest(p).head(kMaxRun);
  return all.head(all.lengthIn(bitUrl));
}

// At "<".
TBLOCK FINDER::bracketedAt(unsigned char* p) {
  const TBLOCK text = rest(p).head(kMaxBracketed);
  if (!text.begins("<http")) return TBLOCK();
  const uint32_t known =
      noGreater > p ? static_cast<uint32_t>(noGreater - p) : 0;
  const int32_t at = text.findByte('>', known);
  if (at < 0) {
    noGreater = text.end();
    return TBLOCK();
  }
  return text.head(static_cast<uint32_t>(at)).from(1);
}

// At "h" or "w".
TBLOCK FINDER::ordinaryAt(unsigned char* p) {
  const TBLOCK text = rest(p);
  if (!text.begins("http") && !text.begins("www.")) return TBLOCK();
  if (noHost < p) noHost = p;
  while (noHost < end && TBLOCK::Is(*noHost, bitUrl) && *noHost != '.' &&
         *noHost != '?')
    noHost++;
  if (noHost == end || *noHost != '.' || noHost - p >= int32_t{kMaxRun})
    return TBLOCK();
  TBLOCK url = runAt(p);
  DropPunctuation(url);
  TBLOCKURL parsed;
  parsed.parseUrl(url);
  return parsed.host.empty() ? TBLOCK() : url;
}

bool FINDER::isSuffix(TBLOCK text) {
  if (!triedTld) tld = dico->hashedSection("Tld");
  triedTld = true;
  return tld && text.length <= kMaxSuffix && tld->findKey(text) >= 0;
}

// Whole runs of letters and digits, for as long as they make no more than a
// suffix. The longest that is one counts.
void FINDER::gatherSuffix(unsigned char* dot, SUFFIX& suffix) {
  suffix.length = suffix.pieces = 0;
  suffix.end = dot;
  unsigned char gathered[kMaxSuffix];
  uint32_t n = 0;
  const unsigned char* p = dot + 1;
  for (uint32_t pieces = 1;; pieces++) {
    const unsigned char* const separator = p;
    while (p < end && !IsLetterOrDigit(*p)) {
      if (*p == '.' || EndsLine(*p) || p - separator == kMaxSeparator) return;
      p++;
    }
    if (p > separator && (*separator == '/' || *separator == '?')) return;
    const unsigned char* const run = p;
    while (p < end && IsLetterOrDigit(*p) && p - run <= int32_t{kMaxSuffix})
      p++;
    const uint32_t length = static_cast<uint32_t>(p - run);
    if (length == 0 || n + length > kMaxSuffix) return;
    memcpy(gathered + n, run, length);
    n += length;
    if (!isSuffix(TBLOCK(gathered, n))) continue;
    memcpy(suffix.letters, gathered, n);
    suffix.length = n;
    suffix.pieces = pieces;
    suffix.end = const_cast<unsigned char*>(p);
  }
}

// Whether the name goes on behind what was taken for its suffix. A later dot
// sees all of it.
bool FINDER::goesOn(const unsigned char* p) const {
  if (p == end) return false;
  if (*p == '-' || *p == '_') return true;
  return *p == '.' && p + 1 < end && IsLetterOrDigit(p[1]);
}

// One piece, or the pieces of one letter each of a name that is pulled apart:
// the words ahead of a name in a sentence are longer.
void FINDER::gatherDomain(unsigned char* dot, DOMAIN_NAME& domain) const {
  domain.length = domain.pieces = 0;
  domain.start = dot;
  while (domain.length < kMaxDomain) {
    unsigned char* p = domain.start;
    while (p > from && !IsOfDomain(p[-1])) {
      p--;
      if (EndsLine(*p) || *p == ':' || *p == '/' || *p == '@' ||
          domain.start - p > int32_t{kMaxSeparator})
        return;
    }
    unsigned char* const pieceEnd = p;
    while (p > from && IsOfDomain(p[-1]) && pieceEnd - p < int32_t{kMaxDomain})
      p--;
    const uint32_t length = static_cast<uint32_t>(pieceEnd - p);
    if (length == 0 || (domain.pieces > 0 && length > 1)) return;
    domain.length += length;
    memcpy(domain.letters + kMaxDomain - domain.length, p, length);
    domain.pieces++;
    domain.start = p;
    if (length > 1) return;
  }
}

// Without the suffixes at its end something must be left that can be a name.
bool FINDER::isDomain(const DOMAIN_NAME& domain) {
  TBLOCK name = domain.view();
  TBLOCK label;
  for (;;) {
    const int32_t dot = name.findLastByte('.');
    label = name.from(static_cast<uint32_t>(dot + 1));
    if (label.empty() || !isSuffix(label)) break;
    name.cut(dot < 0 ? 0 : static_cast<uint32_t>(dot));
  }
  if (label.length < 2 || name[0] == '.' || label[0] == '-' ||
      label[label.length - 1] == '-')
    return false;
  return label.lengthUntil(bitLetter) < label.length;
}

// For a name without a path. Of one that is written plainly, and of one that
// is pulled apart as no sentence is, the suffix is enough. Otherwise the dot
// may end a sentence, or part a file name ("file.c at"): only the suffixes of
// section "Tld2" will do, if the dictionary has one.
bool FINDER::isBareDomain(unsigned char* dot, const SUFFIX& suffix,
                          const DOMAIN_NAME& domain) const {
  const bool plain =
      IsOfDomain(dot[-1]) && IsLetterOrDigit(dot[1]) && suffix.pieces == 1;
  if (plain || domain.pieces > 1) return true;
  const HASHTAB* const table = dico->hashedSection("Tld2");
  return !table || table->findKey(suffix.view()) >= 0;
}

unsigned char* FINDER::skipBlanksBack(unsigned char* p) const {
  for (uint32_t n = 0; n < kMaxProtoBlanks && p > from; n++) {
    if (p[-1] != ' ' && p[-1] != '\t') break;
    p--;
  }
  return p;
}

// Where the URL of a domain begins: at "http://" or "https://" ahead of it,
// which may be pulled apart as well, else at the domain.
unsigned char* FINDER::protocolStart(unsigned char* domain) const {
  const char kBackward[] = "//:sptth";
  unsigned char* p = domain;
  for (const char* wanted = kBackward; *wanted; wanted++) {
    unsigned char* const at = skipBlanksBack(p);
    if (at > from && TBLOCK::AsciiLowerTable[at[-1]] == *wanted)
      p = at - 1;
    else if (*wanted != 's')
      return domain;
  }
  return p;
}

void Append(unsigned char*& out, TBLOCK text) {
  if (text.length) memmove(out, text.pointer, text.length);
  out += text.length;
}

// Joins the protocol without its blanks, the name and its suffix as they were
// gathered, and the path as it stands; blanks fill the room behind them. What
// pulls a name apart goes even where a URL may hold it: it is no byte of the
// host that the name stands for.
TBLOCK PutTogether(unsigned char* start, const DOMAIN_NAME& domain,
                   const SUFFIX& suffix, unsigned char* behind) {
  unsigned char* out = start;
  for (const unsigned char* p = start; p < domain.start; p++)
    if (TBLOCK::Is(*p, bitUrl)) *out++ = *p;
  Append(out, domain.view());
  *out++ = '.';
  Append(out, suffix.view());
  Append(out, TBLOCK(suffix.end, static_cast<uint32_t>(behind - suffix.end)));
  memset(out, ' ', static_cast<size_t>(behind - out));
  return TBLOCK(start, static_cast<uint32_t>(out - start));
}

// At ".". `behind` gets what follows the URL.
TBLOCK FINDER::domainAt(unsigned char* dot, unsigned char*& behind) {
  SUFFIX suffix;
  gatherSuffix(dot, suffix);
  if (suffix.length == 0 || suffix.end < mailUrl || goesOn(suffix.end))
    return TBLOCK();
  DOMAIN_NAME domain;
  gatherDomain(dot, domain);
  if (!isDomain(domain) || (domain.start > from && domain.start[-1] == '@'))
    return TBLOCK();
  TBLOCK path = runAt(suffix.end);
  const int32_t at = path.findByte('@');
  if (at >= 0) {
    mailUrl = path.pointer + at;
    return TBLOCK();
  }
  behind = suffix.end;
  if (!path.empty() && (path[0] == '/' || path[0] == '?')) {
    DropPunctuation(path);
    behind = path.end();
  } else if (!isBareDomain(dot, suffix, domain)) {
    return TBLOCK();
  }
  return PutTogether(protocolStart(domain.start), domain, suffix, behind);
}

}  // namespace

TBLOCK TBLOCKURL::FindUrl(TBLOCK& cursor, const TQMDICO* dico) {
  if (cursor.empty()) return TBLOCK();
  unsigned char* const from = cursor.pointer;
  unsigned char* const end = cursor.end();
  FINDER finder = {from, end, dico, nullptr, false, from, from, from};
  for (unsigned char* p = from; p < end; p++) {
    if (!MayBeginUrl(*p)) continue;
    TBLOCK url;
    unsigned char* behind = nullptr;
    if (*p == '<')
      url = finder.bracketedAt(p);
    else if (*p == 'h' || *p == 'w')
      url = finder.ordinaryAt(p);
    else if (*p == '.' && dico)
      url = finder.domainAt(p, behind);
    if (url.empty()) continue;
    cursor = finder.rest(behind ? behind : url.end());
    return url;
  }
  cursor.skip(cursor.length);
  return TBLOCK();
}
