// The directory walks. A wildcard becomes a pattern of the engine, compiled
// once for a walk; both walks go by stat, so links count as what they lead to.
// Only the deletion of a tree looks at the links themselves: it must not leave
// the tree. Tested by read_dir_test.cc.

#include "scan/read_dir.h"

#include <dirent.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "regex/zr_regex.h"

static const size_t kMaxWildcard = 65536;  // the engine's limit is below
static const uint32_t kListBytes = 4096;   // of the vectors, and their growth

int READDIRCLIENT::foundFile(READDIR*, const char*) {
  return 1;
}

int DIRITERCLIENT::foundDir(DIRITER*, const char*) {
  return 1;
}

static const char kOneCharacter[] = ".{1}";  // the longest replacement

// "^" and the wildcard as the engine reads it. Without "$", on purpose.
// `pattern` has room for all of it.
static void WildcardToPattern(const char* wildcard, STR& pattern) {
  pattern += '^';
  for (const char* p = wildcard; *p; p++) {
    switch (*p) {
      case '.':
        pattern += "\\.";
        break;
      case '*':
        pattern += ".*";
        break;
      case '?':
        pattern += kOneCharacter;
        break;
      default:
        pattern += *p;
    }
  }
}

// False without memory for the path.
static bool JoinPath(const char* directory, const char* name, STR& path) {
  const size_t length = strlen(directory);
  const bool open = length == 0 || directory[length - 1] != '/';
  const char* const parts[] = {directory, open ? "/" : "", name};
  return path.join(parts, 3) != 0;
}

// False when `stat` does not get through to it.
static bool StatMode(const char* path, mode_t* mode) {
  struct stat about;
  if (stat(path, &about) != 0) return false;
  *mode = about.st_mode;
  return true;
}

static void WalkFiles(READDIR* walk, READDIRCLIENT* client,
                      const char* directory, const zr_regex* pattern) {
  DIR* stream = opendir(directory);
  if (!stream) return;
  STR path;
  while (const dirent* entry = readdir(stream)) {
    mode_t mode;
    if (!JoinPath(directory, entry->d_name, path) ||
        !StatMode(path.c_str(), &mode) || S_ISDIR(mode))
      continue;
    if (zr_regexec(pattern, entry->d_name, 0, nullptr, 0) == ZR_OK &&
        client->foundFile(walk, path.c_str()) == 0)
      break;
  }
  closedir(stream);
}

READDIR::READDIR(READDIRCLIENT* client, const char* directory,
                 const char* wildcard) {
  if (!client || !directory || !wildcard) return;
  const size_t length = strlen(wildcard);
  if (length > kMaxWildcard) return;
  STR pattern(static_cast<int32_t>(1 + length * strlen(kOneCharacter)));
  if (!pattern.text) return;
  WildcardToPattern(wildcard, pattern);
  zr_regex* compiled = zr_regalloc();
  if (compiled && zr_regcomp(compiled, pattern.c_str(), 0) == ZR_OK)
    WalkFiles(this, client, directory, compiled);
  zr_regfree(compiled);
}

DIRITER::DIRITER(DIRITERCLIENT* client, const char* directory) {
  if (!client || !directory) return;
  DIR* stream = opendir(directory);
  if (!stream) return;
  STR path;
  while (const dirent* entry = readdir(stream)) {
    const char* name = entry->d_name;
    mode_t mode;
    if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0) continue;
    if (JoinPath(directory, name, path) && StatMode(path.c_str(), &mode) &&
        S_ISDIR(mode))
      client->foundDir(this, path.c_str());
  }
  closedir(stream);
}

PURGER::PURGER(APPLOG* owner) : log(owner), paths(kListBytes, kListBytes) {}

int PURGER::foundFile(READDIR*, const char* path) {
  paths.insSorted(path);
  return 1;
}

DIRLISTER::DIRLISTER(const char* name, int32_t depth)
    : directory(name),
      files(kListBytes, kListBytes),
      directories(kListBytes, kListBytes),
      depth_(depth) {}

int DIRLISTER::foundFile(READDIR*, const char* path) {
  files.add(path);
  return 1;
}

// A link to a directory is a file here: entered, it would lead the deletion
// out of the tree.
int DIRLISTER::foundDir(DIRITER*, const char* path) {
  struct stat about;
  if (lstat(path, &about) != 0) return 1;
  if (S_ISLNK(about.st_mode))
    files.add(path);
  else
    directories.add(path);
  return 1;
}

void DIRLISTER::deleteAll() {
  for (int32_t i = 0; depth_ < kMaxDepth && i < directories.count(); i++) {
    const char* name = directories.text(i);
    DIRLISTER inner(name, depth_ + 1);
    READDIR readFiles(&inner, name, "*");
    DIRITER readDirectories(&inner, name);
    inner.deleteAll();
  }
  for (int32_t i = 0; i < files.count(); i++) unlink(files.text(i));
  rmdir(directory.c_str());
}
