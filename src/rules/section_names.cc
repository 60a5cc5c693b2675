// The section of a name. A name is digested to find it, which takes longer than
// all the rest of the search; a scan asks for hundreds of names, always the
// same. So their answers, also that there is no such section, are kept with the
// dictionary: those of the names in section_names.inc for each one, those of
// names that scans compose for one that is shared. Any other name is digested.
//
// Entries: HSTUFF::findSection, HSTUFF::prepareNames, findException and
// findGroup. Tested by qm_dico_test.cc.

#include <string.h>

#include "base/md5.h"
#include "rules/qm_dico.h"
#include "rules/section_name.h"

const char* const kGroupSections[gsCount][2] = {
    {"", ""},
    {"No-", "-Regex"},
    {"", "-Group"},
    {"", "-GroupRegex"},
    {"", "-Words"},
    {"", "-SubjectWords"},
    {"", "-AliasWords"},
    {"", "-Regex"},
};

namespace {

// Bytes of composed names, against lists of a damaged image that name each
// other: many times what a dictionary needs.
const uint32_t kMaxNamedText = 1 << 18;
const uint32_t kGroupStep = 1024;  // bytes, of places of names

const char* const kNames[] = {
#include "rules/section_names.inc"
};

// Sections of which the lines are groups of words.
const char* const kGroupLists[] = {"BlackWordGroups", "CommercialWordGroups",
                                   "ResitWordGroups", "ScamGroups"};
// Section types that may list groups inside of a group.
const uint32_t kListTypes = 1 | 8;

TBLOCK UntilNul(TBLOCK text) {
  const int32_t nul = text.findByte(0);
  return nul < 0 ? text : text.head(static_cast<uint32_t>(nul));
}

const TQKSECTION* AsSection(void* data) {
  return static_cast<const TQKSECTION*>(data);
}

// Writes the composed names down, each with a NUL behind it: where they lie for
// good is known when they are all there. Names that are met again are written
// again, so that a walk in circles comes to an end.
class COMPOSER {
 public:
  INTVECT groups;  // where names of groups begin

  COMPOSER(const HSTUFF& stuffToRead, BLOCK& out)
      : groups(0, kGroupStep),
        stuff(stuffToRead),
        image(stuffToRead.image),
        text(out),
        left(kMaxNamedText) {}

  // What a search of words asks for. Recurses, kMaxSectionDepth deep.
  const TQKSECTION* addSection(TBLOCK name, int32_t depth) {
    const TQKSECTION* section = add(name);
    STR exception;
    if (!section || !compose("No-", name, "", exception)) return section;
    add(exception.view());
    if (section->type != stSectionList || depth > kMaxSectionDepth)
      return section;
    const uint32_t n = image.lineCountOf(section);
    for (uint32_t i = 0; i < n && pay(1); i++)
      addSection(image.lineBlock(image.sectionLine(section, i)), depth + 1);
    return section;
  }

  // The lines are names of groups, behind that of their own group.
  // Recurses, kMaxSectionDepth deep.
  void addGroups(const TQKSECTION* list, const char* parent, int32_t depth) {
    const uint32_t n = image.lineCountOf(list);
    for (uint32_t i = 0; i < n && pay(1); i++) {
      TBLOCK line = image.lineBlock(image.sectionLine(list, i));
      if (!line.empty() && line[0] == '+') line.skip(1);
      STR group;
      if (compose(parent, line, "", group)) addGroup(group, depth);
    }
  }

 private:
  const HSTUFF& stuff;
  const KWIMAGE& image;
  BLOCK& text;
  uint32_t left;  // bytes of names, and lines

  bool pay(uint32_t n) {
    left = n < left ? left - n : 0;
    return left > 0;
  }

  // False for a name that no section can have.
  static bool compose(const char* front, TBLOCK name, const char* back,
                      STR& out) {
    if (name.length >= kMaxSectionName) return false;
    out = front;
    out += name;
    out += back;
    return out.len() < static_cast<int32_t>(kMaxSectionName);
  }

  const TQKSECTION* add(TBLOCK name) {
    if (name.length >= kMaxSectionName || name.findByte('\0') >= 0 ||
        !pay(name.length + 1) || !text.add(name) || !text.add("", 1))
      return nullptr;
    return stuff.findSection(name);
  }

