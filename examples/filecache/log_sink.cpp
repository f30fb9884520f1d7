#include "log_sink.h"

#include <cerrno>
#include <cstring>

#include <platform/base/printable.h>
#include <platform/control.h>

#include "system.h"

LogSink::LogSink()
{
    platform::SetLogSink([this](int level, const char* category, const char* tag,
                                const char* text) { Take(level, category, tag, text); });
}

LogSink::~LogSink()
{
    Close();
}

Message LogSink::Open(const std::string& path)
{
    std::lock_guard<std::mutex> lock(mLock);
    mFile = OpenFile(path, "wb");
    return mFile ? Message() : CantWrite(path, std::strerror(errno));
}

bool LogSink::Close()
{
    platform::SetLogSink(platform::LogSink());
    std::lock_guard<std::mutex> lock(mLock);
    if (!mFile)
        return true;
    bool failed = std::ferror(mFile) != 0;
    failed = std::fclose(mFile) != 0 || failed;
    mFile = nullptr;
    return !failed;
}

void LogSink::Take(int level, const char* category, const char* tag, const char* text)
{
    std::lock_guard<std::mutex> lock(mLock);
    ++mLines;
    if (!mFile)
        return;
    std::fprintf(mFile, "%d", level);
    for (const char* column : {category, tag, text})
    {
        std::fputc('\t', mFile);
        platform::WritePrintable(mFile, column ? column : "", "\t");
    }
    std::fputc('\n', mFile);
    std::fflush(mFile); // a crash loses no line
}
