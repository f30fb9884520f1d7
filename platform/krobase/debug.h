// Debug settings, traces, the dialog of an assertion, and the debugger.
//
// Thread safety: any thread.

#ifndef KROBASE_DEBUG_H
#define KROBASE_DEBUG_H

#include <string>

#include <platform/base/export.h>

namespace krobase
{
namespace debug
{
// Settings by key, as text.
class PLATFORM_EXPORT DebugDatabase
{
public:
    static DebugDatabase& Instance();

    // The entry's text, or the default's if there is none.
    std::string GetEntry(const char* key, const char* defaultText) const;

    // Sets an entry; a null text removes it, and a null key does nothing.
    void SetEntry(const char* key, const char* text);
    void Clear();

private:
    DebugDatabase() = default;
};

// Changes whenever the trace settings change. Never negative.
PLATFORM_EXPORT int TraceChangeCount();

// Whether the category is traced at that level. askSettings false answers
// false without a look at the settings.
PLATFORM_EXPORT bool TraceEnabled(const char* category, int level, bool askSettings);

// Writes text, which ends its own lines, to the trace.
PLATFORM_EXPORT void Trace(const char* text);

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
