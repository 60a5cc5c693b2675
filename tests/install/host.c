/*
 * A host as small as can be, for install_test.sh: one scan through each way
 * in. It knows nothing of the source tree.
 */
#include <quaymarsh.h>
#include <stdio.h>
#include <string.h>

static const char kMail[] =
    "From: Ann <ann@example.org>\r\n"
    "To: bob@example.org\r\n"
    "Subject: Lunch\r\n"
    "Date: Tue, 4 Mar 2003 10:20:30 +0100\r\n"
    "Message-ID: <20030304102030.1@example.org>\r\n"
    "\r\n"
    "Shall we meet at noon?\r\n";

int main(void) {
  char cause[1024];
  QMINFO info;
  FILE* file;
  void* context;
  int result;
  int score = -12345;

  memset(&info, 0, sizeof info);
  info.size = sizeof info;
  info.flags = QM_WANT_CAUSE;
  info.msg = (const unsigned char*)kMail;
  info.msgLength = sizeof kMail - 1;
  info.cause = cause;
  info.causeSize = sizeof cause;
  info.state = -12345;
  result = QmScanMessage(&info);
  if (result < 0 || info.state != result) {
    printf("QmScanMessage: %d, state %d\n", result, info.state);
    return 1;
  }

  context = QmCreateSpeedupContext();
  if (context == NULL) {
    printf("no context\n");
    return 1;
  }
  if (QmScanMessageWithContext(&info, context) != result) {
    printf("a context changes the result\n");
    return 1;
  }
  QmReleaseSpeedupContext(context);

  if (qmStandaloneScan(info.msg, info.msgLength, NULL, NULL, NULL, &score) <
          0 ||
      score == -12345) {
    printf("qmStandaloneScan failed\n");
    return 1;
  }

  /* For the command line, which is tried next. */
  file = fopen("host.eml", "wb");
  if (file == NULL ||
      fwrite(kMail, 1, sizeof kMail - 1, file) != sizeof kMail - 1 ||
      fclose(file) != 0) {
    printf("host.eml cannot be written\n");
    return 1;
  }
  return 0;
}
