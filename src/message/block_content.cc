// The body of a MIME entity. A multipart is split at its boundary lines, and
// each piece is parsed as an entity in turn: its leaves go straight into the
// list of the message. A leaf is looked at for what it really is, by its name,
// its first bytes and its uuencoded or base64 text, before anything is decoded;
// decoding waits until somebody asks, and is done in place.
//
// Every level of multiparts reads its text once, so that a message costs at
// most its length times kMaxMimeDepth. Entry points: parsePart, decodeContent.
// Tested by block_part_test.cc.

#include <new>

#include "message/block_part.h"

namespace {

// The rows of multipartType.
const char* const kMultipartTypes[] = {"mixed", "related", "alternative",
                                       "report", "appledouble"};

void SkipLineEnds(TBLOCK& text) {
  while (!text.empty() && (text[0] == '\r' || text[0] == '\n')) text.skip(1);
}

TBLOCK NextWord(TBLOCK& rest) {
  rest.trimLeft(bitWordSep);
  const TBLOCK word = rest.head(rest.lengthUntil(bitWordSep));
  rest.skip(word.length);
  return word;
}

bool IsOctal(TBLOCK text) {
  for (uint32_t i = 0; i < text.length; i++)
    if (text[i] < '0' || text[i] > '7') return false;
  return !text.empty();
}

bool BeginsWithAny(TBLOCK text, const char* const* prefixes, int32_t count) {
  for (int32_t i = 0; i < count; i++)
    if (text.begins(prefixes[i])) return true;
  return false;
}

// Moves the text together over its white space, and blanks what that leaves
// free, since the message as a whole is looked at as well. WRITES.
void Compact(TBLOCK& text) {
  uint32_t out = 0;
  for (TBLOCK rest = text; !rest.empty();) {
    const uint32_t n = rest.lengthUntil(bitWhiteSpace);
    memmove(text.pointer + out, rest.pointer, n);
    out += n;
    rest.skip(n);
    rest.trimLeft();
  }
  memset(text.pointer + out, ' ', text.length - out);
  text.length = out;
}

}  // namespace

void BLOCKPART::parsePart() {
  if (root) root->contentTypes.add(type, 1, 1);
  if (contentClass == ccMultipart)
    parseMultiPart();
  else if (root && charset.name.empty())
    charset.setName(root->charset.name);
  flags |= pfParsed;
  decodeName();
  if (_checkUUencoded(content, displayName)) {
    // Decoding overwrites the line that the name stands in.
    nameBuffer.empty();
    nameBuffer.add(displayName);
    displayName = nameBuffer.view();
    if (!displayName.empty()) flags |= pfAttachment;
  }
  const int32_t dot = displayName.findLastByte('.');
  extension =
      dot < 0 ? TBLOCK() : displayName.from(static_cast<uint32_t>(dot) + 1);
  extension.trim();
  if (contentClass != ccMultipart && transferField.begins("base64"))
    checkBase64();
  findAttachKind();
  if (root && charset.name.equals("unicode")) root->unicode = 1;
}

void BLOCKPART::parseMultiPartType() {
  const TBLOCK prefix("multipart/");
  if (!type.begins(prefix)) return;
  subType = type.from(prefix.length);
  multipartType = kUnknownMultipart;
  int32_t row = 0;
  for (const char* known : kMultipartTypes) {
    if (subType.equals(known)) multipartType = row;
    row++;
  }
}

int32_t BLOCKPART::parseMultiPart() {
  parseMultiPartType();
  // One without a body stays a multipart, on purpose.
  if (content.empty() || boundary.empty() || !root) return 0;
  if (content.begins("This is a multi-part message in MIME format"))
    root->flags |= pfMimePreamble;
  TBLOCK rest = content;
  TBLOCK piece;
  TBLOCK::BlockFindNextPart(rest, piece, boundary);
  int32_t taken = 0;
  while (!rest.empty() && root->parts.len() < kMaxParts) {
    int result;
    if (root->parts.len() == kMaxParts - 1) {
      // No boundary is looked for any more: the last leaf takes all the rest.
      piece = rest;
      rest.skip(rest.length);
      result = 1;
    } else {
      result = TBLOCK::BlockFindNextPart(rest, piece, boundary);
    }
    // So that the blank lines behind a closing boundary are no piece.
    piece.trimRight();
    if (!piece.empty()) taken += takePiece(piece, result);
  }
  // Nothing to be had from it as a multipart.
  if (taken == 0) contentClass = ccNone;
  return taken;
}

