// One MIME entity. Tested by block_part_test.cc.

#include "message/block_part.h"

BLOCKPART::BLOCKPART()
    : root(nullptr),
      fields(64),
      nameBuffer(0, 128),
      archiveText(64),
      archiveNames(0),
      depth(0) {
  clear();
}

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

TBLOCK BLOCKPART::trimPart(TBLOCK& block) {
  if (block.empty() || block[0] == '\r' || block[0] == '\n') return block;
  const TBLOCK untrimmed = block;
  block.trim();
  if (block.begins("content-") || block.begins("received")) return block;
  return untrimmed;
}

TBLOCK BLOCKPART::decodeContent() {
  return content;
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
