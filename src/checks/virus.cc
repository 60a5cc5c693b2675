// Outbreak mail in its first hours, by how worms package themselves: programs
// that the HTML loads, double extensions, archives of one program, all of that
// inside a bounce. Entry: TQMMSG::checkVirus. What an extension is worth, and
// which rules name a virus, stands in the dictionary. Tested by virus_test.cc
// and tests/mail/virus.eml.

#include "base/count.h"
#include "base/wildcard.h"
#include "message/part_iter.h"
#include "regex/regex.h"
#include "regex/regex_pool.h"
#include "scan/forward_lines.h"
#include "scan/tqmmsg.h"

namespace {

const int32_t kVirusScore = 9999;
const char kUnknown[] = "unknown";

// With more attachments a mail is no worm.
const int32_t kMaxAttachments = 2;
const int32_t kMaxArchiveNames = 3;
const int32_t kMinDots = 2;

// Programs that give attachments a Content-ID without a disposition.
const char* const kCidMailers[] = {"Lotus Notes", "Outlook, Build 11",
                                   "Microsoft Windows Mail"};

// Whether the value is an entry of a list joined by commas.
bool IsOneOf(const char* list, TBLOCK value) {
  TBLOCK rest(list);
  while (!rest.empty())
    if (MatchWildcard(TBLOCK::BlockBeforeChar(rest, ',', 0, 0), value,
                      wmOverlap))
      return true;
  return false;
}

// What stands behind the last dot; empty without one.
TBLOCK ExtensionOf(TBLOCK name) {
  const int32_t dot = name.findLastByte('.');
  return dot < 0 ? TBLOCK() : name.from(static_cast<uint32_t>(dot) + 1);
}

// A text behind its leading digits, up to the next one.
TBLOCK CoreOf(TBLOCK text) {
  text.trimLeft(bitDigit);
  for (uint32_t i = 0; i < text.length; i++)
    if (TBLOCK::Is(text[i], bitDigit)) return text.head(i);
  return text;
}

// Whether all recipients have the name of the first.
bool IsOnePerson(const TMAILBOXVECT& list) {
  if (list.count() < 2) return true;
  const TBLOCK name = list.get(0).name;
  if (name.empty()) return false;
  for (int32_t i = 1; i < list.count(); i++)
    if (!list.get(i).name.equals(name)) return false;
  return true;
}

// Whether the recipient's name, if there is one, is made of the address.
bool IsNamedByAddress(const TMAILBOX& box) {
  if (box.name.empty()) return true;
  TBLOCK rest = box.email;
  const TBLOCK core = CoreOf(TBLOCK::BlockBeforeChar(rest, '@', 0, 0));
  return core.empty() || core.equals(CoreOf(box.name)) ||
         box.name.equals("contact") || box.name.equals(box.email);
}

// Whether the mail comes from a program that hides parts by itself.
bool HidesParts(TBLOCK mailer, TBLOCK header) {
  for (const char* program : kCidMailers)
    if (mailer.find(program) >= 0) return true;
  return header.find("Thread-Topic") >= 0;
}

void ClearVirus(TQMMSG& m) {
  m.virusFound = 0;
  m.virusSure = 0;
  m.virusName = "";
  m.virusReason = "";
}

// The text behind the line that opens a copy of a multipart; false without one.
bool FindMultipartText(TBLOCK text, REGEXPOOL* pool, TBLOCK& copy) {
  REGEX pattern(REGEXPOOL::_THIS_IS_A_MULTIPART, pool);
  int32_t start, end;
  if (!pattern.matchWithDetails(text) || !pattern.getDetail(0, start, end))
    return false;
  copy = text.from(static_cast<uint32_t>(end));
  if (copy.begins("--")) TBLOCK::BlockNextLine(copy);
  return true;
}

}  // namespace

