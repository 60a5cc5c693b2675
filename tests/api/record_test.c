/*
 * The scan record as an old host sees it: bytes at fixed offsets, in a block
 * of exactly the size that its first word states, so that a sanitizer reports
 * any access behind it. Everything goes through the exported functions.
 *
 * The offsets of a 32-bit build are written out here: they are what hosts were
 * compiled against. A 64-bit build takes them from the header.
 */
#define _XOPEN_SOURCE 700

#include "quaymarsh.h"

#include <limits.h>
#include <stddef.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host_check.h"

#define CHECK_TEXT(wanted, got) CheckText((wanted), (got), #got, __LINE__)

static void CheckText(const char* wanted, const char* got, const char* what,
                      int line) {
  if (strcmp(wanted, got) == 0) return;
  Fail(what, line);
  printf("  wanted %s\n  got    %s\n", wanted, got);
}

/* ---- The record */

#define AT(field, offset) \
  (sizeof(void*) == 4 ? (offset) : (int)offsetof(QMINFO, field))
enum {
  fSize = AT(size, 0),
  fFlags = AT(flags, 4),
  fMsgLength = AT(msgLength, 8),
  fMsg = AT(msg, 12),
  fMsgPath = AT(msgPath, 16),
  fUser = AT(user, 20),
  fGlobalListLength = AT(globalListLength, 24),
  fGlobalList = AT(globalList, 28),
  fUserListLength = AT(userListLength, 32),
  fUserList = AT(userList, 36),
  fKeywordFile = AT(keywordFile, 40),
  fHeaderOut = AT(headerOut, 44),
  fHeaderOutSize = AT(headerOutSize, 48),
  fUserSetup = AT(userSetup, 52),
  fGlobalSetup = AT(globalSetup, 56),
  fHeaderLength = AT(headerLength, 60),
  fHeaderOutLength = AT(headerOutLength, 64),
  fSubjectTag = AT(subjectTag, 68),
  fState = AT(state, 72),
  fScore = AT(score, 76),
  fCause = AT(cause, 80),
  fCauseSize = AT(causeSize, 84),
  fReserved = AT(reserved, 88),
  fVersion = AT(version, 92),
  fVersionSize = AT(versionSize, 96),
  fBailout = AT(bailout, 100),
  fProfile = AT(profile, 104),
  fParams = AT(params, 108),
  fParamsOut = AT(paramsOut, 112),
  fParamsOutSize = AT(paramsOutSize, 116),
  fEnd = sizeof(void*) == 4 ? 120 : (int)sizeof(QMINFO)
};

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

static int GetInt(const Record* r, int field) {
  int value = POISON_WORD;
  if ((unsigned)field + 4 <= r->size) memcpy(&value, r->bytes + field, 4);
  return value;
}

