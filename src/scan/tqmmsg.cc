// The life of a message under scan: building it, loading it, its parameters
// and its version text. Tested by tqmmsg_test.cc.

#include "scan/tqmmsg.h"

#include <string.h>
#include <time.h>

#include "content/phone.h"

// Hosts call from threads with small stacks.
static_assert(sizeof(TQMMSG) < 32 * 1024, "too large for a host's stack");

namespace {

// The dictionary that this code was built for; a newer one shows its own
// version.
const char kBuiltInVersion[] = "01.333.21";

// Growth step of the blocks for decoded texts.
const uint32_t kDecodedStep = 512;
const uint32_t kTakenDotsStep = 1024;
const uint32_t kWordStep = 4096;

const char kProxyModeParam[] = "mode=proxy";

// Domains of links that are kept, and bytes of what is kept with each.
const int32_t kMaxLinkDomains = 10;
const int32_t kDigestBytes = 16;

// Whether a version text sorts behind another, compared byte by byte through
// UpperConvTable; of two that agree the longer one does.
bool IsNewer(TBLOCK version, TBLOCK than) {
  for (uint32_t i = 0; i < version.length; i++) {
    if (i == than.length) return true;
    const unsigned char a = TBLOCK::UpperConvTable[version[i]];
    const unsigned char b = TBLOCK::UpperConvTable[than[i]];
    if (a != b) return a > b;
  }
  return false;
}

}  // namespace

TQMMSG::TQMMSG(REGEXPOOL* poolToUse, HSTUFF* stuff,
               UrlBlacklist* blacklistToUse, int headerOnlyMode, int nesting)
    : pool(poolToUse),
      blacklist(blacklistToUse),
      header(nullptr),
      msgBlock(0, 0),
      takenDots(0, kTakenDotsStep),
      dico(poolToUse, stuff),
      message(poolToUse),
      headerOnly(headerOnlyMode),
      depth(nesting),
      paramLines(0),
      wantHeader(0),
      noBailout(0),
      bailout(kDefaultBailout),
      truncated(0),
      headerParsed(0),
      bodyParsed(0),
      headerFiltered(0),
      fieldsRead(0),
      headerEnd(0),
      fromStore(0, kDecodedStep),
      toStore(0, kDecodedStep),
      ccStore(0, kDecodedStep),
      bccStore(0, kDecodedStep),
      subjectStore(0, kDecodedStep),
      replyToStore(0, kDecodedStep),
      returnPathStore(0, kDecodedStep),
      mailerStore(0, kDecodedStep),
      senderStore(0, kDecodedStep),
      receivedFields(16),
      mailingListScore(0),
      receivedWare(poolToUse),
      firstReceived(nullptr),
      secondReceived(nullptr),
      lastReceived(nullptr),
      addressWords(4),
      toList(0),
      ccList(0),
      mimeOleId(poolToUse),
      inReplyId(poolToUse),
      mimeOleBound(poolToUse),
      idFromMta(0),
      textStore(0, kDecodedStep),
      htmlStore(0, kDecodedStep),
      bodyIsHtml(0),
      answerCount(0),
      answersRemoved(0),
      links(nullptr),
      linkCount(0),
      imageCount(0),
      domains(kMaxLinkDomains, hashAsciiLower),
      urlAdns(0, 64),
      urlTextAdns(0, 64),
      imageAdns(0, 64),
      idAdns(0, 64),
      unsubLines(0, 64),
      bodyLines(64),
      nonBlankLines(0),
      fieldTokens(0, 64),
      highChars(0),
      attachAdns(0, 64),
      attachContentAdns(0, 64),
      attachmentCount(0),
      bodyWords(0),
      subjectWords(0),
      aliasWords(0),
      emails(0),
      profiles(0),
      attachScored(0),
      virusFound(0),
      virusSure(0),
      notificationScore(0),
      bodyAntiBayes(0),
      subjectAntiBayes(0),
      bodyAntiBayesCount(0),
      subjectAntiBayesCount(0),
      phishing(0),
      ruleFields(),
      noElements(0) {
  TBLOCKVECT* const lists[] = {
      &paramLines,   &receivedFields, &addressWords, &bodyLines, &bodyWords,
      &subjectWords, &aliasWords,     &emails,       &profiles,  &noElements};
  for (TBLOCKVECT* list : lists) list->step = TBLOCKVECT::kSmallStep;
  bodyWords.step = kWordStep;
  domains.setRecSize(kDigestBytes);
  hiddenIds.maxProbes = kHostileProbes;
}

