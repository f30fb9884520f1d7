// Character boundaries, and cuts and splits that keep characters whole.

#include "text/Characters.h"

#include <iterator>
#include <limits>

#include <krobase/text.h>
#include <platform/base/code_units.h>
#include <tolv/text.h>

#include "U_Encoding.h"
#include "U_String.h"

int ByteType(const char* text, std::size_t offset)
{
    // CharByte takes an int. The type of a byte depends only on the lead bytes directly before
    // the byte, so a start that is 2 GiB before the byte serves as well.
    const std::size_t kMostOffset = std::numeric_limits<int>::max();
    if (offset > kMostOffset)
    {
        text += offset - kMostOffset;
        offset = kMostOffset;
    }
    return CharByte(text, static_cast<int>(offset));
}

const char* NextCharacter(const char* start, const char* position)
{
    do
        ++position;
    while (*position && ByteType(start, static_cast<std::size_t>(position - start)) > 0);
    return position;
}

std::size_t WholeCharacters(const char* text, std::size_t length)
{
    while (length > 0)
    {
        const int type = ByteType(text, length - 1);
        if (type == 0 || type == 1)
            break;
        --length;
    }
    return length;
}

void CutAtCharacter(char* text, std::size_t length)
{
    text[WholeCharacters(text, length)] = 0;
}

int U_CharByte(const char* text, int offset)
{
    return CharByte(text, offset);
}

int U_CharByteFromScript(const char* text, int offset, short script)
{
    return CharacterByteType(text, offset, script);
}

int U_CharNextByte(const char* text, unsigned int offset, unsigned int* next)
{
    // After a terminator a character starts, whatever byte follows.
    const char* const position = text + offset;
    const char* const end = *position ? NextCharacter(text, position) : position + 1;
    *next = static_cast<unsigned int>(end - text);
    return 0;
}

void U_TruncateStringToNumChars(U_UTF16String* text, unsigned int count)
{
    *text = krobase::utility::TruncateStringToNumChars(*text, count, false);
}

void U_TruncateStringToByteSize(U_UTF16String* text, unsigned int bytes)
{
    U_TruncateStringToNumChars(text, bytes / 2);
}

void U_TruncateStringToByteSize(U_UTF8String* text, unsigned int bytes)
{
    if (text->size() <= bytes)
        return;
    if (bytes == 0)
    {
        text->clear();
        return;
    }
    // The conversion to UTF-16 and back replaces invalid sequences by U+FFFD, so that a cut
    // text holds whole characters only.
    U_UTF8String whole = U_UTF16To8String(U_UTF8To16String(*text));
    whole.resize(
        platform::CutUTF8(reinterpret_cast<const char*>(whole.data()), whole.size(), bytes));
    text->swap(whole);
}

void U_CopyToUTF8Buf(const U_UTF16String& text, size_t size, unsigned char* out)
{
    if (size == 0)
        return;
    U_UTF8String bytes = U_UTF16To8String(text);
    U_TruncateStringToByteSize(&bytes, ClampedCount(size - 1));
    U_CopyString(reinterpret_cast<const char*>(bytes.c_str()), size, reinterpret_cast<char*>(out));
}

void U_SplitUTF16String(const U_UTF16String& text, const U_UTF16String& separator,
                        std::vector<U_UTF16String>& parts)
{
    // The pieces are appended at the end only: `text` and `separator` may be among the parts.
    std::vector<U_UTF16String> found;
    std::size_t start = 0;
    while (!separator.empty())
    {
        const std::size_t end = text.find(separator, start);
        if (end == U_UTF16String::npos)
            break;
        found.emplace_back(text, start, end - start);
        start = end + separator.size();
    }
    found.emplace_back(text, start);
    parts.insert(parts.end(), std::make_move_iterator(found.begin()),
                 std::make_move_iterator(found.end()));
}
