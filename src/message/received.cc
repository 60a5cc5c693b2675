// Relay lines. The same text is read twice, by different rules: cut into atoms
// for the clauses of a record (BLOCKRECEIVED::parse), and cut into words for
// its template (RECEIVEDWARE::getReceivedAdn). Tested by received_test.cc.

#include "message/received.h"

#include "base/count.h"
#include "message/mail_address.h"
#include "regex/regex_pool.h"

namespace {

// Brackets in brackets that a template follows; what is deeper leaves no trace.
const int32_t kMaxBracketDepth = 32;
// What of a text the patterns see. Bounds their cost.
const uint32_t kMaxDateBytes = 80;
const uint32_t kMaxCommentBytes = 8192;  // a longer one has no known kind

// Words that begin a clause. A record keeps the values of the first six.
enum : int32_t {
  fieldNone = -1,
  fieldFrom,
  fieldBy,
  fieldVia,
  fieldWith,
  fieldId,
  fieldFor,
  fieldDate,
  fieldThrough
};

struct KEYWORD {
  const char* word;
  const char* inTemplate;
};
const KEYWORD kKeywords[] = {{"from", "from"}, {"by", "by"},     {"via", "via"},
                             {"with", "with"}, {"id", "id"},     {"for", "for"},
                             {";", ";"},       {"through", "th"}};

const char adn_char_ip[] = "IP";
const char adn_char_ip_local[] = "LIP";
const char adn_char_email[] = "@";
const char adn_char_url[] = "UR";
const char adn_char_num[] = "NUM";
const char adn_char_date[] = "DATE";
const char adn_char_equal[] = "=";

// Comments of known servers: one for each of RECEIVEDWARE's patterns, then the
// one that needs none.
const char* const StdCommentTab[RECEIVEDWARE::kCommentCount + 1] = {
    "$exc", "$lot", "$nst", "$sm", "$sun"};

// Words that templates keep.
const char* const RcvdStdWords[] = {
    "unknown",       "helo",          "ehlo",     "localhost", "smtp",
    "http",          "esmtp",         "dsmtp",    "lsmtp",     "postfix",
    "exim",          "qmail",         "version",  "port",      "unverified",
    "authenticated", "envelope-from", "linux",    "microsoft", "exchange",
    "windows",       "internet",      "sendmail", "bits",      "check",
    "cipher",        "ipv6",          "negative", "no",        "positive",
    "verify",        "web",           "yes",      "user",      "as",
    "server",        "www",           "hostfix"};

// The number of the clause that the word begins, or fieldNone.
int32_t FindKeyword(TBLOCK word) {
  for (int32_t i = fieldFrom; i <= fieldThrough; i++)
    if (word.equals(kKeywords[i].word)) return i;
  return fieldNone;
}

// Whether byte i counts: one behind a backslash does not. A backslash hides
// the next byte even when it is hidden itself.
bool IsPlain(TBLOCK text, uint32_t i) {
  return i == 0 || text[i - 1] != '\\';
}

// Offset of the plain byte `close` that ends what the first byte opens, or the
// length of the text.
uint32_t FindClose(TBLOCK text, unsigned char close) {
  uint32_t i = 1;
  while (i < text.length && !(text[i] == close && IsPlain(text, i))) i++;
  return i;
}

// The same for a parenthesis, with those inside it.
uint32_t FindParenthesis(TBLOCK text) {
  uint32_t depth = 1, i = 1;
  for (; i < text.length; i++) {
    if (!IsPlain(text, i)) continue;
    if (text[i] == '(') depth++;
    if (text[i] == ')' && --depth == 0) break;
  }
  return i;
}

// A set of ASCII characters.
struct ASCIISET {
  uint32_t bits[8];

