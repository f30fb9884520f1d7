// Counts the library's log lines and writes them to a file.

#ifndef FILECACHE_LOG_SINK_H
#define FILECACHE_LOG_SINK_H

#include <cstdio>
#include <mutex>
#include <string>

#include <U_Types.h>

#include "message.h"

class LogSink
{
public:
    LogSink();
    ~LogSink();
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;

    // Opens the file for the following lines. Returns a message if that fails.
    Message Open(const std::string& path);

    // Ends the sink and closes the file. Returns false if a line could not be written. May be
    // called twice.
    bool Close();

    U_u64 Lines() const { return mLines; }

private:
    void Take(int level, const char* category, const char* tag, const char* text);

    std::mutex mLock; // guards mFile and mLines while lines are taken
    std::FILE* mFile = nullptr;
    U_u64 mLines = 0;
};

#endif
