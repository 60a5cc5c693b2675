// Pattern words with a meaning of their own: the recipient's address, any
// address, the recipient's name. Entry point: TQMDICO::MatchSpecial. Tested by
// keyword_compare_test.cc.

#include "rules/qm_dico.h"

namespace {

// Bytes of the longest address; what is longer is none, so that a long word
// costs no more.
const uint32_t kMaxAddress = 512;

// Where the quoted span that begins at i ends, or i when it never ends.
uint32_t EndOfQuote(TBLOCK text, uint32_t i) {
  const int32_t close = text.findByte(text[i], i + 1);
  return close < 0 ? i : static_cast<uint32_t>(close);
}

// local@host.tld; quoted spans of the local part may hold any byte. A quote
// that is not closed is an ordinary byte.
bool IsAddress(TBLOCK word) {
  if (word.length > kMaxAddress) return false;
  uint32_t i = 0;
  bool closed[2] = {true, true};
  for (; i < word.length && word[i] != '@'; i++) {
    const unsigned char c = word[i];
    if (c == '\'' || c == '"') {
      bool& maybe = closed[c == '"'];
      const uint32_t end = maybe ? EndOfQuote(word, i) : i;
      if (end == i) maybe = false;
      i = end;
    } else if (!TBLOCK::Is(c, bitEmail)) {
      return false;
    }
  }
  if (i == 0 || i >= word.length) return false;
  const TBLOCK domain = word.from(i + 1);
  if (domain.findByte('.') < 0) return false;
  for (i = 0; i < domain.length; i++)
    if (!TBLOCK::Is(domain[i], bitDomain)) return false;
  return true;
}

bool CutsName(unsigned char c) {
  return c == '.' || c == '_' || c == '-' || TBLOCK::Is(c, bitDigit);
}

}  // namespace

int TQMDICO::MatchSpecial(TBLOCK word, TBLOCK pattern, TBLOCK context,
                          int& verdict) {
  if (pattern.empty() || pattern.length > 2) return 0;
  const bool two = pattern.length == 2;
  if (pattern[0] == '?' && !two)
    verdict = MatchName(word, context);
  else if (pattern[0] == '@' && !two)
    verdict = !word.empty() && word.equals(context);
  else if (pattern[0] == '@' && pattern[1] == '@')
    verdict = IsAddress(word);
  else
    return 0;
  return 1;
}

int TQMDICO::MatchName(TBLOCK word, TBLOCK address) {
  if (word.empty() || word.length < 3 || word.length > kMaxAddress) return 0;
  address.cut(kMaxAddress);
  const int32_t at = address.findByte('@');
  if (at >= 0) address.cut(static_cast<uint32_t>(at));
  if (address.empty()) return 0;
  if (word.equals(address)) return 1;
  for (uint32_t i = 0; i < address.length; i++) {
    uint32_t n = 0;
    while (i + n < address.length && !CutsName(address[i + n])) n++;
    if (n && word.equals(address.from(i).head(n))) return 1;
    i += n;
  }
  return 0;
}
