// A whole message's header fields and body preparation, and the round trip of
// its header: put in place of the old one, the rewritten header is read as the
// whole header, and the body stays what it was.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static FUZZDICO* const shared = new FUZZDICO(nullptr);
  TQMMSG message(&shared->pool, shared->dico.stuff, nullptr, 0, 0);
  message.wantHeader = 1;
  message.loadFromBlock(TBLOCK(bytes, static_cast<uint32_t>(size)), "", 1);
  message.parseWords();
  message.setUserFromHeaderXField("x-user");
  STR address;
  message.getUserEmail(address);
  Check(message.headerEnd <= size && message.header);
  // A scan always adds its mark; a header of blanks alone would be no header.
  message.header->appendEntry("X-Mark:", "1");

  const int32_t length = message.header->length();
  std::string again(static_cast<size_t>(length) + 1, 0);
  Check(message.header->copyTo(&again[0], length + 1));
  again.pop_back();
  again.append(reinterpret_cast<const char*>(bytes) + message.headerEnd,
               size - message.headerEnd);
  TQMMSG second(&shared->pool, shared->dico.stuff, nullptr, 0, 0);
  second.loadFromBlock(
      TBLOCK(again.data(), static_cast<uint32_t>(again.size())), "", 0);
  second.parseHeader();
  Check(second.headerEnd == static_cast<uint32_t>(length));

  std::string changed(reinterpret_cast<const char*>(bytes), size);
  message.changeHeader(TBLOCK(changed.data(), static_cast<uint32_t>(size)));
  return 0;
}
