// The filter dispatch, and the filters that only ask the dictionary. What a
// number means stands in rules/filters.inc alone; here are the two orders in
// which scans run them, and what spares a message a filter.
//
// A section is looked up before its rules are tested, so that a dictionary
// without such sections costs nothing here. Tested by filters_seam_test.cc
// (dispatch) and filters_test.cc (filters).

#include "scan/tqmmsg.h"

namespace {

// What an action may need.
struct FILTERCALL {
  const QMUSERSETUP* userSetup;
  int allowEastern, allowAsian, forbidLatin;
  int purge;
};

struct FILTER {
  int32_t number;
  void (*run)(TQMMSG& m, const FILTERCALL& call);
};

#define QM_FILTER(number, name, action)            \
  {number, [](TQMMSG& m, const FILTERCALL& call) { \
     (void)m;                                      \
     (void)call;                                   \
     action;                                       \
   }},
constexpr FILTER kFilters[kFilterCount] = {
#include "rules/filters.inc"
};
#undef QM_FILTER

constexpr bool NumbersAreRows() {
  for (int32_t i = 0; i < kFilterCount; i++)
    if (kFilters[i].number != i + 1) return false;
  return true;
}
static_assert(NumbersAreRows(), "a filter is found by its number");

// Those that need only the header.
const unsigned char HeaderFilterOrder[] = {44, 5, 7, 45};

const unsigned char BlackFilterOrder[] = {
    14, 6,  36, 1,  38, 39, 8,  3,  4, 10, 18, 22, 17, 27, 40, 42,
    21, 37, 15, 12, 41, 24, 20, 19, 2, 35, 23, 26, 9,  28, 25, 31};

// Whether either setup has the flag.
int HasFlag(const QMGLOBALSETUP* globalSetup, const QMUSERSETUP* userSetup,
            unsigned int flag) {
  return (globalSetup && (globalSetup->flags & flag)) ||
         (userSetup && (userSetup->flags & flag));
}

}  // namespace

bool TQMMSG::isSpared(int filter) {
  if (!dico.stuff) return false;
  const TQKSECTION* no = dico.stuff->filterSections.no[filter - 1];
  const TQKSECTION* only = dico.stuff->filterSections.only[filter - 1];
  return (no && testRuleSection(no)) || (only && !testRuleSection(only));
}

int TQMMSG::checkFilter(int filter, const QMGLOBALSETUP* globalSetup,
                        const QMUSERSETUP* userSetup, int purge) {
  if (filter < 1 || filter > kFilterCount) return 0;
  const int32_t before = ledger.score;
  const FILTERCALL call = {
      userSetup, HasFlag(globalSetup, userSetup, QM_ALLOW_EASTERN),
      HasFlag(globalSetup, userSetup, QM_ALLOW_ASIAN),
      HasFlag(globalSetup, userSetup, QM_FORBID_LATIN), purge};
  if (isSpared(filter)) return ledger.score - before;
  kFilters[filter - 1].run(*this, call);
  // The other way round than above. Deliberate: it was always so, and nobody
  // reads it.
  return before - ledger.score;
}

void TQMMSG::checkHeaderFilter() {
  if (headerFiltered) return;
  headerFiltered = 1;
  if (testRuleSection("No-Spam")) return;
  checkWhiteRecip();
  for (unsigned char filter : HeaderFilterOrder) {
    if (isBailout()) return;
    checkFilter(filter, nullptr, nullptr, !noBailout);
  }
}

void TQMMSG::checkBlack(const QMGLOBALSETUP* globalSetup,
                        const QMUSERSETUP* userSetup) {
  for (unsigned char filter : BlackFilterOrder) {
    if (isBailout()) return;
    checkFilter(filter, globalSetup, userSetup, !noBailout);
  }
}

// Reads: what the rules read. Scores: the rules' points. Returns: 1 when any
// rule or threshold was met. None of the four spares the others.
int TQMMSG::checkRegex(int purge) {
  const int spam = checkRuleSection("=SpamRegex", purge);
  const int kept = checkRuleSection("=SpamRegexNoPurge", purge);
  const int commercial = checkRuleSection("=UceRegex", purge);
  const int counted = checkRegexCountSection("RegexCount", nullptr);
  return spam || kept || commercial || counted;
}

void TQMMSG::checkHeaderRegex(int purge) {
  checkRuleSection("=HeaderRegex", purge);
}

// Scores the first name of a character set that the section has, under the
// label ahead of the "|" in its line.
void TQMMSG::_checkCharset(const char* section, int clear) {
  const TBLOCK names[] = {messageCharset.name, subjectCharset.name};
  for (const TBLOCK& name : names) {
    const TQKLINE* line = nullptr;
    if (!dico.scanBlock(section, name, line, clear)) continue;
    STR lineText, label;
    dico.getLineText(line, lineText, 0);
    TBLOCK script = lineText.view();
    const int32_t bar = script.findByte('|');
    if (bar >= 0) script.cut(static_cast<uint32_t>(bar));
    label = script;
    if (bar >= 0) label += " charset";
    addToSpamScore(line->score, label.c_str(), 1);
    return;
  }
}

// Reads: messageCharset, subjectCharset, answerCount, highChars. Scores: the
// script of the text, by the names of its character sets and by what was seen
// of it, which quoted mail may have brought in.
void TQMMSG::checkNonLatin(int allowEastern, int allowAsian, int forbidLatin) {
  const int32_t kMaxHighChars = 29;
  const auto holds = [this](TCHARZONE zone) {
    return messageCharset.checkZone(zone) || subjectCharset.checkZone(zone);
  };
  if (!allowEastern) {
    _checkCharset("EasternCharset", 1);
    if (answerCount == 0) {
      checkCond(holds(czCyrillic), 200, "Cyrillic text");
      checkCond(holds(czGreek), 200, "Greek text");
    }
  }
  if (!allowAsian) {
    _checkCharset("AsianCharset", 1);
    if (answerCount == 0) checkCond(holds(czAsian), 200, "Asian text");
  }
  if (!allowEastern && !allowAsian) {
    checkCond(holds(czOther), 300, "Non-latin Language");
    checkCond(highChars > kMaxHighChars, 150, "Too many extended chars");
  }
  if (forbidLatin) checkCond(holds(czLetter), 200, "Latin text (forbidden)");
}

// A filter name without a check behind it: rule sections may still name it.
void TQMMSG::checkUserInText() {}
