/*
 * The scan record as an old host sees it: bytes at fixed offsets, in a block
 * of exactly the size that its first word states, so that a sanitizer reports
 * any access behind it. Everything goes through the exported functions.
 * Where the fields lie is compared by tests/packaging/layout_test.sh.
 */
#define _XOPEN_SOURCE 700

#include "quaymarsh.h"

#include <limits.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

/* ---- Checks. `row` names the case in hand. */

static int failures = 0;
static char row[256] = "";

#define CHECK(condition) Check((condition) != 0, #condition, __LINE__)
#define CHECK_INT(wanted, got) CheckInt((wanted), (got), #got, __LINE__)

static void Fail(const char* what, int line) {
  failures++;
  printf("line %d, row \"%s\": %s\n", line, row, what);
}

static void Check(int holds, const char* what, int line) {
  if (!holds) Fail(what, line);
}

static void CheckInt(long wanted, long got, const char* what, int line) {
  if (wanted == got) return;
  Fail(what, line);
  printf("  wanted %ld, got %ld\n", wanted, got);
}

static void* Allocate(size_t n) {
  void* p = malloc(n > 0 ? n : 1);
  if (!p) {
    printf("no memory\n");
    exit(2);
  }
  return p;
}

#define POISON 0x5A
#define POISON_WORD 0x5A5A5A5A

/* ---- Buffers of exactly n bytes, poisoned */

static char* NewBuffer(int n) {
  char* p = (char*)Allocate(n > 0 ? (size_t)n : 1);
  memset(p, POISON, n > 0 ? (size_t)n : 1);
  return p;
}

static int IsPoison(const char* p, int n) {
  int i;
  for (i = 0; i < (n > 0 ? n : 1); i++)
    if (p[i] != POISON) return 0;
  return 1;
}

/* Whether a buffer holds the first size - 1 bytes of the text, then zeros. */
static int HoldsCut(const char* p, int size, const char* text) {
  const int length = (int)strlen(text);
  const int kept = length < size - 1 ? length : size - 1;
  int i;
  if (memcmp(p, text, (size_t)kept) != 0) return 0;
  for (i = kept; i < size; i++)
    if (p[i] != 0) return 0;
  return 1;
}

static void* ExactCopy(const void* bytes, size_t n) {
  void* p = Allocate(n);
  memcpy(p, bytes, n);
  return p;
}

#define CHECK_TEXT(wanted, got) CheckText((wanted), (got), #got, __LINE__)

static void CheckText(const char* wanted, const char* got, const char* what,
                      int line) {
  if (strcmp(wanted, got) == 0) return;
  Fail(what, line);
  printf("  wanted %s\n  got    %s\n", wanted, got);
}

/* ---- The record */

#define F(field) ((int)offsetof(QMINFO, field))
static const unsigned kWhole = sizeof(QMINFO);

typedef struct Record {
  unsigned char* bytes; /* exactly `size`, but room for the size word */
  unsigned size;
} Record;

static void Put(Record* r, int field, const void* value, unsigned n) {
  if (field + n <= r->size) memcpy(r->bytes + field, value, n);
}

static void PutInt(Record* r, int field, int value) {
  Put(r, field, &value, 4);
}

static void PutPointer(Record* r, int field, const void* p) {
  Put(r, field, &p, sizeof p);
}

static void PutBuffer(Record* r, int field, void* p, int sizeField, int size) {
  PutPointer(r, field, p);
  PutInt(r, sizeField, size);
}

static int GetInt(const Record* r, int field) {
  int value = POISON_WORD;
  if ((unsigned)field + 4 <= r->size) memcpy(&value, r->bytes + field, 4);
  return value;
}

/* Inputs are 0; outputs, reserved and unknown fields are poisoned. */
static Record NewRecord(unsigned size) {
  static const int outputs[] = {F(headerLength), F(headerOutLength), F(state),
                                F(score), F(reserved)};
  const unsigned room = size < 4 ? 4 : size;
  Record r;
  unsigned i;
  r.size = size;
  r.bytes = (unsigned char*)Allocate(room);
  memset(r.bytes, 0, room);
  memcpy(r.bytes, &size, 4);
  for (i = 0; i < sizeof outputs / sizeof outputs[0]; i++)
    PutInt(&r, outputs[i], POISON_WORD);
  if (size > kWhole) memset(r.bytes + kWhole, POISON, size - kWhole);
  return r;
}

