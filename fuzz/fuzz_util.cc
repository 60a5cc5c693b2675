// What fuzz targets share, see the header. Linked to every one of them.

#include "fuzz_util.h"

#include "base/score.h"
#include "rules/source_util.h"
#include "scan/tqmmsg.h"

FUZZDICO::FUZZDICO(const char* source) : dico(&pool, nullptr) {
  if (source)
    Check(LoadSource(dico, source));
  else
    pool.addAllHardCodedRegexes();
  dico.precompileRegexesIntoPool();
  dico.prepareRules();
}

// Writes a piece with its signs filled in.
static void AddPiece(const char* piece, const uint8_t*& at, const uint8_t* end,
                     std::string& out) {
  for (; *piece; piece++) {
    const bool sign = *piece == '#' || *piece == '~' || *piece == '^';
    const uint32_t byte = sign && at < end ? *at++ : 0;
    if (*piece == '#')
      out += static_cast<char>('0' + byte % 10);
    else if (*piece == '~')
      out += "0123456789abcdef0123456789ABCDEF"[byte % 32];
    else if (*piece == '^')
      out += static_cast<char>((byte & 32 ? 'a' : 'A') + byte % 26);
    else
      out += *piece;
  }
}

void ScanPieces(const uint8_t* bytes, size_t size, const char* const* pieces,
                uint32_t count, FUZZDICO& shared,
                std::string (*verdict)(FUZZDICO&, const std::string&,
                                       uint8_t)) {
  if (size == 0) return;
  std::string mail;
  const uint8_t *at = bytes + 1, *const end = bytes + size;
  while (at < end && mail.size() < kMaxMessageBytes) {
    const uint8_t byte = *at++;
    if (byte < 0x80)
      mail += static_cast<char>(byte);
    else if (byte == 0x80)
      mail += static_cast<char>(at < end ? *at++ : 0);
    else
      AddPiece(pieces[(byte - 0x80) % count], at, end, mail);
  }
  const std::string once = verdict(shared, mail, bytes[0]);
  Check(!(bytes[0] & 64) || verdict(shared, mail, bytes[0]) == once);
}

std::string ScoreAndCause(const TQMMSG& m) {
  Check(m.ledger.score <= kMaxScore && m.ledger.score >= -kMaxScore);
  return std::to_string(m.ledger.score) + Str(m.ledger.cause.view());
}
