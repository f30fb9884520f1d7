// Errors of the operating system, under its own names: the last error of a thread, the texts
// of error codes, and the exception class of ATL.
//
//     unsigned short* text = nullptr;
//     const unsigned int flags = win32::kFormatAllocateBuffer | win32::kFormatIgnoreInserts |
//                                win32::kFormatFromSystem;
//     win32::FormatMessageW(flags, nullptr, win32::GetLastError(), 0, &text, 0, nullptr);
//     win32::LocalFree(text);
//
// Thread safety: all functions may be called on any thread.

#ifndef WIN32_ERRORS_H
#define WIN32_ERRORS_H

#include <platform/base/export.h>

namespace win32
{
const unsigned int kErrorNotFound = 2;
const unsigned int kErrorNotEnoughMemory = 8;
const unsigned int kErrorGeneralFailure = 31;
const unsigned int kErrorInvalidParameter = 87;
const unsigned int kErrorBufferOverflow = 111;
const unsigned int kErrorCallNotImplemented = 120;
const unsigned int kErrorInsufficientBuffer = 122;
const unsigned int kErrorInvalidAddress = 487;
const unsigned int kErrorInvalidFlags = 1004;

// The last error of the calling thread. A function that fails sets the last error. On Windows a
// function that succeeds may change the last error, too.
PLATFORM_EXPORT unsigned int GetLastError();
PLATFORM_EXPORT void SetLastError(unsigned int error);

// Sets the last error of the calling thread. Returns 0, the result of a function that fails.
inline int Fail(unsigned int error)
{
    SetLastError(error);
    return 0;
}

const unsigned int kFormatAllocateBuffer = 0x100;
const unsigned int kFormatIgnoreInserts = 0x200;
const unsigned int kFormatFromSystem = 0x1000;

// Stores the system's text for an error code in a new block, in UTF-16 with a line end and a
// terminator. The caller frees the block with LocalFree. `flags` is the three flags above
// together; `source`, `language`, `size` and `arguments` are not used.
//
// Returns: the length of the text in units without the terminator; 0, with *buffer null, for
// other flags, for a code without a text, and without memory.
PLATFORM_EXPORT unsigned int FormatMessageW(unsigned int flags, const void* source,
                                            unsigned int code, unsigned int language,
                                            unsigned short** buffer, unsigned int size,
                                            void* arguments);

// Frees a block, which may be null. Returns null.
PLATFORM_EXPORT void* LocalFree(void* block);
} // namespace win32

namespace ATL
{
class PLATFORM_EXPORT CAtlException
{
public:
    explicit CAtlException(int result) : m_hr(result) {}
    operator int() const { return m_hr; }

    int m_hr; // the result code of the failure
};
} // namespace ATL

#endif
