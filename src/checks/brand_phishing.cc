// The one brand whose imitations are told by hand: a market place whose mail
// is full of buttons, and whose pages nearly all have one program in their
// address. Entry: TQMMSG::checkEbayPhishing. Tested by phishing_test.cc,
// tests/mail/phishing.eml and fuzz/links_phishing_fuzz.cc.

#include "checks/phishing_links.h"
#include "scan/tqmmsg.h"

namespace {

// Others whose names merely hold that of the brand.
const char* const kOtherSenders[] = {"ebay-club.example", "rebay.example"};
// How domains of the brand begin: its own, and what sellers' pages show.
const char* const kBrandDomains[] = {"ebay.", "ebaydesc."};
// The program of the brand's pages, and what is made to look like it.
const char* const kPagePrograms[] = {"ebayisapi.dll", "ebaylsapi.dll",
                                     "ebaylsapl.dll"};

bool BeginsAsBrand(TBLOCK domain) {
  for (const char* front : kBrandDomains)
    if (domain.begins(front)) return true;
  return false;
}

// Whether the host, or all that is registered of it, is the brand's name with
// nothing but a suffix behind it: "ebay.signin.example" is not.
bool IsBrandHost(TBLOCK host, const TQMDICO& dico) {
  TBLOCK domain, tld;
  TBLOCKURL::HostToDomain(host, domain, tld);
  if (BeginsAsBrand(domain)) return true;
  // The dictionary may know more suffixes.
  const TQKLINE* line = nullptr;
  return BeginsAsBrand(host) &&
         dico.hashedFind(
             "TLD", host.from(static_cast<uint32_t>(host.findByte('.')) + 1),
             line);
}

// The same for a link that passes its visitors on to the brand.
bool LeadsToBrand(const TBLOCKURL& link, const TQMDICO& dico) {
  if (IsBrandHost(link.host, dico)) return true;
  TBLOCK rest = link.query;
  while (!rest.empty()) {
    TBLOCK value = TBLOCK::BlockBeforeChar(rest, '&', 0, 0);
    TBLOCKURL target;
    if (!TBLOCK::BlockToken(value, "url", '=')) continue;
    target.parseUrl(value);
    if (IsBrandHost(target.host, dico)) return true;
  }
  return false;
}

// Whether the sender is somebody else, or below the domain of somebody else,
// who is well known.
bool IsOtherSender(TBLOCK host) {
  for (const char* other : kOtherSenders) {
    const TBLOCK domain(other);
    if (!host.ends(domain)) continue;
    const uint32_t ahead = host.length - domain.length;
    if (ahead == 0 || host[ahead - 1] == '.') return true;
  }
  return false;
}

// A picture that leads elsewhere. The button "btnrespondNow.gif" of a message
// from another member is the one that is imitated most; it needs no test of its
// own, since any picture with a link does.
bool HasForgedButton(const TIMGVECT& images) {
  for (int32_t i = 0; i < images.count(); i++) {
    const TBLOCK domain = images.get(i)->href.domain;
    if (!domain.empty() && !domain.begins("ebay")) return true;
  }
  return false;
}

bool NamesPageProgram(TBLOCK text) {
  for (const char* program : kPagePrograms)
    if (text.find(program) >= 0) return true;
  return false;
}

bool NamesPageProgram(const TLINKRECORD& link) {
  if (NamesPageProgram(link.url.path)) return true;
  for (int32_t i = 0; i < link.texts->count(); i++)
    if (NamesPageProgram(link.texts->get(i))) return true;
  return false;
}

// A page of the brand on another host.
bool IsForgedPage(const TLINKRECORD& link, int32_t linkCount,
                  const TQMDICO& dico) {
  if (IsServiceLink(link.url) || !NamesPageProgram(link)) return false;
  return link.url.hasIpHost() ? IsSuspectIpLink(link.url, linkCount)
                              : !IsBrandHost(link.url.host, dico);
}

// Whether a link's text says that it leads to the brand.
bool NamesBrand(TBLOCK text) {
  if (text.find("dispute thread") >= 0) return true;
  text.trim();
  TBLOCKURL::ParseBlockUrlProtocol(text);
  const TBLOCK www("www.");
  if (text.begins(www)) text.skip(www.length);
  return text.begins("ebay.");
}

bool IsForgedText(const TLINKRECORD& link, const TQMDICO& dico) {
  if (link.url.proto == upMailto) return false;
  for (int32_t i = 0; i < link.texts->count(); i++)
    if (NamesBrand(link.texts->get(i))) return !LeadsToBrand(link.url, dico);
  return false;
}

}  // namespace

// Reads: fromBox, the pictures of the HTML, links. Scores: a verdict, once.
// Returns: whether it did.
int TQMMSG::checkEbayPhishing() {
  if (IsOtherSender(fromBox.host)) return 0;
  const bool forgedSender =
      fromBox.email.find("@ebay.") >= 0 && !IsBrandHost(fromBox.host, dico);
  bool hit = forgedSender && HasForgedButton(htmlContext.images);
  const int32_t n = links ? links->count() : 0;
  for (int32_t i = 0; i < n && !hit; i++) {
    const TLINKRECORD& link = *links->get(i);
    hit = (forgedSender && IsForgedPage(link, linkCount, dico)) ||
          IsForgedText(link, dico);
  }
  if (!hit) return 0;
  setPhishing(kPhishingScore, "Ebay Phishing", "Phishing.ebay");
  return 1;
}
