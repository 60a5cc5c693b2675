// The merge works on a flat image: each section is copied to the end of the
// tables of a TKwObj, where lines can be put in and taken out, and the patches
// that follow it are carried out there. A second copy leaves behind what was
// taken out. Entries: KwLoadKeywords, TKwObj::ApplyPatch. Tested by
// kw_patch_test.cc.

#include "rules/kw_patch.h"

#include <string.h>

#include "base/wildcard.h"
#include "data/ready_kwo.h"
#include "rules/keyword_image.h"
#include "rules/kw_obj.h"
#include "rules/qm_dico.h"

namespace {

const char kEtcList[] = "/etc/quaymarsh/qmpatch.list";
const char kListName[] = "qmpatch.list";

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

bool SameName(const KWIMAGE& image, const TQKSECTION* a, const TQKSECTION* b) {
  return image.sectionName(a).equals(image.sectionName(b));
}

// Adds one image to the object; null `path` is the library's own.
bool AddImage(TKwObj& object, TBLOCK bytes, const char* path, STR* why) {
  if (object.AddKwFile(KWIMAGE(bytes))) return true;
  Tell(why, path ? path : "(the library's dictionary)", object.error);
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
        added(0) {}
  bool addAll(TKwObj& object);

  const char* listFile;
  const char* mask;
  const char* base;
  STR* why;
  uint32_t added;

 private:
  bool addNamed(TKwObj& object, TBLOCK name);
};

bool TPATCHLIST::addAll(TKwObj& object) {
  BLOCK list(0, 4096), image(0, 4096);
  uint32_t size = 0;
  if (!BLOCK::IsFile(listFile, size) || !list.loadFrom(listFile, size, 0)) {
    Tell(why, listFile, "cannot be read");
    return false;
  }
  if (base) {
    if (!LoadKeywordImage(&image, base, why)) return false;
    if (!AddImage(object, image.view(), base, why)) return false;
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
      !AddImage(object, TBLOCK(ReadyKWO, getReadyKWOLen()), nullptr, why))
    return false;
  added++;
  return AddImage(object, image.view(), path.c_str(), why);
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
    if (object.ApplyPatch(out)) {
      if (object.WriteToStream(out)) return out->data;
    }
    Tell(why, nullptr, object.error ? object.error : "out of memory");
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

int TKwObj::ApplyPatch(BLOCK* work) {
  if (!WriteToStream(work)) return 0;
  Clean();
  const KWIMAGE image(work->view());
  uint32_t patches = 0, consumed = 0;
  for (uint32_t i = 0; i < image.sectionCount; i++)
    if (image.section(i)->flags == sfPatch) patches++;
  for (uint32_t i = 0; i < image.sectionCount; i++) {
    const TQKSECTION* section = image.section(i);
    if (section->flags == sfPatch) continue;
    if (!AddKwSection(image, section)) return 0;
    const uint32_t before = consumed;
    for (uint32_t k = i + 1; consumed < patches && k < image.sectionCount;
         k++) {
      const TQKSECTION* patch = image.section(k);
      if (patch->flags != sfPatch || !SameName(image, section, patch)) continue;
      if (!ApplyPatchSection(image, patch)) return 0;
      consumed++;
    }
    if (section->type == stSortedMd5 && consumed > before) sortDigests();
  }
  if (consumed < patches)
    return fail("a patch does not follow the section that it names", -1, 0);
  // Once more, without what was taken out.
  if (!WriteToStream(work)) return 0;
  Clean();
  return AddKwFile(KWIMAGE(work->view())) && WriteToStream(work);
}

// Works on the last section of this object.
int TKwObj::ApplyPatchSection(const KWIMAGE& image, const TQKSECTION* patch) {
  const uint16_t type = lastSection()->type;
  const uint16_t wanted = type == stSortedMd5 ? uint16_t{stMd5} : type;
  if (patch->type != wanted)
    return fail("a patch is of another type than its section", -1, 0);
  uint32_t cursor = 0;
  const uint32_t count = image.lineCountOf(patch);
  for (uint32_t i = 0; i < count; i++) {
    const TQKLINE* line = image.sectionLine(patch, i);
    const int done = type == stSortedMd5
                         ? ApplyPatchSortedMd5Line(image.lineBlock(line),
                                                   line->action, cursor)
                         : ApplyPatchLine(image, patch, line, cursor);
    if (!done)
      return fail("a patch looks for a line that is not there, or has none",
                  static_cast<int32_t>(i), 0);
  }
  return 1;
}

int TKwObj::ApplyPatchLine(const KWIMAGE& image, const TQKSECTION* patch,
                           const TQKLINE* line, uint32_t& cursor) {
  const uint8_t action = line->action;
  if (action < paAppend || action > paRemoveToo) return 0;
  const uint32_t size = static_cast<uint32_t>(sizeof(TQKLINE));
  const bool insert = action == paInsert;
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
  if (found < 0) return 0;
  cursor = static_cast<uint32_t>(found);
  if (action == paFind) {
    cursor++;
    return 1;
  }
  section->count--;
  return lines.remove((section->first + cursor) * size, size);
}

int32_t TKwObj::findEqualLine(const TQKLINE& sample, uint16_t type) {
  const TQKSECTION* section = lastSection();
  for (uint32_t i = 0; i < section->count; i++) {
    const TQKLINE& line = *lineAt(section->first + i);
    if (type == stPattern ? equalPatternLines(line, sample)
                          : equalStringLines(line, sample, type))
      return static_cast<int32_t>(i);
  }
  return -1;
}

bool TKwObj::equalStringLines(const TQKLINE& line, const TQKLINE& sample,
                              uint16_t type) const {
  if (line.length != sample.length || line.key != sample.key) return false;
  if (sample.score != 0 && line.score != sample.score) return false;
  if (sample.flags != 0 && sample.flags != KWLINEFLAGSTRING &&
      line.flags != sample.flags)
    return false;
  if (line.text == sample.text) return true;
  // Digests are no text, whose case could be told.
  return type != stMd5 &&
         TBLOCK(text.data + line.text, line.length)
             .equals(TBLOCK(text.data + sample.text, sample.length));
}

// Lines whose texts are printed alike have the same structure and, as strings
// are shared, the same places of their words.
bool TKwObj::equalPatternLines(const TQKLINE& line,
                               const TQKLINE& sample) const {
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
      if (p.count != q.count) return false;
      if (p.count > 0 &&
          memcmp(all + p.first, all + q.first, p.count * sizeof(TQKWORD)) != 0)
        return false;
    }
  }
  return true;
}

// The digests of the section end the pool, in no order until all is done.
int TKwObj::ApplyPatchSortedMd5Line(TBLOCK digest, uint8_t action,
                                    uint32_t& cursor) {
  TQKSECTION* section = lastSection();
  if (digest.length != kSectionNameBytes) return 0;
  if (action == paAppend || action == paInsert) {
    if (!addRecord(text, digest.pointer, digest.length)) return 0;
    section->count++;
    if (action == paInsert) cursor++;
    return 1;
  }
  if (action < paRemove || action > paRemoveToo) return 0;
  for (uint32_t i = 0; i < section->count; i++) {
    const uint32_t at = section->first + i * kSectionNameBytes;
    if (memcmp(text.data + at, digest.pointer, kSectionNameBytes) != 0)
      continue;
    cursor = action == paFind ? i + 1 : i;
    if (action == paFind) return 1;
    section->count--;
    return text.remove(at, kSectionNameBytes);
  }
  return 0;
}
