// The lists of links and images. Records stand in a block in order of
// appearance; their URLs are found by halving a list of record numbers that is
// kept in the order of the URLs. knows() does the same on what is compared of
// each link: all links that begin with a text stand together there, from the
// place on where the text itself would stand. Tested by links_test.cc.

#include "content/links.h"

#include <string.h>

#include <new>

namespace {

const uint32_t kRecordStep = 2048;  // bytes
// Texts of one link: room to begin with, and bytes to grow by. Thousands of
// links are met once or twice.
const int32_t kFirstTexts = 64;
const uint32_t kTextStep = 512;
const int32_t kHttpProtos = upHttp | upHttps;

// Bytes at the front that are the same as they are; links of one page have long
// ones.
uint32_t SameFront(const unsigned char* a, const unsigned char* b, uint32_t n) {
  uint32_t i = 0;
  for (uint64_t wordA, wordB; n - i >= sizeof wordA; i += sizeof wordA) {
    memcpy(&wordA, a + i, sizeof wordA);
    memcpy(&wordB, b + i, sizeof wordB);
    if (wordA != wordB) break;
  }
  return i;
}

// Below 0, 0 or above 0. A text comes ahead of all that begin with it.
int32_t CompareFolded(TBLOCK a, TBLOCK b) {
  const uint32_t n = a.length < b.length ? a.length : b.length;
  for (uint32_t i = SameFront(a.pointer, b.pointer, n); i < n; i++) {
    const int32_t order =
        TBLOCK::LowerConvTable[a[i]] - TBLOCK::LowerConvTable[b[i]];
    if (order != 0) return order;
  }
  return a.length < b.length ? -1 : a.length > b.length;
}

TBLOCKURL ParseTrimmed(TBLOCK text) {
  TBLOCKURL url;
  text.trim();
  url.parseUrl(text);
  return url;
}

const TCOMPARABLE& ComparableAt(const BLOCK& comparables, int32_t i) {
  return reinterpret_cast<const TCOMPARABLE*>(comparables.data)[i];
}

// The place of the first one, in the given order, that is not below this one.
int32_t PlaceOf(const BLOCK& comparables, const INTVECT& order,
                const TCOMPARABLE& wanted) {
  int32_t from = 0, to = order.count();
  while (from < to) {
    const int32_t middle = from + (to - from) / 2;
    const TCOMPARABLE& at = ComparableAt(comparables, order.get(middle));
    int32_t below = at.proto - wanted.proto;
    if (below == 0) below = CompareFolded(at.text, wanted.text);
    if (below < 0)
      from = middle + 1;
    else
      to = middle;
  }
  return from;
}

// Whether one of that protocol begins with the text.
bool HoldsPrefix(const BLOCK& comparables, const INTVECT& order,
                 const TCOMPARABLE& wanted) {
  const int32_t place = PlaceOf(comparables, order, wanted);
  if (place >= order.count()) return false;
  const TCOMPARABLE& next = ComparableAt(comparables, order.get(place));
  return next.proto == wanted.proto && next.text.begins(wanted.text);
}

}  // namespace

const char HttpTxtWithoutHref[] = "HttpTxtWithoutHref";
const char HttpTxtDiffFromHref[] = "HttpTxtDiffFromHref";
const char HttpTxtHide[] = "HttpTxtHide";
const char HttpRefresh[] = "HttpRefresh";

TURLORDER::TURLORDER(const BLOCK& list, uint32_t bytes)
    : numbers(0, kRecordStep), records(list), recordBytes(bytes) {}

int32_t TURLORDER::find(TBLOCK url, int32_t& place) const {
  int32_t from = 0, to = numbers.count();
  while (from < to) {
    const int32_t middle = from + (to - from) / 2;
    const int32_t record = numbers.get(middle);
    const TBLOCKURL* const at = reinterpret_cast<const TBLOCKURL*>(
        records.data + static_cast<uint32_t>(record) * recordBytes);
    const int32_t order = CompareFolded(at->url, url);
    if (order == 0) return record;
    if (order < 0)
      from = middle + 1;
    else
      to = middle;
  }
  place = from;
  return -1;
}

void TURLORDER::del(int32_t record) {
  int32_t own = -1;
  for (int32_t i = 0; i < numbers.count(); i++) {
    const int32_t number = numbers.get(i);
    if (number == record) own = i;
    if (number > record) numbers.set(number - 1, i);
  }
  numbers.del(own);
}

TLINKVECT::TLINKVECT()
    : BLOCK(0, kRecordStep),
      byUrl(*this, sizeof(TLINKRECORD)),
      comparables(0, kRecordStep),
      byComparable(0, kRecordStep),
      spareTexts(0),
      spare() {
  spareTexts.step = kTextStep;
}

TLINKVECT::~TLINKVECT() {
  clear();
}

int32_t TLINKVECT::count() const {
  return static_cast<int32_t>(length / sizeof(TLINKRECORD));
}

TLINKRECORD* TLINKVECT::get(int32_t i) const {
  if (i < 0 || i >= count()) return nullptr;
  return reinterpret_cast<TLINKRECORD*>(data) + i;
}

const TLINKRECORD* TLINKVECT::find(TBLOCK url) const {
  int32_t place = 0;
  return get(byUrl.find(ParseTrimmed(url).url, place));
}

