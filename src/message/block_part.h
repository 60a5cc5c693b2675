// BLOCKPART: one MIME entity; BLOCKMSG: the message, as the root of the tree.
//
// A part owns no message bytes but the decoded name of a file: every view
// points into the buffer that the tree was parsed from, which the parser edits
// in place (headers are unfolded, bodies decoded) and which must outlive the
// tree. Nothing here fails: what is malformed gets the best reading, and a
// flag records what had to be forgiven.
//
// The tree is flat: the leaves of all multiparts stand in `parts` of the root,
// in order, and a multipart is deleted once its pieces are taken.
//
// Bodies: block_part.cc (header of an entity), block_content.cc (its body and
// pieces), block_msg.cc (the message), archive.cc (listings of ZIP and RAR
// attachments).

#ifndef MESSAGE_BLOCK_PART_H_
#define MESSAGE_BLOCK_PART_H_

#include <stdint.h>

#include "base/block.h"
#include "base/olist.h"
#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "message/block_dsn.h"
#include "message/charset.h"

class BLOCKMSG;
class REGEXPOOL;

// Bits of BLOCKPART::flags. "Root" bits are set in the message only.
enum : uint32_t {
  pfAttachment = 0x0001,    // disposition, or a uuencoded file with a name
  pfRelatedChild = 0x0002,  // a "multipart/related" with a child
  pfInline = 0x0004,
  pfReserved = 0x0010,      // never set by the parser; excludes a part from
                            // the search for the bodies
  pfReport = 0x0020,        // root: there is a delivery-status part
  pfBadStructure = 0x0040,  // the header ended at a line that is none, or
                            // type and boundary contradict each other
  pfNoTerminator = 0x0080,  // root: a last piece without boundary and type
  pfDecoded = 0x0100,       // decodeContent has run
  pfParsed = 0x0200,        // parsePart has run
  pfNestedAlternative = 0x0400,      // root: one inside a root that is one too
  pfBase64Checked = 0x0800,          // the body is base64, and compacted
  pfNoBlankBeforeBoundary = 0x1000,  // root: some part did not end in CRLFCRLF
  pfMimePreamble = 0x2000,           // root: "This is a multi-part message..."
  pfUnquotedFileName = 0x4000        // a disposition parameter was passed while
                                     // no quoted "filename" had been seen
};

// BLOCKPART::attachKind.
enum : int32_t { akNone = 0, akArchive = 1, akPdf = 2, akMp3 = 3, akHtml = 4 };

// BLOCKPART::contentClass: -1 no type given, else the row of ContentTypes.
enum : int32_t {
  ccNone = -1,
  ccText = 0,
  ccMultipart = 1,
  ccImage = 2,
  ccApplication = 3,
  ccMessage = 4,
  ccAudio = 5,
  ccOther = 6
};

// BLOCKPART::multipartType; from 0 on the row in
// "mixed,related,alternative,report,appledouble".
enum : int32_t { kNoMultipart = -2, kUnknownMultipart = -1 };

// A multipart nested deeper than this is taken as a leaf. The root is 0.
const int32_t kMaxMimeDepth = 64;
// Leaves of one message; the last one takes what is left of its multipart.
const int32_t kMaxParts = 16384;
// Coded bytes that are kept of an "application/" part when it is decoded: its
// checks look at the start only.
const uint32_t kMaxDecodedApplication = 1024;

class BLOCKPART {
 public:
  int32_t attachKind;  // ak...: what the content was found to be
  uint32_t flags;      // pf... bits
  BLOCKMSG* root;      // the message; null only for a part that stands alone
  TBLOCK raw;          // the part as given, header and body
  TBLOCK header;       // header block; its length is the body's offset in raw
  TBLOCKVECT fields;   // the header lines, unfolded
  TBLOCK content;      // the body; the decoded one after decodeContent
  TBLOCK decoded;      // view of the decoded content
  uint32_t rawLength;  // bytes of the body before any decoding
  TBLOCK contentTypeField;
  TBLOCK dispositionField;
  TBLOCK transferField;
  TBLOCK locationField;
  TBLOCK contentId;      // without the angle brackets
  TBLOCK description;    // always empty
  int32_t contentClass;  // cc...
  TBLOCK name;           // parameter of the type
  TBLOCK fileName;       // parameter of the disposition
  TBLOCK boundary;
  TBLOCK type;     // as "text/plain"
  TBLOCK subType;  // of a multipart, what follows "multipart/"
  TBLOCK disposition;
  TCharset charset;
  int32_t unicode;        // root: 1 when a part is in "unicode", or the text
                          // begins with FF FE
  BLOCK nameBuffer;       // owns the bytes of displayName
  TBLOCK displayName;     // decoded file name
  TBLOCK extension;       // what follows its last ".", trimmed
  int32_t multipartType;  // kNoMultipart, kUnknownMultipart or a row
  uint32_t width;         // pixels; 0 when not known
  uint32_t height;
  char imageKind;           // 'G' GIF, 'J' JPEG, 'P' PNG, 0 none
  STR archiveText;          // listing of an archive: see parseZipPart
  TBLOCKVECT archiveNames;  // views into archiveText

  BLOCKPART();
  // Takes over the root of the parent; one level deeper.
  explicit BLOCKPART(BLOCKPART* parent);
  virtual ~BLOCKPART();
  BLOCKPART(const BLOCKPART&) = delete;
  BLOCKPART& operator=(const BLOCKPART&) = delete;

