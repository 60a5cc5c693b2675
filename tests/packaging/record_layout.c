/*
 * Prints the layout of the public records, for layout_test.sh: the size of
 * each, then offset and size of its fields. Fails when a field is missing
 * here, which shows in a gap: the records are packed and have no padding.
 */
#include "quaymarsh.h"

#include <stddef.h>
#include <stdio.h>

static size_t end = 0;
static int gaps = 0;

static void Begin(const char* record, size_t size) {
  printf("%s %lu\n", record, (unsigned long)size);
  end = 0;
}

static void Field(const char* name, size_t offset, size_t size) {
  printf("%s %lu %lu\n", name, (unsigned long)offset, (unsigned long)size);
  if (offset != end) {
    fprintf(stderr, "There is something in front of %s\n", name);
    gaps++;
  }
  end = offset + size;
}

static void End(const char* record, size_t size) {
  if (end != size) {
    fprintf(stderr, "There is something at the end of %s\n", record);
    gaps++;
  }
}

#define FIELD(record, name) \
  Field(#record "." #name, offsetof(record, name), sizeof(((record*)0)->name))

int main(void) {
  Begin("QMGLOBALSETUP", sizeof(QMGLOBALSETUP));
  FIELD(QMGLOBALSETUP, value);
  FIELD(QMGLOBALSETUP, flags);
  End("QMGLOBALSETUP", sizeof(QMGLOBALSETUP));

  Begin("QMUSERSETUP", sizeof(QMUSERSETUP));
  FIELD(QMUSERSETUP, value1);
  FIELD(QMUSERSETUP, value2);
  FIELD(QMUSERSETUP, value3);
  FIELD(QMUSERSETUP, value4);
  FIELD(QMUSERSETUP, flags);
  End("QMUSERSETUP", sizeof(QMUSERSETUP));

  Begin("QMINFO", sizeof(QMINFO));
  FIELD(QMINFO, size);
  FIELD(QMINFO, flags);
  FIELD(QMINFO, msgLength);
  FIELD(QMINFO, msg);
  FIELD(QMINFO, msgPath);
  FIELD(QMINFO, user);
  FIELD(QMINFO, globalListLength);
  FIELD(QMINFO, globalList);
  FIELD(QMINFO, userListLength);
  FIELD(QMINFO, userList);
  FIELD(QMINFO, keywordFile);
  FIELD(QMINFO, headerOut);
  FIELD(QMINFO, headerOutSize);
  FIELD(QMINFO, userSetup);
  FIELD(QMINFO, globalSetup);
  FIELD(QMINFO, headerLength);
  FIELD(QMINFO, headerOutLength);
  FIELD(QMINFO, subjectTag);
  FIELD(QMINFO, state);
  FIELD(QMINFO, score);
  FIELD(QMINFO, cause);
  FIELD(QMINFO, causeSize);
  FIELD(QMINFO, reserved);
  FIELD(QMINFO, version);
  FIELD(QMINFO, versionSize);
  FIELD(QMINFO, bailout);
  FIELD(QMINFO, profile);
  FIELD(QMINFO, params);
  FIELD(QMINFO, paramsOut);
  FIELD(QMINFO, paramsOutSize);
  End("QMINFO", sizeof(QMINFO));
  return gaps != 0;
}
