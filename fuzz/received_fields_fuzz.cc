// Relay lines, one for each line of the input, the newest first: as records,
// as templates and as the chain of a message, on which all its checks are run.
// What a record views must stand in its line, and a template must be made of
// its few characters.

#include <stdint.h>
#include <string.h>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

namespace {

void CheckTemplate(TBLOCK adn, uint32_t lineLength) {
  // No word takes less of a line than half of what it leaves, and each bracket
  // that never closes leaves one more.
  Check(adn.length <= 4 * lineLength + 64);
  for (uint32_t i = 0; i < adn.length; i++)
    Check(TBLOCK::Is(adn[i], bitAlpha | bitDigit) ||
          strchr(" @;=\"()[]<>$.-", adn[i]));
}

void CheckLine(const BLOCKRECEIVED& line, TBLOCK text) {
  const TBLOCK views[] = {line.from, line.by,         line.via, line.with,
                          line.id,   line.forAddress, line.date};
  for (TBLOCK view : views) Check(IsInside(view, text));
  Check(IsInside(line.fromIp, line.from));
  if (line.isSmtpComment())
    Check(line.fromIp.empty() && line.id.empty() && line.by.empty());
}

FUZZDICO& Shared() {
  static FUZZDICO* const shared = new FUZZDICO(nullptr);
  return *shared;
}

void CheckAlone(TBLOCK text) {
  REGEXPOOL* const pool = &Shared().pool;
  RECEIVEDWARE ware(pool);
  const BLOCKRECEIVED line(text, &ware, pool);
  CheckLine(line, text);
  STR adn(256);
  ware.getReceivedAdn(text, adn, 0);
  CheckTemplate(adn.view(), text.length);
  ware.getReceivedAdn(text, adn, 1);
  CheckTemplate(adn.view(), text.length);
  TIP ip;
  ip.setBlock(text);
  Check(ip.hex.len() == (ip.addressClass ? 8 : 0));
}

void CheckChain(TBLOCK lines) {
  BLOCK mail(0, BLOCK::_DEFALLOCSIZE);
  for (TBLOCK rest = lines; !rest.empty();) {
    mail.add("Received: ");
    mail.add(TBLOCK::BlockNextLine(rest));
    mail.add("\r\n");
  }
  mail.add(
      "X-Sender: a@example.com\r\nX-Originating-Email: [a@example.com]\r\n"
      "X-Originating-IP: [192.0.2.1]\r\nDate: 20 May 2007 03:04:05 GMT\r\n"
      "Message-ID: <BAY12-F1@example.com>\r\n\r\nx");
  TQMMSG m(&Shared().pool, Shared().dico.stuff, nullptr, 1, 0);
  m.fixedTime = 1179630245;
  if (!m.loadFromBlock(mail.view(), nullptr, 0)) return;
  m.parseHeader();
  Check(m.received.len() <= 1000 &&
        m.received.len() <= m.receivedFields.count());
  OITER records(&m.received);
  while (const void* item = records.next()) {
    const BLOCKRECEIVED& line = *static_cast<const BLOCKRECEIVED*>(item);
    CheckLine(line, line.text);
    Check(m.firstReceived || line.isSmtpComment());
  }
  Check(!m.secondReceived || m.firstReceived);
  Check(!m.firstReceived == !m.lastReceived);
  m.checkReceived();
  Check(m.ledger.score >= 0 && m.ledger.score <= 303 * 3 + 200 + 200);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const HeapText copy(bytes, size);
  CheckAlone(copy.view());
  CheckChain(copy.view());
  return 0;
}
