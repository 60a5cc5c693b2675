// The merge works on a flat image: each section is copied to the end of the
// tables of a TKwObj, where lines can be put in and taken out, and the patches
// that follow it are carried out there. A second copy leaves behind what was
// taken out. Entries: KwLoadKeywords, TKwObj::ApplyPatch. Tested by
// kw_patch_test.cc, fuzzed by keyword_patch_fuzz.cc.

#include "rules/kw_patch.h"

#include <string.h>

#include "base/hash_file.h"
#include "base/vectors.h"
#include "base/wildcard.h"
#include "data/ready_kwo.h"
#include "rules/keyword_image.h"
#include "rules/kw_obj.h"
#include "rules/qm_dico.h"

namespace {

const char kEtcList[] = "/etc/quaymarsh/qmpatch.list";
const char kListName[] = "qmpatch.list";
// Steps of one merge: lines that are looked at, and what is moved for each that
// is put in or taken out. A dictionary of full size of which every line is
// patched needs less than a tenth of them.
const uint64_t kMaxPatchWork = 1u << 27;
// Bytes that are compared or moved at about the cost of looking at one line.
const uint32_t kBytesOfStep = 512;

const char kNoSuchLine[] = "the section has no such line";

void Tell(STR* why, const char* file, const char* what) {
  if (!why) return;
  if (file) {
    *why += file;
    *why += ": ";
  }
  *why += what;
  *why += '\n';
}

// Bytes of a path up to and with its last separator.
uint32_t DirectoryLength(TBLOCK path) {
  uint32_t n = path.length;
  while (n > 0 && path[n - 1] != '/' && path[n - 1] != '\\') n--;
  return n;
}

// All tables lie inside the image.
bool IsComplete(TBLOCK bytes) {
  TQKFILE header;
  memcpy(&header, bytes.pointer, sizeof header);
  const uint64_t rows[][3] = {
      {header.sectionCount, header.sectionOffset, sizeof(TQKSECTION)},
      {header.lineCount, header.lineOffset, sizeof(TQKLINE)},
      {header.andCount, header.andOffset, sizeof(TQKAND)},
      {header.orCount, header.orOffset, sizeof(TQKOR)},
      {header.wordCount, header.wordOffset, sizeof(TQKWORD)},
      {header.textSize, header.textOffset, 1},
  };
  for (const auto& row : rows)
    if (row[0] * row[2] + row[1] > bytes.length) return false;
  return header.totalSize == bytes.length;
}

bool HoldsPatches(const KWIMAGE& image) {
  for (uint32_t i = 0; i < image.sectionCount; i++)
    if (image.section(i)->flags == sfPatch) return true;
  return false;
}

// The images of a list, one after the other.
class TPATCHLIST {
 public:
  TPATCHLIST(const char* list, const char* baseFile, STR* reasons)
      : listFile(list),
        mask(baseFile && strchr(baseFile, '*') ? baseFile : nullptr),
        base(mask ? nullptr : baseFile),
        why(reasons),
        added(0),
        paths(0, 1000),
        firsts(0, 1000) {}
  bool addAll(TKwObj& object);
  // Tells why the merge failed: `image` holds the sections as they were added,
  // or the one that could not be.
  void tellFailure(const TKwObj& object, const KWIMAGE& image);

  const char* listFile;
  const char* mask;
  const char* base;
  STR* why;
  uint32_t added;

 private:
  bool addNamed(TKwObj& object, TBLOCK name);
  bool addImage(TKwObj& object, TBLOCK bytes, const char* path);
  void tellSection(const TKwObj& object, const KWIMAGE& image,
                   const char* path);

