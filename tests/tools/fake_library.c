/*
 * A library for cli_test.sh to load in front of the real one, so that every
 * state, return code and buffer size can be had at will. The message tells
 * what to answer, a line each:
 *
 *   fake return N   refuse the scan with N
 *   fake state N    fake score N    fake length N (headerLength)
 *   fake cause TEXT
 *   fake pad N      N more bytes at the end of the cause
 *   fake header N   a rewritten header of N bytes
 *   fake echo 1     the cause tells what the record holds
 */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "quaymarsh.h"

#define TEXT_BYTES 2000000

static const char version_text[] =
    "Quay Marsh 01.333.21 AV+AS Profile: a; Bailout: b; Bailout: 300";

static char context[1];
static char text[TEXT_BYTES];

/* The rest of the line behind "fake KEY ", or null. */
static const char* find(const QMINFO* info, const char* key) {
  static char value[4096];
  char wanted[32];
  size_t length = (size_t)sprintf(wanted, "fake %s ", key);
  const char* at = (const char*)info->msg;
  const char* end = at + info->msgLength;
  for (; at + length <= end; ++at) {
    size_t i = 0;
    if (memcmp(at, wanted, length) != 0) continue;
    at += length;
    while (at + i < end && at[i] != '\n' && i + 1 < sizeof value) {
      value[i] = at[i];
      ++i;
    }
    value[i] = '\0';
    return value;
  }
  return NULL;
}

static int number(const QMINFO* info, const char* key, int otherwise) {
  const char* value = find(info, key);
  return value ? atoi(value) : otherwise;
}

static void append(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsprintf(text + strlen(text), format, arguments);
  va_end(arguments);
}

static const char* shown(const char* value) {
  return value ? value : "-";
}

static void append_record(const QMINFO* info, const void* given) {
  append("size=%d flags=%u context=%d", info->size == sizeof *info, info->flags,
         given == context);
  append(" user=%s lists=%u/%u keywords=%s tag=%s", shown(info->user),
         info->globalListLength, info->userListLength, shown(info->keywordFile),
         shown(info->subjectTag));
  append(" bailout=%d profile=%s params=%s", info->bailout,
         shown(info->profile), shown(info->params));
  if (info->userSetup && info->globalSetup) {
    append(" setup=%d,%d,%d,%d,%u/%d,%u", info->userSetup->value1,
           info->userSetup->value2, info->userSetup->value3,
           info->userSetup->value4, info->userSetup->flags,
           info->globalSetup->value, info->globalSetup->flags);
  }
  append(" (1)");
}

/* Written from the description of the format, not from the library's code. */
static void encode(const char* plain, char* out, int size) {
  int i;
  memset(out, 0, (size_t)size);
  for (i = 0; plain[i / 2] != '\0' && i + 1 < size; ++i) {
    const int byte = (unsigned char)plain[i / 2];
    const int odd_byte = (i / 2) % 2;
    const int wants_quotient = (i % 2) != odd_byte;
    out[i] = (char)(wants_quotient ? 'b' + byte / 17 : 'f' + byte % 17);
  }
}

static void write_header(QMINFO* info, int length) {
  if (!(info->flags & QM_REWRITE_HEADER) || length < 4) return;
  if (info->headerOutSize < length) {
    info->headerOutSize = length;
    return;
  }
  info->headerOutLength = length;
  if (info->headerOutSize == length) return;
  memset(info->headerOut, 'h', (size_t)length);
  memcpy(info->headerOut + length - 4, "\r\n\r\n", 5);
}

static void write_cause(QMINFO* info, const void* given) {
  const char* cause = find(info, "cause");
  const int pad = number(info, "pad", 0);
  size_t length;
  text[0] = '\0';
  append("%s; ", version_text);
  if (cause) append("%s", cause);
  if (find(info, "echo")) append_record(info, given);
  length = strlen(text);
  memset(text + length, 'p', (size_t)pad);
  text[length + (size_t)pad] = '\0';
  if (info->state != QM_STATE_VIRUS) {
    encode(text, info->cause, info->causeSize);
    return;
  }
  memset(info->cause, 0, (size_t)info->causeSize);
  strncpy(info->cause, text, (size_t)info->causeSize - 1);
}

QM_API int QmScanMessageWithContext(QMINFO* info, void* given) {
  const int result = number(info, "return", 0);
  if (result < 0) return result;
  info->state = number(info, "state", 0);
  info->score = number(info, "score", 0);
  info->headerLength = number(info, "length", 0);
  write_cause(info, given);
  write_header(info, number(info, "header", 0));
  return info->state;
}

QM_API void* QmCreateSpeedupContextWith(const char* directory) {
  if (directory && strcmp(directory, "/") == 0) return NULL;
  return context;
}

QM_API void QmReleaseSpeedupContext(void* given) {
  (void)given;
}
