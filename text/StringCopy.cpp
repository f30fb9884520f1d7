// Copies into fixed buffers: null-terminated text and Pascal strings.

#include "U_String.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "U_Date.h"
#include "U_Encoding.h"
#include "U_Format.h"
#include "U_Report.h"
#include "indep/errors/Report.h"
#include "indep/frame/Guard.h"
#include "text/Characters.h"

namespace
{
const std::size_t kMostBytes = 255; // the largest count of a Pascal string

// Returns the code for a text that is too long.
U_Status ReportTooLong(const char* format, U_i32 bufferSize, const char* source)
{
    char text[U_ReportTextSize];
    U_SubString(text, sizeof(text), format, bufferSize, source);
    Up_ReportErrString(0, U_Sev_PROBLEM, text);
    return U_Err_OutOfRange;
}

// A negative size counts as 0.
std::size_t Capacity(U_i32 bufferSize)
{
    return static_cast<std::size_t>(std::max(bufferSize, 0));
}
} // namespace

int U_CopyString(const char* src, size_t size, char* dst)
{
    return U_CopyStringLen(src, std::strlen(src), size, dst);
}

int U_CopyStringLen(const char* src, size_t length, size_t size, char* dst)
{
    if (size == 0)
        return 0;
    if (length < size)
    {
        std::memmove(dst, src, length);
        dst[length] = 0;
        return 0;
    }
    std::memmove(dst, src, size - 1);
    CutAtCharacter(dst, size - 1);
    return 0;
}

U_Status U_CopyStringW(const U_u16* src, size_t size, U_u16* dst)
{
    return Guarded([&] {
        const std::size_t length = std::char_traits<U_u16>::length(src);
        if (length < size)
        {
            std::memmove(dst, src, (length + 1) * sizeof(U_u16));
            return;
        }
        if (size == 0)
            return;
        // One unit more than fits shows whether the cut would divide a surrogate pair.
        U_UTF16String text(src, size);
        U_TruncateStringToNumChars(&text, ClampedCount(size - 1));
        std::memcpy(dst, text.c_str(), (text.size() + 1) * sizeof(U_u16));
    });
}

int U_ConcatString(const char* src, size_t size, char* dst)
{
    const std::size_t length = strnlen(dst, size);
    return U_CopyString(src, size - length, dst + length);
}

int U_TruncateString(int length, char* text)
{
    const std::size_t most = length > 0 ? static_cast<std::size_t>(length) : 0;
    if (strnlen(text, most + 1) > most)
        CutAtCharacter(text, most);
    return 0;
}

U_Status U_CopyCtoPString(const char* source, U_i32 bufferSize, unsigned char* out)
{
    if (!source || !out)
        return BadArgument("U_CopyCtoPString: no source or no buffer");
    const std::size_t size = Capacity(bufferSize);
    const char kFormat[] = "text too long for ^L1-byte pascal string buffer ('^2').";
    if (size == 0)
        return ReportTooLong(kFormat, bufferSize, source);

    char reported[U_ReportTextSize]; // out may be source
    U_CopyString(source, sizeof(reported), reported);
    const std::size_t sourceLength = std::strlen(source);
    char* const text = reinterpret_cast<char*>(out);
    U_CopyString(source, size, text);
    const std::size_t length = std::min(std::strlen(text), kMostBytes);
    std::memmove(out + 1, out, length);
    out[0] = static_cast<unsigned char>(length);
    return sourceLength > length ? ReportTooLong(kFormat, bufferSize, reported) : 0;
}

U_Status U_CopyPtoCString(const unsigned char* source, U_i32 bufferSize, char* out)
{
    if (!source || !out)
        return BadArgument("U_CopyPtoCString: no source or no buffer");
    const std::size_t length = source[0];
    const char* const text = reinterpret_cast<const char*>(source + 1);
    if (length + 1 > Capacity(bufferSize))
    {
        char whole[kMostBytes + 1];
        U_CopyStringLen(text, length, sizeof(whole), whole);
        return ReportTooLong("text too long for ^L1-byte buffer ('^2').", bufferSize, whole);
    }
    std::memmove(out, text, length);
    out[length] = 0;
    return 0;
}

void* U_Pstrcpy(void* out, const unsigned char* source)
{
    return std::memmove(out, source, source[0] + std::size_t(1));
}
