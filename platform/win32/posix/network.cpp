#include <win32/network.h>

#include <cstddef>
#include <cstring>

#include <limits.h>
#include <unistd.h>

namespace win32
{
int gethostname(char* name, int size)
{
    if (!name || size <= 0)
        return -1;
    char whole[HOST_NAME_MAX + 2] = {};
    if (::gethostname(whole, sizeof(whole) - 1) != 0)
        return -1;
    const std::size_t room = static_cast<std::size_t>(size) - 1;
    const std::size_t length = std::strlen(whole);
    const std::size_t copied = length < room ? length : room;
    std::memcpy(name, whole, copied);
    name[copied] = 0;
    return length <= room ? 0 : -1;
}
} // namespace win32
