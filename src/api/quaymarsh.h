/*
 * quaymarsh.h: the interface of libquaymarsh, a mail-content filter.
 *
 * A host hands over one raw RFC 822 message and gets a state, a score and a
 * cause text, and on request the header block rewritten. The library uses no
 * network, starts no thread, takes no lock and keeps nothing between calls but
 * what a speedup context holds. Scans may run in parallel, each on its own
 * record; they may share one context, which must not be released while a scan
 * uses it. A scan needs about 256 KiB of stack.
 *
 * All pointers in a record stay the host's: they are read or filled during the
 * call and not kept. Message, lists and texts are never written to. Texts are
 * NUL-terminated bytes in the encoding of the mail; paths are the file
 * system's bytes.
 *
 * This header is plain C89 and also C++. The records are binary interfaces:
 * 4-byte integers, packed to 4 bytes, little-endian.
 */
#ifndef QUAYMARSH_H_
#define QUAYMARSH_H_

#if defined(__GNUC__)
#define QM_API __attribute__((visibility("default")))
#else
#define QM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What a scan returns when it did not run. The first one stands for a null
 * record, a size below that of version 1, no msg, or no memory for it. */
#define QM_ERROR_RECORD (-1)
#define QM_ERROR_KEYWORDS (-2) /* keywordFile could not be loaded */
#define QM_ERROR_FILE (-3)     /* msgPath could not be read */

/* States: what a scan that ran returns, and QMINFO.state. */
#define QM_STATE_CLEAN 0
#define QM_STATE_SPAM 1
#define QM_STATE_VIRUS 2
#define QM_STATE_NOTIFICATION 3
#define QM_STATE_SUSPECT 5
#define QM_STATE_COMMERCIAL_P 10 /* commercial, class "PCE" */
#define QM_STATE_COMMERCIAL_M 11 /* by word groups, or class "MCE" */
#define QM_STATE_COMMERCIAL_D 12 /* class "DCE" */

/* QMINFO.flags. Bit 5 (0x20) is accepted and has no effect. */
#define QM_WANT_CAUSE 0x01u     /* fill cause, and paramsOut */
#define QM_FROM_FILE 0x02u      /* the message is the file msgPath, not msg */
#define QM_REWRITE_HEADER 0x04u /* fill headerOut */
#define QM_NO_BAILOUT 0x08u     /* no early exit by score */
#define QM_SKIP_EMAILS 0x10u    /* leave out the sender-address checks */
#define QM_FLAG_BIT5 0x20u

/* The flag words of the two setups. */
#define QM_CHECK_VIRUS 0x01u        /* runs when set in both words */
#define QM_CHECK_NOTIFICATION 0x02u /* runs when set in both words */
#define QM_ALLOW_EASTERN 0x04u      /* in either: Cyrillic, Greek not scored */
#define QM_ALLOW_ASIAN 0x08u        /* in either: Asian text not scored */
#define QM_FORBID_LATIN 0x10u       /* in either: Latin text is scored */
#define QM_CHECK_COMMERCIAL 0x20u   /* in both, or profile "CheckCE" */
#define QM_CHECK_SUSPECT 0x40u      /* in both, or profile "CheckSuspect" */

#pragma pack(push, 4)

/* System-wide setup. `value` is carried along and changes nothing. */
typedef struct QMGLOBALSETUP {
  int value;          /* default 8 */
  unsigned int flags; /* QM_CHECK_... and so on; default 0 */
} QMGLOBALSETUP;

/* The recipient's setup. The values are carried along and change nothing. */
typedef struct QMUSERSETUP {
  int value1;         /* default 20 */
  int value2;         /* default -100 */
  int value3;         /* default 200 */
  int value4;         /* default 0 */
  unsigned int flags; /* as above; default 0 */
} QMUSERSETUP;

/*
 * The scan record. Set it to zero, set `size` to sizeof(QMINFO), then fill in
 * what is needed. `size` tells the version of the record, so that a host built
 * against an older header keeps working: up to `bailout` version 1 (100 bytes
 * on 32 bits), up to `params` version 2 (108), all of it version 3 (120).
 * Fields of a later version are neither read nor written.
 *
 * A size field below 0 counts as 0. Output buffers are zeroed over their whole
 * stated size and then hold at most size - 1 bytes. `cause` (but for a virus)
 * and `paramsOut` are written in letter pairs, two letters for each byte; see
 * doc/letter-pairs.md. `quaymarsh decode` reads them.
 */
