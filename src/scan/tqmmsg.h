// TQMMSG: one message under scan, everything that a scan finds out about it,
// and the home of all checks.
//
// This header holds declarations only; each section names the file with the
// bodies. A TQMMSG serves one message: build it, load, check, destroy. It is
// used by one thread and shares nothing with another but the three borrowed
// pointers, which are only read.
//
//   Contents                                   bodies in
//   life, loading, parameters                  scan/tqmmsg.cc
//   header fields                              scan/header_fields.cc,
//                                              scan/subject.cc,
//                                              scan/received_fields.cc
//   body preparation                           scan/body_preparation.cc,
//                                              scan/answers.cc,
//                                              scan/body_lines.cc,
//                                              scan/body_parts.cc,
//                                              scan/attachment_adn.cc
//   fingerprints                               scan/fingerprints.cc,
//                                              scan/header_adn.cc
//   the order of a scan, the three branches    scan/driver.cc
//   the recipient's white lists                scan/white_lists.cc
//   ledger                                     scan/ledger.cc
//   dictionary sections that score             scan/section_scores.cc
//   filter dispatch                            scan/filters.cc
//   rule sections                              scan/rule_sections.cc
//   filters and other checks                   checks/*.cc, as told below
//
// All views point into msgBlock or into another block of the same object.
// Scans nest at most kMaxScanDepth deep; inner objects live on the heap, so
// that a scan's stack stays small.

#ifndef SCAN_TQMMSG_H_
#define SCAN_TQMMSG_H_

#include <stdint.h>

#include "api/quaymarsh.h"
#include "base/block.h"
#include "base/hash_file.h"
#include "base/olist.h"
#include "base/str.h"
#include "base/tblock.h"
#include "base/vectors.h"
#include "content/contexts.h"
#include "content/mailbox.h"
#include "message/block_date.h"
#include "message/block_part.h"
#include "message/charset.h"
#include "message/mime_ole.h"
#include "message/received.h"
#include "message/tip.h"
#include "rules/qm_dico.h"
#include "rules/rule_expression.h"
#include "scan/header.h"
#include "scan/ledger.h"

class HSTUFF;
class REGEXPOOL;
class UrlBlacklist;
struct RULEFIELD;

// Bytes of a message that are looked at. Bounds the cost of a scan.
const uint32_t kMaxMessageBytes = 204800;
// A message at this depth scans no further message inside it.
const int32_t kMaxScanDepth = 7;
// Messages inside of one, at all depths, that are looked at: a text may name
// more copies of itself at each level.
const int32_t kMaxInnerMessages = 64;
// Header lines that are held against the patterns of a section: more than any
// mail has.
const int32_t kMaxMatchedFields = 2048;
// A score at or above the bailout ends a scan early, unless the host forbids.
const int32_t kDefaultBailout = 300;
// A host's bailout counts from here on.
const int32_t kMinBailout = 100;
// Beyond this in either direction lists and filters have settled the case.
const int32_t kDecisiveScore = 999;

// Rule fields: the one that takes a name, and those that are fingerprints of a
// value.
enum : int {
  kFieldAdnFrom = 0x0E,
  kFieldHdr = 0x14,
  kFieldAdnRec = 0x24,
  kFieldAdnRcvd = 0x26,
  kFieldAdnLabo = 0x28,
  kFieldAdnId = 0x29,
  kFieldAdnCid = 0x2A,
  kFieldAdnBound = 0x2B,
  kFieldAdnHtml = 0x2C,
  kFieldAdnTable = 0x2D,
  kFieldAdnText = 0x2E,
  kFieldAdnThid = 0x32,
  kFieldAdnById = 0x34,
  kFieldAddrWords = 0x41,
  kFieldAdnUrl = 0x4B,
  kFieldAdnFilename = 0x4C,
  kFieldAdnTagParam = 0x4E,
  kFieldAdnSubject = 0x50,
  kFieldAdnRcvdFrom = 0x56,
  kFieldAdnRcvdBy = 0x58,
  kFieldAdnRcvdWith = 0x5A
};
// All rule fields, from 1 to this.
const int32_t kRuleFieldCount = 121;

// Whether both setups are there and have the flag.
inline bool BothWant(const QMGLOBALSETUP* globalSetup,
                     const QMUSERSETUP* userSetup, uint32_t flag) {
  return globalSetup && userSetup && (globalSetup->flags & flag) &&
         (userSetup->flags & flag);
}

class TQMMSG : public OLISTGURU {
 public:
  // ==== Life, loading, parameters: scan/tqmmsg.cc

  // Borrows the three pointers; each may be null. `headerOnly` not 0 keeps
  // only the header of what is loaded; `depth` is 0 for the outer message.
  TQMMSG(REGEXPOOL* pool, HSTUFF* stuff, UrlBlacklist* blacklist,
         int headerOnly, int depth);
  ~TQMMSG() override;
  TQMMSG(const TQMMSG&) = delete;
  TQMMSG& operator=(const TQMMSG&) = delete;

  // Deletes the item, which may be null, of one of this object's lists of
  // records: 1. 0 for any other list.
  int yes2Remove(OLIST* list, const void* item, int index) override;

