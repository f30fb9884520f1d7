// Scoped loggers: a log file that stands for a span of time.
//
// Opening it writes a start line, closing it an end line with the time that
// passed, and each line in between is in the file when its call returns. A file
// that exists is appended to. The objects have no lock: one thread at a time, or
// lines mix.
//
// A full disk, or any other failure to write, doesn't disturb the caller: lines
// are lost or cut short, and the first one that finds room again starts on a line
// of its own.

#ifndef INDEP_INSTRUMENTATION_SC_LOGGER_H
#define INDEP_INSTRUMENTATION_SC_LOGGER_H

#include <cstdio>
#include <string>

#include "U_Types.h"

// Owns the file; derived classes start and end the span.
class U_ScFileLogger
{
public:
    // path, in the system's narrow encoding, mustn't be null. A new file is the user's
    // alone; a path that ends in a symbolic link isn't opened. If the file can't be opened,
    // the path is logged and the errno thrown, as an int. Without an errno the object has no
    // file, and writing does nothing.
    explicit U_ScFileLogger(const char* path);
    virtual ~U_ScFileLogger();
    U_ScFileLogger(const U_ScFileLogger&) = delete;
    U_ScFileLogger& operator=(const U_ScFileLogger&) = delete;

    // Writes one line, without a line end in format.
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    Printf(const char* format, ...);

protected:
    // Write the text of a line to file, without its end.
    virtual void WriteStartLine() = 0;
    virtual void WriteEndLine() = 0;

    void StartSpan();
    void EndSpan();

    std::FILE* file; // null if the object has none
    U_u64 startTicks = 0;
    U_u64 endTicks = 0;
    U_i64 elapsedNanos = 0;

    // Whether each line begins with "[process:thread] month/day/year time ". It
    // does: the file is appended to, run after run, and its lines tell no time of
    // their own, so only the stamp says when a row was written and by which
    // process. Rows begin with a tab: in a spreadsheet the stamp fills a first
    // column that would be empty without it, and the others stay where they are.
    bool stampLines = true;

    std::string path;

private:
    bool BeginLine();
    void EndLine();
};

// Writes " * log start" when it is made and " * log end: delta=1.500", in seconds,
// when it is destroyed.
class U_ScGlobalLogger : public U_ScFileLogger
{
public:
    explicit U_ScGlobalLogger(const char* path); // throws as the base does
    ~U_ScGlobalLogger() override;

protected:
    void WriteStartLine() override;
    void WriteEndLine() override;
};

#endif
