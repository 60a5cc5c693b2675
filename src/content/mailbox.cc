// Mailboxes: "Name <a@b>", "a@b (Name)" and the bare address; lists of them,
// and what their shapes tell. Each byte of a field is looked at a fixed number
// of times. Entry points: those of mailbox.h. Tested by mailbox_test.cc and
// fuzz/mailbox_fuzz.cc.

#include "content/mailbox.h"

#include <string.h>

#include "base/vectors.h"
#include "content/address_scheme.h"
#include "content/block_url.h"
#include "message/field_piece.h"
#include "message/mail_address.h"

namespace {

// "address (name)". 0 when no parenthesis opens.
int SplitComment(TMAILBOX& box) {
  const TBLOCK inside = box.text.head(box.text.length - 1);
  const int32_t open = inside.findLastByte('(');
  if (open < 0) return 0;
  const uint32_t at = static_cast<uint32_t>(open);
  box.name = inside.from(at + 1);
  box.email = inside.head(at);
  box.email.trim();
  return 1;
}

// "name <address>". Of nested brackets the innermost pair wins. 0 when no
// bracket opens.
int SplitBrackets(TMAILBOX& box) {
  box.flags |= mbAngleBrackets;
  uint32_t end = box.text.length - 1;
  for (uint32_t i = end; i-- > 0;) {
    if (box.text[i] == '>') {
      end = i;
    } else if (box.text[i] == '<') {
      box.email = box.text.from(i + 1).head(end - i - 1);
      box.name = box.text.head(i);
      return 1;
    }
  }
  return 0;
}

// Finds `email` and `name`; `email` is empty or passed IsMailAddress.
void SplitMailBox(TMAILBOX& box) {
  const unsigned char last = box.text[box.text.length - 1];
  const int split = last == ')'   ? SplitComment(box)
                    : last == '>' ? SplitBrackets(box)
                                  : 0;
  if (!split) {
    if (IsMailAddress(box.text))
      box.email = box.text;
    else
      box.name = box.text;
    return;
  }
  if (IsMailAddress(box.email)) return;
  if (box.name.empty()) box.name = box.email;
  box.email.clear();
}

void FinishEmail(TMAILBOX& box) {
  box.email.trim();
  box.email.stripQuotes();
  while (!box.email.empty() && !TBLOCK::Is(box.email[0], bitEmail))
    box.email.skip(1);
  while (!box.email.empty() &&
         !TBLOCK::Is(box.email[box.email.length - 1], bitEmail))
    box.email.length--;
  const int32_t at = box.email.findLastByte('@');
  box.host = box.email.from(static_cast<uint32_t>(at + 1));
}

void FinishName(TMAILBOX& box) {
  box.name.trim();
  if (box.name.stripQuotes()) {
    box.name.trim();
    TBLOCK::BlockUnquote(box.name, 1);
    box.flags |= mbQuotedName;
  }
  box.name.trim();
}

}  // namespace

TMAILBOX ParseMailBox(TBLOCK text) {
  TMAILBOX box;
  text.trim();
  if (text.empty()) return box;
  box.text = text;
  SplitMailBox(box);
  FinishEmail(box);
  FinishName(box);
  TBLOCK suffix;
  TBLOCKURL::HostToDomain(box.host, box.domain, suffix);
  box.scheme = ParseRecipientScheme(box);
  SetMailboxAdn(box);
  return box;
}

int32_t ParseEmailAddresses(TBLOCK text, TMAILBOXVECT& boxes) {
  int32_t found = 0;
  while (!text.empty()) {
    // A quote that never closes keeps all that follows in one piece.
    const TBLOCK piece = NextPiece(text, ',');
    if (!piece.empty()) found += boxes.add(ParseMailBox(piece));
  }
  return found;
}

int32_t ParseEmailAddressesWithAdn(TBLOCK text, TMAILBOXVECT& boxes, STR& adn) {
  ParseEmailAddresses(text, boxes);
  const int32_t n = boxes.count();
  adn.renew(2 * n);
  for (int32_t i = 0; i < n; i++) {
    if (i) adn += ',';
    adn += boxes.get(i).adn;
  }
  return n;
}

