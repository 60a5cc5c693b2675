// What is looked up inside attachments, on arbitrary bytes. The first byte
// names the kind: archives, PDF, MP3 and HTML as their content, pictures as
// their base64 text, and a PDF that is still in base64; the rest is the file,
// in a buffer of exactly its size.

#include <stdint.h>
#include <string.h>

#include "fuzz_util.h"
#include "scan/tqmmsg.h"

namespace {

// A listing is a text, and its names stand in it, without its separators.
void CheckListing(BLOCKPART& part) {
  part.parseZipPart();
  const TBLOCK list = part.archiveText.view();
  Check(strlen(part.archiveText.c_str()) == list.length);
  Check(list.empty() || list.begins("@a_b:") || list.begins("!a_b:1"));
  for (int32_t i = 0; i < part.archiveNames.count(); i++) {
    const TBLOCK name = part.archiveNames.get(i);
    Check(name.pointer >= list.pointer && name.end() <= list.end());
    Check(name.findByte(',') < 0 && name.findByte('.') < 0);
  }
  if (list.begins("@")) Check(part.archiveNames.count() <= 11);
}

void CheckSize(TBLOCK text, bool jpeg) {
  uint32_t width = 0x12345, height = 0x54321;
  const int found = jpeg ? TBLOCK::Base64JpegSize(text, width, height)
                         : TBLOCK::Base64PngSize(text, width, height);
  if (found)
    Check(width < 0x10000 && height < 0x10000);
  else
    Check(width == 0x12345 && height == 0x54321);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static TQMMSG scan(nullptr, nullptr, nullptr, 0, 0);
  if (size < 1) return 0;
  const HeapText copy(bytes + 1, size - 1);
  const TBLOCK text = copy.view();
  BLOCKPART part;
  part.content = text;
  part.rawLength = text.length;
  part.displayName = TBLOCK("a:b");
  const bool coded = bytes[0] == 'B';
  part.flags = coded ? pfBase64Checked : pfDecoded;
  if (coded)
    part.contentTypeField = part.transferField = TBLOCK("base64");
  else
    part.decoded = text;
  switch (bytes[0]) {
    case 'J':
    case 'N':
      CheckSize(text, bytes[0] == 'J');
      return 0;
    case 'P':
    case 'B':
      part.attachKind = akPdf;
      break;
    case 'M':
      part.attachKind = akMp3;
      break;
    case 'H':
      part.attachKind = akHtml;
      break;
    default:
      part.attachKind = akArchive;
      CheckListing(part);
      return 0;
  }
  STR adn;
  const char* result = scan.getAdnFromAttach(&part, adn);
  Check(strlen(result) == static_cast<uint32_t>(adn.len()));
  return 0;
}