  STRVECT paths;   // of the images that were added
  INTVECT firsts;  // the first section of each
};

bool TPATCHLIST::addAll(TKwObj& object) {
  BLOCK list(0, 4096), image(0, 4096);
  uint32_t size = 0;
  // An empty list is one without names; loading tells it from none.
  if (!BLOCK::IsFile(listFile, size) ||
      (size > 0 && !list.loadFrom(listFile, size, 0))) {
    Tell(why, listFile, "cannot be read");
    return false;
  }
  if (base) {
    if (!LoadKeywordImage(&image, base, why)) return false;
    if (!addImage(object, image.view(), base)) return false;
    added++;
  }
  TBLOCK rest = list.view();
  while (!rest.empty()) {
    TBLOCK line = TBLOCK::NextMailLine(rest);
    line.trim();
    if (line.empty() || line[0] == '#') continue;
    if (line.length > kMaxPatchListLine) {
      Tell(why, listFile, "a line is too long");
      continue;
    }
    if (mask && !MatchWildcard(TBLOCK(mask), line, wmOverlap)) continue;
    if (!addNamed(object, line)) return false;
  }
  if (added == 0) Tell(why, listFile, "names no image that can be used");
  return added > 0;
}

// False only when the merge is lost; an image that does not load is not.
bool TPATCHLIST::addNamed(TKwObj& object, TBLOCK name) {
  STR path;
  if (DirectoryLength(name) == 0)
    path = TBLOCK(listFile).head(DirectoryLength(TBLOCK(listFile)));
  for (uint32_t i = 0; i < name.length; i++)
    path += name[i] == '\\' ? '/' : static_cast<char>(name[i]);
  BLOCK image(0, 4096);
  if (!LoadKeywordImage(&image, path.c_str(), why)) return true;
  if (added == 0 && HoldsPatches(KWIMAGE(image.view())) &&
      !addImage(object, TBLOCK(ReadyKWO, getReadyKWOLen()),
                "(the library's dictionary)"))
    return false;
  added++;
  return addImage(object, image.view(), path.c_str());
}

bool TPATCHLIST::addImage(TKwObj& object, TBLOCK bytes, const char* path) {
  const KWIMAGE image(bytes);
  if (!paths.add(path) ||
      !firsts.add(static_cast<int32_t>(object.sectionCount()))) {
    Tell(why, path, "out of memory");
    return false;
  }
  if (object.AddKwFile(image)) return true;
  tellSection(object, image, path);
  return false;
}

// "path: section DIGEST, line N: what"
void TPATCHLIST::tellSection(const TKwObj& object, const KWIMAGE& image,
                             const char* path) {
  STR what;
  const int32_t n = object.errorSection;
  const TQKSECTION* section =
      n < 0 ? nullptr : image.section(static_cast<uint32_t>(n));
  if (section) {
    what += "section ";
    const TBLOCK name = image.sectionName(section);
    for (uint32_t i = 0; i < name.length; i++) {
      what += "0123456789abcdef"[name[i] >> 4];
      what += "0123456789abcdef"[name[i] & 15];
    }
    if (object.errorLine >= 0) {
      what += ", line ";
      what += object.errorLine + 1;
    }
    what += ": ";
  }
  what += object.error ? object.error : "out of memory";
  Tell(why, path, what.c_str());
}

void TPATCHLIST::tellFailure(const TKwObj& object, const KWIMAGE& image) {
  int32_t i = firsts.count() - 1;
  while (i > 0 && firsts.get(i) > object.errorSection) i--;
  tellSection(object, image, object.errorSection < 0 ? nullptr : paths.text(i));
}

}  // namespace

int LoadKeywordImage(BLOCK* out, const char* path, STR* why) {
  uint32_t size = 0;
  int32_t swapped = 0;
  out->empty();
  const char* what = nullptr;
  if (!BLOCK::IsFile(path, size))
    what = "no such file";
  else if (size < kKeywordHeaderBytes || size > kMaxBlockBytes)
    what = "no image: its size";
  else if (!out->loadFrom(path, size, 0))
    what = "cannot be read";
  else if (memcmp(out->data, "QMKW", 4) != 0)
    what = "no image: its first bytes";
  else if (!setupKeywords(out->view(), swapped))
    what = "no image: its header";
  else if (!IsComplete(out->view()))
    what = "the image is cut off or damaged";
  if (!what) return 1;
  out->empty();
  Tell(why, path, what);
  return 0;
}

