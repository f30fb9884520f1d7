#ifndef PLATFORM_BASE_WRITE_ALL_POSIX_H
#define PLATFORM_BASE_WRITE_ALL_POSIX_H

#include <cerrno>
#include <cstddef>
#include <string_view>

#include <poll.h>
#include <unistd.h>

namespace platform
{
// Writes the text to a descriptor. Goes on after an interruption and after a write of a part,
// unlike the files of the C library, which drop the text of their buffer when a signal interrupts a
// write. Waits for a full pipe also if the descriptor does not block.
//
// Returns: the count of written bytes. After an error, which errno names, the count is lower than
// that of the text.
inline std::size_t WriteAll(int descriptor, std::string_view text)
{
    std::size_t count = 0;
    while (count < text.size())
    {
        const ssize_t written = write(descriptor, text.data() + count, text.size() - count);
        if (written > 0)
            count += static_cast<std::size_t>(written);
        else if (written < 0 && errno == EAGAIN)
        {
            pollfd full = {descriptor, POLLOUT, 0};
            if (poll(&full, 1, -1) < 0 && errno != EINTR)
                break;
        }
        else if (written == 0 || errno != EINTR)
            break;
    }
    return count;
}
} // namespace platform

#endif