// Null when there is no room.
TLINKRECORD* TLINKVECT::store(const TBLOCKURL& url, TBLOCK text,
                              int32_t place) {
  const int32_t n = count();
  if (n >= kMaxLinkRecords) return nullptr;
  TLINKRECORD record = {url, new (std::nothrow) TBLOCKVECT(kFirstTexts),
                        TBLOCK(), 0};
  if (!record.texts) return nullptr;
  record.texts->step = kTextStep;
  if (!record.texts->add(text, 1, 0) || !BLOCK::add(&record, sizeof record)) {
    delete record.texts;
    return nullptr;
  }
  if (!byUrl.numbers.ins(n, place)) {
    delete record.texts;
    removeEnd(sizeof record);
    return nullptr;
  }
  return get(n);
}

TLINKRECORD* TLINKVECT::add(TBLOCK url, TBLOCK text) {
  const TBLOCKURL parsed = ParseTrimmed(url);
  int32_t place = 0;
  TLINKRECORD* record = get(byUrl.find(parsed.url, place));
  if (record) {
    record->texts->add(text, 1, 0);
    record->useCount++;
    return record;
  }
  record = store(parsed, text, place);
  if (record) return record;
  spareTexts.clear();
  spareTexts.add(text, 1, 0);
  spare = {parsed, &spareTexts, TBLOCK(), 0};
  return &spare;
}

void TLINKVECT::del(int32_t i) {
  TLINKRECORD* const record = get(i);
  if (!record) return;
  delete record->texts;
  byUrl.del(i);
  remove(static_cast<uint32_t>(i) * sizeof *record, sizeof *record);
  comparables.empty();
  byComparable.empty();
}

void TLINKVECT::clear() {
  for (int32_t i = 0; i < count(); i++) delete get(i)->texts;
  byUrl.numbers.reset();
  comparables.reset();
  byComparable.reset();
  reset();
}

// Makes knows() see links that were added since it was asked last.
void TLINKVECT::sortComparables() {
  const uint32_t size = sizeof(TCOMPARABLE);
  int32_t i = static_cast<int32_t>(comparables.length / size);
  for (; i < count(); i++) {
    TCOMPARABLE link = {0, get(i)->url.url};
    link.proto = TBLOCKURL::TakeComparable(link.text);
    if (!comparables.add(&link, size)) return;
    if (!link.text.empty())
      byComparable.ins(i, PlaceOf(comparables, byComparable, link));
  }
}

bool TLINKVECT::knows(TBLOCK shown) {
  sortComparables();
  TCOMPARABLE wanted = {0, shown};
  const int32_t proto = TBLOCKURL::TakeComparable(wanted.text);
  for (wanted.proto = upNone; wanted.proto <= upJavascript; wanted.proto *= 2)
    if ((proto == upNone || wanted.proto == upNone || wanted.proto == proto) &&
        HoldsPrefix(comparables, byComparable, wanted))
      return true;
  return false;
}

int32_t TLINKVECT::getDupUrlCount(int32_t protoMask) const {
  int32_t most = 0;
  for (int32_t i = 0; i < count(); i++)
    if (get(i)->url.proto & protoMask && get(i)->useCount > most)
      most = get(i)->useCount;
  return most;
}

int32_t TLINKVECT::getUrlCountByProto(int32_t protoMask) const {
  int32_t found = 0;
  for (int32_t i = 0; i < count(); i++)
    found += (get(i)->url.proto & protoMask) != 0;
  return found;
}

void TLINKVECT::unfoldUrlsAsRepeatedBlocks(TBLOCKVECT& list) const {
  list.clear();
  for (int32_t i = 0; i < count(); i++) list.addUnique(get(i)->url.url, 0, 0);
}

void TLINKVECT::getdHttpTldList(TBLOCKVECT& list) const {
  list.clear();
  list.step = static_cast<uint32_t>(count()) * sizeof(TBLOCK);
  for (int32_t i = 0; i < count(); i++)
    if (get(i)->url.proto & kHttpProtos) list.add(get(i)->url.tld, 0, 0);
}

TIMGVECT::TIMGVECT()
    : BLOCK(0, kRecordStep), byUrl(*this, sizeof(TIMGRECORD)), spare() {}

int32_t TIMGVECT::count() const {
  return static_cast<int32_t>(length / sizeof(TIMGRECORD));
}

TIMGRECORD* TIMGVECT::get(int32_t i) const {
  if (i < 0 || i >= count()) return nullptr;
  return reinterpret_cast<TIMGRECORD*>(data) + i;
}

TIMGRECORD* TIMGVECT::add(TBLOCK url, TBLOCK href, TBLOCK alt) {
  const TBLOCKURL parsed = ParseTrimmed(url);
  int32_t place = 0;
  TIMGRECORD* const record = get(byUrl.find(parsed.url, place));
  if (record) {
    record->useCount++;
    if (record->href.url.empty()) record->href = ParseTrimmed(href);
    if (record->alt.empty()) record->alt = alt;
    return record;
  }
  spare = {parsed, ParseTrimmed(href), alt, 0};
  const int32_t n = count();
  if (n >= kMaxLinkRecords || !BLOCK::add(&spare, sizeof spare)) return &spare;
  if (byUrl.numbers.ins(n, place)) return get(n);
  removeEnd(sizeof spare);
  return &spare;
}

void TIMGVECT::clear() {
  byUrl.numbers.reset();
  reset();
}

void TIMGVECT::getdHttpTldList(TBLOCKVECT& list) const {
  list.clear();
  list.step = static_cast<uint32_t>(count()) * sizeof(TBLOCK);
  for (int32_t i = 0; i < count(); i++)
    if (get(i)->url.proto & kHttpProtos) list.add(get(i)->url.tld, 0, 0);
}