TQMMSG::~TQMMSG() {
  freeRegexFields();
  freeReceived();
  freeBodyRecords();
  delete header;
}

void TQMMSG::freeReceived() {
  received.purge(this);
  firstReceived = nullptr;
  secondReceived = nullptr;
  lastReceived = nullptr;
}

void TQMMSG::freeBodyRecords() {
  phones.purge(this);
  oleIds.purge(this);
}

int TQMMSG::yes2Remove(OLIST* list, const void* item, int /*index*/) {
  if (list == &received)
    delete static_cast<const BLOCKRECEIVED*>(item);
  else if (list == &phones)
    delete static_cast<const BLOCKPHONE*>(item);
  else if (list == &oleIds)
    delete static_cast<const TMIMEOLEID*>(item);
  else
    return 0;
  return 1;
}

void TQMMSG::clear() {
  dropRegexFields();
  delete header;
  header = nullptr;
  message.clear();
  msgBlock.empty();
  msgView.clear();
  takenDots.empty();
  paramLines.clear();
  msgPath = "";
  user = "";
  truncated = 0;
  innerMessages = 0;
  headerFiltered = 0;
  clearHeader();
  clearBody();

  ledger.reset();
  STR version;
  getQMVersion(version);
  ledger.scoreDetails.add(version.view());
}

void TQMMSG::clearBody() {
  dico.forgetWords();
  bodyParsed = 0;
  links = nullptr;
  freeBodyRecords();
  domains.clear();
  hiddenIds.clear();
  msgContext.clear();
  htmlContext.clear();
  textContext.clear();
  bodyCharset.clear();
  messageCharset.clear();
  TBLOCK* const values[] = {&text, &html, &body};
  for (TBLOCK* value : values) value->clear();
  int32_t* const numbers[] = {&bodyIsHtml,
                              &answerCount,
                              &answersRemoved,
                              &linkCount,
                              &imageCount,
                              &nonBlankLines,
                              &highChars,
                              &attachmentCount,
                              &attachScored,
                              &virusFound,
                              &virusSure,
                              &notificationScore,
                              &bodyAntiBayes,
                              &subjectAntiBayes,
                              &bodyAntiBayesCount,
                              &subjectAntiBayesCount,
                              &phishing};
  for (int32_t* number : numbers) *number = 0;
  STR* const texts[] = {&firstLine,      &lastLine,     &lastButOneLine,
                        &imageSizes,     &imageWeights, &lineAdn,
                        &lineAdnDetail,  &typeAdn,      &tags,
                        &bodyAdn,        &htmlAdn,      &datesAdn,
                        &countryProfile, &timeProfile,  &profileWords,
                        &countsAdn,      &charCounts,   &charPresence,
                        &virusName,      &virusReason,  &notificationText,
                        &fontList,       &causeText};
  for (STR* value : texts) *value = "";
  TBLOCKVECT* const lists[] = {&bodyLines,  &bodyWords, &subjectWords,
                               &aliasWords, &emails,    &profiles};
  for (TBLOCKVECT* list : lists) list->clear();
  STRVECT* const strings[] = {&fieldTokens, &attachAdns,  &attachContentAdns,
                              &urlAdns,     &urlTextAdns, &imageAdns,
                              &idAdns,      &unsubLines};
  for (STRVECT* list : strings) list->clear();
}

int64_t TQMMSG::presentTime() const {
  return fixedTime ? fixedTime : int64_t{time(nullptr)};
}

void TQMMSG::setProfileInfo(int32_t bailoutScore, const char* profileText) {
  dropRegexFields();
  if (bailoutScore >= kMinBailout) bailout = bailoutScore;
  if (profileText && *profileText) profile = profileText;
}

