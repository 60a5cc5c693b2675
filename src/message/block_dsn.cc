// Delivery status: the lines are walked once and the values of known fields
// kept as views; four steps then judge these values. A field that goes on
// over several lines is known by its first line only.
//
// Entry point: setContent. Tested by notification_test.cc
// and tests/golden/bounce_*.eml.

#include "message/block_dsn.h"

namespace {

const char DsnFieldTokens[6][24] = {
    "reporting-mta", "arrival-date", "final-recipient",
    "action",        "status",       "diagnostic-code",
};

// In the order of the names.
TBLOCK BLOCKDSN::*const kFieldViews[6] = {
    &BLOCKDSN::reportingMta, &BLOCKDSN::arrivalDate, &BLOCKDSN::finalRecipient,
    &BLOCKDSN::actionField,  &BLOCKDSN::statusField, &BLOCKDSN::diagnosticCode,
};

// The number of an action is its place, counted from 1.
const char DsnActionTokens[5][16] = {
    "delivered", "failed", "delayed", "relayed", "expanded",
};

// What servers say behind the general "5.0.0", and the state it stands for.
// The first row that is found decides.
const struct {
  int32_t state;
  const char* text;
} kReasons[] = {
    {1, "user unknown"},   {1, "not listed in"},     {1, "no such recipient"},
    {1, "user not found"}, {1, "mailbox not found"}, {2, "mailbox unavailable"},
    {2, "mailbox full"},   {2, "over quota"},        {3, "virus"},
};

}  // namespace

void BLOCKDSN::clear() {
  state = action = status = 0;
  content = reportingMta = arrivalDate = finalRecipient = actionField =
      statusField = diagnosticCode = recipient = TBLOCK();
}

void BLOCKDSN::setContent(TBLOCK text) {
  clear();
  content = text;
  TBLOCK rest = text;
  while (!rest.empty()) {
    TBLOCK line = TBLOCK::BlockNextLine(rest);
    for (int i = 0; i < 6; i++)
      if (TBLOCK::BlockToken(line, DsnFieldTokens[i], ':')) {
        this->*kFieldViews[i] = line;
        break;
      }
  }
  _parseAction();
  _parseRecipient();
  _parseStatus();
  _parseState();
}

void BLOCKDSN::_parseAction() {
  TBLOCK value = actionField;
  value.trim();
  for (int32_t i = 0; i < 5; i++)
    if (value.equals(DsnActionTokens[i])) action = i + 1;
}

// Most servers write "rfc822; a@b.org", some the address alone.
void BLOCKDSN::_parseRecipient() {
  recipient = finalRecipient;
  TBLOCK::BlockToken(recipient, "rfc822", ';');
}

// Only a triple of single digits has a number: "5.1.10" has none.
void BLOCKDSN::_parseStatus() {
  TBLOCK word = statusField;
  word.trim();
  if (word.lengthUntil(bitWhiteSpace) != 5 || word[1] != '.' || word[3] != '.')
    return;
  int32_t number = 0;
  for (uint32_t i = 0; i < 5; i += 2) {
    if (!TBLOCK::Is(word[i], bitDigit)) return;
    number = number * 10 + (word[i] - '0');
  }
  status = number;
}

// A status that says something leaves nothing to judge here; without any
// status only a virus is worth the search.
void BLOCKDSN::_parseState() {
  if (status != 500 && status != 0) return;
  for (const auto& reason : kReasons) {
    if (status == 0 && reason.state != 3) continue;
    if (diagnosticCode.find(reason.text) < 0) continue;
    state = reason.state;
    return;
  }
}
