#include <win32/errors.h>

#include "windows_api.h"

namespace win32
{
static_assert(kErrorNotFound == ERROR_FILE_NOT_FOUND &&
              kErrorNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY &&
              kErrorGeneralFailure == ERROR_GEN_FAILURE &&
              kErrorInvalidParameter == ERROR_INVALID_PARAMETER &&
              kErrorBufferOverflow == ERROR_BUFFER_OVERFLOW &&
              kErrorCallNotImplemented == ERROR_CALL_NOT_IMPLEMENTED &&
              kErrorInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER &&
              kErrorInvalidAddress == ERROR_INVALID_ADDRESS &&
              kErrorInvalidFlags == ERROR_INVALID_FLAGS);
static_assert(kFormatAllocateBuffer == FORMAT_MESSAGE_ALLOCATE_BUFFER &&
              kFormatIgnoreInserts == FORMAT_MESSAGE_IGNORE_INSERTS &&
              kFormatFromSystem == FORMAT_MESSAGE_FROM_SYSTEM);

unsigned int GetLastError()
{
    return ::GetLastError();
}

void SetLastError(unsigned int error)
{
    ::SetLastError(error);
}

unsigned int FormatMessageW(unsigned int flags, const void* source, unsigned int code,
                            unsigned int language, unsigned short** buffer, unsigned int size,
                            void* arguments)
{
    if (!buffer)
        return 0;
    *buffer = nullptr;
    // With other flags the system would take `buffer` for the text itself.
    if (flags != (kFormatAllocateBuffer | kFormatIgnoreInserts | kFormatFromSystem))
        return 0;
    wchar_t* text = nullptr;
    const DWORD length =
        ::FormatMessageW(flags, source, code, language, reinterpret_cast<wchar_t*>(&text), size,
                         static_cast<va_list*>(arguments));
    *buffer = length ? reinterpret_cast<unsigned short*>(text) : nullptr;
    return length;
}

void* LocalFree(void* block)
{
    return ::LocalFree(block);
}
} // namespace win32
