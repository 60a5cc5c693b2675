/*
 * Whole messages as a host has them scanned: state, score, cause and rewritten
 * header, through the exported functions and with the dictionary that is built
 * in. Each message goes in from memory and from its file, with a context and
 * without; the four answers must be the same and that of NAME.ref.
 *
 * NAME.eml is the message, its bytes as they came. NAME.args, if there is one,
 * sets up the scan, a line "key value" for each setting, see kKeys; with the
 * key "message" it is a case of its own on another one's message. All checks
 * are on, unless "setup" says which. tests/golden/approve writes the .ref
 * files anew, to be looked at by diff. An argument runs one case alone.
 */
#define _XOPEN_SOURCE 700

#include "quaymarsh.h"

#include <dirent.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define FOLDER "tests/golden/"
#define MAX_CASES 500
#define CAUSE_BYTES (1 << 18)

/* ---- Growing texts */

typedef struct {
  char* bytes; /* NUL behind them */
  size_t length;
} Text;

static void Add(Text* text, const char* bytes, size_t n) {
  text->bytes = (char*)realloc(text->bytes, text->length + n + 1);
  if (!text->bytes) exit(2);
  if (n > 0) memcpy(text->bytes + text->length, bytes, n);
  text->length += n;
  text->bytes[text->length] = 0;
}

static void AddWord(Text* text, const char* word) {
  Add(text, word, strlen(word));
}

/* With all but printable ASCII written out, so that a diff shows it. */
static void AddEscaped(Text* text, const char* bytes, size_t n) {
  char hex[8];
  size_t i;
  for (i = 0; i < n; i++) {
    const unsigned char c = (unsigned char)bytes[i];
    if (c == '\\') {
      AddWord(text, "\\\\");
    } else if (c >= ' ' && c <= '~') {
      Add(text, bytes + i, 1);
    } else {
      sprintf(hex, "\\x%02X", c);
      AddWord(text, hex);
    }
  }
}

static void Clear(Text* text) {
  free(text->bytes);
  text->bytes = NULL;
  text->length = 0;
}

/* False when there is no such file. */
static int ReadFile(const char* path, Text* text) {
  char buffer[4096];
  size_t n;
  FILE* file = fopen(path, "rb");
  Add(text, "", 0);
  if (!file) return 0;
  while ((n = fread(buffer, 1, sizeof buffer, file)) > 0) Add(text, buffer, n);
  fclose(file);
  return 1;
}

static void WriteFile(const char* path, const Text* text) {
  FILE* file = fopen(path, "wb");
  if (!file || fwrite(text->bytes, 1, text->length, file) != text->length ||
      fclose(file) != 0) {
    perror(path);
    exit(2);
  }
}

/* ---- How a case is scanned */

typedef struct {
  Text message; /* name of the .eml file, without its ending */
  Text user, globalList, userList, params, profile, tag;
  Text bailout; /* a number */
  Text grow;    /* bytes to which the message's last line is repeated */
  Text setup;   /* names of setup bits in place of those that are set */
  Text flags;   /* names of flags beside cause and header */
  Text ways;    /* "memory" for a case that a file would change */
} Args;

static const struct {
  const char* name;
  size_t offset;
} kKeys[] = {{"message", offsetof(Args, message)},
             {"user", offsetof(Args, user)},
             {"globalList", offsetof(Args, globalList)},
             {"userList", offsetof(Args, userList)},
             {"param", offsetof(Args, params)},
             {"profile", offsetof(Args, profile)},
             {"tag", offsetof(Args, tag)},
             {"bailout", offsetof(Args, bailout)},
             {"grow", offsetof(Args, grow)},
             {"setup", offsetof(Args, setup)},
             {"flags", offsetof(Args, flags)},
             {"ways", offsetof(Args, ways)}};
static const size_t kKeyCount = sizeof kKeys / sizeof *kKeys;

typedef struct {
  const char* name;
  unsigned bit;
} Bit;

static const Bit kSetupBits[] = {{"virus", QM_CHECK_VIRUS},
                                 {"notification", QM_CHECK_NOTIFICATION},
                                 {"eastern", QM_ALLOW_EASTERN},
                                 {"asian", QM_ALLOW_ASIAN},
                                 {"noLatin", QM_FORBID_LATIN},
                                 {"commercial", QM_CHECK_COMMERCIAL},
                                 {"suspect", QM_CHECK_SUSPECT},
                                 {"none", 0},
                                 {NULL, 0}};
static const Bit kFlagBits[] = {
    {"noBailout", QM_NO_BAILOUT}, {"skipEmails", QM_SKIP_EMAILS}, {NULL, 0}};

static int failures = 0;

static void Fail(const char* name, const char* what) {
  failures++;
  printf("%s: %s\n", name, what);
}

static Text* KeyText(Args* args, size_t key) {
  return (Text*)((char*)args + kKeys[key].offset);
}

