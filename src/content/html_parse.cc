// The whole of an HTML body: its items one by one, then the character set that
// the body itself names, then the URLs that a reader sees. Entry: QmHtmlParse.
// Tested by html_context_test.cc.

#include "content/html_parse.h"

#include <string.h>

#include "content/block_url.h"
#include "content/links.h"

namespace {

bool HasHighByte(TBLOCK text) {
  uint32_t i = 0;
  for (; i + 8 <= text.length; i += 8) {
    uint64_t eight;
    memcpy(&eight, text.pointer + i, sizeof eight);
    if (eight & 0x8080808080808080u) return true;
  }
  for (; i < text.length; i++)
    if (text[i] >= 0x80) return true;
  return false;
}

// Whether decoding may change the length of the text.
bool CanShift(const TCharset& charset, TBLOCK text) {
  switch (charset.family) {
    case cfWindows:
    case cfIso:
    case cfSingle:
    case cfNone:
      return false;
    case cfDoubleByte:
      return HasHighByte(text);
    case cfUnicode:
      // The other rows spell everything in ASCII.
      return charset.index != 0 || HasHighByte(text);
    default:
      return true;
  }
}

// Views that lie in one text, moved to copies of their own.
class VIEWKEEPER {
 public:
  uint32_t bytes;  // of the views met in the first round

  VIEWKEEPER(TBLOCK text, const TCharset& charsetToUse, BLOCK& storeToUse)
      : bytes(0),
        inside(text),
        charset(charsetToUse),
        store(storeToUse),
        copying(false) {}
  // From here on views are moved; false when memory is short.
  bool startCopying() {
    store.reset();
    copying = bytes > 0 && store.addSpace(bytes);
    return copying;
  }
  // Counts the view, or moves it.
  void visit(TBLOCK& view);
  void visit(TBLOCKVECT& list);

 private:
  TBLOCK inside;
  const TCharset& charset;
  BLOCK& store;
  bool copying;
};

void VIEWKEEPER::visit(TBLOCK& view) {
  if (view.empty() || view.pointer < inside.pointer ||
      view.pointer >= inside.end())
    return;
  if (!copying) {
    bytes += view.length;
    return;
  }
  const uint32_t start = store.length;
  if (!store.add(view)) return;
  view = store.view().from(start);
  // The zones of these bytes are counted with the text.
  TCharset scratch = charset;
  DecodeCharset(view, view, &scratch, TBLOCK(), 0);
}

void VIEWKEEPER::visit(TBLOCKVECT& list) {
  for (int32_t i = 0; i < list.count(); i++) {
    TBLOCK view = list.get(i);
    visit(view);
    if (copying) list.set(view, i);
  }
}

}  // namespace

// What points into the output and is read later.
void THTMLCONTEXT::keepViews() {
  VIEWKEEPER keeper(TBLOCK(output.pointer, length), charset, viewStore);
  for (int round = 0; round < 2; round++) {
    keeper.visit(linkWords);
    for (int32_t i = 0; i < links.count(); i++) {
      TLINKRECORD* const link = links.get(i);
      keeper.visit(link->prevText);
      if (link->texts) keeper.visit(*link->texts);
    }
    if (round == 0 && !keeper.startCopying()) return;
  }
}

void THTMLCONTEXT::decodeOutput() {
  TBLOCK text(output.pointer, length);
  if (charset.name.empty() || text.length == 0) return;
  if (CanShift(charset, text)) keepViews();
  DecodeCharset(text, text, &charset, TBLOCK(), 0);
  length = text.length;
}

uint32_t QmHtmlParse(TBLOCK src, TBLOCK dest, THTMLCONTEXT& context,
                     REGEXPOOL* pool, const TQMDICO* dico) {
  context.clear();
  context.output = dest;
  if (dest.empty()) context.output.clear();
  THITEM item;
  GetFirstHtmlItem(src, item);
  for (; item.type != hitNone; GetNextHtmlItem(src, item)) {
    if (item.type == hitText)
      DecodeText(item, &context.charset, context.flags & hcfPreformatted);
    context.doItem(item, pool, dico);
  }
  context.endParsing();
  context.decodeOutput();
  TBLOCK rest(context.output.pointer, context.length);
  while (!rest.empty()) {
    const TBLOCK url = TBLOCKURL::FindUrl(rest, dico);
    if (url.empty()) break;
    if (!context.links.knows(url)) context.links.add(url, TBLOCK(HttpTxtHide));
  }
  return context.length;
}
