// The daily log.

#include "scan/app_log.h"

APPLOG::APPLOG(const char* directory, const char* name, int32_t files)
    : dirName(directory), logName(name), keepFiles(files) {}

void APPLOG::log(const char* /*a*/, const char* /*b*/) {}

void APPLOG::forceHouseKeepingAt(const char* /*time*/) {}
