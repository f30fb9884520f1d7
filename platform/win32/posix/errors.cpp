#include <win32/errors.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <platform/base/thread_local.h>

namespace win32
{
namespace
{
PLATFORM_THREAD_LOCAL(unsigned int, tLastError);

struct ResultText
{
    unsigned int mCode;
    const char* mText;
};

const ResultText kResultTexts[] = {
    {0x80004001, "Not implemented"},   {0x80004002, "No such interface supported"},
    {0x80004003, "Invalid pointer"},   {0x80004004, "Operation aborted"},
    {0x80004005, "Unspecified error"}, {0x8000FFFF, "Catastrophic failure"},
};

struct ErrorNumber
{
    unsigned int mCode;
    int mErrno;
};

const ErrorNumber kErrorNumbers[] = {
    {0, 0},           {2, ENOENT},   {3, ENOENT},         {4, EMFILE},      {5, EACCES},
    {6, EBADF},       {8, ENOMEM},   {13, EINVAL},        {14, ENOMEM},     {15, ENODEV},
    {17, EXDEV},      {19, EROFS},   {32, EBUSY},         {39, ENOSPC},     {50, ENOTSUP},
    {80, EEXIST},     {87, EINVAL},  {109, EPIPE},        {112, ENOSPC},    {122, ERANGE},
    {145, ENOTEMPTY}, {183, EEXIST}, {206, ENAMETOOLONG}, {995, ECANCELED}, {1460, ETIMEDOUT},
};

// Removes the prefix of a result code that contains a plain error code.
unsigned int PlainCode(unsigned int code)
{
    return code >> 16 == 0x8007 ? code & 0xFFFF : code;
}

// Returns the text in ASCII, whatever locale the host has set; null for an unknown code.
const char* SystemText(unsigned int code)
{
    for (const ResultText& row : kResultTexts)
    {
        if (row.mCode == code)
            return row.mText;
    }
    const unsigned int plain = PlainCode(code);
    for (const ErrorNumber& row : kErrorNumbers)
    {
        if (row.mCode == plain)
            return strerrordesc_np(row.mErrno);
    }
    return nullptr;
}
} // namespace

unsigned int GetLastError()
{
    return tLastError;
}

void SetLastError(unsigned int error)
{
    tLastError = error;
}

unsigned int FormatMessageW(unsigned int flags, const void*, unsigned int code, unsigned int,
                            unsigned short** buffer, unsigned int, void*)
{
    if (!buffer)
        return 0;
    *buffer = nullptr;
    const char* const text = SystemText(code);
    if (flags != (kFormatAllocateBuffer | kFormatIgnoreInserts | kFormatFromSystem) || !text)
        return 0;
    const char kEnd[] = ".\r\n";
    const std::size_t textLength = std::strlen(text);
    const std::size_t length = textLength + sizeof(kEnd) - 1;
    unsigned short* const units =
        static_cast<unsigned short*>(std::malloc((length + 1) * sizeof(unsigned short)));
    if (!units)
        return 0;
    std::copy(text, text + textLength, units);
    std::copy(kEnd, kEnd + sizeof(kEnd), units + textLength);
    *buffer = units;
    return static_cast<unsigned int>(length);
}

void* LocalFree(void* block)
{
    std::free(block);
    return nullptr;
}
} // namespace win32