  // Zeroes every view and value, and empties vectors and name buffer; root and
  // depth stay.
  void clear();
  // parseHeader, then parsePart. WRITES to the text, as all of these do.
  void parse(TBLOCK text);
  void parseHeader(TBLOCK text);
  // The value of the last field of that name, without white space and one
  // enclosing pair of quotes; empty when there is none.
  TBLOCK findHeaderValue(const char* fieldName) const;
  // The same, with the field's index in `fields`, or -1.
  int32_t headerFieldIndex(const char* fieldName, TBLOCK& value) const;
  // Undoes transfer encoding and character set, once, and returns `decoded`.
  // Of a long "application/" part that is no archive and no message only the
  // first kMaxDecodedApplication bytes are kept. Archives, PDF and MP3 are
  // spared the character set. A multipart has no decoded content.
  TBLOCK decodeContent();
  // Whether the decoded content holds these bytes exactly.
  bool contentStrPos(const char* text);

  // Reads the file list of an archive from its local headers. archiveText:
  // "@" for ZIP or "!" for RAR, displayName with ":" as "_", ":", then entries
  // joined by ",", each a flag ("1" compressed) and the name with "," as "_".
  // archiveNames: of each entry what follows its last ".". WRITES nothing but
  // these two. Works on parts with attachKind akArchive.
  void parseZipPart();
  // The RAR half of it.
  void parseRarPart();

  // Index of the first or the last field of that name, with what stands behind
  // its ":"; or -1, with `value` empty.
  int32_t firstField(TBLOCK fieldName, TBLOCK& value) const;
  int32_t lastField(TBLOCK fieldName, TBLOCK& value) const;
  // To be called by whoever has changed `fields`: notes their names.
  void noteFieldNames();

  // What of a piece is parsed. A leading blank line means that there is no
  // header. Leading white space is dropped only ahead of what is clearly a
  // header, so that text which is none keeps its first spaces; `block` itself
  // is trimmed in any case but the first.
  static TBLOCK trimPart(TBLOCK& block);

 protected:
  // Takes the pieces of a multipart; of a leaf finds out what it is and what
  // it is called, and compacts base64.
  void parsePart();
  // Works out everything that the header's fields say of the body.
  void parseHeaderFields();

 private:
  void parseContentType();
  void parseTypeField(TBLOCK value);
  void parseTypeParameter(TBLOCK piece);
  void parseDispositionField(TBLOCK value);
  void parseMultiPartType();
  // Returns the number of pieces that were taken.
  int32_t parseMultiPart();
  int32_t takePiece(TBLOCK piece, int result);
  void decodeName();
  void checkBase64();
  bool findImage();
  void findAttachKind();
  // Whether the first line that is not empty begins a uuencoded file; if so,
  // `name` becomes the file's name, which may be empty. 1 or 0.
  static int _checkUUencoded(TBLOCK text, TBLOCK& name);
  void _decodeStuffAndUU();

  int32_t depth;  // 0 for the root
  // A bit for the start and the length of each name in `fields`: most fields
  // that are asked for are not there.
  uint32_t fieldNames[8];
  bool lacksField(TBLOCK fieldName) const;
};

class BLOCKMSG : public BLOCKPART, public OLISTGURU {
 public:
  BLOCK fileBuffer;         // bytes of a message read by parseFromFile
  BLOCKPART* htmlPart;      // the chosen HTML body, or null; in `parts`
  BLOCKPART* textPart;      // the chosen text body, or null; in `parts`
  OLIST parts;              // leaf parts in order; owned, but for the root
                            // itself, which stands there when it is a leaf
  OLIST attachments;        // those with pfAttachment or pfInline; not owned
  TBLOCK reportType;        // parameter "report-type"
  BLOCKDSN dsn;             // of the first delivery-status part
  BLOCKPART* embeddedPart;  // a message to be scanned in this one's place, or
                            // null; in `parts`
  REGEXPOOL* pool;          // borrowed; may be null
  TBLOCKVECT contentTypes;  // `type` of each entity in parsing order, also an
                            // empty one, also of those that were dropped

  explicit BLOCKMSG(REGEXPOOL* pool);
  ~BLOCKMSG() override;

  void clear();
  void parse(TBLOCK text);
  // Reads the root's header; does nothing once parsePart has run, until
  // `clear`. NUL bytes at the end of the text are dropped.
  void parseHeader(TBLOCK text);
  // Builds the tree, chooses the bodies and decodes them; once, until `clear`.
  void parsePart();
  // Reads the file into fileBuffer and parses it. 1, or 0 when it cannot be
  // read or is empty.
  int parseFromFile(const char* path);
  // Chooses textPart and htmlPart among `parts`, and decodes both. Called by
  // parsePart.
  void partLocate();
  // Reads the delivery status, if there is one. Called by parsePart.
  void parseReport();

  // `content` of the chosen part; empty without one.
  TBLOCK getTextBlock() const;
  TBLOCK getHtmlBlock() const;
  TBLOCK getHeaderBlock() const { return header; }

  // Decides what leaving a list means for an item. Of `parts` it is deleted,
  // but for the message itself, and no choice points to it any more; of
  // `attachments` it is kept. OLISTGURU's contract.
  int yes2Remove(OLIST* list, const void* item, int index) override;

 private:
  void findEmbedded();
  void findHtmlInText();
};

#endif  // MESSAGE_BLOCK_PART_H_