int32_t ParseRecipientScheme(const TMAILBOX& box) {
  const TBLOCK stem = AddressStem(box.email);
  const TBLOCK name = box.name.head(kMaxNameBytes);
  if (stem.length < 2 || name.empty() || name.equals(LocalPart(box.email)) ||
      FindText(name, box.email) >= 0)
    return 0;
  return SchemeOfWords(stem, NAMEWORDS(name));
}

namespace {

// A capital and at least one byte more, none of which a capital.
bool IsCapitalForm(TBLOCK text) {
  return text.length > 1 && TBLOCK::Is(text[0], bitUpperA) &&
         text.from(1).unchangedBy(TBLOCK::LowerConvTable);
}

char LetterOfWord(TBLOCK word) {
  if (word.unchangedBy(TBLOCK::LowerConvTable)) return 'l';
  if (IsCapitalForm(word)) return 'c';
  return word.unchangedBy(TBLOCK::UpperConvTable) ? 'u' : 'w';
}

// The last two bytes of the record stay NUL: a shape ends at 30 letters, one
// less than would fit.
bool AddLetter(TMAILBOX& box, char letter) {
  const size_t n = strlen(box.adn);
  if (n + 2 >= sizeof box.adn) return false;
  box.adn[n] = letter;
  box.adn[n + 1] = 0;
  return true;
}

void AddNameLetters(TMAILBOX& box) {
  TBLOCK rest = box.name;
  if (box.flags & mbQuotedName) AddLetter(box, 'q');
  if (rest.begins("undisclosed-recipients:")) {
    AddLetter(box, 'u');
    return;
  }
  if (box.scheme > 0) {
    AddLetter(box, 's');
    return;
  }
  const TBLOCK local = LocalPart(box.email);
  if (rest.equals(local) && IsCapitalForm(rest) && !IsCapitalForm(local)) {
    AddLetter(box, 'f');
    return;
  }
  for (;;) {
    rest.trimLeft();
    if (rest.empty()) return;
    const uint32_t n = rest.lengthUntil(bitWhiteSpace);
    if (!AddLetter(box, LetterOfWord(rest.head(n)))) return;
    rest.skip(n);
  }
}

}  // namespace

void SetMailboxAdn(TMAILBOX& box) {
  memset(box.adn, 0, sizeof box.adn);
  if (!box.name.empty()) AddNameLetters(box);
  if (!box.email.empty())
    AddLetter(box, box.flags & mbAngleBrackets ? 'b' : 'e');
}

// ---- TMAILBOXVECT

namespace {

// A message has one or two recipients, or very many.
const uint32_t kGrowthRecords = 8;

// Byte by byte a record cannot be compared: it may have gaps.
bool SameView(TBLOCK a, TBLOCK b) {
  return a.pointer == b.pointer && a.length == b.length;
}

bool SameRecord(const TMAILBOX& a, const TMAILBOX& b) {
  return SameView(a.text, b.text) && SameView(a.email, b.email) &&
         SameView(a.name, b.name) && SameView(a.host, b.host) &&
         SameView(a.domain, b.domain) && a.flags == b.flags &&
         a.scheme == b.scheme && strcmp(a.adn, b.adn) == 0;
}

uint32_t OffsetOf(int32_t i) {
  return static_cast<uint32_t>(i) * static_cast<uint32_t>(sizeof(TMAILBOX));
}

}  // namespace

TMAILBOXVECT::TMAILBOXVECT(int32_t n)
    : BLOCK(
          n > 0 && static_cast<uint32_t>(n) <= kMaxBlockBytes / sizeof(TMAILBOX)
              ? OffsetOf(n)
              : 0,
          OffsetOf(kGrowthRecords)) {}

TMAILBOXVECT::~TMAILBOXVECT() {}

int32_t TMAILBOXVECT::count() const {
  return static_cast<int32_t>(length / sizeof(TMAILBOX));
}

TMAILBOX TMAILBOXVECT::get(int32_t i) const {
  TMAILBOX box;
  if (i >= 0 && i < count()) memcpy(&box, data + OffsetOf(i), sizeof box);
  return box;
}

int TMAILBOXVECT::add(const TMAILBOX& box) {
  return BLOCK::add(&box, sizeof box);
}

