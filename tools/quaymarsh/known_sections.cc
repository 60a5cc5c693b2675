// A check that reads a new section adds its row here. doc/sections.md tells
// what each is held against; tests/tools/lint_test.sh compares the two.

#include "known_sections.h"

#include "compiler.h"
#include "rules/filter_sections.h"

namespace {

const KnownSection kKnownSections[] = {
    {"param", "#", false},
    {"sources", "#", false},
    {"HdrFieldNames", ":", false},
    {"TLD", "$", false},
    {"Tld2", "$", false},
    {"HdrAdnContentType", ":", false},
    {"HdrAdnCharset", ":", false},
    {"HdrAdnEncoding", ":", false},
    {"HdrAdnId", ":", false},
    {"HdrAdnBound", ":", false},
    {"HdrAdnMailer", ":", false},
    {"HdrAdnUserAgent", ":", false},
    {"AdnLines", ":", false},
    {"AdnUrlText", ":", false},
    {"AdnUrlTextBefore", ":", false},
    {"AdnHtmlMacros", ":", false},
    {"AdnEmailUsers", "$", false},
    {"EmailNames", "$", false},
    {"Profils", "^", false},
    {"No-Spam", "^", false},
    {"No-ForgedRcvdLabo", "^", false},
    {"No-ForgedExim", "^", false},
    {"No-FdgSquirrelId", "^", false},
    {"No-DuplicateLowers", "^", false},
    {"No-Virus", "^", false},
    {"No-Notification", "^", false},
    {"No-SadWords", "^", false},
    {"No-EarlySpring", "^", false},
    {"No-DomainWords", "^", false},
    {"No-hidehrefurl", "^", false},
    {"No-Randomstring", "^", false},
    {"No-SuspectEmail", "^", false},
    {"No-CE", "^", false},
    {"NoInvisibleWords", "^", false},
    {"ExtendedSpamCause", "^", false},
    {"No-Bracken", "$", false},
    {"=HeaderRegex", "^", true},
    {"=SpamRegexBeforeWhite", "^", true},
    {"=SpamRegex", "^", true},
    {"=SpamRegexNoPurge", "^", true},
    {"=UceRegex", "^", true},
    {"=WhiteRegex", "^", true},
    {"EverWhiteRegex", "^", false},
    {"RegexCount", "#", true},
    {"=RegexNoVirus", "^", false},
    {"=AlwaysRegexVirus", "^", false},
    {"=RegexVirus", "^", false},
    {"EmbedFilterRegex", "^", true},
    {"EmbedSpamRegex", "^", false},
    {"PhishingSelect", "^", false},
    {"PhishingRules", "^", false},
    {"SuspectEmail-Regex", "^", true},
    {"DCE-Regex", "^", true},
    {"PCE-Regex", "^", true},
    {"MCE-Regex", "^", true},
    {"blackEmailRegex", "^", true},
    {"whiteEmailRegex", "^", true},
    {"DeepPhishing", "#", true},
    {"BlackWords", "", true},
    {"BlackSubjectWords", "", true},
    {"WhiteWords", "", true},
    {"WhiteSubjectWords", "", true},
    {"NoAntiBayesWhiteWords", "", true},
    {"TipsWords", "", true},
    {"SenderWords", "", true},
    {"AddrWords", "", true},
    {"HrefWords", "", true},
    {"LinkWords", "", true},
    {"PhishingWords", "", false},
    {"SuspectEmail-Words", "", true},
    {"LegitEmail-Words", "", true},
    {"ResitWords", "", true},
    {"HardWords", "", false},
    {"NOTIFICATION-SUBJECT", "", true},
    {"NOTIFICATION-SUBJECT-BEGIN", "", true},
    {"NOTIFICATION-BODY", "", true},
    {"ScamGroups", "#", true},
    {"BlackWordGroups", "#", true},
    {"CommercialWordGroups", "#", true},
    {"ResitWordGroups", "#", true},
    {"EasternCharset", "#", true},
    {"AsianCharset", "#", true},
    {"BlackSubject", "#", true},
    {"WhiteSubject", "#", true},
    {"WhiteContent", "#", true},
    {"Newsletters", "#", false},
    {"HtmlComments", "#", true},
    {"ImgSize", "#", true},
    {"AttachExt", "#", true},
    {"AttachContent", "#", true},
    {"AttachHeader", "#", true},
    {"SpamHeaderField", "#", true},
    {"HamHeaderField", "#", true},
    {"SadWords", "#", false},
    {"WhiteHtmlMeta", "#", true},
    {"WhiteHtmlMetaSilent", "#", true},
    {"PhrasesWithoutChars", "#", true},
    {"WordsWithoutChars", "#", true},
    {"PhishingSenders", "#", false},
    {"LinkText", "#", true},
    {"WhiteHrefUrl", "#", true},
    {"WhiteHrefDomain", "#", true},
    {"WhiteImgUrl", "#", true},
    {"NOTIFICATION-FROM", "#", true},
    {"NOTIFICATION-ATTACH-HEADER", "#", true},
    {"NOTIFICATION-ATTACH-NAME", "#", true},
    {"NOTIFICATION-ATTACH-CONTENT", "#", true},
    {"BrackenUrls", "#", false},
    {"DomainWords", "$", true},
    {"SpamHdr", "*", true},
    {"BlackAlias", "$", true},
    {"blackEmailAddr", "$", true},
    {"blackEmailDomain", "$", true},
    {"blackReplyTo", "$", true},
    {"whiteEmailAddr", "$", true},
    {"whiteEmailDomain", "$", true},
    {"whiteReplyTo", "$", true},
    {"whiteAlias", "$", true},
    {"LoVirusExt", "$", false},
    {"HiVirusExt", "$", false},
    {"BlackHost", "$", true},
    {"BlackPhones", "$", true},
    {"Unsub", "$", true},
    {"WhiteFromDomains", "$", true},
    {"WhiteLinkDomains", "*", true},
    {"ForgedDomains", "#", false},
    {"NoPhishing4", "#", false},
    {"BlackDomains", "@", false},
    {"HdrMailingList", "!", true},
    {"BodyAnswers", "!", true},
    {"BodyUseless", "!", false},
    {"BodyComment", "!", false},
    {"AntiVirusAdnHtml", "!", false},
    {"SubstRegex", "!", true},
    {"DomainsRegex", "!", true},
    {"SummerRegex", "!", true},
    {"NOTIFICATION-HTML", "!", true},
};

const KnownSection kSwitch = {"", "^", false};

bool IsSwitchOf(const std::string& name, const char* front) {
  const std::string prefix = front;
  if (name.compare(0, prefix.size(), prefix) != 0) return false;
  const std::string rest = name.substr(prefix.size());
  for (const auto& filter : _FilterNames)
    if (rest == FoldName(TBLOCK(filter))) return true;
  if (front[0] != 'n') return false;
  for (const KnownSection& known : kKnownSections)
    if (known.prefix[0] == '\0' && rest == FoldName(TBLOCK(known.name)))
      return true;
  return false;
}

}  // namespace

const KnownSection* FindKnownSection(const std::string& name) {
  const std::string folded = FoldName(View(name));
  for (const KnownSection& known : kKnownSections)
    if (folded == FoldName(TBLOCK(known.name))) return &known;
  return IsSwitchOf(folded, "no-") || IsSwitchOf(folded, "only-") ? &kSwitch
                                                                  : nullptr;
}
