// The MIME tree as one line. Tested by way of block_part_test.cc.

#include "dump/dump.h"
#include "message/block_part.h"

namespace {

struct FlagName {
  uint32_t bit;
  const char* text;
};

// pfParsed says nothing here: all are.
const FlagName kFlagNames[] = {
    {pfAttachment, "attachment"},
    {pfRelatedChild, "relatedChild"},
    {pfInline, "inline"},
    {pfReport, "report"},
    {pfBadStructure, "badStructure"},
    {pfNoTerminator, "noTerminator"},
    {pfDecoded, "decoded"},
    {pfNestedAlternative, "nestedAlternative"},
    {pfBase64Checked, "base64Checked"},
    {pfNoBlankBeforeBoundary, "noBlankBeforeBoundary"},
    {pfMimePreamble, "mimePreamble"},
    {pfUnquotedFileName, "unquotedFileName"},
};

std::string FlagsText(uint32_t flags) {
  std::string out;
  for (const FlagName& flag : kFlagNames)
    if (flags & flag.bit)
      out += (out.empty() ? "" : ",") + std::string(flag.text);
  return "[" + out + "]";
}

// The place of a choice among the parts; "-" without one, "?" when it is none
// of them.
std::string PlaceText(const BLOCKMSG& message, const BLOCKPART* chosen) {
  if (!chosen) return "-";
  OITER walk(&message.parts);
  int place = 0;
  for (const void* item; (item = walk.next()); place++)
    if (item == chosen) return std::to_string(place);
  return "?";
}

void AddText(std::string& out, const char* label, TBLOCK text) {
  if (!text.empty()) out += std::string(" ") + label + "=" + EscapeBytes(text);
}

std::string HeadText(const BLOCKPART& part) {
  return (part.type.empty() ? "-" : EscapeBytes(part.type)) + " " +
         std::to_string(part.contentClass) + FlagsText(part.flags);
}

std::string PartText(const BLOCKPART& part) {
  std::string out = HeadText(part);
  AddText(out, "encoding", part.transferField);
  AddText(out, "charset", part.charset.name);
  AddText(out, "name", part.name);
  AddText(out, "filename", part.fileName);
  AddText(out, "display", part.displayName);
  if (part.attachKind) out += " kind=" + std::to_string(part.attachKind);
  if (part.imageKind) {
    out += std::string(" image=") + part.imageKind;
    out += std::to_string(part.width) + "x" + std::to_string(part.height);
  }
  out += " size=" + std::to_string(part.rawLength);
  if (part.content.length != part.rawLength)
    out += ">" + std::to_string(part.content.length);
  return out;
}

}  // namespace

// "type class[flags] text=0 html=1 embedded=- {part}{part}"; a part begins in
// the same way, and its size is that of the body and, when it has another
// length by now, of what it became.
std::string DumpTree(const BLOCKMSG& message) {
  std::string out = HeadText(message);
  out += " text=" + PlaceText(message, message.textPart);
  out += " html=" + PlaceText(message, message.htmlPart);
  out += " embedded=" + PlaceText(message, message.embeddedPart) + " ";
  OITER walk(&message.parts);
  while (const void* item = walk.next())
    out += "{" + PartText(*static_cast<const BLOCKPART*>(item)) + "}";
  return out;
}
