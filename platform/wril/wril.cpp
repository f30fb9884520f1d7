#include "wril.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include <platform/base/integer_text.h>
#include <platform/base/printable.h>
#include <platform/base/quiet_new.h>
#include <platform/base/switched_function.h>

#include "private/sink.h"

namespace
{
typedef platform::SwitchedFunction<void(int, const char*, const char*, const char*)> Sink;
Sink& sSink = *new Sink;

// Returns 0 without a number in the variable.
int LevelFromEnvironment()
{
    const char* text = std::getenv("U_LOG_LEVEL");
    if (!text)
        return 0;
    long long level = 0;
    const char* const rest = platform::ReadInteger(text, &level);
    const bool isNumber = rest && !*rest && level >= INT_MIN && level <= INT_MAX;
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

const char* Shown(const char* text)
{
    return text ? text : "";
}

const char kUnescaped[] = "\t"; // tabs separate the columns of a report

// Writes the text with an indent after each line feed, so that no line of the text can be taken
// for a line of the log.
template <class Write> void WriteText(std::string_view text, const Write& write)
{
    if (!text.empty() && text.back() == '\n')
        text.remove_suffix(1);
    for (std::size_t end; (end = text.find('\n')) != std::string_view::npos;)
    {
        platform::WritePrintable(text.substr(0, end), kUnescaped, write);
        write("\n    ");
        text.remove_prefix(end + 1);
    }
    platform::WritePrintable(text, kUnescaped, write);
}

template <class Write>
void WritePieces(int level, const char* category, const char* tag, const char* text,
                 const Write& write)
{
    char number[16];
    std::snprintf(number, sizeof(number), "[%d] ", level);
    write(number);
    platform::WritePrintable(Shown(category), {}, write);
    write(" ");
    platform::WritePrintable(Shown(tag), {}, write);
    write(": ");
    WriteText(Shown(text), write);
    write("\n");
}

// Writes the line in one call, so that processes which share stderr do not mix their lines. A
// line of usual length is not allocated, since the line may be the last of a dying process.
void WriteLine(int level, const char* category, const char* tag, const char* text)
{
    char usual[1024];
    std::size_t length = 0;
    WritePieces(level, category, tag, text, [&](std::string_view piece) {
        if (length + piece.size() <= sizeof(usual))
            piece.copy(usual + length, piece.size());
        length += piece.size();
    });
    if (length <= sizeof(usual))
        return platform::WriteToStderr({usual, length});

    const platform::ScQuietNew quiet; // the caller may hold a lock
    const std::unique_ptr<char[]> whole(new (std::nothrow) char[length]);
    if (!whole) // several writes are better than no line
        return WritePieces(level, category, tag, text, platform::WriteToStderr);
    char* end = whole.get();
    WritePieces(level, category, tag, text,
                [&](std::string_view piece) { end += piece.copy(end, piece.size()); });
    platform::WriteToStderr({whole.get(), length});
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
        // Without memory the line is cut.
        const std::size_t size = static_cast<std::size_t>(length) + 1;
        const platform::ScQuietNew quiet;
        longLine.reset(new (std::nothrow) char[size]);
        if (longLine)
            std::vsnprintf(longLine.get(), size, format, again);
    }
    va_end(again);
    // A negative length is a failure to format, after which the buffer has no text.
    const char* shortLine = length < 0 ? format : line;
    WRIL_Log(level, category, tag, longLine ? longLine.get() : shortLine);
}

std::string WRIL_convertMesg(const char* where, const char* text)
{
    return std::string(Shown(where)) + ": " + Shown(text);
}

namespace wril
{
void SetSink(const Sink::Function& sink)
{
    sSink.Set(sink);
}
} // namespace wril
