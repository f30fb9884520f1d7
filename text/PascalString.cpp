// Length-prefixed Pascal strings.

#include "U_Date.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "U_Format.h"
#include "U_Report.h"
#include "U_String.h"
#include "indep/errors/Report.h"

namespace
{
const std::size_t kMostBytes = 255; // that the count can tell

// Returns the code of a text that is too long.
U_Status ReportTooLong(const char* format, U_i32 bufferSize, const char* source)
{
    char text[U_ReportTextSize];
    U_SubString(text, sizeof(text), format, bufferSize, source);
    Up_ReportErrString(0, U_Sev_PROBLEM, text);
    return U_Err_OutOfRange;
}

std::size_t Room(U_i32 bufferSize)
{
    return static_cast<std::size_t>(std::max(bufferSize, 0));
}
} // namespace

U_Status U_CopyCtoPString(const char* source, U_i32 bufferSize, unsigned char* out)
{
    if (!source || !out)
        return BadArgument("U_CopyCtoPString: no source or no buffer");
    const std::size_t size = Room(bufferSize);
    const char kFormat[] = "text too long for ^L1-byte pascal string buffer ('^2').";
    if (size == 0)
        return ReportTooLong(kFormat, bufferSize, source);

    char kept[U_ReportTextSize]; // out may be source
    U_CopyString(source, sizeof(kept), kept);
    const std::size_t sourceLength = std::strlen(source);
    char* const text = reinterpret_cast<char*>(out);
    if (const U_Status failure = U_CopyString(source, size, text))
        return failure;
    const std::size_t length = std::min(std::strlen(text), kMostBytes);
    std::memmove(out + 1, out, length);
    out[0] = static_cast<unsigned char>(length);
    return sourceLength > length ? ReportTooLong(kFormat, bufferSize, kept) : 0;
}

U_Status U_CopyPtoCString(const unsigned char* source, U_i32 bufferSize, char* out)
{
    if (!source || !out)
        return BadArgument("U_CopyPtoCString: no source or no buffer");
    const std::size_t length = source[0];
    const char* const text = reinterpret_cast<const char*>(source + 1);
    if (length + 1 > Room(bufferSize))
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
