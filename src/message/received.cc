// Relay lines. Tested by received_test.cc.

#include "message/received.h"

#include "regex/regex_pool.h"

RECEIVEDWARE::RECEIVEDWARE(REGEXPOOL* pool)
    : date(REGEXPOOL::_RECEIVEDWARE_EXPRDATE, pool),
      host(REGEXPOOL::_RECEIVEDWARE_EXPRADDR, pool),
      exchange(REGEXPOOL::_RECEIVEDWARE_EXCHANGE, pool),
      lotus(REGEXPOOL::_RECEIVEDWARE_LOTUS, pool),
      netscape(REGEXPOOL::_RECEIVEDWARE_NETSCAPE, pool),
      sendmail(REGEXPOOL::_RECEIVEDWARE_SENDMAIL, pool),
      sunJava(REGEXPOOL::_RECEIVEDWARE_SUN_JAVA, pool),
      comments{&exchange, &lotus, &netscape, &sendmail, &sunJava} {}

const char* RECEIVEDWARE::getReceivedAdn(TBLOCK, STR& adn, int) {
  adn = "";
  return adn.c_str();
}

BLOCKRECEIVED::BLOCKRECEIVED(TBLOCK value, RECEIVEDWARE* wareToUse,
                             REGEXPOOL* poolToUse)
    : adn(256), ware(wareToUse), pool(poolToUse), hasLeadingText(0) {
  parse(value);
}

void BLOCKRECEIVED::clear() {}

void BLOCKRECEIVED::parse(TBLOCK value) {
  clear();
  text = value;
}

int BLOCKRECEIVED::isSmtpComment() const {
  return 0;
}

void _AddToReceivedAdn(STR&, const char*) {}
