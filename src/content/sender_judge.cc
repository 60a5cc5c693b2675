// Mailboxes that look made up. A sender's address is held against his display
// name: people and companies have one that follows from the other, list tools
// draw letters or take words at random. Every judgement costs linear time.
// Entry points: those of sender_judge.h. Tested by sender_judge_test.cc and
// fuzz/mailbox_fuzz.cc.

#include "content/sender_judge.h"

#include "base/count.h"
#include "base/hash_count.h"
#include "content/address_scheme.h"
#include "content/random_string.h"
#include "data/letter_triples.h"

namespace {

// How addresses of roles begin, in English and in French: nobody's name.
const char* const kRoles[] = {
    "webmaster",     "post",   "contact", "info",    "support",
    "announce",      "news",   "mail",    "daemon",  "alert",
    "communication", "notif",  "reply",   "noreply", "sales",
    "doc",           "admini", "promo",   "annonce", "emploi",
    "publipost",     "actu",   "lettre",  "hebdo",   "mensuel",
    "quotidien",     "liste",  "client",  "vente",   "abonn",
    "facteur",       "reserv", "diffus",  "result",  "mktg"};
// Addresses that hold these are sent from by programs.
const char* const kWebWords[] = {"web", "mail"};

// ---- CheckEmailScheme
const int32_t kMinPhoneDigits = 9;
const uint32_t kMinSpelled = 4;  // bytes that a name and an address share
// ---- CheckForgedMailBox
const uint32_t kMinForgedLocal = 6;
const int32_t kBadTriples = 4;  // from here on a text is no language
const int32_t kOddTriples = 3;  // ... where the name repeats the address
const uint32_t kMinSurname = 6;
// ---- GetFallScheme
const uint32_t kMinFallLocal = 4;
const uint32_t kMinFallWord = 3;
const uint32_t kMinFiller = 3;  // letters besides the words

enum FallLayout { flNone = -1, flNoCase = 0, flFirstLast = 1, flLastFirst = 2 };

bool HoldsRole(TBLOCK text) {
  text.cut(kMaxNameBytes);
  for (const char* role : kRoles)
    if (text.find(role) >= 0) return true;
  return false;
}

bool HoldsWebWord(TBLOCK text) {
  for (const char* word : kWebWords)
    if (text.find(word) >= 0) return true;
  return false;
}

// "(01) 23 45 67 89": a telephone number in place of a name.
bool IsPhoneNumber(TBLOCK name) {
  const int32_t digits = CountOf(name, bitDigit);
  const int32_t others = CountOf(name, bitWhiteSpace) + CountByte(name, '(') +
                         CountByte(name, ')');
  return digits >= kMinPhoneDigits &&
         static_cast<uint32_t>(digits + others) == name.length;
}

// The words of the name that hold a letter.
class LETTERWORDS : public NAMEWORDS {
 public:
  explicit LETTERWORDS(TBLOCK name) : NAMEWORDS(name) {
    for (int32_t i = count(); i-- > 0;)
      if (!CountOf(get(i), bitLetter)) del(i);
  }
};

// Whether words of the name make up the address; -1 when it has none.
int SpellsAddress(TBLOCK name, TBLOCK email) {
  const LETTERWORDS words(name);
  const TBLOCK stem = AddressStem(email);
  if (words.count() == 0) return -1;
  if (words.count() > 1) return SchemeOfWords(stem, words) != 0;
  const WORDFIT fit = FitWord(stem, words.get(0));
  return fit.prefix >= kMinSpelled || fit.suffix >= kMinSpelled;
}

// Takes a prefix off; false when the text does not begin so.
bool Take(TBLOCK& text, TBLOCK prefix) {
  if (!text.begins(prefix)) return false;
  text.skip(prefix.length);
  return true;
}

// "LOCAL" <LOCAL@
bool RepeatsLocalPart(TBLOCK text, TBLOCK local) {
  return Take(text, TBLOCK("\"")) && Take(text, local) &&
         Take(text, TBLOCK("\" <")) && Take(text, local) &&
         text.begins(TBLOCK("@"));
}

// A word of the name, counted from 0, as its shape counts them.
TBLOCK WordOf(TBLOCK name, int32_t number) {
  for (;;) {
    name.trimLeft();
    const uint32_t n = name.lengthUntil(bitWhiteSpace);
    if (number-- == 0) return name.head(n);
    name.skip(n);
  }
}

// Whether a plain person's name of that shape is no language.
bool IsMadeUpSurname(const TMAILBOX& box) {
  const TBLOCK surname = WordOf(box.name, 1);
  return TBLOCK(box.adn).equals(TBLOCK("qccb"), TBLOCK::NoConvTable) &&
         surname.length >= kMinSurname && Wsc(surname, BadSeq3) >= kBadTriples;
}

bool IsMadeUpPair(const TMAILBOX& box, TBLOCK local) {
  if (!TBLOCK(box.adn).equals(TBLOCK("qllb"), TBLOCK::NoConvTable))
    return false;
  HASHCOUNT triples(0, hashAsciiLower);
  HashSeqCount(WordOf(box.name, 0), triples, BadSeq3);
  HashSeqCount(WordOf(box.name, 1), triples, BadSeq3);
  return HashSeqCount(local, triples, BadSeq3) >= kBadTriples;
}

// Whether `second` stands in the text behind `first`.
bool HoldsInOrder(TBLOCK text, TBLOCK first, TBLOCK second) {
  const int32_t at = FindText(text, first);
  return at >= 0 &&
         FindText(text.from(static_cast<uint32_t>(at) + first.length),
                  second) >= 0;
}

}  // namespace

