#include "wril.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "../switched_function.h"
#include "sink.h"

namespace
{
typedef platform::SwitchedFunction<void(int, const char*, const char*, const char*)> Sink;
Sink& sSink = Sink::Immortal();

// What is no number leaves the level at 0.
int LevelFromEnvironment()
{
    const char* text = std::getenv("U_LOG_LEVEL");
    if (!text)
        return 0;
    char* end = nullptr;
    const long level = std::strtol(text, &end, 10);
    const bool isNumber = end != text && !*end && level >= INT_MIN && level <= INT_MAX;
    return isNumber ? static_cast<int>(level) : 0;
}

int DefaultLevel()
{
    static const int sLevel = LevelFromEnvironment();
    return sLevel;
}

bool IsWanted(int level)
{
    return sSink.Installed() || level <= DefaultLevel();
}

std::string Shown(const char* text)
{
    return text ? text : "";
}

// One call writes the whole line: processes that share stderr don't mix theirs.
void WriteLine(int level, const char* category, const char* tag, const char* text)
{
    try
    {
        const std::string line = "[" + std::to_string(level) + "] " + Shown(category) + " " +
                                 Shown(tag) + ": " + Shown(text) + "\n";
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    catch (const std::bad_alloc&)
    {
        // In pieces is better than not at all.
        std::fprintf(stderr, "[%d] %s %s: %s\n", level, category ? category : "", tag ? tag : "",
                     text ? text : "");
    }
}
} // namespace

void WRIL_Log(int level, const char* category, const char* tag, const char* text)
{
    if (const auto sink = sSink.Get())
        (*sink)(level, category, tag, text);
    else if (level <= DefaultLevel())
        WriteLine(level, category, tag, text);
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
    // Arguments that can't be formatted leave nothing to read in the buffer.
    const char* shortLine = length < 0 ? format : line;
    WRIL_Log(level, category, tag, longLine ? longLine.get() : shortLine);
}

std::string WRIL_convertMesg(const char* where, const char* text)
{
    return Shown(where) + ": " + Shown(text);
}

namespace wril
{
void SetSink(const Sink::Function& sink)
{
    sSink.Set(sink);
}
} // namespace wril
