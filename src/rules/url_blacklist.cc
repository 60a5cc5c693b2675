// The lists from the dictionary and from the external files. Headers of a
// file, in any case; a client's file knows all, Tamarack's [domain] and [url]:
//
//   [domain], [blackdomain]   domains of links
//   [whitedomain]             the same, as harmless
//   [url]                     URLs
//   [from], [blackfrom]       senders
//   [whitefrom]               the same, as welcome
//
// Lines below any other header are passed over, and so are those above the
// first one, empty ones and those that begin with "#". Tested by
// url_blacklist_test.cc.

#include "rules/url_blacklist.h"

#include "rules/qm_dico.h"

const char EXTERNAL_CLIENT_FILENAME[] = "/etc/quaymarsh/blacklist/current.conf";
const char EXTERNAL_TAMARACK_FILENAME[] =
    "/etc/quaymarsh/blacklist/tamarack.conf";
const char INTERNAL_BRACKEN_SECTION_NAME[] = "BrackenUrls";

namespace {

enum : int32_t {
  lsUnknown = -1,
  lsNone = 0,
  lsDomain = 1,
  lsUrl = 2,
  lsFrom = 3,
  lsWhiteDomain = 4,
  lsWhiteFrom = 5
};

const struct {
  const char* header;
  int32_t state;
} kHeaders[] = {
    {"[domain]", lsDomain},
    {"[blackdomain]", lsDomain},
    {"[whitedomain]", lsWhiteDomain},
    {"[url]", lsUrl},
    {"[from]", lsFrom},
    {"[blackfrom]", lsFrom},
    {"[whitefrom]", lsWhiteFrom},
};

int32_t StateOf(TBLOCK line) {
  for (const auto& row : kHeaders)
    if (line.equals(row.header)) return row.state;
  return lsUnknown;
}

}  // namespace

UrlBlacklist::UrlBlacklist(TQMDICO* dico)
    : clientFile(0, BLOCK::_DEFALLOCSIZE),
      tamarackFile(0, BLOCK::_DEFALLOCSIZE),
      clientBlackDomains(0, hashUpperLower),
      tamarackDomains(0, hashUpperLower),
      clientWhiteDomains(0, hashUpperLower),
      blackFrom(0),
      whiteFrom(0),
      lineCount(0) {
  clientFile.loadFrom(EXTERNAL_CLIENT_FILENAME, 0, 0);
  tamarackFile.loadFrom(EXTERNAL_TAMARACK_FILENAME, 0, 0);
  loadExternalBlackList(ftClient, &clientFile);
  loadExternalBlackList(ftTamarack, &tamarackFile);
  if (dico) loadInternalBlackList(dico, INTERNAL_BRACKEN_SECTION_NAME);
  brackenUrls.balance();
  tamarackUrls.balance();
  clientUrls.balance();
}

void UrlBlacklist::loadInternalBlackList(const TQMDICO* dico,
                                         const char* section) {
  const TQKSECTION* found = dico->findSection(section);
  if (!found || found->type != stString) return;
  const uint32_t n = dico->image().lineCountOf(found);
  for (uint32_t i = 0; i < n; i++) {
    const TQKLINE* line = dico->image().sectionLine(found, i);
    if (brackenUrls.insert(dico->lineBlock(line), true)) lineCount++;
  }
}

void UrlBlacklist::loadExternalBlackList(FILE_TYPE type, const BLOCK* file) {
  if (!file) return;
  int32_t state = lsNone;
  TBLOCK rest = file->view();
  while (!rest.empty()) {
    TBLOCK line = TBLOCK::BlockNextLine(rest);
    line.trim();
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '[')
      state = StateOf(line);
    else if (addLine(type, state, line))
      lineCount++;
  }
}

// Whether the line belongs to a list of this file.
bool UrlBlacklist::addLine(FILE_TYPE type, int32_t state, TBLOCK line) {
  const bool client = type == ftClient;
  switch (state) {
    case lsDomain:
      (client ? clientBlackDomains : tamarackDomains).insert(line);
      return true;
    case lsUrl:
      return (client ? clientUrls : tamarackUrls).insert(line, true) != 0;
    case lsFrom:
      return client && blackFrom.add(line, 0, 0);
    case lsWhiteDomain:
      if (client) clientWhiteDomains.insert(line);
      return client;
    case lsWhiteFrom:
      return client && whiteFrom.add(line, 0, 0);
    default:
      return false;
  }
}
