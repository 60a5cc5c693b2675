/*
 * What the C programs beside this file share: checks that count and name the
 * row in hand, and buffers of exact size. Everything is static, so that each
 * program is one file to compile.
 */
#ifndef TESTS_API_HOST_CHECK_H_
#define TESTS_API_HOST_CHECK_H_

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

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

#endif /* TESTS_API_HOST_CHECK_H_ */
