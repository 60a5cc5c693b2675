// TBLOCKURL: a URL as views of its parts, and the search for URLs in running
// text. block_url.cc takes URLs apart, find_url.cc finds them.

#ifndef CONTENT_BLOCK_URL_H_
#define CONTENT_BLOCK_URL_H_

#include <stdint.h>

#include "base/tblock.h"

class TQMDICO;

// Protocols, one bit each, so that a set of them fits a mask.
enum : int32_t {
  upNone = 1,  // none was recognised
  upHttp = 2,
  upHttps = 4,
  upFtp = 8,
  upNews = 16,
  upMailto = 32,
  upFile = 64,
  upCid = 128,
  upJavascript = 256
};

// Views into the text that parseUrl was given.
struct TBLOCKURL {
  int32_t proto;      // up...
  TBLOCK url;         // all of it, without a "blocked::" ahead
  TBLOCK host;        // without user, port and stray bytes
  TBLOCK path;        // behind the host, up to "?"
  TBLOCK file;        // behind the last "/" of the path
  TBLOCK query;       // behind "?"
  TBLOCK port;        // behind ":" of the host
  TBLOCK tld;         // public suffix of the host
  TBLOCK user;        // before "@", and before ":" if there is one
  TBLOCK password;    // between ":" and "@"
  TBLOCK domain;      // registered domain, or the IP address
  int32_t hasDotDot;  // 1: ".." stands ahead of the path

  TBLOCKURL() : proto(upNone), hasDotDot(0) {}

  // Fills the fields; an empty text leaves them as they are.
  void parseUrl(TBLOCK text);
  // Whether the host is an IP address, in numbers.
  bool hasIpHost() const;
  // The host's first label; empty for an IP address and a host of fewer than
  // three labels.
  TBLOCK hostName() const;

  // The protocol, which is taken off the view; upNone with the view as it was.
  static int32_t ParseBlockUrlProtocol(TBLOCK& text);
  static void HostToDomain(TBLOCK host, TBLOCK& domain, TBLOCK& tld);
  // Whether `shown` is the URL `a` or the beginning of it. Not symmetric.
  static bool CompareUrl(TBLOCK a, TBLOCK shown);
  // Cuts a URL down to what CompareUrl compares; returns its protocol. Two
  // protocols agree when they are equal or one of them is upNone.
  static int32_t TakeComparable(TBLOCK& text);
  // Takes the next URL off the text, also one that is pulled apart with
  // blanks, which is squeezed together in place; empty at the end. `dico`
  // knows the suffixes; null finds no spread-out domain. WRITES.
  static TBLOCK FindUrl(TBLOCK& cursor, const TQMDICO* dico);
};

#endif  // CONTENT_BLOCK_URL_H_
