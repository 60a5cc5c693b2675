// Fingerprints of the header: of its fields, of those that begin with a tab,
// and of the times that it tells. Tested by header_adn_test.cc.

#include "scan/tqmmsg.h"

void TQMMSG::buildHeaderAdn(STR& adn) {
  adn = "";
}

void TQMMSG::getTabAdn(STR& adn) {
  adn = "";
}

void TQMMSG::getDatesAdn(STR& adn) {
  adn = "";
}
