// Patches of the rule dictionary: compiled images whose sections change single
// lines of the sections of another one, named by a list. doc/keyword-image.md
// tells both formats. For the building of a context, not for scans.

#ifndef RULES_KW_PATCH_H_
#define RULES_KW_PATCH_H_

#include <stdint.h>

#include "base/block.h"
#include "base/str.h"
#include "base/tblock.h"

// Lines of a patch list beyond this many bytes are passed over.
const uint32_t kMaxPatchListLine = 4095;

// Loads an image from a file: its magic must be exact, its size that of the
// file, its tables inside; one in the other byte order is turned. 1, or 0 with
// `out` empty and, when `why` is not null, the reason.
int LoadKeywordImage(BLOCK* out, const char* path, STR* why);

// Without a list: loads baseFile. With one: the base and the images that the
// list names, merged; a list name that is no image is passed over. A baseFile
// with a "*" is no base but a mask, which a line of the list must fit. Without
// a base the library's own image is taken when the first image that loads
// holds patches; otherwise that image is the base.
//
// Gives the image in `out`, or null when there is nothing to use; `why`, when
// not null, gets the reasons, a line each, also those of files passed over.
const unsigned char* KwLoadKeywords(BLOCK* out, const char* baseFile,
                                    const char* listFile, STR* why);

// The image that the first usable patch list makes: "qmpatch.list" in
// `directory`, unless that is null, then in /etc/quaymarsh, then in the current
// directory. Null when none is usable.
const unsigned char* LoadPatchedKeywords(BLOCK* out, const char* directory);

#endif  // RULES_KW_PATCH_H_
