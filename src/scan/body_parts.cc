// What the parts of the tree tell besides the bodies: fingerprints of attached
// files, listings of archives, sizes of pictures. Entry:
// TQMMSG::describeParts. Tested by body_preparation_test.cc.

#include "message/part_iter.h"
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

void AddPictureSize(const BLOCKPART& part, STR& sizes) {
  sizes += part.imageKind;
  _IntOnThree(part.width, sizes);
  sizes += 'x';
  _IntOnThree(part.height, sizes);
}

void AddPictureWeight(const BLOCKPART& part, STR& weights) {
  const uint32_t kilobytes = PictureBytes(part) / 1024;
  weights += kilobytes < kWeightCount ? kWeights[kilobytes] : '%';
}

// The identifiers of parts that the HTML shows as pictures or backgrounds.
void CollectSources(const THTMLCONTEXT& context, HASHTAB& sources) {
  for (int32_t i = 0; i < context.images.count(); i++) {
    const TBLOCKURL& url = context.images.get(i)->url;
    if (url.proto == upCid) sources.insert(url.file, nullptr);
  }
  for (int32_t i = 0; i < context.backgroundImages.count(); i++)
    sources.insert(context.backgroundImages.get(i), nullptr);
}

}  // namespace

void TQMMSG::describeParts() {
  HASHTAB shown;
  shown.maxProbes = kHostileProbes;
  CollectSources(htmlContext, shown);
  STR adn;
  PARTITER walk(message.parts);
  while (BLOCKPART* part = walk.next()) {
    if (!part->displayName.empty()) {
      getAdnFromBlock(kFieldAdnFilename, part->displayName, adn);
      attachAdns.add(adn.view());
    }
    if (*getAdnFromAttach(part, adn)) attachContentAdns.add(adn.view());
    if ((part->flags & pfAttachment) && !IsPicture(*part)) attachmentCount++;
    part->parseZipPart();
    hiddenIds.insert(part->contentId, nullptr);
    if (!part->imageKind) continue;
    // What the HTML shows has its size there.
    if (shown.findKey(part->contentId) < 0) AddPictureSize(*part, imageSizes);
    AddPictureWeight(*part, imageWeights);
  }
}