  // Everything that a load finds out goes back to empty; bailout, profile,
  // parameter text and noBailout stay. scoreDetails becomes the version text.
  void clear();
  // A value of kMinBailout or more replaces the bailout; a text that is not
  // empty replaces the profile. Null is an empty text.
  void setProfileInfo(int32_t bailoutScore, const char* profileText);
  // Stores the parameter text, lines separated by LF; null empties it.
  void setParams(const char* text);
  // Cuts the parameter text into `paramLines`, trimmed; done by each load.
  void buildParams();
  // Whether a parameter line equals the text, through LowerConvTable.
  bool hasParam(const char* line) const;

  // Takes a message: clears, copies at most kMaxMessageBytes of it, applies
  // proxy mode, and parses at once with `parseNow`. `user` is the recipient's
  // address text, or null. 1, or 0 with the object clear when memory is short.
  int loadFromBlock(TBLOCK text, const char* userText, int parseNow);
  // The same from a regular file, without proxy mode. 0, with the object
  // clear, when it cannot be read. A file of exactly kMaxMessageBytes counts
  // as truncated, since no more is read.
  int loadFromFile(const char* path, const char* userText, int parseNow);

  // "Quay Marsh <version> AV+AS Profile: ...; Bailout: ...".
  void getQMVersion(STR& text) const;
  // Appends what a dictionary may ask for behind the cause text: fingerprint of
  // the header, the sender, the domains of the links.
  void appendExtendedCause(BLOCK& report);

  // Borrowed; outlive the scan; may be null.
  REGEXPOOL* pool;
  UrlBlacklist* blacklist;

  // Owned; live as long as this.
  HEADER* header;     // editable copy of the header block, as long as
                      // headerLength tells; made by parseHeader, and null
                      // unless wantHeader was set before
  BLOCK msgBlock;     // private copy of the message
  TBLOCK msgView;     // of msgBlock; unstuffed in proxy mode
  INTVECT takenDots;  // offsets in msgView ahead of which a "." was taken
  TQMDICO dico;       // the rule dictionary, with this scan's counters
  BLOCKMSG message;   // the MIME tree, parsed from msgView
  const int32_t headerOnly;
  const int32_t depth;
  STR params;             // parameter text
  TBLOCKVECT paramLines;  // its lines
  int32_t wantHeader;     // not 0: parseHeader makes the editable copy
  int32_t noBailout;      // not 0: no early exit by score; set by check
  int32_t bailout;
  STR profile;        // profile words, comma-separated
  STR msgPath;        // path of the message file, when loaded from one
  STR user;           // recipient's address text as given; may be empty
  int32_t truncated;  // 1: the message was cut at kMaxMessageBytes

  // ==== Header fields: scan/header_fields.cc

  // Reads the header of msgView, once for each load. parseHeader runs the
  // four steps in order; clearHeader takes everything back that they find.
  void parseHeader();
  void clearHeader();
  // Puts other header lines in place of a parsed message's and reads them.
  // Views into the old ones that stand outside of this section become stale
  // only with the text that they point to. The text must live as long as the
  // load; WRITES to it. Nothing happens for an empty text or before
  // parsePart. For callers inside the library; there is none yet.
  void changeHeader(TBLOCK text);
  // The first field of that name in the root, compared through
  // LowerConvTable: 1 with its value, without white space and enclosing quotes
  // (with `strip` without white space inside them either), or 0 with an empty
  // value. Each hit raises fieldsRead.
  int readHeaderField(const char* name, TBLOCK& value, int strip);
  // The last one.
  int readLastHeaderField(const char* name, TBLOCK& value, int strip);
  // A parameter of the first field of that name, unquoted; empty without one.
  TBLOCK getHeaderFieldParam(const char* field, const char* param);
  // The first field of that name with its encoded words decoded into `store`,
  // on which `value` is a view; 1, or 0 with an empty value. A field that is
  // not there leaves the charset alone, one without encoded words clears it.
  int readMimeField(const char* name, TBLOCK& value, BLOCK& store);
  int readMimeFieldWithCharset(const char* name, TBLOCK& value, BLOCK& store,
                               TCharset& charset);
  // The stored user becomes the value of that field, if there is one.
  void setUserFromHeaderXField(const char* name);
  // The bare address of the user text; returns the text.
  const char* getUserEmail(STR& address) const;
  void parseDates();
  // Looks in `mailer` for the longest rest behind one of its words that is
  // more than a version number.
  void parseMailer();

  // scan/subject.cc: the subject as its author wrote it, before filters on
  // the way put their tags in front. The first reads it into `subject`, the
  // second takes the tags off.
  void readSubjectField(TBLOCK& value, BLOCK& store);
  void cleanSubjectTag(TBLOCK& value);
  // Cuts a tag in these brackets off the front; 1 when there was one.
  static int checkEnclosedTag(TBLOCK& block, char open, char close);
  static bool isSubjectTag(TBLOCK text);

  // One-time work done for this load.
  int32_t headerParsed;
  int32_t bodyParsed;
  int32_t headerFiltered;