/* Inputs are 0; outputs, reserved and unknown fields are poisoned. */
static Record NewRecord(unsigned size) {
  static const int outputs[] = {fHeaderLength, fHeaderOutLength, fState, fScore,
                                fReserved};
  const unsigned room = size < 4 ? 4 : size;
  Record r;
  unsigned i;
  r.size = size;
  r.bytes = (unsigned char*)Allocate(room);
  memset(r.bytes, 0, room);
  memcpy(r.bytes, &size, 4);
  for (i = 0; i < sizeof outputs / sizeof outputs[0]; i++)
    PutInt(&r, outputs[i], POISON_WORD);
  if (size > fEnd) memset(r.bytes + fEnd, POISON, size - fEnd);
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

static int DecodePairs(const char* in, char* out, int size) {
  int i;
  for (i = 0; in[2 * i] && i < size - 1; i++) {
    const char rest = in[2 * i + (i % 2)];
    const char times = in[2 * i + 1 - (i % 2)];
    if (rest < 'f' || rest > 'v' || times < 'b' || times > 'q') return 0;
    out[i] = (char)((times - 'b') * 17 + (rest - 'f'));
  }
  out[i] = 0;
  return in[2 * i] == 0;
}

static const char* Decoded(const char* in) {
  static char out[4096];
  return DecodePairs(in, out, (int)sizeof out) ? out : "(no letter pairs)";
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
  PutPointer(r, fMsg, bytes);
  PutInt(r, fMsgLength, n);
}

/* ---- Tests */

static void TestNull(void) {
  strcpy(row, "null");
  CHECK_INT(-1, QmScanMessage(NULL));
  CHECK_INT(-1, QmScanMessageWithContext(NULL, NULL));
  QmReleaseSpeedupContext(NULL);
}

/* What each size of the record makes of the same host. */
static void TestSizes(void) {
  const int enough = 600;
  unsigned size;
  for (size = 0; size <= fEnd + 10; size++) {
    Record r = NewRecord(size);
    char* version = NewBuffer(enough);
    char* cause = NewBuffer(enough);
    char* paramsOut = NewBuffer(enough);
    char wanted[600];
    int result;
    unsigned i;
    sprintf(row, "size %u", size);
    PutMessage(&r, noMail, NO_MAIL_BYTES);
    PutInt(&r, fFlags, QM_WANT_CAUSE);
    PutPointer(&r, fVersion, version);
    PutInt(&r, fVersionSize, enough);
    PutPointer(&r, fCause, cause);
    PutInt(&r, fCauseSize, enough);
    PutInt(&r, fBailout, 123);
    PutPointer(&r, fProfile, "p1,p2");
    PutPointer(&r, fParams, "a=b\nc");
    PutPointer(&r, fParamsOut, paramsOut);
    PutInt(&r, fParamsOutSize, enough);
    if (size < fBailout) {
      CHECK(ScanUnchanged(&r, &result));
      CHECK_INT(-1, result);
      CHECK(IsPoison(version, enough) && IsPoison(cause, enough));
    } else {
      CHECK_INT(1, Scan(&r, NULL));
      CHECK_INT(1, GetInt(&r, fState));
      CHECK_INT(200, GetInt(&r, fScore));
      CHECK_TEXT(size < fParams ? BARE
                                : "Quay Marsh 01.333.21 AV+AS Profile: "
                                  "p1,p2; Bailout: 123",
                 version);
      sprintf(wanted, "%s; %s", version, NO_MAIL);
      CHECK_TEXT(wanted, Decoded(cause));
    }
    if (size < fEnd)
      CHECK(IsPoison(paramsOut, enough));
    else
      CHECK_TEXT("a=b\nc", Decoded(paramsOut));
    /* Reserved and unknown fields. */
    CHECK_INT(POISON_WORD, GetInt(&r, fReserved));
    for (i = fEnd; i < size; i++) CHECK(r.bytes[i] == POISON);
    free(version);
    free(cause);
    free(paramsOut);
    FreeRecord(&r);
  }
}

/* Scans that don't run: what they return, and that no field, cause or header
 * is written. The version comes earlier, so it is there. */
static void CheckNoScan(Record* r, int wanted) {
  char* version = NewBuffer(100);
  char* cause = NewBuffer(100);
  char* headerOut = NewBuffer(100);
  char* paramsOut = NewBuffer(100);
  int result;
  PutInt(r, fFlags, GetInt(r, fFlags) | QM_WANT_CAUSE | QM_REWRITE_HEADER);
  PutPointer(r, fVersion, version);
  PutInt(r, fVersionSize, 100);
  PutPointer(r, fCause, cause);
  PutInt(r, fCauseSize, 100);
  PutPointer(r, fHeaderOut, headerOut);
  PutInt(r, fHeaderOutSize, 100);
  PutPointer(r, fParams, "x");
  PutPointer(r, fParamsOut, paramsOut);
  PutInt(r, fParamsOutSize, 100);
  CHECK(ScanUnchanged(r, &result));
  CHECK_INT(wanted, result);
  CHECK(IsPoison(cause, 100) && IsPoison(headerOut, 100));
  CHECK_TEXT(BARE, version);
  CHECK_TEXT("x", Decoded(paramsOut));
  free(version);
  free(cause);
  free(headerOut);
  free(paramsOut);
}

static void TestNoMessage(void) {
  Record r = NewRecord(fEnd);
  strcpy(row, "null message");
  CheckNoScan(&r, -1);
  strcpy(row, "null message with a length");
  PutInt(&r, fMsgLength, 1000);
  CheckNoScan(&r, -1);
  strcpy(row, "null message with the greatest length");
  PutInt(&r, fMsgLength, -1);
  CheckNoScan(&r, -1);
  strcpy(row, "length 0");
  PutMessage(&r, noMail, 0);
  CheckNoScan(&r, 0);
  FreeRecord(&r);
}

static char directory[] = "/tmp/quaymarsh-record-XXXXXX";
static char fifo[100], goodFile[100], textFile[100], emptyFile[100];

static void WriteFile(const char* path, const char* bytes) {
  FILE* file = fopen(path, "wb");
  if (!file || fputs(bytes, file) == EOF || fclose(file) != 0) {
    printf("%s cannot be written\n", path);
    exit(2);
  }
}

static void MakeFiles(void) {
  if (!mkdtemp(directory)) {
    printf("no temporary directory\n");
    exit(2);
  }
  sprintf(fifo, "%s/fifo", directory);
  sprintf(goodFile, "%s/good.eml", directory);
  sprintf(textFile, "%s/text", directory);
  sprintf(emptyFile, "%s/empty", directory);
  WriteFile(goodFile, kMail);
  WriteFile(textFile, kNoMail);
  WriteFile(emptyFile, "");
  if (mkfifo(fifo, 0600) != 0) {
    printf("no FIFO\n");
    exit(2);
  }
}

static void RemoveFiles(void) {
  remove(fifo);
  remove(goodFile);
  remove(textFile);
  remove(emptyFile);
  rmdir(directory);
}

/* Nothing but a regular file is opened: a FIFO would block for ever, and an
 * endless device would fill the memory. */
static void TestPaths(void) {
  const char* bad[8];
  int i;
  Record r;
  bad[0] = "/nonexistent/x";
  bad[1] = directory;
  bad[2] = "/dev/null";
  bad[3] = "/dev/zero";
  bad[4] = fifo;
  bad[5] = "/";
  bad[6] = textFile; /* no dictionary image; as a message it can be read */
  bad[7] = emptyFile;
  for (i = 0; i < 8; i++) {
    sprintf(row, "keyword file %s", bad[i]);
    r = NewRecord(fEnd);
    PutPointer(&r, fKeywordFile, bad[i]);
    CheckNoScan(&r, -2); /* told ahead of the null message */
    PutMessage(&r, mail, MAIL_BYTES);
    CheckNoScan(&r, -2);
    FreeRecord(&r);
    if (i >= 6) break;
    sprintf(row, "message file %s", bad[i]);
    r = NewRecord(fEnd);
    PutInt(&r, fFlags, QM_FROM_FILE);
    PutPointer(&r, fMsgPath, bad[i]);
    PutMessage(&r, mail, MAIL_BYTES);
    CheckNoScan(&r, -3);
    FreeRecord(&r);
  }
  r = NewRecord(fEnd);
  PutInt(&r, fFlags, QM_FROM_FILE);
  strcpy(row, "null path");
  CheckNoScan(&r, -3);
  strcpy(row, "empty path");
  PutPointer(&r, fMsgPath, "");
  CheckNoScan(&r, -3);
  FreeRecord(&r);
}

/* The three text buffers at every interesting size. */
static void TestBufferSizes(void) {
  char causeText[2000], paramsText[200];
  const char* const params = "mode=proxy\n\x01\xFE\xFF";
  int round, which;
  causeText[0] = paramsText[0] = 0;
  /* Round 0 collects the full texts. */
  for (round = 0; round < 12; round++) {
    for (which = 0; which < 3; which++) {
      static const int sizes[] = {1000, 0, 1, 2, 3, -1, INT_MIN, 100};
      const int field = which == 0   ? fVersion
                        : which == 1 ? fCause
                                     : fParamsOut;
      const int sizeField = which == 0   ? fVersionSize
                            : which == 1 ? fCauseSize
                                         : fParamsOutSize;
      const char* const text = which == 0   ? BARE
                               : which == 1 ? causeText
                                            : paramsText;
      const int length = (int)strlen(text);
      const int size = round < 8 ? sizes[round] : length + round - 9;
      Record r = NewRecord(fEnd);
      char* buffer = NewBuffer(size);
      sprintf(row, "buffer %d, size %d", which, size);
      PutMessage(&r, noMail, NO_MAIL_BYTES);
      PutInt(&r, fFlags, QM_WANT_CAUSE);
      PutPointer(&r, fParams, params);
      PutPointer(&r, field, buffer);
      PutInt(&r, sizeField, size);
      CHECK_INT(1, Scan(&r, NULL));
      if (round == 0 && which == 1) strcpy(causeText, buffer);
      if (round == 0 && which == 2) strcpy(paramsText, buffer);
      CHECK(size <= 0 ? IsPoison(buffer, 0) : HoldsCut(buffer, size, text));
      CHECK_INT(size, GetInt(&r, sizeField));
      free(buffer);
      /* A size without a buffer. */
      PutPointer(&r, field, NULL);
      CHECK_INT(1, Scan(&r, NULL));
      FreeRecord(&r);
    }
  }
  strcpy(row, "full texts");
  CHECK_TEXT(BARE "; " NO_MAIL, Decoded(causeText));
  CHECK_INT(2 * strlen(BARE "; " NO_MAIL), strlen(causeText));
  CHECK_TEXT(params, Decoded(paramsText));
}

static void TestBailoutAndProfile(void) {
  static const struct {
    int bailout;
    const char* profile;
    int flags;
    const char* version; /* behind "Profile: " */
    const char* cause;
  } rows[] = {
      {99, NULL, 0, "<none>; Bailout: 300", "<none>; Bailout: 300"},
      {100, "", 0, "<none>; Bailout: 100", "<none>; Bailout: 100"},
      {-5, "x", 0, "x; Bailout: 300", "x; Bailout: 300"},
      {INT_MAX, "a%s\n", 0, "a%s\n; Bailout: 2147483647",
       "a%s\n; Bailout: 2147483647"},
      {INT_MIN, "\xFF", 0, "\xFF; Bailout: 300", "\xFF; Bailout: 300"},
      /* In force only from the scan on, which the version comes ahead of. */
      {100, NULL, QM_NO_BAILOUT, "<none>; Bailout: 100",
       "<none>; Bailout: N/A"},
  };
  unsigned i;
  for (i = 0; i < sizeof rows / sizeof rows[0]; i++) {
    Record r = NewRecord(fEnd);
    char version[200], cause[1000], wanted[300];
    sprintf(row, "bailout %d, flags %d", rows[i].bailout, rows[i].flags);
    PutMessage(&r, noMail, NO_MAIL_BYTES);
    PutInt(&r, fFlags, QM_WANT_CAUSE | rows[i].flags);
    PutInt(&r, fBailout, rows[i].bailout);
    PutPointer(&r, fProfile, rows[i].profile);
    PutPointer(&r, fVersion, version);
    PutInt(&r, fVersionSize, sizeof version);
    PutPointer(&r, fCause, cause);
    PutInt(&r, fCauseSize, sizeof cause);
    CHECK_INT(1, Scan(&r, NULL));
    sprintf(wanted, "Quay Marsh 01.333.21 AV+AS Profile: %s", rows[i].version);
    CHECK_TEXT(wanted, version);
    sprintf(wanted, "Quay Marsh 01.333.21 AV+AS Profile: %s; %s", rows[i].cause,
            NO_MAIL);
    CHECK_TEXT(wanted, Decoded(cause));
    FreeRecord(&r);
  }
}

/* Sender lists are any bytes. A null one with a length is empty. */
static void TestLists(void) {
  static const char* const texts[] = {"\n", "\0\0\n\0@\0", "ann@example.org",
                                      "From=*\nTo=\r\n@@@,,;|*?%s<>\""};
  static const int lengths[] = {1, 6, 15, 26};
  unsigned char* all = (unsigned char*)Allocate(513);
  int i, way;
  for (i = 0; i < 513; i++) all[i] = (unsigned char)i;
  for (i = 0; i < 6; i++) {
    for (way = 1; way < 4; way++) {
      const int n = i < 4 ? lengths[i] : i == 4 ? 513 : -1;
      void* list =
          i < 5 ? ExactCopy(i < 4 ? (const void*)texts[i] : all, (size_t)n)
                : NULL;
      Record r = NewRecord(fEnd);
      int result;
      sprintf(row, "list %d, way %d", i, way);
      PutMessage(&r, mail, MAIL_BYTES);
      PutInt(&r, fFlags, QM_SKIP_EMAILS | QM_FLAG_BIT5);
      if (way & 1) PutPointer(&r, fGlobalList, list);
      if (way & 1) PutInt(&r, fGlobalListLength, n);
      if (way & 2) PutPointer(&r, fUserList, list);
      if (way & 2) PutInt(&r, fUserListLength, n);
      result = Scan(&r, NULL);
      CHECK(result >= 0 && result <= 12);
      CHECK_INT(result, GetInt(&r, fState));
      FreeRecord(&r);
      free(list);
    }
  }
  free(all);
}

/* What a scan reads stays as it was, also where it edits its own copy. */
static void TestMessageIsNotTouched(void) {
  static const char* const messages[] = {
      kMail,
      kNoMail,
      kSelfTest,
      "Subject: =?utf-8?Q?a=20b?=\r\n folded\r\n\r\n..x\r\n..\r\n.\r\n",
      "A: b\r\rc\r\n\t\r\n \r\n\r\nbegin 644 x\r\n#0V%T\r\n`\r\nend\r\n",
      "\r\n\r\n",
      "\n",
      ":",
      " "};
  unsigned i;
  for (i = 0; i < sizeof messages / sizeof messages[0]; i++) {
    const size_t n = strlen(messages[i]);
    unsigned char* copy = (unsigned char*)ExactCopy(messages[i], n);
    Record r = NewRecord(fEnd);
    sprintf(row, "message number %u", i);
    PutMessage(&r, copy, (int)n);
    PutInt(&r, fFlags, QM_REWRITE_HEADER);
    PutPointer(&r, fParams, "mode=proxy");
    CHECK(Scan(&r, NULL) >= 0);
    CHECK(memcmp(copy, messages[i], n) == 0);
    FreeRecord(&r);
    free(copy);
  }
}

/* ---- The rewritten header */

static Record HeaderRecord(const char* message, size_t n, char* out, int size,
                           const char* tag) {
  Record r = NewRecord(fEnd);
  PutMessage(&r, (const unsigned char*)message, (int)n);
  PutInt(&r, fFlags, QM_REWRITE_HEADER);
  PutPointer(&r, fHeaderOut, out);
  PutInt(&r, fHeaderOutSize, size);
  PutPointer(&r, fSubjectTag, tag);
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
      {kSelfTest, kProbe, "", 1,
       "From: selftest@quaymarsh.example\r\nSubject: This is spam\r\n"
       "X-ANTISPAM-AGENT: \r\nX-SPAM-SCORE: %d\r\n\r\n"},
      /* No subject, no tag; the last line needs no end. */
      {kNoMail, NULL, "[x] ", -1,
       "just a file\r\nwith two lines\r\nX-SPAM-SCORE: %d\r\n\r\n"},
      {"\nx", NULL, "[x] ", 5,
       "X-ANTISPAM-AGENT: Quay\r\nX-SPAM-SCORE: %d\r\n\r\n"},
  };
  unsigned i;
  for (i = 0; i < sizeof rows / sizeof rows[0]; i++) {
    char out[1000], version[100], wanted[1000];
    Record r = HeaderRecord(rows[i].message, strlen(rows[i].message), out,
                            sizeof out, rows[i].tag);
    sprintf(row, "header %u", i);
    memset(version, POISON, sizeof version);
    PutPointer(&r, fUser, rows[i].user);
    PutPointer(&r, fVersion, version);
    PutInt(&r, fVersionSize, rows[i].versionSize);
    CHECK_INT(1, Scan(&r, NULL));
    sprintf(wanted, rows[i].format, GetInt(&r, fScore));
    CHECK_TEXT(wanted, out);
    CHECK_INT(strlen(wanted), GetInt(&r, fHeaderOutLength));
    CHECK_INT(sizeof out, GetInt(&r, fHeaderOutSize));
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
          state ? "[x] " : "", GetInt(&r, fScore));
  CHECK_TEXT(wanted, out);
  FreeRecord(&r);
}

