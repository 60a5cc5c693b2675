// UrlBlacklist: lists of URLs, domains and senders that are too large or too
// volatile for the dictionary. Built once, for a speedup context, and only
// read by scans, any number at a time.
//
// The two files hold lines, and headers in brackets that tell what the lines
// behind them are; url_blacklist.cc lists them.

#ifndef RULES_URL_BLACKLIST_H_
#define RULES_URL_BLACKLIST_H_

#include "base/block.h"
#include "base/hash_file.h"
#include "base/vectors.h"
#include "rules/ternary_string_tree.h"

class TQMDICO;

extern const char EXTERNAL_CLIENT_FILENAME[];
extern const char EXTERNAL_TAMARACK_FILENAME[];
extern const char INTERNAL_BRACKEN_SECTION_NAME[];

class UrlBlacklist {
 public:
  enum FILE_TYPE { ftTamarack = 0, ftClient = 1 };

  BLOCK clientFile;    // what the lists of addresses point into
  BLOCK tamarackFile;  // likewise
  // Beginnings of URLs, with a protocol or without one.
  TernaryStringTree<bool, false> brackenUrls;   // of the dictionary
  TernaryStringTree<bool, false> tamarackUrls;  // of the Tamarack file
  TernaryStringTree<bool, false> clientUrls;    // of the client file
  HASHFILE clientBlackDomains;
  HASHFILE tamarackDomains;
  HASHFILE clientWhiteDomains;
  TBLOCKVECT blackFrom;  // senders; list patterns of the client file
  TBLOCKVECT whiteFrom;
  uint32_t lineCount;  // lines taken in, those of the dictionary included

  // Reads both files and the dictionary; what is not there leaves its lists
  // empty.
  explicit UrlBlacklist(TQMDICO* dico);

  // Adds the lines of a file; `file` must outlive this.
  void loadExternalBlackList(FILE_TYPE type, const BLOCK* file);
  // Adds the lines of a string section.
  void loadInternalBlackList(const TQMDICO* dico, const char* section);

 private:
  bool addLine(FILE_TYPE type, int32_t state, TBLOCK line);
};

#endif  // RULES_URL_BLACKLIST_H_
