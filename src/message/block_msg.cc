// The message: the root of its tree, which holds the leaves, and the choice of
// the bodies among them. The choice goes from what a sender declares properly
// to whatever may still be meant as a text, since a spammer's mail often
// declares nothing properly.
//
// Entry points: parse, parseHeader and parsePart, parseFromFile. Tested by
// block_msg_test.cc.

#include "message/block_part.h"

#include "message/part_iter.h"

namespace {

const char kEmbeddedName[] = "message.txt";

// What is trimmed from a decoded body.
bool IsBlankOrNul(unsigned char byte) {
  return byte == 0 || TBLOCK::Is(byte, bitWhiteSpace);
}

void TrimBody(TBLOCK& body) {
  while (!body.empty() && IsBlankOrNul(body[body.length - 1])) body.length--;
  while (!body.empty() && IsBlankOrNul(body[0])) body.skip(1);
}

void DecodeBody(BLOCKPART* part) {
  if (!part) return;
  part->decodeContent();
  TrimBody(part->decoded);
}

// What a part must be like to be chosen; the searches differ in this alone.
enum BODYTEST {
  btPlain,      // "text/plain"
  btHtml,       // "text/html"
  btTextClass,  // any text, or no type field
  btNoClass,    // no type, or a multipart that held nothing
  btAttached    // an attachment, "/plain" or "/html" whatever its class
};

bool IsBody(const BLOCKPART& part, BODYTEST test) {
  const bool attached = (part.flags & pfAttachment) != 0;
  if (test == btAttached)
    return attached && (part.type.ends("/plain") || part.type.ends("/html"));
  if (attached || (part.flags & pfReserved)) return false;
  switch (test) {
    case btPlain:
      return part.type.equals("text/plain");
    case btHtml:
      return part.type.equals("text/html");
    case btTextClass:
      return part.contentClass == ccText || part.contentTypeField.empty();
    default:
      return part.contentClass == ccNone;
  }
}

// The first of the parts that passes and is not `other`; or null.
BLOCKPART* FindBody(const OLIST& parts, BODYTEST test, BLOCKPART* other) {
  PARTITER walk(parts);
  while (BLOCKPART* part = walk.next())
    if (part != other && IsBody(*part, test)) return part;
  return nullptr;
}

}  // namespace

BLOCKMSG::BLOCKMSG(REGEXPOOL* poolToUse)
    : fileBuffer(0, BLOCK::_DEFALLOCSIZE),
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

// fileBuffer stays: it may be what is about to be parsed.
void BLOCKMSG::clear() {
  attachments.purge(this);
  parts.purge(this);
  BLOCKPART::clear();
  htmlPart = textPart = embeddedPart = nullptr;
  reportType.clear();
  dsn.clear();
  contentTypes.clear();
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

void BLOCKMSG::parse(TBLOCK text) {
  parseHeader(text);
  parsePart();
}

void BLOCKMSG::parseHeader(TBLOCK text) {
  if (flags & pfParsed) return;
  clear();
  while (!text.empty() && text[text.length - 1] == 0) text.length--;
  BLOCKPART::parseHeader(text);
}

int BLOCKMSG::parseFromFile(const char* path) {
  clear();
  if (!fileBuffer.loadFrom(path, 0, 0)) return 0;
  parse(fileBuffer.view());
  return 1;
}

void BLOCKMSG::parsePart() {
  // A second run would list every leaf twice.
  if (contentTypes.count() > 0) return;
  BLOCKPART::parsePart();
  if (contentClass != ccMultipart)
    parts.insert(static_cast<BLOCKPART*>(this), 1);
  partLocate();
  findEmbedded();
  findHtmlInText();
  attachments.purge(this);
  PARTITER walk(parts);
  while (const BLOCKPART* part = walk.next())
    if (part->flags & (pfAttachment | pfInline)) attachments.insert(part, 1);
  parseReport();
}

void BLOCKMSG::partLocate() {
  textPart = FindBody(parts, btPlain, nullptr);
  htmlPart = FindBody(parts, btHtml, nullptr);
  if (!textPart) textPart = FindBody(parts, btTextClass, htmlPart);
  if (!textPart && !htmlPart) textPart = FindBody(parts, btNoClass, nullptr);
  // A single part of a class of its own is the text, attachment or not.
  if (!textPart && parts.len() == 1 && contentClass == ccOther) textPart = this;
  if (!textPart && !htmlPart) {
    BLOCKPART* part = FindBody(parts, btAttached, nullptr);
    if (part) (part->type.ends("/plain") ? textPart : htmlPart) = part;
  }
  DecodeBody(textPart);
  DecodeBody(htmlPart);
}

// A forwarding agent puts the mail into a file and says so in the text.
void BLOCKMSG::findEmbedded() {
  if (parts.len() != 2 || !textPart || parts.first->item != textPart) return;
  if (!textPart->decoded.ends("<<message.txt>>")) return;
  const void* second = parts.first->next->item;
  BLOCKPART* part = static_cast<BLOCKPART*>(const_cast<void*>(second));
  if (part->displayName.equals(kEmbeddedName)) embeddedPart = part;
}

// HTML under another name. Looks at `content`, not at the trimmed view, on
// purpose: only line ends may stand ahead of it.
void BLOCKMSG::findHtmlInText() {
  if (!textPart || htmlPart) return;
  TBLOCK text = textPart->content;
  while (!text.empty() && (text[0] == '\r' || text[0] == '\n')) text.skip(1);
  if (text.begins(TBLOCK("\xFF\xFE"), TBLOCK::NoConvTable)) unicode = 1;
  if (!text.begins("<html>") && !text.begins("<!doctype")) return;
  htmlPart = textPart;
  textPart = nullptr;
}

void BLOCKMSG::parseReport() {
  PARTITER walk(parts);
  while (const BLOCKPART* part = walk.next()) {
    if (!part->contentTypeField.begins("message/delivery-status")) continue;
    flags |= pfReport;
    dsn.setContent(part->content);
    return;
  }
}

TBLOCK BLOCKMSG::getTextBlock() const {
  return textPart ? textPart->content : TBLOCK();
}

TBLOCK BLOCKMSG::getHtmlBlock() const {
  return htmlPart ? htmlPart->content : TBLOCK();
}
