// A check that reads a new section adds its row here. doc/sections.md tells
// what each is held against; tests/tools/lint_test.sh compares the two.

#include "known_sections.h"

#include <cstddef>
#include <cstring>

#include "compiler.h"
#include "rules/filter_sections.h"

namespace {

const KnownSection kKnownSections[] = {
    {"param", "#", 0, kFieldForm},
    {"sources", "#"},
    {"HdrFieldNames", ":"},
    {"TLD", "$", 0, kSuffixForm},
    {"Tld2", "$", 0, kSuffixForm},
    {"HdrAdnContentType", ":"},
    {"HdrAdnCharset", ":"},
    {"HdrAdnEncoding", ":"},
    {"HdrAdnId", ":"},
    {"HdrAdnBound", ":"},
    {"HdrAdnMailer", ":"},
    {"HdrAdnUserAgent", ":"},
    {"AdnLines", ":"},
    {"AdnUrlText", ":"},
    {"AdnUrlTextBefore", ":"},
    {"AdnHtmlMacros", ":"},
    {"AdnEmailUsers", "$"},
    {"EmailNames", "$"},
    {"Profils", "^", kEarly},
    {"No-Spam", "^"},
    {"No-ForgedRcvdLabo", "^", kEarly},
    {"No-ForgedExim", "^", kEarly},
    {"No-FdgSquirrelId", "^", kEarly},
    {"No-DuplicateLowers", "^"},
    {"No-Virus", "^"},
    {"No-Notification", "^"},
    {"No-SadWords", "^"},
    {"No-EarlySpring", "^"},
    {"No-DomainWords", "^"},
    {"No-hidehrefurl", "^"},
    {"No-Randomstring", "^"},
    {"No-SuspectEmail", "^"},
    {"No-CE", "^"},
    {"NoInvisibleWords", "^"},
    {"ExtendedSpamCause", "^"},
    {"No-Bracken", "$*"},
    {"=HeaderRegex", "^", kScores | kEarly},
    {"=SpamRegexBeforeWhite", "^", kScores},
    {"=SpamRegex", "^", kScores},
    {"=SpamRegexNoPurge", "^", kScores},
    {"=UceRegex", "^", kScores},
    {"=WhiteRegex", "^", kScores},
    {"EverWhiteRegex", "^", 0, kAnyForm, -100},
    {"RegexCount", "#$", 0, kCountForm},
    {"=RegexNoVirus", "^"},
    {"=AlwaysRegexVirus", "^", 0, kAnyForm, 9999},
    {"=RegexVirus", "^", 0, kAnyForm, 9999},
    {"EmbedFilterRegex", "^"},
    {"EmbedSpamRegex", "^"},
    {"PhishingSelect", "^"},
    {"PhishingRules", "^"},
    {"SuspectEmail-Regex", "^", kScores},
    {"DCE-Regex", "^"},
    {"PCE-Regex", "^"},
    {"MCE-Regex", "^"},
    {"blackEmailRegex", "^", kScores},
    {"whiteEmailRegex", "^", kScores},
    {"DeepPhishing", "#$&", kScores},
    {"BlackWords", " &", kScores},
    {"BlackSubjectWords", " &", kScores},
    {"WhiteWords", " &", kScores},
    {"WhiteSubjectWords", " &", kScores},
    {"NoAntiBayesWhiteWords", " &", kScores},
    {"TipsWords", " &", kScores},
    {"SenderWords", " &", kScores},
    {"AddrWords", " &", kScores},
    {"HrefWords", " ", kScores | kNoSwitch},
    {"LinkWords", " &", kScores},
    {"PhishingWords", " ", kNoSwitch},
    {"SuspectEmail-Words", " &", kScores},
    {"LegitEmail-Words", " &", kScores},
    {"ResitWords", " &", kScores},
    {"HardWords", " ", kNoSwitch, kOneWordForm, 200},
    {"NOTIFICATION-SUBJECT", " ", kScores | kNoSwitch},
    {"NOTIFICATION-SUBJECT-BEGIN", " ", kScores | kNoSwitch},
    {"NOTIFICATION-BODY", " ", kScores | kNoSwitch},
    {"ScamGroups", "#$&", kScores},
    {"BlackWordGroups", "#$&", kScores},
    {"CommercialWordGroups", "#$&", kScores},
    {"ResitWordGroups", "#$&", kScores},
    {"EasternCharset", "#$! ", kScores | kFirstOnly},
    {"AsianCharset", "#$! ", kScores | kFirstOnly},
    {"BlackSubject", "#$! ", kScores},
    {"WhiteSubject", "#$! ", kScores},
    {"WhiteContent", "#$! ", kScores | kFirstOnly},
    {"Newsletters", "#$! ", kFirstOnly},
    {"HtmlComments", "#$", kScores},
    {"ImgSize", "#$! ", kScores},
    {"AttachExt", "#$! ", kScores, kSuffixForm},
    {"AttachContent", "#$", kScores, kFieldForm},
    {"AttachHeader", "#$!", kScores | kLastStar, kFieldForm},
    {"SpamHeaderField", "#$!", kScores | kLastStar, kFieldForm},
    {"HamHeaderField", "#$!", kScores | kLastStar, kFieldForm},
    {"SadWords", "#$"},
    {"WhiteHtmlMeta", "#$!", kScores | kLastStar, kMetaForm},
    {"WhiteHtmlMetaSilent", "#$!", kScores | kLastStar, kMetaForm},
    {"PhrasesWithoutChars", "#$", kScores, kCharsForm},
    {"WordsWithoutChars", "#$", kScores, kCharsForm},
    {"PhishingSenders", "#$", kFirstOnly},
    {"LinkText", "#$", kScores},
    {"WhiteHrefUrl", "#$! ", kScores},
    {"WhiteHrefDomain", "#$! ", kScores},
    {"WhiteImgUrl", "#$! ", kScores},
    {"NOTIFICATION-FROM", "#$", kScores | kFirstOnly | kPlainStar},
    {"NOTIFICATION-ATTACH-HEADER", "#$", kScores | kPlainStar, kFieldForm},
    {"NOTIFICATION-ATTACH-NAME", "#$! ", kScores | kFirstOnly},
    {"NOTIFICATION-ATTACH-CONTENT", "#$! ", kScores | kFirstOnly},
    {"BrackenUrls", "#$"},
    {"DomainWords", "$#! ", kScores},
    {"SpamHdr", "*", kScores, kHeaderKeyForm},
    {"BlackAlias", "$*", kScores},
    {"blackEmailAddr", "$*", kScores},
    {"blackEmailDomain", "$*", kScores},
    {"blackReplyTo", "$*", kScores},
    {"whiteEmailAddr", "$*", kScores},
    {"whiteEmailDomain", "$*", kScores},
    {"whiteReplyTo", "$*", kScores},
    {"whiteAlias", "$*", kScores},
    {"LoVirusExt", "$#", 0, kSuffixForm},
    {"HiVirusExt", "$#", 0, kSuffixForm},
    {"BlackHost", "$*", kScores},
    {"BlackPhones", "$*", kScores, kDigitsForm},
    {"Unsub", "$*", kScores},
    {"WhiteFromDomains", "$*", kScores},
    {"WhiteLinkDomains", "*", kScores},
    {"ForgedDomains", "#$", kFirstOnly},
    {"NoPhishing4", "#$", kFirstOnly, kPairForm},
    {"BlackDomains", "@"},
    {"HdrMailingList", "!", kScores},
    {"BodyAnswers", "!", kScores | kLongText},
    {"BodyUseless", "!", kLongText},
    {"BodyComment", "!", kLongText},
    {"AntiVirusAdnHtml", "!", kLongText},
    {"SubstRegex", "!", kScores | kLongText},
    {"DomainsRegex", "!", kScores},
    {"SummerRegex", "!", kScores},
    {"NOTIFICATION-HTML", "!", kScores | kLongText},
};

// Filters that no scan runs; nobody asks for sections with their names, but for
// those of words: "No-BlackWords".
const int kIdleFilters[] = {11, 13, 16, 29, 30, 32, 34};
// Those that run ahead of the body.
const int kEarlyFilters[] = {5, 7, 44, 45};

const KnownSection kSwitch = {"", "^"};
const KnownSection kEarlySwitch = {"", "^", kEarly};

template <size_t n>
bool HasNumber(const int (&numbers)[n], int number) {
  for (int one : numbers)
    if (one == number) return true;
  return false;
}

const KnownSection* FilterSwitch(const std::string& filter) {
  for (int i = 0; i < kFilterCount; i++) {
    if (filter != FoldName(TBLOCK(_FilterNames[i]))) continue;
    if (HasNumber(kIdleFilters, i + 1)) return nullptr;
    return HasNumber(kEarlyFilters, i + 1) ? &kEarlySwitch : &kSwitch;
  }
  return nullptr;
}

const KnownSection* WordSwitch(const std::string& words) {
  for (const KnownSection& known : kKnownSections)
    if (known.prefixes[0] == ' ' && !(known.flags & kNoSwitch) &&
        words == FoldName(TBLOCK(known.name)))
      return &kSwitch;
  return nullptr;
}

}  // namespace

bool KnownSection::hasPrefix(const std::string& prefix) const {
  return strchr(prefixes, prefix.empty() ? ' ' : prefix[0]) != nullptr;
}

const KnownSection* FindKnownSection(const std::string& name) {
  const std::string folded = FoldName(View(name));
  for (const KnownSection& known : kKnownSections)
    if (folded == FoldName(TBLOCK(known.name))) return &known;
  if (folded.compare(0, 5, "only-") == 0) return FilterSwitch(folded.substr(5));
  if (folded.compare(0, 3, "no-") != 0) return nullptr;
  const KnownSection* found = FilterSwitch(folded.substr(3));
  return found ? found : WordSwitch(folded.substr(3));
}
