#include <win32/files.h>

#include <fcntl.h>
#include <unistd.h>

namespace win32
{
std::FILE* OpenPrivateLog(const char* path)
{
    const mode_t kForThisUser = 0600;
    const int descriptor =
        open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, kForThisUser);
    std::FILE* const file = descriptor < 0 ? nullptr : fdopen(descriptor, "a");
    if (!file && descriptor >= 0)
        close(descriptor);
    return file;
}
} // namespace win32
