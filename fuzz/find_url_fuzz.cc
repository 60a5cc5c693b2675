// Plain text: what FindUrl finds lies ahead of its cursor, which always moves;
// what it rewrites stays within the text and loses no letter, digit or dot; and
// a text parsed into any room keeps to it and finds the same links.
//
// Input: a byte for the room, then the text.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "content/text_parse.h"
#include "content/unsub_text.h"
#include "fuzz_util.h"
#include "rules/qm_dico.h"

namespace {

uint32_t CountNameBytes(TBLOCK text) {
  uint32_t found = 0;
  for (uint32_t i = 0; i < text.length; i++)
    found += TBLOCK::Is(text[i], bitLetter | bitDigit | bitDot);
  return found;
}

void CheckFinding(TBLOCK text, const TQMDICO& dico) {
  TBLOCK cursor = text;
  const uint32_t nameBytes = CountNameBytes(text);
  for (;;) {
    const TBLOCK before = cursor;
    const TBLOCK url = TBLOCKURL::FindUrl(cursor, &dico);
    Check(cursor.end() == text.end());
    if (url.empty()) break;
    Check(url.pointer >= before.pointer && url.end() <= cursor.pointer);
  }
  Check(cursor.length == 0 && CountNameBytes(text) == nameBytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const TQMDICO* const dico = new TQMDICO(nullptr, nullptr);
  if (size == 0) return 0;
  const uint32_t n = static_cast<uint32_t>(size) - 1;
  const uint32_t room = n * bytes[0] / 255;
  const HeapText copy(bytes + 1, n);
  const std::unique_ptr<unsigned char[]> output(new unsigned char[room]);
  const TBLOCK text = copy.view();
  CheckFinding(text, *dico);

  if (n) memcpy(text.pointer, bytes + 1, n);
  STRVECT unsub(0, 64);
  STR pattern;
  GetUnsubText(text, unsub);
  AddUnsubText(LastUnsubLine(text), unsub);
  GetTextPattern(text, pattern);
  Check(unsub.count() <= kMaxUnsubTexts && pattern.len() <= kMaxPatternLines);

  TTEXTCONTEXT context;
  const uint32_t written =
      QmTextParse(text, TBLOCK(output.get(), room), context, nullptr, dico);
  Check(written <= room);
  const int32_t links = context.links.count();
  for (int32_t i = 0; i < links; i++) {
    Check(IsInside(context.links.get(i)->url.url, text));
  }
  if (n) memcpy(text.pointer, bytes + 1, n);
  QmTextParse(text, TBLOCK(), context, nullptr, dico);
  Check(context.links.count() == links && context.length == 0);
  return 0;
}
