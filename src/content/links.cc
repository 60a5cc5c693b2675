// The lists of links and images. Records stand in a block and are found by
// their URL through a table, since a body may name thousands. Tested by
// links_test.cc.

#include "content/links.h"

namespace {

const uint32_t kRecordStep = 16384;  // bytes

}  // namespace

const char HttpTxtWithoutHref[] = "HttpTxtWithoutHref";
const char HttpTxtDiffFromHref[] = "HttpTxtDiffFromHref";
const char HttpTxtHide[] = "HttpTxtHide";
const char HttpRefresh[] = "HttpRefresh";

TLINKVECT::TLINKVECT()
    : BLOCK(0, kRecordStep), byUrl(0, hashAsciiLower), spare() {}

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

void TLINKVECT::clear() {
  for (int32_t i = 0; i < count(); i++) delete get(i)->texts;
  delete spare.texts;
  spare.texts = nullptr;
  byUrl.clear();
  reset();
}

TIMGVECT::TIMGVECT()
    : BLOCK(0, kRecordStep), byUrl(0, hashAsciiLower), spare() {}

int32_t TIMGVECT::count() const {
  return static_cast<int32_t>(length / sizeof(TIMGRECORD));
}

TIMGRECORD* TIMGVECT::get(int32_t i) const {
  if (i < 0 || i >= count()) return nullptr;
  return reinterpret_cast<TIMGRECORD*>(data) + i;
}

void TIMGVECT::clear() {
  byUrl.clear();
  reset();
}