static void FreeRecord(Record* r) {
  free(r->bytes);
}

static int Scan(const Record* r, void* context) {
  return QmScanMessageWithContext((QMINFO*)(void*)r->bytes, context);
}

/* Whether the scan left every byte of the record alone. */
static int ScanUnchanged(const Record* r, int* result) {
  const unsigned n = r->size < 4 ? 4 : r->size;
  unsigned char* before = (unsigned char*)Allocate(n);
  int same;
  memcpy(before, r->bytes, n);
  *result = Scan(r, NULL);
  same = memcmp(before, r->bytes, n) == 0;
  free(before);
  return same;
}

/* ---- Letter pairs. A byte b is the letter number b % 17 counted from f and
 * the letter number b / 17 counted from b; bytes with an even number have them
 * in this order, the others the other way round. */

static const char* Decoded(const char* in) {
  static char out[4096];
  int i;
  for (i = 0; in[2 * i] && i < 4095; i++) {
    const char rest = in[2 * i + (i % 2)];
    const char times = in[2 * i + 1 - (i % 2)];
    if (rest < 'f' || rest > 'v' || times < 'b' || times > 'q') return "none";
    out[i] = (char)((times - 'b') * 17 + (rest - 'f'));
  }
  out[i] = 0;
  return out;
}

/* ---- Messages */

static const char kMail[] =
    "Received: from a.example by b.example; Tue, 4 Mar 2003 10:20:31 +0100\r\n"
    "x-spam-score: 12\r\n"
    "\tolder marks\r\n"
    "From: Ann <ann@example.org>\r\n"
    "To: bob@example.org\r\n"
    "Subject:   Lunch\r\n"
    " today\r\n"
    "X-Antispam-Agent: other\r\n"
    "Date: Tue, 4 Mar 2003 10:20:30 +0100\r\n"
    "Message-ID: <20030304102030.1@example.org>\r\n"
    "\r\n"
    "Shall we meet at noon?\r\n";
/* Spam by decree when sent to kProbe. */
static const char kSelfTest[] =
    "From: selftest@quaymarsh.example\nSubject: This is spam\n\nx\n";
static const char kProbe[] = "probe1@quaymarsh.example";
static const char kNoMail[] = "just a file\nwith two lines";

#define BARE "Quay Marsh 01.333.21 AV+AS Profile: <none>; Bailout: 300"
#define NO_MAIL "This is not a mail (200)"

static unsigned char* noMail; /* exact-size heap copies */
static unsigned char* mail;
#define NO_MAIL_BYTES ((int)sizeof kNoMail - 1)
#define MAIL_BYTES ((int)sizeof kMail - 1)

static void PutMessage(Record* r, const unsigned char* bytes, int n) {
  PutPointer(r, F(msg), bytes);
  PutInt(r, F(msgLength), n);
}

static Record NewScan(const void* bytes, int n, int flags) {
  Record r = NewRecord(kWhole);
  PutMessage(&r, (const unsigned char*)bytes, n);
  PutInt(&r, F(flags), flags);
  return r;
}

/* ---- Tests */

static void TestNull(void) {
  strcpy(row, "null");
  CHECK_INT(-1, QmScanMessage(NULL));
  QmReleaseSpeedupContext(NULL);
}

enum { tVersion, tCause, tParamsOut, tHeaderOut };
static const int kTexts[][2] = {{F(version), F(versionSize)},
                                {F(cause), F(causeSize)},
                                {F(paramsOut), F(paramsOutSize)},
                                {F(headerOut), F(headerOutSize)}};

static void PutTexts(Record* r, char** texts, int size) {
  int i;
  for (i = 0; i < 4; i++) {
    texts[i] = NewBuffer(size);
    PutBuffer(r, kTexts[i][0], texts[i], kTexts[i][1], size);
  }
}

