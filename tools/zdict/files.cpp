#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>

#include <platform/base/printable.h>
#include <program/program.h>

#include "messages.h"
#include "system.h"

const char* const kStandardStream = "-";

namespace
{
const std::size_t kLargestFile = std::numeric_limits<std::int32_t>::max();
const std::size_t kFirstRead = 1 << 16;
const char kTooLarge[] = "it is 2 GiB or larger";

[[noreturn]] void FailToRead(const std::string& name, const char* why)
{
    throw Failure{kUnusable, name, std::string("can't be read: ") + why};
}

// Opens an input, and sets its name for messages.
int Open(const std::string& name, InputFile* file)
{
    static bool sStdinRead = false; // one thread
    file->mName = name.empty() ? "''" : name;
    if (name != kStandardStream)
        return OpenInput(name);
    file->mName = "standard input";
    if (sStdinRead)
        throw Failure{kUnusable, file->mName, "can't be read twice"};
    sStdinRead = true;
    return kStdin;
}

void ReadToEnd(int descriptor, InputFile* file)
{
    std::size_t size = 0;
    while (size <= kLargestFile)
    {
        if (size == file->mBytes.size())
            file->mBytes.resize(std::min(std::max(2 * size, kFirstRead), kLargestFile + 1));
        const long long got =
            Read(descriptor, file->mBytes.data() + size, file->mBytes.size() - size);
        if (got < 0 && errno != EINTR)
            FailToRead(file->mName, std::strerror(errno));
        if (got == 0)
            return file->mBytes.resize(size);
        size += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    FailToRead(file->mName, kTooLarge);
}
} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

InputFile ReadFile(const std::string& name)
{
    InputFile file;
    const Descriptor input(Open(name, &file));
    unsigned long long size = 0;
    if (input.Get() < 0 || !FindSize(input.Get(), &size))
        FailToRead(file.mName, std::strerror(errno));
    if (size > kLargestFile)
        FailToRead(file.mName, kTooLarge);
    if (size)
        file.mBytes.resize(size + 1); // the extra byte lets the first read find the end
    ReadToEnd(input.Get(), &file);
    return file;
}

MappedFile MapFile(const std::string& name)
{
    MappedFile file;
    if (name == kStandardStream)
        return file;
    const Descriptor input(OpenInput(name));
    unsigned long long size = 0;
    if (input.Get() < 0 || !FindSize(input.Get(), &size) || !size || size > kLargestFile)
        return file;
    file.mSize = static_cast<std::size_t>(size);
    file.mBytes = Map(input.Get(), file.mSize);
    return file;
}

void FailToWrite(const std::string& name, const std::string& why)
{
    throw Failure{kUnusable, name, "can't be written: " + why};
}

void WriteAll(int descriptor, const std::string& bytes, const std::string& name)
{
    for (std::size_t done = 0; done < bytes.size();)
    {
        const long long written = Write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno != EINTR)
            FailToWrite(name, std::strerror(errno));
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
}

void WriteInPlace(int descriptor, const std::string& bytes, Content content,
                  const std::string& name)
{
    Descriptor file(descriptor);
    if (descriptor < 0)
        FailToWrite(name, std::strerror(errno));
    const bool isTerminal = IsTerminal(descriptor);
    if (isTerminal && content == Content::kBinary)
        FailToWrite(name, "it is a terminal (name a file with -o)");
    WriteAll(descriptor, isTerminal ? platform::Printable(bytes, "\t\n") : bytes, name);
    if (!file.Close())
        FailToWrite(name, std::strerror(errno));
}

void WriteFile(const std::string& name, const std::string& bytes, Content content)
{
    if (name == kStandardStream)
        WriteInPlace(kStdout, bytes, content, "standard output");
    else
        WriteNamed(name, bytes, content);
}
