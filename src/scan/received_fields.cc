// The relay chain of a message: its "Received" fields as records, and of these
// the ones that checks ask for. Entry: TQMMSG::parseReceivedFields. Tested by
// received_fields_test.cc.

#include "scan/tqmmsg.h"

#include <new>

#include "message/mail_address.h"

namespace {

// Records at either end of the chain. What is between them in a longer one is
// left out: no mail has so many, and checks walk the list.
const int32_t kMaxChainEnd = 500;

}  // namespace

void TQMMSG::parseReceivedFields() {
  const int32_t n = receivedFields.count();
  for (int32_t i = 0; i < n; i++)
    if (i < kMaxChainEnd || i >= n - kMaxChainEnd)
      addReceived(receivedFields.get(i));
  chooseReceived();
  findDeliveredTo();
  if (!firstReceived) return;
  getAdnFromBlock(kFieldAdnById, firstReceived->id, byIdAdn);
  getAdnFromBlock(kFieldAdnRcvdFrom, firstReceived->from, rcvdFromAdn);
  getAdnFromBlock(kFieldAdnRcvdBy, firstReceived->by, rcvdByAdn);
  getAdnFromBlock(kFieldAdnRcvdWith, firstReceived->with, rcvdWithAdn);
}

// Puts a record ahead of those of the fields above it.
void TQMMSG::addReceived(TBLOCK value) {
  BLOCKRECEIVED* const line =
      new (std::nothrow) BLOCKRECEIVED(value, &receivedWare, pool);
  if (!line) return;
  receivedWare.getReceivedAdn(line->text, line->adn, 0);
  if (received.insert(line, 0) < 0) delete line;
}

// Comments of programs that are no relays are passed over, wherever they stand.
void TQMMSG::chooseReceived() {
  OITER records(&received);
  while (const void* item = records.next()) {
    BLOCKRECEIVED* const line =
        static_cast<BLOCKRECEIVED*>(const_cast<void*>(item));
    if (line->isSmtpComment()) continue;
    if (!firstReceived)
      firstReceived = lastReceived = line;
    else if (!secondReceived)
      secondReceived = line;
    else
      lastReceived = line;
    if (sourceIpBlock.empty() && !line->fromIp.empty()) {
      sourceIpBlock = line->fromIp;
      sourceIp.setBlock(sourceIpBlock);
    }
  }
}

void TQMMSG::findDeliveredTo() {
  OITER records(&received);
  while (const void* item = records.next()) {
    const TBLOCK address = static_cast<const BLOCKRECEIVED*>(item)->forAddress;
    if (IsMailAddress(address)) deliveredTo = address;
  }
  if (deliveredTo.empty()) readHeaderField("delivered-to", deliveredTo, 1);
}