const unsigned char* KwLoadKeywords(BLOCK* out, const char* baseFile,
                                    const char* listFile, STR* why) {
  if (!out) return nullptr;
  if (!listFile)
    return baseFile && LoadKeywordImage(out, baseFile, why) ? out->data
                                                            : nullptr;
  out->empty();
  TKwObj object;
  TPATCHLIST list(listFile, baseFile, why);
  if (list.addAll(object)) {
    if (object.ApplyPatch(out)) return out->data;
    list.tellFailure(object, KWIMAGE(out->view()));
  }
  out->empty();
  return nullptr;
}

const unsigned char* LoadPatchedKeywords(BLOCK* out, const char* directory) {
  if (directory) {
    STR path(directory);
    path += '/';
    path += kListName;
    if (KwLoadKeywords(out, nullptr, path.c_str(), nullptr)) return out->data;
  }
  if (KwLoadKeywords(out, nullptr, kEtcList, nullptr)) return out->data;
  return KwLoadKeywords(out, nullptr, kListName, nullptr);
}

// ---- The merge

namespace {

// The patches of an image by the name of the section that they are of. Names
// compare through LowerConvTable, though they are digests.
class TPATCHINDEX {
 public:
  explicit TPATCHINDEX(const KWIMAGE& imageToRead);

  // False when memory was short.
  bool complete;

  // The next patch of section i, which stands behind it, or -1. Each is given
  // once.
  int32_t take(uint32_t i);
  // The first patch that was not given, or -1.
  int32_t firstLeft() const;

 private:
  static const int32_t kNone = -1, kTaken = -2;
  // The patches of one name, in their order.
  struct LIST {
    int32_t first, last;
  };

  const KWIMAGE& image;
  HASHFILE lists;  // folded name -> LIST
  INTVECT next;    // of each section, in its list

  bool fold(uint32_t section, unsigned char* folded) const;
  bool add(int32_t patch);
};

TPATCHINDEX::TPATCHINDEX(const KWIMAGE& imageToRead)
    : complete(true),
      image(imageToRead),
      lists(0, hashExact),
      next(imageToRead.sectionCount * 4, 0) {
  lists.setRecSize(sizeof(LIST));
  for (uint32_t i = 0; i < image.sectionCount && complete; i++) {
    complete = next.add(kNone) != 0;
    if (complete && image.section(i)->flags == sfPatch)
      complete = add(static_cast<int32_t>(i));
  }
}

// False for a section without a name.
bool TPATCHINDEX::fold(uint32_t section, unsigned char* folded) const {
  const TBLOCK name = image.sectionName(image.section(section));
  if (name.length != kSectionNameBytes) return false;
  for (uint32_t i = 0; i < kSectionNameBytes; i++)
    folded[i] = TBLOCK::LowerConvTable[name[i]];
  return true;
}

bool TPATCHINDEX::add(int32_t patch) {
  unsigned char name[kSectionNameBytes];
  if (!fold(static_cast<uint32_t>(patch), name)) return true;
  const TBLOCK key(name, kSectionNameBytes);
  void* record = nullptr;
  LIST list = {patch, patch};
  if (lists.find(key, record) >= 0) {
    memcpy(&list, record, sizeof list);
    next.set(patch, list.last);
    list.last = patch;
  } else if (lists.insertData(key, record) < 0 || !record) {
    return false;
  }
  memcpy(record, &list, sizeof list);
  return true;
}

int32_t TPATCHINDEX::take(uint32_t i) {
  unsigned char name[kSectionNameBytes];
  void* record = nullptr;
  if (!fold(i, name) || lists.find(TBLOCK(name, kSectionNameBytes), record) < 0)
    return kNone;
  LIST list;
  memcpy(&list, record, sizeof list);
  const int32_t patch = list.first;
  if (patch <= static_cast<int32_t>(i)) return kNone;
  list.first = next.get(patch);
  next.set(kTaken, patch);
  memcpy(record, &list, sizeof list);
  return patch;
}

int32_t TPATCHINDEX::firstLeft() const {
  for (uint32_t i = 0; i < image.sectionCount; i++)
    if (image.section(i)->flags == sfPatch &&
        next.get(static_cast<int32_t>(i)) != kTaken)
      return static_cast<int32_t>(i);
  return kNone;
}

}  // namespace