// Writes: all of the ledger on a hit: state 2, score 9999, and as the cause
// "VIRUS" and the name. Returns: 1 when the check ran.
int TQMMSG::checkVirus(const QMGLOBALSETUP* globalSetup,
                       const QMUSERSETUP* userSetup) {
  if (!BothWant(globalSetup, userSetup, QM_CHECK_VIRUS) ||
      testRuleSection("No-Virus"))
    return 0;
  if (!checkAttachVirus() && !checkForwardedVirus()) return 1;
  ledger.reset();
  ledger.cause.add("VIRUS ");
  ledger.cause.add(virusName.view());
  ledger.state = ssVirus;
  ledger.score = kVirusScore;
  return 1;
}

int TQMMSG::setVirus(const char* name, const char* reason) {
  virusFound = 1;
  virusName = name;
  virusReason = reason;
  return 1;
}

// The name is that of the rule.
int TQMMSG::matchVirusRules(const char* section) {
  STR name;
  return matchRuleSection(section, name) > 0
             ? setVirus(name.c_str(), "RegexVirus")
             : 0;
}

int TQMMSG::checkAttachVirus() {
  ClearVirus(*this);
  STR ruleName;
  if (matchRuleSection("=RegexNoVirus", ruleName) > 0) return 0;
  if (checkVirusByHeader() || checkLoadedParts()) return 1;
  TBLOCK fileName;
  if (!findSuspectFile(fileName) || CountByte(fileName, '.') < kMinDots)
    return 0;
  if (BlockMatchRegex(fileName, REGEXPOOL::_DOUBLE_EXT_WITH_BLANKS, pool))
    return setVirus(kUnknown, "forged file extension");
  if (BlockMatchRegex(fileName, REGEXPOOL::_DOUBLE_EXT, pool))
    return setVirus(kUnknown, "double file extension");
  // Only named, not judged: the name is left for the caller to see, on purpose.
  if (BlockMatchRegex(fileName, REGEXPOOL::_CRT_EXE_ZIP_RAR_ARJ, pool))
    setVirus("Certificat SSL", "");
  return 0;
}

// Reads: types, recipients, and the rules of "=AlwaysRegexVirus" and, for mail
// in the form of a worm to one person, "=RegexVirus".
int TQMMSG::checkVirusByHeader() {
  if (matchVirusRules("=AlwaysRegexVirus")) return 1;
  const TBLOCK types = typeAdn.view();
  const bool wormForm =
      contentType.begins("multipart/mixed") ||
      contentType.begins("multipart/related; type=\"multipart/alternative") ||
      types.begins("rZ") || types.begins("aZ") || types.equals("u");
  if (!wormForm || !IsOnePerson(toList) || !IsNamedByAddress(recipientBox))
    return 0;
  return matchVirusRules("=RegexVirus");
}

// Programs that the mail reader loads because the HTML names them, or that are
// hidden from it.
int TQMMSG::checkLoadedParts() {
  int hidden = -1;  // whether a worm hid them, once it was asked for
  PARTITER walk(message.parts);
  while (const BLOCKPART* part = walk.next()) {
    if (part->contentId.empty() ||
        (!checkDicoExt(part->extension, "LoVirusExt") &&
         !checkDicoExt(part->extension, "HiVirusExt")))
      continue;
    if (lookForUsedCid(part->contentId))
      return setVirus(kUnknown, "HTML use file");
    if (!part->dispositionField.empty()) continue;
    if (hidden < 0) hidden = !HidesParts(mailer, message.header);
    if (hidden) return setVirus(kUnknown, "CID whitout content disposition");
  }
  return 0;
}

// The first attachment of a simple mail that is suspect.
bool TQMMSG::findSuspectFile(TBLOCK& fileName) {
  if (!message.type.equals("multipart/mixed") ||
      attachmentCount > kMaxAttachments)
    return false;
  PARTITER walk(message.attachments);
  while (BLOCKPART* part = walk.next())
    if (checkAttPart(part, fileName) > 0) return true;
  return false;
}

int TQMMSG::checkDicoExt(TBLOCK word, const char* section) {
  word.trim();
  if (word.empty()) return 0;
  const TQKLINE* line = nullptr;
  return dico.hashedFind(section, word, line) ||
         dico.searchString(dico.findSection(section), word, line);
}

