// Signatures of a header that is put together from pieces: each begins with a
// byte that names a field and one for the length of its value. All
// fingerprints are made; those with a fixed form must have it, and must be the
// same when they are made again.

#include <stdint.h>

#include <string>

#include "fuzz_util.h"
#include "regex/regex_pool.h"
#include "scan/tqmmsg.h"

namespace {

const char* const kNames[] = {"From:",
                              "To:",
                              "Cc:",
                              "Subject:",
                              "Date:",
                              "Message-ID:",
                              "Received:",
                              "Return-Path:",
                              "X-Mailer:",
                              "User-Agent:",
                              "Content-Type: text/plain; boundary=",
                              "Content-Transfer-Encoding:",
                              "Thread-Index:",
                              "X-MimeOLE:",
                              "In-Reply-To:",
                              "X-Message-ID:",
                              "Sender:",
                              "Reply-To:",
                              "X-Spam-Subject:",
                              "X-",
                              "Status:",
                              ""};
const size_t kNameCount = sizeof kNames / sizeof kNames[0];

std::string BuildHeader(const uint8_t* bytes, size_t size) {
  std::string header;
  while (size >= 2) {
    header += kNames[bytes[0] % kNameCount];
    const size_t n = bytes[1] < size - 2 ? bytes[1] : size - 2;
    header.append(reinterpret_cast<const char*>(bytes) + 2, n);
    header += '\n';
    bytes += 2 + n;
    size -= 2 + n;
  }
  return header + "\n";
}

void CheckHeader(TQMMSG& m) {
  const TBLOCK signature = m.hdrAdn.view();
  const int32_t at = signature.findLastByte('@');
  Check(at >= 0 && at <= 255 && signature.length == at + 7u);
  STR again;
  m.buildHeaderAdn(again);
  Check(signature.equals(again.view(), TBLOCK::NoConvTable));
  Check(m.tabAdn.len() <= 1000);
  m.getTabAdn(again);
  Check(m.tabAdn.view().equals(again.view(), TBLOCK::NoConvTable));
  m.getDatesAdn(again);
  Check(again.len() == 11);
  m.getAdnCounts();
  Check(m.countsAdn.len() == 18);
}

void CheckValues(TQMMSG& m, TBLOCK text) {
  STR adn;
  TBLOCKVECT known(2);
  known.add(text.from(text.length / 2), 0, 0);
  known.add(text.head(3), 0, 0);
  for (int field = 0; field <= kRuleFieldCount; field++) {
    TBLOCKVECT given(2);
    for (int32_t i = 0; i < known.count(); i++) given.add(known.get(i), 0, 0);
    m.getAdnFromBlock(field, text, adn, &given);
    Check(field != kFieldAdnTable || adn.len() <= 50);
  }
  m.getMailBoxAdn(text, adn);
  TBLOCKURL url;
  url.parseUrl(text);
  Check(url.host.ends(m.extractUrlTld(url)));
  m.getAdnFromUrl(url, adn);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static REGEXPOOL pool(1);
  static HSTUFF stuff;
  const std::string header = BuildHeader(bytes, size);
  TQMMSG m(&pool, &stuff, nullptr, 0, 0);
  m.fixedTime = 1772445600;
  m.loadFromBlock(TBLOCK(header.data(), static_cast<uint32_t>(header.size())),
                  "a@b.example", 0);
  m.parseHeader();
  CheckHeader(m);
  CheckValues(m, TBLOCK(bytes, static_cast<uint32_t>(size)));
  for (int32_t field = 1; field <= kRuleFieldCount; field++)
    m.regexFields(field, TBLOCK("All"));
  return 0;
}