typedef struct QMINFO {
  unsigned int size;                /* in: bytes of this record */
  unsigned int flags;               /* in: QM_WANT_CAUSE and so on */
  unsigned int msgLength;           /* in: bytes of msg; 0 returns 0 at once */
  const unsigned char* msg;         /* in: the message */
  const char* msgPath;              /* in: its file, with QM_FROM_FILE */
  const char* user;                 /* in: recipient's address, or null */
  unsigned int globalListLength;    /* in: bytes */
  const unsigned char* globalList;  /* in: system's sender list, or null */
  unsigned int userListLength;      /* in: bytes */
  const unsigned char* userList;    /* in: recipient's sender list, or null */
  const char* keywordFile;          /* in: dictionary to use instead, or null */
  char* headerOut;                  /* in: buffer for the rewritten header */
  int headerOutSize;                /* in: its size; out: the size needed, when
                                       it was smaller. Give one byte more than
                                       needed: the block ends in a NUL */
  const QMUSERSETUP* userSetup;     /* in: null for the defaults */
  const QMGLOBALSETUP* globalSetup; /* in: null for the defaults */
  int headerLength;                 /* out: bytes of header in the message, so
                                       that the host can replace them */
  int headerOutLength;    /* out: bytes of headerOut, 0: did not fit */
  const char* subjectTag; /* in: goes in front of the subject when the
                             state is not 0, or null */
  int state;              /* out: QM_STATE_... */
  int score;              /* out: above 99 is spam */
  char* cause;            /* in: buffer for the cause, or null */
  int causeSize;          /* in: its size */
  unsigned int reserved;  /* not read, not written */
  char* version;          /* in: buffer for the version, or null */
  int versionSize;        /* in: its size */
  /* from version 2 on */
  int bailout; /* in: score that ends a scan; taken above 99, else 300 */
  const char* profile; /* in: profile words, comma-separated, or null */
  /* from version 3 on */
  const char* params; /* in: parameter lines, separated by LF, or null */
  char* paramsOut;    /* in: buffer for the encoded copy of params, or null */
  int paramsOutSize;  /* in: its size */
} QMINFO;

#pragma pack(pop)

/*
 * Scan one message without a context. Returns the state, or QM_ERROR_... . A
 * message of length 0 in memory returns 0 with nothing else written; state and
 * score are written only by a scan that ran.
 */
QM_API int QmScanMessage(QMINFO* info);

/* The same with a context; a null one is no context. */
QM_API int QmScanMessageWithContext(QMINFO* info, void* context);

/*
 * Builds what all scans can share, once. Null when memory is short. The patch
 * list qmpatch.list is looked for in `directory` (when not null), then in
 * /etc/quaymarsh, then in the working directory; the profile words are the
 * first line of /etc/oakrun/quaymarsh/profile.txt. Neither needs to exist.
 */
QM_API void* QmCreateSpeedupContext(void);
QM_API void* QmCreateSpeedupContextWith(const char* directory);

/* Null is ignored. */
QM_API void QmReleaseSpeedupContext(void* context);

/*
 * Scan without a record, without a context and without a log line; no virus
 * and no notification check. The lists are NUL-terminated texts or null.
 * Returns the state and stores the score; -1 for a null msg or score.
 */
QM_API int qmStandaloneScan(const unsigned char* msg, unsigned long length,
                            const char* user, const char* globalList,
                            const char* userList, int* score);

/*
 * The same with virus and notification checks; the third argument is ignored.
 * When cause is not null and causeSize above 0, the plain cause text is stored,
 * at most causeSize - 1 bytes, and the rest of the buffer is zeroed.
 */
QM_API int qmStandaloneScanWithCause(const unsigned char* msg,
                                     unsigned long length, const char* ignored,
                                     const char* globalList,
                                     const char* userList, int* score,
                                     char* cause, int causeSize);

/*
 * The score alone, with virus and notification checks; -1 for a null msg, 0
 * for a length of 0.
 */
QM_API int QuayMarshNotes(const unsigned char* msg, unsigned long length,
                          const char* user, const char* globalList,
                          const char* userList);

#ifdef __cplusplus
}
#endif

#endif /* QUAYMARSH_H_ */
