// The MIME tree on arbitrary text: nothing that it keeps may point outside of
// the text, no body may be chosen that is none of its parts, and decoding the
// parts that are not bodies must be safe as well.

#include <stdint.h>
#include <string.h>

#include <memory>

#include "message/block_part.h"

namespace {

void CheckInside(TBLOCK view, TBLOCK text) {
  if (view.empty()) return;
  if (view.pointer < text.pointer || view.end() > text.end()) __builtin_trap();
}

void CheckPart(const BLOCKPART& part, TBLOCK text) {
  const TBLOCK views[] = {
      part.raw,           part.header,           part.content,
      part.decoded,       part.contentTypeField, part.dispositionField,
      part.transferField, part.locationField,    part.contentId,
      part.name,          part.fileName,         part.boundary,
      part.type,          part.subType,          part.disposition,
      part.charset.name};
  for (const TBLOCK& view : views) CheckInside(view, text);
  for (int32_t i = 0; i < part.fields.count(); i++)
    CheckInside(part.fields.get(i), text);
  CheckInside(part.displayName, part.nameBuffer.view());
  CheckInside(part.extension, part.displayName);
  if (part.contentClass < ccNone || part.contentClass > ccOther ||
      part.content.length > part.rawLength)
    __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const uint32_t n = static_cast<uint32_t>(size);
  const std::unique_ptr<unsigned char[]> copy(new unsigned char[n]);
  if (n) memcpy(copy.get(), bytes, n);
  const TBLOCK text(copy.get(), n);
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
    if (part->decodeContent().pointer != body.pointer) __builtin_trap();
  }
  for (const BLOCKPART* choice : chosen) found -= choice != nullptr;
  if (found != 0 || message.parts.len() > kMaxParts) __builtin_trap();
  CheckPart(message, text);
  for (int32_t i = 0; i < message.contentTypes.count(); i++)
    CheckInside(message.contentTypes.get(i), text);
  message.clear();
  return 0;
}