// A patch that the walk meets after its section has taken it is passed over, on
// purpose: it stands where it has to. Only one that no section in front of it
// has taken makes the merge fail.
int TKwObj::ApplyPatch(BLOCK* flat) {
  if (!WriteToStream(flat)) return 0;
  Clean();
  const KWIMAGE image(flat->view());
  TPATCHINDEX patches(image);
  if (!patches.complete) return fail("out of memory", -1, 0);
  startCopy(image);
  workLeft = kMaxPatchWork;
  for (uint32_t i = 0; i < image.sectionCount; i++) {
    const TQKSECTION* section = image.section(i);
    if (section->flags == sfPatch) continue;
    errorSection = static_cast<int32_t>(i);
    if (!AddKwSection(image, section)) return 0;
    bool patched = false;
    for (int32_t k = patches.take(i); k >= 0; k = patches.take(i)) {
      errorSection = k;
      if (!ApplyPatchSection(image, image.section(static_cast<uint32_t>(k))))
        return 0;
      patched = true;
    }
    if (section->type == stSortedMd5 && patched) sortDigests();
  }
  errorSection = patches.firstLeft();
  if (errorSection >= 0)
    return fail("no section of this name stands in front of the patch", -1, 0);
  // Once more, without what was taken out.
  BLOCK merged(0, BLOCK::_DEFALLOCSIZE);
  if (!WriteToStream(&merged)) return 0;
  Clean();
  if (!AddKwFile(KWIMAGE(merged.view()))) return errorSection = -1, 0;
  return WriteToStream(flat);
}

// Charges what the merge does; false when that is too much.
bool TKwObj::work(uint64_t steps) {
  if (steps > workLeft)
    return fail("the patches ask for too much work", -1, 0) != 0;
  workLeft -= steps;
  return true;
}

// Works on the last section of this object.
int TKwObj::ApplyPatchSection(const KWIMAGE& image, const TQKSECTION* patch) {
  const uint16_t type = lastSection()->type;
  const uint16_t wanted = type == stSortedMd5 ? uint16_t{stMd5} : type;
  if (patch->type != wanted)
    return fail("the patch is of another type than its section", -1, 0);
  uint32_t cursor = 0;
  const uint32_t count = image.lineCountOf(patch);
  for (uint32_t i = 0; i < count; i++) {
    if (ApplyPatchLine(image, patch, image.sectionLine(patch, i), cursor))
      continue;
    if (errorLine < 0) errorLine = static_cast<int32_t>(i);
    return 0;
  }
  return 1;
}

int TKwObj::ApplyPatchLine(const KWIMAGE& image, const TQKSECTION* patch,
                           const TQKLINE* line, uint32_t& cursor) {
  if (line->action < paAppend || line->action > paRemoveToo)
    return fail("the patch's line says nothing to be done", -1, 0);
  if (lastSection()->type == stSortedMd5)
    return ApplyPatchSortedMd5Line(image.lineBlock(line), line->action, cursor);
  return ApplyPatchStringLine(image, patch, line, cursor);
}

// Lines with records of their own, pattern lines too.
int TKwObj::ApplyPatchStringLine(const KWIMAGE& image, const TQKSECTION* patch,
                                 const TQKLINE* line, uint32_t& cursor) {
  const uint8_t action = line->action;
  const uint32_t size = static_cast<uint32_t>(sizeof(TQKLINE));
  const bool insert = action == paInsert;
  if (insert && !work((lastSection()->count - cursor) * size / kBytesOfStep))
    return 0;
  if (!AddKwLine(image, patch, line,
                 insert ? static_cast<int32_t>(cursor) : -1))
    return 0;
  TQKSECTION* section = lastSection();
  if (action == paAppend || insert) {
    const uint32_t at = insert ? cursor++ : section->count - 1;
    lineAt(section->first + at)->action = paNone;
    return 1;
  }
  // The copy was made only to be compared with: its strings share the places
  // of equal ones.
  const TQKLINE sample = *lineAt(section->first + section->count - 1);
  section->count--;
  lines.removeEnd(size);
  const int32_t found = findEqualLine(sample, section->type);
  if (found < 0) return fail(kNoSuchLine, -1, 0);
  cursor = static_cast<uint32_t>(found);
  if (action == paFind) {
    cursor++;
    return 1;
  }
  section->count--;
  return work((section->count - cursor) * size / kBytesOfStep) &&
         lines.remove((section->first + cursor) * size, size);
}

