// Lists of mailboxes, and what is judged from one. The views of a record are
// held against the text it was read from, its scheme against a plain search,
// and a list against its mailboxes read one by one.

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "base/count.h"
#include "content/address_scheme.h"
#include "content/mailbox.h"
#include "content/sender_judge.h"
#include "fuzz_util.h"
#include "message/mail_address.h"

// The longest end of `stem` that begins `word`, by trying all.
static uint32_t SuffixByTrying(TBLOCK stem, TBLOCK word) {
  uint32_t n = std::min(stem.length, word.length);
  while (n && !stem.from(stem.length - n).equals(word.head(n))) n--;
  return n;
}

static void CheckWords(const TMAILBOX& box) {
  const TBLOCK stem = AddressStem(box.email);
  const NAMEWORDS words(box.name);
  Check(words.count() <= kMaxNameWords);
  for (int32_t i = 0; i < words.count(); i++) {
    const TBLOCK word = words.get(i);
    const WORDFIT fit = FitWord(stem, word);
    Check(fit.suffix == SuffixByTrying(stem, word));
    Check(stem.head(fit.prefix).equals(word.head(fit.prefix)));
    Check(FindText(box.email, word) == box.email.find(word));
  }
}

static bool HoldsLetter(const TBLOCKVECT& words) {
  for (int32_t i = 0; i < words.count(); i++)
    if (CountOf(words.get(i), bitLetter)) return true;
  return false;
}

static void CheckBox(const TMAILBOX& box, TBLOCK piece) {
  Check(IsInside(box.text, piece) && IsInside(box.email, box.text) &&
        IsInside(box.name, box.text) && IsInside(box.host, box.email) &&
        IsInside(box.domain, box.host));
  Check(box.email.empty() || box.email.findByte('@') >= 0);
  Check(box.scheme >= 0 && box.scheme <= 8);
  Check(memchr(box.adn, 0, sizeof box.adn - 1) != nullptr);
  Check(box.adn[strspn(box.adn, "qusfclwbe")] == 0);
  if (box.scheme) Check(strchr(box.adn, 's') || strchr(box.adn, 'u'));
  CheckWords(box);
  const int scheme = CheckEmailScheme(box);
  Check(scheme >= -1 && scheme <= 1);
  // What makes a scheme for the one does so for the other, but for numbers.
  if (box.scheme && HoldsLetter(NAMEWORDS(box.name))) Check(scheme >= 0);
  const int forged = CheckForgedMailBox(box);
  Check(forged >= 0 && forged <= 5 && !(forged && CheckCommonEmail(box)));
  const int fall = GetFallScheme(box);
  Check(fall >= -1 && fall <= 2 && !(fall && scheme == 1));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  TMAILBOXVECT boxes(1);
  STR shapes;
  const int32_t count = ParseEmailAddressesWithAdn(text, boxes, shapes);
  Check(count == boxes.count());
  size_t length = count ? static_cast<size_t>(count) - 1 : 0;
  for (int32_t i = 0; i < count; i++) {
    const TMAILBOX box = boxes.get(i);
    CheckBox(box, text);
    const TMAILBOX again = ParseMailBox(box.text);
    Check(boxes.pos(again) == i && again.scheme == box.scheme);
    length += strlen(box.adn);
  }
  Check(strlen(shapes.c_str()) == length);
  const TMAILBOX whole = ParseMailBox(text);
  CheckBox(whole, text);
  for (int32_t i = 0; i < 2; i++) {
    const int sorted = CheckSortedRecips(boxes, i ? whole : TMAILBOX());
    Check(sorted == 0 || (sorted == 1 && count >= 5));
  }
  return 0;
}
