// The opening of log files, replaced by a test.

#ifndef TESTS_INSTRUMENTATION_PRIVATE_LOG_H
#define TESTS_INSTRUMENTATION_PRIVATE_LOG_H

#include <cstdio>

// Called in place of win32::OpenPrivateLog, also by the library; null calls the original.
extern std::FILE* (*gOpenPrivateLog)(const char* path);

#endif
