#include "files.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <platform/base/printable.h>

#include "messages.h"
#include "output_path.h"

const char* const kStandardStream = "-";

namespace
{
const std::size_t kLargestFile = std::numeric_limits<std::int32_t>::max();
const std::size_t kFirstRead = 1 << 16;
const char kTooLarge[] = "it is 2 GiB or larger";
const mode_t kPermissions = 0777;
const int kMostNames = 1000; // tried for a new file

[[noreturn]] void FailToRead(const std::string& name, const char* why)
{
    throw Failure{kUnusable, name, std::string("can't be read: ") + why};
}

// Opens an input, and sets its name for messages.
int Open(const std::string& name, InputFile* file)
{
    static bool sStdinRead = false; // one thread
    file->mName = name;
    if (name != kStandardStream)
        return open(name.c_str(), O_RDONLY | O_CLOEXEC);
    file->mName = "standard input";
    if (sStdinRead)
        throw Failure{kUnusable, file->mName, "can't be read twice"};
    sStdinRead = true;
    return STDIN_FILENO;
}

void ReadToEnd(int descriptor, InputFile* file)
{
    std::size_t size = 0;
    while (size <= kLargestFile)
    {
        if (size == file->mBytes.size())
            file->mBytes.resize(std::min(std::max(2 * size, kFirstRead), kLargestFile + 1));
        const ssize_t got =
            read(descriptor, file->mBytes.data() + size, file->mBytes.size() - size);
        if (got < 0 && errno != EINTR)
            FailToRead(file->mName, std::strerror(errno));
        if (got == 0)
            return file->mBytes.resize(size);
        size += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    FailToRead(file->mName, kTooLarge);
}

void WriteAll(int descriptor, const std::string& bytes, const std::string& name)
{
    for (std::size_t done = 0; done < bytes.size();)
    {
        const ssize_t written = write(descriptor, bytes.data() + done, bytes.size() - done);
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
    const bool isTerminal = isatty(descriptor) != 0;
    if (isTerminal && content == Content::kBinary)
        FailToWrite(name, "it is a terminal (name a file with -o)");
    WriteAll(descriptor, isTerminal ? platform::Printable(bytes, "\t\n") : bytes, name);
    if (!file.Close())
        FailToWrite(name, std::strerror(errno));
}

// A file in the folder of the target. Its own name is replaced by the target's when it is
// complete.
class NewFile
{
public:
    NewFile(const Target& target, const std::string& path)
        : mTarget(target), mPath(path), mFile(Create())
    {
    }
    ~NewFile()
    {
        if (!mName.empty())
            unlinkat(mTarget.mFolder.Get(), mName.c_str(), 0);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void Write(const std::string& bytes, mode_t permissions)
    {
        const int folder = mTarget.mFolder.Get();
        WriteAll(mFile.Get(), bytes, mPath);
        if (fchmod(mFile.Get(), permissions) != 0 || fsync(mFile.Get()) != 0 || !mFile.Close() ||
            renameat(folder, mName.c_str(), folder, mTarget.mName.c_str()) != 0)
            FailToWrite(mPath, std::strerror(errno));
        mName.clear();
    }

private:
    // O_EXCL refuses a file or a link that another process made, so the name may be guessed.
    Descriptor Create()
    {
        unsigned int number = static_cast<unsigned int>(getpid());
        for (int attempt = 1;; ++attempt, ++number)
        {
            char suffix[8];
            std::snprintf(suffix, sizeof(suffix), ".%06x", number & 0xFFFFFF);
            mName = mTarget.mName + suffix;
            const int file = openat(mTarget.mFolder.Get(), mName.c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
            if (file >= 0)
                return Descriptor(file);
            if (errno != EEXIST || attempt == kMostNames)
                FailToWrite(mPath, std::strerror(errno));
        }
    }

    const Target& mTarget;
    const std::string& mPath; // for messages
    std::string mName;
    Descriptor mFile;
};

mode_t NewFilePermissions()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}
} // namespace

InputFile ReadFile(const std::string& name)
{
    InputFile file;
    const Descriptor input(Open(name, &file));
    struct stat state = {};
    if (input.Get() < 0 || fstat(input.Get(), &state) != 0)
        FailToRead(file.mName, std::strerror(errno));
    if (S_ISREG(state.st_mode))
    {
        const auto size = static_cast<std::size_t>(state.st_size);
        if (size > kLargestFile)
            FailToRead(file.mName, kTooLarge);
        file.mBytes.resize(size + 1); // the extra byte lets the first read find the end
    }
    ReadToEnd(input.Get(), &file);
    return file;
}

void WriteFile(const std::string& name, const std::string& bytes, Content content)
{
    if (name == kStandardStream)
        return WriteInPlace(STDOUT_FILENO, bytes, content, "standard output");
    const Target target = FindTarget(name);
    if (target.mExists && !S_ISREG(target.mState.st_mode))
        return WriteInPlace(
            openat(target.mFolder.Get(), target.mName.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC),
            bytes, content, name);
    NewFile(target, name)
        .Write(bytes, target.mExists ? target.mState.st_mode & kPermissions : NewFilePermissions());
}