  // Bytes of the header in the message as it was handed in.
  uint32_t headerLength() const;

  int32_t fieldsRead;  // successful field reads; 0 means "no mail at all"
  uint32_t headerEnd;  // offset in msgView at which the body begins

  // Field values, as views into the message or into the decoded texts below.
  TBLOCK from, to, cc, bcc, subject;
  TBLOCK replyTo, returnPath, sender, mailer, date, precedence;
  TBLOCK rawMessageId;       // the last "message-id"
  TBLOCK messageId;          // "x-message-id", else rawMessageId; bare
  TBLOCK originalMessageId;  // bare
  TBLOCK inReplyTo;          // bare
  TBLOCK contentType, mimeOle, msMailPriority, threadIndex, userAgent;
  TBLOCK boundary;    // parameter of the first "content-type"
  TBLOCK mailerName;  // see parseMailer
  // What an earlier filter wrote.
  TBLOCK xSpamState, xSpamScore, xSpamAgent, xSpamCause, xSpamSubject,
      xSpamType;
  // Decoded texts of the fields that may hold encoded words.
  BLOCK fromStore, toStore, ccStore, bccStore, subjectStore, replyToStore,
      returnPathStore, mailerStore, senderStore;
  // Charset of From; of the last present field among the other addresses and
  // the mailer; of the subject.
  TCharset fromCharset, headerCharset, subjectCharset;

  TBLOCKVECT receivedFields;  // values of the "Received" fields, top first
  TBLOCK lastRelay;           // of them the one that names the last relay
  int32_t mailingListScore;   // sum of the section "HdrMailingList"

  // scan/received_fields.cc: takes the relay lines apart.
  void parseReceivedFields();

  RECEIVEDWARE receivedWare;
  OLIST received;  // of BLOCKRECEIVED, the oldest first; owned
  // Of those that tell of a relay the oldest, the next one, and the newest
  // from the third on, or else the oldest; null when there are not so many.
  BLOCKRECEIVED *firstReceived, *secondReceived, *lastReceived;
  TBLOCK deliveredTo;    // the address that the newest of them was for
  TBLOCK sourceIpBlock;  // address of the oldest of them that has one
  TIP sourceIp;          // the same

  TMAILBOX fromBox, replyToBox, returnPathBox, senderBox;
  TMAILBOX recipientBox;    // first address of To
  STR recipientDomain64;    // its domain in base64
  TBLOCKVECT addressWords;  // the addresses of the four boxes, unique
  TMAILBOXVECT toList, ccList;

  // What programs write into identifiers.
  TMIMEOLEID mimeOleId;        // of messageId
  TMIMEOLEID inReplyId;        // of inReplyTo
  TMIMEOLEBOUND mimeOleBound;  // of boundary
  TTHREADINDEX threadInfo;     // of threadIndex

  // Dates. A cleared record stands for "not there".
  BLOCKDATE headerDate;  // the last "date" field
  BLOCKDATE firstReceivedDate, secondReceivedDate, lastReceivedDate;
  BLOCKDATE lastRecordDate;  // of the last Received record
  BLOCKDATE messageDate;     // best guess at when it was written
  BLOCKDATE relayDate;       // best guess at when it was handed over

  int32_t idFromMta;  // 1: the Message-ID seems to come from a relay

  // ==== Body preparation: scan/body_preparation.cc and what it names

  // Parses the body, once for each load; the header first if need be.
  void parseBody();
  // Cuts subject, display name and body into words.
  void parseWords();
  // parseHeader; with `filterHeader` the header filters, and a score at or
  // above the bailout ends here with the body unparsed; then parseBody.
  void parse(int filterHeader);

  // scan/answers.cc: cuts quoted mail off the end of a text. 1 when the text
  // was shortened; the number of answer lines is added to `count`.
  int removeAnswers(TBLOCK& answered, int32_t& count);
  // scan/dico_regex.cc: tries the lines of a section as patterns, in order:
  // true with the score of the first that matches in `count` and the offset of
  // the match; else false, with 0 and -1.
  bool _dicoRegexAndOffset(TBLOCK block, int32_t& count, int32_t& offset,
                           const char* section);
  // scan/body_lines.cc: cuts `body` into bodyLines; takes the footers of virus
  // scanners off, and what they leave in the outline of the HTML; names of
  // "Name: value" lines at its head into fieldTokens.
  void buildBodyLines();
  void removeAntiVirusFooter();
  void removeAntiVirusHtml();
  void parseBodyTokens();
  // scan/body_parts.cc: what the parts besides the bodies tell.
  void describeParts();
  // scan/attachment_adn.cc: a fingerprint of the attachment's content, empty
  // when it is of no kind that has one; returns the text.
  const char* getAdnFromAttach(BLOCKPART* part, STR& out);
  const char* getMP3AdnFromAttach(BLOCKPART* part, STR& out);

