// File lists of ZIP and RAR archives, read from the headers in front of each
// file: nothing is unpacked, and the directory at the end of a ZIP, which mail
// often cuts off, is not needed. Sizes are what the sender says they are, so
// each is held against the bytes that are there; the first that cannot be true
// ends the list, and what was found stands.
//
// Entry: BLOCKPART::parseZipPart, which tries RAR first. Tested by
// archive_test.cc.

#include "base/byte_order.h"
#include "message/block_part.h"

namespace {

// Files that are listed of a ZIP; checks look at archives with few files only.
const int32_t kMaxZipEntries = 11;

const uint32_t kZipFile = 0x04034B50;
const uint32_t kZipDirectory = 0x02014B50;
const uint32_t kZipEnd = 0x06054B50;
const uint32_t kZipSpanned = 0x30304B50;  // "PK00" ahead of the first file
const uint32_t kZipFileHead = 30;         // bytes ahead of the name
const uint32_t kZipDirectoryHead = 46;
const unsigned char kZipPatched = 0x10;  // in the low byte of the flags

const uint32_t kRarSignature = 7;
const uint32_t kRarBlockHead = 7;  // bytes ahead of the extra size
const uint32_t kRarFileHead = 32;  // bytes ahead of the name
const unsigned char kRarFile = 't';
const unsigned char kRarHasExtra = 0x80;  // in the high byte of the flags
const uint32_t kMaxRarName = 255;

// Length of the name in a RAR file header.
uint32_t _Get_FileNameLength(const unsigned char* block) {
  return Little16(block + 0x1A);
}

// Appends the text with `from` changed to "_". A NUL ends it: so do programs
// that unpack, and RAR puts a second form of the name behind one.
void AddName(TBLOCK text, unsigned char from, STR& out) {
  const int32_t nul = text.findByte(0);
  if (nul >= 0) text.cut(static_cast<uint32_t>(nul));
  for (int32_t at; (at = text.findByte(from)) >= 0;) {
    out += text.head(static_cast<uint32_t>(at));
    out += '_';
    text.skip(static_cast<uint32_t>(at) + 1);
  }
  out += text;
}

void AddEntry(char flag, TBLOCK name, STR& list) {
  if (!list.empty()) list += ',';
  list += flag;
  AddName(name, ',', list);
}

void AddListing(char mark, TBLOCK displayName, const STR& list, STR& out) {
  out += mark;
  AddName(displayName, ':', out);
  out += ':';
  out += list;
}

// The name in a file block of RAR; empty when it passes the block or the text.
TBLOCK RarName(TBLOCK block, uint32_t headSize) {
  if (block.length < kRarFileHead) return TBLOCK();
  const uint32_t n = _Get_FileNameLength(block.pointer);
  if (n > kMaxRarName || kRarFileHead + n > headSize ||
      kRarFileHead + n > block.length)
    return TBLOCK();
  return TBLOCK(block.pointer + kRarFileHead, n);
}

// Lists the files of a RAR, whose text begins behind the signature.
void ListRar(TBLOCK rest, STR& list) {
  while (rest.length >= 8 && rest[2] >= 'r' && rest[2] <= 'y') {
    const uint32_t headSize = Little16(rest.pointer + 5);
    uint64_t size = headSize;
    if (rest[4] & kRarHasExtra) {
      if (rest.length < kRarBlockHead + 4) return;
      size += Little32(rest.pointer + kRarBlockHead);
    }
    // The last file of an archive that was cut is listed as well.
    if (rest[2] == kRarFile) {
      const TBLOCK name = RarName(rest, headSize);
      if (name.pointer) AddEntry('1', name, list);
    }
    if (size < kRarBlockHead || size > rest.length) return;
    rest.skip(static_cast<uint32_t>(size));
  }
}

// Lists the file whose header `rest` begins with and moves behind its data;
// false when that is not there, or when there is no file to list.
bool ListZipFile(TBLOCK& rest, STR& list, int32_t& entries) {
  const unsigned char* head = rest.pointer;
  const uint32_t nameLength = Little16(head + 26);
  if (kZipFileHead + nameLength > rest.length || (head[6] & kZipPatched))
    return false;
  AddEntry(head[8] || head[9] ? '1' : '0',
           TBLOCK(head + kZipFileHead, nameLength), list);
  entries++;
  const uint64_t size = uint64_t{kZipFileHead} + nameLength +
                        Little16(head + 28) + Little32(head + 18);
  if (size > rest.length) return false;
  rest.skip(static_cast<uint32_t>(size));
  return true;
}

void ListZip(TBLOCK rest, STR& list) {
  int32_t entries = 0;
  while (rest.length > kZipFileHead && entries < kMaxZipEntries) {
    switch (Little32(rest.pointer)) {
      case kZipSpanned:
        rest.skip(4);
        break;
      case kZipDirectory:
        rest.skip(kZipDirectoryHead);
        break;
      case kZipFile:
        if (!ListZipFile(rest, list, entries)) return;
        break;
      case kZipEnd:
      default:
        return;
    }
  }
}

// What follows the last "." of each entry, or the entry with its flag.
void FillNames(TBLOCK listing, TBLOCKVECT& names) {
  const int32_t colon = listing.findByte(':');
  if (colon < 0) return;
  TBLOCK rest = listing.from(static_cast<uint32_t>(colon) + 1);
  while (!rest.empty()) {
    const TBLOCK entry = TBLOCK::BlockBeforeChar(rest, ',', 0, 0);
    const int32_t dot = entry.findLastByte('.');
    names.add(dot < 0 ? entry : entry.from(static_cast<uint32_t>(dot) + 1), 0,
              1);
  }
}

}  // namespace

void BLOCKPART::parseRarPart() {
  TBLOCK text = decodeContent();
  if (text.length <= kRarSignature ||
      !text.begins(TBLOCK("Rar!"), TBLOCK::NoConvTable))
    return;
  text.skip(kRarSignature);
  STR list;
  ListRar(text, list);
  if (list.empty()) return;
  archiveNames.clear();  // they point into the text that grows
  AddListing('!', displayName, list, archiveText);
}

void BLOCKPART::parseZipPart() {
  if (attachKind != akArchive) return;
  parseRarPart();
  if (archiveText.empty()) {
    const TBLOCK text = decodeContent();
    if (text.empty() || text.length <= kZipFileHead) return;
    STR list;
    ListZip(text, list);
    // A listing without entries, too: it tells that nothing could be read.
    AddListing('@', displayName, list, archiveText);
  }
  archiveNames.clear();
  FillNames(archiveText.view(), archiveNames);
}
