// Debug settings, traces, the dialog of a failed assertion, and the debugger.
//
//     if (krobase::debug::TraceEnabled("host", 2, true))
//         krobase::debug::Trace("loading\n");
//
// platform/control.h sets the settings, and turns traces on.
//
// Thread safety: all functions may be called on any thread.

#ifndef KROBASE_DEBUG_H
#define KROBASE_DEBUG_H

#include <string>

#include <platform/base/export.h>

namespace krobase
{
namespace debug
{
// The debug settings: texts by key. One object for the process.
//
// Throws: std::bad_alloc.
class PLATFORM_EXPORT DebugDatabase
{
public:
    static DebugDatabase& Instance();

    // Returns the text of an entry, or the default text without an entry. Null counts as an
    // empty key or text.
    std::string GetEntry(const char* key, const char* defaultText) const;

    // Stores an entry. A null text removes the entry. A null key does nothing.
    void SetEntry(const char* key, const char* text);
    void Clear();

private:
    DebugDatabase() = default;
};

// Returns a number that changes with each change of the trace settings. It is never negative.
// A trace site calls TraceEnabled again only after this number has changed.
PLATFORM_EXPORT int TraceChangeCount();

// Returns whether the category is traced at the level. If `askSettings` is false, returns
// false and does not read the settings.
PLATFORM_EXPORT bool TraceEnabled(const char* category, int level, bool askSettings);

// Writes text to the trace. The text ends its own lines.
//
// Throws: the exceptions of the sink of traces.
PLATFORM_EXPORT void Trace(const char* text);

// Shows a failed assertion through the presenter of alerts, and waits for the developer's
// answer. Texts are in UTF-8. A null or empty text is left out.
//
// Returns: true for "break into the debugger". The caller then calls BreakIntoDebugger.
// ignoreAlways: becomes true for "do not ask for this assertion again", for the caller to
//   store. Any other answer leaves `ignoreAlways` as it is.
// Throws: the exceptions of the presenter; std::bad_alloc.
PLATFORM_EXPORT bool BreakAfterAssertDialog(bool& ignoreAlways, const char* expression,
                                            const char* message, const char* file, int line,
                                            const char* function);

PLATFORM_EXPORT bool IsDebuggerAttached();

// Stops the calling thread in the debugger. Without a debugger the process ends, so callers
// call IsDebuggerAttached first.
PLATFORM_EXPORT void BreakIntoDebugger();
} // namespace debug
} // namespace krobase

#endif