static void FreeTexts(char** texts) {
  int i;
  for (i = 0; i < 4; i++) free(texts[i]);
}

/* What each size of the record makes of the same host. */
static void TestSizes(void) {
  unsigned size, i;
  for (size = 0; size <= kWhole + 10; size++) {
    Record r = NewRecord(size);
    char* out[4];
    char wanted[600];
    int result;
    sprintf(row, "size %u", size);
    PutMessage(&r, noMail, NO_MAIL_BYTES);
    PutInt(&r, F(flags), QM_WANT_CAUSE);
    PutTexts(&r, out, 600);
    PutInt(&r, F(bailout), 123);
    PutPointer(&r, F(profile), "p1,p2");
    PutPointer(&r, F(params), "a=b\nc");
    if (size < F(bailout)) {
      CHECK(ScanUnchanged(&r, &result));
      CHECK_INT(-1, result);
      CHECK(IsPoison(out[tVersion], 600) && IsPoison(out[tCause], 600));
    } else {
      CHECK_INT(1, Scan(&r, NULL));
      CHECK_INT(1, GetInt(&r, F(state)));
      CHECK_INT(200, GetInt(&r, F(score)));
      CHECK_TEXT(size < F(params) ? BARE
                                  : "Quay Marsh 01.333.21 AV+AS Profile: "
                                    "p1,p2; Bailout: 123",
                 out[tVersion]);
      sprintf(wanted, "%s; %s", out[tVersion], NO_MAIL);
      CHECK_TEXT(wanted, Decoded(out[tCause]));
    }
    if (size < kWhole)
      CHECK(IsPoison(out[tParamsOut], 600));
    else
      CHECK_TEXT("a=b\nc", Decoded(out[tParamsOut]));
    /* Reserved and unknown fields. */
    CHECK_INT(POISON_WORD, GetInt(&r, F(reserved)));
    for (i = kWhole; i < size; i++) CHECK(r.bytes[i] == POISON);
    FreeTexts(out);
    FreeRecord(&r);
  }
}

/* Scans that don't run: what they return, and that no field, cause or header
 * is written. The version comes earlier, so it is there. */
static void CheckNoScan(Record* r, int wanted) {
  char* out[4];
  int result;
  PutInt(r, F(flags), GetInt(r, F(flags)) | QM_WANT_CAUSE | QM_REWRITE_HEADER);
  PutTexts(r, out, 100);
  PutPointer(r, F(params), "x");
  CHECK(ScanUnchanged(r, &result));
  CHECK_INT(wanted, result);
  CHECK(IsPoison(out[tCause], 100) && IsPoison(out[tHeaderOut], 100));
  CHECK_TEXT(BARE, out[tVersion]);
  CHECK_TEXT("x", Decoded(out[tParamsOut]));
  FreeTexts(out);
}

static void TestNoMessage(void) {
  static const int lengths[] = {0, 1000, -1};
  Record r = NewRecord(kWhole);
  int i;
  for (i = 0; i < 3; i++) {
    sprintf(row, "null message of %d bytes", lengths[i]);
    PutInt(&r, F(msgLength), lengths[i]);
    CheckNoScan(&r, -1);
  }
  strcpy(row, "length 0");
  PutMessage(&r, noMail, 0);
  CheckNoScan(&r, 0);
  FreeRecord(&r);
}

/* Nothing but a regular file is opened: a FIFO would block for ever, and an
 * endless device would fill the memory. A file of text is no dictionary. */