  TMSGCONTEXT msgContext;
  THTMLCONTEXT htmlContext;
  TTEXTCONTEXT textContext;
  // Charset of the body and, with all of them summed, of the message.
  TCharset bodyCharset, messageCharset;
  BLOCK textStore, htmlStore;  // what the parsers wrote
  TBLOCK text;                 // plain text as left by QmTextParse
  TBLOCK html;                 // plain text that QmHtmlParse extracted
  TBLOCK body;                 // html when there is an HTML body, else text
  int32_t bodyIsHtml;          // 1: an HTML part was handled
  int32_t answerCount;         // lines of quoted answers
  int32_t answersRemoved;      // 1: the HTML part was shortened by them
  TLINKVECT* links;  // those of the HTML, else of the text; null until chosen
  int32_t linkCount;
  int32_t imageCount;
  HASHFILE domains;      // of links: domain -> 16 bytes of digest
  STRVECT urlAdns;       // fingerprints of links
  STRVECT urlTextAdns;   // two letters for the texts in and ahead of each
  STRVECT imageAdns;     // fingerprints of where pictures are
  HASHTAB hiddenIds;     // identifiers of parts, also as pictures name them
  STRVECT idAdns;        // their fingerprints
  OLIST oleIds;          // of TMIMEOLEID: those of them with a clock; owned
  STRVECT unsubLines;    // texts that offer to unsubscribe
  OLIST phones;          // of BLOCKPHONE; owned
  TBLOCKVECT bodyLines;  // of body, without blank lines at both ends
  int32_t nonBlankLines;
  STR firstLine, lastLine, lastButOneLine;  // of those that are not blank
  STRVECT fieldTokens;
  int32_t highChars;  // share of distinct high bytes in the body
  STR fontList;       // names of the HTML's fonts, joined by commas

  // Of the parts, in order.
  STRVECT attachAdns;         // fingerprints of file names
  STRVECT attachContentAdns;  // of contents
  int32_t attachmentCount;    // attachments that are no pictures
  STR imageSizes;             // kind, width, "x", height of each picture
  STR imageWeights;           // one character each for its size in kilobytes

  TBLOCKVECT bodyWords, subjectWords, aliasWords;
  TBLOCKVECT emails;    // addresses in the body, unique
  STR lineAdn;          // one letter for each line of the body
  STR lineAdnDetail;    // the same, more finely cut
  TBLOCKVECT profiles;  // words that rules can test
  STR countryProfile;   // "US" or empty, by the host's time zone
  STR timeProfile;      // hour and day of the week in UTC: "17:Sat"

  // ==== Fingerprints: scan/fingerprints.cc, scan/header_adn.cc. The alphabet
  // is told in doc/signatures.md. Texts are replaced.

  // The fingerprint of a value as the rule field of that number (kField...)
  // shows it. `known` is read by file names only: see AdnFromBlock.
  void getAdnFromBlock(int field, TBLOCK value, STR& adn,
                       TBLOCKVECT* known = nullptr);
  void getAdnFromUrl(const TBLOCKURL& url, STR& adn);
  void getMailBoxAdn(TBLOCK mailbox, STR& adn);
  // Of the header's fields, of those that begin with a tab, of the dates.
  void buildHeaderAdn(STR& adn);
  void getTabAdn(STR& adn);
  void getDatesAdn(STR& adn);
  // Fills countsAdn.
  void getAdnCounts();
  static char getCountChar(int32_t count);
  // Fills toList, ccList and recipAdn.
  void buildRecipAdn();
  // Appends the letter of the message's character set to hdrAdn: "0" without
  // one, "?" for one that the dictionary has no letter for.
  void addCharsetToHdr();
  // One letter for each MIME entity, root first.
  void buildTypeAdn();
  // Letters for what the message has: see the body.
  void setTags();

  STR hdrAdn, tabAdn;  // of the header
  STR subjectAdn, threadIndexAdn, boundaryAdn, messageIdAdn, fromAdn;
  STR byIdAdn, rcvdFromAdn, rcvdByAdn, rcvdWithAdn;  // of firstReceived
  STR recipAdn;                                      // of all recipients
  STR typeAdn, tags, bodyAdn, htmlAdn, datesAdn;
  STR countsAdn;                 // letters with how many of each there are
  STR charCounts, charPresence;  // of the body's printable ASCII

  // ==== The order of a scan: scan/driver.cc

  // Runs one scan of the loaded message and returns the score; the verdict
  // stands in `ledger`. Setups may be null. `user` is the recipient for the
  // white lists and the self-test, or null. The last argument is accepted and
  // ignored: it is a flag that hosts may set.
  int check(const QMGLOBALSETUP* globalSetup, const QMUSERSETUP* userSetup,
            TBLOCK globalList, TBLOCK userList, int noBailoutFlag,
            int skipEmails, const char* recipient, int unused);
  // The spam branch; returns the score.
  int checkSpam(const QMGLOBALSETUP* globalSetup, const QMUSERSETUP* userSetup,
                int skipEmails);
  // Scans an embedded message in this one's place and takes over its ledger.
  // 1 when there was one, else 0.
  int checkEmbeddedSpam(const QMGLOBALSETUP* globalSetup,
                        const QMUSERSETUP* userSetup, int skipEmails);
  // Scans the message that a notification returns to its sender; takes over
  // the verdict when that is not clean.
  void checkSpamInNotif(const QMGLOBALSETUP* globalSetup,
                        const QMUSERSETUP* userSetup, int skipEmails);