  explicit constexpr ASCIISET(const char* characters) : bits() {
    for (; *characters; characters++)
      bits[*characters >> 5] |= 1u << (*characters & 31);
  }
  bool has(unsigned char byte) const {
    return bits[byte >> 5] >> (byte & 31) & 1;
  }
};

constexpr ASCIISET kTemplateWordEnds(" ;=[(");
constexpr ASCIISET kAtomEnds(" @<>[,;.\t");
constexpr ASCIISET kTokenEnds(" \t\r\n");

// Length of what begins at the first byte, which `set` does not look at, and
// ends ahead of a byte of the set, or with the text.
uint32_t FindAny(TBLOCK text, const ASCIISET& set) {
  uint32_t i = 1;
  while (i < text.length && !set.has(text[i])) i++;
  return i;
}

bool IsIpv6(TBLOCK word) {
  const uint32_t kNameLength = 4;  // of "ipv6"; the colon counts as one
  if (!word.begins("ipv6:")) return false;
  const TBLOCK rest = word.from(kNameLength);
  return rest.allIn(bitColon | bitHexa) && CountByte(rest, ':') >= 3;
}

// Private ranges but one are addresses like any other, on purpose: TIP knows
// them all, and templates were collected so.
const char* ClassOfAddress(TBLOCK word) {
  word.trim();
  if (!IsDottedQuad(word) && !IsIpv6(word)) return nullptr;
  const bool local = word.begins(TBLOCK("192.168")) || word.equals("127.0.0.1");
  return local ? adn_char_ip_local : adn_char_ip;
}

// What _RECEIVEDWARE_EXPRADDR finds: a dot behind a name and ahead of two
// letters. The pattern itself takes as long as the square of a word of dots.
bool HoldsHostName(TBLOCK word) {
  const unsigned char* const p = word.pointer;
  for (uint32_t i = 1; i + 2 < word.length; i++) {
    if (p[i] != '.' || !TBLOCK::Is(p[i + 1], bitAlpha) ||
        !TBLOCK::Is(p[i + 2], bitAlpha))
      continue;
    if (TBLOCK::Is(p[i - 1], bitAlpha | bitDigit) || p[i - 1] == '_' ||
        p[i - 1] == '-')
      return true;
  }
  return false;
}

// What _RECEIVEDWARE_SUN_JAVA finds: three texts in this order, with no control
// character between them that "." leaves out. The pattern takes as long as the
// cube of a comment that repeats them.
bool HoldsSunJava(TBLOCK comment) {
  const unsigned char kFirstByteOfDot = 0x0D;
  const TBLOCK texts[] = {TBLOCK("Sun Java System Messaging Server"),
                          TBLOCK("(built"), TBLOCK("))")};
  while (!comment.empty()) {
    uint32_t n = 0;
    while (n < comment.length && comment[n] >= kFirstByteOfDot) n++;
    const TBLOCK stretch = comment.head(n);
    uint32_t from = 0, found = 0;
    for (TBLOCK text : texts) {
      const int32_t at = stretch.find(text, from, TBLOCK::NoConvTable);
      if (at < 0) break;
      from = static_cast<uint32_t>(at) + text.length;
      found++;
    }
    if (found == 3) return true;
    comment.skip(n + 1);
  }
  return false;
}

// "www." cannot come here, as a host has letters behind a dot.
const char* ClassOfHost(TBLOCK word) {
  if (word.equals(TBLOCK("www."), TBLOCK::NoConvTable)) return "www.dom";
  if (word.equals("localhost.localdomain")) return "lh.ld";
  if (word.begins("localhost.")) return "lh.dom";
  return CountByte(word, '.') >= 2 ? "host" : "dom";
}

const char* FindStdWord(TBLOCK word) {
  for (const char* known : RcvdStdWords)
    if (word.equals(known)) return known;
  return nullptr;
}

// What stands for the word in a template; null for nothing.
const char* ClassOfWord(TBLOCK word) {
  const int32_t keyword = FindKeyword(word);
  if (keyword != fieldNone) return kKeywords[keyword].inTemplate;
  const char* const address = ClassOfAddress(word);
  if (address) return address;
  if (IsMailAddress(word)) return adn_char_email;
  if (word.begins("http://") && word.allIn(bitUrl)) return adn_char_url;
  if (HoldsHostName(word)) return ClassOfHost(word);
  if (!word.empty() && word.allIn(bitDigit)) return adn_char_num;
  return FindStdWord(word);
}

// Characters of a template; few have more.
const int32_t kUsualTemplate = 255;

}  // namespace

