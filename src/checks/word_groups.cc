// Word groups: topics, each told by a family of dictionary sections that share
// a name G. One word proves nothing; a topic whose sections add up does.
//
//   No-G-Regex      rules that keep the group out
//   G-Group         words, in body, subject and display name
//   G-GroupRegex    rules that score their line
//   G               names of subgroups: "sub" is the group "G\sub"
//   G-Words         words of the body, and of the next two in their absence
//   G-SubjectWords  of the subject
//   G-AliasWords    of the display name
//   G-Regex         rules that score their line
//
// The last four count only when something above them has scored. A "+" ahead of
// a group's name searches the whole body, not just its first words. Entries:
// checkWordGroups and what calls it. Tested by word_groups_test.cc and
// tests/mail/word_groups.eml.

#include <string.h>

#include "base/hash_count.h"
#include "rules/section_name.h"
#include "scan/tqmmsg.h"

namespace {

// Words of the body at which a search begins, in a group without "+".
const int kGroupWords = 150;
// A line found in disguise counts this often.
const uint32_t kDisguiseFactor = 2;
// Doubles the words that a subject or a display name shares with the body.
const int32_t kSharedFactor = 2;

// Groups inside of groups.
const int32_t kMaxGroupDepth = 16;
// What one search for groups may visit: this many lines, and each line of the
// dictionary so often, which leaves any groups that do not repeat themselves
// room. Subgroups that are named again and again would otherwise grow with each
// level.
const int64_t kMinGroupLines = 10000;
const int64_t kVisitsOfLine = 16;
// What a group costs besides its lines.
const uint32_t kLinesOfGroup = 8;

// Bytes of names of subgroups beyond which no more are told.
const int32_t kMaxDescription = 16384;

// Section types that may hold names of subgroups.
const uint32_t kListTypes = 1 | 8;

// A newsletter has links to so many domains, or more than so many of its own
// with parameters.
const int32_t kManyDomains = 10;
const int32_t kFewOwnLinks = 4;

TBLOCK CommonestDomain(HASHCOUNT& domains, BLOCK& store) {
  if (domains.sort()) domains.getSortedString(0, store);
  return store.view();
}

TBLOCK UntilNul(TBLOCK line) {
  const int32_t nul = line.findByte(0);
  return nul < 0 ? line : line.head(static_cast<uint32_t>(nul));
}

void AddInFront(TBLOCK text, STR& description) {
  description.addLeft(reinterpret_cast<const char*>(text.pointer),
                      static_cast<int32_t>(text.length));
}

// How many different URLs of that domain carry parameters.
int32_t CountOwnLinks(const TLINKVECT& links, TBLOCK domain) {
  HASHCOUNT urls(0, hashAsciiLower);
  for (int32_t i = 0; i < links.count(); i++) {
    const TBLOCKURL& url = links.get(i)->url;
    if (!url.query.empty() && url.domain.equals(domain))
      urls.incBlockCount(url.url, 1);
  }
  return urls.count;
}

}  // namespace

// A search through groups: what it may still visit.
struct TQMMSG::TGROUPWALK {
  TQMDICO& dico;
  int64_t linesLeft;

  explicit TGROUPWALK(TQMDICO& dictionary)
      : dico(dictionary),
        linesLeft(kMinGroupLines + kVisitsOfLine * dico.image().lineCount) {}

  // The section, its lines paid for; null when there is none, or no more to be
  // spent.
  const TQKSECTION* visit(const TQKSECTION* section) {
    if (!section) return nullptr;
    return pay(dico.image().lineCountOf(section)) ? section : nullptr;
  }

  bool pay(uint32_t lines) {
    linesLeft -= lines;
    return linesLeft >= 0;
  }
};

struct TQMMSG::TWORDGROUP {
  const char* name;
  TGROUPSECTIONS sections;

  TWORDGROUP(const TQMDICO& dico, const char* groupName) : name(groupName) {
    memset(&sections, 0, sizeof sections);
    if (dico.stuff) dico.stuff->findGroup(name, sections);
  }
};