  // ==== The recipient's white lists: scan/white_lists.cc

  // Whether the sender stands in one of the recipient's white lists.
  bool isWhiteForUser(const char* recipient);
  // Lines of /etc/oakrun/Mail/<domain>/<localPart>/<name>, trimmed, lowered,
  // in CompareNoCase order without doubles; empty when there is no such file
  // or the address could lead out of that directory.
  static void _LoadListFromUserFile(STRVECT& lines, const char* domain,
                                    const char* localPart, const char* name);

  // ==== Ledger: scan/ledger.cc

  LEDGER ledger;

  // LEDGER::add: the funnel of all points.
  int addToSpamScore(int score, const char* label, unsigned short factor);
  // When `condition` is not 0 these add `score` once. The first form returns
  // `condition`, the others 1; all return 0 for a condition of 0. The label
  // is: `label`; label and number; label, a blank and detail; label, number,
  // label2 and the detail's bytes. Give a null detail as (const char*)0.
  int checkCond(int condition, int score, const char* label);
  int checkCond(int condition, int score, const char* label, int number);
  int checkCond(int condition, int score, const char* label,
                const char* detail);
  int checkCond(int condition, int score, const char* label, int number,
                const char* label2, TBLOCK detail);
  // The score, from 120 on moved at random by up to a twentieth of what it
  // has above 100. Nothing calls it; it is kept for rule authors' trials.
  static int randomScore(int score);
  // Reads a leading "name:" off a rule. 1 with the name and `text` behind the
  // ":"; 0 with an empty name and `text` unchanged. White space may stand
  // around the name.
  static int parseRuleName(TBLOCK& text, TBLOCK& name);
  static TBLOCK parseRuleName(TBLOCK& text);

  // ==== Dictionary sections that score: scan/section_scores.cc. An absent
  // section is no match and scores nothing.

  // Scores each line of a section that has matched, as often as it matched;
  // the absolute value of delta makes each line stronger. The label is the
  // line's text and the suffix; a suffix with "%s" is a format for the text,
  // and a leading "=" is dropped. Returns the points.
  int addSectionScore(const char* section, int delta, const char* suffix);
  // Scores a line under `format`, in which the first "%s" stands for the
  // line's text up to a "|".
  void _manageLineScore(const TQKLINE* line, const char* format);
  // Scores the first line that the text matches, or all of them, each once.
  // The result is that of the first hit.
  int checkKeywordBlock(const char* section, TBLOCK block, const char* format);
  int checkAllKeywordBlock(const char* section, TBLOCK block,
                           const char* format);
  // Looks words up in a section of keywords, or in all that a list names, and
  // scores what is found by addSectionScore; `mode` 1: only disguised words.
  // Returns the points.
  int checkKeywordBlockList(const char* section, const TBLOCKVECT& words,
                            int delta, int mode, const char* suffix);
  // The number of lines found, without scoring; `limit`: words to begin at.
  int findKeywords(const char* section, const TBLOCKVECT& words, int limit,
                   int mode);
  // scan/profiles.cc: fills `profiles`, the last step of the header.
  void buildProfils();
  // Whether the word is one of them, through LowerConvTable.
  bool hasProfile(const char* word) const;
  // Seconds since 1970: the host's clock, or a fixed time when that is not 0.
  // For tools and tests, set before a load.
  int64_t presentTime() const;
  int64_t fixedTime = 0;

  // ==== Filter dispatch: scan/filters.cc

  // Runs the filter of that number, see rules/filters.inc, unless the rules of
  // the section "No-NAME" spare the message it, or there is a section
  // "Only-NAME" and its rules don't ask for it. `purge` not 0: rule sections
  // may end at the bailout. Returns the score before less the score after.
  int checkFilter(int filter, const QMGLOBALSETUP* globalSetup,
                  const QMUSERSETUP* userSetup, int purge);
  // The filters that need only the header, once for each load, until the
  // bailout; none when the section "No-Spam" matches.
  void checkHeaderFilter();
  // The black filters in their order, until the bailout.
  void checkBlack(const QMGLOBALSETUP* globalSetup,
                  const QMUSERSETUP* userSetup);

  // ==== Rules: scan/rule_sections.cc. An absent section is no match; the rule
  // language is told in doc/rule-language.md.

