// Scoped loggers: a log file for a span of time.
//
// The constructor writes a start line, and the destructor an end line with the time that passed.
// Each line is in the file when its call returns. An existing file is appended to.
//
// Thread safety: an object has no lock and is used by one thread at a time. Otherwise lines mix.
//
// Failures: on a full disk, or after any other failure to write, lines are lost or cut. The caller
// is not notified. The first line that is written after a failure starts on a line of its own.

#ifndef INDEP_INSTRUMENTATION_SC_LOGGER_H
#define INDEP_INSTRUMENTATION_SC_LOGGER_H

#include <cstdio>
#include <string>

#include "U_Types.h"

// Owns the file. Derived classes start and end the span.
class U_ScFileLogger
{
public:
    // `path` is in the system's narrow encoding and not null. Only the user may read a new file.
    // A path that ends in a symbolic link is not opened.
    //
    // Throws: the errno, as an int, if the file cannot be opened; the path is logged. If errno is
    // 0, the object has no file and writes nothing.
    explicit U_ScFileLogger(const char* path);
    virtual ~U_ScFileLogger();
    U_ScFileLogger(const U_ScFileLogger&) = delete;
    U_ScFileLogger& operator=(const U_ScFileLogger&) = delete;

    // Writes one line. `format` has no line end.
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    Printf(const char* format, ...);

protected:
    // Write the text of a line to the file, without the line end.
    virtual void WriteStartLine() = 0;
    virtual void WriteEndLine() = 0;

    void StartSpan();
    void EndSpan();

    std::FILE* file; // null if the object has none
    U_u64 startTicks = 0;
    U_u64 endTicks = 0;
    U_i64 elapsedNanos = 0;

    // True: each line begins with "[process:thread] month/day/year time ". The file is appended to
    // in every run and its lines contain no time, so only the stamp shows when and by which
    // process a row was written. Rows begin with a tab: in a spreadsheet the stamp fills the first
    // column, and the other columns keep their positions.
    bool stampLines = true;

    std::string path;

private:
    bool BeginLine();
    void EndLine();
};

// Writes " * log start" in the constructor, and " * log end: delta=1.500", in seconds, in the
// destructor.
class U_ScGlobalLogger : public U_ScFileLogger
{
public:
    explicit U_ScGlobalLogger(const char* path); // throws as U_ScFileLogger
    ~U_ScGlobalLogger() override;

protected:
    void WriteStartLine() override;
    void WriteEndLine() override;
};

#endif