// ==== One group

// Sum of the words found; `found` tells whether the section is there.
int64_t TQMMSG::groupWords(TGROUPWALK& walk, const TWORDGROUP& group,
                           int32_t which, const TBLOCKVECT& words, int limit,
                           bool& found) {
  const TQKSECTION* const section = walk.visit(group.sections.of[which]);
  found = section != nullptr;
  if (!found) return 0;
  SECTIONNAME name;
  name.add(kGroupSections[which][0]).add(group.name);
  name.add(kGroupSections[which][1]);
  uint32_t visits;
  const int hits =
      countKeywords(name.c_str(), section, words, limit, 0, visits);
  walk.pay(visits);
  return hits > 0 ? dico.getSectionScore(name.c_str(), kDisguiseFactor) : 0;
}

// Words of a field: of its own section, or else of that of the body's.
int64_t TQMMSG::groupFieldWords(TGROUPWALK& walk, const TWORDGROUP& group,
                                int32_t which, const TBLOCKVECT& words) {
  bool found;
  const int64_t own = groupWords(walk, group, which, words, 0, found);
  if (found) return own;
  return kSharedFactor * groupWords(walk, group, gsWords, words, 0, found);
}

// Each rule that holds scores once.
int64_t TQMMSG::groupRules(TGROUPWALK& walk, const TWORDGROUP& group,
                           int32_t which) {
  const TQKSECTION* section = walk.visit(group.sections.of[which]);
  const uint32_t n = section ? dico.image().lineCountOf(section) : 0;
  int64_t sum = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(section, i);
    TBLOCK name;
    if (checkRuleLine(line, name, 0) > 0) sum += line->score;
  }
  return sum;
}

// What the subgroups add. Each begins with the total of its group, so that the
// words of one count when the group has scored. The names of those that changed
// it go in front of what is known, the last one first.
int64_t TQMMSG::groupChildren(TGROUPWALK& walk, const TWORDGROUP& group,
                              bool unlimited, int32_t groupDepth, int32_t total,
                              STR* description) {
  const TQKSECTION* list = walk.visit(group.sections.of[gsList]);
  if (!list || !(list->type & kListTypes)) return 0;
  const uint32_t n = dico.image().lineCountOf(list);
  int64_t sum = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TBLOCK line =
        UntilNul(dico.lineBlock(dico.image().sectionLine(list, i)));
    const bool marked = !line.empty() && line[0] == '+';
    SECTIONNAME child;
    child.add(marked || unlimited ? "+" : "").add(group.name).add("\\");
    child.add(line.from(marked));
    int32_t childTotal = total;
    walkGroup(walk, child.c_str(), groupDepth + 1, childTotal, description);
    if (childTotal == total) continue;
    sum += int64_t{childTotal} - total;
    if (!description || description->len() > kMaxDescription) continue;
    if (!description->empty()) description->addLeft("-", 1);
    AddInFront(line, *description);
  }
  return sum;
}

// Recurses, kMaxGroupDepth deep.
bool TQMMSG::walkGroup(TGROUPWALK& walk, const char* name, int32_t groupDepth,
                       int32_t& total, STR* description) {
  if (groupDepth > kMaxGroupDepth || !walk.pay(kLinesOfGroup)) return false;
  const bool unlimited = *name == '+';
  const TWORDGROUP group(dico, name + unlimited);
  const int limit = unlimited ? 0 : kGroupWords;

  STR ruleName;
  const TQKSECTION* const exception = walk.visit(group.sections.of[gsNoRegex]);
  if (exception && matchRules(exception, ruleName) > 0) return false;
  bool found;
  int64_t sum = total;
  sum += groupWords(walk, group, gsGroup, bodyWords, limit, found);
  if (found && unlimited) {
    sum += groupWords(walk, group, gsGroup, subjectWords, 0, found);
    sum += groupWords(walk, group, gsGroup, aliasWords, 0, found);
  }
  sum += groupRules(walk, group, gsGroupRegex);
  total = ClampScore(sum);
  sum += groupChildren(walk, group, unlimited, groupDepth, total, description);
  total = ClampScore(sum);
  if (total == 0) return false;

  sum += groupWords(walk, group, gsWords, bodyWords, limit, found);
  sum += groupFieldWords(walk, group, gsSubjectWords, subjectWords);
  sum += groupFieldWords(walk, group, gsAliasWords, aliasWords);
  sum += groupRules(walk, group, gsRegex);
  total = ClampScore(sum);
  return total > kSpamThreshold;
}