  // Evaluates one rule, whose name is stored: how often its last part matched,
  // with `multi` 0 at most 1. `op` is the joiner ahead of it, "|" for none. The
  // second form takes one that is parsed; the third the rule of a line, which
  // is quicker than its text.
  int checkRule(TBLOCK rule, TBLOCK& name, int multi, char op);
  int checkRule(const TQMRULE& rule, int multi, char op);
  int checkRuleLine(const TQKLINE* line, TBLOCK& name, int multi);
  // Scores every matching rule of a section; 1 when one matched. With `stop`
  // the walk ends at the bailout.
  int checkRuleSection(const char* section, int stop);
  // Whether any rule of a section matches; adds no points. The last form gives
  // name and score of the first that does, and leaves them when none does;
  // either may be null.
  int testRuleSection(const char* section);
  int testRuleSection(const TQKSECTION* section);
  int testRuleSection(TBLOCK section, TBLOCK* ruleName, int32_t* score);
  // Index + 1 of the first matching rule, its name stored; 0 without one.
  int matchRuleSection(const char* section, STR& name);
  // Sum of score times count of all rules; `details`, when not null, gets a
  // text for each match. The second counts positive scores only, and on top of
  // what the section "<name>-Hash" says of a text that looks hashed.
  int32_t getRuleSectionScore(TBLOCK section, STRVECT* details);
  int32_t getPositiveSectionScore(TBLOCK section, STRVECT* details);
  // A section of lines "section=threshold": scores each threshold above 0 that
  // the section's sum is not 0 for; 1 when one was.
  int checkRegexCountSection(const char* section, STRVECT* details);

  RULETRACE* ruleTrace = nullptr;  // borrowed; for tools

  // ==== Rule fields: scan/rule_fields.cc

  // The elements of the rule field of that number; none when there is no such
  // field. A sign is ignored. `name` is read by "@Hdr" alone: the name of a
  // header field, or "All", of the message or, behind "text-" or "html-", of
  // that body's part. A list is built when it is first asked for and kept: it
  // and the texts that it views are good until dropRegexFields and, for "@Hdr"
  // and the fields of the ledger, until they are asked for again or points are
  // added.
  const TBLOCKVECT& regexFields(int32_t field, TBLOCK name);
  // The same as a copy of the list.
  void setRegexFields(int field, TBLOCK name, TBLOCKVECT& list);
  // Forgets the lists; for whatever changes what fields are made of.
  void dropRegexFields();

  // ==== Filters and other checks. A result is 1 when the check scored, unless
  // told.

  // scan/filters.cc
  int checkRegex(int purge);
  void checkHeaderRegex(int purge);
  void checkNonLatin(int allowEastern, int allowAsian, int forbidLatin);
  void checkUserInText();  // does nothing, and stays so

  // checks/message_id.cc
  int checkIdFromMTA();
  void checkMessageId();
  int checkThreadIndex();

  // checks/received.cc
  void checkReceived();
  int checkForgedReceivedLabo(const BLOCKRECEIVED* first,
                              const BLOCKRECEIVED* second);
  // True for an identifier that the server it claims does not write; `cause`
  // gets the server's name.
  bool checkForgedReceived(const BLOCKRECEIVED* line, STR& cause);
  // 0 to 2: how a line of one server lacks what a real one has.
  int checkSmtpSrv(const BLOCKRECEIVED* line);
  // How many marks of a web-mail service are missing; whether that scored.
  int checkHotmail();
  int checkWebMail();

  // checks/senders.cc
  void checkFrom();
  void checkEmails(int white);
  // Drops an address that holds the user's own; nothing calls it, since it
  // would cost all mail to oneself 50 points.
  void checkSenderAddr(TMAILBOX& box);
  // For the user's lists: 1 when the pattern fits the mailbox, any sender, or
  // any recipient.
  int _mbFilter(TBLOCK pattern, const TMAILBOX& box, int score,
                const char* label);
  int _fromFilter(TBLOCK pattern, int score);
  int _ccFilter(TBLOCK pattern, int score);
  // Each becomes 1 when that address does not hold the recipient's.
  void _checkValidSender(int& fromValid, int& replyToValid,
                         int& returnPathValid, int& senderValid);

  // checks/forged_mailer.cc
  void checkBoundary();
  int checkForgedMailer();
  int checkForgedAppleMail();
  int checkForgedMimeTools();  // finds nothing, and stays so
  int checkMailerSylpheed();
  int checkDuplicateLetter();

  // checks/header_scoring.cc
  void checkSubject();
  void checkSpamHdr();
  void checkHeader();
  void checkTo();
  void checkDates(const QMUSERSETUP* userSetup);
  int checkFall();
  int checkMailSpring();
  void checkSubst();

  // checks/header_fields_scoring.cc
  // Sum of the lines of a section of "field=value" that hold for the part;
  // null is the root.
  int getHeaderScore(const char* section, const BLOCKPART* part);
  int checkHeaderFields(const char* section, const BLOCKPART* part);
  int checkAttach();
  int32_t attachScored;  // 1: checkAttach scored a file's extension

  // checks/virus.cc. Returns 1 when it ran; the verdict is in the ledger.
  int checkVirus(const QMGLOBALSETUP* globalSetup,
                 const QMUSERSETUP* userSetup);
  // Each is not 0 when it found one; name and reason tell what.
  int checkAttachVirus();
  int checkVirusByHeader();
  int checkForwardedVirus();
  int checkForwardedBlockVirus(TBLOCK source);
  // 1 when the word is a line of the section or fits one as a wildcard.
  int checkDicoExt(TBLOCK word, const char* section);
  // 2 a sure hit, 1 a suspect one, 0 none, -1 none of a harmless type; with
  // the file name that was judged.
  int checkAttPart(BLOCKPART* part, TBLOCK& fileName);
  // 1 when a link of the body names the Content-ID.
  int lookForUsedCid(TBLOCK contentId);
  int32_t virusFound;
  int32_t virusSure;
  STR virusName;
  STR virusReason;

