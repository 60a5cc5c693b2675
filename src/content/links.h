// TLINKVECT and TIMGVECT: each distinct URL of a body once, in order of
// appearance, with how it was met. URLs are the same when they are equal
// through LowerConvTable, without white space around them.

#ifndef CONTENT_LINKS_H_
#define CONTENT_LINKS_H_

#include <stdint.h>

#include "base/block.h"
#include "base/hashtab.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "content/block_url.h"

// Records that one list keeps. Later URLs go uncounted: checks walk pairs.
const int32_t kMaxLinkRecords = 4096;

// In place of a link's text: the URL stood in the text without an anchor; in
// the text of an anchor that leads elsewhere; in visible text, unknown to the
// links; in a META that sends the reader there.
extern const char HttpTxtWithoutHref[];
extern const char HttpTxtDiffFromHref[];
extern const char HttpTxtHide[];
extern const char HttpRefresh[];

struct TLINKRECORD {
  TBLOCKURL url;
  TBLOCKVECT* texts;  // owned by the vector; one for each time it was met
  TBLOCK prevText;    // what stood ahead of the first anchor
  int32_t useCount;   // times beyond the first
};

class TLINKVECT : public BLOCK {
 public:
  TLINKVECT();
  ~TLINKVECT() override;

  int32_t count() const;
  // Null past the end. A pointer is good until the next add or del.
  TLINKRECORD* get(int32_t i) const;
  // The record of that URL, new or with one more text. Beyond kMaxLinkRecords,
  // and without memory, a spare one that is not stored; never null.
  TLINKRECORD* add(TBLOCK url, TBLOCK text);
  void del(int32_t i);
  void clear();

  // Of the records whose protocol is in the mask.
  int32_t getDupUrlCount(int32_t protoMask) const;
  int32_t getUrlCountByProto(int32_t protoMask) const;
  // Empty the list, then add each URL once; the suffix of each http(s) link,
  // those without one left out.
  void unfoldUrlsAsRepeatedBlocks(TBLOCKVECT& list) const;
  void getdHttpTldList(TBLOCKVECT& list) const;

 private:
  HASHTAB byUrl;  // URL -> record + 1
  TLINKRECORD spare;
};

struct TIMGRECORD {
  TBLOCKURL url;
  TBLOCKURL href;    // the link that was open when one first was
  TBLOCK alt;        // first that is not empty
  int32_t useCount;  // times beyond the first
};

class TIMGVECT : public BLOCK {
 public:
  TIMGVECT();

  int32_t count() const;
  TIMGRECORD* get(int32_t i) const;
  // As TLINKVECT::add.
  TIMGRECORD* add(TBLOCK url, TBLOCK href, TBLOCK alt);
  void clear();

  void getdHttpTldList(TBLOCKVECT& list) const;

 private:
  HASHTAB byUrl;
  TIMGRECORD spare;
};

#endif  // CONTENT_LINKS_H_
