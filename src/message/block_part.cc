// The header of a MIME entity: it is split off and unfolded in place, and its
// Content- fields are read. Where type and boundary contradict each other a
// reading is chosen here, so that all that follows can go by contentClass
// alone: ccMultipart means a boundary to split at.
//
// Entry points: parse, parseHeader, findHeaderValue. Tested by
// block_part_test.cc.

#include "message/block_part.h"

#include <string.h>

#include "message/field_piece.h"

namespace {

// The rows of contentClass.
const char* const ContentTypes[] = {"text",        "multipart", "image",
                                    "application", "message",   "audio"};

// Bytes that a part's vectors grow by; the usual step of a vector would cost
// 128,000 for each part. Nothing is reserved ahead, since a message may have
// thousands of parts and most of them neither fields nor names.
const uint32_t kPartStep = 8 * sizeof(TBLOCK);

// The bit of a name in a set of 256; the same for names that are equal.
// REQUIRES: a name.
uint32_t NameBit(TBLOCK name) {
  const uint32_t kSpread = 37;
  const uint32_t first = TBLOCK::LowerConvTable[name[0]];
  const uint32_t last = TBLOCK::LowerConvTable[name[name.length - 1]];
  return (first + last * kSpread + name.length * 8) & 255;
}

// What stands between "<" and the ">" behind it; all of it without such a
// pair.
TBLOCK InsideAngles(TBLOCK value) {
  const int32_t open = value.findByte('<');
  if (open < 0) return value;
  const TBLOCK inside = value.from(static_cast<uint32_t>(open) + 1);
  const int32_t close = inside.findByte('>');
  return close < 0 ? value : inside.head(static_cast<uint32_t>(close));
}

// The name of a character set in `charset=NAME`: it ends at ";" or white space
// outside double quotes, since a mailer writes "reply-type=original" behind
// it, and loses its quotes only then.
TBLOCK CharsetName(TBLOCK parameter) {
  const int32_t equals = parameter.findByte('=');
  TBLOCK value = parameter.from(static_cast<uint32_t>(equals + 1));
  value.trim();
  bool quoted = false;
  uint32_t n = 0;
  for (; !value.empty() && n < value.length; n++) {
    if (value[n] == '"') quoted = !quoted;
    if (quoted) continue;
    if (value[n] == ';' || TBLOCK::Is(value[n], bitWhiteSpace)) break;
  }
  value.cut(n);
  TBLOCK::BlockUnquote(value, 1);
  return value;
}

}  // namespace

BLOCKPART::BLOCKPART() : BLOCKPART(nullptr) {}

BLOCKPART::BLOCKPART(BLOCKPART* parent)
    : root(parent ? parent->root : nullptr),
      fields(0),
      nameBuffer(0, 128),
      archiveNames(0),
      depth(parent ? parent->depth + 1 : 0) {
  fields.step = archiveNames.step = kPartStep;
  clear();
}

BLOCKPART::~BLOCKPART() {}

void BLOCKPART::clear() {
  attachKind = akNone;
  flags = 0;
  raw = header = content = decoded = TBLOCK();
  fields.clear();
  noteFieldNames();
  rawLength = 0;
  contentTypeField = dispositionField = transferField = TBLOCK();
  locationField = contentId = description = TBLOCK();
  contentClass = ccNone;
  name = fileName = boundary = type = subType = disposition = TBLOCK();
  charset.clear();
  unicode = 0;
  nameBuffer.empty();
  displayName = extension = TBLOCK();
  multipartType = kNoMultipart;
  width = height = 0;
  imageKind = 0;
  archiveText = "";
  archiveNames.clear();
}

void BLOCKPART::parse(TBLOCK text) {
  parseHeader(text);
  parsePart();
}

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
  noteFieldNames();
  if (anomaly) flags |= pfBadStructure;
  header = raw.head(static_cast<uint32_t>(offset));
  content = raw.from(static_cast<uint32_t>(offset));
  rawLength = content.length;
  parseHeaderFields();
}

void BLOCKPART::noteFieldNames() {
  memset(fieldNames, 0, sizeof fieldNames);
  for (int32_t i = 0; i < fields.count(); i++) {
    const TBLOCK line = fields.get(i);
    const int32_t colon = line.findByte(':');
    if (colon <= 0) continue;
    const uint32_t bit = NameBit(line.head(static_cast<uint32_t>(colon)));
    fieldNames[bit / 32] |= 1u << bit % 32;
  }
}