// Parses one piece; `result` is that of BlockFindNextPart. 1 when it, or what
// it consists of, is now in the message's list; 0 when it was dropped.
int32_t BLOCKPART::takePiece(TBLOCK piece, int result) {
  BLOCKPART* child = new (std::nothrow) BLOCKPART(this);
  if (!child) return 0;
  child->parse(piece);
  if (result == 2) root->flags |= pfNoBlankBeforeBoundary;
  if (result == -1 && child->contentClass == ccNone) {
    // Mostly the text behind the closing boundary.
    root->flags |= pfNoTerminator;
    if (!(child->flags & pfAttachment)) {
      delete child;
      return 0;
    }
  }
  if (child->contentClass == ccMultipart) {
    const char alternative[] = "multipart/alternative";
    if (child->contentTypeField.begins(alternative) &&
        root->contentTypeField.begins(alternative))
      root->flags |= pfNestedAlternative;
    delete child;
    return 1;
  }
  if (root->parts.insert(child, 1) < 0) {
    delete child;
    return 0;
  }
  if (contentTypeField.begins("multipart/related")) flags |= pfRelatedChild;
  return 1;
}

void BLOCKPART::decodeName() {
  const TBLOCK& encoded = name.empty() ? fileName : name;
  if (encoded.empty()) return;
  TCharset scratch;
  DecodeInlineCharset(encoded, &scratch, nameBuffer);
  displayName = nameBuffer.view();
}

int BLOCKPART::_checkUUencoded(TBLOCK text, TBLOCK& name) {
  SkipLineEnds(text);
  TBLOCK line = TBLOCK::BlockNextLine(text);
  const TBLOCK start("begin ");
  if (!line.begins(start)) return 0;
  line.skip(start.length);
  if (!IsOctal(NextWord(line))) return 0;
  line.skip(1);
  line.trim();
  name = line;
  return 1;
}

void BLOCKPART::checkBase64() {
  if (!TBLOCK::CheckBlockBase64(content, 0)) return;
  flags |= pfBase64Checked;
  Compact(content);
}

// Works on the coded text, which is compact.
bool BLOCKPART::findImage() {
  if (content.begins("R0lGOD")) {
    imageKind = 'G';
    unsigned char bytes[10];
    if (TBLOCK::BlockUnbase64Bytes(content.head(16), bytes, sizeof bytes)) {
      width = static_cast<uint32_t>(bytes[6] | bytes[7] << 8);
      height = static_cast<uint32_t>(bytes[8] | bytes[9] << 8);
    }
  } else if (content.begins("/9j/")) {
    imageKind = 'J';
    TBLOCK::Base64JpegSize(content, width, height);
  } else if (content.begins("iVBORw0KGgoAAAANSUhEUg")) {
    imageKind = 'P';
    TBLOCK::Base64PngSize(content, width, height);
  }
  return imageKind != 0;
}

// By the first bytes, in their base64 form, and by the name, which has the
// last word.
void BLOCKPART::findAttachKind() {
  static const char* const kArchives[] = {"UEsDBBQA", "UEswMFBL", "UmFyIRoH"};
  static const char* const kMp3[] = {"TEFNRTMuOT", "xBTUUzLjk3", "MQU1FMy45"};
  if ((flags & pfBase64Checked) && !findImage()) {
    if (extension.equals("zip") || BeginsWithAny(content, kArchives, 3))
      attachKind = akArchive;
    else if (content.begins("JVBERi0x"))
      attachKind = akPdf;
    else if (extension.equals("mp3") && BeginsWithAny(content, kMp3, 3))
      attachKind = akMp3;
  }
  if (extension.begins("htm"))
    attachKind = akHtml;
  else if (extension.equals("pdf"))
    attachKind = akPdf;
}

TBLOCK BLOCKPART::decodeContent() {
  if (flags & pfDecoded) return decoded;
  flags |= pfParsed;
  if (contentClass == ccMultipart) return decoded;
  if (contentTypeField.empty() && !(flags & pfBase64Checked)) {
    _decodeStuffAndUU();
    decoded = content;
  } else {
    decoded = content;
    if (type.begins("application/") && !extension.equals("eml") &&
        attachKind != akArchive)
      decoded.cut(kMaxDecodedApplication);
    // The bytes of a binary file are no characters.
    const bool binary =
        attachKind == akArchive || attachKind == akPdf || attachKind == akMp3;
    TBLOCK encoding = transferField;
    DecodeCharset(decoded, decoded, binary ? nullptr : &charset,
                  NextWord(encoding), flags & pfBase64Checked ? 1 : 0);
    content = decoded;
  }
  flags |= pfDecoded;
  return decoded;
}

bool BLOCKPART::contentStrPos(const char* text) {
  return decodeContent().find(TBLOCK(text), 0, TBLOCK::NoConvTable) >= 0;
}

// Text without a type: a uuencoded file is decoded when it is all there is;
// one that follows other text is cut off.
void BLOCKPART::_decodeStuffAndUU() {
  SkipLineEnds(content);
  TBLOCK uuName;
  if (_checkUUencoded(content, uuName)) {
    TBLOCK::DecodeUU(content);
    return;
  }
  for (TBLOCK rest = content; !rest.empty();) {
    const uint32_t start = content.length - rest.length;
    if (!_checkUUencoded(TBLOCK::BlockNextLine(rest), uuName)) continue;
    content.cut(start);
    return;
  }
}
