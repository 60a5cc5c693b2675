// Mailboxes: "Name <a@b>", "a@b (Name)" and the bare address. The one entry is
// ParseMailBox. Tested by mailbox_test.cc.

#include "content/mailbox.h"

#include "content/block_url.h"
#include "message/mail_address.h"

namespace {

bool IsQuote(unsigned char c) {
  return c == '"' || c == '\'';
}

// Removes one pair of equal quotes; 1 when there was one.
int StripQuotePair(TBLOCK& text) {
  if (text.empty() || text.length < 2 || !IsQuote(text[0]) ||
      text[0] != text[text.length - 1])
    return 0;
  text = TBLOCK(text.pointer + 1, text.length - 2);
  return 1;
}

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

// Finds `email` and `name`; `email` is empty or passed IsAddress.
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
  StripQuotePair(box.email);
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
  if (StripQuotePair(box.name)) {
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

TMAILBOXVECT::TMAILBOXVECT(int32_t) : BLOCK(0, 8 * sizeof(TMAILBOX)) {}
int32_t TMAILBOXVECT::count() const {
  return static_cast<int32_t>(length / sizeof(TMAILBOX));
}
TMAILBOX TMAILBOXVECT::get(int32_t) const {
  return TMAILBOX();
}
int TMAILBOXVECT::add(const TMAILBOX&) {
  return 0;
}
int TMAILBOXVECT::ins(const TMAILBOX&, int32_t) {
  return 0;
}
int TMAILBOXVECT::set(const TMAILBOX&, int32_t) {
  return 0;
}
int TMAILBOXVECT::del(int32_t) {
  return 0;
}
int32_t TMAILBOXVECT::pos(const TMAILBOX&) const {
  return -1;
}
void TMAILBOXVECT::clear() {
  empty();
}

int32_t ParseEmailAddresses(TBLOCK, TMAILBOXVECT&) {
  return 0;
}
int32_t ParseEmailAddressesWithAdn(TBLOCK, TMAILBOXVECT&, STR&) {
  return 0;
}
int32_t ParseRecipientScheme(const TMAILBOX&) {
  return 0;
}
void SetMailboxAdn(TMAILBOX&) {}
int CheckSortedRecips(const TMAILBOXVECT&, const TMAILBOX&) {
  return 0;
}
