// Files and folders that couldn't be read, and files that couldn't be held. Any
// thread.

#ifndef FILECACHE_LOSSES_H
#define FILECACHE_LOSSES_H

#include <mutex>
#include <string>
#include <vector>

#include <U_Types.h>

class Losses
{
public:
    struct Unreadable
    {
        std::string path;
        std::string reason;
    };
    struct Refused
    {
        std::string path;
        U_u64 size; // bytes
    };

    // Keeps a file or folder that can't be read, and reports it: all of them wait
    // for U_DisplayPostedErrors, which shows them as one numbered alert.
    void AddUnreadable(const std::string& path, const std::string& reason);

    // Keeps a file that was read, but not held.
    void AddRefused(const std::string& path, U_u64 size);

    // In the order of their paths.
    std::vector<Unreadable> AllUnreadable() const;
    std::vector<Refused> AllRefused() const;

private:
    mutable std::mutex mLock; // guards the lists
    std::vector<Unreadable> mUnreadable;
    std::vector<Refused> mRefused;
};

#endif
