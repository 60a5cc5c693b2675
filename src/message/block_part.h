// BLOCKPART: one MIME entity; BLOCKMSG: the message, as the root of the tree.
//
// A part owns no message bytes: every view points into the buffer that the
// tree was parsed from, which the parser edits in place (headers are
// unfolded) and which must outlive the tree. Nothing here fails: what is
// malformed gets the best reading, and a flag records it.
//
// Only the header of the root is read so far. Bodies stay raw: there are no
// parts, and the text is not located.

#ifndef MESSAGE_BLOCK_PART_H_
#define MESSAGE_BLOCK_PART_H_

#include "base/olist.h"
#include "base/tblock.h"
#include "base/vectors.h"

class REGEXPOOL;

// Bits of BLOCKPART::flags.
enum : uint32_t {
  pfBadStructure = 0x0040,  // the header ended at a line that is none
  pfParsed = 0x0200         // parsePart has run
};

class BLOCKPART {
 public:
  uint32_t flags;      // pf... bits
  TBLOCK raw;          // the part as given, header and body
  TBLOCK header;       // header block; its length is the body's offset in raw
  TBLOCKVECT fields;   // the header lines, unfolded
  TBLOCK content;      // the body
  uint32_t rawLength;  // bytes of the body before any decoding
  TBLOCK type;         // as "text/plain"; empty until fields are typed

  BLOCKPART();
  virtual ~BLOCKPART();

  // Zeroes every view and value and empties the fields.
  void clear();
  // Splits off and unfolds the header. WRITES to the text.
  void parseHeader(TBLOCK text);
  // The body, decoded once the content decoders exist.
  TBLOCK decodeContent() { return content; }

 private:
  static TBLOCK trimPart(TBLOCK& block);
};

class BLOCKMSG : public BLOCKPART, public OLISTGURU {
 public:
  BLOCKPART* textPart;      // the chosen text body, or null; in `parts`
  OLIST parts;              // leaf parts in order
  BLOCKPART* embeddedPart;  // a message to be scanned in this one's place, or
                            // null; in `parts`
  REGEXPOOL* pool;          // borrowed; may be null

  explicit BLOCKMSG(REGEXPOOL* pool);
  ~BLOCKMSG() override;

  void clear();
  // Reads the root's header; does nothing once parsePart has run, until
  // `clear`. NUL bytes at the end of the text are dropped.
  void parseHeader(TBLOCK text);
  // Builds the tree below the root.
  void parsePart();
  // Body of the chosen text part; empty without one.
  TBLOCK getTextBlock() const;

  // Decides what leaving `parts` means for an item: it is deleted, but for
  // the message itself. OLISTGURU's contract.
  int yes2Remove(OLIST* list, const void* item, int index) override;
};

#endif  // MESSAGE_BLOCK_PART_H_
