// Output files that replace another file.

#include "system.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "output_path_posix.h"

namespace
{
const mode_t kPermissions = 0777;
const int kMostNames = 1000; // tried for a new file

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

void WriteNamed(const std::string& name, const std::string& bytes, Content content)
{
    const Target target = FindTarget(name);
    if (target.mExists && !S_ISREG(target.mState.st_mode))
    {
        const int follow = target.mIsDescriptor ? 0 : O_NOFOLLOW;
        return WriteInPlace(
            openat(target.mFolder.Get(), target.mName.c_str(), O_WRONLY | follow | O_CLOEXEC),
            bytes, content, name);
    }
    NewFile(target, name)
        .Write(bytes, target.mExists ? target.mState.st_mode & kPermissions : NewFilePermissions());
}
