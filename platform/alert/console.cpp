#include "present.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <platform/base/printable.h>
#include <win32/process.h>

#include "layout.h"

namespace platform
{
namespace
{
typedef krobase::utility::UTF16String UTF16String;

const std::size_t kTextColumns = 72;

const char* IconWord(const Alert& alert)
{
    using namespace kroview::dialogs::messagebox;
    switch (IconOf(alert))
    {
    case kIconError:
        return "[error] ";
    case kIconWarning:
        return "[warning] ";
    case kIconQuestion:
        return "[question] ";
    case kIconNote:
        return "[note] ";
    case kIconNone:
        break;
    }
    return "";
}

// Columns of a terminal that the character takes.
std::size_t Columns(UChar32 character)
{
    if (U_GET_GC_MASK(character) & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK))
        return 0;
    const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_FULLWIDTH || width == U_EA_WIDE ? 2 : 1;
}

std::size_t Columns(const UTF16String& line)
{
    std::size_t columns = 0;
    for (std::size_t place = 0; place < line.size();)
    {
        UChar32 character = 0;
        U16_NEXT(line.data(), place, line.size(), character);
        columns += Columns(character);
    }
    return columns;
}

void AppendRule(std::string& box)
{
    box += '+' + std::string(kTextColumns + 2, '-') + "+\n";
}

void AppendSection(std::string& box, const UTF16String& text)
{
    const std::vector<UTF16String> lines =
        WrapText(text, [](const UTF16String& line) { return Columns(line) <= kTextColumns; });
    for (const UTF16String& line : lines)
    {
        const krobase::utility::UTF8String bytes = krobase::utility::UTF16to8(line);
        box += "| ";
        box.append(bytes.begin(), bytes.end());
        // A character that is wider than all room stands alone in its line.
        box.append(kTextColumns - std::min(kTextColumns, Columns(line)), ' ');
        box += " |\n";
    }
    if (!lines.empty())
        AppendRule(box);
}

void WriteBox(const Alert& alert)
{
    std::string box;
    AppendRule(box);
    const std::string icon = IconWord(alert);
    const UTF16String heading = UTF16String(icon.begin(), icon.end()) + alert.title;
    AppendSection(box, heading);
    AppendSection(box, alert.text);
    std::fwrite(box.data(), 1, box.size(), stderr);
}

// Allocates nothing.
void WriteBare(const UTF16String& text)
{
    for (std::size_t place = 0; place < text.size();)
    {
        UChar32 character = 0;
        U16_NEXT(text.data(), place, text.size(), character);
        if (U16_IS_SURROGATE(character))
            character = 0xFFFD;
        char bytes[U8_MAX_LENGTH];
        std::size_t length = 0;
        U8_APPEND_UNSAFE(bytes, length, character);
        WritePrintable(stderr, {bytes, length}, "\n\t");
    }
    std::fputc('\n', stderr);
}
} // namespace

void PresentOnConsole(const Alert& alert)
{
    try
    {
        WriteBox(alert);
    }
    catch (const std::bad_alloc&)
    {
        std::fputs(IconWord(alert), stderr);
        WriteBare(alert.title);
        WriteBare(alert.text);
    }
    if (alert.answer && win32::IsDebuggerPresent())
        *alert.answer = kAnswerBreak;
}
} // namespace platform
