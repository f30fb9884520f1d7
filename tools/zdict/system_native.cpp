#include "system.h"

#include <algorithm>
#include <climits>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <win32/native/paths.h>

namespace
{
unsigned int Count(std::size_t size)
{
    return static_cast<unsigned int>(std::min<std::size_t>(size, INT_MAX));
}
} // namespace

bool Descriptor::Close()
{
    const int descriptor = mDescriptor;
    mDescriptor = -1;
    return descriptor <= kStderr || ::_close(descriptor) == 0;
}

int OpenInput(const std::string& name)
{
    const std::wstring path = win32::SystemPath(name);
    const int descriptor = ::_wopen(path.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0)
        win32::CorrectOpenError(path);
    return descriptor;
}

bool FindSize(int descriptor, unsigned long long* size)
{
    struct _stati64 state = {};
    if (::_fstati64(descriptor, &state) != 0)
        return false;
    const bool isRegular = (state.st_mode & _S_IFMT) == _S_IFREG;
    *size = isRegular ? static_cast<unsigned long long>(state.st_size) : 0;
    return true;
}

long long Read(int descriptor, void* bytes, std::size_t size)
{
    return ::_read(descriptor, bytes, Count(size));
}

long long Write(int descriptor, const void* bytes, std::size_t size)
{
    return ::_write(descriptor, bytes, Count(size));
}

std::shared_ptr<const unsigned char> Map(int descriptor, std::size_t)
{
    const HANDLE file = reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
    const HANDLE mapping = ::CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (!mapping)
        return nullptr;
    const void* const bytes = ::MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
    ::CloseHandle(mapping); // the view keeps it
    if (!bytes)
        return nullptr;
    return {static_cast<const unsigned char*>(bytes),
            [bytes](const unsigned char*) { ::UnmapViewOfFile(bytes); }};
}
