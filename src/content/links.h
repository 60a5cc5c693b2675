// TLINKVECT and TIMGVECT: each distinct URL of a body once, in order of
// appearance, with how it was met. URLs are the same when they are equal
// through LowerConvTable, without white space around them and a "blocked::"
// ahead.
//
// Records hold views: the text of a URL must stay in place and as it is for as
// long as the list lives.

#ifndef CONTENT_LINKS_H_
#define CONTENT_LINKS_H_

#include <stdint.h>

#include "base/block.h"
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

// Numbers of records in the order of their URLs through LowerConvTable. A body
// may name thousands of URLs, chosen by whoever wrote it: unlike a table of
// hashes this cannot be made slow.
class TURLORDER {
 public:
  INTVECT numbers;

  // `records`: of recordBytes each, beginning with their TBLOCKURL.
  TURLORDER(const BLOCK& records, uint32_t recordBytes);

  // The record of that URL, or -1 with the place where its number belongs.
  int32_t find(TBLOCK url, int32_t& place) const;
  // The record goes, and those behind it move down by one.
  void del(int32_t record);

 private:
  const BLOCK& records;
  uint32_t recordBytes;
};

// What CompareUrl looks at of a link.
struct TCOMPARABLE {
  int32_t proto;
  TBLOCK text;
};

struct TLINKRECORD {
  TBLOCKURL url;      // the first member, see TURLORDER
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
  // The record of that URL, or null.
  const TLINKRECORD* find(TBLOCK url) const;
  // The record of that URL, new or with one more text. Beyond kMaxLinkRecords,
  // and without memory, a spare one that is not stored; never null.
  TLINKRECORD* add(TBLOCK url, TBLOCK text);
  void del(int32_t i);
  void clear();
  // Whether any of the links is CompareUrl's first argument for that URL. The
  // cost is about that of reading it, however many links there are; links that
  // were added since the last call cost a little more.
  bool knows(TBLOCK shown);

  // Of the records whose protocol is in the mask.
  int32_t getDupUrlCount(int32_t protoMask) const;
  int32_t getUrlCountByProto(int32_t protoMask) const;
  // Empty the list, then add each URL once; the suffix of each http(s) link,
  // those without one left out.
  void unfoldUrlsAsRepeatedBlocks(TBLOCKVECT& list) const;
  void getdHttpTldList(TBLOCKVECT& list) const;

 private:
  TURLORDER byUrl;
  BLOCK comparables;     // TCOMPARABLE of each link, as far as knows() went
  INTVECT byComparable;  // numbers of those, sorted; of no text: left out
  TBLOCKVECT spareTexts;
  TLINKRECORD spare;

  void sortComparables();
  TLINKRECORD* store(const TBLOCKURL& url, TBLOCK text, int32_t place);
};

struct TIMGRECORD {
  TBLOCKURL url;     // the first member, see TURLORDER
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
  TURLORDER byUrl;
  TIMGRECORD spare;
};

#endif  // CONTENT_LINKS_H_
