// UTF-8 by vectors: windows of well-formed text without characters above U+FFFF.

#ifndef WIN32_PORTABLE_UTF8_WINDOWS_H
#define WIN32_PORTABLE_UTF8_WINDOWS_H

#include <win32/machine.h>

#include "conversion.h"

namespace win32
{
// Returns true if the vectors may be used.
inline bool HasWindows()
{
    return IsProcessorFeaturePresent(kAVX2InstructionsAvailable) != 0;
}

// The sources before `stop` that the functions below need, as they read ahead.
const std::ptrdiff_t kLeastForWindows = 160;

// Convert text until a window is ill-formed or has another character, or fewer than
// kLeastForWindows sources are left before `stop`. They may overwrite one target for each source
// before `stop`, or three bytes for each unit, with unspecified values.
//
// REQUIRES: HasWindows(), and kLeastForWindows sources.
Cursor<Byte, Unit> PutWindows(Cursor<Byte, Unit> at, const Byte* stop);
Cursor<Unit, Byte> PutWindows(Cursor<Unit, Byte> at, const Unit* stop);
} // namespace win32

#endif
