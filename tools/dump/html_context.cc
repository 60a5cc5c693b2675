// What one pass over an HTML body leaves behind, as lines of ASCII.

#include "dump/html_context.h"

#include "dump/dump.h"

namespace {

const struct {
  uint32_t flag;
  const char* name;
} kFlags[] = {{hcfNotEmpty, "not-empty"},
              {hcfAnchor, "anchor"},
              {hcfHtmlOpened, "html"},
              {hcfHtmlClosed, "/html"},
              {hcfBodyOpened, "body"},
              {hcfBodyClosed, "/body"},
              {hcfWord, "word"},
              {hcfPendingSpace, "pending-space"},
              {hcfPendingLine, "pending-line"},
              {hcfNoLinkText, "no-link-text"},
              {hcfHideImgUrl, "hide-img-url"},
              {hcfHideHrefUrl, "hide-href-url"},
              {hcfInvisibleChars, "invisible"},
              {hcfUselessChars, "filler"},
              {hcfEmptyLink, "empty-link"},
              {hcfEncodedScript, "encoded-script"},
              {hcfIFrame, "iframe"},
              {hcfHttpObject, "http-object"},
              {hcfVoidText, "void-text"},
              {hcfStyleSheet, "style-sheet"},
              {hcfBodyBackground, "body-background"},
              {hcfBodyEmbedBackground, "body-embed-background"},
              {hcfEmbed, "embed"},
              {hcfPreformatted, "preformatted"}};

const struct {
  int32_t THTMLCONTEXT::*count;
  const char* name;
} kCounts[] = {{&THTMLCONTEXT::imgCount, "img"},
               {&THTMLCONTEXT::imgInLinkCount, "img-in-link"},
               {&THTMLCONTEXT::usemapImgCount, "usemap-img"},
               {&THTMLCONTEXT::imgInTableCount, "img-in-table"},
               {&THTMLCONTEXT::cidImgCount, "cid-img"},
               {&THTMLCONTEXT::imgAfterBodyCount, "img-after-body"},
               {&THTMLCONTEXT::tableDepth, "table-depth"},
               {&THTMLCONTEXT::textLineCount, "text-line"},
               {&THTMLCONTEXT::linkExclamationCount, "link-exclamation"},
               {&THTMLCONTEXT::popupCount, "popup"},
               {&THTMLCONTEXT::unknownCharCount, "unknown-char"},
               {&THTMLCONTEXT::formCount, "form"},
               {&THTMLCONTEXT::linkCount, "link"},
               {&THTMLCONTEXT::invisibleLength, "invisible-length"},
               {&THTMLCONTEXT::invisibleWordCount, "invisible-word"},
               {&THTMLCONTEXT::uselessAlphaCount, "useless-alpha"},
               {&THTMLCONTEXT::hiddenUrlCount, "hidden-url"},
               {&THTMLCONTEXT::tinyAlphaCount, "tiny-alpha"},
               {&THTMLCONTEXT::externalImgCount, "external-img"},
               {&THTMLCONTEXT::emptyLinkCount, "empty-link"},
               {&THTMLCONTEXT::mediumWordCount, "medium-word"},
               {&THTMLCONTEXT::styleAnomalyCount, "style-anomaly"},
               {&THTMLCONTEXT::imgBeforeText, "img-before-text"},
               {&THTMLCONTEXT::imgLinkBeforeText, "img-link-before-text"},
               {&THTMLCONTEXT::maxImgWidthBeforeText, "max-img-width"},
               {&THTMLCONTEXT::maxImgHeightBeforeText, "max-img-height"}};

std::string Uses(int32_t useCount) {
  return useCount ? " x" + std::to_string(int64_t{useCount} + 1) : "";
}

}  // namespace

std::string DumpHtmlState(const THTMLCONTEXT& context) {
  std::string line;
  for (const auto& row : kFlags)
    if (context.flags & row.flag) line += std::string(" ") + row.name;
  for (const auto& row : kCounts)
    if (const int32_t count = context.*row.count)
      line += std::string(" ") + row.name + "=" + std::to_string(count);
  return line.empty() ? "-" : line.substr(1);
}

std::string DumpLink(const TLINKRECORD& link) {
  std::string line = EscapeBytes(link.url.url) + Uses(link.useCount) + " [";
  for (int32_t i = 0; link.texts && i < link.texts->count(); i++)
    line += (i ? "|" : "") + EscapeBytes(link.texts->get(i));
  line += "]";
  if (!link.prevText.empty()) line += " <" + EscapeBytes(link.prevText);
  return line;
}

std::string DumpImage(const TIMGRECORD& image) {
  std::string line = EscapeBytes(image.url.url) + Uses(image.useCount);
  if (!image.href.url.empty()) line += " ->" + EscapeBytes(image.href.url);
  if (!image.alt.empty()) line += " alt=" + EscapeBytes(image.alt);
  return line;
}
