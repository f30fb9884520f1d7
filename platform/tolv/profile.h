// Profile integers: settings by key, in UTF-16, kept until the process ends.
//
// Thread safety: all functions may be called on any thread.

#ifndef TOLV_PROFILE_H
#define TOLV_PROFILE_H

#include <platform/base/export.h>

// Stores the value, or the default if the key has no value. Returns 0, or -50 for a null key or
// output.
PLATFORM_EXPORT short TOLV_GetProfileInt(const unsigned short* key, int defaultValue, int* out);

// Stores the value. Returns 0, -43 if the key has no value, or -50 for a null key or output.
PLATFORM_EXPORT short TOLV_GetRequiredProfileInt(const unsigned short* key, int* out);

// Returns 0, -50 for a null key, or -108 without memory, with nothing changed.
PLATFORM_EXPORT short TOLV_SetProfileInt(const unsigned short* key, int value);

#endif
