// The MIME tree. Tested by block_part_test.cc.

#include "message/block_part.h"

BLOCKPART::BLOCKPART() : flags(0), fields(64), rawLength(0) {}

BLOCKPART::~BLOCKPART() {}

void BLOCKPART::clear() {
  flags = 0;
  raw.clear();
  header.clear();
  fields.clear();
  content.clear();
  rawLength = 0;
  type.clear();
}

// What of a piece is parsed. A leading blank line means that there is no
// header. Leading white space is dropped only ahead of what is clearly a
// header, so that text which is none keeps its first spaces; `block` itself
// is trimmed in any case but the first.
TBLOCK BLOCKPART::trimPart(TBLOCK& block) {
  if (block.empty() || block[0] == '\r' || block[0] == '\n') return block;
  const TBLOCK untrimmed = block;
  block.trim();
  if (block.begins("content-") || block.begins("received")) return block;
  return untrimmed;
}

void BLOCKPART::parseHeader(TBLOCK text) {
  clear();
  raw = trimPart(text);
  int anomaly = 0;
  const int offset = TBLOCK::BlockParseHeader(raw, fields, 1, anomaly);
  if (anomaly) flags |= pfBadStructure;
  header = raw.head(static_cast<uint32_t>(offset));
  content = raw.from(static_cast<uint32_t>(offset));
  rawLength = content.length;
}

BLOCKMSG::BLOCKMSG(REGEXPOOL* poolToUse)
    : textPart(nullptr), embeddedPart(nullptr), pool(poolToUse) {}

BLOCKMSG::~BLOCKMSG() {
  clear();
}

void BLOCKMSG::clear() {
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
  if (list != &parts) return 0;
  const BLOCKPART* part = static_cast<const BLOCKPART*>(item);
  if (part == textPart) textPart = nullptr;
  if (part == embeddedPart) embeddedPart = nullptr;
  if (part != this) delete part;
  return 1;
}
