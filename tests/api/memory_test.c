/*
 * What the library asks of the heap, as a host sees it: a context and the
 * scan of the worst message stay below the ceilings that README.md states, and
 * a thousand scans leave nothing behind. Every allocation of the program
 * passes here. Each shape of message is made as large as is looked at. All of
 * it runs on a stack of the size that quaymarsh.h asks for.
 *
 *   memory_test [-v]     -v prints what was measured
 */
#include <dirent.h>
#include <malloc.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "quaymarsh.h"

#define MESSAGE_BYTES 204800
#define MAX_MAILS 1000
#define SCANS 1000
#define LONE_SCANS 3
#define STACK_BYTES (256 * 1024)

/* Pointers of 8 bytes make records larger. */
#define WIDE (sizeof(void*) == 8)
#define CONTEXT_CEILING (WIDE ? 24000000L : 16000000L)
#define SCAN_CEILING (WIDE ? 32000000L : 20000000L)

void* __libc_malloc(size_t n);
void* __libc_calloc(size_t n, size_t size);
void* __libc_realloc(void* p, size_t n);
void __libc_free(void* p);

static long heap_bytes, heap_peak;

#ifndef __SANITIZE_ADDRESS__
static void* taken(void* p) {
  if (p) heap_bytes += (long)malloc_usable_size(p);
  if (heap_bytes > heap_peak) heap_peak = heap_bytes;
  return p;
}

void* malloc(size_t n) {
  return taken(__libc_malloc(n));
}

void* calloc(size_t n, size_t size) {
  return taken(__libc_calloc(n, size));
}

void* realloc(void* p, size_t n) {
  const long before = p ? (long)malloc_usable_size(p) : 0;
  void* const moved = __libc_realloc(p, n);
  if (!moved && n > 0) return NULL;
  heap_bytes -= before;
  return taken(moved);
}

void free(void* p) {
  if (p) heap_bytes -= (long)malloc_usable_size(p);
  __libc_free(p);
}
#endif

/* ---- Messages */

/* "#" in the unit stands for a number that goes up. */
struct SHAPE {
  const char* name;
  const char* head;
  const char* unit;
};

#define FROM "From: a@example.com\nTo: b@example.com\nSubject: s\n"
#define HTML FROM "Content-Type: text/html\n\n"

static const struct SHAPE shapes[] = {
    {"fields", FROM, "a:\n"},
    {"fields with names", FROM, "a#: b\n"},
    {"relay lines", FROM, "Received: from a by b with c id d; e\n"},
    {"recipients", "From: a@example.com\nTo: b@example.com", ",a@b.cc"},
    {"encoded words", "From: a@example.com\nSubject: ", "=?utf-8?q?a?= "},
    {"words", FROM "\n", "a "},
    {"distinct words", FROM "\n", "w# "},
    {"capitals", FROM "\n", "aB"},
    {"lines", FROM "\n", "a\n"},
    {"named lines", FROM "\n", "a: b\n"},
    {"addresses", FROM "\n", "a#@b.cc "},
    {"links", FROM "\n", "http://a#.example.com/ "},
    {"phones", FROM "\n", "+1 800 555 #\n"},
    {"anchors", HTML, "<a href=http://a#.example.com>b</a>"},
    {"pictures", HTML, "<img src=http://example.com/#.gif>"},
    {"tags", HTML, "<b>"},
    {"tags with names", HTML, "<p id=a# class=b#>"},
    {"tables", HTML, "<table><tr><td>"},
    {"styles", HTML "<style>", ".a#{color:red}"},
    {"comments", HTML, "<!--#-->"},
    {"parts", FROM "Content-Type: multipart/mixed; boundary=b\n\n",
     "--b\n\na\n"},
    {"files", FROM "Content-Type: multipart/mixed; boundary=b\n\n",
     "--b\nContent-Type: image/gif; name=a#.gif\nContent-ID: <#>\n\nR0lG\n"},
    {"forwarded", FROM "\n",
     "-----Original Message-----\nFrom: a@example.com\n\n"},
    {"messages", FROM,
     "Content-Type: multipart/mixed; boundary=b\n\n--b\n"
     "Content-Type: message/rfc822\n\n"},
};

struct MAIL {
  char* text;
  size_t length;
};

static int failures, verbose;

static void fail(const char* what, const char* name, long got, long most) {
  printf("%s: %s: %ld bytes, at most %ld expected\n", what, name, got, most);
  failures++;
}

static struct MAIL make(const struct SHAPE* shape) {
  struct MAIL mail;
  size_t used = strlen(shape->head);
  long number = 0;
  mail.text = malloc(MESSAGE_BYTES);
  mail.length = MESSAGE_BYTES;
  if (!mail.text) abort();
  memset(mail.text, ' ', MESSAGE_BYTES);
  memcpy(mail.text, shape->head, used);
  for (;; number++) {
    char unit[256];
    size_t n = 0;
    const char* from;
    for (from = shape->unit; *from; from++) {
      if (*from == '#')
        n += (size_t)sprintf(unit + n, "%ld", number);
      else
        unit[n++] = *from;
    }
    if (used + n > MESSAGE_BYTES) return mail;
    memcpy(mail.text + used, unit, n);
    used += n;
  }
}

