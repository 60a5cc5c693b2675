// The life of a message under scan: building it, loading it, its parameters
// and its version text. Tested by tqmmsg_test.cc.

#include "scan/tqmmsg.h"

#include <string.h>

#include <new>

// Hosts call from threads with small stacks.
static_assert(sizeof(TQMMSG) < 32 * 1024, "too large for a host's stack");

namespace {

// The dictionary that this code was built for; a newer one shows its own
// version.
const char kBuiltInVersion[] = "01.333.21";

const char kProxyModeParam[] = "mode=proxy";

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
      msgBlock(0, BLOCK::_DEFALLOCSIZE),
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
      subjectWords(0),
      aliasWords(0),
      profiles(0) {}

TQMMSG::~TQMMSG() {
  delete header;
}

int TQMMSG::yes2Remove(OLIST* /*list*/, const void* /*item*/, int /*index*/) {
  return 0;
}

void TQMMSG::clear() {
  delete header;
  header = nullptr;
  message.clear();
  msgBlock.empty();
  msgView.clear();
  paramLines.clear();
  msgPath = "";
  user = "";
  truncated = 0;
  headerParsed = bodyParsed = headerFiltered = 0;
  fieldsRead = 0;
  headerEnd = 0;

  TBLOCK* const values[] = {
      &from,         &to,          &cc,          &bcc,
      &subject,      &replyTo,     &returnPath,  &sender,
      &mailer,       &date,        &precedence,  &rawMessageId,
      &messageId,    &inReplyTo,   &contentType, &originalMessageId,
      &mimeOle,      &threadIndex, &userAgent,   &msMailPriority,
      &xSpamState,   &xSpamScore,  &xSpamAgent,  &xSpamCause,
      &xSpamSubject, &xSpamType};
  for (TBLOCK* value : values) value->clear();
  TMAILBOX* const boxes[] = {&fromBox, &replyToBox, &returnPathBox, &senderBox,
                             &recipientBox};
  for (TMAILBOX* box : boxes) *box = TMAILBOX();
  TCharset* const charsets[] = {&headerCharset, &subjectCharset, &bodyCharset,
                                &messageCharset};
  for (TCharset* charset : charsets) charset->clear();
  TBLOCKVECT* const lists[] = {&bodyWords, &subjectWords, &aliasWords,
                               &profiles};
  for (TBLOCKVECT* list : lists) list->clear();
  msgContext.clear();
  htmlContext.clear();
  textContext.clear();
  hdrAdn = "";
  tabAdn = "";

  ledger.reset();
  STR version;
  getQMVersion(version);
  ledger.scoreDetails.add(version.view());
}

void TQMMSG::setProfileInfo(int32_t bailoutScore, const char* profileText) {
  if (bailoutScore >= kMinBailout) bailout = bailoutScore;
  if (profileText && *profileText) profile = profileText;
}

void TQMMSG::setParams(const char* text) {
  paramLines.clear();
  params = text;
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
TBLOCK TQMMSG::cutToHeader(TBLOCK text) const {
  if (!headerOnly) return text;
  int32_t at = text.find("\n\r\n");
  if (at < 0) at = text.find("\n\n");
  if (at < 0) return text;
  return text.head(at > 0 ? static_cast<uint32_t>(at - 1) : 0);
}

void TQMMSG::takeHeader(TBLOCK text) {
  if (wantHeader) header = new (std::nothrow) HEADER(text);
}

int TQMMSG::loadFromBlock(TBLOCK text, const char* userText, int parseNow) {
  startLoad(userText);
  text.cut(kMaxBlockBytes);
  text = cutToHeader(text);
  takeHeader(text);
  truncated = text.length > kMaxMessageBytes;
  if (!text.empty() && !msgBlock.add(text.head(kMaxMessageBytes))) {
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
  takeHeader(msgView);
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
      out += 3;
      in += 4;
    } else {
      *out++ = *in++;
    }
  }
  msgView.length = static_cast<uint32_t>(out - msgView.pointer);
}

void TQMMSG::getQMVersion(STR& text) const {
  const TBLOCK builtIn(kBuiltInVersion);
  const TBLOCK loaded = dico.version();
  text = "Quay Marsh ";
  text += IsNewer(loaded, builtIn) ? loaded : builtIn;
  text += " AV+AS Profile: ";
  text += profile.empty() ? TBLOCK("<none>") : profile.view();
  text += "; Bailout: ";
  if (noBailout)
    text += "N/A";
  else
    text += bailout;
}

void TQMMSG::appendExtendedCause(BLOCK& /*text*/) {}
