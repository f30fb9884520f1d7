#include "wril.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "../switched_function.h"
#include "sink.h"

namespace
{
platform::SwitchedFunction<void(int, const char*, const char*, const char*)> sSink;

int DefaultLevel()
{
    static const int sLevel = [] {
        const char* text = std::getenv("U_LOG_LEVEL");
        return text ? static_cast<int>(std::strtol(text, nullptr, 10)) : 0;
    }();
    return sLevel;
}

bool IsWanted(int level)
{
    return sSink.Installed() || level <= DefaultLevel();
}
} // namespace

void WRIL_Log(int level, const char* category, const char* tag, const char* text)
{
    if (const auto sink = sSink.Get())
        (*sink)(level, category, tag, text);
    else if (IsWanted(level))
        std::fprintf(stderr, "[%d] %s %s: %s\n", level, category, tag, text);
}

void WRIL_sprintf(int level, const char* category, const char* tag, const char* format, ...)
{
    if (!IsWanted(level))
        return;
    char line[512];
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);

    std::unique_ptr<char[]> longLine;
    if (length >= static_cast<int>(sizeof(line)))
    {
        // Without memory the line is written cut.
        const std::size_t size = static_cast<std::size_t>(length) + 1;
        longLine.reset(new (std::nothrow) char[size]);
        if (longLine)
            std::vsnprintf(longLine.get(), size, format, again);
    }
    va_end(again);
    WRIL_Log(level, category, tag, longLine ? longLine.get() : line);
}

namespace wril
{
void SetSink(const platform::LogSink& sink)
{
    sSink.Set(sink);
}
} // namespace wril