RECEIVEDWARE::RECEIVEDWARE(REGEXPOOL* pool)
    : date(REGEXPOOL::_RECEIVEDWARE_EXPRDATE, pool),
      exchange(REGEXPOOL::_RECEIVEDWARE_EXCHANGE, pool),
      lotus(REGEXPOOL::_RECEIVEDWARE_LOTUS, pool),
      netscape(REGEXPOOL::_RECEIVEDWARE_NETSCAPE, pool),
      sendmail(REGEXPOOL::_RECEIVEDWARE_SENDMAIL, pool),
      comments{&exchange, &lotus, &netscape, &sendmail} {}

const char* RECEIVEDWARE::getReceivedAdn(TBLOCK text, STR& adn, int oneWord) {
  adn.renew(kUsualTemplate);
  if (oneWord)
    _AddToReceivedAdn(adn, ClassOfWord(text));
  else
    addTemplate(text, adn, 0);
  return adn.c_str();
}

// Appends the template of the text, which stands in that many brackets.
void RECEIVEDWARE::addTemplate(TBLOCK text, STR& adn, int32_t depth) {
  if (depth > kMaxBracketDepth) return;
  for (;;) {
    text.trimLeft();
    if (text.empty()) return;
    const unsigned char c = text[0];
    if (c == ';') {
      adn += ';';
      text.skip(1);
      skipDate(text, adn);
    } else if (c == '=') {
      adn += adn_char_equal;
      text.skip(1);
    } else if (c == '(') {
      addBrackets(text, FindParenthesis(text), ')', adn, depth);
    } else if (c == '[' || c == '<' || c == '"') {
      const unsigned char close = c == '[' ? ']' : c == '<' ? '>' : '"';
      addBrackets(text, FindClose(text, close), close, adn, depth);
    } else {
      const uint32_t n = FindAny(text, kTemplateWordEnds);
      _AddToReceivedAdn(adn, ClassOfWord(text.head(n)));
      text.skip(n);
    }
  }
}

// Takes a date off the text.
void RECEIVEDWARE::skipDate(TBLOCK& text, STR& adn) {
  text.trimLeft();
  int32_t start, end;
  date.matchWithDetails(text.head(kMaxDateBytes));
  if (!date.getDetail(0, start, end)) return;
  _AddToReceivedAdn(adn, adn_char_date);
  text.skip(static_cast<uint32_t>(end));
}

// Takes what is in brackets off the text; `end` is where they close. Ones that
// never close do so at the end of the text.
void RECEIVEDWARE::addBrackets(TBLOCK& text, uint32_t end, unsigned char close,
                               STR& adn, int32_t depth) {
  const char open[] = {static_cast<char>(text[0]), 0};
  const TBLOCK inside = text.head(end).from(1);
  _AddToReceivedAdn(adn, open);
  const char* const known =
      close == ')' && depth < kMaxBracketDepth ? commentWord(inside) : nullptr;
  if (known)
    adn += known;
  else
    addTemplate(inside, adn, depth + 1);
  adn += static_cast<char>(close);
  text.skip(end + 1);
}

// The word for the comment of a server that is known; null for any other.
const char* RECEIVEDWARE::commentWord(TBLOCK inside) const {
  if (inside.length > kMaxCommentBytes) return nullptr;
  for (int32_t i = 0; i < kCommentCount; i++)
    if (comments[i]->matches(inside)) return StdCommentTab[i];
  return HoldsSunJava(inside) ? StdCommentTab[kCommentCount] : nullptr;
}

BLOCKRECEIVED::BLOCKRECEIVED(TBLOCK value, RECEIVEDWARE* wareToUse,
                             REGEXPOOL* poolToUse)
    : adn(256), ware(wareToUse), pool(poolToUse), hasLeadingText(0) {
  parse(value);
}

void BLOCKRECEIVED::clear() {
  TBLOCK* const views[] = {&text, &from, &by,         &via,   &with,
                           &id,   &date, &forAddress, &fromIp};
  for (TBLOCK* view : views) view->clear();
  if (!adn.empty()) adn = "";
  hasLeadingText = 0;
}

