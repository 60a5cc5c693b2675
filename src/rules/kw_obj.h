// TKwObj: a rule dictionary being built, from source lines or from compiled
// images, and merged with patches. doc/keyword-image.md tells what it writes,
// doc/keyword-source.md what it reads. Not for use during a scan.
//
// A failure sets `error`; after one the object is only good for Clean.

#ifndef RULES_KW_OBJ_H_
#define RULES_KW_OBJ_H_

#include <stdint.h>

#include "base/block.h"
#include "base/hash_file.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "rules/keyword_image.h"

// TQKLINE::action
enum TPATCHACTION : uint8_t {
  paNone = 0,
  paAppend = 1,    // "++": behind the last line
  paInsert = 2,    // "+": at the cursor
  paRemove = 3,    // "-"
  paFind = 4,      // "=": the cursor goes behind the equal line
  paRemoveToo = 5  // "--": as paRemove
};

// Takes the action off the front of a patch line.
uint8_t GetPatchDicoAction(TBLOCK& line);

// What a section's name in source stands for, with the prefix taken off it.
void GetSectionType(TBLOCK& name, uint16_t& type, uint16_t& flags);

// The key by which a pattern line that begins with this word is filed, or 0.
unsigned char GetLineKey(TBLOCK word);

class TKwObj {
 public:
  BLOCK sections, lines, ands, ors, words;  // records, as in the image
  BLOCK text;                               // the pool
  HASHFILE wordTable;     // a string of the pool -> its offset
  HASHFILE sectionTable;  // digests of sections that are no patches
  int32_t patching;       // 1 while a patch section is compiled
  const char* error;      // a literal; null when all went well
  int32_t errorLine;      // of the section that failed; -1 for the section
  uint32_t errorOffset;   // in that line
  // Of an image that is copied or merged, the section that failed; -1: none
  int32_t errorSection;

  TKwObj();

  void Clean();

  // Compiles a section; the name has its prefix. A section without lines adds
  // nothing and is a success. 1, or 0 on a second section of the name (patches
  // may repeat) or a line that cannot be read: the lines behind it are lost.
  int AddSection(TBLOCK name, TBLOCKVECT* content, int isPatch);

  // Copies sections of an image. 1, or 0 on a section that is there already and
  // on what no compiler writes: flags of no kind, and records that several
  // sections or lines claim, which could grow without end. errorSection is an
  // index into `image`.
  int AddKwFile(const KWIMAGE& image);
  int AddKwSection(const KWIMAGE& image, const TQKSECTION* section);
  // Copies a line into the last section, ahead of line `at` of it; -1 appends.
  int AddKwLine(const KWIMAGE& image, const TQKSECTION* section,
                const TQKLINE* line, int32_t at);

  // Writes the image into `out`, which is emptied. 1, or 0 without memory.
  int WriteToStream(BLOCK* out);

  // Carries out the patch sections that follow the ones they patch; the result
  // stands in this object, and as an image in `flat`. After a failure `flat`
  // holds the sections as they were added, of which errorSection is one, and
  // errorLine a line of that. Bodies: kw_patch.cc.
  int ApplyPatch(BLOCK* flat);

  uint32_t sectionCount() const;
  uint32_t lineCount() const;

 private:
  // What may still be copied or done, see kw_obj.cc and kw_patch.cc.
  uint64_t linesLeft, recordsLeft, bytesLeft, workLeft;

  int ApplyPatchSection(const KWIMAGE& image, const TQKSECTION* patch);
  int ApplyPatchLine(const KWIMAGE& image, const TQKSECTION* patch,
                     const TQKLINE* line, uint32_t& cursor);
  int ApplyPatchStringLine(const KWIMAGE& image, const TQKSECTION* patch,
                           const TQKLINE* line, uint32_t& cursor);
  int ApplyPatchSortedMd5Line(TBLOCK digest, uint8_t action, uint32_t& cursor);
  int32_t findEqualLine(const TQKLINE& sample, uint16_t type);
  bool equalStringLines(const TQKLINE& line, const TQKLINE& sample,
                        uint16_t type);
  bool equalPatternLines(const TQKLINE& line, const TQKLINE& sample);
  bool work(uint64_t steps);

  int fail(const char* what, int32_t line, uint32_t offset);
  TQKSECTION* beginSection(const unsigned char* digest, uint16_t type,
                           uint16_t flags);
  TQKSECTION* lastSection();
  TQKLINE* lineAt(uint32_t i);
  // `type` is that of the source: of a patch it may differ from the image's.
  int AddLine(TBLOCK line, uint16_t type, int32_t number);
  int AddStringLine(TBLOCK line, uint8_t action);
  int AddMd5Line(TBLOCK line, uint8_t action, bool scored);
  int AddSortedMd5Line(TBLOCK line);
  int AddLitteralLine(TBLOCK line, uint8_t action, TBLOCK whole);
  int AddPatternLine(TBLOCK line, uint8_t action);
  int AddGroups(TBLOCK pattern, TQKLINE& line);
  int AddAnd(TBLOCK group);
  int AddOr(TBLOCK alternative, uint32_t& added);
  int AddSpace(TBLOCK word);
  void startCopy(const KWIMAGE& image);
  bool takeRecords(uint64_t n);
  int copyGroup(const KWIMAGE& image, const TQKAND& source);
  int addRecord(BLOCK& table, const void* record, uint32_t n);
  int addTextLine(TBLOCK content, TQKLINE& line);
  uint32_t AddBlock(TBLOCK content);
  uint32_t AddMd5Digest(const unsigned char* digest);
  void SetLineKey(TQKLINE& line);
  void sortDigests();
};

// Reads "<n>" or "<&n>" at the front of a line and takes it off, with the
// blanks behind it; 1, or 0 with nothing changed.
int ReadScore(TBLOCK& line, int32_t& score, uint16_t& flags);
// Reads "(options)" in the same way.
int ReadOptions(TBLOCK& line, uint16_t& flags);

#endif  // RULES_KW_OBJ_H_
