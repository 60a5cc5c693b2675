// The pool of compiled patterns, and the pattern texts that the code itself
// brings along.
//
// The members stand in regex_patterns.inc; everything about them is made from
// that one list. Tested by regex_test.cc.

#include "regex/regex_pool.h"

#include "regex/zr_regex.h"

namespace {

const int32_t kStartCapacity = 4096;  // patterns
const uint32_t kTextStep = 16384;     // bytes, of pointers to the texts

}  // namespace

#define QM_PATTERN(member, text) const char REGEXPOOL::member[] = text;
#include "regex/regex_patterns.inc"
#undef QM_PATTERN

#define QM_PATTERN(member, text) {#member, REGEXPOOL::member},
const REGEXPOOL::Member REGEXPOOL::kMembers[REGEXPOOL::kMemberCount] = {
#include "regex/regex_patterns.inc"
};
#undef QM_PATTERN

// Tried in this order, which is all that tells apart the two rows of 25 and of
// 26: both codes stand twice on purpose.
const AdnAgentRow _Adn_Agent_Table[kAdnAgentCount] = {
    {"01", "^Microsoft Outlook Express"},
    {"02", "^Microsoft( Office)? Outlook"},
    {"03", "^Microsoft CDO"},
    {"10", "^Thunderbird "},
    {"11", "^Benchmail "},
    {"12", "^PHPMailer"},
    {"13", "^PHP[ /4]"},
    {"14", "^php(mailer)?$"},
    {"25", "^Mozilla Thunderbird "},
    {"26", "^Mozilla/"},
    {"17", "^eGroups "},
    {"04", "^Microsoft-Entourage"},
    {"18", "^EMS$"},
    {"19", "^MP5$"},
    {"20", "^NMS$"},
    {"21", "^Yahoo Groups"},
    {"22", "^Internet Mail Service"},
    {"23", "^ColdFusion"},
    {"24", "^Lyris"},
    {"25", "^DOPOST"},
    {"26", "^KANA "},
    {"27", "^MIME-tools"},
    {"28", "^MIME::lite"},
    {"29", "^(APPLE|Apple) Mail"},
    {"30", "^LOTUS "},
    {"31", "^IncrediMail "},
    {"32", "^UnityMail "},
    {"33", "^JMail "},
    {"34", "for Windows sub "},
    {"35", "^KMail/"},
    {"36", "^eMill/"},
    {"37", "^Internet messaging program"},
    {"38", "^slrn/"},
    {"39", "^Loom/"},
    {"50", "^SquirrelMail"},
    {"51", "^Eudora mail"},
    {"52", "^QUALCOMM "},
    {"53", "^Pegasus "},
    {"54", "^Evolution/"},
    {"55", "^Foxmail"},
    {"56", "^The Bat!"},
    {"57", "^Sylpheed "},
    {"58", "^Ximian"},
    {"59", "^TWIG "},
    {"60", R"(^Opera\/?[0-9])"},
    {"61", "^Mulberry"},
    {"62", "^Mutt "},
    {"63", "^Mailman "},
    {"64", "^AOL "},
    {"65", "^SmartMailer"},
    {"66", "^AspMail "},
    {"67", "^Calypso "},
    {"68", "^Forte Agent"},
};

const uint32_t REGEXPOOL::kMemberCount;

REGEXPOOL::REGEXPOOL(int32_t learnsPatterns)
    : HASHTAB(kStartCapacity, hashExact),
      learns(learnsPatterns),
      texts(kTextStep, kTextStep) {}

REGEXPOOL::~REGEXPOOL() {
  clear();
}

void REGEXPOOL::clearKey(HASHKEY* entry) {
  zr_regfree(static_cast<zr_regex*>(entry->data));
  HASHTAB::clearKey(entry);
}

zr_regex* REGEXPOOL::findRegex(TBLOCK pattern) const {
  void* data = nullptr;
  return find(pattern, data) < 0 ? nullptr : static_cast<zr_regex*>(data);
}

zr_regex* REGEXPOOL::useRegex(TBLOCK pattern) {
  zr_regex* const known = findRegex(pattern);
  if (known || !learns) return known;
  int error;
  addCompiledRegex(pattern, error);
  return findRegex(pattern);
}

void REGEXPOOL::addCompiledRegex(TBLOCK pattern, int& error) {
  error = ZR_OK;
  if (pattern.empty() || findRegex(pattern)) return;
  // A NUL ends the pattern, for the engine and so for the key.
  STR text;
  text = pattern;
  if (!text.text) error = ZR_NOMEMORY;
  if (text.empty() || findRegex(text.view())) return;
  zr_regex* regex = zr_regalloc();
  error = regex ? zr_regcomp(regex, text.c_str(), 0) : ZR_NOMEMORY;
  if (error == ZR_OK && !keep(text.view(), regex)) error = ZR_NOMEMORY;
  if (error != ZR_OK) zr_regfree(regex);
}

// Enters a pattern under a copy of its text.
bool REGEXPOOL::keep(TBLOCK pattern, zr_regex* regex) {
  if (!texts.add(pattern)) return false;
  const int32_t last = texts.count() - 1;
  if (insert(texts.at(last)->view(), regex) >= 0) return true;
  texts.del(last);
  return false;
}

void REGEXPOOL::addAllHardCodedRegexes() {
  int error;
  for (const Member& member : kMembers)
    addCompiledRegex(TBLOCK(member.pattern), error);
  for (const AdnAgentRow& row : _Adn_Agent_Table)
    addCompiledRegex(TBLOCK(row.pattern), error);
}
