// UrlBlacklist: lists of URLs, domains and senders that are too large or too
// volatile for the dictionary. Built once, for a speedup context, and only
// read by scans. It holds no data yet.

#ifndef RULES_URL_BLACKLIST_H_
#define RULES_URL_BLACKLIST_H_

class TQMDICO;

class UrlBlacklist {
 public:
  explicit UrlBlacklist(TQMDICO* dico);
};

#endif  // RULES_URL_BLACKLIST_H_