/* The messages of a folder; how many. */
static int read_folder(const char* folder, struct MAIL* mails) {
  DIR* const directory = opendir(folder);
  struct dirent* entry;
  int count = 0;
  if (!directory) return 0;
  while (count < MAX_MAILS && (entry = readdir(directory)) != NULL) {
    const size_t n = strlen(entry->d_name);
    char path[512];
    FILE* file;
    if (n < 4 || n > 200 || strcmp(entry->d_name + n - 4, ".eml") != 0)
      continue;
    sprintf(path, "%s/%s", folder, entry->d_name);
    file = fopen(path, "rb");
    if (!file) continue;
    mails[count].text = malloc(MESSAGE_BYTES);
    if (!mails[count].text) abort();
    mails[count].length = fread(mails[count].text, 1, MESSAGE_BYTES, file);
    fclose(file);
    if (mails[count].length > 0)
      count++;
    else
      free(mails[count].text);
  }
  closedir(directory);
  return count;
}

/* ---- Scans */

static char cause[65536], header[2 * MESSAGE_BYTES], version[256];

/* What the scan needed at most. */
static long scan(const struct MAIL* mail, void* context) {
  static const QMGLOBALSETUP global_setup = {8, 0x63};
  static const QMUSERSETUP user_setup = {20, -100, 200, 0, 0x63};
  const long before = heap_bytes;
  QMINFO info;
  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  info.flags = QM_WANT_CAUSE | QM_REWRITE_HEADER | QM_NO_BAILOUT;
  info.msg = (const unsigned char*)mail->text;
  info.msgLength = (unsigned)mail->length;
  info.user = "b@example.com";
  info.globalSetup = &global_setup;
  info.userSetup = &user_setup;
  info.cause = cause;
  info.causeSize = sizeof cause;
  info.headerOut = header;
  info.headerOutSize = sizeof header;
  info.version = version;
  info.versionSize = sizeof version;
  heap_peak = heap_bytes;
  if (QmScanMessageWithContext(&info, context) < 0) {
    printf("a scan did not run\n");
    failures++;
  }
  return heap_peak - before;
}

static void check_ceilings(void* context) {
  size_t i;
  for (i = 0; i < sizeof shapes / sizeof *shapes; i++) {
    struct MAIL mail = make(&shapes[i]);
    const long before = heap_bytes;
    const long peak = scan(&mail, context);
    if (verbose) printf("%-20s %9ld bytes\n", shapes[i].name, peak);
    if (peak > SCAN_CEILING) fail("a scan", shapes[i].name, peak, SCAN_CEILING);
    if (heap_bytes != before)
      fail("left by a scan", shapes[i].name, heap_bytes - before, 0);
    free(mail.text);
  }
}

/* The first round warms up: the C library reads the time zone once. */
static void check_growth(const struct MAIL* mails, int count, void* context,
                         int scans) {
  long before = 0;
  int i;
  for (i = 0; i < count + scans; i++) {
    if (i == count) before = heap_bytes;
    scan(&mails[i % count], context);
  }
  if (heap_bytes != before)
    fail("left by all scans", context ? "with a context" : "without one",
         heap_bytes - before, 0);
}

static void* measure(void* unused) {
  static struct MAIL mails[MAX_MAILS];
  const int count = read_folder("tests/golden", mails);
  const long before = heap_bytes;
  void* const context = QmCreateSpeedupContextWith(NULL);
  const long of_context = heap_bytes - before;
  (void)unused;
#ifdef __SANITIZE_ADDRESS__
  printf("not measured: the sanitizer has a heap of its own\n");
#endif
  if (!context || count == 0) {
    printf("no context, or no messages in tests/golden\n");
    failures++;
    return NULL;
  }
  if (verbose) printf("%-20s %9ld bytes\n", "a context", of_context);
  if (of_context > CONTEXT_CEILING)
    fail("a context", "built in", of_context, CONTEXT_CEILING);
  scan(&mails[0], context);
  check_ceilings(context);
  check_growth(mails, count, context, SCANS);
  check_growth(mails, LONE_SCANS, NULL, LONE_SCANS);
  QmReleaseSpeedupContext(context);
  return NULL;
}

int main(int argc, char** argv) {
  pthread_attr_t attributes;
  pthread_t thread;
  verbose = argc > 1 && strcmp(argv[1], "-v") == 0;
  pthread_attr_init(&attributes);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  /* Sanitizers make frames larger. */
  pthread_attr_setstacksize(&attributes, STACK_BYTES);
#endif
  if (pthread_create(&thread, &attributes, measure, NULL) != 0) {
    printf("no thread\n");
    return 1;
  }
  pthread_join(thread, NULL);
  return failures != 0;
}