int TQMMSG::lookForUsedCid(TBLOCK contentId) {
  STR url("cid:");
  url += contentId;
  return htmlContext.links.find(url.view()) != nullptr ||
         textContext.links.find(url.view()) != nullptr;
}

int TQMMSG::checkAttPart(BLOCKPART* part, TBLOCK& fileName) {
  fileName.clear();
  if (!IsOneOf("attachment,inline", part->disposition) ||
      part->displayName.empty())
    return 0;
  fileName = part->displayName;
  if (part->attachKind == akArchive) return checkArchive(*part, fileName);
  const int result = checkDicoExt(part->extension, "HiVirusExt")   ? 2
                     : checkDicoExt(part->extension, "LoVirusExt") ? 1
                                                                   : 0;
  if (part->type.empty()) return result;
  TBLOCK kind = part->type;
  const TBLOCK family = TBLOCK::BlockBeforeChar(kind, '/', 1, 0);
  const bool binary =
      family.equals("application") &&
      IsOneOf("octet-stream,x-zip-compressed,download,mixed,x-msdownload",
              kind);
  return binary ? result : result - 1;
}

// Each entry is a byte that is "0" for a file as it stands, and the name. The
// last suspect one decides. An empty listing hides what it packs. A folder is
// known by the slash at the end of its extension, so that one without a dot is
// none, on purpose.
int TQMMSG::checkArchive(const BLOCKPART& part, TBLOCK& fileName) {
  TBLOCK listing = part.archiveText.view();
  TBLOCK::BlockBeforeChar(listing, ':', 0, 0);
  TBLOCKVECT names(kMaxArchiveNames + 1);
  names.setMaxCount(kMaxArchiveNames + 1);
  names.fillFromBigBlock(listing, ',', 0);
  if (names.count() > kMaxArchiveNames) return 0;
  if (names.count() == 0) return 2;
  int result = 0;
  int32_t programs = 0, pages = 0, folders = 0;
  for (int32_t i = 0; i < names.count(); i++) {
    const TBLOCK name = names.get(i).from(1);
    const TBLOCK extension = ExtensionOf(name);
    if (checkDicoExt(extension, "HiVirusExt")) {
      result = 2;
      fileName = name;
    } else if (IsOneOf("exe,zip,vbs", extension)) {
      result = names.get(i)[0] == '0' ? 2 : 1;
      fileName = name;
    }
    programs += extension.equals("exe");
    pages += IsOneOf("htm,html", extension);
    folders += extension.ends("/") || extension.ends("\\");
  }
  return programs == 1 && pages == 1 && folders == 1 ? 2 : result;
}

// Messages inside this one: its parts, or a copy in the text of mail that is
// nothing but text. Of several parts the last one decides, on purpose.
int TQMMSG::checkForwardedVirus() {
  int result = 0;
  PARTITER walk(message.parts);
  while (BLOCKPART* part = walk.next()) {
    if (part == &message || part == message.embeddedPart ||
        (!part->type.equals("message/rfc822") &&
         !part->extension.equals("eml")))
      continue;
    result = checkForwardedBlockVirus(part->decodeContent());
  }
  // What an earlier part was found to be is then taken back.
  if (!result && virusSure) ClearVirus(*this);
  if (message.parts.len() != 1 || message.parts.first->item != &message)
    return result;
  const TBLOCK content = message.decodeContent();
  TBLOCK copy;
  bool told = false;
  for (int32_t line = 0; line < kForwardTextLines; line++) {
    if (!FindForwarded(content, line, copy)) continue;
    told = true;
    if (checkForwardedBlockVirus(copy)) return 1;
  }
  if (told || !FindMultipartText(content, pool, copy)) return 0;
  return checkForwardedBlockVirus(copy);
}

// What an inner message says becomes this one's verdict when it is a hit.
int TQMMSG::checkForwardedBlockVirus(TBLOCK source) {
  TQMMSG* inner = loadInner(source);
  if (!inner) return 0;
  const int result = inner->checkAttachVirus() || inner->checkForwardedVirus();
  if (result) {
    setVirus(inner->virusName.c_str(), inner->virusReason.c_str());
    virusSure = 1;
  }
  delete inner;
  return result;
}