static void TestPaths(void) {
  char directory[] = "/tmp/quaymarsh-record-XXXXXX";
  char fifo[100], text[100];
  const char* bad[] = {"?", "?", "?", "/dev/null", "/dev/zero", "", NULL};
  FILE* file;
  int i;
  CHECK(mkdtemp(directory));
  sprintf(fifo, "%s/fifo", directory);
  sprintf(text, "%s/text", directory);
  CHECK(mkfifo(fifo, 0600) == 0);
  file = fopen(text, "wb");
  CHECK(file && fputs(kNoMail, file) != EOF && fclose(file) == 0);
  bad[0] = text;
  bad[1] = directory;
  bad[2] = fifo;
  for (i = 0; i < 7; i++) {
    Record r = NewRecord(kWhole);
    sprintf(row, "file %s", bad[i] ? bad[i] : "null");
    PutPointer(&r, F(keywordFile), bad[i]);
    if (i < 5) {
      CheckNoScan(&r, -2); /* told ahead of the null message */
      PutMessage(&r, mail, MAIL_BYTES);
      CheckNoScan(&r, -2);
    }
    FreeRecord(&r);
    if (i == 0) continue;
    r = NewScan(mail, MAIL_BYTES, QM_FROM_FILE);
    PutPointer(&r, F(msgPath), bad[i]);
    CheckNoScan(&r, -3);
    FreeRecord(&r);
  }
  remove(fifo);
  remove(text);
  rmdir(directory);
}

/* The three text buffers at every interesting size; round 0 collects the full
 * texts. */
static void TestBufferSizes(void) {
  static const int sizes[] = {1000, 0, 1, 2, -1, INT_MIN, 100};
  static char texts[3][1000];
  int round, which;
  for (round = 0; round < 10; round++) {
    for (which = 0; which < 3; which++) {
      const int length = (int)strlen(texts[which]);
      const int size = round < 7 ? sizes[round] : length + round - 7;
      Record r = NewScan(noMail, NO_MAIL_BYTES, QM_WANT_CAUSE);
      char* buffer = NewBuffer(size);
      sprintf(row, "buffer %d, size %d", which, size);
      PutPointer(&r, F(params), "mode=proxy\n\x01\xFE\xFF");
      PutBuffer(&r, kTexts[which][0], buffer, kTexts[which][1], size);
      CHECK_INT(1, Scan(&r, NULL));
      if (round == 0) strcpy(texts[which], buffer);
      CHECK(size <= 0 ? IsPoison(buffer, 0)
                      : HoldsCut(buffer, size, texts[which]));
      CHECK_INT(size, GetInt(&r, kTexts[which][1]));
      free(buffer);
      /* A size without a buffer. */
      PutPointer(&r, kTexts[which][0], NULL);
      CHECK_INT(1, Scan(&r, NULL));
      FreeRecord(&r);
    }
  }
  CHECK_TEXT(BARE, texts[0]);
  CHECK_TEXT(BARE "; " NO_MAIL, Decoded(texts[1]));
  CHECK_TEXT("mode=proxy\n\x01\xFE\xFF", Decoded(texts[2]));
}

/* What a scan reads stays as it was, also where it edits its own copy. Sender
 * lists are any bytes; a null one with a length is empty. */
static void TestMessageIsNotTouched(void) {
  static const char* const messages[] = {
      kSelfTest,
      kMail,
      "Subject: =?utf-8?Q?a=20b?=\r\n folded\r\n\r\n..x\r\n..\r\n.\r\n",
      "A: b\r\rc\r\n\t\r\n \r\n\r\nbegin 644 x\r\n#0V%T\r\n`\r\nend\r\n",
      "\r\n\r\n",
      ":"};
  const char bytes[] = "From=*\nTo=\r\n@@@,,;|*?%s<>\"\0@\0\n";
  char all[513];
  unsigned i;
  for (i = 0; i < 513; i++)
    all[i] = i < 256 ? (char)i : bytes[i % sizeof bytes];
  for (i = 0; i < sizeof messages / sizeof messages[0]; i++) {
    const size_t n = strlen(messages[i]);
    void* copy = ExactCopy(messages[i], n);
    void* list = ExactCopy(all, 513);
    Record r = NewScan(copy, (int)n, QM_REWRITE_HEADER | QM_FLAG_BIT5);
    sprintf(row, "message number %u", i);
    PutPointer(&r, F(params), "mode=proxy");
    PutBuffer(&r, F(globalList), list, F(globalListLength), 513);
    PutBuffer(&r, F(userList), i ? list : NULL, F(userListLength),
              i ? 513 : -1);
    CHECK(Scan(&r, NULL) >= 0);
    CHECK(memcmp(copy, messages[i], n) == 0 && memcmp(list, all, 513) == 0);
    FreeRecord(&r);
    free(copy);
    free(list);
  }
}

