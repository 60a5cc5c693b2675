// The pass over an HTML body, with outputs of any size. Views must lie in the
// texts that they are of, counters and lists within their bounds, and a second
// pass over the same bytes must leave the same behind, whatever the context
// was used for before.

#include <stdint.h>
#include <string.h>

#include <memory>
#include <string>

#include "content/html_parse.h"
#include "fuzz_util.h"
#include "rules/qm_dico.h"

static void Add(std::string& out, TBLOCK text) {
  out += std::to_string(text.empty() ? 0 : text.length) + ":";
  if (!text.empty())
    out.append(reinterpret_cast<const char*>(text.pointer), text.length);
}

static void Add(std::string& out, const TBLOCKVECT& list) {
  for (int32_t i = 0; i < list.count(); i++) Add(out, list.get(i));
  out += ";";
}

static void Add(std::string& out, const STRVECT& list) {
  for (int32_t i = 0; i < list.count(); i++) Add(out, list.at(i)->view());
  out += ";";
}

// All that can be read afterwards; reads each byte of it.
static std::string Dump(const THTMLCONTEXT& c) {
  std::string out;
  Add(out, TBLOCK(c.output.pointer, c.length));
  const int32_t* const first = &c.imgCount;
  for (const int32_t* n = first; n <= &c.maxImgHeightBeforeText; n++)
    out += std::to_string(*n) + ",";
  for (int32_t i = 0; i < hmCount; i++) Add(out, c.metaValues[i]);
  for (int32_t i = 0; i < c.links.count(); i++) {
    const TLINKRECORD* link = c.links.get(i);
    Add(out, link->url.url);
    Add(out, link->url.domain);
    Add(out, link->prevText);
    Add(out, *link->texts);
  }
  for (int32_t i = 0; i < c.images.count(); i++) {
    Add(out, c.images.get(i)->url.file);
    Add(out, c.images.get(i)->href.url);
    Add(out, c.images.get(i)->alt);
  }
  const STR* const texts[] = {&c.htmlPattern, &c.tablePattern, &c.stylePattern};
  for (const STR* text : texts) Add(out, text->view());
  const TBLOCKVECT* const lists[] = {
      &c.linkWords,        &c.altTexts,   &c.invisibleTexts,
      &c.comments,         &c.tagTexts,   &c.elementNames,
      &c.backgroundImages, &c.classNames, &c.fontNames};
  for (const TBLOCKVECT* list : lists) Add(out, *list);
  Add(out, c.imgSizes);
  Add(out, c.tagParams);
  Add(out, c.title);
  Add(out, c.charset.name);
  Add(out, c.bodyBackground);
  return out + std::to_string(c.flags) + "," + std::to_string(c.badTags.count);
}

static void CheckBounds(const THTMLCONTEXT& c) {
  Check(c.htmlPattern.len() <= kMaxHtmlPattern);
  Check(c.tablePattern.len() <= kMaxTablePattern);
  Check(c.imgSizes.count() <= kMaxImgSizes);
  Check(c.tagTexts.count() <= kMaxTagTexts);
  Check(c.tagParams.count() <= kMaxTagParams);
  Check(c.tableDepth >= 0 && c.tableDepth <= kMaxTableStack);
  Check(c.imgInLinkCount <= 2 * c.imgCount);
  Check(!(c.flags & hcfAnchor));
}

static std::string Parse(const uint8_t* bytes, uint32_t n, uint32_t room,
                         THTMLCONTEXT& c, const TQMDICO* dico) {
  const HeapText source(bytes, n);
  const std::unique_ptr<unsigned char[]> output(new unsigned char[room]);
  memset(output.get(), '#', room);
  const uint32_t length =
      QmHtmlParse(source.view(), TBLOCK(output.get(), room), c, nullptr, dico);
  Check(length == c.length && length <= room);
  for (uint32_t i = 0; i < room - length && i < 64; i++)
    Check(length > 0 || output[i] == '#');
  CheckBounds(c);
  std::string dump = Dump(c);
  c.clear();
  return dump;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const TQMDICO* const dico = new TQMDICO(nullptr, nullptr);
  static THTMLCONTEXT* const used = new THTMLCONTEXT;
  if (size < 1) return 0;
  const uint32_t n = static_cast<uint32_t>(size) - 1;
  const uint32_t room = bytes[0] & 1 ? n + 128 : bytes[0] * 4u;
  const TQMDICO* const known = bytes[0] & 2 ? dico : nullptr;
  const std::unique_ptr<THTMLCONTEXT> fresh(new THTMLCONTEXT);
  Check(Parse(bytes + 1, n, room, *used, known) ==
        Parse(bytes + 1, n, room, *fresh, known));
  return 0;
}