bool TQMMSG::checkWordGroup(const char* name, int32_t& total,
                            STR* description) {
  TGROUPWALK walk(dico);
  return walkGroup(walk, name, 1, total, description);
}

// ==== Sections of groups

// Scores: "*GROUP-SUBGROUP", with the points of the group's line. As long as
// the message is clean a group stands alone: earlier points, also those that
// speak for the message, go.
int TQMMSG::checkWordGroups(const char* section) {
  TGROUPWALK walk(dico);
  const TQKSECTION* groups = walk.visit(dico.findSection(section));
  const uint32_t n = groups ? dico.image().lineCountOf(groups) : 0;
  int any = 0;
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico.image().sectionLine(groups, i);
    SECTIONNAME name;
    STR description;
    name.add(dico.lineBlock(line));
    int32_t total = 0;
    if (!walkGroup(walk, name.c_str(), 1, total, &description)) continue;
    if (ledger.state == ssClean) ledger.reset();
    if (!description.empty()) description.addLeft("-", 1);
    AddInFront(name.view(), description);
    description.addLeft("*", 1);
    addToSpamScore(line->score, description.c_str(), 1);
    any = 1;
  }
  return any;
}

void TQMMSG::checkResit() {
  checkWordGroups("ResitWordGroups");
  checkKeywordBlockList("ResitWords", subjectWords, 0, 0, " in subject");
  checkKeywordBlockList("ResitWords", bodyWords, 0, 0, "");
}

// ==== Advertisements

// The first matching rule's verdict in place of all earlier points; a rule
// without points gives one too.
bool TQMMSG::setCommercial(const char* section, SpamState state) {
  TBLOCK name;
  int32_t points = 0;
  if (!testRuleSection(TBLOCK(section), &name, &points)) return false;
  STR label;
  label = name;
  ledger.reset();
  addToSpamScore(points, label.c_str(), 1);
  ledger.state = state;
  return true;
}

// Reads: the groups "CommercialWordGroups"; the rules "No-CE", "DCE-Regex",
// "PCE-Regex", "MCE-Regex". Scores: name and points of one such rule, or what
// the groups score. Returns: the state.
int TQMMSG::checkCommercial(const QMGLOBALSETUP* globalSetup,
                            const QMUSERSETUP* userSetup) {
  if (!BothWant(globalSetup, userSetup, QM_CHECK_COMMERCIAL) &&
      !hasProfile("CheckCE"))
    return 0;
  if (testRuleSection("No-CE") || setCommercial("DCE-Regex", ssCommercialD))
    return ledger.state;
  if (!checkWordGroups("CommercialWordGroups"))
    setCommercial("MCE-Regex", ssCommercialM);
  else if (!setCommercial("PCE-Regex", ssCommercialP))
    ledger.state = ssCommercialM;
  return ledger.state;
}

bool TQMMSG::checkNewsletter() {
  if (linkCount == 0 || !links) return false;
  const TQKLINE* line = nullptr;
  if (!dico.scanBlock("Newsletters", body, line, 1)) return false;
  HASHCOUNT owners(0, hashAsciiLower);
  for (int32_t i = 0; i < links->count(); i++)
    owners.incBlockCount(links->get(i)->url.domain, 1);
  if (owners.count == 0) return false;
  if (owners.count >= kManyDomains) return true;
  BLOCK store(0, 64);
  return CountOwnLinks(*links, CommonestDomain(owners, store)) > kFewOwnLinks;
}