/* Values of a key that stands more than once are lines of one text. */
static void ReadArgs(const char* name, Args* args) {
  char path[512];
  Text source = {NULL, 0};
  char* line;
  size_t key;
  memset(args, 0, sizeof *args);
  sprintf(path, FOLDER "%.400s.args", name);
  ReadFile(path, &source);
  for (line = strtok(source.bytes, "\n"); line; line = strtok(NULL, "\n")) {
    char* value = strchr(line, ' ');
    if (*line == '#') continue;
    if (value) *value++ = 0;
    for (key = 0; key < kKeyCount; key++)
      if (strcmp(kKeys[key].name, line) == 0) break;
    if (key == kKeyCount || !value) {
      Fail(name, "a line of .args is wrong:");
      printf("  %s\n", line);
      continue;
    }
    if (KeyText(args, key)->length > 0) AddWord(KeyText(args, key), "\n");
    AddWord(KeyText(args, key), value);
  }
  Clear(&source);
  if (!args->message.bytes) AddWord(&args->message, name);
}

static void ClearArgs(Args* args) {
  size_t key;
  for (key = 0; key < kKeyCount; key++) Clear(KeyText(args, key));
}

/* The bits that a text of names asks for. WRITES to it. */
static unsigned BitsOf(const char* name, char* words, const Bit* rows) {
  unsigned bits = 0;
  char* word;
  for (word = strtok(words, " \n"); word; word = strtok(NULL, " \n")) {
    const Bit* row = rows;
    while (row->name && strcmp(row->name, word) != 0) row++;
    if (!row->name) Fail(name, word);
    bits |= row->bit;
  }
  return bits;
}

/* ---- One scan */

/* The letter pairs: a byte is 17 times one letter's number plus the other's. */
static size_t Decode(char* text) {
  size_t i;
  for (i = 0; text[2 * i] && text[2 * i + 1]; i++) {
    const char low = text[2 * i + i % 2], high = text[2 * i + 1 - i % 2];
    text[i] = (char)((high - 'b') * 17 + (low - 'f'));
  }
  return i;
}

static void AddCause(Text* out, const char* cause, size_t n) {
  size_t i, start = 0;
  for (i = 0; i <= n; i++) {
    if (i < n && cause[i] != ';') continue;
    if (cause[start] == ' ') start++;
    AddWord(out, "  ");
    AddEscaped(out, cause + start, i - start);
    AddWord(out, "\n");
    start = i + 1;
  }
}

static void AddHeader(Text* out, const char* header, int n) {
  int i, start = 0;
  for (i = 0; i + 1 < n; i++) {
    if (header[i] != '\r' || header[i + 1] != '\n') continue;
    AddWord(out, "| ");
    AddEscaped(out, header + start, (size_t)(i - start));
    AddWord(out, "\n");
    start = i + 2;
  }
  if (n > start) AddWord(out, "(no line end)\n");
}

/* What a scan of the message, or with a path of the file, tells. */
static void Scan(const char* name, const Args* args, const Text* message,
                 const char* path, void* context, Text* out) {
  static char cause[CAUSE_BYTES];
  char version[256], figures[128];
  const int headerSize = (int)message->length * 2 + 4096;
  char* header = (char*)malloc((size_t)headerSize);
  unsigned char* copy = (unsigned char*)malloc(message->length + 1);
  QMGLOBALSETUP global = {8, 0};
  QMUSERSETUP user = {20, -100, 200, 0, 0};
  QMINFO info;
  int returned;
  Text words = {NULL, 0};
  if (!header || !copy) exit(2);
  /* At the block's end, so that a sanitizer sees a byte too many. */
  copy[0] = 0;
  memcpy(copy + 1, message->bytes, message->length);
  AddWord(&words, args->setup.bytes ? args->setup.bytes
                                    : "virus notification commercial suspect");
  global.flags = user.flags = BitsOf(name, words.bytes, kSetupBits);
  Clear(&words);
  AddWord(&words, args->flags.bytes ? args->flags.bytes : "");

  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  info.flags =
      QM_WANT_CAUSE | QM_REWRITE_HEADER | BitsOf(name, words.bytes, kFlagBits);
  if (path) {
    info.flags |= QM_FROM_FILE;
    info.msgPath = path;
  } else {
    info.msg = copy + 1;
    info.msgLength = (unsigned)message->length;
  }
  info.user = args->user.bytes;
  info.globalList = (unsigned char*)args->globalList.bytes;
  info.globalListLength = (unsigned)args->globalList.length;
  info.userList = (unsigned char*)args->userList.bytes;
  info.userListLength = (unsigned)args->userList.length;
  info.headerOut = header;
  info.headerOutSize = headerSize;
  info.globalSetup = &global;
  info.userSetup = &user;
  info.subjectTag = args->tag.bytes ? args->tag.bytes : "[filter] ";
  info.cause = cause;
  info.causeSize = sizeof cause;
  info.version = version;
  info.versionSize = sizeof version;
  info.bailout = args->bailout.bytes ? atoi(args->bailout.bytes) : 0;
  info.profile = args->profile.bytes;
  info.params = args->params.bytes;
  info.state = -99;
  cause[0] = 0;

  returned = QmScanMessageWithContext(&info, context);
  if (memcmp(copy + 1, message->bytes, message->length) != 0)
    Fail(name, "the message was written to");
  sprintf(figures, "returned %d, state %d, score %d, header of %d bytes\n",
          returned, info.state, info.score, info.headerLength);
  AddWord(out, figures);
  if (info.state != -99) {
    AddCause(out, cause,
             info.state == QM_STATE_VIRUS ? strlen(cause) : Decode(cause));
    AddHeader(out, header, info.headerOutLength);
  }
  Clear(&words);
  free(header);
  free(copy);
}

