#include "output_path_posix.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace
{
const int kMostLinks = 40; // as in the kernel
const mode_t kShared = S_ISVTX | S_IWOTH;

struct stat StateOf(const Descriptor& file, const std::string& path)
{
    struct stat state = {};
    if (fstat(file.Get(), &state) != 0)
        FailToWrite(path, std::strerror(errno));
    return state;
}

bool MayFollow(const struct stat& link, const struct stat& folder)
{
    const bool isShared = (folder.st_mode & kShared) == kShared;
    return !isShared || link.st_uid == geteuid() || link.st_uid == folder.st_uid;
}

class Walk
{
public:
    explicit Walk(const std::string& path) : mPath(path), mFolder(-1) { Take(path); }

    Target ToTheEnd()
    {
        for (;;)
        {
            const std::string name = mNames.back();
            mNames.pop_back();
            Descriptor entry(openat(mFolder.Get(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
            const bool isAbsent = entry.Get() < 0 && errno == ENOENT && mNames.empty();
            if (isAbsent && !mEndsInLink)
                return {std::move(mFolder), name, false, {}};
            if (isAbsent)
                FailToWrite(mPath, "it is a link to " + mShown + name + ", which does not exist");
            if (entry.Get() < 0)
                FailToWrite(mPath, std::strerror(errno));
            const struct stat state = StateOf(entry, mPath);
            struct stat target = {};
            if (S_ISLNK(state.st_mode) && mNames.empty() && IsDescriptor(entry, name, &target))
                return {std::move(mFolder), name, true, target, true};
            if (S_ISLNK(state.st_mode))
                Follow(entry, state, name);
            else if (mNames.empty())
                return {std::move(mFolder), name, true, state};
            else
                Enter(std::move(entry), mShown + name + "/");
        }
    }

private:
    // Returns whether a link is one of /proc to an open file without a path, and stores the state
    // of that file.
    bool IsDescriptor(const Descriptor& link, const std::string& name, struct stat* target) const
    {
        struct statfs system = {};
        return fstatfs(link.Get(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC &&
               fstatat(mFolder.Get(), name.c_str(), target, 0) == 0 && !S_ISREG(target->st_mode) &&
               !S_ISDIR(target->st_mode);
    }

    void Follow(const Descriptor& link, const struct stat& state, const std::string& name)
    {
        if (!MayFollow(state, StateOf(mFolder, mPath)))
            FailToWrite(mPath, "the link " + mShown + name +
                                   " belongs to another user, in a sticky folder that everybody "
                                   "may write to");
        if (++mLinks > kMostLinks)
            FailToWrite(mPath, std::strerror(ELOOP));
        char text[PATH_MAX];
        const ssize_t length = readlinkat(link.Get(), "", text, sizeof(text));
        if (length < 0)
            FailToWrite(mPath, std::strerror(errno));
        mEndsInLink = mEndsInLink || mNames.empty();
        Take(std::string(text, static_cast<std::size_t>(length)));
    }

    // Puts the names of a path before the names that are left.
    void Take(const std::string& path)
    {
        if (path.empty())
            FailToWrite(mPath, std::strerror(ENOENT));
        if (path[0] == '/' || mFolder.Get() < 0)
            Start(path[0] == '/' ? "/" : "");
        if (path.back() == '/')
            mNames.push_back("."); // the path names a folder
        for (std::size_t end = path.size(); end > 0;)
        {
            const std::size_t start = path.rfind('/', end - 1) + 1;
            if (start < end)
                mNames.push_back(path.substr(start, end - start));
            end = start > 0 ? start - 1 : 0;
        }
    }

    void Start(const std::string& root)
    {
        Enter(Descriptor(open(root.empty() ? "." : "/", O_PATH | O_CLOEXEC)), root);
        if (mFolder.Get() < 0)
            FailToWrite(mPath, std::strerror(errno));
    }

    void Enter(Descriptor folder, const std::string& shown)
    {
        mFolder = std::move(folder);
        mShown = shown;
    }

    const std::string mPath;
    Descriptor mFolder;
    std::string mShown;              // the folder, for messages: empty or with a final "/"
    std::vector<std::string> mNames; // left to walk, the next name last
    int mLinks = 0;
    bool mEndsInLink = false; // the last name is the target of a link
};
} // namespace

Target FindTarget(const std::string& path)
{
    return Walk(path).ToTheEnd();
}
