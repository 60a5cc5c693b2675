// The subject as its author wrote it: filters on the way put tags in front of
// it, "[SPAM]" and the like, in many shapes. Entry: TQMMSG::readSubjectField.
// Tested by subject_test.cc.

#include "scan/tqmmsg.h"

namespace {

const char kFace[] = ":-((";
const uint32_t kFaceLength = sizeof kFace - 1;

const struct {
  char open, close;
} kBrackets[] = {{'[', ']'}, {'(', ')'}, {'{', '}'}, {'*', '*'}};
const int kBracketCount = sizeof kBrackets / sizeof *kBrackets;

void SkipIf(TBLOCK& text, char c) {
  if (!text.empty() && text[0] == static_cast<unsigned char>(c)) text.skip(1);
}

void SkipAll(TBLOCK& text, char c) {
  while (!text.empty() && text[0] == static_cast<unsigned char>(c))
    text.skip(1);
}

// What filters put between their tag and the subject.
void SkipSeparators(TBLOCK& text) {
  if (TBLOCK::BlockLeftTrimChars(text, "-:!*")) SkipIf(text, ' ');
}

// Cuts a sad face off the front.
bool CutFace(TBLOCK& text) {
  if (!text.begins(kFace)) return false;
  text.skip(kFaceLength);
  SkipIf(text, ' ');
  return true;
}

// Cuts a first word that holds "spam" off the front, so also "Spammers".
bool CutSpamWord(TBLOCK& text) {
  const uint32_t kEndOfWord = bitWordSep | bitDash;
  TBLOCK rest = text;
  rest.trimLeft(kEndOfWord);
  const uint32_t n = rest.lengthUntil(kEndOfWord);
  if (rest.head(n).find("Spam") < 0) return false;
  rest.skip(n);
  SkipIf(rest, ' ');
  SkipSeparators(rest);
  text = rest;
  return true;
}

}  // namespace

bool TQMMSG::isSubjectTag(TBLOCK text) {
  static const char* const words[] = {"spam",    "virus",   "bulk",
                                      "infecte", "scanned", "indesirable"};
  for (const char* word : words)
    if (text.find(word) >= 0) return true;
  TBLOCK behindStars = text;
  SkipAll(behindStars, '*');
  return text.length >= 3 && behindStars.empty();
}

int TQMMSG::checkEnclosedTag(TBLOCK& block, char open, char close) {
  if (block.empty() || block[0] != static_cast<unsigned char>(open)) return 0;
  TBLOCK rest = block;
  rest.skip(1);
  if (open == close) SkipAll(rest, close);
  const int32_t end = rest.findByte(static_cast<unsigned char>(close));
  if (end < 0) return 0;
  TBLOCK tag = rest.head(static_cast<uint32_t>(end));
  tag.trim();
  if (!isSubjectTag(tag)) return 0;
  rest.skip(static_cast<uint32_t>(end) + 1);
  if (open == close) SkipAll(rest, close);
  SkipIf(rest, ' ');
  // The face takes whatever follows it along.
  if (rest.begins(kFace)) rest.skip(kFaceLength + 1);
  SkipSeparators(rest);
  block = rest;
  return 1;
}

void TQMMSG::cleanSubjectTag(TBLOCK& value) {
  // Where each closing bracket stands last: behind it the subject need not be
  // searched again for every tag that is left open.
  const unsigned char* last[kBracketCount];
  for (int i = 0; i < kBracketCount; i++) {
    const int32_t at =
        value.findLastByte(static_cast<unsigned char>(kBrackets[i].close));
    last[i] = at < 0 ? value.pointer : value.pointer + at;
  }
  bool cut = true;
  while (cut) {
    value.trimLeft();
    cut = false;
    for (int i = 0; i < kBracketCount && !cut; i++)
      cut = value.pointer < last[i] &&
            checkEnclosedTag(value, kBrackets[i].open, kBrackets[i].close);
    if (!cut) cut = CutFace(value) || CutSpamWord(value);
  }
}

// The subject that an earlier filter saved wins over the one it tagged.
void TQMMSG::readSubjectField(TBLOCK& value, BLOCK& store) {
  if (!readHeaderField("x-spam-subject", value, 0) &&
      !readHeaderField("subject", value, 0))
    return;
  DecodeInlineCharset(value, &subjectCharset, store);
  value = store.view();
  cleanSubjectTag(value);
  getAdnFromBlock(kFieldAdnSubject, value, subjectAdn);
}