/* ---- The rewritten header */

static Record HeaderRecord(const char* message, size_t n, char* out, int size,
                           const char* tag) {
  Record r = NewScan(message, (int)n, QM_REWRITE_HEADER);
  PutBuffer(&r, F(headerOut), out, F(headerOutSize), size);
  PutPointer(&r, F(subjectTag), tag);
  return r;
}

static void TestHeaderText(void) {
  static const struct {
    const char* message;
    const char* user;
    const char* tag;
    int versionSize;
    const char* format; /* with the score */
  } rows[] = {
      {kSelfTest, kProbe, NULL, 0,
       "From: selftest@quaymarsh.example\r\nSubject: This is spam\r\n"
       "X-SPAM-SCORE: %d\r\n\r\n"},
      {kSelfTest, kProbe, "[%%s] ", 11,
       "From: selftest@quaymarsh.example\r\nSubject: [%%%%s] This is spam\r\n"
       "X-ANTISPAM-AGENT: Quay Marsh\r\nX-SPAM-SCORE: %d\r\n\r\n"},
      /* No subject, no tag; the last line needs no end. */
      {kNoMail, NULL, "[x] ", -1,
       "just a file\r\nwith two lines\r\nX-SPAM-SCORE: %d\r\n\r\n"},
      {"\nx", NULL, "[x] ", 5,
       "X-ANTISPAM-AGENT: Quay\r\nX-SPAM-SCORE: %d\r\n\r\n"}};
  unsigned i;
  for (i = 0; i < sizeof rows / sizeof rows[0]; i++) {
    char out[1000], version[100], wanted[1000];
    Record r = HeaderRecord(rows[i].message, strlen(rows[i].message), out,
                            sizeof out, rows[i].tag);
    sprintf(row, "header %u", i);
    memset(version, POISON, sizeof version);
    PutPointer(&r, F(user), rows[i].user);
    PutBuffer(&r, F(version), version, F(versionSize), rows[i].versionSize);
    CHECK_INT(1, Scan(&r, NULL));
    sprintf(wanted, rows[i].format, GetInt(&r, F(score)));
    CHECK_TEXT(wanted, out);
    CHECK_INT(strlen(wanted), GetInt(&r, F(headerOutLength)));
    CHECK_INT(sizeof out, GetInt(&r, F(headerOutSize)));
    FreeRecord(&r);
  }
}

/* Marks of an earlier filter go with their folds; a folded subject gets the
 * tag in its first line, and only when there is a verdict. */
static void TestHeaderOfMail(void) {
  char out[1000], wanted[1000];
  Record r = HeaderRecord(kMail, (size_t)MAIL_BYTES, out, sizeof out, "[x] ");
  int state;
  strcpy(row, "header of a mail");
  state = Scan(&r, NULL);
  CHECK(state >= 0);
  sprintf(wanted,
          "Received: from a.example by b.example; Tue, 4 Mar 2003 10:20:31 "
          "+0100\r\nFrom: Ann <ann@example.org>\r\nTo: bob@example.org\r\n"
          "Subject: %sLunch\r\n today\r\n"
          "Date: Tue, 4 Mar 2003 10:20:30 +0100\r\n"
          "Message-ID: <20030304102030.1@example.org>\r\n"
          "X-SPAM-SCORE: %d\r\n\r\n",
          state ? "[x] " : "", GetInt(&r, F(score)));
  CHECK_TEXT(wanted, out);
  FreeRecord(&r);
}

