// Switches of the platform: services that a host installs, settings that a test sets, and
// figures that a test reads.
//
// A host without the real in-house libraries installs its log, its alerts and its settings
// here, before birth:
//
//     platform::SetLogSink([](int level, const char*, const char* tag, const char* text) {
//         if (level == 0)
//             std::printf("%s: %s\n", tag ? tag : "", text ? text : "");
//     });
//     platform::SetDebugSetting("MemoryYoYoLog", "true");
//
// (The example needs <cstdio>.)
//
// Thread safety: all functions may be called on any thread. A switch takes effect at once,
// on all threads.

#ifndef PLATFORM_CONTROL_H
#define PLATFORM_CONTROL_H

#include <cstddef>

#include <boost/function.hpp>

#include <krobase/text.h>
#include <platform/base/export.h>

namespace platform
{
// Log and traces.

// Receives each log line. Each of the texts may be null, and is valid until the sink returns.
//
// - Thread: the thread that logs, with no lock held. Several threads may be in the sink at
//   once.
// - Level: 0 for reports, failures and the memory service; 10 for the steps of birth and
//   death. A higher level is less important. No line has a level below 0.
// - Encoding: UTF-8, except for a text that the library received from its caller and logs
//   unchanged, such as the name of an operation (active code page) and an exception's what().
// - Control characters: passed on unchanged. Before a sink writes the text to a terminal or
//   to a file of lines, the sink calls platform::Printable (base/printable.h).
// - Exceptions: passed to the caller that logs. The library continues without the line.
typedef boost::function<void(int level, const char* category, const char* tag, const char* text)>
    LogSink;

// Replaces the log sink. An empty sink restores the default sink. A sink that does nothing
// silences the log:
//
//     platform::SetLogSink([](int, const char*, const char*, const char*) {});
//
// The default sink writes each line to stderr as "[level] category tag: text".
//
// - Level: lines above the level in the environment variable U_LOG_LEVEL are left out. The
//   variable is read once; without it, or without a number in it, the level is 0.
//   U_LOG_LEVEL=-1 silences the default sink.
// - Escapes: those of Printable, for control characters and for bytes that are not UTF-8. A
//   tab in the text is kept.
// - Line feeds: one at the end of the text is left out. Any other begins a new line with an
//   indent of four spaces, so that no text can forge a line of the log.
// - Repeats: after a line, its repeats within a second are left out and counted. Then the last of
//   them is written, with " ... repeated 312 times" behind the text, as soon as any line is logged
//   or the process ends by exit. A repeat has the same level, category, tag and text; the numbers
//   may differ if the format of WRIL_sprintf has only numbers. A process that dies in another way
//   loses the counts. A sink of the host receives all lines.
PLATFORM_EXPORT void SetLogSink(const LogSink& sink);

// Turns the traces of a category on, up to a level. Other categories stay as they are. A null
// category turns all traces off.
PLATFORM_EXPORT void SetTrace(const char* category, int level);

// Replaces the sink of traces, which follows the rules of LogSink for its thread and its
// exceptions. An empty sink restores the default sink.
//
// The default sink writes the trace to stderr with the escapes of Printable. Tabs and the line
// ends "\n" and "\r\n" are kept.
PLATFORM_EXPORT void SetTraceSink(const boost::function<void(const char* text)>& sink);

// Replaces the sink of OutputDebugStringA, which is called on the thread that calls
// OutputDebugStringA, with no lock held. An empty sink restores the default sink, which passes the
// text to the debugger on Windows, and elsewhere writes to stderr as the default sink of traces
// does.
PLATFORM_EXPORT void SetDebugStringSink(const boost::function<void(const char* text)>& sink);

// Alerts.

// A developer's answer to a failed assertion.
enum AssertAnswer
{
    kAnswerGoOn,
    kAnswerBreak,     // break into the debugger
    kAnswerGoOnAlways // go on, and do not ask for this assertion again
};

// The contents of a message box. An alert with an `answer` is a failed assertion. Any other
// alert has one button, OK.
struct Alert
{
    bool throughHost;                    // by kroview's Messagebox, not by MessageBoxW
    bool hasTitle;                       // the caller passed a title
    krobase::utility::UTF16String title; // empty without a title
    krobase::utility::UTF16String text;  // the message
    unsigned int flags;                  // of MessageBoxW; 0 by Messagebox
    int icon;                            // of Messagebox; 0 by MessageBoxW
    float sizeHint;                      // of Messagebox: 0, or the width that suits the text
    AssertAnswer* answer; // kAnswerGoOn until the presenter stores another; null unless asked for
};

// Shows an alert, and returns when the user has dismissed the alert. alert/layout.h has
// functions for presenters.
//
// Called on the thread that calls the message box, with no lock held.
//
// Throws: any exception; the exception reaches the caller of the message box.
typedef boost::function<void(const Alert&)> AlertPresenter;

// Replaces the presenter of alerts. An empty presenter restores the default presenter, which shows
// the alert in the message box of a system that has one. Without such a box, or without a desktop,
// it writes the alert to stderr and returns; if a debugger is attached, it answers an assertion
// with kAnswerBreak.
PLATFORM_EXPORT void SetAlertPresenter(const AlertPresenter& presenter);

// Settings. docs/settings.md lists the keys.

// Stores a debug setting, which krobase::debug::DebugDatabase returns. A null text removes the
// setting.
PLATFORM_EXPORT void SetDebugSetting(const char* key, const char* text);

// Stores a profile integer, which TOLV returns and may overwrite. A null key does nothing.
//
// Throws: std::bad_alloc.
// REQUIRES: `key` is ASCII.
PLATFORM_EXPORT void SetProfileInt(const char* key, int value);

// Removes all profile integers.
PLATFORM_EXPORT void ClearProfile();

// Sets the code page of multibyte text: 932, 936, 949, 950, 1250 to 1258, 10000, 10001, 10007
// or 65001. Any other number, and a code page that the system lacks, restores the default: the
// system's own code page, or 1252 on a system without one.
PLATFORM_EXPORT void SetActiveCodePage(unsigned int codePage);

// Sets the user's locale by an id such as "de_DE". Null or an unknown id restores the default: the
// system's own locale of the user, or "en_US" on a system without one.
PLATFORM_EXPORT void SetUserLocale(const char* localeId);

// Sets whether the system's script is a double-byte script. The default is false.
PLATFORM_EXPORT void SetDoubleByteScript(bool on);

// Checks of the heap, which docs/debugging.md describes.

// Switches the checks of new blocks on or off, by a text of the form of the environment variable
// U_HEAP_CHECKS: "1" for the default checks, "0" or "" for none, or a list such as
// "stacks=16,delay=5000,abort". Null restores the value of the variable, which is otherwise read
// when the first heap is made.
//
// Returns: false for a text that is not understood; then nothing changes.
PLATFORM_EXPORT bool SetHeapChecks(const char* options);

// Verifies the guards of all checked blocks, and the freed blocks that are kept. Logs each fault
// and repairs the guard. A debugger may call this function.
//
// Returns: the number of faults.
// REQUIRES: no other thread uses the heap.
PLATFORM_EXPORT std::size_t CheckHeap();

// Input and messages.

// Sets the modifier keys that are down, as GetCurrentKeyModifiers returns them. The default is
// 0. A host that sees the keyboard calls this function on each change.
PLATFORM_EXPORT void SetModifierKeys(unsigned int mask);

// Posts a message to a thread's own queue. A thread has a queue from its first PeekMessageW
// (which the abort check calls) until the thread ends; the calling thread always has one.
//
// Returns: false if the thread has no queue.
// REQUIRES: the caller is no signal handler.
PLATFORM_EXPORT bool PostThreadMessage(unsigned int threadId, unsigned int message,
                                       unsigned long long wParam, long long lParam);

// Replaces the procedure of messages that belong to no window. The procedure is called when
// such a message is dispatched, on the thread that dispatches, and may throw. An empty
// procedure restores the default: these messages are dropped.
PLATFORM_EXPORT void SetWindowProcedure(
    const boost::function<void(unsigned int message, unsigned long long wParam, long long lParam)>&
        procedure);

// Returns whether TOLV_QuietMemDialogs has been called. Host services with memory dialogs of
// their own ask before they show one.
PLATFORM_EXPORT bool MemDialogsQuieted();

// For tests: reset.

// Restores the default of every switch, and sets every count to 0.
PLATFORM_EXPORT void ResetAll();

// For tests: the machine.

// Sets the physical memory in bytes, in whole KiB: the rest is ignored. 0 restores the real
// figure.
PLATFORM_EXPORT void SetPhysicalMemory(unsigned long long total, unsigned long long available);

// Replaces the clock of krobase::utility::HighPrecisionTime and of the default log sink, which
// returns nanoseconds. An empty function restores the real clock.
PLATFORM_EXPORT void SetTickClock(const boost::function<unsigned long long()>& nanoseconds);

// Replaces the clock of the time of day, which returns milliseconds since 1970, UTC. An empty
// function restores the real clock.
PLATFORM_EXPORT void SetWallClock(const boost::function<long long()>& milliseconds);

// Sets the performance counter: its counts per second, and whether the counter can be read. A
// figure of 0 or less is a machine without a counter. Counts are nanoseconds whatever the figure.
// The default is the system's counter on Windows, and elsewhere 1,000,000,000 and true.
PLATFORM_EXPORT void SetPerformanceCounter(long long countsPerSecond, bool works);

// Sets a folder that describes the cores of the processors in texts, in the form of Linux's
// /sys/devices/system/cpu. Null restores the system's own description.
PLATFORM_EXPORT void SetProcessorFolder(const char* folder);

// Sets whether code with vectors runs on processors that have AVX2. The default is true. The
// results are the same; a conversion that runs meanwhile may change its way between two blocks.
PLATFORM_EXPORT void SetVectors(bool on);

// Sets the name of the machine and of the user, in UTF-8; an empty name is no name. Null
// restores the real name.
PLATFORM_EXPORT void SetNames(const char* machine, const char* user);

// For tests: failures.

// Makes heap operations fail. The predicate receives the size of each MEM_New..., MEM_Resize...
// and MEM_Set...Size, on the calling thread with no lock held. If the predicate returns true,
// the operation fails. An empty predicate ends the failures.
PLATFORM_EXPORT void
SetHeapFailure(const boost::function<bool(unsigned long long size)>& shouldFail);

// Sets the result of TOLV_TotalMemoryUsed. 0 restores success.
PLATFORM_EXPORT void SetUsageError(short code);

// Removes one of the operating system's functions for dates: GetProcAddress does not find the
// function, and a call fails. Null restores all of them.
PLATFORM_EXPORT void SetMissingFunction(const char* name);

// For tests: counts and results of the library's actions.

// Returns the text that the library has last copied to the clipboard; the empty text if there is
// none, or if another program has replaced the text.
PLATFORM_EXPORT krobase::utility::UTF16String ClipboardText();

// Return the calls so far of MessageBeep, of FlushEvents, of TOLV_SyncMemUsageWithOS, and of
// HeapCompact on the process's heap.
PLATFORM_EXPORT unsigned int BeepCount();
PLATFORM_EXPORT unsigned int FlushEventsCount();
PLATFORM_EXPORT unsigned int SyncMemUsageCount();
PLATFORM_EXPORT unsigned int HeapCompactCount();
} // namespace platform

#endif
