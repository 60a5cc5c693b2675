// Styles of a page, and single values. Folded rules must give what walks over
// them in order give, the stack of open tags what walks over its records give,
// and a selector without comments must not lean on the element's bytes.

#include <stdint.h>

#include <memory>
#include <vector>

#include "content/html_parse.h"
#include "content/style_model.h"
#include "fuzz_util.h"

static bool IsColor(int32_t color) {
  return color >= kStyleUnknown && color <= 0xFFFFFF;
}

static void CheckValues(const uint8_t* bytes, uint32_t n) {
  const HeapText text(bytes, n);
  const int32_t color = ParseHtmlColor(text.view());
  Check(color >= kStyleUnset && IsColor(color));
  int16_t size = kStyleUnset;
  ParseHtmlFontSize(text.view(), size);
  Check(size == kStyleUnset || (size >= FontSizes[0] && size <= FontSizes[6]));
  size = kStyleUnset;
  TSTYLEPROPS(text.view()).getFontSize(size);
  Check(size >= kStyleUnset && size <= 72);
  int32_t set = kStyleUnset, background = kStyleUnset;
  TSTYLEPROPS(text.view()).getColor(set);
  TSTYLEPROPS(text.view()).getBackground(background);
  Check(IsColor(set) && IsColor(background));
}

static void CheckRules(const THTMLCONTEXT& c) {
  const int32_t count = c.styleItems.count();
  if (count == kMaxStyleItems) return;
  std::vector<TSTYLEITEM> items;
  for (int32_t i = 0; i < count; i++) items.push_back(c.styleItems.at(i));
  for (int32_t i = 0; i < count && i < 50; i++) {
    const TSTYLEITEM &item = items[size_t(i)],
                     &other = items[size_t(count - 1 - i)];
    for (const THTMLTAG tag : {item.tag, other.tag, THTMLTAG{htP}}) {
      int32_t values[] = {kNothingSet, kNothingSet, kNothingSet};
      WalkRules(items.data(), items.size(), tag, item.className, other.idName,
                values);
      int32_t color = kNothingSet, background = kNothingSet;
      int16_t size = kNothingSet;
      c.styleRules.apply(tag, item.className, other.idName, color, background,
                         size);
      Check(color == values[0] && background == values[1] && size == values[2]);
    }
  }
}

// Each byte pushes or pops.
static void CheckStack(const uint8_t* bytes, uint32_t n) {
  const THTMLTAG kTags[] = {htP, htTD, htTR, htTABLE};
  TTAGSTACK stack;
  PlainStack plain;
  for (uint32_t i = 0; i < n && i < 500; i++) {
    const THTMLTAG tag = kTags[bytes[i] & 3];
    const TTAGSTYLE style = {tag, bytes[i] & 8 ? bytes[i] : kStyleUnset,
                             kStyleUnset, bytes[i]};
    if (bytes[i] & 4) {
      stack.push(style);
      plain.records.push_back(style);
    } else {
      Check(stack.pop(tag) == plain.pop(tag));
    }
    Check(stack.newest(TTAGSTACK::tsColor) == plain.newest(TTAGSTACK::tsColor));
    Check(stack.count() == static_cast<int32_t>(plain.records.size()));
  }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const uint32_t n = static_cast<uint32_t>(size);
  CheckValues(bytes, n);
  CheckStack(bytes, n);
  THTMLCONTEXT c;
  const HeapText element(bytes, n);
  c.parseStyle(element.view());
  Check(c.stylePattern.view().length <= kMaxStylePattern + 1);
  CheckRules(c);
  const HeapText page(bytes, n);
  std::unique_ptr<unsigned char[]> room(new unsigned char[n + 128]);
  QmHtmlParse(page.view(), TBLOCK(room.get(), n + 128), c, nullptr, nullptr);
  Check(IsColor(c.curColor) && IsColor(c.curBackground));
  Check(c.curFontSize >= kStyleUnknown && c.curFontSize <= 72);
  Check(c.tagStack.count() <= kMaxTagStack);
  CheckRules(c);
  return 0;
}