  // checks/notification.cc, checks/part_ids.cc. True, with state 3, for an
  // automatic message.
  bool checkNotification(const QMGLOBALSETUP* globalSetup,
                         const QMUSERSETUP* userSetup);
  // Its steps, which leave what they find in notificationScore.
  void _checkDsn();
  void _checkMailBox4Notification(const char* section, const TMAILBOX& box);
  void _checkSubject(const char* section);
  void _checkNotificationSubjectBegin(const char* section);
  void _checkBody(const char* section);
  void _checkHtml(const char* section);
  void _checkNotificationAttachment(BLOCKPART* part);
  void checkNotifMimeType();
  // 1 for a post of a mailing list.
  int checkMailingList();
  static int _CompareListId(TBLOCK address, TBLOCK listId);
  // Why the claimed mail program did not write this Content-ID, or 0. `seen`
  // is the address of the identifiers so far.
  int checkCid(TBLOCK contentId, uint32_t& seen);
  void checkPartsCid();
  int32_t notificationScore;
  STR notificationText;

  // checks/anti_bayes.cc
  void checkAntiBayes();
  int checkBodyAntiBayes();
  int checkBodyAntiBayes2006();
  int checkSubjectAntiBayes();
  int checkInvisibleAntiBayes();
  // Sum of the runs of padding words that are `minRun` or longer.
  static int32_t checkAntiBayesBlock(TBLOCK block, uint32_t minLength,
                                     uint32_t maxLength, int32_t minRun);
  void checkTextPlain();  // no order table has it
  // Results of the checks of body and subject, for the white checks, and what
  // they counted.
  int32_t bodyAntiBayes, subjectAntiBayes;
  int32_t bodyAntiBayesCount, subjectAntiBayesCount;

  // checks/body.cc, checks/hidden_words.cc, checks/embed_spam.cc
  void checkHtml();
  void checkMsgStructure();
  void checkHtmlContext();
  void checkImg();
  void checkEmbedSpam();
  void checkMsgByNature();
  void checkJavascript();
  void checkHtmlTags();
  void checkHtmlComments();
  void checkImgSize();
  int checkSliceAndDice();
  // 1 with the capitals of the word behind the label.
  int checkUselessLowers(STR& label);
  // Words of the section that stand in pieces among the words; stops at
  // `limit`.
  static int32_t CheckSad(TQMDICO* dico, const TBLOCKVECT& words,
                          int32_t limit);
  // For the white and the word checks. The last two return points.
  void checkHtmlMeta(const char* section, int silent);
  int checkWordsWithoutChars(const char* section, TBLOCK block);
  int checkPhrasesWithoutChars(const char* section, TBLOCK block);

  // checks/phishing.cc, checks/brand_phishing.cc. The first calls the others;
  // both tell whether they gave a verdict.
  void checkPhishing();
  int checkDeepPhishing();
  int checkEbayPhishing();
  int32_t phishing;  // 1: the message was judged to be phishing
  STR causeText;     // what is behind that verdict, for tools and tests

  // checks/url_suffix.cc: the part of a host that the section "TLD" knows.
  TBLOCK extractUrlTld(const TBLOCKURL& url) const;

  // checks/links.cc
  void checkBlackLinks();
  // checks/tracking.cc: whether links, or the query of one, carry the
  // recipient's address.
  bool checkTracking();
  bool checkUrlTracking(const TBLOCKURL& url);
  // checks/link_reputation.cc
  void checkSpamDomains();
  void checkWhiteLinks();
  void checkWhiteDomains();
  void checkWhiteImgUrl();
  // 1 when the URL of a picture is random. Scores nothing, and nothing calls
  // it: pictures are scored by checkImg.
  int checkBlackImgUrl();
  void checkTld();
  // Sum of what the section "TLD" says of the suffixes, and their number.
  int32_t checkTldList(const TBLOCKVECT& suffixes, int32_t& count);
  void checkHiddenUrl();
  void checkLinkText();
  void checkAlt();
  void checkPhone();
  void checkUnsub();

  // checks/white_black.cc. listFilter returns the score.
  void checkBlackAndWhite();
  void checkWhiteRecip();
  int listFilter(TBLOCK list);

  // checks/white_words.cc
  void checkAnswer();
  void checkWhite();
  void checkBlackWords();
  void checkTipsWords();
  void checkRandom();
  // Not 0 when it fixed the state.
  int checkSuspect(const QMGLOBALSETUP* globalSetup,
                   const QMUSERSETUP* userSetup);

  // checks/word_groups.cc
  // Adds what a group's sections score to `total`: whether that is spam.
  // `description`, when not null, gets the subgroups that scored.
  bool checkWordGroup(const char* name, int32_t& total, STR* description);
  // 1 when a group of the section was met.
  int checkWordGroups(const char* section);
  void checkResit();
  // Not 0 when it fixed the state.
  int checkCommercial(const QMGLOBALSETUP* globalSetup,
                      const QMUSERSETUP* userSetup);
  // Whether the message is a newsletter by its words and links. Nothing calls
  // it: no score is given for that.
  bool checkNewsletter();

