// What the parts of the tree tell besides the bodies: fingerprints of attached
// files, listings of archives, sizes of pictures. Entry:
// TQMMSG::describeParts. Tested by body_preparation_test.cc.

#include "scan/tqmmsg.h"

namespace {

// Letters for a picture's size: as many kilobytes as its place; "%" is more.
const char kWeights[] =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
const uint32_t kWeightCount = sizeof kWeights - 1;

bool IsPicture(const BLOCKPART& part) {
  return part.contentClass == ccImage || part.imageKind != 0;
}

// Appends the number with zeros in front up to three digits.
void _IntOnThree(uint32_t number, STR& out) {
  if (number < 100) out += '0';
  if (number < 10) out += '0';
  out += static_cast<int32_t>(number);
}

// Bytes of the picture itself, by its text in base64. A part that was decoded
// has kept only its first bytes, so that the text's length is taken then.
uint32_t PictureBytes(const BLOCKPART& part) {
  const uint32_t coded =
      part.flags & pfDecoded ? part.rawLength : part.content.length;
  return (coded + 3) / 4 * 3;
}

void AddPicture(const BLOCKPART& part, STR& sizes, STR& weights) {
  // A picture that the HTML shows will be left out of the sizes here, once
  // the sources of the HTML's pictures are known.
  sizes += part.imageKind;
  _IntOnThree(part.width, sizes);
  sizes += 'x';
  _IntOnThree(part.height, sizes);
  const uint32_t kilobytes = PictureBytes(part) / 1024;
  weights += kilobytes < kWeightCount ? kWeights[kilobytes] : '%';
}

}  // namespace

void TQMMSG::describeParts() {
  STR adn;
  OITER walk(&message.parts);
  while (const void* item = walk.next()) {
    // The list hands out what it was given as a constant.
    BLOCKPART* part =
        const_cast<BLOCKPART*>(static_cast<const BLOCKPART*>(item));
    if (!part->displayName.empty()) {
      getAdnFromBlock(kFieldAdnFilename, part->displayName, adn);
      attachAdns.add(adn.view());
      if (*getAdnFromAttach(part, adn)) attachContentAdns.add(adn.view());
      if ((part->flags & pfAttachment) && !IsPicture(*part)) attachmentCount++;
    }
    part->parseZipPart();
    // The part's contentId joins the hidden identifiers here.
    if (part->imageKind) AddPicture(*part, imageSizes, imageWeights);
  }
}