static void TestHeaderSizes(void) {
  /* "X-SPAM-SCORE: 200" behind two lines, and the empty line. */
  const int needed = 11 + 2 + 14 + 2 + 17 + 2 + 2;
  /* Of `needed` bytes it is told as written, without room for the NUL. */
  const int sizes[] = {57, 51, 50, 49, 1, 0, -1, INT_MIN};
  int i;
  for (i = 0; i < 8; i++) {
    char* out = NewBuffer(sizes[i]);
    const int fits = sizes[i] >= needed;
    Record r = HeaderRecord((const char*)noMail, (size_t)NO_MAIL_BYTES, out,
                            sizes[i], NULL);
    sprintf(row, "header size %d", sizes[i]);
    CHECK_INT(1, Scan(&r, NULL));
    CHECK_INT(fits ? sizes[i] : needed, GetInt(&r, F(headerOutSize)));
    CHECK_INT(fits ? needed : 0, GetInt(&r, F(headerOutLength)));
    if (sizes[i] > needed)
      CHECK_INT(needed, strlen(out));
    else
      CHECK(IsPoison(out, sizes[i]));
    /* Without a buffer the size is told as well. */
    PutBuffer(&r, F(headerOut), NULL, F(headerOutSize), 5000);
    CHECK_INT(1, Scan(&r, NULL));
    CHECK_INT(needed, GetInt(&r, F(headerOutSize)));
    CHECK_INT(0, GetInt(&r, F(headerOutLength)));
    FreeRecord(&r);
    free(out);
  }
}

/* ---- The calls without a record */

static void TestStandalone(void) {
  const unsigned long n = (unsigned long)NO_MAIL_BYTES;
  int score = POISON_WORD;
  strcpy(row, "standalone");
  CHECK_INT(-1, qmStandaloneScan(NULL, n, "u", "", "", &score));
  CHECK_INT(POISON_WORD, score);
  CHECK_INT(-1, qmStandaloneScan(noMail, n, "u", "", "", NULL));
  CHECK_INT(1, qmStandaloneScan(noMail, 0, "a@b", "x\n\xFF", "y", &score));
  CHECK_INT(200, score);
  /* The user reaches only the load: the self-test has no recipient. */
  CHECK(qmStandaloneScan((const unsigned char*)kSelfTest, sizeof kSelfTest - 1,
                         kProbe, NULL, NULL, &score) >= 0);
  CHECK(score != 222);
  CHECK_INT(-1, QuayMarshNotes(NULL, n, "u", "", ""));
  CHECK_INT(0, QuayMarshNotes(noMail, 0, "u", "", ""));
  CHECK_INT(200, QuayMarshNotes(noMail, n, NULL, "\x01\n", "*"));
}

static void TestStandaloneCause(void) {
  const unsigned long n = (unsigned long)NO_MAIL_BYTES;
  const int sizes[] = {0, -1, INT_MIN, 1, 2, 24, 25, 26, 1000};
  int i;
  int score = POISON_WORD;
  char cause[8];
  memset(cause, POISON, sizeof cause);
  CHECK_INT(-1, qmStandaloneScanWithCause(NULL, n, "u", "", "", &score, cause,
                                          sizeof cause));
  CHECK_INT(-1, qmStandaloneScanWithCause(noMail, n, "u", "", "", NULL, cause,
                                          sizeof cause));
  CHECK(score == POISON_WORD && IsPoison(cause, sizeof cause));
  CHECK_INT(1, qmStandaloneScanWithCause(noMail, n, NULL, NULL, NULL, &score,
                                         NULL, 100));
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
  alarm(300); /* a scan that blocks fails the test */
  noMail = (unsigned char*)ExactCopy(kNoMail, (size_t)NO_MAIL_BYTES);
  mail = (unsigned char*)ExactCopy(kMail, (size_t)MAIL_BYTES);
  TestNull();
  TestSizes();
  TestNoMessage();
  TestPaths();
  TestBufferSizes();
  TestMessageIsNotTouched();
  TestHeaderText();
  TestHeaderOfMail();
  TestHeaderSizes();
  TestStandalone();
  TestStandaloneCause();
  CHECK(memcmp(noMail, kNoMail, (size_t)NO_MAIL_BYTES) == 0);
  CHECK(memcmp(mail, kMail, (size_t)MAIL_BYTES) == 0);
  free(noMail);
  free(mail);
  if (failures) printf("%d checks failed\n", failures);
  return failures ? 1 : 0;
}
