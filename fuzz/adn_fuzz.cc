// Shapes of values. Whatever the text, a shape has only bytes of the alphabet;
// with repeated letters it is as long as what it stands for; and a run is
// shaped the same alone and in a text.
//
// Input: the flags, the date, a list of known texts up to a line end, and the
// text.

#include <stdint.h>
#include <string.h>

#include "content/adn.h"
#include "fuzz_util.h"
#include "rules/qm_dico.h"

static const int64_t kNow = 1795275720;

static bool IsAlnum(unsigned char byte) {
  return TBLOCK::Is(byte, bitLetter | bitDigit);
}

static void CheckRun(TBLOCK run, uint32_t flags, const TADNCLOCK& clock) {
  static const char kLetters[] = "tfgbdhxluacrjvms";
  STR once, repeated, walked;
  _AdnFromSubBlock(once, run, flags & ~adnRepeat, clock);
  _AdnFromSubBlock(repeated, run, flags | adnRepeat, clock);
  AdnFromBlock(run, walked, nullptr, adnRepeat | (flags & adnRandom), clock,
               nullptr);
  // Three cuts give four letters at most.
  Check(once.len() >= 1 && once.len() <= 4);
  Check(repeated.len() == static_cast<int32_t>(run.length));
  Check(strspn(repeated.c_str(), kLetters) == run.length);
  Check(walked.view().equals(repeated.view(), TBLOCK::NoConvTable));
}

static void CheckText(TBLOCK text, uint32_t flags, const TADNCLOCK& clock,
                      TBLOCKVECT* known) {
  STR adn;
  AdnFromBlock(text, adn, "root,*x,y*,*z*", flags, clock, known);
  for (int32_t i = 0; i < adn.len(); i++)
    Check(adn.text[i] >= ' ' || TBLOCK::Is(adn.text[i], bitLetter));
  // Plain, every byte but white and control bytes leaves one.
  AdnFromBlock(text, adn, nullptr, adnRepeat | (flags & adnRandom), clock,
               nullptr);
  uint32_t visible = 0;
  for (uint32_t i = 0; i < text.length; i++)
    if (IsAlnum(text[i]) || text[i] == '\n' ||
        (text[i] >= ' ' && text[i] < 0x80))
      visible++;
  Check(adn.len() == static_cast<int32_t>(visible));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static TQMDICO dico(nullptr, nullptr);
  if (size < 5) return 0;
  const HeapText copy(bytes + 5, size - 5);
  BLOCKDATE date;
  memcpy(&date.utc, bytes + 1, 4);
  const TADNCLOCK clock = {bytes[0] & 0x80 ? &date : nullptr, kNow};
  const TBLOCK text = copy.view();
  TBLOCK rest = text;
  TBLOCKVECT known(4);
  known.fillFromBigBlock(TBLOCK::BlockNextLine(rest), ',', 0);
  CheckText(rest, bytes[0] & 0x3F, clock, &known);
  while (!rest.empty()) {
    uint32_t length = 0;
    while (length < rest.length && IsAlnum(rest[length])) length++;
    if (length) CheckRun(rest.head(length), bytes[0] & 0x3F, clock);
    rest.skip(length + 1);
  }
  STR out, presence;
  GetEmailRegex(text, &dico, out, kNow);
  GetBlockCharAdn(text, out, presence);
  Check(out.len() == 95 && presence.len() == 95);
  Tt2Adn(date.utc, out);
  Check(out.len() == (date.utc == -1 ? 0 : 14));
  if (text.length >= sizeof(FILETIME) * 2) {
    FILETIME times[2];
    memcpy(times, text.pointer, sizeof times);
    const char there = ftAdnChar(times[0], times[1]);
    const char back = ftAdnChar(times[1], times[0]);
    Check(strchr("0123456789>", there) || strchr("abcdefghz<", there));
    Check((there == '0') == (back == '0') && (there == '>') == (back == '<'));
    Ft2Adn(&times[0], out);
  }
  return 0;
}
