// Developers: the dialog of an assertion, and the debugger. Any thread.

#ifndef KROBASE_DEBUGGER_H
#define KROBASE_DEBUGGER_H

#include "../export.h"

namespace krobase
{
namespace debug
{
// Shows a failed assertion through the host's presenter of alerts and waits for
// the developer's answer. Returns whether it was to break into the debugger;
// ignoreAlways becomes true, for the caller to keep, if it was to go on and
// never ask for this assertion again, and stays as it is otherwise. Texts are
// in UTF-8; a null one, or an empty message, is left out. Throws what the
// presenter throws.
PLATFORM_EXPORT bool BreakAfterAssertDialog(bool& ignoreAlways, const char* expression,
                                            const char* message, const char* file, int line,
                                            const char* function);

PLATFORM_EXPORT bool IsDebuggerAttached();

// Stops the calling thread in the debugger. Without one the process ends, so ask
// first.
PLATFORM_EXPORT void BreakIntoDebugger();
} // namespace debug
} // namespace krobase

#endif
