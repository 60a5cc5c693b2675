// The walk over the items of an HTML body: what a reader sees goes to the
// output, what he does not see is kept apart, and links are collected on the
// way. Entry: QmHtmlParse. Tested by html_context_test.cc.

#include "content/contexts.h"

const char* const HtmlMetaTokens[hmCount] = {
    "Title",     "Publisher",   "Keywords",      "Reply-to", "Category",
    "Robots",    "Description", "Revisit-after", "Author",   "Copyright",
    "Generator", "Abstract",    "IdentifierUrl"};

namespace {

const uint32_t kViewStep = 4096;  // bytes

}  // namespace

THTMLCONTEXT::THTMLCONTEXT()
    : linkWords(0),
      altTexts(0),
      invisibleTexts(0),
      imgSizes(0, kViewStep),
      comments(0),
      classNames(0),
      elementNames(0),
      tagTexts(0),
      tagParams(0, kViewStep),
      backgroundImages(0),
      fontNames(0),
      viewStore(0, kViewStep) {
  clear();
}

THTMLCONTEXT::~THTMLCONTEXT() {}

void THTMLCONTEXT::clear() {
  flags = 0;
  output.clear();
  length = 0;
  imgCount = imgInLinkCount = usemapImgCount = imgInTableCount = 0;
  cidImgCount = imgAfterBodyCount = tableDepth = textLineCount = 0;
  linkExclamationCount = popupCount = unknownCharCount = formCount = 0;
  linkCount = invisibleLength = invisibleWordCount = uselessAlphaCount = 0;
  hiddenUrlCount = tinyAlphaCount = externalImgCount = emptyLinkCount = 0;
  mediumWordCount = styleAnomalyCount = 0;
  imgBeforeText = imgLinkBeforeText = 0;
  maxImgWidthBeforeText = maxImgHeightBeforeText = 0;
  for (TBLOCK& value : metaValues) value.clear();
  badTags.clear();
  htmlPattern = "";
  tablePattern = "";
  stylePattern = "";
  images.clear();
  links.clear();
  linkWords.clear();
  altTexts.clear();
  invisibleTexts.clear();
  imgSizes.clear();
  comments.clear();
  classNames.clear();
  elementNames.clear();
  tagTexts.clear();
  tagParams.clear();
  backgroundImages.clear();
  fontNames.clear();
  charset.clear();
  title.clear();
  bodyBackground.clear();
  lastLinkImg.clear();
  lastText.clear();
  lastAnchorText.clear();
  href.clear();
  anchorImg.clear();
  prevText.clear();
  linkStart = 0;
  orphanLength = 0;
  notedTag.clear();
  notedNames = 0;
  tagTable.clear();
  paramTable.clear();
  lastPatternTag = lastTableTag = htUnknown;
  tableStackCount = 0;
  viewStore.reset();
  clearStyles();
}
