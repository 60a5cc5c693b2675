// The section of a name. A name is digested to find it, which takes longer than
// all the rest of the search; a scan asks for hundreds of names, always the
// same. So their answers, also that there is no such section, are kept with the
// dictionary: those of the names in section_names.inc for each one, those of
// names that scans compose for one that is shared. Any other name is digested.
//
// Entries: HSTUFF::findSection, HSTUFF::prepareNames. Tested by
// qm_dico_test.cc.

#include "base/md5.h"
#include "rules/qm_dico.h"
#include "rules/section_name.h"

namespace {

// Bytes of composed names, against lists of a damaged image that name each
// other: many times what a dictionary needs.
const uint32_t kMaxNamedText = 1 << 18;

const char* const kNames[] = {
#include "rules/section_names.inc"
};

// Sections of which the lines are groups of words.
const char* const kGroupLists[] = {"BlackWordGroups", "CommercialWordGroups",
                                   "ResitWordGroups", "ScamGroups"};
// What is put in front of and behind the name of a group.
const char* const kGroupSections[][2] = {
    {"", ""},
    {"No-", "-Regex"},
    {"", "-Group"},
    {"", "-GroupRegex"},
    {"", "-Words"},
    {"", "-SubjectWords"},
    {"", "-AliasWords"},
    {"", "-Regex"},
};

// Section types that may list groups inside of a group.
const uint32_t kListTypes = 1 | 8;

const TQKSECTION* AsSection(void* data) {
  return static_cast<const TQKSECTION*>(data);
}

// Writes the composed names down, each with a NUL behind it: where they lie for
// good is known when they are all there. Names that are met again are written
// again, so that a walk in circles comes to an end.
class COMPOSER {
 public:
  COMPOSER(const HSTUFF& stuffToRead, BLOCK& out)
      : stuff(stuffToRead),
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
  named.maxProbes = kHostileProbes;
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
    rest.skip(end + 1);
  }
}