void TQMMSG::setParams(const char* settings) {
  dropRegexFields();
  paramLines.clear();
  params = settings;
}

void TQMMSG::buildParams() {
  paramLines.fillFromBigBlock(params.view(), '\n', 1);
}

bool TQMMSG::hasParam(const char* line) const {
  for (int32_t i = 0; i < paramLines.count(); i++)
    if (paramLines.get(i).equals(line)) return true;
  return false;
}

void TQMMSG::startLoad(const char* userText) {
  clear();
  user = userText;
  buildParams();
}

// Only the header of the text, when that is all that is wanted: up to one byte
// ahead of the LF that the blank line follows. That byte is the CR of the last
// header line or, deliberately so, with bare LF its last character.
TBLOCK TQMMSG::cutToHeader(TBLOCK source) const {
  if (!headerOnly) return source;
  int32_t at = source.find("\n\r\n");
  if (at < 0) at = source.find("\n\n");
  if (at < 0) return source;
  return source.head(at > 0 ? static_cast<uint32_t>(at - 1) : 0);
}

int TQMMSG::loadFromBlock(TBLOCK source, const char* userText, int parseNow) {
  startLoad(userText);
  source.cut(kMaxBlockBytes);
  source = cutToHeader(source);
  truncated = source.length > kMaxMessageBytes;
  if (!source.empty() && !msgBlock.add(source.head(kMaxMessageBytes))) {
    clear();
    return 0;
  }
  msgView = msgBlock.view();
  applyProxyMode();
  if (parseNow) parse(0);
  return 1;
}

int TQMMSG::loadFromFile(const char* path, const char* userText, int parseNow) {
  startLoad(userText);
  msgPath = path;
  if (!path || !msgBlock.loadFrom(path, kMaxMessageBytes, 0)) {
    clear();
    return 0;
  }
  truncated = msgBlock.length == kMaxMessageBytes;
  msgView = cutToHeader(msgBlock.view());
  if (parseNow) parse(0);
  return 1;
}

// A proxy hands over what went over the wire: the closing "." line goes, and
// each line that begins with two dots loses one. A text without the closing
// line is taken as it is.
void TQMMSG::applyProxyMode() {
  if (!hasParam(kProxyModeParam) ||
      !msgView.ends(TBLOCK("\r\n.\r\n"), TBLOCK::NoConvTable))
    return;
  msgView.length -= 3;
  unsigned char* out = msgView.pointer;
  const unsigned char* in = msgView.pointer;
  const unsigned char* const end = msgView.end();
  while (in < end) {
    if (end - in >= 4 && memcmp(in, "\r\n..", 4) == 0) {
      memmove(out, "\r\n.", 3);
      takenDots.add(static_cast<int32_t>(out + 2 - msgView.pointer));
      out += 3;
      in += 4;
    } else {
      *out++ = *in++;
    }
  }
  msgView.length = static_cast<uint32_t>(out - msgView.pointer);
}

void TQMMSG::getQMVersion(STR& version) const {
  const TBLOCK builtIn(kBuiltInVersion);
  const TBLOCK loaded = dico.version();
  const int32_t kUsualVersion = 127;
  version.renew(kUsualVersion + profile.len());
  version += "Quay Marsh ";
  version += IsNewer(loaded, builtIn) ? loaded : builtIn;
  version += " AV+AS Profile: ";
  version += profile.empty() ? TBLOCK("<none>") : profile.view();
  version += "; Bailout: ";
  if (noBailout)
    version += "N/A";
  else
    version += bailout;
}

void TQMMSG::appendExtendedCause(BLOCK& report) {
  report.add("; Hdr=");
  report.add(hdrAdn.view());
  report.add("; From=");
  report.add(fromBox.text);
  report.add("; Domain=");
  bool first = true;
  for (int32_t slot = domains.first(); slot >= 0; domains.next(slot)) {
    if (!first) report.add(",");
    first = false;
    report.add(domains.getBlock(slot));
  }
  report.add(";");
}
