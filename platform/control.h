// Switches of the platform layer: how a host without the real libraries says
// what they would know, and how a test sees what went out. Each takes effect
// at once, on all threads. All may be called on any thread.

#ifndef PLATFORM_CONTROL_H
#define PLATFORM_CONTROL_H

#include <boost/function.hpp>

#include <krobase/text.h>
#include <platform/base/export.h>

namespace platform
{
// Puts every switch back and sets every count to 0.
PLATFORM_EXPORT void ResetAll();

// The code page of multibyte text: 932, 936, 949, 950, 1250 to 1258, 10000,
// 10001, 10007 or 65001. Any other restores the default, 1252.
PLATFORM_EXPORT void SetActiveCodePage(unsigned int codePage);

// The user's locale, by an id such as "de_DE". A null or unknown one restores the
// default, "en_US".
PLATFORM_EXPORT void SetUserLocale(const char* localeId);

// Whether the system's script is a double-byte one; false at the start.
PLATFORM_EXPORT void SetDoubleByteScript(bool on);

// Debug settings, read through krobase::debug::DebugDatabase. A null text
// removes the entry.
PLATFORM_EXPORT void SetDebugSetting(const char* key, const char* text);

// Profile integers, read and written through TOLV. The key is ASCII. Throws
// std::bad_alloc.
PLATFORM_EXPORT void SetProfileInt(const char* key, int value);
PLATFORM_EXPORT void ClearProfile();

// Takes each log line, on the thread that logs, with no lock held; several threads may
// be in the sink at once. The texts are borrowed for the call, and any of them may be
// null. An exception of the sink reaches the caller that logs; the library goes on
// without the line.
//
// Level: 0 for reports, failures and the memory service; 10 for the steps of birth and
// death. Lines of higher levels are less important. No line has a level below 0.
//
// Encoding: UTF-8, except for a text that the library got from its caller and logs as
// it is, such as the name of an operation (active code page) and an exception's what().
// A sink gets the text raw, with all control characters. Before a sink writes the text to
// a terminal or a file of lines, it calls platform::Printable (base/printable.h).
//
// An empty sink restores the default sink, which writes each line to stderr as
// "[level] category tag: text". The default sink escapes control characters and bytes
// that are not UTF-8, as Printable does, except for tabs of the text. A line feed inside the text
// begins a new line with an indent of four spaces, so that no text can begin a line of
// the log; a line feed at the end of the text is left out.
//
// The default sink writes lines up to the level in the environment's U_LOG_LEVEL, which
// is read once; 0 if there is none. U_LOG_LEVEL=-1 silences the default sink, and so
// does a sink that does nothing:
//
//     platform::SetLogSink([](int, const char*, const char*, const char*) {});
typedef boost::function<void(int level, const char* category, const char* tag, const char* text)>
    LogSink;
PLATFORM_EXPORT void SetLogSink(const LogSink& sink);

// Turns traces of a category on, up to a level, beside those that are on already; null
// turns all off.
PLATFORM_EXPORT void SetTrace(const char* category, int level);

// Takes each trace, under the same rules as a log sink. An empty sink restores the
// default sink, which writes the trace to stderr with the escapes of Printable. The default
// sink keeps tabs and line ends, "\n" and "\r\n".
PLATFORM_EXPORT void SetTraceSink(const boost::function<void(const char* text)>& sink);

// The text of every OutputDebugStringA, on the thread that calls it, with no
// lock held. An empty sink restores the default sink, which writes to stderr as that for
// traces does.
PLATFORM_EXPORT void SetDebugStringSink(const boost::function<void(const char* text)>& sink);

// A developer's answer to an assertion.
enum AssertAnswer
{
    kAnswerGoOn,
    kAnswerBreak,     // break into the debugger
    kAnswerGoOnAlways // go on, and don't ask for this assertion again
};

// What a message box shows. An alert with an answer is an assertion; any other
// has one button, OK.
struct Alert
{
    bool throughHost; // through kroview's Messagebox, not through MessageBoxW
    bool hasTitle;
    krobase::utility::UTF16String title; // empty if there is none
    krobase::utility::UTF16String text;
    unsigned int flags;   // of MessageBoxW; 0 through the host
    int icon;             // of Messagebox; 0 through MessageBoxW
    float sizeHint;       // of Messagebox: 0, or the width that suits the text
    AssertAnswer* answer; // kAnswerGoOn until the presenter sets it; null if none is asked for
};

// Shows each alert, on the thread that calls the box and with no lock held, and
// returns when the user has dismissed it. What it throws reaches the caller of
// the box. An empty one restores the default, which writes the alert to stderr
// and returns; an assertion it answers with kAnswerBreak if a debugger is
// attached. alert/layout.h has what presenters need.
typedef boost::function<void(const Alert&)> AlertPresenter;
PLATFORM_EXPORT void SetAlertPresenter(const AlertPresenter& presenter);

// The modifier keys that are down, as GetCurrentKeyModifiers gives them; 0 at
// the start. Who sees the keyboard tells them here.
PLATFORM_EXPORT void SetModifierKeys(unsigned int mask);

// The text that was put on the clipboard last; empty at the start.
PLATFORM_EXPORT krobase::utility::UTF16String ClipboardText();

// MessageBeep calls so far.
PLATFORM_EXPORT unsigned int BeepCount();

// Posts a message to a thread's own queue. False if the thread has none: it has one
// from its first look into it (PeekMessageW, and so the abort check) until it ends,
// and the calling thread always has. Not for signal handlers.
PLATFORM_EXPORT bool PostThreadMessage(unsigned int threadId, unsigned int message,
                                       unsigned long long wParam, long long lParam);

// Takes the messages that belong to no window, when they are dispatched, on the
// thread that dispatches them. It may throw. An empty one drops them again.
PLATFORM_EXPORT void SetWindowProcedure(
    const boost::function<void(unsigned int message, unsigned long long wParam, long long lParam)>&
        procedure);

// FlushEvents calls so far.
PLATFORM_EXPORT unsigned int FlushEventsCount();

// The machine's physical memory in bytes, of which whole KiB count; 0 restores
// the real figure.
PLATFORM_EXPORT void SetPhysicalMemory(unsigned long long total, unsigned long long available);

// The clocks: what krobase::utility::HighPrecisionTime counts, in nanoseconds, and
// the time of day, in milliseconds since 1970, UTC. An empty one restores the real
// clock.
PLATFORM_EXPORT void SetTickClock(const boost::function<unsigned long long()>& nanoseconds);
PLATFORM_EXPORT void SetWallClock(const boost::function<long long()>& milliseconds);

// One of the operating system's functions of dates that it lacks: GetProcAddress
// doesn't find it and a call fails. Null for none.
PLATFORM_EXPORT void SetMissingFunction(const char* name);

// The performance counter: its counts per second, 0 or less for a machine without
// one, and whether it can be read. 1,000,000,000 and true at the start; counts are
// always nanoseconds.
PLATFORM_EXPORT void SetPerformanceCounter(long long countsPerSecond, bool works);

// Where the system tells of the processors' cores; null restores its own folder.
PLATFORM_EXPORT void SetProcessorFolder(const char* folder);

// The machine's and the user's name in UTF-8, empty for none; null restores the
// real one.
PLATFORM_EXPORT void SetNames(const char* machine, const char* user);

// Injected heap failures: the predicate sees the size of every MEM_New...,
// MEM_Resize... and MEM_Set...Size, on the calling thread with no lock held;
// true makes the operation fail. An empty one ends it.
PLATFORM_EXPORT void
SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);

// What TOLV_TotalMemoryUsed returns; 0 restores success.
PLATFORM_EXPORT void SetUsageError(short code);

// TOLV_SyncMemUsageWithOS calls so far.
PLATFORM_EXPORT unsigned int SyncMemUsageCount();

// HeapCompact calls on the process's heap so far.
PLATFORM_EXPORT unsigned int HeapCompactCount();

// Whether TOLV_QuietMemDialogs has been called: host services that show
// memory dialogs of their own ask here first.
PLATFORM_EXPORT bool MemDialogsQuieted();
} // namespace platform

#endif
