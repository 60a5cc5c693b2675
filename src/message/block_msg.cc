// The message. Tested by block_part_test.cc.

#include "message/block_part.h"

BLOCKMSG::BLOCKMSG(REGEXPOOL* poolToUse)
    : fileBuffer(0, 0),
      htmlPart(nullptr),
      textPart(nullptr),
      embeddedPart(nullptr),
      pool(poolToUse),
      contentTypes(16) {
  root = this;
}

BLOCKMSG::~BLOCKMSG() {
  clear();
}

void BLOCKMSG::clear() {
  attachments.purge(this);
  parts.purge(this);
  BLOCKPART::clear();
  textPart = nullptr;
  embeddedPart = nullptr;
}

void BLOCKMSG::parseHeader(TBLOCK text) {
  if (flags & pfParsed) return;
  clear();
  while (!text.empty() && text[text.length - 1] == 0) text.length--;
  BLOCKPART::parseHeader(text);
}

void BLOCKMSG::parsePart() {
  flags |= pfParsed;
}

TBLOCK BLOCKMSG::getTextBlock() const {
  return textPart ? textPart->content : TBLOCK();
}

int BLOCKMSG::yes2Remove(OLIST* list, const void* item, int /*index*/) {
  if (list == &attachments) return 1;
  if (list != &parts) return 0;
  const BLOCKPART* part = static_cast<const BLOCKPART*>(item);
  if (part == textPart) textPart = nullptr;
  if (part == htmlPart) htmlPart = nullptr;
  if (part == embeddedPart) embeddedPart = nullptr;
  if (part != this) delete part;
  return 1;
}
