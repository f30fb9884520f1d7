#include "system.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

bool Descriptor::Close()
{
    const int descriptor = mDescriptor;
    mDescriptor = -1;
    return descriptor <= STDERR_FILENO || close(descriptor) == 0;
}

int OpenInput(const std::string& name)
{
    return open(name.c_str(), O_RDONLY | O_CLOEXEC);
}

bool FindSize(int descriptor, unsigned long long* size)
{
    struct stat state = {};
    if (fstat(descriptor, &state) != 0)
        return false;
    *size = S_ISREG(state.st_mode) ? static_cast<unsigned long long>(state.st_size) : 0;
    return true;
}

long long Read(int descriptor, void* bytes, std::size_t size)
{
    return read(descriptor, bytes, size);
}

long long Write(int descriptor, const void* bytes, std::size_t size)
{
    return write(descriptor, bytes, size);
}

std::shared_ptr<const unsigned char> Map(int descriptor, std::size_t size)
{
    void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (bytes == MAP_FAILED)
        return nullptr;
    return {static_cast<const unsigned char*>(bytes),
            [bytes, size](const unsigned char*) { munmap(bytes, size); }};
}