/* ---- The cases */

/* Shows how a text differs from the file that it should be. */
static void ShowDiff(const char* path, const Text* text) {
  char temporary[] = "/tmp/golden-XXXXXX", command[1024];
  const int fd = mkstemp(temporary);
  if (fd < 0) return;
  close(fd);
  WriteFile(temporary, text);
  fflush(stdout);
  sprintf(command, "diff -u '%.400s' '%.100s'", path, temporary);
  if (system(command) == -1) perror("diff");
  unlink(temporary);
}

static void Grow(const char* name, Text* message, long bytes) {
  const Text all = *message;
  size_t start = all.length;
  Text line = {NULL, 0};
  while (start > 1 && all.bytes[start - 2] != '\n') start--;
  if (start == all.length || bytes > 1000000) {
    Fail(name, "can't grow");
    return;
  }
  Add(&line, all.bytes + start - 1, all.length - start + 1);
  while ((long)(message->length + line.length) <= bytes)
    Add(message, line.bytes, line.length);
  Clear(&line);
}

static void Compare(const char* name, const Text* got) {
  char path[512];
  Text wanted = {NULL, 0};
  sprintf(path, FOLDER "%.400s.ref", name);
  if (getenv("QM_APPROVE")) {
    WriteFile(path, got);
    return;
  }
  ReadFile(path, &wanted);
  if (wanted.length != got->length ||
      memcmp(wanted.bytes, got->bytes, got->length) != 0) {
    Fail(name, "differs from its .ref");
    ShowDiff(path, got);
  }
  Clear(&wanted);
}

static void RunCase(const char* name, void* context) {
  static const char* const kWays[] = {
      "memory with a context", "memory without a context",
      "file with a context", "file without a context"};
  char path[512], grown[] = "/tmp/golden-XXXXXX";
  Args args;
  Text message = {NULL, 0}, first = {NULL, 0};
  int way;
  ReadArgs(name, &args);
  sprintf(path, FOLDER "%.400s.eml", args.message.bytes);
  if (!ReadFile(path, &message)) Fail(name, "no message");
  if (args.grow.bytes) {
    const int fd = mkstemp(grown);
    if (fd < 0) exit(2);
    close(fd);
    Grow(name, &message, atol(args.grow.bytes));
    WriteFile(grown, &message);
    strcpy(path, grown);
  }
  for (way = 0; way < (args.ways.bytes ? 2 : 4); way++) {
    Text got = {NULL, 0};
    Scan(name, &args, &message, way < 2 ? NULL : path,
         way % 2 == 0 ? context : NULL, way == 0 ? &first : &got);
    if (way > 0 && strcmp(got.bytes, first.bytes) != 0) {
      Fail(name, kWays[way]);
      printf("--- %s\n%s--- %s\n%s", kWays[0], first.bytes, kWays[way],
             got.bytes);
    }
    Clear(&got);
  }
  Compare(name, &first);
  if (args.grow.bytes) unlink(grown);
  Clear(&first);
  Clear(&message);
  ClearArgs(&args);
}

static int CompareNames(const void* a, const void* b) {
  return strcmp(*(char* const*)a, *(char* const*)b);
}

/* The names of all .eml and .args files, once each. */
static int ListCases(char** names) {
  int count = 0, kept = 0, i;
  const struct dirent* entry;
  DIR* folder = opendir(FOLDER);
  if (!folder) return 0;
  while ((entry = readdir(folder)) != NULL && count < MAX_CASES) {
    const char* ending = strrchr(entry->d_name, '.');
    Text name = {NULL, 0};
    if (!ending || (strcmp(ending, ".eml") && strcmp(ending, ".args")))
      continue;
    Add(&name, entry->d_name, (size_t)(ending - entry->d_name));
    names[count++] = name.bytes;
  }
  closedir(folder);
  qsort(names, (size_t)count, sizeof *names, CompareNames);
  for (i = 0; i < count; i++) {
    if (kept > 0 && strcmp(names[kept - 1], names[i]) == 0)
      free(names[i]);
    else
      names[kept++] = names[i];
  }
  return kept;
}

int main(int argc, char** argv) {
  char* names[MAX_CASES];
  const int count = ListCases(names);
  void* context = QmCreateSpeedupContext();
  int i, ran = 0;
  for (i = 0; i < count; i++) {
    if (argc < 2 || strcmp(argv[1], names[i]) == 0) {
      RunCase(names[i], context);
      ran++;
    }
    free(names[i]);
  }
  QmReleaseSpeedupContext(context);
  if (ran == 0) Fail(FOLDER, "no cases");
  printf("%d cases, %d failures\n", ran, failures);
  return failures > 0;
}