static void TestHeaderSizes(void) {
  /* "X-SPAM-SCORE: 200" behind two lines, and the empty line. */
  const int needed = 11 + 2 + 14 + 2 + 17 + 2 + 2;
  int sizes[8];
  int i;
  sizes[0] = needed + 1;
  sizes[1] = needed; /* told as written, but there is no room for the NUL */
  sizes[2] = needed - 1;
  sizes[3] = 1;
  sizes[4] = 0;
  sizes[5] = -1;
  sizes[6] = INT_MIN;
  sizes[7] = needed + 7;
  for (i = 0; i < 8; i++) {
    char* out = NewBuffer(sizes[i]);
    const int fits = sizes[i] >= needed;
    Record r = HeaderRecord((const char*)noMail, (size_t)NO_MAIL_BYTES, out,
                            sizes[i], NULL);
    sprintf(row, "header size %d", sizes[i]);
    CHECK_INT(1, Scan(&r, NULL));
    CHECK_INT(fits ? sizes[i] : needed, GetInt(&r, fHeaderOutSize));
    CHECK_INT(fits ? needed : 0, GetInt(&r, fHeaderOutLength));
    if (sizes[i] > needed)
      CHECK_INT(needed, strlen(out));
    else
      CHECK(IsPoison(out, sizes[i]));
    /* Without a buffer the size is told as well. */
    PutPointer(&r, fHeaderOut, NULL);
    PutInt(&r, fHeaderOutSize, 5000);
    CHECK_INT(1, Scan(&r, NULL));
    CHECK_INT(needed, GetInt(&r, fHeaderOutSize));
    CHECK_INT(0, GetInt(&r, fHeaderOutLength));
    FreeRecord(&r);
    free(out);
  }
}