void BLOCKRECEIVED::parse(TBLOCK value) {
  clear();
  text = value;
  TBLOCK rest = value;
  rest.trimRight();
  if (rest.findByte(';') < 0) cutDate(rest);
  int32_t field = fieldNone;
  TBLOCK pending;
  while (!rest.empty()) {
    const TBLOCK atom = nextAtom(rest);
    if (atom.empty()) continue;
    int32_t next = FindKeyword(atom);
    // The date stands behind the last semicolon.
    if (next == fieldDate && rest.findByte(';') >= 0) next = fieldNone;
    if (next != fieldNone) {
      setBlockValue(field, pending);
      pending.clear();
      field = next;
    } else if (pending.empty()) {
      pending = atom;
    } else {
      pending.length = static_cast<uint32_t>(atom.end() - pending.pointer);
    }
  }
  setBlockValue(field, pending);
  parseFromIp();
}

// Finds the date of a line that has no semicolon ahead of it, by how dates
// look, and takes it off. The byte ahead of it goes with it, on purpose.
void BLOCKRECEIVED::cutDate(TBLOCK& rest) {
  REGEX dateShape(REGEXPOOL::_BLOCKRECEIVED_PARSE, pool);
  int32_t start, end;
  dateShape.matchWithDetails(rest);
  if (!dateShape.getDetail(0, start, end)) return;
  if (start > 0) start--;
  date = rest.from(static_cast<uint32_t>(start));
  rest.cut(static_cast<uint32_t>(start));
}

// Takes the next atom off the text: a word, a quoted text, a comment or a
// punctuation character. A word ends at dots too, so that a label of a host
// name which is a keyword begins a clause: odd, and what rules expect.
TBLOCK BLOCKRECEIVED::nextAtom(TBLOCK& rest) {
  rest.trimLeft();
  if (rest.empty()) return TBLOCK();
  uint32_t n = 1;
  switch (rest[0]) {
    case ',':
    case '.':
    case ';':
    case '<':
    case '>':
    case '@':
    case '[':
      break;
    case '"':
      n = FindClose(rest, '"') + 1;
      break;
    case '(':
      n = FindParenthesis(rest) + 1;
      break;
    default:
      n = FindAny(rest, kAtomEnds);
  }
  const TBLOCK atom = rest.head(n);
  rest.skip(n);
  return atom;
}

// Stores a clause; the first one of a kind stays. The address loses a pair of
// brackets whenever such a clause comes by, also one that is not kept.
void BLOCKRECEIVED::setBlockValue(int32_t field, TBLOCK value) {
  if (value.empty()) return;
  value.trim();
  TBLOCK* const clauses[] = {&from, &by,         &via,  &with,
                             &id,   &forAddress, &date, &via};
  if (field == fieldNone) {
    if (!value.begins("(")) hasLeadingText = 1;
    return;
  }
  if (clauses[field]->empty()) *clauses[field] = value;
  if (field != fieldFor) return;
  forAddress.trim();
  const uint32_t n = forAddress.length;
  if (n < 2 || forAddress[0] != '<' || forAddress[n - 1] != '>') return;
  forAddress = forAddress.head(n - 1).from(1);
  forAddress.trim();
}

// Numbers are not looked at, so that 999.1.1.1 is an address.
void BLOCKRECEIVED::parseFromIp() {
  TBLOCK rest = from;
  for (rest.trimLeft(); !rest.empty(); rest.trimLeft()) {
    TBLOCK token = rest.head(FindAny(rest, kTokenEnds));
    rest.skip(token.length);
    while (!token.empty() && (token[0] == '(' || token[0] == '['))
      token.skip(1);
    while (!token.empty() &&
           (token[token.length - 1] == ')' || token[token.length - 1] == ']'))
      token.length--;
    if (!IsDottedQuad(token)) continue;
    fromIp = token;
    return;
  }
}

int BLOCKRECEIVED::isSmtpComment() const {
  if (text.equals("from not found")) return 1;
  return from.empty() && by.empty() && with.empty() && id.empty() &&
         forAddress.empty() && !date.empty() && text.begins("(");
}

void _AddToReceivedAdn(STR& adn, const char* word) {
  if (!word || !word[0]) return;
  const int32_t n = adn.len();
  if (n > 0 && !strchr("=;\"([<", adn.text[n - 1])) adn += ' ';
  adn += word;
}