 private:
  // Steps of parseHeader, in order.
  void _parseHeaderZero();
  void _parseHeaderOne();
  void _parseHeaderTwo();
  void _parseHeaderThree();

  RULEWORK ruleWork;
  int32_t walkRule(const TRULEPART* part, const TRULEPART* end, TBLOCK whole,
                   int multi, char op);
  int32_t checkLeaf(const TRULEPART& part, char op);
  int32_t testLeaf(const TQMEXPR& leaf, char op);
  unsigned char* answerOf(const TQMEXPR& leaf);
  bool isRuledOut(const TQMRULE& rule) const;
  int32_t firstRule(const TQKSECTION* section, TBLOCK& name);
  void scoreRule(TBLOCK name, int32_t score, int32_t count);
  int32_t matchRules(const TQKSECTION* found, STR& name);
  int32_t sumRules(const TQKSECTION* section, int64_t start, int positive,
                   STRVECT* details);

  struct TSECTIONWALK;
  int32_t walkSection(const char* section, const TQKSECTION* found,
                      TSECTIONWALK& walk, int32_t sectionDepth);
  // findKeywords for a section that is known. `visits` is set to what it took,
  // a section of some hundred lines being 1.
  int32_t countKeywords(const char* section, const TQKSECTION* found,
                        const TBLOCKVECT& words, int32_t limit, int32_t mode,
                        uint32_t& visits);

  struct TGROUPWALK;
  bool walkGroup(TGROUPWALK& walk, const char* name, int32_t groupDepth,
                 int32_t& total, STR* description);
  struct TWORDGROUP;
  int64_t groupWords(TGROUPWALK& walk, const TWORDGROUP& group, int32_t which,
                     const TBLOCKVECT& words, int limit, bool& found);
  int64_t groupFieldWords(TGROUPWALK& walk, const TWORDGROUP& group,
                          int32_t which, const TBLOCKVECT& words);
  int64_t groupRules(TGROUPWALK& walk, const TWORDGROUP& group, int32_t which);
  int64_t groupChildren(TGROUPWALK& walk, const TWORDGROUP& group,
                        bool unlimited, int32_t groupDepth, int32_t total,
                        STR* description);
  bool setCommercial(const char* section, SpamState state);

  int takeFieldValue(TBLOCK field, TBLOCK& value, int strip);
  int readBareField(const char* name, TBLOCK& value);
  void readRootFields();
  void skipTrimmedLines();
  int copyAsLoaded(BLOCK& copy) const;
  void readReceivedAndLists();
  void clearDates();
  void encodeRecipientDomain();
  void addReceived(TBLOCK value);
  void chooseReceived();
  void findDeliveredTo();
  void freeReceived();
  void freeBodyRecords();

  // Steps of parseBody, in order.
  void prepareText();
  void prepareHtml();
  void prepareLinks();
  void prepareImages();
  void prepareCharsets();
  void prepareIds();
  void keepOleId(TBLOCK key);
  void checkEmptyBody();
  void prepareUnsub();

  void startLoad(const char* userText);
  void clearBody();
  TBLOCK cutToHeader(TBLOCK text) const;
  void applyProxyMode();
  void addRuleProfiles();
  int setVirus(const char* name, const char* reason);
  int matchVirusRules(const char* section);
  int checkLoadedParts();
  bool findSuspectFile(TBLOCK& fileName);
  int checkArchive(const BLOCKPART& part, TBLOCK& fileName);
  int checkOleCid(const TMIMEOLEID& id, uint32_t& seen);
  void scoreEmbedSpam(int32_t points);
  void setPhishing(int32_t score, const char* cause, const char* extendedCause);
  void checkForgedLinks();
  bool isPhishing(TBLOCK domain);
  bool isSpared(int filter);
  void _checkCharset(const char* section, int clear);
  bool isSelfTest(const char* recipient) const;
  bool findEmbeddedMessage(TBLOCK& text);
  // A message inside this one, loaded one level deeper; the caller deletes it.
  // Null when it lies too deep, when kMaxInnerMessages were loaded, or without
  // memory.
  TQMMSG* loadInner(TBLOCK text);
  TQMMSG* scanInner(TBLOCK text, const QMGLOBALSETUP* globalSetup,
                    const QMUSERSETUP* userSetup, int skipEmails);
  void settleState();
  bool isDecisive() const;
  bool isBailout() const;
  void runChecks(const QMGLOBALSETUP* globalSetup, const QMUSERSETUP* userSetup,
                 TBLOCK globalList, TBLOCK userList, int skipEmails,
                 const char* recipient);
  STR profileWords;                      // what `profiles` views
  int32_t innerMessages = 0;             // loaded inside of this one
  int32_t* innerCount = &innerMessages;  // of the outermost

  void buildRegexField(int32_t field, TBLOCK name, RULEFIELD& f);
  void freeRegexFields();
  RULEFIELD* ruleFields[kRuleFieldCount + 1];  // owned; null until asked for
  TBLOCKVECT noElements;
};

#endif  // SCAN_TQMMSG_H_