int TMAILBOXVECT::ins(const TMAILBOX& box, int32_t i) {
  return i >= 0 && i <= count() && BLOCK::add(OffsetOf(i), &box, sizeof box);
}

int TMAILBOXVECT::set(const TMAILBOX& box, int32_t i) {
  if (i < 0 || i >= count()) return 0;
  memcpy(data + OffsetOf(i), &box, sizeof box);
  return 1;
}

int TMAILBOXVECT::del(int32_t i) {
  return i >= 0 && i < count() && remove(OffsetOf(i), sizeof(TMAILBOX));
}

int32_t TMAILBOXVECT::pos(const TMAILBOX& box) const {
  for (int32_t i = 0; i < count(); i++)
    if (SameRecord(get(i), box)) return i;
  return -1;
}

void TMAILBOXVECT::clear() {
  empty();
}

// ---- CheckSortedRecips

namespace {

// Fewer recipients may stand in any order by chance.
const int32_t kMinRecipients = 5;

// An address in two: what stands ahead of its last "@", and behind it.
struct ADDRESS {
  TBLOCK local, host;
  explicit ADDRESS(TBLOCK email) : host(email) {
    const int32_t at = email.findLastByte('@');
    if (at < 0) return;
    local = email.head(static_cast<uint32_t>(at));
    host = email.from(static_cast<uint32_t>(at) + 1);
  }
};

TBLOCK FirstLabel(TBLOCK host) {
  const int32_t dot = host.findByte('.');
  return dot < 0 ? host : host.head(static_cast<uint32_t>(dot));
}

// Whether `a` comes ahead of `b` as far as the shorter one goes.
bool IsAhead(TBLOCK a, TBLOCK b) {
  const uint32_t n = a.length < b.length ? a.length : b.length;
  return n && memcmp(a.pointer, b.pointer, n) < 0;
}

bool SameFirstByte(TBLOCK a, TBLOCK b) {
  return a.empty() || b.empty() ? a.empty() == b.empty() : a[0] == b[0];
}

// Whether all stand in order, in domains of one name; `sameLetter` tells
// whether, besides, all begin with the same byte.
bool IsSorted(const TBLOCKVECT& emails, TBLOCK head, bool& sameLetter) {
  TBLOCK before = ADDRESS(emails.get(0)).local;
  sameLetter = true;
  for (int32_t i = 0; i < emails.count(); i++) {
    const ADDRESS address(emails.get(i));
    if (!FirstLabel(address.host).equals(head) ||
        IsAhead(address.local, before)) {
      sameLetter = false;
      return false;
    }
    if (!SameFirstByte(address.local, before)) sameLetter = false;
    before = address.local;
  }
  return true;
}

// Whether all are one local part, none of them in a domain `head`.
bool IsOneName(const TBLOCKVECT& emails, TBLOCK head) {
  const TBLOCK local = ADDRESS(emails.get(0)).local;
  for (int32_t i = 0; i < emails.count(); i++) {
    const ADDRESS address(emails.get(i));
    if (!address.local.equals(local) || address.host.equals(head)) return false;
  }
  return true;
}

bool HoldsAddress(const TBLOCKVECT& emails, TBLOCK email) {
  for (int32_t i = 0; i < emails.count(); i++)
    if (emails.get(i).equals(email)) return true;
  return false;
}

}  // namespace

int CheckSortedRecips(const TMAILBOXVECT& boxes, const TMAILBOX& user) {
  const int32_t n = boxes.count();
  if (n < kMinRecipients) return 0;
  TBLOCKVECT emails(n);
  for (int32_t i = 0; i < n; i++) emails.addUnique(boxes.get(i).email, 0, 1);
  if (emails.count() < kMinRecipients) return 0;
  const TBLOCK firstHost = ADDRESS(emails.get(0)).host;
  const TBLOCK head = FirstLabel(firstHost);
  if (head.empty()) return 0;
  bool sameLetter = false;
  const bool sorted = IsSorted(emails, head, sameLetter);
  if (sameLetter) return 1;
  // The list of a domain that its own users are left out of proves nothing.
  const bool userMissing =
      user.host.equals(firstHost) && !HoldsAddress(emails, user.email);
  if (sorted && !userMissing) return 1;
  return IsOneName(emails, head);
}
