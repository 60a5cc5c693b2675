// Items and their decoders. A walk must lose nothing, must not depend on what
// it remembers of failed searches, and every decoder stays inside its bytes
// and overwrites with spaces what it frees.

#include <stdint.h>

#include "content/html_item.h"
#include "fuzz_util.h"
#include "message/charset.h"

static void CheckRest(TBLOCK whole, TBLOCK kept) {
  Check(kept.length <= whole.length);
  for (uint32_t i = kept.length; i < whole.length; i++) Check(whole[i] == ' ');
}

static void ReadParams(TBLOCK tag) {
  static const char* const kNames[] = {"src", "href", "http~equiv", "a"};
  TBLOCK name, value;
  for (const char* known : kNames) {
    const int found = GetTagParamValue(tag, known, value);
    Check(found || value.empty());
    if (!value.empty())
      Check(value.pointer > tag.pointer && value.end() <= tag.end());
  }
  TBLOCK cursor = tag;
  GetFirstTagParam(cursor, name, value);
  while (!cursor.empty()) {
    const uint32_t before = cursor.length;
    const int found = GetNextTagParam(cursor, name, value);
    Check(cursor.length < before);
    Check(!found || !name.empty());
    if (!value.empty()) Check(found && value.end() <= tag.end());
    if (found && value.length < 100) {
      const HeapText url(value.pointer, value.length);
      TBLOCK whole = url.view();
      int32_t hidden = 0;
      const TBLOCK clean = DecodeUrl(whole, hidden);
      CheckRest(whole, clean);
      Check(hidden == 0 || hidden == 1);
    }
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const uint32_t n = static_cast<uint32_t>(size);
  const HeapText plain(bytes, n);
  TBLOCK cursor = plain.view();
  TBLOCK second = plain.view();
  const unsigned char* at = cursor.pointer;
  TCharset charset;
  THITEM item;
  THITEM other;
  ClearHtmlItem(item, 0);
  ClearHtmlItem(other, 0);
  uint32_t count = 0;
  for (;; count++) {
    GetNextHtmlItem(cursor, item);
    other.flags &= hifAbsent - 1;
    GetNextHtmlItem(second, other);
    Check(item.type == other.type && item.tag == other.tag &&
          item.block.pointer == other.block.pointer &&
          item.block.length == other.block.length);
    if (item.type == hitNone) break;
    while (at < item.block.pointer) Check(*at++ < 0x21);
    Check(at == item.block.pointer && item.block.length > 0);
    at = item.block.end();
    if (item.type == hitOpenTag) ReadParams(item.block);
    const HeapText copy(item.block.pointer, item.block.length);
    THITEM text = item;
    text.block = copy.view();
    DecodeText(text, &charset, count & 1);
    CheckRest(copy.view(), text.block);
  }
  while (at < plain.view().end()) Check(*at++ < 0x21);
  if (n < 1000) {
    ClearHtmlItem(item, 0);
    Check(HtmlItemCount(plain.view(), item) == count);
  }
  const HeapText block(bytes, n);
  CheckRest(block.view(), DecodeBlockEntities(block.view(), nullptr));
  const HeapText url(bytes, n);
  TBLOCK whole = url.view();
  int32_t hidden = 0;
  const TBLOCK clean = DecodeUrl(whole, hidden);
  CheckRest(whole, clean);
  return 0;
}
