#include "system.h"

#include <algorithm>
#include <climits>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <win32/native/paths.h>

namespace
{
const int kStderr = 2;

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