static void TestContext(void) {
  static const char* const directories[] = {NULL, "", "/", "/nonexistent",
                                            "\xFF%s"};
  unsigned i;
  for (i = 0; i < sizeof directories / sizeof directories[0]; i++) {
    void* context = i == 0 ? QmCreateSpeedupContext()
                           : QmCreateSpeedupContextWith(directories[i]);
    int round;
    sprintf(row, "context %u", i);
    CHECK(context != NULL);
    /* It serves many scans and is not changed by them. */
    for (round = 0; round < 3; round++) {
      Record with = NewRecord(fEnd);
      Record without = NewRecord(fEnd);
      const int isMail = round != 1;
      PutMessage(&with, isMail ? mail : noMail,
                 isMail ? MAIL_BYTES : NO_MAIL_BYTES);
      PutMessage(&without, isMail ? mail : noMail,
                 isMail ? MAIL_BYTES : NO_MAIL_BYTES);
      CHECK_INT(Scan(&without, NULL), Scan(&with, context));
      CHECK_INT(GetInt(&without, fState), GetInt(&with, fState));
      CHECK_INT(GetInt(&without, fScore), GetInt(&with, fScore));
      FreeRecord(&with);
      FreeRecord(&without);
    }
    QmReleaseSpeedupContext(context);
  }
}

int main(void) {
  alarm(300); /* a scan that blocks fails the test */
  noMail = (unsigned char*)ExactCopy(kNoMail, (size_t)NO_MAIL_BYTES);
  mail = (unsigned char*)ExactCopy(kMail, (size_t)MAIL_BYTES);
  MakeFiles();
  TestNull();
  TestSizes();
  TestNoMessage();
  TestPaths();
  TestBufferSizes();
  TestBailoutAndProfile();
  TestLists();
  TestMessageIsNotTouched();
  TestHeaderText();
  TestHeaderOfMail();
  TestHeaderSizes();
  TestContext();
  CHECK(memcmp(noMail, kNoMail, (size_t)NO_MAIL_BYTES) == 0);
  CHECK(memcmp(mail, kMail, (size_t)MAIL_BYTES) == 0);
  RemoveFiles();
  free(noMail);
  free(mail);
  if (failures) printf("%d checks failed\n", failures);
  return failures ? 1 : 0;
}
