/*
 * A filter for a mail server's delivery: takes one message on standard input
 * and writes it on standard output with its header rewritten. The verdict goes
 * to standard error.
 *
 *   host [RECIPIENT] < MESSAGE
 *
 * Whatever goes wrong with the scan, the message comes out as it went in: a
 * filter that loses mail is worse than none. Exit code 0, or 1 when the message
 * could not be read or written.
 */
#include <quaymarsh.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Reads all of a file. Null when that fails; else the caller frees it. */
static unsigned char* ReadAll(FILE* file, size_t* length) {
  size_t room = 65536;
  unsigned char* bytes = malloc(room);
  *length = 0;
  while (bytes != NULL) {
    *length += fread(bytes + *length, 1, room - *length, file);
    if (*length < room) {
      if (!ferror(file)) return bytes;
      free(bytes);
      return NULL;
    }
    if (room > 512u << 20) break;
    {
      unsigned char* more = realloc(bytes, room *= 2);
      if (more == NULL) break;
      bytes = more;
    }
  }
  free(bytes);
  return NULL;
}

/* Turns letter pairs, as causes are written in, into text, in place. */
static void Decode(char* text) {
  size_t length = strlen(text), i;
  for (i = 0; i + 1 < length; i += 2) {
    int first = text[i], second = text[i + 1];
    int even = i / 2 % 2 == 0;
    text[i / 2] = (char)(even ? first - 'f' + 17 * (second - 'b')
                              : 17 * (first - 'b') + second - 'f');
  }
  text[i / 2] = '\0';
}

/*
 * Scans. Returns the state, or what QmScanMessage returns on errors. On
 * success *header is the new header block, to be freed, or null when there is
 * none.
 */
static int Scan(QMINFO* info, void* context, char** header) {
  int size = (int)info->msgLength + 4096;
  int state = QM_ERROR_RECORD, round;
  *header = NULL;
  /* The block may need more room than we thought; the scan says how much. */
  for (round = 0; round < 2; round++) {
    *header = malloc((size_t)size);
    if (*header == NULL) return QM_ERROR_RECORD;
    info->headerOut = *header;
    info->headerOutSize = size;
    state = QmScanMessageWithContext(info, context);
    if (state < 0 || info->headerOutLength > 0) break;
    free(*header);
    *header = NULL;
    if (info->headerOutSize <= size) break; /* there is no header */
    size = info->headerOutSize + 1;
  }
  if (state < 0) {
    free(*header);
    *header = NULL;
  }
  return state;
}

int main(int argc, char** argv) {
  static char cause[16384];
  static char version[64];
  QMGLOBALSETUP system_wide;
  QMUSERSETUP recipient;
  QMINFO info;
  char* header = NULL;
  size_t length, skipped = 0;
  int state, written;
  void* context;
  unsigned char* mail = ReadAll(stdin, &length);

  if (mail == NULL) {
    fprintf(stderr, "host: the message cannot be read\n");
    return 1;
  }
  /* Both setups have to allow a check. */
  memset(&system_wide, 0, sizeof system_wide);
  memset(&recipient, 0, sizeof recipient);
  system_wide.flags = QM_CHECK_VIRUS | QM_CHECK_NOTIFICATION;
  recipient.flags = system_wide.flags;

  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  info.flags = QM_WANT_CAUSE | QM_REWRITE_HEADER;
  info.msg = mail;
  info.msgLength = (unsigned int)length;
  info.user = argc > 1 ? argv[1] : NULL;
  info.globalSetup = &system_wide;
  info.userSetup = &recipient;
  info.subjectTag = "[spam?] ";
  info.cause = cause;
  info.causeSize = sizeof cause;
  info.version = version;
  info.versionSize = sizeof version;

  /* A server makes it once and shares it between its threads. */
  context = QmCreateSpeedupContext();
  state = Scan(&info, context, &header);
  QmReleaseSpeedupContext(context);

  if (state < 0) {
    fprintf(stderr, "host: not scanned: error %d\n", state);
  } else {
    if (state != QM_STATE_VIRUS) Decode(cause); /* that one is plain */
    fprintf(stderr, "host: state %d, score %d\nhost: %s\n", state, info.score,
            cause);
  }
  if (header != NULL) {
    fwrite(header, 1, (size_t)info.headerOutLength, stdout);
    skipped = (size_t)info.headerLength;
  }
  fwrite(mail + skipped, 1, length - skipped, stdout);
  written = fflush(stdout) == 0 && !ferror(stdout);
  free(header);
  free(mail);
  return written ? 0 : 1;
}
