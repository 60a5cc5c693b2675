// Tested by tests/scan/header_adn_test.cc.

#include "rules/field_letters.h"

#include "rules/qm_dico.h"

const char kFieldLetterSection[] = "HdrFieldNames";

namespace {

// As programs of today and of old spell them.
const char* const kUsualNames[] = {
    "ARC-Authentication-Results",
    "ARC-Message-Signature",
    "ARC-Seal",
    "Accept-Language",
    "Archived-At",
    "Authentication-Results",
    "Auto-Submitted",
    "CC",
    "Cc",
    "Content-Class",
    "Content-Description",
    "Content-Disposition",
    "Content-ID",
    "Content-Language",
    "Content-Length",
    "Content-Transfer-Encoding",
    "Content-Type",
    "Content-type",
    "DKIM-Signature",
    "Date",
    "Delivered-To",
    "Delivery-Date",
    "Delivery-date",
    "DomainKey-Signature",
    "Envelope-To",
    "Envelope-to",
    "Errors-To",
    "Feedback-ID",
    "From",
    "Importance",
    "In-Reply-To",
    "Lines",
    "List-Archive",
    "List-Help",
    "List-ID",
    "List-Id",
    "List-Owner",
    "List-Post",
    "List-Subscribe",
    "List-Unsubscribe",
    "List-Unsubscribe-Post",
    "MIME-Version",
    "MIME-version",
    "Mailing-List",
    "Message-ID",
    "Message-Id",
    "Mime-Version",
    "Organization",
    "Precedence",
    "Received",
    "Received-SPF",
    "References",
    "Reply-To",
    "Return-Path",
    "Return-path",
    "Sender",
    "Status",
    "Subject",
    "Thread-Index",
    "Thread-Topic",
    "To",
    "User-Agent",
    "X-Accept-Language",
    "X-Authenticated-Sender",
    "X-Authentication-Warning",
    "X-BeenThere",
    "X-Beenthere",
    "X-Bulkmail",
    "X-Failed-Recipients",
    "X-From",
    "X-Gm-Message-State",
    "X-Google-DKIM-Signature",
    "X-Google-Smtp-Source",
    "X-Loop",
    "X-MIME-Autoconverted",
    "X-MS-Exchange-Organization-AuthAs",
    "X-MS-Exchange-Organization-SCL",
    "X-MS-Has-Attach",
    "X-MS-TNEF-Correlator",
    "X-MSMail-Priority",
    "X-Mailer",
    "X-Mailing-List",
    "X-Mailman-Version",
    "X-MimeOLE",
    "X-Mozilla-Status",
    "X-Original-Date",
    "X-Original-To",
    "X-OriginalArrivalTime",
    "X-Originating-IP",
    "X-Priority",
    "X-Received",
    "X-Sender",
    "X-Virus-Scanned",
};

}  // namespace

void FIELDLETTERS::prepare(TQMDICO& dico) {
  for (const char* text : kUsualNames) {
    const TBLOCK name(text);
    const char letter = SectionLetter(dico, kFieldLetterSection, name);
    const uintptr_t word = static_cast<unsigned char>(letter);
    letters.insert(name, reinterpret_cast<void*>(word));
  }
}

bool FIELDLETTERS::find(TBLOCK name, char& letter) const {
  void* word = nullptr;
  if (letters.find(name, word) < 0) return false;
  letter = static_cast<char>(reinterpret_cast<uintptr_t>(word));
  return true;
}

char SectionLetter(TQMDICO& dico, const char* section, TBLOCK value) {
  TBLOCK name;
  if (!dico.matchFirstNamedRegex(section, value, name) || name.empty())
    return 0;
  return static_cast<char>(name[0]);
}
