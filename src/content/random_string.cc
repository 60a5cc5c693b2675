// Random strings. Tested by random_string_test.cc.

#include "content/random_string.h"

int32_t Wsc(TBLOCK, const unsigned char*) {
  return 0;
}
int32_t BadSeqCount(TBLOCK) {
  return 0;
}
int32_t DibitWordScore(TBLOCK) {
  return 0;
}
int32_t HashSeqCount(TBLOCK, HASHCOUNT&, const unsigned char*) {
  return 0;
}
void EdgeCount(TBLOCK, uint16_t&, uint16_t&, uint16_t&) {}
bool IsSpamSign(TBLOCK) {
  return false;
}
bool IsRandomString(TBLOCK) {
  return false;
}
int32_t RandomStringCount(TBLOCK, int32_t&) {
  return 0;
}
bool CheckRandomUrl(const TBLOCKURL&) {
  return false;
}
int32_t HighCharCount(TBLOCK) {
  return 0;
}
bool IsRandomBlock(TBLOCK) {
  return false;
}
bool CheckRandomWords(TBLOCK) {
  return false;
}
