#include "wril.h"

#include <chrono>
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

#include "private/repeats.h"
#include "private/sink.h"

namespace
{
using wril::Line;

typedef platform::SwitchedFunction<void(int, const char*, const char*, const char*)> Sink;
Sink& sSink = *new Sink;

typedef platform::SwitchedFunction<unsigned long long()> Clock;
Clock& sClock = *new Clock;

unsigned long long Nanoseconds()
{
    if (const auto clock = sClock.Get())
        return (*clock)();
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<unsigned long long>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(time).count());
}

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

// `ending` follows the text.
template <class Write> void WritePieces(const Line& line, const char* ending, const Write& write)
{
    char number[16];
    std::snprintf(number, sizeof(number), "[%d] ", line.mLevel);
    write(number);
    platform::WritePrintable(line.mCategory, {}, write);
    write(" ");
    platform::WritePrintable(line.mTag, {}, write);
    write(": ");
    WriteText(line.mText, write);
    write(ending);
    write("\n");
}

// Writes the line in one call, so that processes which share stderr do not mix their lines. A
// line of usual length is not allocated, since the line may be the last of a dying process.
void WriteLine(const Line& line, const char* ending = "")
{
    char usual[1024];
    std::size_t length = 0;
    WritePieces(line, ending, [&](std::string_view piece) {
        if (length + piece.size() <= sizeof(usual))
            piece.copy(usual + length, piece.size());
        length += piece.size();
    });
    if (length <= sizeof(usual))
        return platform::WriteToStderr({usual, length});

    const platform::ScQuietNew quiet; // the caller may hold a lock
    const std::unique_ptr<char[]> whole(new (std::nothrow) char[length]);
    if (!whole) // several writes are better than no line
        return WritePieces(line, ending, platform::WriteToStderr);
    char* end = whole.get();
    WritePieces(line, ending,
                [&](std::string_view piece) { end += piece.copy(end, piece.size()); });
    platform::WriteToStderr({whole.get(), length});
}

void WriteRepeated(const wril::Repeated& repeated)
{
    char ending[48];
    std::snprintf(ending, sizeof(ending), " ... repeated %llu times", repeated.mCount);
    WriteLine({repeated.mLevel, repeated.mCategory, repeated.mTag, repeated.mText, {}}, ending);
}

void WriteAllRepeated()
{
    for (wril::Repeated repeated; wril::EndOne(&repeated);)
        WriteRepeated(repeated);
}

struct ProcessEnd
{
    ~ProcessEnd() { WriteAllRepeated(); }
} sProcessEnd;

void WriteUnlessRepeated(const Line& line)
{
    wril::Repeated ended;
    const unsigned long long now = Nanoseconds();
    wril::Verdict verdict;
    while ((verdict = wril::Judge(line, now, &ended)) == wril::kWriteRepeated)
        WriteRepeated(ended);
    if (verdict == wril::kWriteLine)
        WriteLine(line);
}

// Returns whether the format has a conversion that is neither a number nor a percent sign.
bool HasTexts(std::string_view format)
{
    for (std::size_t at = 0; (at = format.find('%', at)) != std::string_view::npos; ++at)
    {
        at = format.find_first_not_of("-+ #0123456789.*hlLjzt", at + 1);
        if (at == std::string_view::npos ||
            std::string_view("%diouxXeEfFgGaA").find(format[at]) == std::string_view::npos)
            return true;
    }
    return false;
}

// `format` is null for a text without numbers of a format.
void Log(int level, const char* category, const char* tag, const char* text, const char* format)
{
    if (const auto sink = sSink.Get())
        (*sink)(level, category, tag, text);
    else if (level <= DefaultLevel())
        WriteUnlessRepeated({level, Shown(category), Shown(tag), Shown(text),
                             format && !HasTexts(format) ? format : Shown(text)});
}
} // namespace

void WRIL_Log(int level, const char* category, const char* tag, const char* text)
{
    Log(level, category, tag, text, nullptr);
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
    Log(level, category, tag, longLine ? longLine.get() : shortLine, format);
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
    WriteAllRepeated();
}

void SetClock(const Clock::Function& nanoseconds)
{
    sClock.Set(nanoseconds);
}
} // namespace wril