int CheckCommonEmail(const TMAILBOX& box) {
  const TBLOCK stem = AddressStem(box.email);
  for (const char* role : kRoles)
    if (stem.begins(role)) return 1;
  return 0;
}

int CheckEmailScheme(const TMAILBOX& box) {
  const TBLOCK email = box.email;
  const TBLOCK name = box.name;
  if (email.empty() || name.empty()) return 0;
  if (IsPhoneNumber(name)) return 1;
  const TBLOCK domain = email.from(LocalPart(email).length + 1);
  if (domain.length >= kMinSpelled && name.begins(domain)) return 1;
  if (name.length >= kMinSpelled && AddressStem(email).begins(name)) return 1;
  if (FindText(name, email) >= 0 || FindText(email, name) >= 0) return 1;
  return SpellsAddress(name, email);
}

int CheckForgedMailBox(const TMAILBOX& box) {
  const TBLOCK local = LocalPart(box.email);
  if (local.length < kMinForgedLocal || !local.allIn(bitAlpha | bitDigit) ||
      TBLOCK::Is(local[local.length - 1], bitDigit))
    return 0;
  if (HoldsWebWord(local) || CheckCommonEmail(box)) return 0;
  const int32_t bad = Wsc(local, BadSeq3);
  if (bad >= kOddTriples && !CountOf(local, bitUpper) &&
      RepeatsLocalPart(box.text, local))
    return 3;
  const int scheme = CheckEmailScheme(box);
  if (scheme) return scheme < 0;
  if (bad >= kBadTriples) return 2;
  if (IsMadeUpSurname(box)) return 4;
  if (IsMadeUpPair(box, local)) return 5;
  return 0;
}

// The words of letters count: the first and the last of them are the person's
// names. A plain "first.last" is no such case, on purpose, since the address
// follows from the name; it takes letters besides both.
int GetFallScheme(const TMAILBOX& box) {
  const TBLOCK local = LocalPart(box.email);
  if (local.length < kMinFallLocal || box.name.empty() || HoldsRole(box.name) ||
      HoldsRole(local))
    return flNoCase;
  NAMEWORDS words(box.name);
  for (int32_t i = words.count(); i-- > 0;)
    if (!words.get(i).allIn(bitLetter)) words.del(i);
  if (words.count() < 2 || CheckEmailScheme(box) == 1) return flNoCase;
  const TBLOCK first = words.get(0);
  const TBLOCK last = words.get(words.count() - 1);
  if (first.length < kMinFallWord || last.length < kMinFallWord ||
      static_cast<uint32_t>(CountOf(local, bitLetter)) <
          first.length + last.length + kMinFiller)
    return flNone;
  if (HoldsInOrder(local, first, last)) return flFirstLast;
  return HoldsInOrder(local, last, first) ? flLastFirst : flNone;
}
