// Profile integers: settings by key, in UTF-16, kept for the life of the process.
// Any thread.

#ifndef TOLV_PROFILE_H
#define TOLV_PROFILE_H

#include <platform/base/export.h>

// Stores the value, or the default if there is none. Returns 0, or -50 for a
// null key or output.
PLATFORM_EXPORT short TOLV_GetProfileInt(const unsigned short* key, int defaultValue, int* out);

// The value, which must be there: -43 if it isn't.
PLATFORM_EXPORT short TOLV_GetRequiredProfileInt(const unsigned short* key, int* out);

// Returns 0, -50 for a null key, or -108 without memory, with nothing changed.
PLATFORM_EXPORT short TOLV_SetProfileInt(const unsigned short* key, int value);

#endif
