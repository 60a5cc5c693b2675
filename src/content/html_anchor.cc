// Links of an HTML body and what belongs to them: URLs that hide a second one,
// the text of an anchor and its words, its picture. Entries: THTMLCONTEXT's
// parseUrl, openAnchor, closeAnchor. Tested by html_context_test.cc.

#include "base/count.h"
#include "base/wildcard.h"
#include "content/html_tag_facts.h"

namespace {

const char kHttp[] = "http";
const char kHttpStart[] = "http://";
// Attributes of a link in which a second URL is no news.
const char kHrefAllowed[] =
    "href,datafld,onclick,onmouse*,urn,title,action,style,xmlns";

// Whether "http" stands in the text twice.
bool HasTwoUrls(TBLOCK text) {
  const TTAGWORD http(kHttp);
  const int32_t first = http.findIn(text, 0);
  return first >= 0 &&
         http.findIn(text, static_cast<uint32_t>(first) + http.size) >= 0;
}

bool IsOnList(TBLOCK name, const char* list) {
  TBLOCK rest(list);
  while (!rest.empty()) {
    const TBLOCK entry = TBLOCK::BlockBeforeChar(rest, ',', 0, 0);
    if (MatchWildcard(entry, name, wmLiteral)) return true;
  }
  return false;
}

// Whether all of the text is one mail address. The part ahead of the "@" may be
// empty, or quoted, with anything inside. An apostrophe is no quote here,
// unlike in a header: readers see names such as o'neil.
bool IsShownAddress(TBLOCK text) {
  bool quoted = false;
  uint32_t i = 0;
  for (; i < text.length && (quoted || text[i] != '@'); i++) {
    if (text[i] == '"')
      quoted = !quoted;
    else if (!quoted && !TBLOCK::Is(text[i], bitEmail))
      return false;
  }
  if (i == text.length) return false;
  bool dot = false;
  for (i++; i < text.length; i++) {
    if (!TBLOCK::Is(text[i], bitDomain)) return false;
    if (text[i] == '.') dot = true;
  }
  return dot;
}

// The last labels of the host, by which owners are told apart: two, or three
// under what looks like a commercial zone of a country. The URL is one of http.
TBLOCK SiteOf(TBLOCK url) {
  TBLOCK host = url.from(sizeof kHttpStart - 1);
  const int32_t slash = host.findByte('/');
  if (slash >= 0) host.cut(static_cast<uint32_t>(slash));
  const bool zone = host.find(".com.") >= 0 || host.find(".co.") >= 0;
  for (int32_t extra = CountByte(host, '.') - (zone ? 2 : 1); extra > 0;
       extra--)
    host.skip(static_cast<uint32_t>(host.findByte('.')) + 1);
  return host;
}

}  // namespace

int THTMLCONTEXT::parseUrl(TBLOCK tag, const char* name, TBLOCK& url) {
  url.clear();
  TBLOCK value;
  if (!tagParam(tag, name, value)) return 0;
  value = cleanUrl(tag, value);
  if (value.empty() || value[0] == '#') return 0;
  url = value;
  if (detectHideUrl(tag, kHrefAllowed, url)) flags |= hcfHideHrefUrl;
  return 1;
}

bool THTMLCONTEXT::detectHideUrl(TBLOCK tag, const char* allowed, TBLOCK url) {
  if (!HasTwoUrls(tag)) return false;
  TBLOCK cursor = tag;
  TBLOCK name, value;
  int found = GetFirstTagParam(cursor, name, value);
  for (;;) {
    // What stands behind the URL is of no interest.
    if (value.pointer && value.pointer >= url.pointer) return false;
    if (found && value.find(kHttp) >= 0 && !value.equals(url) &&
        !IsOnList(name, allowed))
      return true;
    if (cursor.empty()) return false;
    found = GetNextTagParam(cursor, name, value);
  }
}

void THTMLCONTEXT::openAnchor(const THITEM& item) {
  TBLOCK url;
  if (parseUrl(item.block, "href", url)) {
    closeAnchor();
    href = url;
    linkStart = length;
    prevText = lastText;
    flags |= hcfAnchor | hcfEmptyLink;
    linkCount++;
    lastText.clear();
  }
  addTagValue(item.block, "title", altTexts);
  pushTag(item, "", "", "");
}

// A tag that leads somewhere, other than an anchor.
void THTMLCONTEXT::openLink(TBLOCK tag, const char* name, bool counts) {
  TBLOCK url;
  if (!parseUrl(tag, name, url)) return;
  links.add(url, TBLOCK());
  if (counts) linkCount++;
}

void THTMLCONTEXT::closeAnchor() {
  if (!(flags & hcfAnchor)) return;
  TBLOCK text(output.pointer + linkStart, length - linkStart);
  if (text.length == 0) text.clear();
  addTextLink(text);
  checkExternalImg();
  if (flags & hcfEmptyLink) {
    emptyLinkCount++;
  } else {
    TLINKRECORD* const link = links.add(href, text);
    if (link->prevText.empty()) link->prevText = prevText;
  }
  flags &= ~hcfAnchor;
  href.clear();
  anchorImg.clear();
  prevText.clear();
}

void THTMLCONTEXT::addTextLink(TBLOCK text) {
  text.trim();
  if (text.empty() || text.begins(kHttp) || text.find("www.") >= 0 ||
      IsShownAddress(text))
    return;
  linkExclamationCount += CountByte(text, '!');
  // Letters that stand alone are put together as they come.
  uint32_t begin = orphanLength;
  bool dropped = false;
  uint32_t i = 0;
  while (i < text.length) {
    if (TBLOCK::Is(text[i], bitWordSep)) {
      i++;
      continue;
    }
    const uint32_t start = i;
    while (i < text.length && !TBLOCK::Is(text[i], bitWordSep)) i++;
    if (i - start > 1) {
      flushOrphans(begin, dropped);
      begin = orphanLength;
      dropped = false;
      linkWords.add(text.from(start).head(i - start), 0, 0);
    } else if (orphanLength < kMaxOrphanBytes) {
      orphans[orphanLength++] = text[start];
    } else {
      dropped = true;
    }
  }
  flushOrphans(begin, dropped);
}

// Ends a run of single letters; one that did not fit goes as a whole.
void THTMLCONTEXT::flushOrphans(uint32_t begin, bool dropped) {
  if (dropped)
    orphanLength = begin;
  else
    linkWords.add(TBLOCK(orphans + begin, orphanLength - begin), 0, 0);
}

void THTMLCONTEXT::checkExternalImg() {
  if (!href.begins(kHttpStart) || !anchorImg.begins(kHttpStart)) return;
  const TBLOCK site = SiteOf(href);
  const TBLOCK imgSite = SiteOf(anchorImg);
  if (!site.empty() && !imgSite.empty() && !site.equals(imgSite))
    externalImgCount++;
}