int32_t TKwObj::findEqualLine(const TQKLINE& sample, uint16_t type) {
  const TQKSECTION* section = lastSection();
  for (uint32_t i = 0; i < section->count; i++) {
    const TQKLINE& line = *lineAt(section->first + i);
    if (!work(1)) return -1;
    if (type == stPattern ? equalPatternLines(line, sample)
                          : equalStringLines(line, sample, type))
      return static_cast<int32_t>(i);
  }
  return -1;
}

bool TKwObj::equalStringLines(const TQKLINE& line, const TQKLINE& sample,
                              uint16_t type) {
  if (line.length != sample.length || line.key != sample.key) return false;
  if (sample.score != 0 && line.score != sample.score) return false;
  if (sample.flags != 0 && sample.flags != KWLINEFLAGSTRING &&
      line.flags != sample.flags)
    return false;
  if (line.text == sample.text) return true;
  // Digests are no text, whose case could be told.
  return type != stMd5 && work(line.length / kBytesOfStep) &&
         TBLOCK(text.data + line.text, line.length)
             .equals(TBLOCK(text.data + sample.text, sample.length));
}

// Lines whose texts are printed alike have the same structure and, as strings
// are shared, the same places of their words.
bool TKwObj::equalPatternLines(const TQKLINE& line, const TQKLINE& sample) {
  if (line.length != sample.length) return false;
  const TQKAND* groups = reinterpret_cast<const TQKAND*>(ands.data);
  const TQKOR* phrases = reinterpret_cast<const TQKOR*>(ors.data);
  const TQKWORD* all = reinterpret_cast<const TQKWORD*>(words.data);
  for (uint32_t i = 0; i < line.length; i++) {
    const TQKAND& a = groups[line.text + i];
    const TQKAND& b = groups[sample.text + i];
    if (a.count != b.count) return false;
    if (i + 1 < line.length && a.joiner != b.joiner) return false;
    for (uint32_t k = 0; k < a.count; k++) {
      const TQKOR& p = phrases[a.first + k];
      const TQKOR& q = phrases[b.first + k];
      const uint32_t bytes = p.count * static_cast<uint32_t>(sizeof(TQKWORD));
      if (p.count != q.count || !work(1 + bytes / kBytesOfStep)) return false;
      if (p.count > 0 && memcmp(all + p.first, all + q.first, bytes) != 0)
        return false;
    }
  }
  return true;
}

// The digests of the section end the pool, in no order until all is done.
int TKwObj::ApplyPatchSortedMd5Line(TBLOCK digest, uint8_t action,
                                    uint32_t& cursor) {
  TQKSECTION* section = lastSection();
  if (digest.length != kSectionNameBytes)
    return fail("the patch's line holds no digest", -1, 0);
  if (action == paAppend || action == paInsert) {
    if (!addRecord(text, digest.pointer, digest.length)) return 0;
    section->count++;
    if (action == paInsert) cursor++;
    return 1;
  }
  uint32_t i = 0;
  const unsigned char* digests = text.data + section->first;
  while (i < section->count && memcmp(digests + i * kSectionNameBytes,
                                      digest.pointer, kSectionNameBytes) != 0)
    i++;
  if (!work((i + 3) / 4)) return 0;
  if (i == section->count) return fail(kNoSuchLine, -1, 0);
  cursor = action == paFind ? i + 1 : i;
  if (action == paFind) return 1;
  section->count--;
  return text.remove(section->first + i * kSectionNameBytes, kSectionNameBytes);
}
