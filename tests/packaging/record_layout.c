/*
 * Prints the layout of the public records, for layout_test.sh: the size of
 * each, then offset and size of its fields. Fails when a field is missing
 * here, which shows in a gap: the records are packed and have no padding.
 */
#include "quaymarsh.h"

#include <stddef.h>
#include <stdio.h>

static int gaps = 0;

typedef struct Row {
  const char* name;
  size_t offset, size;
} Row;

static void Record(const char* record, size_t size, const Row* row) {
  size_t end = 0;
  printf("%s %lu\n", record, (unsigned long)size);
  for (; row->name; end = row->offset + row->size, row++) {
    printf("%s.%s %lu %lu\n", record, row->name, (unsigned long)row->offset,
           (unsigned long)row->size);
    if (row->offset == end) continue;
    fprintf(stderr, "There is something in front of %s\n", row->name);
    gaps++;
  }
  if (end == size) return;
  fprintf(stderr, "There is something at the end of %s\n", record);
  gaps++;
}

#define ROW(record, name) \
  { #name, offsetof(record, name), sizeof(((record*)0)->name) }
#define GLOBAL(name) ROW(QMGLOBALSETUP, name)
#define USER(name) ROW(QMUSERSETUP, name)
#define INFO(name) ROW(QMINFO, name)

int main(void) {
  static const Row global[] = {GLOBAL(value), GLOBAL(flags), {0}};
  static const Row user[] = {USER(value1), USER(value2), USER(value3),
                             USER(value4), USER(flags),  {0}};
  static const Row info[] = {INFO(size),
                             INFO(flags),
                             INFO(msgLength),
                             INFO(msg),
                             INFO(msgPath),
                             INFO(user),
                             INFO(globalListLength),
                             INFO(globalList),
                             INFO(userListLength),
                             INFO(userList),
                             INFO(keywordFile),
                             INFO(headerOut),
                             INFO(headerOutSize),
                             INFO(userSetup),
                             INFO(globalSetup),
                             INFO(headerLength),
                             INFO(headerOutLength),
                             INFO(subjectTag),
                             INFO(state),
                             INFO(score),
                             INFO(cause),
                             INFO(causeSize),
                             INFO(reserved),
                             INFO(version),
                             INFO(versionSize),
                             INFO(bailout),
                             INFO(profile),
                             INFO(params),
                             INFO(paramsOut),
                             INFO(paramsOutSize),
                             {0}};
  Record("QMGLOBALSETUP", sizeof(QMGLOBALSETUP), global);
  Record("QMUSERSETUP", sizeof(QMUSERSETUP), user);
  Record("QMINFO", sizeof(QMINFO), info);
  return gaps != 0;
}