// A name with a ":" inside may be that of a field all the same.
bool BLOCKPART::lacksField(TBLOCK fieldName) const {
  if (fieldName.empty()) return false;
  const uint32_t bit = NameBit(fieldName);
  return !(fieldNames[bit / 32] & 1u << bit % 32) &&
         fieldName.findByte(':') < 0;
}

int32_t BLOCKPART::firstField(TBLOCK fieldName, TBLOCK& value) const {
  const int32_t n = lacksField(fieldName) ? 0 : fields.count();
  for (int32_t i = 0; i < n; i++) {
    value = fields.get(i);
    if (TakeFieldName(value, fieldName)) return i;
  }
  value.clear();
  return -1;
}

int32_t BLOCKPART::lastField(TBLOCK fieldName, TBLOCK& value) const {
  for (int32_t i = lacksField(fieldName) ? 0 : fields.count(); i-- > 0;) {
    value = fields.get(i);
    if (TakeFieldName(value, fieldName)) return i;
  }
  value.clear();
  return -1;
}

int32_t BLOCKPART::headerFieldIndex(const char* fieldName,
                                    TBLOCK& value) const {
  const int32_t i = lastField(TBLOCK(fieldName), value);
  if (i < 0) return -1;
  value.trim();
  value.stripQuotes();
  return i;
}

TBLOCK BLOCKPART::findHeaderValue(const char* fieldName) const {
  TBLOCK value;
  headerFieldIndex(fieldName, value);
  return value;
}

void BLOCKPART::parseHeaderFields() {
  contentTypeField = findHeaderValue("content-type");
  dispositionField = findHeaderValue("content-disposition");
  transferField = findHeaderValue("content-transfer-encoding");
  locationField = findHeaderValue("content-location");
  contentId = InsideAngles(findHeaderValue("content-id"));
  if (!contentTypeField.empty()) parseTypeField(contentTypeField);
  if (!dispositionField.empty()) parseDispositionField(dispositionField);
}

// The first row that is a prefix, so that "textual" is text.
void BLOCKPART::parseContentType() {
  for (contentClass = 0; contentClass < ccOther; contentClass++)
    if (type.begins(ContentTypes[contentClass])) return;
}

void BLOCKPART::parseTypeField(TBLOCK value) {
  type = NextPiece(value, ';');
  parseContentType();
  while (!value.empty()) parseTypeParameter(NextPiece(value, ';'));

  // Too deep: with nothing to split at this stays one leaf.
  if (depth > kMaxMimeDepth) boundary.clear();
  if (contentClass == ccOther && type.ends("/html")) contentClass = ccText;
  const bool isMultipart = contentClass == ccMultipart;
  if (isMultipart == !boundary.empty()) return;
  flags |= pfBadStructure;
  contentClass = isMultipart ? ccText : ccMultipart;
}

// Of a parameter that stands there twice the last one counts.
void BLOCKPART::parseTypeParameter(TBLOCK piece) {
  TBLOCK value = piece;
  if (contentClass == ccOther && TBLOCK::BlockToken(value, "type", '=')) {
    type = value;
    parseContentType();
  } else if (TBLOCK::BlockToken(value, "boundary", '=')) {
    boundary = value;
  } else if (TBLOCK::BlockToken(value, "report-type", '=')) {
    if (root) root->reportType = value;
  } else if (TBLOCK::BlockToken(value, "charset", '=')) {
    charset.setName(CharsetName(piece));
  } else if (TBLOCK::BlockToken(value, "name", '=')) {
    name = value;
  }
}

void BLOCKPART::parseDispositionField(TBLOCK value) {
  disposition = NextPiece(value, ';');
  if (disposition.equals("attachment")) flags |= pfAttachment;
  if (disposition.equals("inline")) flags |= pfInline;
  bool quotedSeen = false;
  while (!value.empty()) {
    TBLOCK piece = NextPiece(value, ';');
    int quoted;
    if (TBLOCK::BlockToken(piece, "filename", '=', quoted)) {
      fileName = piece;
      if (quoted) quotedSeen = true;
    }
    // Also when the name comes later: a mark of its order, not of its absence.
    if (!quotedSeen) flags |= pfUnquotedFileName;
  }
}
