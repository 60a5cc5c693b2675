// Shapes of values. Tested by adn_test.cc.

#include "content/adn.h"

void AdnFromBlock(TBLOCK, STR& adn, const char*, uint32_t, const TADNCLOCK&,
                  TBLOCKVECT*) {
  adn = "";
}
void _AdnFromSubBlock(STR&, TBLOCK, uint32_t, const TADNCLOCK&) {}
void GetEmailRegex(TBLOCK, TQMDICO*, STR& out, int64_t) {
  out = "";
}
char GetCountAdn(uint32_t, uint32_t) {
  return 'x';
}
char GetCountChar(uint32_t) {
  return '0';
}
void GetBlockCharAdn(TBLOCK, STR& counts, STR& presence) {
  counts = "";
  presence = "";
}
void Tt2Adn(int32_t, STR& out) {
  out = "";
}
void Ft2Adn(const FILETIME*, STR& out) {
  out = "";
}
char ttAdnChar(int32_t, int32_t) {
  return '0';
}
char ftAdnChar(const FILETIME&, const FILETIME&) {
  return '0';
}
