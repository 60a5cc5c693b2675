// The MIME tree on arbitrary text: nothing that it keeps may point outside of
// the text, no body may be chosen that is none of its parts, and decoding the
// parts that are not bodies must be safe as well.

#include <stdint.h>

#include "fuzz_util.h"
#include "message/block_part.h"

namespace {

void CheckPart(const BLOCKPART& part, TBLOCK text) {
  const TBLOCK views[] = {
      part.raw,           part.header,           part.content,
      part.decoded,       part.contentTypeField, part.dispositionField,
      part.transferField, part.locationField,    part.contentId,
      part.name,          part.fileName,         part.boundary,
      part.type,          part.subType,          part.disposition,
      part.charset.name};
  for (const TBLOCK& view : views) Check(IsInside(view, text));
  for (int32_t i = 0; i < part.fields.count(); i++)
    Check(IsInside(part.fields.get(i), text));
  Check(IsInside(part.displayName, part.nameBuffer.view()));
  Check(IsInside(part.extension, part.displayName));
  Check(part.contentClass >= ccNone && part.contentClass <= ccOther &&
        part.content.length <= part.rawLength);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  const TBLOCK text = copy.view();
  BLOCKMSG message(nullptr);
  message.parse(text);
  const BLOCKPART* chosen[] = {message.textPart, message.htmlPart,
                               message.embeddedPart};
  uint32_t found = 0;
  OITER walk(&message.parts);
  while (const void* item = walk.next()) {
    BLOCKPART* part = static_cast<BLOCKPART*>(const_cast<void*>(item));
    for (const BLOCKPART* choice : chosen) found += choice == part;
    CheckPart(*part, text);
    const TBLOCK body = part->decodeContent();
    CheckPart(*part, text);
    Check(part->decodeContent().pointer == body.pointer);
  }
  for (const BLOCKPART* choice : chosen) found -= choice != nullptr;
  Check(found == 0 && message.parts.len() <= kMaxParts);
  CheckPart(message, text);
  for (int32_t i = 0; i < message.contentTypes.count(); i++)
    Check(IsInside(message.contentTypes.get(i), text));
  message.clear();
  return 0;
}