  void addGroup(const STR& group, int32_t depth) {
    STR name;
    const TQKSECTION* children = nullptr;
    groups.add(static_cast<int32_t>(text.length));
    for (const auto& parts : kGroupSections) {
      if (!compose(parts[0], group.view(), parts[1], name)) continue;
      const TQKSECTION* found = addSection(name.view(), 1);
      if (!*parts[0] && !*parts[1]) children = found;
    }
    if (!children || !(children->type & kListTypes)) return;
    if (depth < kMaxSectionDepth && compose("", group.view(), "\\", name))
      addGroups(children, name.c_str(), depth + 1);
  }
};

}  // namespace

int SectionDigest(TBLOCK name, unsigned char* digest) {
  if (name.empty() || name.length >= kMaxSectionName) return 0;
  GetNameDigest(name, digest);
  return 1;
}

const TQKSECTION* HSTUFF::findSection(TBLOCK name) const {
  void* section = nullptr;
  if (named.find(name, section) >= 0) return AsSection(section);
  unsigned char digest[MD5::kDigestBytes];
  if (!SectionDigest(name, digest)) return nullptr;
  void* found = nullptr;
  sections.find(TBLOCK(digest, sizeof digest), found);
  return AsSection(found);
}

void HSTUFF::addName(TBLOCK name) {
  named.insert(name, const_cast<TQKSECTION*>(findSection(name)));
}

void HSTUFF::indexNames() {
  named.maxProbes = groups.maxProbes = kHostileProbes;
  for (const char* name : kNames) addName(TBLOCK(name));
}

void HSTUFF::prepareNames() {
  if (!namedText.view().empty()) return;
  COMPOSER composer(*this, namedText);
  for (const char* list : kGroupLists)
    composer.addGroups(findSection(TBLOCK(list)), "", 1);
  for (const char* name : kNames) composer.addSection(TBLOCK(name), 1);
  TBLOCK rest = namedText.view();
  while (!rest.empty()) {
    const uint32_t end = static_cast<uint32_t>(rest.findByte('\0'));
    addName(rest.head(end));
    noteException(rest.head(end));
    rest.skip(end + 1);
  }
  for (int32_t i = 0; i < composer.groups.count(); i++) {
    rest = namedText.view().from(static_cast<uint32_t>(composer.groups.get(i)));
    noteGroup(UntilNul(rest));
  }
}

// ---- Sections that go with others

uint32_t HSTUFF::sectionNumber(const TQKSECTION* section) const {
  return static_cast<uint32_t>(section - image.section(0));
}

// A section has one name, so what goes with the name goes with the section.
void HSTUFF::noteException(TBLOCK name) {
  const uint32_t size = image.sectionCount * sizeof(TEXCEPTION);
  const TQKSECTION* const section = findSection(name);
  if (!section) return;
  if (exceptions.length == 0) {
    if (!exceptions.addSpace(size)) return;
    memset(exceptions.data, 0, size);
    exceptions.length = size;
  }
  SECTIONNAME exception;
  exception.add("No-").add(name);
  const TEXCEPTION noted = {1, findSection(exception.view())};
  memcpy(exceptions.data + sectionNumber(section) * sizeof noted, &noted,
         sizeof noted);
}

const TQKSECTION* HSTUFF::findException(const TQKSECTION* section,
                                        const char* name) const {
  if (exceptions.length > 0) {
    TEXCEPTION noted;
    memcpy(&noted, exceptions.data + sectionNumber(section) * sizeof noted,
           sizeof noted);
    if (noted.known) return noted.section;
  }
  SECTIONNAME exception;
  return findSection(exception.add("No-").add(name).view());
}

void HSTUFF::noteGroup(TBLOCK name) {
  SECTIONNAME text;
  text.add(name);
  TGROUPSECTIONS group;
  void* known = nullptr;
  if (name.empty() || groups.find(name, known) >= 0) return;
  findGroup(text.c_str(), group);
  const uintptr_t at = groupSections.length;
  if (groupSections.add(&group, sizeof group))
    groups.insert(name, reinterpret_cast<void*>(at));
}

void HSTUFF::findGroup(const char* name, TGROUPSECTIONS& group) const {
  void* at = nullptr;
  if (groups.find(TBLOCK(name), at) >= 0) {
    memcpy(&group, groupSections.data + reinterpret_cast<uintptr_t>(at),
           sizeof group);
    return;
  }
  for (int32_t i = 0; i < gsCount; i++) {
    SECTIONNAME section;
    section.add(kGroupSections[i][0]).add(name).add(kGroupSections[i][1]);
    group.of[i] = findSection(section.view());
  }
}
