// Plain-text bodies: a copy without what is no text of the writer's own, and
// the URLs. Mail addresses in angle brackets look like tags and are kept; tags
// that a mailer sent as plain text go. Entry: QmTextParse. Tested by
// text_parse_test.cc.

#include "content/text_parse.h"

#include <string.h>

namespace {

// What some mail programs write in the place of an attached message.
const char kMessageMark[] = "<<message.txt>>";
// Bytes of an address in brackets.
const int32_t kMaxBracketed = 320;
// Bytes of a tag that tell whether it is known: no known name is longer.
const uint32_t kTagHead = 18;

struct TEXTCOPIER {
  TBLOCK rest;  // of the source
  unsigned char* out;
  unsigned char* const outEnd;
  TTEXTCONTEXT& context;
  THITEM tag;
  const unsigned char* bracketEnd;  // first ">" or blank at or behind where
                                    // it was looked for
  const unsigned char* tagBound;    // where a tag that begins ahead of it ends
                                    // at the latest: behind the first ">"
  bool lineStart;

  void write(TBLOCK text);
  bool takeMark();
  bool takeAddress();
  TBLOCK tagRoom();
  bool takeTag();
  void takePlain();
  void takeByte();
};

void TEXTCOPIER::write(TBLOCK text) {
  const size_t room = static_cast<size_t>(outEnd - out);
  const size_t n = text.length < room ? text.length : room;
  if (n == 0) return;
  memcpy(out, text.pointer, n);
  out += n;
}

bool TEXTCOPIER::takeMark() {
  const TBLOCK mark = rest.head(sizeof kMessageMark - 1);
  if (!mark.equals(kMessageMark)) return false;
  write(mark);
  rest.skip(mark.length);
  lineStart = false;
  return true;
}

bool TEXTCOPIER::takeAddress() {
  const unsigned char* const end = rest.end();
  if (bracketEnd < rest.pointer) bracketEnd = rest.pointer;
  while (bracketEnd < end && *bracketEnd != '>' &&
         !TBLOCK::Is(*bracketEnd, bitWhiteSpace))
    bracketEnd++;
  if (bracketEnd == end || *bracketEnd != '>' ||
      bracketEnd - rest.pointer > kMaxBracketed)
    return false;
  const TBLOCK address =
      rest.head(static_cast<uint32_t>(bracketEnd - rest.pointer) + 1);
  if (address.findByte('@') < 0) return false;
  write(address);
  rest.skip(address.length);
  lineStart = false;
  return true;
}

// What a tag that begins here may take: through the next ">", all when there
// is none. A reader of plain text sees whatever stands behind it, and so
// neither an element nor an open quote may reach further. What is known to be
// absent is so as far as the bound.
TBLOCK TEXTCOPIER::tagRoom() {
  if (rest.pointer >= tagBound) {
    const int32_t at = rest.findByte('>');
    tagBound = at < 0 ? rest.end() : rest.pointer + at + 1;
    tag.flags = 0;
  }
  return rest.head(static_cast<uint32_t>(tagBound - rest.pointer));
}

// A known tag goes, and never the text that it encloses. The name is looked at
// first: a tag that is not known is read again from each "<" in it, and so it
// must not be searched for its end.
bool TEXTCOPIER::takeTag() {
  TBLOCK head = rest.head(kTagHead);
  THITEM probe;
  ClearHtmlItem(probe, 0);
  ParseTagItem(head, probe);
  if (probe.tag == htUnknown || probe.tag == htOColon) return false;
  TBLOCK room = tagRoom();
  ClearHtmlItem(tag, tag.flags);
  ParseTagItem(room, tag);
  rest.skip(tag.block.length);
  context.tagCount++;
  if (tag.type == hitOpenTag && tag.tag == htHTML) context.isHtml = true;
  return true;
}

// The bytes for which there is more to do than copying.
struct MARKEDBYTES {
  bool is[256];

  constexpr MARKEDBYTES() : is() {
    for (const char* p = "<>|\r\n\xA0"; *p; p++)
      is[static_cast<unsigned char>(*p)] = true;
  }
};
constexpr MARKEDBYTES kMarked;

// The bytes up to the next that is marked.
void TEXTCOPIER::takePlain() {
  uint32_t n = 0;
  while (n < rest.length && !kMarked.is[rest[n]]) n++;
  if (n == 0) return;
  write(rest.head(n));
  rest.skip(n);
  lineStart = false;
}

void TEXTCOPIER::takeByte() {
  const unsigned char byte = rest[0];
  const bool quoteMark = byte == '|' || byte == '>';
  if (!quoteMark || !lineStart) {
    write(byte == 0xA0 ? TBLOCK(" ") : rest.head(1));
    lineStart = byte == '\r' || byte == '\n';
  }
  rest.skip(1);
}

}  // namespace

void TTEXTCONTEXT::clear() {
  length = 0;
  output.clear();
  links.clear();
  tagCount = 0;
  hiddenUrlCount = 0;
  isHtml = false;
}

void TTEXTCONTEXT::addUrl(TBLOCK url) {
  while (!url.empty() && memchr("\"<=>", url[url.length - 1], 4)) url.length--;
  uint32_t n = 0;
  for (uint32_t i = 0; i < url.length; i++)
    if (url[i] > 0x20) url.pointer[n++] = url[i];
  if (n == 0) return;
  memset(url.pointer + n, ' ', url.length - n);
  url.cut(n);
  links.add(DecodeUrl(url, hiddenUrlCount), TBLOCK());
}

uint32_t QmTextParse(TBLOCK src, TBLOCK dest, TTEXTCONTEXT& context,
                     REGEXPOOL* /*pool*/, const TQMDICO* dico) {
  context.clear();
  context.output = dest;
  if (src.empty()) return 0;
  TEXTCOPIER copier = {src,      dest.pointer, dest.end(),  context,
                       THITEM(), src.pointer,  src.pointer, true};
  ClearHtmlItem(copier.tag, 0);
  while (!copier.rest.empty()) {
    const bool bracket = copier.rest[0] == '<';
    if (!bracket ||
        !(copier.takeMark() || copier.takeAddress() || copier.takeTag()))
      copier.takeByte();
    copier.takePlain();
  }
  context.length = static_cast<uint32_t>(copier.out - dest.pointer);
  while (true) {
    const TBLOCK url = TBLOCKURL::FindUrl(src, dico);
    if (url.empty()) return context.length;
    context.addUrl(url);
  }
}
