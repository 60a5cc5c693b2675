// Styles of a page, and single values. Folded rules must give what walks over
// them in order give, the stack of open tags what walks over its records give,
// and a selector without comments must not lean on the element's bytes.

#include <stdint.h>

#include <memory>
#include <vector>

#include "content/html_parse.h"
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

// What three walks over the rules give, as far as they are kept.
static void WalkRules(const TSTYLEITEMVECT& items, THTMLTAG tag,
                      const TBLOCK* names, int32_t* values) {
  for (int walk = 0; walk < 3; walk++) {
    if (walk > 0 && names[walk].empty()) continue;
    for (int32_t i = 0; i < items.count(); i++) {
      const TSTYLEITEM& item = items.at(i);
      const TBLOCK name = walk == 1 ? item.className : item.idName;
      if (walk == 0 ? !item.className.empty() || !item.idName.empty() ||
                          item.tag != tag
                    : name.empty() ||
                          !name.equals(names[walk], TBLOCK::AsciiLowerTable) ||
                          (item.tag != htUnknown && item.tag != tag))
        continue;
      const int32_t set[] = {item.color, item.background, item.fontSize};
      for (int k = 0; k < 3; k++)
        if (set[k] != kStyleUnset) values[k] = item.flags ? -2 : set[k];
    }
  }
}

static void CheckRules(const THTMLCONTEXT& c) {
  const int32_t count = c.styleItems.count();
  if (count == kMaxStyleItems) return;
  for (int32_t i = 0; i < count && i < 50; i++) {
    const TSTYLEITEM& item = c.styleItems.at(i);
    const TSTYLEITEM& other = c.styleItems.at(count - 1 - i);
    const TBLOCK names[] = {TBLOCK(), item.className, other.idName};
    for (const THTMLTAG tag : {item.tag, other.tag, THTMLTAG{htP}}) {
      int32_t values[] = {-7, -7, -7};
      WalkRules(c.styleItems, tag, names, values);
      int32_t color = -7, background = -7;
      int16_t size = -7;
      c.styleRules.apply(tag, names[1], names[2], color, background, size);
      Check(color == values[0] && background == values[1] && size == values[2]);
    }
  }
}

// Each byte pushes or pops.
static void CheckStack(const uint8_t* bytes, uint32_t n) {
  const THTMLTAG kTags[] = {htP, htTD, htTR, htTABLE};
  TTAGSTACK stack;
  std::vector<TTAGSTYLE> plain;
  for (uint32_t i = 0; i < n && i < 500; i++) {
    const THTMLTAG tag = kTags[bytes[i] & 3];
    if (bytes[i] & 4) {
      const TTAGSTYLE style = {tag, bytes[i] & 8 ? bytes[i] : kStyleUnset,
                               kStyleUnset, bytes[i]};
      stack.push(style);
      plain.push_back(style);
    } else {
      const size_t before = plain.size();
      size_t at = before;
      while (at > 0 && plain[at - 1].tag != tag &&
             !(plain[at - 1].tag > tag && tag != htP))
        at--;
      if (at > 0 && plain[at - 1].tag == tag)
        plain.erase(plain.begin() + static_cast<ptrdiff_t>(at - 1),
                    tag == htP ? plain.begin() + static_cast<ptrdiff_t>(at)
                               : plain.end());
      Check((stack.pop(tag) != 0) == (plain.size() < before));
    }
    int32_t color = kStyleUnset;
    for (const TTAGSTYLE& style : plain)
      if (style.color != kStyleUnset) color = style.color;
    Check(stack.newest(TTAGSTACK::tsColor) == color);
    Check(stack.count() == static_cast<int32_t>(plain.size()));
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
