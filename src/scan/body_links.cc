// Links, pictures and hidden identifiers of a body: which links count, whose
// they are, and where pictures come from. Entries: TQMMSG::prepareLinks,
// prepareImages, prepareIds. Tested by body_preparation_test.cc.

#include <string.h>

#include <new>

#include "base/md5.h"
#include "scan/letters.h"
#include "scan/tqmmsg.h"

namespace {

// Protocols of links that a reader follows.
const int32_t kWebProtos = upNone | upHttp | upHttps;
// Links whose domains, and whose texts, are kept.
const int32_t kMaxDomains = 10;
const int32_t kMaxLinkAdns = 10;

// Virus scanners sign mail with these; they tell nothing of who wrote it.
const char* const kScannerPages[] = {
    "http://www.avast.com/", "http://www.avg.com/", "http://www.f-secure.com/"};

bool IsScannerPage(TBLOCK url) {
  for (const char* page : kScannerPages) {
    const TBLOCK whole(page);
    if (url.equals(whole) || url.equals(whole.head(whole.length - 1)))
      return true;
  }
  return false;
}

// A letter for a text: "0" when there is none, "?" when no line of the section
// has a letter for it.
char LetterOf(TQMDICO& dico, const char* section, TBLOCK text) {
  text.trim();
  if (text.empty()) return '0';
  const char letter = SectionLetter(dico, section, text);
  return letter ? letter : '?';
}

// The end of a page's name, which nearly all pages share, is left as it is.
void KeepPageSuffix(TBLOCK url, STR& adn) {
  static const char* const kSuffixes[] = {".htm", ".html"};
  for (const char* suffix : kSuffixes) {
    const uint32_t length = static_cast<uint32_t>(strlen(suffix));
    const uint32_t shape = static_cast<uint32_t>(adn.len());
    if (!url.ends(suffix) || shape < length) continue;
    const TBLOCK end = url.from(url.length - length);
    memcpy(adn.text + shape - length, end.pointer, length);
  }
}

// The domain without its last label.
TBLOCK SecondLevelName(TBLOCK domain) {
  const int32_t dot = domain.findLastByte('.');
  return dot < 0 ? domain : domain.head(static_cast<uint32_t>(dot));
}

void AddDomain(TBLOCK domain, HASHFILE& domains) {
  BLOCK lower(0, 64);
  if (!lower.add(domain)) return;
  lower.view().convert(TBLOCK::UpperToLower);
  void* record = nullptr;
  domains.insertData(domain, record);
  if (!record) return;
  MD5 digest;
  digest.add(lower.view());
  memcpy(record, digest.get(), MD5::kDigestBytes);
}

}  // namespace

// Those of the HTML, or of the text when that has none.
void TQMMSG::prepareLinks() {
  links =
      htmlContext.links.count() > 0 ? &htmlContext.links : &textContext.links;
  for (int32_t i = links->count(); i-- > 0;)
    if (IsScannerPage(links->get(i)->url.url)) links->del(i);
  linkCount = links->getUrlCountByProto(kWebProtos);
  int32_t described = 0;
  for (int32_t i = 0; i < links->count(); i++) {
    const TLINKRECORD& link = *links->get(i);
    if (!(link.url.proto & kWebProtos)) continue;
    if (!link.url.domain.empty() && domains.count < kMaxDomains)
      AddDomain(link.url.domain, domains);
    if (described == kMaxLinkAdns) continue;
    described++;
    const TBLOCK shown = link.texts ? link.texts->get(0) : TBLOCK();
    const char letters[] = {LetterOf(dico, "AdnUrlText", shown),
                            LetterOf(dico, "AdnUrlTextBefore", link.prevText)};
    urlTextAdns.add(TBLOCK(letters, sizeof letters));
    STR adn;
    getAdnFromUrl(link.url, adn);
    if (adn.empty()) continue;
    KeepPageSuffix(link.url.url, adn);
    urlAdns.add(adn.view());
  }
}

// A picture from the web is told by its URL, and by whether it lies where the
// first one does.
void TQMMSG::prepareImages() {
  const TIMGVECT& images = htmlContext.images;
  imageCount = images.count();
  const TBLOCKURL* first = nullptr;
  for (int32_t i = 0; i < images.count(); i++) {
    const TBLOCKURL& url = images.get(i)->url;
    if (url.proto == upCid) hiddenIds.insert(url.file, nullptr);
    if (url.proto != upHttp || url.url.empty()) continue;
    if (!first) first = &url;
    const bool same =
        !url.domain.empty() &&
        SecondLevelName(url.domain).equals(SecondLevelName(first->domain));
    STR adn(static_cast<int32_t>(url.url.length + url.path.length + 3));
    adn += same ? '=' : '!';
    adn += url.url;
    adn += ':';
    adn += url.path;
    if (!url.query.empty()) adn += '?';
    imageAdns.add(adn.view());
  }
}

void TQMMSG::keepOleId(TBLOCK key) {
  TMIMEOLEID* id = new (std::nothrow) TMIMEOLEID(pool);
  if (!id) return;
  id->parse(key, &headerDate, presentTime());
  if (!id->isOle || id->errors != 0 || oleIds.insert(id, 1) < 0) delete id;
}

void TQMMSG::prepareIds() {
  STR adn;
  for (int32_t slot = hiddenIds.first(); slot >= 0; hiddenIds.next(slot)) {
    getAdnFromBlock(kFieldAdnCid, hiddenIds.getBlock(slot), adn);
    if (!adn.empty()) idAdns.add(adn.view());
    keepOleId(hiddenIds.getBlock(slot));
  }
}
