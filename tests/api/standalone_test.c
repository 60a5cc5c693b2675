/*
 * The three calls that take no record, by a C program as a host does.
 */
#include "quaymarsh.h"

#include <limits.h>

#include "host_check.h"

static const char kSelfTest[] =
    "From: selftest@quaymarsh.example\nSubject: This is spam\n\nx\n";
static const char kProbe[] = "probe1@quaymarsh.example";
static const char kNoMail[] = "just a file\nwith two lines";
#define NO_MAIL "This is not a mail (200)"
#define NO_MAIL_BYTES ((int)sizeof kNoMail - 1)

static unsigned char* noMail; /* exact-size heap copy */

static void TestStandalone(void) {
  const unsigned long n = (unsigned long)NO_MAIL_BYTES;
  int score = POISON_WORD;
  int state;
  strcpy(row, "standalone");
  CHECK_INT(-1, qmStandaloneScan(NULL, n, "u", "", "", &score));
  CHECK_INT(POISON_WORD, score);
  CHECK_INT(-1, qmStandaloneScan(NULL, 0, NULL, NULL, NULL, &score));
  CHECK_INT(-1, qmStandaloneScan(noMail, n, "u", "", "", NULL));
  CHECK_INT(1, qmStandaloneScan(noMail, n, NULL, NULL, NULL, &score));
  CHECK_INT(200, score);
  score = POISON_WORD;
  CHECK_INT(1, qmStandaloneScan(noMail, 0, "a@b", "x\n\xFF", "y", &score));
  CHECK_INT(200, score);
  /* The user reaches only the load: the self-test has no recipient. */
  state = qmStandaloneScan((const unsigned char*)kSelfTest,
                           sizeof kSelfTest - 1, kProbe, NULL, NULL, &score);
  CHECK(state >= 0 && state <= 12 && score != 222);

  strcpy(row, "notes");
  CHECK_INT(-1, QuayMarshNotes(NULL, n, "u", "", ""));
  CHECK_INT(0, QuayMarshNotes(noMail, 0, "u", "", ""));
  CHECK_INT(200, QuayMarshNotes(noMail, n, NULL, NULL, NULL));
  CHECK_INT(200, QuayMarshNotes(noMail, 1, "<x@y>", "\x01\n", "*"));
}

static void TestStandaloneCause(void) {
  const unsigned long n = (unsigned long)NO_MAIL_BYTES;
  const int length = (int)strlen(NO_MAIL);
  int sizes[9];
  int i;
  int score = POISON_WORD;
  char cause[8];
  strcpy(row, "standalone with cause");
  memset(cause, POISON, sizeof cause);
  CHECK_INT(-1, qmStandaloneScanWithCause(NULL, n, "u", "", "", &score, cause,
                                          sizeof cause));
  CHECK_INT(-1, qmStandaloneScanWithCause(noMail, n, "u", "", "", NULL, cause,
                                          sizeof cause));
  CHECK_INT(POISON_WORD, score);
  CHECK(IsPoison(cause, sizeof cause));
  CHECK_INT(1, qmStandaloneScanWithCause(noMail, n, NULL, NULL, NULL, &score,
                                         NULL, 100));
  sizes[0] = 0;
  sizes[1] = -1;
  sizes[2] = INT_MIN;
  sizes[3] = 1;
  sizes[4] = 2;
  sizes[5] = length;
  sizes[6] = length + 1;
  sizes[7] = length + 2;
  sizes[8] = 1000;
  for (i = 0; i < 9; i++) {
    char* buffer = NewBuffer(sizes[i]);
    sprintf(row, "standalone with cause, size %d", sizes[i]);
    score = POISON_WORD;
    CHECK_INT(1, qmStandaloneScanWithCause(noMail, i == 8 ? 0 : n, "u", "", "",
                                           &score, buffer, sizes[i]));
    CHECK_INT(200, score);
    CHECK(sizes[i] <= 0 ? IsPoison(buffer, 0)
                        : HoldsCut(buffer, sizes[i], NO_MAIL));
    free(buffer);
  }
}

int main(void) {
  noMail = (unsigned char*)ExactCopy(kNoMail, (size_t)NO_MAIL_BYTES);
  TestStandalone();
  TestStandaloneCause();
  CHECK(memcmp(noMail, kNoMail, (size_t)NO_MAIL_BYTES) == 0);
  free(noMail);
  if (failures) printf("%d checks failed\n", failures);
  return failures ? 1 : 0;
}
