// Cuts of UTF-16 and UTF-8 text that keep characters whole.

#include "U_Encoding.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include <krobase/text.h>
#include <platform/base/code_units.h>

#include "U_String.h"

namespace
{
unsigned int ClampedCount(std::size_t count)
{
    return static_cast<unsigned int>(
        std::min<std::size_t>(count, std::numeric_limits<unsigned int>::max()));
}
} // namespace

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
    // By way of UTF-16 what is no UTF-8 becomes U+FFFD, so that a cut text
    // holds nothing but whole characters.
    U_UTF8String whole = U_UTF16To8String(U_UTF8To16String(*text));
    std::size_t length = std::min<std::size_t>(bytes, whole.size());
    while (length > 0 && platform::IsUTF8Continuation(whole[length]))
        --length;
    whole.resize(length);
    text->swap(whole);
}

void U_CopyToUTF8Buf(const U_UTF16String& text, size_t size, unsigned char* out)
{
    if (size == 0)
        return;
    U_UTF8String bytes = U_UTF16To8String(text);
    U_TruncateStringToByteSize(&bytes, ClampedCount(size - 1));
    const int failure = U_CopyString(reinterpret_cast<const char*>(bytes.c_str()), size,
                                     reinterpret_cast<char*>(out));
    if (failure)
        throw failure;
}

void U_SplitUTF16String(const U_UTF16String& text, const U_UTF16String& separator,
                        std::vector<U_UTF16String>& parts)
{
    // Appended at the end, since the text may be one of the parts.
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
